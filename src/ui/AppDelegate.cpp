#include "ui/AppDelegate.h"

#include "base/SystemLog.h"
#include "base/TolmAssert.h"
#include "capture/InputChain.h"
#include "capture/Localization.h"
#include "library/LibraryExport.h"
#include "library/LibrarySettings.h"
#include "recording/CAAudioFile.h"
#include "capture/TakeFolder.h"
#include "ui/CustomView.h"
#include "ui/CustomWindow.h"
#include "ui/DonePanelReport.h"
#include "ui/ExportBridge.h"
#include "ui/HelpPage.h"
#include "ui/ImageForView.h"
#include "ui/ImageNamed.h"
#include "ui/MainThreadAlertPresenter.h"
#include "ui/MainThreadCaller.h"
#include "ui/ProgressIndicator.h"
#include "ui/SubViewController.h"
#include "ui/PreferencesDialog.h"
#include "ui/TrackCheckPanel.h"
#include "ui/TrackCheckView.h"
#include "ui/TrackNameField.h"
#include "ui/TranslateView.h"

#include <QApplication>
#include <QDesktopServices>
#include <QLabel>
#include <QLineEdit>
#include <QLocale>
#include <QMessageBox>
#include <QProgressBar>
#include <QPushButton>
#include <QShortcut>
#include <QStackedWidget>
#include <QTextBrowser>
#include <QTimer>
#include <QVBoxLayout>
#include <cmath>
#include <cstdio>

namespace Tolm::Ui {

namespace {

constexpr auto kElapsedInterval = std::chrono::milliseconds(1000);
constexpr auto kPollingInterval = std::chrono::milliseconds(500);
// Where the export's spinner sits on panel 5: its frame offset into the panel.
const QRect kSpinnerFrame = QRect(QPoint(10, 6), QSize(30, 26)).translated(550, 280);

// Stops a timer now and lets it go once its own tick (which may be running) is over.
void Invalidate(std::unique_ptr<QTimer>& timer)
{
    if (!timer)
        return;
    timer->stop();
    timer.release()->deleteLater();
}

QLineEdit* LineEditWithTag(const CustomView* view, int tag)
{
    return view ? qobject_cast<QLineEdit*>(view->viewWithTag(tag)) : nullptr;
}

// Puts the keyboard in the field with its text selected, so typing replaces it.
void SelectText(QLineEdit* field)
{
    if (!field)
        return;
    field->setFocus(Qt::OtherFocusReason);
    field->selectAll();
}

// The name fields of tracks the recording does not have are hidden, the others usable.
void ShowNameFieldsUpTo(const CustomView* view, int firstTag, int lastTag, UInt32 tracks, bool clear)
{
    for (int tag = firstTag; tag <= lastTag; ++tag) {
        QLineEdit* field = LineEditWithTag(view, tag);
        if (!field)
            continue;
        if (clear)
            field->setText(QString());
        const UInt32 track = UInt32(tag - 60);
        if (track <= tracks) {
            field->setEnabled(true);
            field->show();
        } else {
            field->hide();
        }
    }
}

// A track's length as the naming panels show it, "4:12" or "1:02:03".
QString TrackLengthText(double seconds)
{
    const long whole = lround(seconds);
    return whole >= 3600 ? QString::asprintf("%ld:%02ld:%02ld", whole / 3600, whole / 60 % 60, whole % 60)
                         : QString::asprintf("%ld:%02ld", whole / 60, whole % 60);
}

void ShowTrackLengths(const CustomView* view, int firstTag, int lastTag,
                      const QList<Capture::SideSession::Take>& takes)
{
    for (int tag = firstTag; tag <= lastTag; ++tag) {
        auto* field = view ? qobject_cast<TrackNameField*>(view->viewWithTag(tag)) : nullptr;
        const int track = tag - 60;
        if (field)
            field->setDuration(track <= takes.size() ? TrackLengthText(takes[track - 1].seconds) : QString());
    }
}

// Yes or no, the default answer being no: for questions whose yes throws work away.
bool AskYesNo(QWidget* parent, const QString& question)
{
    QMessageBox box(QMessageBox::Question, QApplication::applicationDisplayName(), question, QMessageBox::NoButton,
                    parent);
    QPushButton* yes = box.addButton(Localized("IDS_YES"), QMessageBox::YesRole);
    QPushButton* no = box.addButton(Localized("IDS_NO"), QMessageBox::NoRole);
    box.setDefaultButton(no);
    box.setEscapeButton(no);
    box.exec();
    return box.clickedButton() == yes;
}

QString DurationText(double seconds)
{
    const long whole = lround(seconds);
    return whole >= 3600 ? QString::asprintf("%ld:%02ld:%02ld", whole / 3600, whole / 60 % 60, whole % 60)
                         : QString::asprintf("%02ld:%02ld", whole / 60, whole % 60);
}

// Return in a name field goes on to the next field the user can type in, and from the last
// one to the Next button, so names can be typed one after the other without the mouse.
void ReturnMovesToTheNextField(CustomView* view)
{
    for (QLineEdit* field : view->findChildren<QLineEdit*>()) {
        QObject::connect(field, &QLineEdit::returnPressed, view, [view, field] {
            bool passed = false;
            for (QWidget* widget = view->nextInFocusChain(); widget != view;
                 widget = widget->nextInFocusChain()) {
                auto* edit = qobject_cast<QLineEdit*>(widget);
                if (edit == field) {
                    passed = true;
                } else if (passed && edit && edit->isVisible() && edit->isEnabled()) {
                    edit->setFocus(Qt::TabFocusReason);
                    edit->selectAll();
                    return;
                }
            }
            if (view->next())
                view->next()->setFocus(Qt::TabFocusReason);
        });
    }
}

// The failed-assertion line with the expression as the code reads it, not as C++ spells it.
#define TOLM_ASSERT_TEXT(condition, text)                                                                    \
    ((condition) ? static_cast<void>(0)                                                                      \
                 : ::Tolm::AssertionFailed(__FILE__, static_cast<unsigned>(__LINE__), text))

} // namespace

bool PanelNumberShouldPlayThru(unsigned panel)
{
    return panel == 2 || panel == 3;
}

QString ElapsedTimeText(UInt64 nanos)
{
    const double s = double(nanos) * 1e-9;
    const long hours = lroundf(float(s)) / 3600;
    const float rest = float(s - double(hours) * 3600.0);
    const long k = lroundf(rest);
    const long minutes = k / 60;
    const long seconds = k - (k / 60) * 60;
    return QString::asprintf("%02ld:%02ld:%02ld", hours, minutes, seconds);
}

void AppDelegate::alert(const QString& title, const QString& text)
{
    RunWarningAlert(title, text, QStringLiteral("OK"));
}

// Start-up ---------------------------------------------------------------------------------

AppDelegate::AppDelegate(QObject* parent)
    : QObject(parent), mMainThread(std::make_unique<MainThreadCaller>()),
      mAlerts(std::make_unique<MainThreadAlertPresenter>(*mMainThread))
{
    // The window with its page container and the first two pages.
    itsWindow = std::make_unique<CustomWindow>();
    itsWindow->setWindowTitle(QApplication::applicationDisplayName());
    _multipleNibTabView = new QStackedWidget;
    itsWindow->setContent(_multipleNibTabView);
    addTabViewItem(QStringLiteral("1"), QStringLiteral("1"));
    addTabViewItem(QStringLiteral("2"), QStringLiteral("2"));
    // The window has no menu bar; Ctrl+, is where desktop programs keep their preferences.
    auto* preferences = new QShortcut(QKeySequence(QStringLiteral("Ctrl+,")), itsWindow.get());
    connect(preferences, &QShortcut::activated, this, [this] { showPreferences(nullptr); });
    awakeFromNib();
}

AppDelegate::~AppDelegate()
{
    // The export's worker may be waiting for an alert to be answered: let it go, then wait
    // for it to end after the track it is importing.
    mMainThread->shutDown();
    if (mExport) {
        mExport->requestStop();
        mExport->waitUntilDone();
    }
    Invalidate(mPollingTimer);
    Invalidate(_pTimer);
    Invalidate(_meterUpdateTimer);
    audio->stopPlayThru();
    delete mHelpWindow;
}

void AppDelegate::awakeFromNib()
{
    audio = std::make_unique<Capture::Audio>(mAlerts.get());
    mSession = std::make_unique<Capture::SideSession>(*audio);
    connect(mSession.get(), &Capture::SideSession::sideEndedByItself, this, [this] { audioDetectedAlbumEnd(); });
    // Queued: a failure found while Stop is handled is shown once the Stop is done.
    connect(mSession.get(), &Capture::SideSession::recordingFailed, this, &AppDelegate::recordingFailed,
            Qt::QueuedConnection);

    const std::pair<const char*, const char*> items[] = {
        {"3", "Tab3"}, {"4", "Tab4"}, {"5", "Tab5"},   {"6", "Tab6"},          {"7", "Tab7"},
        {"8", "Tab8"}, {"9", "Tab9"}, {"10", "Tab10"}, {"11", "SelectDevice"}, {"12", "SelectTape"},
        {"13", "CheckTracks"},
    };
    for (const auto& [identifier, label] : items)
        addTabViewItem(QString::fromLatin1(identifier), QString::fromLatin1(label));

    const auto preload = [this](std::unique_ptr<CustomView>& field, const char* nib, const char* image) {
        field = viewFromNibWithName(QString::fromLatin1(nib));
        if (!field)
            return;
        field->setBackgroundImage(ImageNamed(QString::fromLatin1(image)));
        field->setController(this);
    };
    preload(_Tolm_Tab6NibView, "Tolm_Tab6", "dlg_Question");
    preload(_Tolm_TabSelectDeviceNibView, "Tolm_SelectDeviceTab", "dlg_PlainBackgroundWithButtons");
    preload(_Tolm_TabSelectTapeNibView, "Tolm_SelectTape", "dlg_Question");

    selectTabViewItemWithIdentifier(QStringLiteral("1"));
}

std::unique_ptr<CustomView> AppDelegate::viewFromNibWithName(const QString& name)
{
    SubViewController controller(name, this);
    std::unique_ptr<CustomView> view = controller.takeView();
    TranslateView(view.get());
    return view;
}

// Pages --------------------------------------------------------------------------------------

QWidget* AppDelegate::addTabViewItem(const QString& identifier, const QString& label)
{
    auto* item = new QWidget;
    item->setObjectName(identifier);
    item->setProperty("label", label);
    auto* layout = new QVBoxLayout(item);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    _multipleNibTabView->addWidget(item);
    return item;
}

QWidget* AppDelegate::tabViewItem(const QString& identifier) const
{
    for (int i = 0; i < _multipleNibTabView->count(); ++i) {
        QWidget* item = _multipleNibTabView->widget(i);
        if (item->objectName() == identifier)
            return item;
    }
    return nullptr;
}

void AppDelegate::selectTabViewItemWithIdentifier(const QString& identifier)
{
    QWidget* item = tabViewItem(identifier);
    if (!item)
        return;
    _multipleNibTabView->setCurrentWidget(item);
    tabViewDidSelectTabViewItem(item);
}

unsigned AppDelegate::selectedPanel() const
{
    const QWidget* item = _multipleNibTabView->currentWidget();
    return item ? item->objectName().toUInt() : 0;
}

std::unique_ptr<CustomView>* AppDelegate::viewField(unsigned panel)
{
    switch (panel) {
    case 1:
        return &_Tolm_Tab1NibView;
    case 2:
        return &_Tolm_Tab2NibView;
    case 3:
        return &_Tolm_Tab3NibView;
    case 4:
        return &_Tolm_Tab4NibView;
    case 5:
        return &_Tolm_Tab5NibView;
    case 6:
        return &_Tolm_Tab6NibView;
    case 7:
        return &_Tolm_Tab7NibView;
    case 8:
        return &_Tolm_Tab8NibView;
    case 9:
        return &_Tolm_Tab9NibView;
    case 10:
        return &_Tolm_Tab10NibView;
    case 11:
        return &_Tolm_TabSelectDeviceNibView;
    case 12:
        return &_Tolm_TabSelectTapeNibView;
    case 13:
        return &_Tolm_Tab13NibView;
    default:
        return nullptr;
    }
}

CustomView* AppDelegate::panelView(unsigned panel) const
{
    auto* field = const_cast<AppDelegate*>(this)->viewField(panel);
    return field ? field->get() : nullptr;
}

void AppDelegate::loadPanelView(unsigned panel, const QString& nibName)
{
    std::unique_ptr<CustomView>& field = *viewField(panel);
    if (field)
        return;
    field = viewFromNibWithName(nibName);
    if (!field)
        return;
    field->setBackgroundImage(ImageForView(panel));
    field->setController(this);
    if (panel == 4 || (panel >= 7 && panel <= 10))
        ReturnMovesToTheNextField(field.get());
}

void AppDelegate::setPanel(unsigned panel)
{
    if (panel > kPanelCount) {
        alert(QStringLiteral("Internal error"), QStringLiteral("Switch to invalid panel"));
        return;
    }
    selectTabViewItemWithIdentifier(QString::asprintf("%u", panel));
    // After the panel is prepared, on every switch, also when already in the wanted state.
    if (PanelNumberShouldPlayThru(panel))
        audio->startPlayThru();
    else
        audio->stopPlayThru();
}

void AppDelegate::tabViewDidSelectTabViewItem(QWidget* item)
{
    static const char* const nibNames[kPanelCount + 1] = {
        nullptr,
        "Tolm_Tab1",
        "Tolm_Tab2",
        "Tolm_Tab3",
        "Tolm_Tab4",
        "Tolm_Tab5",
        "Tolm_Tab6",
        "Tolm_Tab7",
        "Tolm_Tab8",
        "Tolm_Tab9",
        "Tolm_Tab10",
        // Loaded at start; these names are only tried if that failed.
        "_Tolm_SelectDeviceTab",
        "_Tolm_SelectTapeTab",
        "Tolm_Tab13",
    };
    unsigned panel = 0;
    for (unsigned candidate = 1; candidate <= kPanelCount; ++candidate) {
        if (item->objectName() == QString::number(candidate)) {
            panel = candidate;
            break;
        }
    }
    if (panel == 0)
        return;

    loadPanelView(panel, QString::fromLatin1(nibNames[panel]));
    CustomView* view = panelView(panel);
    // A panel whose file is missing stays empty; the rest goes on without it.
    if (view && view->parentWidget() != item) {
        item->layout()->addWidget(view);
        view->show(); // at once, not when the event loop next runs
    }

    const UInt32 tracks = audio->numRecordedTracks();
    // Names typed for this recording stay when the user comes back to them.
    const bool freshNames = mNewTracksToName && (panel == 4 || panel == 7);
    if (freshNames)
        mNewTracksToName = false;
    switch (panel) {
    case 3:
        if (!_trackField && view)
            _trackField = qobject_cast<QLabel*>(view->viewWithTag(22));
        if (_trackField)
            _trackField->setText(QString::asprintf("%ld", 1L));
        break;
    case 4:
        // Artist and album stay as typed for the next record; the track name does not.
        SelectText(LineEditWithTag(view, 10));
        if (QLineEdit* name = LineEditWithTag(view, 12); name && freshNames)
            name->setText(QString());
        break;
    case 5:
    case 6:
        // Once the tracks go into the library there is nothing to go back to.
        if (view) {
            if (auto* back = view->findChild<QWidget*>(QStringLiteral("backButton")))
                back->setVisible(false);
        }
        break;
    case 7:
        SelectText(LineEditWithTag(view, 51));
        ShowNameFieldsUpTo(view, 61, 70, tracks, freshNames);
        ShowTrackLengths(view, 61, 70, mSession->takes());
        break;
    case 8:
    case 9:
    case 10: {
        // Deliberately not cleared: only panel 7 clears its names.
        const int first = 71 + int(panel - 8) * 10;
        SelectText(LineEditWithTag(view, first));
        ShowNameFieldsUpTo(view, first, first + 9, tracks, freshNames);
        ShowTrackLengths(view, first, first + 9, mSession->takes());
        break;
    }
    case 13:
        if (!mTrackCheck && view)
            mTrackCheck = std::make_unique<TrackCheckPanel>(view);
        if (mTrackCheck) {
            std::vector<std::string> takes;
            for (const Capture::SideSession::Take& take : mSession->takes())
                takes.push_back(take.path.toStdString());
            mTrackCheck->open(takes, audio->equaliser(), audio->outputDeviceID());
            if (mTrackCheck->trackView())
                mTrackCheck->trackView()->setFocus(Qt::OtherFocusReason);
        }
        break;
    default:
        break;
    }
}

// Transitions --------------------------------------------------------------------------------

void AppDelegate::meteringOn()
{
    if (_Tolm_Tab2NibView)
        _meterUpdateTimer = _Tolm_Tab2NibView->startMetering();
}

void AppDelegate::meteringOff()
{
    Invalidate(_meterUpdateTimer);
}

void AppDelegate::doCloseButton(QObject*)
{
    // Nothing recorded, or all of it in the library: nothing to lose, nothing to ask.
    if (!mSession->hasTakes() && !exporting()) {
        itsWindow->close();
        return;
    }
    QMessageBox box(QMessageBox::Question, QApplication::applicationDisplayName(),
                    Localized("IDS_CANCEL_RECORDING"), QMessageBox::NoButton, itsWindow.get());
    box.setInformativeText(Localized(""));
    QPushButton* yes = box.addButton(Localized("IDS_YES"), QMessageBox::YesRole);
    QPushButton* no = box.addButton(Localized("IDS_NO"), QMessageBox::NoRole);
    box.setDefaultButton(yes);
    box.setEscapeButton(no);
    box.exec();
    if (box.clickedButton() != yes)
        return;
    // An export that runs keeps the tracks it has not reached, for the next start.
    if (!exporting())
        mSession->discard();
    itsWindow->close();
}

void AppDelegate::showPreferences(QObject*)
{
    PreferencesDialog dialog(itsWindow.get());
    dialog.exec();
}

void AppDelegate::showHelp(QObject*)
{
    const QUrl page = HelpPageUrl();
    if (QDesktopServices::openUrl(page))
        return;
    // No browser to hand the page to: show it ourselves.
    if (!mHelpWindow) {
        mHelpWindow = new QTextBrowser;
        mHelpWindow->setAttribute(Qt::WA_DeleteOnClose);
        // Closing the wizard still ends the program while the help is open.
        mHelpWindow->setAttribute(Qt::WA_QuitOnClose, false);
        mHelpWindow->setOpenExternalLinks(true);
        mHelpWindow->setWindowTitle(QApplication::applicationDisplayName());
        mHelpWindow->resize(640, 720);
    }
    mHelpWindow->setSource(page);
    mHelpWindow->show();
    mHelpWindow->raise();
    mHelpWindow->activateWindow();
}

void AppDelegate::doNextButton1(QObject*)
{
    const int result = audio->detectAudioDevice();
    if (result == Capture::Audio::kDetectNone) {
        alert(Localized("IDS_WARNING"), Localized("IDS_NODEVICE"));
        return;
    }
    if (result == Capture::Audio::kDetectTooManyUsbDevices ||
        result == Capture::Audio::kDetectTooManyInputs) {
        alert(Localized("IDS_WARNING"), Localized("IDS_TOOMANYDEVICES"));
        return;
    }
    mDeviceChosen = true;
    if (audio->mightBeTurntableOrTape()) {
        Tolm::SystemLog::Write("doNextButton1: EQ required (must select)\n");
        setPanel(11);
    } else {
        Tolm::SystemLog::Write("doNextButton1: NO EQ required\n");
        audio->setNoFilter();
        setPanel(2);
        meteringOn();
    }
}

void AppDelegate::doNextButtonSelectDevice(QObject*)
{
    TOLM_ASSERT_TEXT(audio->mightBeTurntableOrTape(), "[audio mightBeTurntableOrTape]");
    if (_Tolm_TabSelectDeviceNibView && _Tolm_TabSelectDeviceNibView->getSelectedDeviceIsTurtable()) {
        audio->setRIAAFilter();
        setPanel(2);
        meteringOn();
    } else {
        audio->setNoFilter();
        setPanel(12);
    }
}

void AppDelegate::doBackButtonSelectDevice(QObject*)
{
    setPanel(1);
}

void AppDelegate::doNextButtonSelectTape(QObject*)
{
    TOLM_ASSERT_TEXT(audio->mightBeTurntableOrTape(), "[audio mightBeTurntableOrTape]");
    if (_Tolm_TabSelectTapeNibView && _Tolm_TabSelectTapeNibView->getSelectedTapeTypeIsChrome())
        audio->setChromeFilter();
    else
        audio->setNoFilter();
    setPanel(2);
    meteringOn();
}

void AppDelegate::doBackButtonSelectTape(QObject*)
{
    setPanel(11);
}

void AppDelegate::doBackButton2(QObject*)
{
    meteringOff();
    setPanel(1);
}

void AppDelegate::doBackButton4(QObject*)
{
    setPanel(13);
}

void AppDelegate::doNextButton4(QObject* sender)
{
    setPanel(5);
    processAudioFiles(sender);
}

void AppDelegate::doBackButton5(QObject*)
{
    setPanel(4);
}

void AppDelegate::doNextButton5(QObject*)
{
    setPanel(6);
}

void AppDelegate::doBackButton6(QObject*)
{
    setPanel(5);
}

void AppDelegate::doNextButton6(QObject*)
{
    // After a recovery at start the device and its equaliser have not been chosen yet.
    if (!mDeviceChosen) {
        meteringOff();
        setPanel(1);
        return;
    }
    setPanel(2);
    meteringOff();
    meteringOn();
}

void AppDelegate::exportToLibrary(QObject* sender)
{
    setPanel(5);
    processAudioFiles(sender);
}

void AppDelegate::doBackButton7(QObject*)
{
    setPanel(13);
}

void AppDelegate::doBackButton13(QObject*)
{
    if (mTrackCheck)
        mTrackCheck->stopListening();
    // The recording panel has nothing more to show once stopped: back means recording again.
    if (!discardRecording())
        return;
    setPanel(2);
    meteringOn();
}

void AppDelegate::doNextButton13(QObject*)
{
    if (!mTrackCheck || !mTrackCheck->ready())
        return;
    // Written beside the takes; the session puts them in their place.
    const auto tracks = mTrackCheck->cut(
        [this](unsigned track) { return (mSession->takePath(track) + QStringLiteral(".cut")).toStdString(); },
        [this](const std::vector<std::string>& files, QString& error) {
            QStringList paths;
            for (const std::string& file : files)
                paths << QString::fromStdString(file);
            if (mSession->replaceTakes(paths))
                return true;
            error = mSession->errorText();
            return false;
        });
    if (!tracks)
        return; // the user was told; the takes are as they were
    setPanel(*tracks == 1 ? 4 : 7);
}

void AppDelegate::doNextButton7(QObject* sender)
{
    if (audio->numRecordedTracks() <= 10)
        exportToLibrary(sender);
    else
        setPanel(8);
}

void AppDelegate::doBackButton8(QObject*)
{
    setPanel(7);
}

void AppDelegate::doNextButton8(QObject* sender)
{
    if (audio->numRecordedTracks() <= 20)
        exportToLibrary(sender);
    else
        setPanel(9);
}

void AppDelegate::doBackButton9(QObject*)
{
    setPanel(8);
}

void AppDelegate::doNextButton9(QObject* sender)
{
    if (audio->numRecordedTracks() <= 30)
        exportToLibrary(sender);
    else
        setPanel(10);
}

void AppDelegate::doBackButton10(QObject*)
{
    setPanel(9);
}

void AppDelegate::doNextButton10(QObject* sender)
{
    exportToLibrary(sender);
}

// Recording ----------------------------------------------------------------------------------

void AppDelegate::doRecordButton(QObject*, bool normalization, bool clickRemoval)
{
    Q_EMIT recordingStarting();
    if (const auto minutes = mSession->minutesThatFit(); minutes && *minutes < Capture::SideSession::kLongSideMinutes)
        alert(Localized("IDS_WARNING"),
              Localized("Only about %1 minutes of recording fit on the disk that keeps the recordings. Free some "
                        "space first, or the recording may stop before the side ends.")
                  .arg(long(*minutes)));
    const bool split = _Tolm_Tab2NibView && _Tolm_Tab2NibView->getAutomaticallySplitTracks();
    m_applyNormalization = normalization;
    m_applyClickRemoval = clickRemoval;
    setPanel(3);
    if (_Tolm_Tab3NibView)
        _Tolm_Tab3NibView->setSplitButtonVisibility(!split);
    Invalidate(_meterUpdateTimer);
    if (_Tolm_Tab3NibView)
        _meterUpdateTimer = _Tolm_Tab3NibView->startMetering();
    // Panel 3 stays either way; a file the controller could not make it has reported itself.
    if (!mSession->start(split) && !mSession->errorText().isEmpty())
        alert(Localized("The recording could not start."), mSession->errorText());
    mNewTracksToName = true;
    restartElapsedTimer();
}

void AppDelegate::doNewTrackButton(QObject* sender)
{
    switch (mSession->nextManualSplit()) {
    case Capture::SideSession::ManualSplit::LimitReached:
        alert(Localized("IDS_WARNING"), Localized("IDS_LIMIT"));
        doNextButton3(sender);
        return;
    case Capture::SideSession::ManualSplit::LastTrack:
        // The track being recorded goes on while the warning is up: recording has threads of its own.
        alert(Localized("IDS_WARNING"), Localized("IDS_LASTTRACK"));
        break;
    case Capture::SideSession::ManualSplit::Allowed:
        break;
    }
    if (!mSession->newTrack() && !mSession->errorText().isEmpty())
        alert(Localized("IDS_WARNING"), mSession->errorText());
    restartElapsedTimer();
}

void AppDelegate::restartElapsedTimer()
{
    Invalidate(_pTimer);
    _pTimer = std::make_unique<QTimer>();
    _pTimer->setInterval(kElapsedInterval);
    connect(_pTimer.get(), &QTimer::timeout, this, &AppDelegate::elaspedTimerFired);
    _pTimer->start();
    elaspedTimerFired();
}

void AppDelegate::elaspedTimerFired()
{
    if (!_statusField && _Tolm_Tab3NibView)
        _statusField = qobject_cast<QLabel*>(_Tolm_Tab3NibView->viewWithTag(21));
    const QString elapsed = ElapsedTimeText(audio->currentTrackLengthNanos());
    if (_statusField)
        _statusField->setText(elapsed);
    if (_trackField)
        _trackField->setText(QString::asprintf("%ld", long(audio->numRecordedTracks())));
}

void AppDelegate::endRecordingDisplay()
{
    Invalidate(_pTimer);
    if (_Tolm_Tab3NibView)
        _Tolm_Tab3NibView->stopMetering();
    Invalidate(_meterUpdateTimer);
}

void AppDelegate::showNaming()
{
    // With no track, panel 1 is shown and then, deliberately, replaced by panel 7 at once.
    if (audio->numRecordedTracks() == 0) {
        setPanel(1);
        setPanel(7);
        return;
    }
    // The tracks are checked, and corrected where the splits went wrong, before naming.
    setPanel(13);
}

void AppDelegate::doNextButton3(QObject*)
{
    mSession->stop();
    endRecordingDisplay();
    showNaming();
}

bool AppDelegate::discardRecording()
{
    if (mSession->hasTakes() &&
        !AskYesNo(itsWindow.get(),
                  LocalizedCount("Discard the recording of 1 track?", "Discard the recording of %1 tracks?",
                                 audio->numRecordedTracks())))
        return false;
    mSession->discard();
    return true;
}

void AppDelegate::doBackButton3(QObject*)
{
    // Asked first: the recorder would otherwise go on writing behind panel 2.
    if (!discardRecording())
        return;
    endRecordingDisplay();
    setPanel(2);
    meteringOn();
}

void AppDelegate::audioDetectedAlbumEnd()
{
    if (audio->numRecordedTracks() != 0)
        doNextButton3(nullptr);
    else
        doBackButton3(nullptr);
}

void AppDelegate::recordingFailed(UInt32 tracksKept, const QString& message)
{
    endRecordingDisplay();
    alert(Localized("IDS_WARNING"), message);
    if (tracksKept == 0) {
        mSession->discard();
        setPanel(2);
        meteringOn();
        return;
    }
    // Names typed meanwhile were for the tracks as they were before the failure.
    mNewTracksToName = true;
    showNaming();
}

void AppDelegate::offerRecovery()
{
    QList<Capture::TakeFolder::Summary> left;
    try {
        left = Capture::TakeFolder::Abandoned();
    } catch (const Capture::TakeFolderError& e) {
        std::fprintf(stderr, "%s\n", e.what());
        return;
    }
    for (const auto& recording : left) {
        QMessageBox box(QMessageBox::Question, QApplication::applicationDisplayName(),
                        LocalizedCount("A recording of 1 track, %2, from %3 was not finished.",
                                       "A recording of %1 tracks, %2, from %3 was not finished.", recording.tracks)
                            .replace(QLatin1String("%2"), DurationText(recording.seconds))
                            .replace(QLatin1String("%3"),
                                     QLocale().toString(recording.started, QStringLiteral("d MMM HH:mm"))),
                        QMessageBox::NoButton, itsWindow.get());
        box.setInformativeText(Localized("Recover names and adds its tracks; Discard deletes it."));
        QPushButton* recover = box.addButton(Localized("Recover"), QMessageBox::AcceptRole);
        QPushButton* discard = box.addButton(Localized("Discard"), QMessageBox::DestructiveRole);
        box.setDefaultButton(recover);
        box.exec();
        if (box.clickedButton() == discard) {
            try {
                Capture::TakeFolder::Open(recording.name)->removeAll();
            } catch (const Capture::TakeFolderError& e) {
                std::fprintf(stderr, "%s\n", e.what());
            }
        } else if (box.clickedButton() == recover) {
            if (!mSession->recover(recording.name)) {
                alert(Localized("The recording could not be recovered."), mSession->errorText());
                continue;
            }
            m_applyNormalization = false;
            mNewTracksToName = true;
            showNaming();
            return;
        }
        // Closed without an answer: asked again at the next start.
    }
}

void AppDelegate::setRecordingGainDb(float db)
{
    audio->setGainDb(db);
}

// Export -------------------------------------------------------------------------------------

bool AppDelegate::exporting() const
{
    return mPollingTimer != nullptr;
}

void AppDelegate::processAudioFiles(QObject*)
{
    // One export at a time: Back and Next again while it runs leaves it running.
    if (exporting()) {
        Tolm::SystemLog::Write("processAudioFiles: the export is still running\n");
        return;
    }
    const UInt32 tracks = audio->numRecordedTracks();

    if (!mExportBridge) {
        mExportBridge = std::make_unique<ExportBridge>(*this, *mMainThread);
        mExport = std::make_unique<Library::LibraryExport>(*mExportBridge, *mExportBridge, *mExportBridge,
                                                           *mAlerts);
    }
    mExportBridge->takeNamesFromPanels();
    exportStarted(tracks);

    mPollingTimer = std::make_unique<QTimer>();
    mPollingTimer->setInterval(kPollingInterval);
    connect(mPollingTimer.get(), &QTimer::timeout, this, &AppDelegate::pollingTimerFired);
    mPollingTimer->start();
    mExport->processAudioFiles(m_applyNormalization);
    pollingTimerFired();
}

void AppDelegate::exportStarted(UInt32 trackCount)
{
    if (!_progressIndicator && _Tolm_Tab5NibView) {
        _progressIndicator = new ProgressIndicator(_Tolm_Tab5NibView.get());
        _progressIndicator->setGeometry(kSpinnerFrame);
    }
    if (_progressIndicator) {
        _progressIndicator->setIndeterminate(true);
        _progressIndicator->startAnimation();
    }
    if (_Tolm_Tab5NibView)
        _progressLevelIndicator = qobject_cast<QProgressBar*>(_Tolm_Tab5NibView->viewWithTag(31));
    if (_progressLevelIndicator) {
        // A bar from 0 to 0 would show as busy rather than as empty.
        _progressLevelIndicator->setRange(0, int(std::max<UInt32>(trackCount, 1)));
        _progressLevelIndicator->setValue(0);
    }
    _progress = 0;
}

void AppDelegate::setProgress(int progress)
{
    _progress = UInt32(progress);
    if (_progressLevelIndicator)
        _progressLevelIndicator->setValue(progress);
    if (UInt32(progress) == audio->numRecordedTracks())
        stopSpinner();
}

void AppDelegate::stopSpinner()
{
    if (_progressIndicator)
        _progressIndicator->stopAnimation();
}

void AppDelegate::pollingTimerFired()
{
    if (!mExport || !mExport->pollingTimerFired())
        return;
    Invalidate(mPollingTimer);
    // Takes in the library are gone; the session's folder goes with them, unless the
    // library kept some out, which then wait for the next start.
    mSession->finish();
    if (!mDoneReport && _Tolm_Tab6NibView)
        mDoneReport = new DonePanelReport(*_Tolm_Tab6NibView);
    if (mDoneReport)
        mDoneReport->show(mExportBridge->outcome(), Library::LibrarySettings::folder());
    setPanel(6);
}

} // namespace Tolm::Ui
