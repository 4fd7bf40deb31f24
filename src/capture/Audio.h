#pragma once

// The one object through which a front end records: it finds the supported USB device and
// selects its input, monitors it with the input chain installed, and records a side as one
// WAV file per track, split at the gaps the gap detector finds and stopped by itself at the
// end of the side. Lives on the main thread; only the two gap events arrive from elsewhere.

#include "capture/GapDetectorListener.h"
#include "capture/KnownUsbDevice.h"
#include "filters/AudioFilter.h"
#include "platform/AudioHardware.h"

#include <QObject>
#include <QString>
#include <memory>

class CAAudioFileRecorder;

namespace Tolm::Platform {
class AudioDeviceList;
}
namespace Tolm::Monitoring {
class CAPlayThroughHost;
}

namespace Tolm::Capture {

class AlertPresenter;
class GapEventQueue;

// Told on the main thread when the gap detector has ended the recording at the end of a side.
class AudioDelegate {
  public:
    virtual ~AudioDelegate() = default;
    virtual void audioDetectedAlbumEnd() = 0;
};

// The hardware property of the device-set notification.
inline constexpr UInt32 kAudioHardwarePropertyDevices = FourCC("dev#");

class Audio final : public QObject, public GapEventReceiver {
    Q_OBJECT

  public:
    static constexpr int kDetectNone = 0;
    static constexpr int kDetectSelected = 1;
    static constexpr int kDetectTooManyUsbDevices = 2;
    static constexpr int kDetectTooManyInputs = 3;

    // Alerts go to `alerts`; without one they are written to standard error.
    explicit Audio(AlertPresenter* alerts = nullptr, QObject* parent = nullptr);
    ~Audio() override;

    AudioDelegate* delegate() const { return mDelegate; }
    void setDelegate(AudioDelegate* delegate) { mDelegate = delegate; }

    // Recording.
    bool newTrack();
    void stopRecording();
    bool recording() const;
    void resetTrackCounter();
    UInt32 numRecordedTracks() const;
    // For takes that were recovered or cut again: how many of them count.
    void setNumRecordedTracks(UInt32 tracks) { _tracks = tracks; }
    UInt64 currentTrackLengthNanos() const;
    // Takes are written into the folder of the recording session (see TakeFolder.h).
    void setTakeFolder(const QString& folder) { mTakeFolder = folder; }
    QString takeFolder() const { return mTakeFolder; }
    QString fileNameForTrack(UInt32 track) const;
    // The status of a failed write of the running track (a full disk), 0 when there is none.
    OSStatus recordingWriteError() const;
    std::unique_ptr<CAAudioFileRecorder> newRecorder(const QString& path);
    void setGainDb(float dB);
    void setNoFilter();
    void setRIAAFilter();
    void setChromeFilter();
    void setAutomaticTrackSplit(bool split);
    void startPlayThru();
    void stopPlayThru();

    // GapEventReceiver: called on the monitoring engine's audio thread.
    void trackGapDetected() override;
    void albumEndDetected() override;
    void albumEndDetectedOnMainThread();

    // Device detection and selection.
    int detectAudioDevice();
    int countDevicesWithMatchingName();
    bool mightBeTurntableOrTape() const;
    int selectInputFromDeviceList();
    void rebuildInputDevicesList();

    // State, for front ends and tests.
    const KnownUsbDevice* device() const { return mDevice; }
    AudioDeviceID inputDeviceID() const { return mInputDeviceID; }
    AudioDeviceID outputDeviceID() const { return mOutputDeviceID; }
    Monitoring::CAPlayThroughHost* playThru() const { return _playThru.get(); }
    const Platform::AudioDeviceList* inputDeviceList() const { return mInputDeviceList.get(); }
    const Platform::AudioDeviceList* outputDeviceList() const { return mOutputDeviceList.get(); }
    float gainDb() const { return m_gainDb; }
    // The equaliser chosen last; what the analysis of a recorded side hears through.
    Morvo::Audio::Filters::AudioFilter::Type equaliser() const { return mEqualiser; }
    bool automaticTrackSplit() const { return automaticTrackSplit_.load(std::memory_order_relaxed); }
    QString outputFilePath() const { return _outputFilePath; }

    friend OSStatus AudioDevicesNotification(UInt32 property, void* clientData);

  private:
    void HandleGapEvent(int event);
    void SetEqualiser(Morvo::Audio::Filters::AudioFilter::Type type);

    AlertPresenter* mAlerts;
    Platform::AudioHardware& mHardware;

    const KnownUsbDevice* mDevice = nullptr;
    std::unique_ptr<Monitoring::CAPlayThroughHost> _playThru;
    float m_gainDb = 0.0f;
    Morvo::Audio::Filters::AudioFilter::Type mEqualiser = Morvo::Audio::Filters::AudioFilter::NoFilter;
    std::unique_ptr<Platform::AudioDeviceList> mInputDeviceList;
    std::unique_ptr<Platform::AudioDeviceList> mOutputDeviceList;
    AudioDeviceID mInputDeviceID = kAudioDeviceUnknown;
    AudioDeviceID mOutputDeviceID = kAudioDeviceUnknown;
    std::unique_ptr<CAAudioFileRecorder> _recorder103;
    // Read by the audio thread to decide whether a gap event matters.
    std::atomic<bool> mRecording{false};
    UInt64 _startHostTime = 0;
    UInt32 _tracks = 0;
    QString _outputFilePath;
    QString mTakeFolder;
    OSStatus mLastWriteError = 0; // of recorders already stopped in this recording
    std::unique_ptr<GapDetectorListener> gapDetectorListener;
    std::atomic<bool> automaticTrackSplit_{false};
    AudioDelegate* mDelegate = nullptr;

    std::unique_ptr<GapEventQueue> mGapEvents;
    Platform::AudioHardware::ListenerId mDeviceSetListener = 0;
};

// Rebuilds the input list and detects again; the result is not used. Always 0.
OSStatus AudioDevicesNotification(UInt32 property, void* clientData);

} // namespace Tolm::Capture
