#pragma once

// Non-interleaved Float32 blocks for a stream's callback: one buffer per channel, sized once,
// with the AudioBufferList that points at them.

#include "platform/CoreAudioTypes.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <vector>

namespace Tolm::Platform {

inline AudioStreamBasicDescription NonInterleavedFloatFormat(Float64 rate, UInt32 channels)
{
    return {rate,
            kAudioFormatLinearPCM,
            kAudioFormatFlagsNativeFloatPacked | kAudioFormatFlagIsNonInterleaved,
            4,
            1,
            4,
            channels,
            32,
            0};
}

inline AudioStreamBasicDescription InterleavedFloatFormat(Float64 rate, UInt32 channels)
{
    return {rate,
            kAudioFormatLinearPCM,
            kAudioFormatFlagsNativeFloatPacked,
            4 * channels,
            1,
            4 * channels,
            channels,
            32,
            0};
}

// What stream callbacks can be given: non-interleaved native Float32, one or more channels.
inline bool IsNonInterleavedFloat(const AudioStreamBasicDescription& f)
{
    const AudioFormatFlags required = kAudioFormatFlagIsFloat | kAudioFormatFlagIsNonInterleaved;
    return f.mFormatID == kAudioFormatLinearPCM && (f.mFormatFlags & required) == required &&
           !(f.mFormatFlags & kAudioFormatFlagIsBigEndian) && f.mBitsPerChannel == 32 &&
           f.mBytesPerFrame == 4 && f.mChannelsPerFrame >= 1 && f.mChannelsPerFrame <= 64 &&
           f.mSampleRate >= 1000.0 && f.mSampleRate <= 768000.0;
}

class ChannelBuffers {
  public:
    ChannelBuffers() : ChannelBuffers(0, 0) {}
    ChannelBuffers(UInt32 channels, UInt32 maxFrames)
        : mChannels(channels), mMaxFrames(maxFrames), mSamples(std::size_t(channels) * maxFrames),
          mListStorage(new std::byte[std::max(sizeof(AudioBufferList),
                                              offsetof(AudioBufferList, mBuffers) +
                                                  std::max<UInt32>(channels, 1) * sizeof(AudioBuffer))]()),
          mPointers(channels)
    {
        mList = reinterpret_cast<AudioBufferList*>(mListStorage.get());
        for (UInt32 c = 0; c < channels; ++c)
            mPointers[c] = mSamples.data() + std::size_t(c) * maxFrames;
        SetFrames(0);
    }

    UInt32 Channels() const { return mChannels; }
    UInt32 MaxFrames() const { return mMaxFrames; }
    float* Channel(UInt32 c) { return mPointers[c]; }
    float* const* Pointers() { return mPointers.data(); }

    // Points the list at the buffers again, each `frames` long (a callback may have moved them).
    AudioBufferList* List(UInt32 frames)
    {
        SetFrames(frames);
        return mList;
    }

    void Clear(UInt32 frames)
    {
        for (UInt32 c = 0; c < mChannels; ++c)
            std::fill_n(mPointers[c], frames, 0.0f);
    }

  private:
    void SetFrames(UInt32 frames)
    {
        mList->mNumberBuffers = mChannels;
        for (UInt32 c = 0; c < mChannels; ++c)
            mList->mBuffers[c] = AudioBuffer{1, UInt32(frames * sizeof(float)), mPointers[c]};
    }

    UInt32 mChannels;
    UInt32 mMaxFrames;
    std::vector<float> mSamples;
    std::unique_ptr<std::byte[]> mListStorage;
    AudioBufferList* mList = nullptr;
    std::vector<float*> mPointers;
};

} // namespace Tolm::Platform
