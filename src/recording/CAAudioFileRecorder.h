#pragma once

#include "platform/AudioHardware.h"
#include "recording/CAAudioFileWriter.h"

#include <atomic>
#include <memory>

// Records one input device into one file: an input stream of the platform layer, the
// recording gain, and a push queue that the work thread writes to the file. Nothing else
// happens to the samples on the way (no equaliser, no meters).
class CAAudioFileRecorder : public CAAudioFileWriter {
  public:
    // Opens (but does not start) an input stream on `inputDevice`; 0 means the system's
    // default input. Throws CAXException.
    CAAudioFileRecorder(AudioDeviceID inputDevice, int nBuffers, UInt32 bufferSizeFrames);
    ~CAAudioFileRecorder() override;

    // Takes effect for blocks that arrive after the call; meant to be set before Start.
    void SetInputGain(float dB);
    float GetInputGainFactor() const { return mInputGain.load(std::memory_order_relaxed); }

    // A data format with a sample rate of 0 takes the device's rate.
    void SetFile(const FSRef& parentDir, const std::string& name, AudioFileTypeID fileType,
                 const CAStreamBasicDescription& dataFormat) override;
    void Start() override;
    // Stops the stream, then writes everything the queue still holds.
    void Stop() override;

    AudioDeviceID GetInputDevice() const { return mInputDevice; }
    const CAStreamBasicDescription& GetInputDataFormat() const { return mInputDataFormat; }
    Tolm::Platform::AudioStreamStatistics GetInputStatistics() const { return mInputUnit->Statistics(); }
    // False once stopped, or when the device has gone away while recording.
    bool IsInputRunning() const { return mInputUnit->IsRunning(); }
    // Highest absolute sample handed to the queue since the last call (after the gain);
    // read and cleared, for a level display.
    float TakeInputPeak() { return mInputPeak.exchange(0.0f, std::memory_order_relaxed); }

  protected:
    static OSStatus InputProc(void* refCon, const AudioTimeStamp& timeStamp, UInt32 frames,
                              AudioBufferList* data);

    std::unique_ptr<Tolm::Platform::AudioStream> mInputUnit;
    std::unique_ptr<CABufferList> mAudioInputPtrs; // aimed at the stream's memory each block
    CAStreamBasicDescription mInputDataFormat;
    std::atomic<float> mInputGain{1.0f};
    std::atomic<float> mInputPeak{0.0f};
    AudioDeviceID mInputDevice = 0;
};
