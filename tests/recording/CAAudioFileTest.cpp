// CAAudioFile: files written here are read back with libsndfile on their own.

#include "recording/CAAudioFile.h"

#include "TempFolder.h"
#include "platform/CABufferList.h"
#include "platform/CAXException.h"

#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <sndfile.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

const CAStreamBasicDescription kStereoFile = CAStreamBasicDescription::Float32(48000, 2, true);
const CAStreamBasicDescription kStereoClient = CAStreamBasicDescription::Float32(48000, 2, false);

// Expects `f` to throw CAXException with this text and status.
void ExpectCAX(const std::function<void()>& f, const char* operation, OSStatus status)
{
    try {
        f();
        ADD_FAILURE() << "expected \"" << operation << "\"";
    } catch (const CAXException& e) {
        EXPECT_STREQ(e.Operation(), operation);
        EXPECT_EQ(e.GetError(), status) << CAXException::FormatError(e.GetError());
    }
}

struct ReadBack {
    SF_INFO info{};
    std::vector<float> samples; // interleaved
    std::string magic;
};

ReadBack ReadWithLibsndfile(const std::string& path)
{
    ReadBack r;
    SNDFILE* f = sf_open(path.c_str(), SFM_READ, &r.info);
    if (f == nullptr)
        return r;
    r.samples.resize(std::size_t(r.info.frames * r.info.channels));
    sf_readf_float(f, r.samples.data(), r.info.frames);
    sf_close(f);
    std::ifstream in(path, std::ios::binary);
    char magic[4] = {};
    in.read(magic, 4);
    r.magic.assign(magic, 4);
    return r;
}

// Non-interleaved stereo frames, left = a ramp, right = its negation.
struct StereoBlock {
    explicit StereoBlock(UInt32 first, UInt32 frames) : left(frames), right(frames), list("block", 2)
    {
        for (UInt32 i = 0; i < frames; ++i) {
            left[i] = float(first + i) / 1e6f;
            right[i] = -left[i];
        }
        list.GetBuffer(0) = AudioBuffer{1, frames * 4, left.data()};
        list.GetBuffer(1) = AudioBuffer{1, frames * 4, right.data()};
    }
    const AudioBufferList* List() const { return &list.GetBufferList(); }
    std::vector<float> left, right;
    CABufferList list;
};

FSRef Folder(const TempFolder& folder)
{
    return FSRef{folder.Path()};
}

TEST(CAAudioFile, WritesNonInterleavedBlocksAsInterleavedFloatWav)
{
    TempFolder folder;
    {
        CAAudioFile file;
        file.CreateNew(Folder(folder), "take.wav", kAudioFileWAVEType, kStereoFile);
        EXPECT_EQ(file.GetMode(), CAAudioFile::kCreated);
        file.SetClientFormat(kStereoClient);
        file.SetIOBufferSizeBytes(1000 * 8); // blocks larger than the I/O buffer are written in pieces
        file.Write(2500, StereoBlock(0, 2500).List());
        EXPECT_EQ(file.GetMode(), CAAudioFile::kWriting);
        file.Write(0, StereoBlock(0, 0).List());
        file.Write(7, StereoBlock(2500, 7).List());
        EXPECT_EQ(file.Tell(), 2507);
    }
    const ReadBack r = ReadWithLibsndfile(folder / "take.wav");
    EXPECT_EQ(r.magic, "RIFF"); // small files stay plain WAV
    EXPECT_EQ(r.info.format & SF_FORMAT_SUBMASK, SF_FORMAT_FLOAT);
    EXPECT_EQ(r.info.samplerate, 48000);
    ASSERT_EQ(r.info.channels, 2);
    ASSERT_EQ(r.info.frames, 2507);
    for (UInt32 i = 0; i < 2507; ++i) {
        ASSERT_EQ(r.samples[2 * i], float(i) / 1e6f) << i;
        ASSERT_EQ(r.samples[2 * i + 1], -float(i) / 1e6f) << i;
    }
}

TEST(CAAudioFile, HeaderUpdateMakesAnUnclosedFileReadableWithEveryFrameWritten)
{
    TempFolder folder;
    CAAudioFile file;
    file.CreateNew(Folder(folder), "open.wav", kAudioFileWAVEType, kStereoFile);
    file.SetClientFormat(kStereoClient);
    file.Write(3000, StereoBlock(0, 3000).List());
    file.UpdateHeader();
    // As a killed process leaves it: nothing closed.
    const ReadBack r = ReadWithLibsndfile(folder / "open.wav");
    ASSERT_EQ(r.info.frames, 3000);
    EXPECT_EQ(r.samples[2 * 2999], 2999 / 1e6f);

    file.Write(1000, StereoBlock(3000, 1000).List());
    file.UpdateHeader();
    EXPECT_EQ(ReadWithLibsndfile(folder / "open.wav").info.frames, 4000);
}

TEST(CAAudioFile, NeverReplacesAnExistingFileNorFollowsALinkPlantedAtThePath)
{
    TempFolder folder;
    const std::string path = folder / "track.wav";
    std::ofstream(path) << "precious";

    CAAudioFile file;
    ExpectCAX([&] { file.CreateNew(Folder(folder), "track.wav", kAudioFileWAVEType, kStereoFile); },
              "create audio file", -48);
    EXPECT_EQ(file.GetMode(), CAAudioFile::kClosed);
    std::string content;
    std::ifstream(path) >> content;
    EXPECT_EQ(content, "precious");

    ASSERT_EQ(symlink((folder / "target").c_str(), (folder / "link.wav").c_str()), 0);
    ExpectCAX([&] { file.CreateNew(Folder(folder), "link.wav", kAudioFileWAVEType, kStereoFile); },
              "create audio file", -48);
    EXPECT_FALSE(std::filesystem::exists(folder / "target"));

    ASSERT_EQ(unlink(path.c_str()), 0);
    file.CreateNew(Folder(folder), "track.wav", kAudioFileWAVEType, kStereoFile);
    EXPECT_EQ(file.GetMode(), CAAudioFile::kCreated);
}

TEST(CAAudioFile, StatesAndTheirTexts)
{
    TempFolder folder;
    CAAudioFile file;
    const StereoBlock block(0, 4);
    ExpectCAX([&] { file.Write(4, block.List()); }, "can't write to this file", -66565);
    ExpectCAX([&] { file.SetClientFormat(kStereoClient); }, "audio file format not yet known", -66565);
    UInt32 frames = 4;
    ExpectCAX([&] { file.Read(frames, const_cast<AudioBufferList*>(block.List())); },
              "can't read from this file", -66565);

    file.CreateNew(Folder(folder), "a.wav", kAudioFileWAVEType, kStereoFile);
    ExpectCAX([&] { file.CreateNew(Folder(folder), "b.wav", kAudioFileWAVEType, kStereoFile); },
              "file already open", -66565);

    CAStreamBasicDescription compressed = kStereoClient;
    compressed.mFormatID = FourCC("aac ");
    ExpectCAX([&] { file.SetClientFormat(compressed); }, "non-PCM client format on audio file", -66563);
    ExpectCAX([&] { file.SetClientFormat(CAStreamBasicDescription::Float32(48000, 1, false)); },
              "create audio converter", OSStatus(FourCC("fmt?")));
    ExpectCAX([&] { file.SetClientFormat(CAStreamBasicDescription::Float32(44100, 2, false)); },
              "create audio converter", OSStatus(FourCC("fmt?")));

    file.SetClientFormat(kStereoClient);
    file.Write(4, block.List());
    ExpectCAX([&] { file.Read(frames, const_cast<AudioBufferList*>(block.List())); },
              "can't read from this file", -66565);
    file.Close();
    EXPECT_EQ(file.GetMode(), CAAudioFile::kClosed);
    ExpectCAX([&] { file.Write(4, block.List()); }, "can't write to this file", -66565);
    file.Close(); // twice is harmless

    CAAudioFile other;
    ExpectCAX([&] { other.CreateNew(Folder(folder), "c.aif", FourCC("AIFF"), kStereoFile); },
              "create audio file", OSStatus(FourCC("typ?")));
    ExpectCAX([&] { other.CreateNew(Folder(folder), "d.wav", kAudioFileWAVEType, kStereoClient); },
              "create audio file", OSStatus(FourCC("fmt?")));
    ExpectCAX([&] { other.CreateNew(FSRef{folder / "gone"}, "e.wav", kAudioFileWAVEType, kStereoFile); },
              "create audio file", -43);
    EXPECT_EQ(other.GetMode(), CAAudioFile::kClosed);
    EXPECT_FALSE(std::filesystem::exists(folder / "c.aif"));
}

TEST(CAAudioFile, ARateOfZeroIsWrittenAs44100)
{
    TempFolder folder;
    {
        CAAudioFile file;
        file.CreateNew(Folder(folder), "z.wav", kAudioFileWAVEType,
                       CAStreamBasicDescription::Float32(0, 2, true));
        EXPECT_EQ(file.GetFileDataFormat().mSampleRate, 44100.0);
    }
    EXPECT_EQ(ReadWithLibsndfile(folder / "z.wav").info.samplerate, 44100);
}

TEST(CAAudioFile, ReadsBackInTheClientFormat)
{
    TempFolder folder;
    {
        CAAudioFile file;
        file.CreateNew(Folder(folder), "r.wav", kAudioFileWAVEType, kStereoFile);
        file.SetClientFormat(kStereoClient);
        file.Write(5000, StereoBlock(0, 5000).List());
    }
    CAAudioFile file;
    file.Open(FSRef{folder / "r.wav"});
    EXPECT_EQ(file.GetMode(), CAAudioFile::kReading);
    EXPECT_EQ(file.GetNumberFrames(), 5000);
    EXPECT_TRUE(file.GetFileDataFormat() == kStereoFile);
    file.SetClientFormat(kStereoClient);

    StereoBlock into(0, 3000);
    std::vector<float> left;
    for (;;) {
        UInt32 frames = 3000;
        into.list.GetBuffer(0).mDataByteSize = into.list.GetBuffer(1).mDataByteSize = 3000 * 4;
        file.Read(frames, &into.list.GetModifiableBufferList());
        if (frames == 0)
            break;
        EXPECT_EQ(into.list.GetBuffer(1).mDataByteSize, frames * 4);
        left.insert(left.end(), into.left.begin(), into.left.begin() + frames);
        EXPECT_EQ(into.right[frames - 1], -into.left[frames - 1]);
    }
    ASSERT_EQ(left.size(), 5000u);
    EXPECT_EQ(left[4999], 4999 / 1e6f);

    ExpectCAX([&] { CAAudioFile().Open(FSRef{folder / "missing.wav"}); }, "open audio file", -43);
    std::ofstream(folder / "junk.wav") << "not audio at all, not even close to it";
    EXPECT_THROW(CAAudioFile().Open(FSRef{folder / "junk.wav"}), CAXException);
}

TEST(PosixPathToParentFSRefAndName, SplitsIntoAnExistingFolderAndAName)
{
    TempFolder folder;
    FSRef parent;
    std::string name;
    ASSERT_EQ(PosixPathToParentFSRefAndName((folder / "Side A.1.wav").c_str(), parent, name), 0);
    EXPECT_EQ(name, "Side A.1.wav");
    EXPECT_EQ(std::filesystem::canonical(parent.path), std::filesystem::canonical(folder.Path()));

    EXPECT_EQ(PosixPathToParentFSRefAndName((folder / "gone/x.wav").c_str(), parent, name), -43);
    std::ofstream(folder / "plain") << "x";
    EXPECT_EQ(PosixPathToParentFSRefAndName((folder / "plain/x.wav").c_str(), parent, name), -43);
    EXPECT_EQ(PosixPathToParentFSRefAndName("", parent, name), -43);

    // A ":" travels as "/" in the name and lands on disk as ":".
    ASSERT_EQ(PosixPathToParentFSRefAndName((folder / "a:b.wav").c_str(), parent, name), 0);
    EXPECT_EQ(name, "a/b.wav");
    CAAudioFile file;
    file.CreateNew(parent, name, kAudioFileWAVEType, kStereoFile);
    EXPECT_TRUE(std::filesystem::exists(folder / "a:b.wav"));
}

} // namespace
