#include "platform/SignalSource.h"

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <gtest/gtest.h>
#include <sndfile.h>
#include <thread>
#include <unistd.h>

using namespace Tolm::Platform;

namespace {

struct Block {
    explicit Block(UInt32 channels, UInt32 frames) : samples(channels, std::vector<float>(frames, -9.0f))
    {
        for (auto& channel : samples)
            pointers.push_back(channel.data());
    }
    std::vector<std::vector<float>> samples;
    std::vector<float*> pointers;
};

class TemporaryWav {
  public:
    TemporaryWav(int rate, int channels, sf_count_t frames)
        : mPath((std::filesystem::temp_directory_path() /
                 ("signal-source-" + std::to_string(getpid()) + "-" + std::to_string(frames) + ".wav"))
                    .string())
    {
        SF_INFO info{};
        info.samplerate = rate;
        info.channels = channels;
        info.format = SF_FORMAT_WAV | SF_FORMAT_FLOAT;
        SNDFILE* file = sf_open(mPath.c_str(), SFM_WRITE, &info);
        std::vector<float> samples(std::size_t(frames) * channels);
        for (sf_count_t f = 0; f < frames; ++f)
            for (int c = 0; c < channels; ++c)
                samples[std::size_t(f) * channels + c] = Sample(UInt64(f), UInt32(c));
        sf_writef_float(file, samples.data(), frames);
        sf_close(file);
    }
    ~TemporaryWav() { std::remove(mPath.c_str()); }
    const std::string& Path() const { return mPath; }

    // Exactly representable, different per frame and channel.
    static float Sample(UInt64 frame, UInt32 channel)
    {
        return float(frame % 100000) / 131072.0f * (channel ? -1 : 1);
    }

  private:
    std::string mPath;
};

// Waits until the read-ahead holds `frames` (or the file is all read), as a device that
// starts on a primed source would find it.
void WaitForReadAhead(const SoundFileSource& source, UInt64 frames)
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (source.Buffered() < frames && !source.ReadToEnd() && std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

} // namespace

TEST(SignalSource, BufferPlaysOnceThenSilenceAndFillsExtraChannels)
{
    auto source = MakeBufferSource({1, -1, 2, -2, 3, -3}, 2);
    Block block(3, 2);
    EXPECT_EQ(source->Render(block.pointers.data(), 3, 2), 2u);
    EXPECT_EQ(block.samples[0], (std::vector<float>{1, 2}));
    EXPECT_EQ(block.samples[1], (std::vector<float>{-1, -2}));
    EXPECT_EQ(block.samples[2], (std::vector<float>{-1, -2})); // repeats the last channel
    EXPECT_EQ(source->Render(block.pointers.data(), 3, 2), 1u);
    EXPECT_EQ(block.samples[0], (std::vector<float>{3, 0}));
    EXPECT_EQ(source->Render(block.pointers.data(), 3, 2), 0u);
    EXPECT_EQ(block.samples[1], (std::vector<float>{0, 0}));
}

TEST(SignalSource, FunctionCountsFramesAcrossBlocks)
{
    auto source =
        MakeFunctionSource([](UInt64 frame, UInt32 channel) { return float(frame * 10 + channel); });
    Block block(2, 3);
    source->Render(block.pointers.data(), 2, 3);
    EXPECT_EQ(source->Render(block.pointers.data(), 2, 3), 3u);
    EXPECT_EQ(block.samples[0], (std::vector<float>{30, 40, 50}));
    EXPECT_EQ(block.samples[1], (std::vector<float>{31, 41, 51}));
}

TEST(SignalSource, SoundFilePlaysEveryFrameInOrderPastItsReadAhead)
{
    // Longer than the two-second read-ahead, so the ring wraps several times.
    const sf_count_t frames = 8000 * 9 + 123;
    TemporaryWav wav(8000, 2, frames);
    SoundFileSource source(wav.Path());
    EXPECT_EQ(source.SampleRate(), 8000.0);
    EXPECT_EQ(source.Channels(), 2u);
    EXPECT_EQ(source.Frames(), UInt64(frames));

    Block block(2, 1000);
    UInt64 position = 0;
    for (;;) {
        WaitForReadAhead(source, 1000);
        const UInt32 got = source.Render(block.pointers.data(), 2, 1000);
        for (UInt32 f = 0; f < got; ++f) {
            ASSERT_EQ(block.samples[0][f], TemporaryWav::Sample(position + f, 0)) << position + f;
            ASSERT_EQ(block.samples[1][f], TemporaryWav::Sample(position + f, 1)) << position + f;
        }
        position += got;
        if (got < 1000) {
            EXPECT_EQ(block.samples[0][got], 0.0f);
            break;
        }
    }
    EXPECT_EQ(position, UInt64(frames));
    EXPECT_EQ(source.Underruns(), 0u);
    EXPECT_EQ(source.Render(block.pointers.data(), 2, 1000), 0u);
}

TEST(SignalSource, LoopingSoundFileWrapsAroundAndMonoFeedsBothChannels)
{
    TemporaryWav wav(8000, 1, 300);
    SoundFileSource source(wav.Path(), true);
    Block block(2, 500);
    WaitForReadAhead(source, 500);
    ASSERT_EQ(source.Render(block.pointers.data(), 2, 500), 500u);
    EXPECT_EQ(block.samples[0][299], TemporaryWav::Sample(299, 0));
    EXPECT_EQ(block.samples[0][300], TemporaryWav::Sample(0, 0));
    EXPECT_EQ(block.samples[1][499], TemporaryWav::Sample(199, 0));
}

TEST(SignalSource, MissingOrBrokenFileThrows)
{
    EXPECT_THROW(MakeSoundFileSource("/nonexistent/side-a.wav"), std::runtime_error);
    const std::string junk = (std::filesystem::temp_directory_path() / "signal-source-junk.wav").string();
    {
        std::FILE* file = std::fopen(junk.c_str(), "w");
        std::fputs("RIFF this is not a sound file", file);
        std::fclose(file);
    }
    EXPECT_THROW(MakeSoundFileSource(junk), std::runtime_error);
    std::remove(junk.c_str());
}
