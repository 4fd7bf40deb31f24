// The per-block chain of the monitoring path and the gain stage in front of it.

#include "capture/InputChain.h"

#include "capture/GapDetectorListener.h"
#include "platform/CABufferList.h"
#include "platform/GainStage.h"

#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <vector>

namespace {

using namespace Tolm::Capture;
using Morvo::Audio::Filters::AudioFilter;
using Morvo::Audio::Filters::GapDetector;

// A list over caller-owned channel vectors (one buffer each).
struct Block {
    explicit Block(std::vector<std::vector<float>> channels)
        : samples(std::move(channels)), list("block", UInt32(samples.size()))
    {
        for (UInt32 c = 0; c < samples.size(); ++c)
            list.GetBuffer(c) = AudioBuffer{1, UInt32(samples[c].size() * 4), samples[c].data()};
    }
    AudioBufferList* List() { return &list.GetModifiableBufferList(); }
    unsigned long Frames() const { return samples[0].size(); }

    std::vector<std::vector<float>> samples;
    CABufferList list;
};

std::vector<float> Tone(float hz, float amplitude, std::size_t frames, std::size_t from = 0)
{
    std::vector<float> v(frames);
    for (std::size_t i = 0; i < frames; ++i)
        v[i] = amplitude * std::sin(2.0f * float(M_PI) * hz * float(from + i) / 44100.0f);
    return v;
}

// Meters, equaliser and detector are process-wide: every case starts from a clean slate.
class InputChain : public ::testing::Test, public GapEventReceiver {
  protected:
    void SetUp() override { Clean(); }
    void TearDown() override { Clean(); }
    static void Clean()
    {
        GetVUMaxL();
        GetVUMaxR();
        ResetVUMax();
        filter.Set(AudioFilter::NoFilter);
        gapDetector.store(nullptr);
    }
    void trackGapDetected() override { ++gaps; }
    void albumEndDetected() override { ++albumEnds; }

    int gaps = 0;
    int albumEnds = 0;
    GapDetectorListener listener{*this};
    GapDetector detector{listener, 44100};
};

TEST_F(InputChain, MetersHoldTheAbsolutePeakTakenBeforeTheEqualiser)
{
    filter.Set(AudioFilter::ChromeFilter);
    Block loud({{0.25f, -0.8f, 0.1f, 0.3f}, {0.2f, 0.1f, -0.05f, 0.15f}});
    const auto original = loud.samples;
    InputProcCallback(loud.List(), loud.Frames(), 0);
    EXPECT_NE(loud.samples, original); // equalised in place, after metering
    Block quiet({{0.2f, 0.1f}, {0.1f, 0.3f}});
    InputProcCallback(quiet.List(), 2, 512);

    EXPECT_EQ(ssVUMaxR.load(), 0.3f);
    EXPECT_EQ(GetVUMaxL(), 0.8f); // the negative peak, as an absolute value
    EXPECT_EQ(GetVUMaxL(), 0.0f); // read and cleared
    EXPECT_EQ(GetVUMaxR(), 0.3f);
    EXPECT_EQ(GetVUMax(), 0.8f);
    EXPECT_EQ(GetVUMax(), 0.8f); // not cleared by reading
    ResetVUMax();
    EXPECT_EQ(GetVUMax(), 0.0f);

    // Nothing in a block of no frames moves a meter; the L3/R3 meters never move at all.
    InputProcCallback(loud.List(), 0, 1024);
    EXPECT_EQ(GetVUMaxL(), 0.0f);
    EXPECT_EQ(GetVUMax(), 0.0f);
    EXPECT_EQ(GetVUMaxL3(), 0.0f);
    EXPECT_EQ(GetVUMaxR3(), 0.0f);
}

TEST_F(InputChain, AMonoListIsMeteredOnItsOneBufferOnlyAndNeitherEqualisedNorAnalysed)
{
    gapDetector.store(&detector);
    filter.Set(AudioFilter::RIAAFilter);
    Block mono({std::vector<float>{0.4f, -0.6f, 0.2f}});
    const auto original = mono.samples;
    InputProcCallback(mono.List(), 3, 0);
    EXPECT_EQ(ssVUMaxR.load(), 0.0f);
    EXPECT_EQ(GetVUMaxL(), 0.6f);
    EXPECT_EQ(GetVUMax(), 0.6f);
    EXPECT_EQ(mono.samples, original);
    EXPECT_EQ(detector.framePosition, 0);

    Block stereo({{0.1f, 0.1f, 0.1f}, {0.1f, 0.1f, 0.1f}});
    InputProcCallback(stereo.List(), 3, 3);
    EXPECT_EQ(detector.framePosition, 3);
}

TEST_F(InputChain, TheGapDetectorHearsTheEqualisedSignal)
{
    // Half a second of a 2 kHz tone: one analysis frame.
    const auto tone = Tone(2000.0f, 0.5f, 22050);
    filter.Set(AudioFilter::ChromeFilter);
    gapDetector.store(&detector);
    Block block({tone, tone});
    InputProcCallback(block.List(), block.Frames(), 0);

    AudioFilter reference;
    reference.Set(AudioFilter::ChromeFilter);
    GapDetector direct(listener, 44100);
    std::vector<float> left = tone, right = tone;
    reference(left.data(), right.data(), left.size());
    direct(left.data(), right.data(), left.size());
    ASSERT_EQ(detector.levels.size(), 1u);
    ASSERT_EQ(direct.levels.size(), 1u);
    EXPECT_EQ(detector.levels[0], direct.levels[0]);
}

TEST_F(InputChain, AGapAfterMusicReachesTheControllerAsTrackGapDetected)
{
    gapDetector.store(&detector);
    // Loud 500 Hz for 11 s leaves the initial silence, 2.5 s of silence makes a gap.
    std::size_t frame = 0;
    auto feed = [&](double seconds, float amplitude) {
        for (const auto end = frame + std::size_t(seconds * 44100); frame < end; frame += 512) {
            const auto wave = Tone(500.0f, amplitude, 512, frame);
            Block block({wave, wave});
            InputProcCallback(block.List(), 512, static_cast<long long>(frame));
        }
    };
    feed(11.0, 0.8f);
    EXPECT_EQ(gaps, 0);
    feed(2.5, 0.0f);
    EXPECT_EQ(gaps, 1);
    EXPECT_EQ(albumEnds, 0);
}

// The clamp at +6 dB is checked through the recorder; here the edges it never sees.
TEST(GainStage, UnityPassesEveryBitAndANaNFactorIsClamped)
{
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const std::vector<float> odd{0.75f, -0.0f, 1.5f, -3.0f, nan};
    Block unity({odd, odd});
    Tolm::Platform::ApplyInputGain(*unity.List(), 1.0f);
    EXPECT_EQ(std::memcmp(unity.samples[1].data(), odd.data(), odd.size() * sizeof(float)), 0);

    Block doubled({{0.75f, -0.75f, 0.5f}});
    Tolm::Platform::ApplyInputGain(*doubled.List(), 2.0f);
    EXPECT_EQ(doubled.samples[0], (std::vector<float>{1.0f, -1.5f, 1.0f}));
    EXPECT_EQ(Tolm::Platform::GainFactorFromDecibels(6.0f), std::pow(10.0f, 0.3f));
    // A NaN factor is not 1.0: the stage runs, and the clamp catches the NaN products.
    Tolm::Platform::ApplyInputGain(*doubled.List(), nan);
    EXPECT_EQ(doubled.samples[0][2], 1.0f);
}

} // namespace
