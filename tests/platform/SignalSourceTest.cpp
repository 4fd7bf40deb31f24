#include "platform/SignalSource.h"

#include "WaitUntil.h"

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
    UInt32 Render(SignalSource& source) { return source.Render(pointers.data(), UInt32(samples.size()), UInt32(samples[0].size())); }
    std::vector<std::vector<float>> samples;
    std::vector<float*> pointers;
};

// Exactly representable, different per frame and channel.
float Sample(UInt64 frame, UInt32 channel)
{
    return float(frame % 100000) / 131072.0f * (channel ? -1 : 1);
}

struct TemporaryWav {
    TemporaryWav(int channels, sf_count_t frames)
        : path((std::filesystem::temp_directory_path() / ("signal-source-" + std::to_string(getpid()) + "-" +
                                                          std::to_string(frames) + ".wav")).string())
    {
        SF_INFO info{0, 8000, channels, SF_FORMAT_WAV | SF_FORMAT_FLOAT, 0, 0};
        SNDFILE* file = sf_open(path.c_str(), SFM_WRITE, &info);
        std::vector<float> samples(std::size_t(frames) * channels);
        for (std::size_t i = 0; i < samples.size(); ++i)
            samples[i] = Sample(i / channels, UInt32(i % channels));
        sf_writef_float(file, samples.data(), frames);
        sf_close(file);
    }
    ~TemporaryWav() { std::remove(path.c_str()); }
    std::string path;
};

// Waits until the read-ahead holds `frames` (or the file is all read), as a device that
// starts on a primed source would find it.
void WaitForReadAhead(const SoundFileSource& source, UInt64 frames)
{
    Tolm::Test::WaitUntil([&] { return source.Buffered() >= frames || source.ReadToEnd(); });
}

} // namespace

TEST(SignalSource, BufferPlaysOnceThenSilenceAndFillsExtraChannels)
{
    auto buffer = MakeBufferSource({1, -1, 2, -2, 3, -3}, 2);
    Block block(3, 2);
    EXPECT_EQ(block.Render(*buffer), 2u);
    EXPECT_EQ(block.samples[0], (std::vector<float>{1, 2}));
    EXPECT_EQ(block.samples[2], (std::vector<float>{-1, -2})); // repeats the last channel
    EXPECT_EQ(block.Render(*buffer), 1u);
    EXPECT_EQ(block.samples[0], (std::vector<float>{3, 0}));
    EXPECT_EQ(block.Render(*buffer), 0u);
    EXPECT_EQ(block.samples[1], (std::vector<float>{0, 0}));
}

TEST(SignalSource, SoundFilePlaysEveryFrameInOrderPastItsReadAhead)
{
    // Longer than the two-second read-ahead, so the ring wraps several times.
    const sf_count_t frames = 8000 * 9 + 123;
    TemporaryWav wav(2, frames);
    SoundFileSource source(wav.path);
    EXPECT_EQ(source.SampleRate(), 8000.0);
    EXPECT_EQ(source.Frames(), UInt64(frames));

    Block block(2, 1000);
    UInt64 position = 0;
    for (UInt32 got = 1000; got == 1000; position += got) {
        WaitForReadAhead(source, 1000);
        got = block.Render(source);
        for (UInt32 f = 0; f < got; ++f)
            for (UInt32 c = 0; c < 2; ++c)
                ASSERT_EQ(block.samples[c][f], Sample(position + f, c)) << position + f;
        if (got < 1000) {
            EXPECT_EQ(block.samples[0][got], 0.0f);
        }
    }
    EXPECT_EQ(position, UInt64(frames));
    EXPECT_EQ(source.Underruns(), 0u);
    EXPECT_EQ(block.Render(source), 0u);

    // Looping, and mono feeds both channels.
    TemporaryWav mono(1, 300);
    SoundFileSource looping(mono.path, true);
    Block wide(2, 500);
    WaitForReadAhead(looping, 500);
    ASSERT_EQ(wide.Render(looping), 500u);
    EXPECT_EQ(wide.samples[0][299], Sample(299, 0));
    EXPECT_EQ(wide.samples[0][300], Sample(0, 0));
    EXPECT_EQ(wide.samples[1][499], Sample(199, 0));
}

TEST(SignalSource, MissingOrBrokenFileThrows)
{
    EXPECT_THROW(MakeSoundFileSource("/nonexistent/side-a.wav"), std::runtime_error);
    const std::string junk = (std::filesystem::temp_directory_path() / "signal-source-junk.wav").string();
    std::FILE* file = std::fopen(junk.c_str(), "w");
    std::fputs("RIFF this is not a sound file", file);
    std::fclose(file);
    EXPECT_THROW(MakeSoundFileSource(junk), std::runtime_error);
    std::remove(junk.c_str());
}
