// A take left by a killed recording: its header is put right from the data in the file.

#include "recording/WaveFileRepair.h"

#include "RecordingTestSupport.h"
#include "TempFolder.h"
#include "recording/CAAudioFile.h"

#include <filesystem>
#include <fstream>
#include "SoundFile.h"

#include <gtest/gtest.h>
#include <sndfile.h>

namespace {

const CAStreamBasicDescription kFile = CAStreamBasicDescription::Float32(44100, 2, true);
const CAStreamBasicDescription kClient = CAStreamBasicDescription::Float32(44100, 2, false);

// A take as the recorder leaves it when killed: a header brought up to date after `counted`
// frames, then `more` frames (and a torn frame) written after that update.
void WriteKilledTake(const std::string& path, UInt32 counted, UInt32 more)
{
    {
        CAAudioFile file;
        file.CreateNew(FSRef{std::filesystem::path(path).parent_path()}, std::filesystem::path(path).filename(),
                       kAudioFileWAVEType, kFile);
        file.SetClientFormat(kClient);
        file.Write(counted, StereoBlock(0, counted, 1e6f).List());
    }
    std::ofstream out(path, std::ios::binary | std::ios::app);
    for (UInt32 frame = counted; frame < counted + more; ++frame) {
        const float sample[2] = {float(frame) / 1e6f, -float(frame) / 1e6f};
        out.write(reinterpret_cast<const char*>(sample), sizeof sample);
    }
    out.write("\x01\x02\x03", 3);
}

sf_count_t Frames(const std::string& path)
{
    const auto file = Tolm::Test::ReadSoundFile(path);
    return file.opened ? file.info.frames : -1;
}

} // namespace

TEST(WaveFileRepair, AKilledTakeGetsEveryWholeFrameBackAndAClosedOneIsLeftAlone)
{
    TempFolder folder;
    const std::string take = folder / "TolmACTmpFile.1.wav";
    WriteKilledTake(take, 1000, 500);
    ASSERT_EQ(Frames(take), 1000);

    auto inspection = WaveFileRepair::Inspect(take);
    EXPECT_TRUE(inspection.readable);
    EXPECT_TRUE(inspection.needsRepair);
    EXPECT_EQ(inspection.frames, 1500);
    EXPECT_EQ(inspection.sampleRate, 44100.0);
    EXPECT_EQ(inspection.channels, 2u);

    std::string error;
    ASSERT_TRUE(WaveFileRepair::Repair(take, error)) << error;
    SF_INFO info;
    const auto samples = ReadWithLibsndfile(take, info);
    ASSERT_EQ(info.frames, 1500);
    for (size_t i = 0; i < samples.size(); ++i)
        ASSERT_FLOAT_EQ(samples[i], float(i / 2) / (i % 2 ? -1e6f : 1e6f)) << "sample " << i;
    EXPECT_FALSE(WaveFileRepair::Inspect(take).needsRepair);

    const auto size = std::filesystem::file_size(take);
    EXPECT_TRUE(WaveFileRepair::Repair(take, error));
    EXPECT_EQ(std::filesystem::file_size(take), size);

    std::ofstream(folder / "notes.wav") << "not a sound";
    EXPECT_FALSE(WaveFileRepair::Inspect(folder / "notes.wav").readable);
    EXPECT_FALSE(WaveFileRepair::Repair(folder / "notes.wav", error));
    EXPECT_EQ(error, "not a WAV file");
}

// A side recorded past 4 GiB and killed: the plain WAV header cannot hold it, so it becomes
// RF64 (the file is sparse: no disk space is used).
TEST(WaveFileRepair, ATakePastFourGibibytesBecomesRF64)
{
    TempFolder folder;
    const std::string take = folder / "TolmACTmpFile.1.wav";
    WriteKilledTake(take, 1000, 0);
    const std::uintmax_t header = std::filesystem::file_size(take) - 1000 * 8 - 3;
    const std::uintmax_t frames = (5ull << 30) / 8;
    std::filesystem::resize_file(take, header + frames * 8);

    std::string error;
    ASSERT_TRUE(WaveFileRepair::Repair(take, error)) << error;
    EXPECT_EQ(Frames(take), sf_count_t(frames));
    char magic[4];
    std::ifstream(take, std::ios::binary).read(magic, 4);
    EXPECT_EQ(std::string(magic, 4), "RF64");
}
