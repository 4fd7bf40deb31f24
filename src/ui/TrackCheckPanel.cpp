#include "ui/TrackCheckPanel.h"

#include "capture/Localization.h"
#include "tracks/TakeCutter.h"
#include "tracks/TrackError.h"
#include "tracks/TrackFinder.h"
#include "ui/AppDelegate.h"
#include "ui/CustomView.h"
#include "ui/TrackCheckView.h"

#include <QAbstractButton>
#include <QApplication>
#include <QFile>
#include <QLabel>
#include <QMessageBox>
#include <QProgressDialog>
#include <QPushButton>
#include <QSpinBox>
#include <cmath>

namespace Tolm::Ui {

namespace {

QString Duration(double seconds)
{
    const long whole = std::lround(seconds);
    return whole >= 3600 ? QString::asprintf("%ld:%02ld:%02ld", whole / 3600, whole / 60 % 60, whole % 60)
                         : QString::asprintf("%ld:%02ld", whole / 60, whole % 60);
}

void SetEnabled(QWidget* widget, bool enabled)
{
    if (widget)
        widget->setEnabled(enabled);
}

} // namespace

TrackCheckPanel::TrackCheckPanel(CustomView* view, QObject* parent) : QObject(parent), mPanel(view)
{
    mView = view->findChild<TrackCheckView*>(QStringLiteral("trackCheckView"));
    const auto button = [view](const char* name) {
        return view->findChild<QAbstractButton*>(QString::fromLatin1(name));
    };
    mSplit = button("splitHereButton");
    mJoin = button("joinButton");
    mListen = button("listenButton");
    mZoomIn = button("zoomInButton");
    mZoomOut = button("zoomOutButton");
    mNext = button("nextButton");
    mCount = view->findChild<QSpinBox*>(QStringLiteral("trackCountField"));
    mSummary = view->findChild<QLabel*>(QStringLiteral("summaryField"));

    if (mView) {
        connect(mView, &TrackCheckView::markersChanged, this, &TrackCheckPanel::updateControls);
        connect(mView, &TrackCheckView::selectionChanged, this, &TrackCheckPanel::updateControls);
        connect(mView, &TrackCheckView::listenRequested, this, &TrackCheckPanel::listen);
    }
    const auto onClick = [this](QAbstractButton* b, auto slot) {
        if (b)
            connect(b, &QAbstractButton::clicked, this, slot);
    };
    onClick(mSplit, [this] {
        if (mView && mView->splitAtCursor())
            mView->setFocus();
    });
    onClick(mJoin, [this] {
        if (mView && mView->joinSelected())
            mView->setFocus();
    });
    onClick(mListen, [this] { listening() ? stopListening() : listen(); });
    onClick(mZoomIn, [this] {
        if (mView)
            mView->zoom(2.0);
    });
    onClick(mZoomOut, [this] {
        if (mView)
            mView->zoom(0.5);
    });
    if (mCount) {
        mCount->setRange(0, int(Tracks::TrackMarkers::kTrackLimit));
        mCount->setSpecialValueText(QStringLiteral("–"));
        // Typing "12" passes through "1": only a finished entry re-runs the analysis.
        mCount->setKeyboardTracking(false);
        connect(mCount, &QSpinBox::valueChanged, this, [this](int count) { showSide(count); });
    }
    mPlayTimer.setInterval(30);
    connect(&mPlayTimer, &QTimer::timeout, this, [this] {
        if (!mView)
            return;
        if (listening()) {
            mView->setPlayPosition(mPlayer->position());
        } else {
            stopListening();
        }
    });
    updateControls();
}

TrackCheckPanel::~TrackCheckPanel()
{
    stopListening();
    stopReading();
}

void TrackCheckPanel::stopReading()
{
    mStopReading = true;
    if (mReader.joinable())
        mReader.join();
    mStopReading = false;
}

void TrackCheckPanel::open(const std::vector<std::string>& takePaths,
                           Morvo::Audio::Filters::AudioFilter::Type equaliser, AudioDeviceID output)
{
    stopListening();
    stopReading();
    mPlayer = std::make_unique<Tracks::TakePlayer>(output);
    mTakes.reset();
    mScan.reset();
    mPreview.reset();
    if (mCount) {
        const QSignalBlocker quiet(mCount);
        mCount->setValue(0);
    }
    if (mView)
        mView->clear(Localized("IDS_TAB13_READING"));
    updateControls();

    const unsigned generation = ++mGeneration;
    mReader = std::thread([this, takePaths, equaliser, generation] {
        std::shared_ptr<Tracks::TakeFiles> takes;
        std::shared_ptr<Tracks::SideScan> scan;
        QString error;
        try {
            takes = std::make_shared<Tracks::TakeFiles>(takePaths);
            const auto overviewDone = [&](const Tracks::WaveformOverview& overview) {
                auto copy = std::make_shared<const Tracks::WaveformOverview>(overview);
                QMetaObject::invokeMethod(
                    this,
                    [this, copy, takes, generation] {
                        if (generation == mGeneration)
                            showOverview(copy, takes);
                    },
                    Qt::QueuedConnection);
            };
            scan = std::make_shared<Tracks::SideScan>(
                Tracks::SideScan::Run(*takes, equaliser, &mStopReading, overviewDone));
        } catch (const std::exception& e) {
            error = QString::fromStdString(e.what());
        }
        if (mStopReading)
            return;
        QMetaObject::invokeMethod(
            this,
            [this, takes, scan, error, generation] {
                if (generation == mGeneration)
                    finishReading(takes, scan, error);
            },
            Qt::QueuedConnection);
    });
}

void TrackCheckPanel::showOverview(std::shared_ptr<const Tracks::WaveformOverview> overview,
                                   std::shared_ptr<Tracks::TakeFiles> takes)
{
    if (!mView || mScan || takes->frames() == 0)
        return;
    mPreview = std::move(overview);
    mView->setSide(mPreview.get(), takes->sampleRate(), Tracks::TrackFinder::FromLiveSplits(*takes), {});
    mView->setEditable(false);
    updateControls();
}

void TrackCheckPanel::finishReading(std::shared_ptr<Tracks::TakeFiles> takes,
                                    std::shared_ptr<Tracks::SideScan> scan, const QString& error)
{
    if (mReader.joinable())
        mReader.join();
    if (!error.isEmpty() || !takes || !scan) {
        if (mView)
            mView->clear(Localized("IDS_TAB13_UNREADABLE") + QLatin1Char('\n') + error);
        updateControls();
        Q_EMIT sideRead();
        return;
    }
    if (takes->frames() == 0) {
        if (mView)
            mView->clear(Localized("IDS_TAB13_NOTHING"));
        updateControls();
        Q_EMIT sideRead();
        return;
    }
    mTakes = std::move(takes);
    mScan = std::move(scan);
    std::vector<std::int64_t> lengths;
    for (const auto& take : mTakes->takes())
        lengths.push_back(take.frames);
    mAsCut = lengths == mCutLengths;
    showSide(mCount ? mCount->value() : 0);
    mPreview.reset();
    Q_EMIT sideRead();
}

void TrackCheckPanel::showSide(int trackCount)
{
    if (!mScan || !mView)
        return;
    stopListening();
    mView->setSide(&mScan->overview, mScan->sampleRate,
                   mAsCut && trackCount == 0 ? Tracks::TrackFinder::FromLiveSplits(*mTakes)
                                             : Tracks::TrackFinder::Find(*mScan, *mTakes, trackCount),
                   mTakes->liveSplits());
    mView->setEditable(true);
    updateControls();
}

std::size_t TrackCheckPanel::trackCount() const
{
    return mView && mView->hasSide() ? mView->markers().trackCount() : 0;
}

void TrackCheckPanel::updateControls()
{
    const bool ready = mScan && mView && mView->hasSide();
    const auto selected = ready ? mView->selectedMarker() : std::nullopt;
    SetEnabled(mSplit, ready && !selected && trackCount() < Tracks::TrackMarkers::kTrackLimit);
    SetEnabled(mJoin, ready && selected && mView->markers().isBoundary(*selected));
    SetEnabled(mListen, ready);
    SetEnabled(mZoomIn, ready);
    SetEnabled(mZoomOut, ready);
    SetEnabled(mCount, ready);
    const std::size_t tracks = trackCount();
    SetEnabled(mNext, ready && tracks >= 1 && tracks <= Tracks::TrackMarkers::kTrackLimit);
    if (mSummary) {
        if (!ready) {
            mSummary->clear();
        } else {
            const auto& markers = mView->markers();
            const double seconds =
                double(markers.position(markers.count() - 1) - markers.position(0)) / mScan->sampleRate;
            QString text = Localized("IDS_TAB13_SUMMARY").arg(tracks).arg(Duration(seconds));
            if (tracks > Tracks::TrackMarkers::kTrackLimit)
                text += QLatin1Char(' ') + Localized("IDS_TAB13_TOO_MANY");
            mSummary->setText(text);
        }
    }
}

void TrackCheckPanel::listen()
{
    if (!mView || !mView->hasSide() || !mPlayer || !mTakes)
        return;
    const std::int64_t span = std::llround(kListenSeconds * mTakes->sampleRate());
    const auto selected = mView->selectedMarker();
    // Across a boundary: a little of both tracks.
    const std::int64_t from = selected ? mView->markers().position(*selected) - span / 2 : mView->cursor();
    try {
        if (!mPlayer->play(*mTakes, from, from + span))
            return;
    } catch (const std::exception& e) {
        AppDelegate::alert(Localized("IDS_WARNING"), QString::fromStdString(e.what()));
        return;
    }
    mPlayTimer.start();
}

void TrackCheckPanel::stopListening()
{
    mPlayTimer.stop();
    if (mPlayer)
        mPlayer->stop();
    if (mView)
        mView->setPlayPosition(std::nullopt);
}

bool TrackCheckPanel::listening() const
{
    return mPlayer && mPlayer->playing();
}

std::optional<unsigned> TrackCheckPanel::cut(const std::function<std::string(unsigned)>& newFile,
                                             const ReplaceTakes& replace)
{
    if (!ready() || !mView || !mView->hasSide())
        return std::nullopt;
    stopListening();
    const std::vector<std::int64_t> markers = mView->markers().positions();
    std::vector<std::int64_t> lengths;
    for (std::size_t i = 0; i + 1 < markers.size(); ++i)
        lengths.push_back(markers[i + 1] - markers[i]);
    if (!Tracks::TakeCutter::changes(*mTakes, markers)) {
        mCutLengths = lengths;
        return unsigned(markers.size() - 1);
    }

    QProgressDialog progress(Localized("IDS_TAB13_CUTTING"), QString(), 0, 1000, mPanel);
    progress.setWindowModality(Qt::WindowModal);
    progress.setMinimumDuration(300);
    QString error;
    try {
        const auto files = Tracks::TakeCutter::write(*mTakes, markers, newFile, [&](double fraction) {
            progress.setValue(int(fraction * 1000.0));
        });
        progress.setValue(1000);
        if (replace(files, error)) {
            mCutLengths = lengths;
            // The takes are now these tracks; coming back reads them again.
            mTakes.reset();
            mScan.reset();
            mView->clear(QString());
            return unsigned(files.size());
        }
        for (const std::string& file : files)
            QFile::remove(QString::fromStdString(file));
    } catch (const std::exception& e) {
        error = QString::fromStdString(e.what());
    }
    progress.cancel();
    // Nothing was changed, so the tracks as split while recording are still there to go on with
    // (the usual case: a full disk, which the recording itself may have run into).
    QMessageBox box(QMessageBox::Warning, Localized("IDS_WARNING"),
                    Localized("IDS_TAB13_CUT_FAILED") + QLatin1Char('\n') + error, QMessageBox::NoButton, mPanel);
    box.setInformativeText(Localized("IDS_TAB13_KEEP_AS_RECORDED"));
    QPushButton* keep = box.addButton(Localized("IDS_YES"), QMessageBox::YesRole);
    box.setDefaultButton(keep);
    box.addButton(Localized("IDS_NO"), QMessageBox::NoRole);
    box.exec();
    if (box.clickedButton() != keep)
        return std::nullopt;
    mCutLengths.clear();
    for (const auto& take : mTakes->takes())
        mCutLengths.push_back(take.frames);
    return unsigned(mTakes->takes().size());
}

} // namespace Tolm::Ui
