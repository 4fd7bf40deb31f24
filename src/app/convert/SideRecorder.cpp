#include "SideRecorder.h"

#include "CommandLine.h"
#include "DiskSpace.h"
#include "InputDevices.h"
#include "capture/InputChain.h"
#include "capture/Localization.h"
#include "platform/AudioDeviceList.h"
#include "platform/AudioHardware.h"
#include "platform/HostTime.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QSocketNotifier>
#include <QTimer>
#include <algorithm>
#include <cctype>
#include <unistd.h>

namespace Tolm::Convert {

namespace {

std::string Lower(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return char(std::tolower(c)); });
    return text;
}

double NowSeconds()
{
    return double(AudioGetCurrentHostTime()) * 1e-9;
}

} // namespace

void StandardErrorAlerts::ShowAlert(const QString& titleKey, const QString& messageKey, const QString&)
{
    std::fprintf(stderr, "%s: %s\n", qPrintable(Localized(titleKey)), qPrintable(Localized(messageKey)));
}

SideRecorder::SideRecorder(Capture::Audio& audio) : mAudio(audio), mSession(audio)
{
    QObject::connect(&mSession, &Capture::SideSession::sideEndedByItself, [this] {
        mAlbumEnded = true;
        Finish();
    });
    QObject::connect(&mSession, &Capture::SideSession::recordingFailed, [this](UInt32, const QString& message) {
        std::fprintf(stderr, "\n%s\n", qPrintable(message));
        mFailed = true;
        Finish();
    });
}

bool SideRecorder::Detect(const std::string& expected)
{
    const int result = mAudio.detectAudioDevice();
    StandardErrorAlerts alerts;
    switch (result) {
    case Capture::Audio::kDetectNone:
        alerts.ShowAlert(QStringLiteral("IDS_WARNING"), QStringLiteral("IDS_NODEVICE"), QStringLiteral("OK"));
        return false;
    case Capture::Audio::kDetectTooManyUsbDevices:
    case Capture::Audio::kDetectTooManyInputs:
        alerts.ShowAlert(QStringLiteral("IDS_WARNING"), QStringLiteral("IDS_TOOMANYDEVICES"),
                         QStringLiteral("OK"));
        return false;
    default:
        break;
    }

    Platform::AudioDeviceInfo info;
    std::string shown = mAudio.device()->firstName;
    if (Platform::Hardware().GetDevice(mAudio.inputDeviceID(), info) == noErr)
        shown = ShownName(info);
    mDeviceName = shown;

    const std::string wanted = Lower(expected);
    if (wanted.empty() || wanted == "auto")
        return true;
    const auto contains = [&](const std::string& name) {
        return Lower(name).find(wanted) != std::string::npos;
    };
    if (contains(shown) || contains(info.name) || contains(mAudio.device()->firstName))
        return true;
    std::fprintf(stderr, "The connected device is \"%s\", not \"%s\".\n", shown.c_str(), expected.c_str());
    return false;
}

bool SideRecorder::ChooseEqualiser(SourceKind kind)
{
    if (mAudio.mightBeTurntableOrTape()) {
        switch (kind) {
        case SourceKind::Unspecified:
            std::fprintf(stderr,
                         "\"%s\" may be a turntable or a cassette deck: say which with --turntable or "
                         "--tape normal|chrome.\n",
                         mDeviceName.c_str());
            return false;
        case SourceKind::Turntable:
            mAudio.setRIAAFilter();
            return true;
        case SourceKind::NormalTape:
            mAudio.setNoFilter();
            return true;
        case SourceKind::ChromeTape:
            mAudio.setChromeFilter();
            return true;
        }
    }
    // The wizard asks nothing here and corrects nothing; an explicit answer still counts.
    switch (kind) {
    case SourceKind::Turntable:
        std::fprintf(stderr,
                     "Note: \"%s\" corrects its own sound; applying the turntable equaliser anyway.\n",
                     mDeviceName.c_str());
        mAudio.setRIAAFilter();
        break;
    case SourceKind::ChromeTape:
        mAudio.setChromeFilter();
        break;
    default:
        mAudio.setNoFilter();
        break;
    }
    return true;
}

void SideRecorder::Finish()
{
    if (mFinished)
        return;
    mFinished = true;
    QCoreApplication::exit(0);
}

void SideRecorder::NewTrackByHand()
{
    StandardErrorAlerts alerts;
    switch (mSession.nextManualSplit()) {
    case Capture::SideSession::ManualSplit::LimitReached:
        alerts.ShowAlert(QStringLiteral("IDS_WARNING"), QStringLiteral("IDS_LIMIT"), QStringLiteral("OK"));
        mSession.stop();
        Finish();
        return;
    case Capture::SideSession::ManualSplit::LastTrack:
        alerts.ShowAlert(QStringLiteral("IDS_WARNING"), QStringLiteral("IDS_LASTTRACK"), QStringLiteral("OK"));
        break;
    case Capture::SideSession::ManualSplit::Allowed:
        break;
    }
    if (!mSession.newTrack() && !mSession.errorText().isEmpty()) {
        mFailed = true;
        Finish();
    }
}

std::optional<RecordedSide> SideRecorder::Record(bool autoSplit, const std::function<void()>& onStart)
{
    mAlbumEnded = mFailed = mFinished = false;
    if (const auto minutes = mSession.minutesThatFit(); minutes && *minutes < Capture::SideSession::kLongSideMinutes)
        std::fprintf(stderr, "Warning: only %.1f minutes of recording fit in %s; free some space first.\n", *minutes,
                     qPrintable(Capture::TakeFolder::Root()));
    mAudio.startPlayThru();

    // Record on the recording panel.
    if (onStart)
        onStart();
    if (!mSession.start(autoSplit)) {
        if (!mSession.errorText().isEmpty())
            std::fprintf(stderr, "The recording could not start: %s\n", qPrintable(mSession.errorText()));
        mSession.discard();
        mAudio.stopPlayThru();
        return std::nullopt; // the controller has said why
    }
    mElapsedStart = NowSeconds();

    std::fprintf(stderr, "Recording from \"%s\". %s\n", mDeviceName.c_str(),
                 autoSplit ? "Tracks are split at the gaps; the side ends by itself. Ctrl-C stops."
                           : "Press Enter for a new track, Ctrl-C to stop.");

    StatusLine status;
    QTimer tick;
    tick.setInterval(100);
    QObject::connect(&tick, &QTimer::timeout, [&] {
        if (StopRequested() && !mFinished) {
            mSession.stop(); // as the Stop button does; a failed write is reported from here
            Finish();
            return;
        }
        const double elapsed = NowSeconds() - mElapsedStart;
        const float peak = std::max(Capture::GetVUMaxL(), Capture::GetVUMaxR());
        status.Show("Track " + std::to_string(mAudio.numRecordedTracks()) + "  " +
                    FormatMinutesSeconds(double(mAudio.currentTrackLengthNanos()) * 1e-9) + "  total " +
                    FormatMinutesSeconds(elapsed) + "  " + LevelBar(peak));
    });
    tick.start();

    std::unique_ptr<QSocketNotifier> keyboard;
    if (!autoSplit && isatty(STDIN_FILENO)) {
        keyboard = std::make_unique<QSocketNotifier>(STDIN_FILENO, QSocketNotifier::Read);
        QObject::connect(keyboard.get(), &QSocketNotifier::activated, [&] {
            char buffer[256];
            if (read(STDIN_FILENO, buffer, sizeof(buffer)) <= 0) {
                keyboard->setEnabled(false);
                return;
            }
            if (!mFinished)
                NewTrackByHand();
        });
    }

    if (!mFinished)
        QCoreApplication::exec();
    tick.stop();
    keyboard.reset();
    status.End();
    if (mSession.recording())
        mSession.stop();
    mAudio.stopPlayThru();

    RecordedSide side;
    side.albumEnded = mAlbumEnded;
    side.failed = mFailed;
    for (const auto& take : mSession.takes())
        side.tracks.push_back({take.path.toStdString(), take.seconds});
    return side;
}

} // namespace Tolm::Convert
