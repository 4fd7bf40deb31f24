#include "filters/AudioFilter.h"

#include "FilterTestSupport.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <thread>
#include <type_traits>
#include <vector>

using Morvo::Audio::Filters::AudioFilter;
using Morvo::Audio::Filters::BiQuad;
using Tolm::Test::Noise;

namespace {

// Like the process-wide instance: constant-initialised, never destroyed.
constinit AudioFilter gStaticFilter;
static_assert(std::is_trivially_destructible_v<AudioFilter>);

// The designs from their single-precision values.
const BiQuad kR1{0.225f, 0.2321032f, 0.052797012f, 0.9147276f, 0.16572149f};
const BiQuad kR2{1.0f, -0.871538f, -0.055509713f, -1.7317901f, 0.7336619f};
const BiQuad kCT{0.6013478f, -0.8847261f, 0.33175603f, -1.5921159f, 0.64049363f};
const BiQuad kRB{1.0319743f, -0.9609203f, 0.0f, -0.9928946f, 0.0f};

// One channel, one section at a time.
std::vector<float> Reference(std::vector<float> x, std::vector<BiQuad> sections)
{
    for (auto& s : sections)
        s(x.data(), x.size());
    return x;
}

// A copy of a section starts from silence; this carries the signal memory over too.
void CopyState(BiQuad& to, const BiQuad& from)
{
    to.x1 = from.x1, to.x2 = from.x2, to.y1 = from.y1, to.y2 = from.y2;
}

} // namespace

TEST(AudioFilter, EmptyEqualisersLeaveEveryBit)
{
    const auto in = Noise(3000, 1);
    for (int type : {0, 7, -1}) {
        AudioFilter f;
        f.Set(static_cast<AudioFilter::Type>(type));
        auto l = in, r = in;
        f(l.data(), r.data(), l.size());
        EXPECT_EQ(0, std::memcmp(l.data(), in.data(), in.size() * sizeof(float))) << type;
        EXPECT_EQ(0, std::memcmp(r.data(), in.data(), in.size() * sizeof(float))) << type;
    }
    auto l = in, r = in;
    gStaticFilter(l.data(), r.data(), l.size());
    EXPECT_EQ(l, in);
}

// Bit for bit what one channel and one section at a time give, whatever the block cuts; and
// Set, even of the same type, starts again from silence.
TEST(AudioFilter, EachTypeIsItsSectionsInTurnAndSetRestarts)
{
    const auto inL = Noise(20000, 2), inR = Noise(20000, 3);
    const std::pair<AudioFilter::Type, std::vector<BiQuad>> cases[] = {
        {AudioFilter::RIAAFilter, {kR1, kR2}}, {AudioFilter::ChromeFilter, {kCT}}, {AudioFilter::RIAABassFilter, {kRB}}};
    for (const auto& [type, sections] : cases) {
        AudioFilter f;
        f.Set(type);
        auto l = inL, r = inR;
        std::mt19937 rng(type);
        for (std::size_t at = 0; at < l.size();) {
            const std::size_t n = std::min<std::size_t>(rng() % 700, l.size() - at);
            f(l.data() + at, r.data() + at, n);
            at += n;
        }
        EXPECT_EQ(l, Reference(inL, sections)) << "type " << type;
        EXPECT_EQ(r, Reference(inR, sections)) << "type " << type;

        f.Set(type);
        std::vector<float> il(64, 0.0f);
        il[0] = 1.0f;
        auto ir = il;
        const auto expected = Reference(il, sections);
        f(il.data(), ir.data(), il.size());
        EXPECT_EQ(il, expected) << "type " << type;
        EXPECT_EQ(ir, expected) << "type " << type;
    }
}

// The audio thread filters while the main thread keeps switching. Every block must come out
// untouched, or through chrome going on from the last chrome block, or through chrome fresh
// from silence: anything else is a torn or reused section.
TEST(AudioFilter, SwitchingWhileTheAudioThreadRunsNeverMixesSections)
{
    std::vector<float> input(24, 0.0f);
    input[0] = 1.0f;
    input[12] = -0.5f;
    AudioFilter f;
    std::atomic<bool> done{false};
    std::atomic<long> blocks{0}, bad{0}, fresh{0}, going{0};
    std::thread audio([&] {
        BiQuad chrome = kCT;  // chrome as it goes on from block to block
        while (!done.load()) {
            auto l = input, r = input, a = input, b = input;
            f(l.data(), r.data(), l.size());
            BiQuad restarted = kCT, next = kCT;
            restarted(a.data(), a.size());
            CopyState(next, chrome);
            next(b.data(), b.size());
            if (l == r && l == b) {
                ++going;
                CopyState(chrome, next);
            } else if (l == r && l == a) {
                ++fresh;
                CopyState(chrome, restarted);
            } else if (l != input || r != input) {
                ++bad;
            }
            ++blocks;
        }
    });
    for (int i = 0; i < 20000; ++i) {
        f.Set(i % 3 == 0 ? AudioFilter::NoFilter : AudioFilter::ChromeFilter);
        if (i % 8 == 0) {  // let the audio thread run: it may share our core
            const long seen = blocks.load();
            while (blocks.load() == seen)
                std::this_thread::yield();
        }
    }
    done = true;
    audio.join();
    EXPECT_EQ(bad.load(), 0);
    EXPECT_GT(fresh.load(), 0);
    EXPECT_GT(going.load(), 0);
}
