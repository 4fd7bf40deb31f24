#pragma once

// A non-interleaved float AudioBufferList that owns its samples, for tests.

#include "platform/CoreAudioTypes.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <vector>

namespace Tolm::Test {

class TestBufferList {
public:
    TestBufferList(UInt32 channels, UInt32 frames)
        : mSamples(channels, std::vector<float>(frames, 0.0f)),
          mStorage((sizeof(AudioBufferList) + sizeof(AudioBuffer) * (channels ? channels - 1 : 0) +
                    sizeof(std::max_align_t) - 1) / sizeof(std::max_align_t))
    {
        auto* list = List();
        list->mNumberBuffers = channels;
        for (UInt32 c = 0; c < channels; ++c)
            list->mBuffers[c] = AudioBuffer{1, UInt32(frames * sizeof(float)), mSamples[c].data()};
    }

    AudioBufferList* List() { return reinterpret_cast<AudioBufferList*>(mStorage.data()); }
    std::vector<float>& Channel(UInt32 c) { return mSamples[c]; }
    UInt32 Frames() const { return UInt32(mSamples.empty() ? 0 : mSamples[0].size()); }

    void Fill(float value)
    {
        for (auto& channel : mSamples)
            std::fill(channel.begin(), channel.end(), value);
    }

private:
    std::vector<std::vector<float>> mSamples;
    std::vector<std::max_align_t> mStorage;
};

} // namespace Tolm::Test
