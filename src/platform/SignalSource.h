#pragma once

// The signal sources of virtual input devices. The factories live in VirtualAudioHardware.h;
// this header adds what a caller may want to know of a sound file before making a device
// for it.

#include "platform/VirtualAudioHardware.h"

#include <atomic>
#include <string>
#include <thread>
#include <vector>

namespace Tolm::Platform {

// A sound file played through a ring that a reader thread keeps about two seconds ahead, so
// Render never waits for the disk. Throws std::runtime_error when the file cannot be opened.
class SoundFileSource final : public SignalSource {
  public:
    explicit SoundFileSource(const std::string& path, bool loop = false);
    ~SoundFileSource() override;

    Float64 SampleRate() const { return mSampleRate; }
    UInt32 Channels() const { return mChannels; }
    UInt64 Frames() const { return mFrames; }
    // Frames read ahead and not yet rendered.
    UInt64 Buffered() const
    {
        return mWritten.load(std::memory_order_acquire) - mRead.load(std::memory_order_acquire);
    }
    // True once the whole file has been read ahead (never for a looping one).
    bool ReadToEnd() const { return mEnded.load(std::memory_order_acquire); }
    // Blocks that found the ring short before the end of the file (the reader fell behind).
    UInt64 Underruns() const { return mUnderruns.load(std::memory_order_relaxed); }

    UInt32 Render(float* const* channels, UInt32 channelCount, UInt32 frames) override;

  private:
    void ReadAhead();
    bool Fill(); // false at the end of a file that does not loop

    struct File;
    std::unique_ptr<File> mFile;
    bool mLoop;
    Float64 mSampleRate = 0.0;
    UInt32 mChannels = 0;
    UInt64 mFrames = 0;

    // Single producer (reader thread), single consumer (Render); positions in frames.
    std::vector<float> mRing;
    UInt64 mCapacity = 0; // frames, a power of two
    std::atomic<UInt64> mWritten{0};
    std::atomic<UInt64> mRead{0};
    std::atomic<bool> mEnded{false};
    std::atomic<bool> mStop{false};
    std::atomic<UInt64> mUnderruns{0};
    std::vector<float> mChunk;
    std::thread mReader;
};

} // namespace Tolm::Platform
