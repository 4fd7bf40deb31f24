#pragma once

#include "platform/CABufferList.h"
#include "platform/CAXException.h"

#include <chrono>
#include <functional>
#include <gtest/gtest.h>
#include <sndfile.h>
#include <string>
#include <thread>
#include <vector>

inline bool PollUntil(const std::function<bool()>& condition)
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

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
    info = SF_INFO{};
    SNDFILE* f = sf_open(path.c_str(), SFM_READ, &info);
    if (f == nullptr)
        return {};
    std::vector<float> samples(std::size_t(info.frames * info.channels));
    sf_readf_float(f, samples.data(), info.frames);
    sf_close(f);
    return samples;
}
