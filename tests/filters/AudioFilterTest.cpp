#include "filters/AudioFilter.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <cstring>
#include <numbers>
#include <random>
#include <thread>
#include <type_traits>
#include <vector>

using Morvo::Audio::Filters::AudioFilter;
using Morvo::Audio::Filters::BiQuad;

namespace {

// Like the process-wide instance: constant-initialised, never destroyed.
constinit AudioFilter gStaticFilter;
static_assert(std::is_trivially_destructible_v<AudioFilter>);

std::vector<float> Noise(std::size_t n, unsigned seed)
{
    std::mt19937 rng(seed);
    std::uniform_real_distribution<float> d(-1.0f, 1.0f);
    std::vector<float> v(n);
    for (auto& x : v)
        x = d(rng);
    return v;
}

// One channel, one section at a time, from the single-precision design values.
std::vector<float> Reference(std::vector<float> x, std::vector<BiQuad> sections)
{
    for (auto& s : sections)
        s(x.data(), x.size());
    return x;
}

const BiQuad kR1{0.225f, 0.2321032f, 0.052797012f, 0.9147276f, 0.16572149f};
const BiQuad kR2{1.0f, -0.871538f, -0.055509713f, -1.7317901f, 0.7336619f};
const BiQuad kCT{0.6013478f, -0.8847261f, 0.33175603f, -1.5921159f, 0.64049363f};
const BiQuad kRB{1.0319743f, -0.9609203f, 0.0f, -0.9928946f, 0.0f};

// Runs `left` and `right` through `f` cut into blocks of random sizes (0 included).
void RunInPieces(AudioFilter& f, std::vector<float>& left, std::vector<float>& right, unsigned seed)
{
    std::mt19937 rng(seed);
    for (std::size_t at = 0; at < left.size();) {
        const std::size_t n = std::min<std::size_t>(rng() % 700, left.size() - at);
        f(left.data() + at, right.data() + at, n);
        at += n;
    }
}

double SineGainDb(AudioFilter::Type type, double hz)
{
    AudioFilter f;
    f.Set(type);
    const std::size_t n = 44100;
    std::vector<float> l(n), r(n);
    for (std::size_t i = 0; i < n; ++i)
        l[i] = r[i] = float(0.5 * std::sin(2.0 * std::numbers::pi * hz * double(i) / 44100.0));
    f(l.data(), r.data(), n);
    double peak = 0;
    for (std::size_t i = n / 2; i < n; ++i)
        peak = std::max(peak, double(std::fabs(l[i])));
    return 20.0 * std::log10(peak / 0.5);
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

TEST(AudioFilter, EachTypeEqualsItsSectionsRunOneChannelAtATimeForAnyBlockCut)
{
    const auto inL = Noise(20000, 2), inR = Noise(20000, 3);
    const std::pair<AudioFilter::Type, std::vector<BiQuad>> cases[] = {
        {AudioFilter::RIAAFilter, {kR1, kR2}},
        {AudioFilter::ChromeFilter, {kCT}},
        {AudioFilter::RIAABassFilter, {kRB}},
    };
    for (const auto& [type, sections] : cases) {
        AudioFilter f;
        f.Set(type);
        auto l = inL, r = inR;
        RunInPieces(f, l, r, unsigned(type));
        EXPECT_EQ(l, Reference(inL, sections)) << "type " << type;
        EXPECT_EQ(r, Reference(inR, sections)) << "type " << type;
    }
}

TEST(AudioFilter, ChannelsWithTheSameInputGiveTheSameOutput)
{
    AudioFilter f;
    f.Set(AudioFilter::ChromeFilter);
    auto l = Noise(4096, 4), r = l;
    f(l.data(), r.data(), l.size());
    EXPECT_EQ(l, r);
}

TEST(AudioFilter, DirectCurrentSettlesAtTheDesignGain)
{
    const std::pair<AudioFilter::Type, double> cases[] = {
        {AudioFilter::RIAAFilter, 0.955}, {AudioFilter::ChromeFilter, 0.1}, {AudioFilter::RIAABassFilter, 1.0}};
    for (const auto& [type, settled] : cases) {
        AudioFilter f;
        f.Set(type);
        std::vector<float> l(200000, 0.1f), r(200000, 0.1f);
        f(l.data(), r.data(), l.size());
        EXPECT_NEAR(l.back(), settled, 0.006) << "type " << type;
        EXPECT_EQ(l.back(), r.back());
    }
}

TEST(AudioFilter, ResponsesMatchTheDesignTable)
{
    EXPECT_NEAR(SineGainDb(AudioFilter::RIAAFilter, 50), 16.7, 0.15);
    EXPECT_NEAR(SineGainDb(AudioFilter::RIAAFilter, 1000), -0.2, 0.15);
    EXPECT_NEAR(SineGainDb(AudioFilter::RIAAFilter, 10000), -14.0, 0.15);
    EXPECT_NEAR(SineGainDb(AudioFilter::ChromeFilter, 2122), -2.7, 0.15);
    EXPECT_NEAR(SineGainDb(AudioFilter::ChromeFilter, 20000), -5.0, 0.15);
    EXPECT_NEAR(SineGainDb(AudioFilter::RIAABassFilter, 500), 3.0, 0.15);
    EXPECT_NEAR(SineGainDb(AudioFilter::RIAABassFilter, 10000), 0.0, 0.15);
}

TEST(AudioFilter, SetRestartsFromSilenceEvenForTheSameType)
{
    AudioFilter f;
    f.Set(AudioFilter::RIAAFilter);
    auto l = Noise(1000, 5), r = Noise(1000, 6);
    f(l.data(), r.data(), l.size());

    f.Set(AudioFilter::RIAAFilter);
    std::vector<float> il(64, 0.0f), ir(64, 0.0f);
    il[0] = ir[0] = 1.0f;
    auto expected = Reference(il, {kR1, kR2});
    f(il.data(), ir.data(), il.size());
    EXPECT_EQ(il, expected);
    EXPECT_EQ(ir, expected);
}

// The audio thread filters while the main thread keeps switching. Each block must come out
// untouched, or through chrome continuing from the previous chrome block, or through chrome
// fresh from silence: anything else is a torn or reused section.
TEST(AudioFilter, SwitchingWhileTheAudioThreadRunsNeverMixesSections)
{
    constexpr std::size_t kBlock = 24;
    std::vector<float> impulse(kBlock, 0.0f);
    impulse[0] = 1.0f;
    impulse[kBlock / 2] = -0.5f;

    AudioFilter f;
    std::atomic<bool> done{false};
    std::atomic<long> blocks{0}, bad{0}, fresh{0}, continued{0};
    std::thread audio([&] {
        std::vector<float> l(kBlock), r(kBlock);
        BiQuad going = kCT;  // chrome as it continues from block to block
        while (!done.load()) {
            l = impulse;
            r = impulse;
            f(l.data(), r.data(), kBlock);
            BiQuad restarted = kCT;  // a copy starts from silence
            auto a = impulse, b = impulse;
            restarted(a.data(), kBlock);
            const BiQuad before = going;
            const float state[4] = {going.x1, going.x2, going.y1, going.y2};
            going(b.data(), kBlock);
            if (l != r) {
                ++bad;
            } else if (l == b) {
                ++continued;
            } else if (l == a) {
                ++fresh;
                going = restarted;
                going.x1 = restarted.x1, going.x2 = restarted.x2, going.y1 = restarted.y1, going.y2 = restarted.y2;
            } else if (l == impulse) {
                going = before;
                going.x1 = state[0], going.x2 = state[1], going.y1 = state[2], going.y2 = state[3];
            } else {
                ++bad;
            }
            ++blocks;
        }
    });
    for (int i = 0; i < 20000; ++i) {
        f.Set(i % 3 == 0 ? AudioFilter::NoFilter : AudioFilter::ChromeFilter);
        // Now and then let the audio thread run (it may share our core).
        if (i % 8 == 0) {
            const long seen = blocks.load();
            while (blocks.load() == seen)
                std::this_thread::yield();
        }
    }
    done = true;
    audio.join();
    EXPECT_EQ(bad.load(), 0);
    EXPECT_GT(fresh.load(), 0);
    EXPECT_GT(continued.load(), 0);
}
