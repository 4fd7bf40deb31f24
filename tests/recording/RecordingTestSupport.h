#pragma once

#include "SoundFile.h"
#include "WaitUntil.h"
#include "platform/CABufferList.h"
#include "platform/CAXException.h"

#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <vector>

using Tolm::Test::WaitUntil;

// Expects `f` to throw CAXException with this text and status (any failure when 0).
inline void ExpectCAX(const std::function<void()>& f, const char* operation, OSStatus status = 0)
{
    try {
        f();
        ADD_FAILURE() << "expected \"" << operation << "\"";
    } catch (const CAXException& e) {
        EXPECT_STREQ(e.Operation(), operation);
        EXPECT_TRUE(status == 0 ? e.GetError() != 0 : e.GetError() == status)
            << CAXException::FormatError(e.GetError());
    }
}

// Non-interleaved stereo frames that say where they came from: left = n / divisor, right = -left.
struct StereoBlock {
    StereoBlock(UInt32 first, UInt32 frames, float divisor = 1.0f) : left(frames), right(frames), list("block", 2)
    {
        for (UInt32 i = 0; i < frames; ++i) {
            left[i] = float(first + i) / divisor;
            right[i] = -left[i];
        }
        list.GetBuffer(0) = AudioBuffer{1, frames * 4, left.data()};
        list.GetBuffer(1) = AudioBuffer{1, frames * 4, right.data()};
    }
    const AudioBufferList* List() const { return &list.GetBufferList(); }
    std::vector<float> left, right;
    CABufferList list;
};

// Interleaved samples as libsndfile reads them.
inline std::vector<float> ReadWithLibsndfile(const std::string& path, SF_INFO& info)
{
    auto file = Tolm::Test::ReadSoundFile(path);
    info = file.info;
    return std::move(file.samples);
}
