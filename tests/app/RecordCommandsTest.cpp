// tolm-convert's recording commands run as a user runs them: record on the demo turntable
// (played faster than real time), record-file from the PulseAudio pipe source, monitor.

#include "ChildProgram.h"
#include "PulseDaemon.h"
#include "SoundFile.h"
#include "WaitUntil.h"
#include "capture/DemoRecordSide.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <regex>
#include <thread>
#include <unistd.h>

using namespace Tolm::Test;
namespace fs = std::filesystem;

namespace {

constexpr const char* kDemoSpeed = "25";

struct Folder {
    Folder() : path(fs::temp_directory_path() / ("tolm-record-test-" + std::to_string(getpid())))
    {
        fs::remove_all(path);
        fs::create_directories(path);
    }
    ~Folder() { fs::remove_all(path); }
    std::string File(const std::string& name) const { return (path / name).string(); }
    fs::path path;
};

std::vector<SoundFile> TracksIn(const fs::path& folder)
{
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder))
        names.push_back(entry.path().string());
    std::sort(names.begin(), names.end());
    std::vector<SoundFile> tracks;
    for (const auto& name : names)
        tracks.push_back(ReadSoundFile(name));
    return tracks;
}

// Different in every frame and channel, never 0.
float Signal(std::uint64_t frame, unsigned channel)
{
    return 0.1f + 0.5f * float((frame * 7919 + channel * 104729) % 1000) / 1000.0f;
}

// Where the signal starts in the file, and how many frames from there on are the signal exactly.
std::pair<sf_count_t, sf_count_t> SignalFrames(const SoundFile& file)
{
    sf_count_t start = 0;
    while (start < file.info.frames && file.At(start, 0) != Signal(0, 0))
        ++start;
    sf_count_t n = 0;
    for (sf_count_t f = start; f < file.info.frames; ++f, ++n)
        if (file.At(f, 0) != Signal(std::uint64_t(n), 0) || file.At(f, 1) != Signal(std::uint64_t(n), 1))
            break;
    return {start, n};
}

} // namespace

TEST(RecordCommand, DemoSideComesOutAsItsSixPiecesAndCtrlCKeepsWhatWasRecorded)
{
    const Tolm::Capture::DemoRecordSide side(44100.0);
    {
        Folder out;
        const auto run = RunProgram({TOLM_CONVERT, "record", "--demo", "--out", out.path.string()},
                                    {{"TOLM_DEMO_SPEED", kDemoSpeed}});
        ASSERT_EQ(run.status, 0) << run.err;
        const auto tracks = TracksIn(out.path);
        ASSERT_EQ(tracks.size(), 6u) << run.err;
        for (std::size_t i = 0; i < tracks.size(); ++i) {
            SCOPED_TRACE(i + 1);
            EXPECT_EQ(tracks[i].info.channels, 2);
            EXPECT_EQ(tracks[i].info.samplerate, 44100);
            // The piece with parts of the gaps around it.
            EXPECT_GT(tracks[i].Seconds(), side.Piece(int(i)).length - 2.0);
            EXPECT_LT(tracks[i].Seconds(), side.Piece(int(i)).length + 7.0);
        }
    }
    {
        // Ctrl-C in the third piece: the first two whole, the third up to the stop.
        Folder out;
        ChildProgram record({TOLM_CONVERT, "record", "--demo", "--out", out.path.string()},
                            {{"TOLM_DEMO_SPEED", kDemoSpeed}});
        ASSERT_TRUE(record.Started());
        const double stopAt = side.Piece(0).length + side.Piece(1).length + 15.0;
        std::this_thread::sleep_for(std::chrono::duration<double>(stopAt / std::stod(kDemoSpeed)));
        record.Signal(SIGINT);
        const auto run = record.Wait();
        ASSERT_EQ(run.status, 0) << run.err;
        const auto tracks = TracksIn(out.path);
        ASSERT_GE(tracks.size(), 2u) << run.err;
        double seconds = 0.0;
        for (const auto& track : tracks) {
            EXPECT_TRUE(track.opened);
            seconds += track.Seconds();
        }
        EXPECT_GT(seconds, side.Piece(0).length + side.Piece(1).length);
    }
}

TEST(RecordFileCommand, PipeSourceArrivesSampleForSampleAndCtrlCKeepsIt)
{
    PulseDaemon daemon;
    if (!daemon.Start())
        GTEST_SKIP() << daemon.SkipReason();
    Folder out;
    {
        daemon.Feed(&Signal, 3 * PulseDaemon::kRate, PulseDaemon::Pace::Unpaced);
        const auto run = RunProgram({TOLM_CONVERT, "record-file", "--device", "USB Audio CODEC", "--seconds", "2",
                                     out.File("two.wav")});
        ASSERT_EQ(run.status, 0) << run.err;
        const auto file = ReadSoundFile(out.File("two.wav"));
        ASSERT_TRUE(file.opened);
        EXPECT_EQ(file.info.samplerate, int(PulseDaemon::kRate));
        EXPECT_GE(SignalFrames(file).second, 2 * sf_count_t(PulseDaemon::kRate));
        daemon.StopFeeding();
    }
    {
        daemon.Feed(&Signal, 60 * PulseDaemon::kRate, PulseDaemon::Pace::RealTime);
        ChildProgram record({TOLM_CONVERT, "record-file", "--device", "USB Audio CODEC", out.File("stopped.wav")});
        ASSERT_TRUE(WaitUntil(
            [&] { return fs::exists(out.File("stopped.wav")) && daemon.FramesFed() > 3 * PulseDaemon::kRate; }));
        record.Signal(SIGINT);
        const auto run = record.Wait();
        daemon.StopFeeding();
        EXPECT_EQ(run.status, 0) << run.err;
        const auto file = ReadSoundFile(out.File("stopped.wav"));
        ASSERT_TRUE(file.opened);
        const auto [start, frames] = SignalFrames(file);
        EXPECT_GT(frames, 2 * sf_count_t(PulseDaemon::kRate));
        EXPECT_EQ(start + frames, file.info.frames) << "every frame to the stop is kept";
    }
}

TEST(MonitorCommand, MetersMoveAndItEndsWhenAsked)
{
    const auto run = RunProgram({TOLM_CONVERT, "monitor", "--demo", "--seconds", "2"});
    EXPECT_EQ(run.status, 0) << run.err;
    // Some reading above silence: "L [###...]  -44.0 dB".
    EXPECT_TRUE(std::regex_search(run.err + run.out, std::regex(R"(L \[#+-*\] +-[0-9]+\.[0-9] dB)")))
        << run.err;
    EXPECT_NE(RunProgram({TOLM_CONVERT, "monitor", "--device", "no such device", "--seconds", "1"}).status, 0);
}
