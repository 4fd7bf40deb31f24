#include "LibraryTestSupport.h"
#include "library/TrackTags.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>
#include <cmath>
#include <gtest/gtest.h>
#include <sndfile.h>
#include <vector>

using Tolm::Library::ReadTrackTags;
using Tolm::Library::TrackTags;
using Tolm::Test::DecodeFile;
using Tolm::Test::FilesBelow;
using Tolm::Test::WriteTrackFile;

namespace {

struct Result {
    int exitCode = -1;
    QStringList lines; // standard output
    QString errors;
};

class ConvertCommandsTest : public ::testing::Test {
  protected:
    Result run(std::initializer_list<const char*> arguments)
    {
        QStringList list;
        for (const char* argument : arguments)
            list << QString::fromUtf8(argument);
        QProcess process;
        process.setWorkingDirectory(mFolder.path());
        // A quote in the temporary folder's name once broke every import.
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("TMPDIR"), temporaryFolder());
        process.setProcessEnvironment(environment);
        process.start(QStringLiteral(TOLM_CONVERT), list);
        EXPECT_TRUE(process.waitForFinished(240'000));
        Result result;
        result.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
        result.lines =
            QString::fromUtf8(process.readAllStandardOutput()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
        result.errors = QString::fromUtf8(process.readAllStandardError());
        return result;
    }

    QString path(const char* name) const { return QDir(mFolder.path()).filePath(QString::fromUtf8(name)); }
    QString temporaryFolder() const
    {
        const QString folder = path("tmp \"quoted\" 'twice'");
        QDir().mkpath(folder);
        return folder;
    }

    QTemporaryDir mFolder;
};

} // namespace

TEST_F(ConvertCommandsTest, ImportFilesHostileNamesIntoANewLibrary)
{
    WriteTrackFile(path("one.wav"), 44100, 22050);
    WriteTrackFile(path("two.wav"), 48000, 24000);
    const char* artist = "The \"Best\" $(touch pwned)";
    const char* album = "`touch pwned` / ..";
    const char* title = "Line\nbreak \xf0\x9f\x8e\xb8 \\";
    const Result result = run({"import", "--artist", artist, "--album", album, "--title", title, "--library",
                               "Music", "--format", "ogg", "one.wav", "two.wav"});
    ASSERT_EQ(result.exitCode, 0) << result.errors.toStdString();
    ASSERT_EQ(result.lines.size(), 2);
    EXPECT_EQ(ReadTrackTags(result.lines[0]),
              (TrackTags{QString::fromUtf8(artist), QString::fromUtf8(album), QString::fromUtf8(title),
                         QStringLiteral("1"), QString::fromUtf8(artist), 2}));
    EXPECT_EQ(ReadTrackTags(result.lines[1])->trackNumber, QStringLiteral("2"));
    EXPECT_EQ(DecodeFile(result.lines[1]).sampleRate, 48000);
    for (const QString& file : result.lines)
        EXPECT_TRUE(file.startsWith(path("Music/")));
    EXPECT_TRUE(QFileInfo::exists(path("one.wav")) && QFileInfo::exists(path("two.wav")))
        << "the originals are left alone";
    EXPECT_FALSE(QFileInfo::exists(path("pwned")));
}

TEST_F(ConvertCommandsTest, BadInputIsRefusedBeforeTheLibraryIsTouched)
{
    WriteTrackFile(path("good.wav"), 44100, 4410);
    QFile notAudio(path("notes.txt"));
    ASSERT_TRUE(notAudio.open(QIODevice::WriteOnly));
    notAudio.write("not a sound");
    notAudio.close();

    Result result = run({"import", "--library", "Music", "good.wav", "notes.txt"});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_TRUE(result.errors.contains(QStringLiteral("notes.txt"))) << result.errors.toStdString();
    EXPECT_TRUE(FilesBelow(path("Music")).isEmpty());

    result = run({"import", "--format", "aiff", "good.wav"});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_TRUE(result.errors.contains(QStringLiteral("flac"))) << "names the formats there are";
    EXPECT_EQ(run({"import", "--title", "a", "--title", "b", "good.wav"}).exitCode, 2);
}

TEST_F(ConvertCommandsTest, SplitCutsASideIntoNumberedTracks)
{
    // Three pieces with quiet gaps after them, like a record's side, over a faint hiss.
    std::vector<float> side;
    unsigned noise = 7;
    for (const double seconds : {20.0, 4.0, 15.0, 4.0, 20.0, 4.0}) {
        for (long i = 0; i < long(seconds * 44100); ++i) {
            noise = noise * 1664525u + 1013904223u;
            const float hiss = float(noise >> 8) / float(1u << 24) - 0.5f;
            const float music =
                seconds == 4.0 ? 0.0f : 0.3f * float(std::sin(2 * M_PI * 330.0 * i / 44100.0)) + 0.2f * hiss;
            side.insert(side.end(), 2, music + 0.0005f * hiss);
        }
    }
    SF_INFO info{0, 44100, 2, SF_FORMAT_WAV | SF_FORMAT_FLOAT, 0, 0};
    SNDFILE* file = sf_open(QFile::encodeName(path("side.wav")).constData(), SFM_WRITE, &info);
    sf_writef_float(file, side.data(), sf_count_t(side.size() / 2));
    sf_close(file);

    Result result = run({"split", "side.wav", "--artist", "Artist", "--album", "Side A", "--title", "First",
                         "--import", "--library", "Music"});
    ASSERT_EQ(result.exitCode, 0) << result.errors.toStdString();
    ASSERT_EQ(result.lines.size(), 3) << result.lines.join(QLatin1Char(',')).toStdString();
    EXPECT_EQ(result.lines[0], path("Music/Artist/Side A/01 First.flac"));
    const double lengths[] = {20.0, 15.0, 20.0};
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(ReadTrackTags(result.lines[i])->trackNumber, QString::number(i + 1));
        const auto audio = DecodeFile(result.lines[i]);
        // Whether a track keeps some of the gap after it is the finder's business.
        const double seconds = double(audio.frames) / audio.sampleRate;
        EXPECT_GE(seconds, lengths[i] - 1.0) << "track " << i + 1;
        EXPECT_LE(seconds, lengths[i] + 6.0) << "track " << i + 1;
    }

    result = run({"split", "side.wav", "--out", "cut"});
    ASSERT_EQ(result.exitCode, 0) << result.errors.toStdString();
    EXPECT_EQ(FilesBelow(path("cut")).size(), 3);
    EXPECT_TRUE(QFileInfo::exists(path("side.wav")));
    EXPECT_TRUE(QDir(temporaryFolder()).isEmpty()) << "the cuts' temporary folder is gone";
}

TEST_F(ConvertCommandsTest, IntegerSourcesKeepTheirDepthBitForBit)
{
    // Long enough to be a track; full scale both ways, which scaling through floats would move.
    std::vector<short> samples;
    for (int i = 0; i < 25 * 44100; ++i)
        samples.insert(samples.end(), 2, short(std::lround(32767.5 * std::sin(i * 0.0627) - 0.5)));
    samples[0] = 32767;
    samples[1] = -32768;
    SF_INFO info{0, 44100, 2, SF_FORMAT_WAV | SF_FORMAT_PCM_16, 0, 0};
    SNDFILE* file = sf_open(QFile::encodeName(path("cd.wav")).constData(), SFM_WRITE, &info);
    sf_writef_short(file, samples.data(), sf_count_t(samples.size() / 2));
    sf_close(file);
    auto readBack = [](const QString& name, int& format) {
        SF_INFO in{};
        SNDFILE* sound = sf_open(QFile::encodeName(name).constData(), SFM_READ, &in);
        std::vector<short> read(size_t(in.frames * in.channels));
        sf_readf_short(sound, read.data(), in.frames);
        sf_close(sound);
        format = in.format;
        return read;
    };

    Result result = run({"import", "--artist", "A", "--album", "B", "--side", "A", "--year", "1983",
                         "--library", "Music", "cd.wav"});
    ASSERT_EQ(result.exitCode, 0) << result.errors.toStdString();
    ASSERT_EQ(result.lines.size(), 1);
    EXPECT_EQ(result.lines[0], path("Music/A/B/1-01 Unknown Track.flac"));
    int format = 0;
    EXPECT_EQ(readBack(result.lines[0], format), samples);
    EXPECT_EQ(format & SF_FORMAT_SUBMASK, SF_FORMAT_PCM_16);
    const auto tags = ReadTrackTags(result.lines[0]);
    EXPECT_EQ(tags->disc, 1);
    EXPECT_EQ(tags->date, QStringLiteral("1983"));

    // A steady tone has no noise floor for the side analysis to measure against: the gap finder.
    result = run({"split", "cd.wav", "--finder", "gaps", "--out", "cut", "--side", "B"});
    ASSERT_EQ(result.exitCode, 0) << result.errors.toStdString();
    ASSERT_EQ(result.lines.size(), 1);
    const QString cut = QDir(mFolder.path()).filePath(result.lines[0]);
    EXPECT_EQ(readBack(cut, format), samples);
    EXPECT_EQ(format & SF_FORMAT_SUBMASK, SF_FORMAT_PCM_16);
    EXPECT_EQ(ReadTrackTags(cut)->disc, 2);

    EXPECT_EQ(run({"import", "--side", "AB", "cd.wav"}).exitCode, 2);
    EXPECT_EQ(run({"import", "--year", "83", "cd.wav"}).exitCode, 2);
}
