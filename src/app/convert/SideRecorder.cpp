#include "SideRecorder.h"

#include "CommandLine.h"
#include "DiskSpace.h"
#include "InputDevices.h"
#include "base/SystemLog.h"
#include "capture/InputChain.h"
#include "capture/Localization.h"
#include "platform/AudioDeviceList.h"
#include "platform/AudioHardware.h"
#include "platform/HostTime.h"
#include "recording/CAAudioFile.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QSocketNotifier>
#include <QTimer>
#include <algorithm>
#include <cctype>
#include <unistd.h>

namespace Tolm::Convert {

namespace {

constexpr UInt32 kTrackLimit = 40; // as the New Track button allows

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

SideRecorder::SideRecorder(Capture::Audio& audio) : mAudio(audio)
{
    mAudio.setDelegate(this);
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

void SideRecorder::audioDetectedAlbumEnd()
{
    mAlbumEnded = true;
    mFinished = true;
    QCoreApplication::exit(0);
}

void SideRecorder::NewTrackByHand()
{
    StandardErrorAlerts alerts;
    const UInt32 tracks = mAudio.numRecordedTracks();
    if (tracks == kTrackLimit) {
        alerts.ShowAlert(QStringLiteral("IDS_WARNING"), QStringLiteral("IDS_LIMIT"), QStringLiteral("OK"));
        mAudio.stopRecording();
        mFinished = true;
        QCoreApplication::exit(0);
        return;
    }
    if (tracks == kTrackLimit - 1)
        alerts.ShowAlert(QStringLiteral("IDS_WARNING"), QStringLiteral("IDS_LASTTRACK"),
                         QStringLiteral("OK"));
    mAudio.newTrack();
}

std::optional<RecordedSide> SideRecorder::Record(bool autoSplit, const std::function<void()>& onStart)
{
    mAlbumEnded = mFinished = false;
    // Track files are stereo float at the device's rate.
    Platform::AudioDeviceInfo info;
    if (Platform::Hardware().GetDevice(mAudio.inputDeviceID(), info) == noErr)
        WarnIfShortOfSpace(QFileInfo(Capture::Audio::fileNameForTrack(1)).absolutePath().toStdString(),
                           info.nominalSampleRate, 2);
    mAudio.startPlayThru();

    // Record on the recording panel.
    mAudio.resetTrackCounter();
    Capture::ResetVUMax();
    mAudio.setAutomaticTrackSplit(autoSplit);
    if (onStart)
        onStart();
    try {
        if (!mAudio.newTrack()) {
            mAudio.stopPlayThru();
            return std::nullopt; // the controller has said why
        }
    } catch (...) {
        Tolm::SystemLog::Print("ERROR: _recorder103->Start()\n");
        mAudio.stopRecording();
        mAudio.stopPlayThru();
        return std::nullopt;
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
            mAudio.stopRecording(); // as the Stop button does
            mFinished = true;
            QCoreApplication::exit(0);
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
    mAudio.stopRecording();
    mAudio.stopPlayThru();

    RecordedSide side;
    side.albumEnded = mAlbumEnded;
    for (UInt32 n = 1; n <= mAudio.numRecordedTracks() && n < 100000; ++n) {
        RecordedTrack track;
        track.path = Capture::Audio::fileNameForTrack(n).toStdString();
        track.seconds = TrackFileSeconds(track.path).value_or(0.0);
        side.tracks.push_back(track);
    }
    return side;
}

std::optional<double> TrackFileSeconds(const std::string& path)
{
    try {
        CAAudioFile file;
        file.Open(FSRef{path});
        const double rate = file.GetFileDataFormat().mSampleRate;
        if (rate <= 0.0)
            return std::nullopt;
        return double(file.GetNumberFrames()) / rate;
    } catch (...) {
        return std::nullopt;
    }
}

} // namespace Tolm::Convert
