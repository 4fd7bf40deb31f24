// The built tolm-convert, run on sides written to disk, as a user would run it.

#include "TracksTestSide.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <sys/wait.h>

using namespace Tolm::Test;

namespace {

struct Run {
    int status = -1;
    std::string out, err;
};

std::string Slurp(const std::string& path)
{
    std::stringstream s;
    s << std::ifstream(path).rdbuf();
    return s.str();
}

std::string Quote(const std::string& arg)
{
    std::string q = "'";
    for (char c : arg)
        q += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return q + "'";
}

Run Convert(const TempFolder& folder, const std::vector<std::string>& args)
{
    std::string command = Quote(TOLM_CONVERT);
    for (const auto& a : args)
        command += " " + Quote(a);
    command += " >" + Quote(folder.File("out.txt")) + " 2>" + Quote(folder.File("err.txt")) + " </dev/null";
    const int raw = std::system(command.c_str());
    return {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, Slurp(folder.File("out.txt")), Slurp(folder.File("err.txt"))};
}

} // namespace

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
    EXPECT_EQ(run.out, "{\n  \"file\": \"" + side +
                           "\",\n"
                           "  \"sampleRate\": 44100,\n"
                           "  \"frames\": 5997600,\n"
                           "  \"seconds\": 136,\n"
                           "  \"equaliser\": \"riaa\",\n"
                           "  \"finder\": \"gaps\",\n"
                           "  \"tracks\": [\n"
                           "    {\"number\": 1, \"start\": 0, \"duration\": 53, \"startSample\": 0, "
                           "\"lengthSamples\": 2337300},\n"
                           "    {\"number\": 2, \"start\": 53, \"duration\": 23.5, \"startSample\": 2337300, "
                           "\"lengthSamples\": 1036350},\n"
                           "    {\"number\": 3, \"start\": 76.5, \"duration\": 56.5, \"startSample\": 3373650, "
                           "\"lengthSamples\": 2491650}\n"
                           "  ]\n}\n");

    const std::string odd = folder.File("a \"quoted\" \\ name \xff.wav");
    std::filesystem::copy_file(side, odd);
    run = Convert(folder, {"tracks", "--json", odd});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_NE(run.out.find("a \\\"quoted\\\" \\\\ name \xEF\xBF\xBD.wav\""), std::string::npos) << run.out;
}

// Every "name": number pair of the output, in order.
std::vector<double> Numbers(const std::string& json, const std::string& name)
{
    std::vector<double> v;
    const std::string key = "\"" + name + "\": ";
    for (auto at = json.find(key); at != std::string::npos; at = json.find(key, at + 1))
        v.push_back(std::stod(json.substr(at + key.size())));
    return v;
}

std::vector<float> ReadFrames(const std::string& path, int& channels)
{
    SF_INFO info{};
    SNDFILE* f = sf_open(path.c_str(), SFM_READ, &info);
    if (!f)
        return {};
    channels = info.channels;
    std::vector<float> v(std::size_t(info.frames * info.channels));
    sf_readf_float(f, v.data(), info.frames);
    sf_close(f);
    return v;
}

TEST(TracksCommand, TheSideAnalysisIsTheDefaultAndSplitCutsItsTracksSampleExact)
{
    TempFolder folder;
    const std::string side = folder.File("side.wav");
    const StereoSamples samples = MakeSide(ThreeSongSide(), 44100);
    WriteSound(side, samples, 44100, kFloatWav);

    const auto run = Convert(folder, {"tracks", "--json", side});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_NE(run.out.find("\"finder\": \"side\""), std::string::npos);
    EXPECT_NE(run.out.find("\"sideEndFound\": true"), std::string::npos) << run.out;
    EXPECT_EQ(Numbers(run.out, "confidence").size(), 4u) << "two boundaries, in the tracks and in their list";
    const auto starts = Numbers(run.out, "startSample"), ends = Numbers(run.out, "endSample");
    ASSERT_EQ(starts.size(), 3u) << run.out;
    ASSERT_EQ(ends.size(), 3u);
    const double truth[][2] = {{1, 51}, {55, 75}, {78, 128}};  // lead-in, gaps and run-out left out
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_NEAR(starts[i] / 44100, truth[i][0], 0.2) << "track " << i + 1;
        EXPECT_NEAR(ends[i] / 44100, truth[i][1], 0.2) << "track " << i + 1;
    }
    EXPECT_EQ(Numbers(run.out, "sideEndSample"), std::vector<double>{ends.back()});

    const auto split = Convert(folder, {"split", side, "--out", folder.File("cut")});
    ASSERT_EQ(split.status, 0) << split.err;
    std::istringstream written(split.out);  // the track files, one a line
    for (std::size_t i = 0; i < 3; ++i) {
        std::string path;
        std::getline(written, path);
        int channels = 0;
        const auto frames = ReadFrames(path, channels);
        ASSERT_EQ(channels, 2) << "track " << i + 1 << ": " << split.out;
        const auto first = std::size_t(starts[i]);
        ASSERT_EQ(frames.size() / 2, std::size_t(ends[i]) - first) << "track " << i + 1;
        for (std::size_t k = 0; k < frames.size() / 2; ++k) {
            if (frames[2 * k] != samples.left[first + k] || frames[2 * k + 1] != samples.right[first + k]) {
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
