#pragma once

// Plays one input device through to one output device while the level is set and while
// recording. Input blocks get the gain and the input hook (meters, equaliser, gap detector)
// and go into a timestamped ring buffer; the output side reads them back a fixed time later
// through a variable-rate resampler that converts between the devices' rates and follows
// the drift between their clocks.

#include "monitoring/AudioRingBuffer.h"
#include "platform/AudioDevice.h"
#include "platform/AudioHardware.h"
#include "platform/CABufferList.h"

#include <atomic>
#include <memory>
#include <vector>

struct SRC_STATE_tag;

namespace Tolm::Monitoring {

// Called on the input thread for every block, after the gain, before the block is stored:
// the block, its frames and its sample time. It may change the samples in place; what it
// leaves is what is heard. Its result is ignored.
using InputHook = OSStatus (*)(AudioBufferList* list, unsigned long frames, long long sampleTime);

class CAPlayThrough {
public:
    // Device id 0 takes the system's default device. A device that cannot be set up ends
    // the program with status 1: there is no degraded mode.
    CAPlayThrough(AudioDeviceID input, AudioDeviceID output);
    ~CAPlayThrough();
    CAPlayThrough(const CAPlayThrough&) = delete;
    CAPlayThrough& operator=(const CAPlayThrough&) = delete;

    OSStatus Init(AudioDeviceID input, AudioDeviceID output);
    void Cleanup();

    // Each start measures the latency anew.
    OSStatus Start();
    OSStatus Stop();
    bool IsRunning() const;

    void SetInputGain(float dB);

    AudioDeviceID GetInputDeviceID() const { return mInputDevice.deviceId; }
    AudioDeviceID GetOutputDeviceID() const { return mOutputDevice.deviceId; }
    // Frames by which the output's sample time runs ahead of the input sample time it plays
    // (in input frames): output frame T plays input frame T - InToOutOffset().
    Float64 InToOutOffset() const
    {
        return inToOutOffset.load(std::memory_order_relaxed) + Float64(mInputTimelineOrigin);
    }
    Float64 ComputeThruOffset() const;

    // Set directly by the owner; none until then.
    std::atomic<InputHook> inputHook{nullptr};

private:
    OSStatus SetupAUHAL(AudioDeviceID input);
    OSStatus SetupGraph(AudioDeviceID output);
    OSStatus MakeGraph(UInt32 channels);
    OSStatus SetupBuffers();
    OSStatus SetInputDeviceAsCurrent(AudioDeviceID input);
    OSStatus SetOutputDeviceAsCurrent(AudioDeviceID output);

    // Real time. InputProc runs on the input device's thread; OutputDeviceProc on the output
    // device's, where the resampler pulls input through OutputProc.
    static OSStatus InputProc(void* refCon, const AudioTimeStamp& timeStamp, UInt32 frames,
                              AudioBufferList* data);
    static OSStatus OutputDeviceProc(void* refCon, const AudioTimeStamp& timeStamp, UInt32 frames,
                                     AudioBufferList* data);
    static long VarispeedPull(void* refCon, float** data);
    OSStatus OutputProc(UInt32 frames, Float64 sampleTime, float* interleaved);
    void UpdatePlaybackRate(const AudioTimeStamp& inputNow, const AudioTimeStamp& outputNow);

    struct VarispeedDeleter {
        void operator()(SRC_STATE_tag* state) const;
    };

    std::unique_ptr<Platform::AudioStream> mInputStream;
    std::unique_ptr<CABufferList> inputBuffer;
    Platform::AudioDevice mInputDevice;
    Platform::AudioDevice mOutputDevice;
    AudioRingBuffer ring;
    std::unique_ptr<Platform::AudioStream> mOutputStream;
    std::unique_ptr<SRC_STATE_tag, VarispeedDeleter> mVarispeed;

    UInt32 mChannels = 0;
    UInt32 mInputBufferFrames = 0;
    // Added to input sample times to address the ring; see InputProc.
    SInt64 mInputTimelineOrigin = 0;
    Float64 mNominalRatio = 1.0;  // output rate / input rate

    std::atomic<Float64> firstInputTime{-1.0};
    std::atomic<Float64> firstOutputTime{-1.0};
    std::atomic<Float64> inToOutOffset{0.0};
    std::atomic<float> gain{1.0f};

    // Output thread only (and Start, while the streams are stopped).
    Float64 mSourceTime = -1.0;  // sample time of the next frame the resampler pulls
    Float64 mPlaybackRate = 1.0;
    std::unique_ptr<CABufferList> mPullBuffer;
    std::vector<float> mPullInterleaved;
    std::vector<float> mOutputInterleaved;
    UInt32 mOutputChunkFrames = 0;
};

} // namespace Tolm::Monitoring
