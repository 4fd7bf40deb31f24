#pragma once

// A private PulseAudio daemon for integration tests: its own runtime folder, a null sink
// "speakers" and a pipe source "usbcodec" that looks like a USB turntable. Audio written into
// the pipe is what clients record from "usbcodec"; unloading the pipe source is an unplug.
//
//   Tolm::Test::PulseDaemon daemon;
//   if (!daemon.Start())
//       GTEST_SKIP() << daemon.SkipReason();
//
// Start() points this process at the daemon (PULSE_SERVER, XDG_RUNTIME_DIR), so a
// PulseAudioHardware created afterwards talks to it. The destructor stops it.
//
// With TOLM_TEST_SOUND_SERVER=pipewire in the environment the server is PipeWire's instead,
// as on a Debian desktop: a private D-Bus session bus, pipewire, wireplumber and
// pipewire-pulse, the same modules loaded through it.

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace Tolm::Test {

class PulseDaemon {
  public:
    static constexpr unsigned kRate = 48000;
    static constexpr unsigned kChannels = 2;
    static constexpr const char* kSourceName = "usbcodec";
    static constexpr const char* kSinkName = "speakers";
    // What the server reports for the pipe source (note the trailing blank of the name).
    static constexpr const char* kProductName = "USB Audio CODEC ";
    static constexpr const char* kDescription = "USB Audio CODEC Analog Stereo";

    PulseDaemon();
    ~PulseDaemon();
    PulseDaemon(const PulseDaemon&) = delete;
    PulseDaemon& operator=(const PulseDaemon&) = delete;

    // Starts the daemon and loads the pipe source. False (see SkipReason) when it cannot.
    bool Start();
    const std::string& SkipReason() const { return mSkipReason; }
    // Stops the feeder and the daemon (by its pid file) and removes the runtime folder.
    void Stop();
    bool Running() const { return mPid > 0; }
    // The server goes away and comes back at the same address (as after a crash or an update),
    // with the pipe source loaded again. The feeder is stopped.
    bool Restart();

    bool LoadPipeSource();   // plug in
    bool UnloadPipeSource(); // unplug
    bool PipeSourceLoaded() const { return mPipeLoaded; }

    std::string RuntimeDir() const { return mRuntimeDir; }
    std::string FifoPath() const { return mRuntimeDir + "/usbcodec.fifo"; }
    std::string ServerAddress() const { return "unix:" + mRuntimeDir + "/pulse/native"; }
    int Pid() const { return mPid; }

    // Runs pactl against the daemon; its standard output goes to `output`.
    bool Pactl(const std::vector<std::string>& args, std::string* output = nullptr) const;

    // The feeder: float32le stereo frames into the fifo, on its own thread. Unpaced writes as
    // fast as the pipe takes them; RealTime holds 48000 frames a second. The server drains the
    // pipe only while some client records from the source: with nobody recording, the feeder
    // stops after about 7680 frames (a full pipe) until a recording starts.
    enum class Pace { Unpaced, RealTime };
    using Generator = std::function<float(std::uint64_t frame, unsigned channel)>;
    void Feed(std::vector<float> interleaved, Pace pace);
    // With RealTime, `speed` (times real time, by frame) can play parts faster: the server
    // still hands every frame to every client, unlike an unpaced feed that outruns them.
    using Speed = std::function<double(std::uint64_t frame)>;
    void Feed(Generator generator, std::uint64_t frames, Pace pace, Speed speed = {});
    // Waits until the feeder has written everything (true) or ended early or timed out (false).
    bool WaitFed(std::chrono::milliseconds timeout);
    void StopFeeding();
    std::uint64_t FramesFed() const { return mFramesFed.load(); }
    // Why the feeder ended early (the fifo went away, say); empty while all is well.
    std::string FeedError() const;

  private:
    bool Fail(std::string reason);
    bool LaunchDaemon(std::string& error);
    bool LaunchPipeWire(std::string& error);
    void KillDaemon();
    void FeedLoop(Generator generator, std::uint64_t frames, Pace pace, const Speed& speed);
    std::string LogTail() const;
    void RestoreEnvironment();

    std::string mRuntimeDir;
    std::string mSkipReason;
    int mPid = 0;
    bool mPipeWire = false;
    std::vector<int> mChildren; // PipeWire's processes, started last first
    bool mPipeLoaded = false;
    std::vector<std::pair<std::string, std::optional<std::string>>> mSavedEnvironment;

    std::thread mFeeder;
    std::atomic<bool> mStopFeeding{false};
    std::atomic<bool> mFeedDone{false};
    std::atomic<std::uint64_t> mFramesFed{0};
    mutable std::mutex mFeedMutex;
    std::string mFeedError;
};

} // namespace Tolm::Test
