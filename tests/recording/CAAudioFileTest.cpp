// CAAudioFile: files written here are read back with libsndfile on their own. Reading
// through CAAudioFile is proven where the library normalises a track.

#include "recording/CAAudioFile.h"

#include "RecordingTestSupport.h"
#include "TempFolder.h"

#include <fstream>
#include <gtest/gtest.h>
#include <unistd.h>

namespace {

const CAStreamBasicDescription kStereoFile = CAStreamBasicDescription::Float32(48000, 2, true);
const CAStreamBasicDescription kStereoClient = CAStreamBasicDescription::Float32(48000, 2, false);

StereoBlock Ramp(UInt32 first, UInt32 frames)
{
    return StereoBlock(first, frames, 1e6f);
}

} // namespace

TEST(CAAudioFile, WritesNonInterleavedBlocksAsInterleavedFloatWavAndOpensIt)
{
    TempFolder folder;
    {
        CAAudioFile file;
        file.CreateNew(FSRef{folder.Path()}, "take.wav", kAudioFileWAVEType, kStereoFile);
        file.SetClientFormat(kStereoClient);
        file.SetIOBufferSizeBytes(1000 * 8); // blocks larger than the I/O buffer are written in pieces
        file.Write(2500, Ramp(0, 2500).List());
        EXPECT_EQ(file.GetMode(), CAAudioFile::kWriting);
        file.Write(0, Ramp(0, 0).List());
        file.Write(7, Ramp(2500, 7).List());
        EXPECT_EQ(file.Tell(), 2507);
    }
    SF_INFO info;
    const auto samples = ReadWithLibsndfile(folder / "take.wav", info);
    char magic[5] = {};
    std::ifstream(folder / "take.wav", std::ios::binary).read(magic, 4);
    EXPECT_STREQ(magic, "RIFF"); // small files stay plain WAV
    EXPECT_EQ(info.format & SF_FORMAT_SUBMASK, SF_FORMAT_FLOAT);
    EXPECT_EQ(info.samplerate, 48000);
    ASSERT_EQ(info.channels, 2);
    ASSERT_EQ(info.frames, 2507);
    for (UInt32 i = 0; i < 2507; ++i) {
        ASSERT_EQ(samples[2 * i], float(i) / 1e6f) << i;
        ASSERT_EQ(samples[2 * i + 1], -float(i) / 1e6f) << i;
    }

    CAAudioFile file;
    file.Open(FSRef{folder / "take.wav"});
    EXPECT_EQ(file.GetMode(), CAAudioFile::kReading);
    EXPECT_EQ(file.GetNumberFrames(), 2507);
    EXPECT_TRUE(file.GetFileDataFormat() == kStereoFile);
    ExpectCAX([&] { CAAudioFile().Open(FSRef{folder / "missing.wav"}); }, "open audio file", -43);
    std::ofstream(folder / "junk.wav") << "not audio at all, not even close to it";
    EXPECT_THROW(CAAudioFile().Open(FSRef{folder / "junk.wav"}), CAXException);
}

TEST(CAAudioFile, HeaderUpdateMakesAnUnclosedFileReadableAndRateZeroIs44100)
{
    TempFolder folder;
    CAAudioFile file;
    file.CreateNew(FSRef{folder.Path()}, "open.wav", kAudioFileWAVEType, CAStreamBasicDescription::Float32(0, 2, true));
    EXPECT_EQ(file.GetFileDataFormat().mSampleRate, 44100.0);
    file.SetClientFormat(CAStreamBasicDescription::Float32(44100, 2, false));
    file.Write(3000, Ramp(0, 3000).List());
    file.UpdateHeader();
    // As a killed process leaves it: nothing closed.
    SF_INFO info;
    const auto samples = ReadWithLibsndfile(folder / "open.wav", info);
    ASSERT_EQ(info.frames, 3000);
    EXPECT_EQ(info.samplerate, 44100);
    EXPECT_EQ(samples[2 * 2999], 2999 / 1e6f);

    file.Write(1000, Ramp(3000, 1000).List());
    file.UpdateHeader();
    ReadWithLibsndfile(folder / "open.wav", info);
    EXPECT_EQ(info.frames, 4000);
}

TEST(CAAudioFile, NeverReplacesAnExistingFileNorFollowsALinkPlantedAtThePath)
{
    TempFolder folder;
    const std::string path = folder / "track.wav";
    std::ofstream(path) << "precious";
    ASSERT_EQ(symlink((folder / "target").c_str(), (folder / "link.wav").c_str()), 0);

    CAAudioFile file;
    for (const char* name : {"track.wav", "link.wav"})
        ExpectCAX([&] { file.CreateNew(FSRef{folder.Path()}, name, kAudioFileWAVEType, kStereoFile); },
                  "create audio file", -48);
    EXPECT_EQ(file.GetMode(), CAAudioFile::kClosed);
    std::string content;
    std::ifstream(path) >> content;
    EXPECT_EQ(content, "precious");
    EXPECT_FALSE(std::filesystem::exists(folder / "target"));

    ASSERT_EQ(unlink(path.c_str()), 0);
    file.CreateNew(FSRef{folder.Path()}, "track.wav", kAudioFileWAVEType, kStereoFile);
    EXPECT_EQ(file.GetMode(), CAAudioFile::kCreated);
}

TEST(CAAudioFile, StatesAndTheirTexts)
{
    TempFolder folder;
    const FSRef here{folder.Path()};
    CAAudioFile file;
    const StereoBlock block(0, 4);
    UInt32 frames = 4;
    const auto read = [&] { file.Read(frames, const_cast<AudioBufferList*>(block.List())); };
    const auto write = [&] { file.Write(4, block.List()); };
    ExpectCAX(write, "can't write to this file", -66565);
    ExpectCAX([&] { file.SetClientFormat(kStereoClient); }, "audio file format not yet known", -66565);
    ExpectCAX(read, "can't read from this file", -66565);

    file.CreateNew(here, "a.wav", kAudioFileWAVEType, kStereoFile);
    ExpectCAX([&] { file.CreateNew(here, "b.wav", kAudioFileWAVEType, kStereoFile); }, "file already open", -66565);
    CAStreamBasicDescription compressed = kStereoClient;
    compressed.mFormatID = FourCC("aac ");
    ExpectCAX([&] { file.SetClientFormat(compressed); }, "non-PCM client format on audio file", -66563);
    for (const auto& format : {CAStreamBasicDescription::Float32(48000, 1, false),
                               CAStreamBasicDescription::Float32(44100, 2, false)})
        ExpectCAX([&] { file.SetClientFormat(format); }, "create audio converter", OSStatus(FourCC("fmt?")));

    file.SetClientFormat(kStereoClient);
    write();
    ExpectCAX(read, "can't read from this file", -66565);
    file.Close();
    EXPECT_EQ(file.GetMode(), CAAudioFile::kClosed);
    ExpectCAX(write, "can't write to this file", -66565);
    file.Close(); // twice is harmless

    CAAudioFile other;
    ExpectCAX([&] { other.CreateNew(here, "c.aif", FourCC("AIFF"), kStereoFile); }, "create audio file",
              OSStatus(FourCC("typ?")));
    ExpectCAX([&] { other.CreateNew(here, "d.wav", kAudioFileWAVEType, kStereoClient); }, "create audio file",
              OSStatus(FourCC("fmt?")));
    ExpectCAX([&] { other.CreateNew(FSRef{folder / "gone"}, "e.wav", kAudioFileWAVEType, kStereoFile); },
              "create audio file", -43);
    EXPECT_FALSE(std::filesystem::exists(folder / "c.aif"));
}

TEST(PosixPathToParentFSRefAndName, SplitsIntoAnExistingFolderAndAName)
{
    TempFolder folder;
    FSRef parent;
    std::string name;
    ASSERT_EQ(PosixPathToParentFSRefAndName((folder / "Side A.1.wav").c_str(), parent, name), 0);
    EXPECT_EQ(name, "Side A.1.wav");
    EXPECT_EQ(std::filesystem::canonical(parent.path), std::filesystem::canonical(folder.Path()));

    std::ofstream(folder / "plain") << "x";
    for (const std::string& path : {folder / "gone/x.wav", folder / "plain/x.wav", std::string()})
        EXPECT_EQ(PosixPathToParentFSRefAndName(path.c_str(), parent, name), -43) << path;

    // A ":" travels as "/" in the name and lands on disk as ":".
    ASSERT_EQ(PosixPathToParentFSRefAndName((folder / "a:b.wav").c_str(), parent, name), 0);
    EXPECT_EQ(name, "a/b.wav");
    CAAudioFile file;
    file.CreateNew(parent, name, kAudioFileWAVEType, kStereoFile);
    EXPECT_TRUE(std::filesystem::exists(folder / "a:b.wav"));
}
