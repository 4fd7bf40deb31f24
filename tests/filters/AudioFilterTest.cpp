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

// The designs from their single-precision values.
const BiQuad kR1{0.225f, 0.2321032f, 0.052797012f, 0.9147276f, 0.16572149f};
const BiQuad kR2{1.0f, -0.871538f, -0.055509713f, -1.7317901f, 0.7336619f};
const BiQuad kCT{0.6013478f, -0.8847261f, 0.33175603f, -1.5921159f, 0.64049363f};
const BiQuad kRB{1.0319743f, -0.9609203f, 0.0f, -0.9928946f, 0.0f};

std::vector<float> Noise(std::size_t n, unsigned seed)
{
    std::mt19937 rng(seed);
    std::uniform_real_distribution<float> d(-1.0f, 1.0f);
    std::vector<float> v(n);
    for (auto& x : v)
        x = d(rng);
    return v;
}

// One channel, one section at a time.
std::vector<float> Reference(std::vector<float> x, std::vector<BiQuad> sections)
{
    for (auto& s : sections)
        s(x.data(), x.size());
    return x;
}

// Gain in dB of a sine (or of DC when hz is 0) once the equaliser has settled.
double SettledGainDb(AudioFilter::Type type, double hz)
{
    AudioFilter f;
    f.Set(type);
    std::vector<float> l(88200), r(88200);
    for (std::size_t i = 0; i < l.size(); ++i)
        l[i] = r[i] = float(0.1 * std::cos(2.0 * std::numbers::pi * hz * double(i) / 44100.0));
    f(l.data(), r.data(), l.size());
    double peak = 0;
    for (std::size_t i = l.size() / 2; i < l.size(); ++i)
        peak = std::max(peak, double(std::fabs(l[i])));
    EXPECT_EQ(l, r);
    return 20.0 * std::log10(peak / 0.1);
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

// Bit for bit what one channel and one section at a time give, whatever the block cuts.
TEST(AudioFilter, EachTypeIsItsSectionsInTurn)
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
    }
}

TEST(AudioFilter, DesignsHaveTheirGains)
{
    EXPECT_NEAR(SettledGainDb(AudioFilter::RIAAFilter, 0), 19.6, 0.05);  // 0.1 settles at 0.955
    EXPECT_NEAR(SettledGainDb(AudioFilter::RIAAFilter, 1000), -0.2, 0.15);
    EXPECT_NEAR(SettledGainDb(AudioFilter::RIAAFilter, 10000), -14.0, 0.15);
    EXPECT_NEAR(SettledGainDb(AudioFilter::ChromeFilter, 0), 0.0, 0.05);
    EXPECT_NEAR(SettledGainDb(AudioFilter::ChromeFilter, 20000), -5.0, 0.15);
    EXPECT_NEAR(SettledGainDb(AudioFilter::RIAABassFilter, 0), 20.0, 0.05);
    EXPECT_NEAR(SettledGainDb(AudioFilter::RIAABassFilter, 500), 3.0, 0.15);
}

TEST(AudioFilter, SetRestartsFromSilenceEvenForTheSameType)
{
    AudioFilter f;
    f.Set(AudioFilter::RIAAFilter);
    auto l = Noise(1000, 5), r = Noise(1000, 6);
    f(l.data(), r.data(), l.size());
    f.Set(AudioFilter::RIAAFilter);
    std::vector<float> il(64, 0.0f);
    il[0] = 1.0f;
    auto ir = il;
    const auto expected = Reference(il, {kR1, kR2});
    f(il.data(), ir.data(), il.size());
    EXPECT_EQ(il, expected);
    EXPECT_EQ(ir, expected);
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
            next.x1 = chrome.x1, next.x2 = chrome.x2, next.y1 = chrome.y1, next.y2 = chrome.y2;
            next(b.data(), b.size());
            if (l == r && l == b) {
                ++going;
                chrome = next;  // (a copy drops the state; carry it over)
                chrome.x1 = next.x1, chrome.x2 = next.x2, chrome.y1 = next.y1, chrome.y2 = next.y2;
            } else if (l == r && l == a) {
                ++fresh;
                chrome.x1 = restarted.x1, chrome.x2 = restarted.x2, chrome.y1 = restarted.y1, chrome.y2 = restarted.y2;
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
