// The built tolm-convert, run on sides written to disk, as a user would run it.

#include "ConvertRun.h"
#include "SoundFile.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <fstream>
#include <gtest/gtest.h>

using namespace Tolm::Test;

TEST(TracksCommand, PrintsTheTracksOfASideAsATableOrJson)
{
    TempFolder folder;
    const std::string side = folder.File("side.wav");
    WriteSound(side, MakeSide(ThreeSongSide(), 44100), 44100, kFloatWav);
    auto run = Convert(folder, {"tracks", "--finder", "gaps", side});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.err, "");  // no bar off a terminal, no detector lines
    EXPECT_EQ(run.out, side + ": 44100 Hz, 2:16.0, equaliser none, 3 tracks\n"
                              "Track      Start     Length  Start sample       Samples\n"
                              "    1     0:00.0     0:53.0             0       2337300\n"
                              "    2     0:53.0     0:23.5       2337300       1036350\n"
                              "    3     1:16.5     0:56.5       3373650       2491650\n");

    run = Convert(folder, {"tracks", "--json", "--eq", "riaa", "--finder", "gaps", side});
    EXPECT_EQ(run.status, 0) << run.err;
    const QJsonObject json = QJsonDocument::fromJson(QByteArray::fromStdString(run.out)).object();
    EXPECT_EQ(json["file"].toString().toStdString(), side);
    EXPECT_EQ(json["sampleRate"].toInt(), 44100);
    EXPECT_EQ(json["frames"].toInteger(), 5997600);
    EXPECT_EQ(json["seconds"].toDouble(), 136.0);
    EXPECT_EQ(json["equaliser"].toString(), "riaa");
    EXPECT_EQ(json["finder"].toString(), "gaps");
    const QJsonArray tracks = json["tracks"].toArray();
    ASSERT_EQ(tracks.size(), 3) << run.out;
    const QJsonObject second = tracks[1].toObject();
    EXPECT_EQ(second["number"].toInt(), 2);
    EXPECT_EQ(second["start"].toDouble(), 53.0);
    EXPECT_EQ(second["duration"].toDouble(), 23.5);
    EXPECT_EQ(second["startSample"].toInt(), 2337300);
    EXPECT_EQ(second["lengthSamples"].toInt(), 1036350);

    // The detector's log lines only when asked for, and then not on standard output.
    run = Convert(folder, {"tracks", "--verbose", "--finder", "gaps", side});
    EXPECT_NE(run.err.find("Audio has transitioned out of silence\n"), std::string::npos) << run.err;
    EXPECT_EQ(run.out.find("Audio has"), std::string::npos);

    const std::string odd = folder.File("a \"quoted\" \\ name \xff.wav");
    std::filesystem::copy_file(side, odd);
    run = Convert(folder, {"tracks", "--json", odd});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(QJsonDocument::fromJson(QByteArray::fromStdString(run.out))["file"].toString(),
              QStringLiteral("a \"quoted\" \\ name \uFFFD.wav")
                  .prepend(QString::fromStdString(folder.Path() + "/")))
        << run.out;
}

TEST(TracksCommand, TheSideAnalysisIsTheDefaultAndSplitCutsItsTracksSampleExact)
{
    TempFolder folder;
    const std::string side = folder.File("side.wav");
    const StereoSamples samples = MakeSide(ThreeSongSide(), 44100);
    WriteSound(side, samples, 44100, kFloatWav);

    const auto run = Convert(folder, {"tracks", "--json", side});
    ASSERT_EQ(run.status, 0) << run.err;
    const QJsonObject json = QJsonDocument::fromJson(QByteArray::fromStdString(run.out)).object();
    EXPECT_EQ(json["finder"].toString(), "side");
    EXPECT_TRUE(json["sideEndFound"].toBool()) << run.out;
    EXPECT_EQ(json["boundaries"].toArray().size(), 2);
    const QJsonArray tracks = json["tracks"].toArray();
    ASSERT_EQ(tracks.size(), 3) << run.out;
    std::vector<std::int64_t> starts, ends;
    const double truth[][2] = {{1, 51}, {55, 75}, {78, 128}};  // lead-in, gaps and run-out left out
    for (qsizetype i = 0; i < 3; ++i) {
        const QJsonObject track = tracks[i].toObject();
        starts.push_back(track["startSample"].toInteger());
        ends.push_back(track["endSample"].toInteger());
        EXPECT_EQ(track.contains("confidence"), i > 0);
        EXPECT_NEAR(double(starts.back()) / 44100, truth[i][0], 0.2) << "track " << i + 1;
        EXPECT_NEAR(double(ends.back()) / 44100, truth[i][1], 0.2) << "track " << i + 1;
    }
    EXPECT_EQ(json["sideEndSample"].toInteger(), ends.back());

    const auto split = Convert(folder, {"split", side, "--out", folder.File("cut")});
    ASSERT_EQ(split.status, 0) << split.err;
    std::istringstream written(split.out);  // the track files, one a line
    for (std::size_t i = 0; i < 3; ++i) {
        std::string path;
        std::getline(written, path);
        const auto file = ReadSoundFile(path);
        ASSERT_EQ(file.info.channels, 2) << "track " << i + 1 << ": " << split.out;
        const auto first = std::size_t(starts[i]);
        ASSERT_EQ(file.info.frames, ends[i] - starts[i]) << "track " << i + 1;
        for (std::size_t k = 0; k < std::size_t(file.info.frames); ++k) {
            if (file.At(sf_count_t(k), 0) != samples.left[first + k] ||
                file.At(sf_count_t(k), 1) != samples.right[first + k]) {
                ADD_FAILURE() << "track " << i + 1 << " differs at frame " << k;
                break;
            }
        }
    }
}

TEST(TracksCommand, BadInputIsOneLineAndStatusTwo)
{
    TempFolder folder;
    const auto bit = MakeSide({{1, true}}, 44100);
    WriteSound(folder.File("mono.wav"), bit, 44100, kFloatWav, 1);
    WriteSound(folder.File("three.wav"), bit, 44100, kFloatWav, 3);
    WriteSound(folder.File("slow.wav"), bit, 4000, kFloatWav);
    std::ofstream(folder.File("notes.txt")) << "not a sound\n";

    const std::pair<std::vector<std::string>, std::string> cases[] = {
        {{"tracks", folder.File("absent.wav")},
         "tolm-convert tracks: " + folder.File("absent.wav") + " cannot be read (No such file or directory)\n"},
        {{"tracks", folder.File("mono.wav")},
         "tolm-convert tracks: " + folder.File("mono.wav") + " is mono: tracks are found in stereo recordings only\n"},
        {{"tracks", folder.File("three.wav")}, "tolm-convert tracks: " + folder.File("three.wav") +
                                                   " has 3 channels: tracks are found in stereo recordings only\n"},
        {{"tracks", folder.Path()}, "tolm-convert tracks: " + folder.Path() + " is a folder, not a sound file\n"},
        {{"tracks", folder.File("slow.wav")}, "tolm-convert tracks: " + folder.File("slow.wav") +
                                                  " has a sample rate of 4000 Hz: supported are 8000 to 192000 Hz\n"},
        {{"tracks", "--eq", "loud", folder.File("mono.wav")},
         "tolm-convert tracks: unknown equaliser \"loud\" (none, riaa, riaa-bass or chrome)\n"},
        {{"tracks"}, "tolm-convert tracks: which file? (tolm-convert tracks FILE)\n"},
        {{"tracks", "--finder", "best", folder.File("mono.wav")},
         "tolm-convert tracks: --finder takes side or gaps, not \"best\"\n"},
        {{"tracks", "--tracks", "0", folder.File("mono.wav")},
         "tolm-convert tracks: --tracks takes a number of tracks from 1 to 99, not \"0\"\n"},
        {{"tracks", "--lengths", "3:12,4:75", folder.File("mono.wav")},
         "tolm-convert tracks: --lengths takes track lengths like 3:12,4:05,2:58, not \"3:12,4:75\"\n"},
        {{"tracks", "--tracks", "3", "--lengths", "3:12,4:05", folder.File("mono.wav")},
         "tolm-convert tracks: --tracks 3 but --lengths gives 2 tracks\n"},
        {{"tracks", "--finder", "gaps", "--tracks", "3", folder.File("mono.wav")},
         "tolm-convert tracks: --tracks and --lengths are hints for --finder side\n"},
    };
    for (const auto& [args, message] : cases) {
        const auto run = Convert(folder, args);
        EXPECT_EQ(run.status, 2) << message;
        EXPECT_EQ(run.err, message);
        EXPECT_EQ(run.out, "");
    }
    const auto text = Convert(folder, {"tracks", folder.File("notes.txt")});
    EXPECT_EQ(text.status, 2);
    EXPECT_EQ(text.err.rfind("tolm-convert tracks: " + folder.File("notes.txt") + " is not a sound file", 0), 0u)
        << text.err;
    EXPECT_EQ(std::count(text.err.begin(), text.err.end(), '\n'), 1);
}
