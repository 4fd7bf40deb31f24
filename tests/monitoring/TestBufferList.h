#pragma once

// A non-interleaved float AudioBufferList that owns its samples, for tests.

#include "platform/CABufferList.h"

#include <algorithm>
#include <memory>

namespace Tolm::Test {

class TestBufferList {
public:
    TestBufferList(UInt32 channels, UInt32 frames)
        : mFrames(frames), mList(CABufferList::New("test", CAStreamBasicDescription::Float32(48000, channels, false)))
    {
        mList->AllocateBuffers(frames * sizeof(float));
    }

    AudioBufferList* List() { return &mList->GetModifiableBufferList(); }
    float* Channel(UInt32 c) { return static_cast<float*>(mList->GetBuffer(c).mData); }
    void Fill(float value)
    {
        for (UInt32 c = 0; c < mList->GetNumberBuffers(); ++c)
            std::fill_n(Channel(c), mFrames, value);
    }

private:
    UInt32 mFrames;
    std::unique_ptr<CABufferList> mList;
};

} // namespace Tolm::Test
