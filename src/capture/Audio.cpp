#include "capture/Audio.h"

#include "base/SystemLog.h"
#include "base/TolmAssert.h"
#include "capture/AlertPresenter.h"
#include "capture/GapEventQueue.h"
#include "capture/InputChain.h"
#include "capture/Localization.h"
#include "capture/UsbEnumeration.h"
#include "filters/AudioFilter.h"
#include "filters/GapDetector.h"
#include "monitoring/CAPlayThroughHost.h"
#include "platform/AudioDeviceList.h"
#include "platform/CAXException.h"
#include "platform/HostTime.h"
#include "recording/CAAudioFile.h"
#include "recording/CAAudioFileRecorder.h"

#include <QFile>
#include <QtGlobal>
#include <cstdio>
#include <unistd.h>

namespace Tolm::Capture {

using Morvo::Audio::Filters::AudioFilter;
using Morvo::Audio::Filters::GapDetector;

namespace {

constexpr const char* kTrackFileBase = "TolmACTmpFile";
constexpr int kRecorderBuffers = 3;
constexpr UInt32 kRecorderBufferFrames = 32768;
constexpr const char* kFileProblemText =
    "There was a problem creating the audio file. Your recording may not be successful.";

} // namespace

Audio::Audio(AlertPresenter* alerts, QObject* parent)
    : QObject(parent), mAlerts(alerts), mHardware(Platform::Hardware())
{
    gapDetectorListener = std::make_unique<GapDetectorListener>(*this);
    // The detector always starts at 44100 Hz; each new track file sets the device's rate.
    gapDetector.store(new GapDetector(*gapDetectorListener, 44100));
    mGapEvents = std::make_unique<GapEventQueue>(
        [this](GapEventQueue::Event event) { HandleGapEvent(static_cast<int>(event)); });

    mInputDeviceList = std::make_unique<Platform::AudioDeviceList>(true);
    mOutputDeviceList = std::make_unique<Platform::AudioDeviceList>(false);
    mInputDeviceID = mHardware.DefaultInputDevice();
    mOutputDeviceID = mHardware.DefaultOutputDevice();

    // Device-set changes arrive on the hardware's notification thread; they are handled on
    // ours, in the order they came, so detection never races the front end.
    mDeviceSetListener = mHardware.AddDeviceSetListener([this] {
        QMetaObject::invokeMethod(
            this, [this] { AudioDevicesNotification(kAudioHardwarePropertyDevices, this); },
            Qt::QueuedConnection);
    });
}

Audio::~Audio()
{
    mHardware.RemoveListener(mDeviceSetListener);
    // Torn down without Stop(): the last partial buffer of a running track is not written.
    mRecording.store(false);
    _recorder103.reset();
    mInputDeviceList.reset();
    mOutputDeviceList.reset();
    _playThru.reset();
    delete gapDetector.exchange(nullptr);
    gapDetectorListener.reset();
}

// Track files ------------------------------------------------------------------------------

QString Audio::fileNameForTrack(UInt32 track) const
{
    const QString base = mTakeFolder.isEmpty() ? QString::fromLatin1(kTrackFileBase)
                                               : mTakeFolder + QLatin1Char('/') + QLatin1String(kTrackFileBase);
    return QStringLiteral("%1.%2.wav").arg(base).arg(track);
}

OSStatus Audio::recordingWriteError() const
{
    if (mLastWriteError != 0)
        return mLastWriteError;
    return _recorder103 ? _recorder103->GetWriteError() : 0;
}

std::unique_ptr<CAAudioFileRecorder> Audio::newRecorder(const QString& path)
{
    QByteArray bytes = QFile::encodeName(path);
    bytes.truncate(1499);
    // A file left from an earlier recording goes first; the recorder then creates the new
    // one exclusively, so a link planted at the path is never followed.
    if (!mTakeFolder.isEmpty())
        unlink(bytes.constData());

    CAStreamBasicDescription format;
    format.mSampleRate = 0.0;
    format.mFormatID = kAudioFormatLinearPCM;
    format.mFormatFlags = kAudioFormatFlagIsFloat | kAudioFormatFlagIsPacked;
    format.mBytesPerPacket = 8;
    format.mFramesPerPacket = 1;
    format.mBytesPerFrame = 8;
    format.mChannelsPerFrame = 2;
    format.mBitsPerChannel = 32;
    format.mReserved = 0;

    Float64 rate = 0.0;
    Platform::AudioDeviceInfo info;
    const OSStatus status = mHardware.GetDevice(mInputDeviceID, info);
    if (status != noErr)
        qWarning("Get sample rate failed (%u)", static_cast<unsigned>(status));
    else
        rate = info.actualSampleRate;
    if (rate != 0.0)
        gapDetector.load()->SetSampleRate(static_cast<unsigned>(rate));
    else
        gapDetector.load()->Reset();
    format.mSampleRate = rate;

    try {
        auto recorder =
            std::make_unique<CAAudioFileRecorder>(mInputDeviceID, kRecorderBuffers, kRecorderBufferFrames);
        FSRef parent;
        std::string name;
        // Never a folder of the program's working directory: takes belong to a session.
        const OSStatus found = mTakeFolder.isEmpty() ? kCAAudioFileNotFoundError
                                                     : PosixPathToParentFSRefAndName(bytes.constData(), parent, name);
        XThrowIfError(found, "couldn't find output directory");
        recorder->SetInputGain(m_gainDb);
        recorder->SetFile(parent, name, kAudioFileWAVEType, format);
        return recorder;
    } catch (const CAXException& e) {
        Tolm::SystemLog::Print("newRecorder Error: %s (%s)\n", e.Operation(),
                               CAXException::FormatError(e.GetError()).c_str());
    } catch (...) {
        Tolm::SystemLog::Print("newRecorder An unknown error occurred\n");
    }
    return nullptr;
}

// Recording --------------------------------------------------------------------------------

bool Audio::recording() const
{
    return _recorder103 != nullptr;
}

void Audio::resetTrackCounter()
{
    _tracks = 0;
    mLastWriteError = 0;
}

UInt32 Audio::numRecordedTracks() const
{
    return _tracks;
}


UInt64 Audio::currentTrackLengthNanos() const
{
    return AudioConvertHostTimeToNanos(AudioGetCurrentHostTime() - _startHostTime);
}

bool Audio::newTrack()
{
    _tracks += 1;
    _outputFilePath = fileNameForTrack(_tracks);

    // Monitoring pauses while the recorder changes the gap detector's rate.
    const bool restartPlayThru = _playThru && _playThru->IsRunning();
    if (restartPlayThru)
        _playThru->Stop();

    if (_recorder103) {
        _recorder103->Stop();
        mRecording.store(false);
        if (mLastWriteError == 0)
            mLastWriteError = _recorder103->GetWriteError();
        _recorder103.reset();
    }

    _recorder103 = newRecorder(_outputFilePath);
    if (_recorder103) {
        mRecording.store(true);
        _recorder103->Start();
    } else if (mAlerts) {
        mAlerts->ShowAlert(QStringLiteral("IDS_WARNING"), QString::fromLatin1(kFileProblemText),
                           QStringLiteral("IDS_CONTINUE"));
    } else {
        std::fprintf(stderr, "%s: %s\n", qPrintable(Localized("IDS_WARNING")),
                     qPrintable(Localized(kFileProblemText)));
    }
    _startHostTime = AudioGetCurrentHostTime();

    if (restartPlayThru)
        _playThru->Start(); // directly: the gap detector keeps its state across the split
    return _recorder103 != nullptr;
}

void Audio::stopRecording()
{
    if (!_recorder103)
        return;
    try {
        _recorder103->Stop();
    } catch (...) {
        // Kept, and still counted as recording: the user may press Stop again.
        Tolm::SystemLog::Print("ERROR: _recorder103->Stop()\n");
        return;
    }
    mRecording.store(false);
    if (mLastWriteError == 0)
        mLastWriteError = _recorder103->GetWriteError();
    _recorder103.reset();
}

// Gap events -------------------------------------------------------------------------------

void Audio::trackGapDetected()
{
    if (mRecording.load(std::memory_order_relaxed) && automaticTrackSplit_.load(std::memory_order_relaxed))
        mGapEvents->Post(GapEventQueue::Event::TrackGap);
}

void Audio::albumEndDetected()
{
    if (mRecording.load(std::memory_order_relaxed) && automaticTrackSplit_.load(std::memory_order_relaxed))
        mGapEvents->Post(GapEventQueue::Event::AlbumEnd);
}

void Audio::HandleGapEvent(int event)
{
    // The conditions are not tested again here: an event queued just before a stop still
    // acts, as a click on the main thread would have.
    if (static_cast<GapEventQueue::Event>(event) == GapEventQueue::Event::AlbumEnd) {
        albumEndDetectedOnMainThread();
        return;
    }
    try {
        newTrack();
    } catch (const CAXException& e) {
        Tolm::SystemLog::Print("newTrack Error: %s (%s)\n", e.Operation(),
                               CAXException::FormatError(e.GetError()).c_str());
    } catch (const std::exception& e) {
        Tolm::SystemLog::Print("newTrack Error: %s\n", e.what());
    } catch (...) {
        Tolm::SystemLog::Print("newTrack An unknown error occurred\n");
    }
}

void Audio::albumEndDetectedOnMainThread()
{
    stopRecording();
    // The track started at the last gap holds only the run-out; its file stays, uncounted.
    _tracks -= 1;
    if (mDelegate)
        mDelegate->audioDetectedAlbumEnd();
}

// Settings ---------------------------------------------------------------------------------

void Audio::setGainDb(float dB)
{
    m_gainDb = dB;
    // The running recorder keeps its gain: a new value reaches the files from the next track.
    if (_playThru && _playThru->Engine())
        _playThru->Engine()->SetInputGain(dB);
}

void Audio::SetEqualiser(AudioFilter::Type type)
{
    filter.Set(type);
    mEqualiser = type;
}

void Audio::setNoFilter()
{
    qInfo("%s", "-[Audio setNoFilter]");
    SetEqualiser(AudioFilter::NoFilter);
}

void Audio::setRIAAFilter()
{
    qInfo("%s", "-[Audio setRIAAFilter]");
    if (mDevice && !mDevice->softwareRiaa)
        SetEqualiser(AudioFilter::RIAABassFilter);
    else
        SetEqualiser(AudioFilter::RIAAFilter);
}

void Audio::setChromeFilter()
{
    qInfo("%s", "-[Audio setChromeFilter]");
    SetEqualiser(AudioFilter::ChromeFilter);
}

void Audio::setAutomaticTrackSplit(bool split)
{
    qInfo("%s", "-[Audio setAutomaticTrackSplit:]");
    automaticTrackSplit_.store(split);
    gapDetector.load()->Reset();
}

void Audio::startPlayThru()
{
    if (_playThru)
        _playThru->Start();
    gapDetector.load()->Reset();
}

void Audio::stopPlayThru()
{
    if (_playThru)
        _playThru->Stop();
}

// Detection --------------------------------------------------------------------------------

int Audio::detectAudioDevice()
{
    rebuildInputDevicesList();
    const UsbEnumeration enumeration;
    mDevice = nullptr;

    const int found = enumeration.numberOfDetectedDevices();
    if (found == 0)
        return kDetectNone;
    if (found != 1)
        return kDetectTooManyUsbDevices;

    mDevice = enumeration.device();
    const int matching = countDevicesWithMatchingName();
    if (matching == 0)
        return kDetectNone;
    if (matching != 1)
        return kDetectTooManyInputs;

    selectInputFromDeviceList();
    return kDetectSelected;
}

int Audio::countDevicesWithMatchingName()
{
    TOLM_ASSERT(mInputDeviceList);
    if (!mDevice)
        return 0;
    int count = 0;
    for (const auto& entry : mInputDeviceList->GetList()) {
        if (mDevice->NameMatch(entry.name))
            ++count;
    }
    return count;
}

bool Audio::mightBeTurntableOrTape() const
{
    // Both flags, deliberately: a row with only one of them is never asked about.
    return mDevice && mDevice->mayBeTurntable && mDevice->mayBeTape;
}

int Audio::selectInputFromDeviceList()
{
    TOLM_ASSERT(mInputDeviceList);
    if (!mDevice)
        return -1;

    const Platform::AudioDeviceList::Device* match = nullptr;
    int index = 0;
    for (const auto& entry : mInputDeviceList->GetList()) {
        Tolm::SystemLog::Print("selectInputFromDeviceList Device = %d %s, %s\n", index, entry.name,
                               mDevice->firstName);
        ++index;
        if (mDevice->NameMatch(entry.name)) {
            match = &entry;
            break;
        }
    }
    if (!match)
        return -1;

    if (match->deviceId == mInputDeviceID && _playThru)
        return 0; // already monitoring this device

    if (match->deviceId != kAudioDeviceUnknown)
        mInputDeviceID = match->deviceId;

    if (_playThru) {
        _playThru->DeletePlayThrough();
        _playThru.reset();
    }
    _playThru = std::make_unique<Monitoring::CAPlayThroughHost>(mInputDeviceID, mOutputDeviceID);
    if (auto* engine = _playThru->Engine()) {
        engine->SetInputGain(m_gainDb);
        engine->inputHook.store(&InputProcCallback);
    }
    return match->deviceId == kAudioDeviceUnknown ? -1 : 0;
}

void Audio::rebuildInputDevicesList()
{
    mInputDeviceList.reset();
    mInputDeviceList = std::make_unique<Platform::AudioDeviceList>(true);
}

OSStatus AudioDevicesNotification(UInt32 property, void* clientData)
{
    if (property == kAudioHardwarePropertyDevices) {
        auto* audio = static_cast<Audio*>(clientData);
        // Rebuilt here and again inside detection; the result is of no use to anyone here.
        audio->rebuildInputDevicesList();
        audio->detectAudioDevice();
    }
    return 0;
}

} // namespace Tolm::Capture
