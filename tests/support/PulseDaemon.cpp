#include "PulseDaemon.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <poll.h>
#include <spawn.h>
#include <sstream>
#include <sys/stat.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

extern char** environ;

namespace Tolm::Test {
namespace {

using Clock = std::chrono::steady_clock;

std::string ReadFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

std::string Trim(std::string text)
{
    while (!text.empty() && (text.back() == '\n' || text.back() == ' '))
        text.pop_back();
    return text;
}

// A program's argument and environment arrays for posix_spawn: ours, with `extraEnvironment`
// ("NAME=value") set on top.
struct SpawnArguments {
    SpawnArguments(const std::vector<std::string>& args, const std::vector<std::string>& extraEnvironment)
    {
        for (char** e = environ; *e; ++e)
            environment.emplace_back(*e);
        for (const std::string& extra : extraEnvironment) {
            const std::string key = extra.substr(0, extra.find('=') + 1);
            std::erase_if(environment, [&](const std::string& e) { return e.starts_with(key); });
            environment.push_back(extra);
        }
        for (const std::string& a : args)
            argv.push_back(const_cast<char*>(a.c_str()));
        argv.push_back(nullptr);
        for (const std::string& e : environment)
            envp.push_back(const_cast<char*>(e.c_str()));
        envp.push_back(nullptr);
    }
    std::vector<std::string> environment;
    std::vector<char*> argv, envp;
};

struct SpawnResult {
    bool started = false;
    int status = -1; // exit status, or -1 when killed or timed out
    std::string output;
    std::string errors;
};

// Runs a program with stdin from /dev/null and its output in files, so that a daemonising
// child can never hold the test runner's pipes open. Kills it after `timeout`.
SpawnResult Run(const std::vector<std::string>& args, const std::vector<std::string>& extraEnvironment,
                const std::string& scratchDir, std::chrono::milliseconds timeout)
{
    SpawnResult result;
    const std::string outPath = scratchDir + "/spawn.out";
    const std::string errPath = scratchDir + "/spawn.err";

    const SpawnArguments spawn(args, extraEnvironment);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 1, outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    posix_spawn_file_actions_addopen(&actions, 2, errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    posix_spawn_file_actions_addclosefrom_np(&actions, 3);
    pid_t pid = 0;
    const int error = posix_spawnp(&pid, spawn.argv[0], &actions, nullptr, spawn.argv.data(), spawn.envp.data());
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) {
        result.errors = args[0] + ": " + std::strerror(error);
        return result;
    }
    result.started = true;

    const auto deadline = Clock::now() + timeout;
    int status = 0;
    for (;;) {
        const pid_t done = waitpid(pid, &status, WNOHANG);
        if (done == pid)
            break;
        if (done < 0 && errno != EINTR)
            break;
        if (Clock::now() > deadline) {
            kill(pid, SIGKILL);
            waitpid(pid, &status, 0);
            result.errors = args[0] + " did not finish in time";
            return result;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    result.output = ReadFile(outPath);
    result.errors = Trim(ReadFile(errPath));
    return result;
}

// Starts a long-running program with its output in `logPath`; its pid, or 0.
int Spawn(const std::vector<std::string>& args, const std::vector<std::string>& extraEnvironment,
          const std::string& logPath)
{
    const SpawnArguments spawn(args, extraEnvironment);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 1, logPath.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
    posix_spawn_file_actions_adddup2(&actions, 1, 2);
    posix_spawn_file_actions_addclosefrom_np(&actions, 3);
    pid_t pid = 0;
    const int error = posix_spawnp(&pid, spawn.argv[0], &actions, nullptr, spawn.argv.data(), spawn.envp.data());
    posix_spawn_file_actions_destroy(&actions);
    return error == 0 ? pid : 0;
}

// True while `pid` is a live process (a zombie counts as gone: nobody may reap the daemon,
// which is not our child).
bool ProcessAlive(int pid)
{
    if (kill(pid, 0) != 0)
        return errno == EPERM;
    const std::string stat = ReadFile("/proc/" + std::to_string(pid) + "/stat");
    const auto paren = stat.rfind(')');
    return paren == std::string::npos || paren + 2 >= stat.size() || stat[paren + 2] != 'Z';
}

} // namespace

PulseDaemon::PulseDaemon() = default;

PulseDaemon::~PulseDaemon()
{
    Stop();
}

bool PulseDaemon::Fail(std::string reason)
{
    mSkipReason = std::string(mPipeWire ? "PipeWire" : "PulseAudio") + " test daemon unavailable: " +
                  std::move(reason);
    Stop();
    return false;
}

std::string PulseDaemon::LogTail() const
{
    std::string log = Trim(ReadFile(mRuntimeDir + "/pulse.log"));
    if (mPipeWire)
        log = Trim(ReadFile(mRuntimeDir + "/pipewire.log"));
    if (log.size() > 600)
        log = "..." + log.substr(log.size() - 600);
    return log.empty() ? std::string() : " (daemon log: " + log + ")";
}

bool PulseDaemon::Start()
{
    if (Running())
        return true;
    mSkipReason.clear();
    const char* server = std::getenv("TOLM_TEST_SOUND_SERVER");
    mPipeWire = server != nullptr && std::string(server) == "pipewire";

    std::string pattern = (std::filesystem::temp_directory_path() / "tolm-pulse-XXXXXX").string();
    if (!mkdtemp(pattern.data()))
        return Fail(std::string("cannot create a runtime folder: ") + std::strerror(errno));
    mRuntimeDir = pattern;
    chmod(mRuntimeDir.c_str(), 0700);

    std::string error;
    if (!LaunchDaemon(error))
        return Fail(error);

    // This process (and every client it starts) talks to our daemon only; a set server also
    // keeps libpulse from spawning one of its own.
    for (const char* name : {"XDG_RUNTIME_DIR", "PULSE_SERVER"}) {
        const char* old = std::getenv(name);
        mSavedEnvironment.emplace_back(name, old ? std::optional<std::string>(old) : std::nullopt);
    }
    setenv("XDG_RUNTIME_DIR", mRuntimeDir.c_str(), 1);
    setenv("PULSE_SERVER", ServerAddress().c_str(), 1);
    // Unloading the pipe source under a writing feeder must end the write, not the process.
    std::signal(SIGPIPE, SIG_IGN);

    std::string info;
    if (!Pactl({"info"}, &info))
        return Fail("the daemon does not answer" + LogTail());
    if (!LoadPipeSource())
        return Fail("cannot load the pipe source" + LogTail());
    return true;
}

bool PulseDaemon::LaunchPipeWire(std::string& error)
{
    const std::string log = mRuntimeDir + "/pipewire.log";
    std::vector<std::string> environment = {
        "XDG_RUNTIME_DIR=" + mRuntimeDir,
        "XDG_CONFIG_HOME=" + mRuntimeDir + "/config",
        "XDG_STATE_HOME=" + mRuntimeDir + "/state",
        "PIPEWIRE_RUNTIME_DIR=" + mRuntimeDir,
        "PULSE_RUNTIME_PATH=" + mRuntimeDir + "/pulse",
    };
    // The session manager leaves the machine's sound cards, Bluetooth and cameras alone (a
    // desktop's own PipeWire may be using them): the tests' devices are the modules they load.
    const std::string wireplumber = mRuntimeDir + "/config/wireplumber";
    std::filesystem::create_directories(wireplumber + "/main.lua.d");
    std::filesystem::create_directories(wireplumber + "/bluetooth.lua.d");
    std::ofstream(wireplumber + "/main.lua.d/90-tolm-tests.lua")
        << "alsa_monitor.enabled = false\nv4l2_monitor.enabled = false\nlibcamera_monitor.enabled = false\n";
    std::ofstream(wireplumber + "/bluetooth.lua.d/90-tolm-tests.lua") << "bluez_monitor.enabled = false\n";
    // WirePlumber ends at once without a session bus; a private one keeps the real session's
    // services (and the desktop's own PipeWire) out.
    const std::string bus = "unix:path=" + mRuntimeDir + "/bus";
    const int dbus = Spawn({"dbus-daemon", "--session", "--nofork", "--nopidfile", "--address=" + bus},
                           environment, log);
    if (dbus == 0) {
        error = "cannot start dbus-daemon";
        return false;
    }
    mChildren.push_back(dbus);
    environment.push_back("DBUS_SESSION_BUS_ADDRESS=" + bus);
    for (const char* program : {"pipewire", "wireplumber", "pipewire-pulse"}) {
        // Each needs the one before it to be listening.
        if (std::string(program) != "pipewire")
            std::this_thread::sleep_for(std::chrono::milliseconds(300));
        const int pid = Spawn({program}, environment, log);
        if (pid == 0) {
            error = std::string("cannot start ") + program + " (is it installed?)";
            return false;
        }
        mChildren.push_back(pid);
    }
    // pipewire-pulse opens its socket a moment after it starts.
    const auto deadline = Clock::now() + std::chrono::seconds(20);
    while (access((mRuntimeDir + "/pulse/native").c_str(), F_OK) != 0) {
        for (int pid : mChildren) {
            int status = 0;
            if (waitpid(pid, &status, WNOHANG) == pid) {
                error = "a PipeWire process ended at start" + LogTail();
                return false;
            }
        }
        if (Clock::now() > deadline) {
            error = "pipewire-pulse opened no socket" + LogTail();
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    mPid = mChildren.back();
    // PipeWire names a null sink after its node; PulseAudio's is "Null Output".
    if (!Pactl({"load-module", "module-null-sink", std::string("sink_name=") + kSinkName,
                "sink_properties='device.description=\"Null Output\"'"})) {
        error = "cannot load a null sink" + LogTail();
        return false;
    }
    return true;
}

bool PulseDaemon::LaunchDaemon(std::string& error)
{
    if (mPipeWire)
        return LaunchPipeWire(error);
    // Its own configuration folder too: no user daemon.conf, cookie or saved state leaks in,
    // and nothing is written into the real home folder.
    const std::vector<std::string> daemonEnvironment = {
        "XDG_RUNTIME_DIR=" + mRuntimeDir,
        "XDG_CONFIG_HOME=" + mRuntimeDir + "/config",
        "XDG_STATE_HOME=" + mRuntimeDir + "/state",
        "PULSE_RUNTIME_PATH=" + mRuntimeDir + "/pulse",
    };
    // Runs as root too (with a warning): --system is for a machine-wide daemon, not ours.
    const SpawnResult daemon =
        Run({"pulseaudio", "-n", "--daemonize=yes", "--exit-idle-time=-1", "--disable-shm=yes",
             "--use-pid-file=yes", "--log-target=file:" + mRuntimeDir + "/pulse.log", "-L",
             "module-native-protocol-unix", "-L", "module-null-sink sink_name=speakers"},
            daemonEnvironment, mRuntimeDir, std::chrono::seconds(20));
    if (!daemon.started) {
        error = daemon.errors;
        return false;
    }
    if (daemon.status != 0) {
        error = "pulseaudio exited with status " + std::to_string(daemon.status) + ": " + daemon.errors +
                LogTail();
        return false;
    }
    const std::string pidText = Trim(ReadFile(mRuntimeDir + "/pulse/pid"));
    mPid = std::atoi(pidText.c_str());
    if (mPid <= 0) {
        mPid = 0;
        error = "no pid file after start" + LogTail();
        return false;
    }
    return true;
}

void PulseDaemon::KillDaemon()
{
    // PipeWire's processes are ours to reap, the session manager and the pulse server first.
    for (auto pid = mChildren.rbegin(); pid != mChildren.rend(); ++pid) {
        kill(*pid, SIGTERM);
        const auto deadline = Clock::now() + std::chrono::seconds(5);
        int status = 0;
        while (waitpid(*pid, &status, WNOHANG) == 0 && Clock::now() < deadline)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        if (kill(*pid, 0) == 0) {
            kill(*pid, SIGKILL);
            waitpid(*pid, &status, 0);
        }
    }
    if (!mChildren.empty()) {
        mChildren.clear();
        mPid = 0;
        mPipeLoaded = false;
    }
    if (mPid <= 0)
        return;
    kill(mPid, SIGTERM);
    const auto deadline = Clock::now() + std::chrono::seconds(5);
    while (ProcessAlive(mPid) && Clock::now() < deadline)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    if (ProcessAlive(mPid))
        kill(mPid, SIGKILL);
    mPid = 0;
    mPipeLoaded = false;
}

bool PulseDaemon::Restart()
{
    if (!Running())
        return false;
    StopFeeding();
    KillDaemon();
    std::string error;
    if (!LaunchDaemon(error)) {
        mSkipReason = error;
        return false;
    }
    return LoadPipeSource();
}

void PulseDaemon::RestoreEnvironment()
{
    for (const auto& [name, value] : mSavedEnvironment) {
        if (value)
            setenv(name.c_str(), value->c_str(), 1);
        else
            unsetenv(name.c_str());
    }
    mSavedEnvironment.clear();
}

void PulseDaemon::Stop()
{
    StopFeeding();
    KillDaemon();
    RestoreEnvironment();
    if (!mRuntimeDir.empty()) {
        std::error_code ignored;
        std::filesystem::remove_all(mRuntimeDir, ignored);
        mRuntimeDir.clear();
    }
}

bool PulseDaemon::Pactl(const std::vector<std::string>& args, std::string* output) const
{
    if (mRuntimeDir.empty())
        return false;
    std::vector<std::string> command = {"pactl", "--server=" + ServerAddress()};
    command.insert(command.end(), args.begin(), args.end());
    const SpawnResult result = Run(command, {}, mRuntimeDir, std::chrono::seconds(20));
    if (output)
        *output = result.output;
    return result.started && result.status == 0;
}

bool PulseDaemon::LoadPipeSource()
{
    if (mPipeLoaded)
        return true;
    const bool loaded = Pactl({"load-module", "module-pipe-source", std::string("source_name=") + kSourceName,
                               "file='" + FifoPath() + "'", "format=float32le", "rate=48000", "channels=2",
                               "source_properties='device.product.name=\"USB Audio CODEC \" "
                               "device.description=\"USB Audio CODEC Analog Stereo\" device.bus=usb "
                               "device.vendor.id=08bb device.product.id=2902'"});
    mPipeLoaded = loaded;
    return loaded;
}

bool PulseDaemon::UnloadPipeSource()
{
    if (!mPipeLoaded)
        return true;
    const bool unloaded = Pactl({"unload-module", "module-pipe-source"});
    if (unloaded)
        mPipeLoaded = false;
    return unloaded;
}

void PulseDaemon::Feed(std::vector<float> interleaved, Pace pace)
{
    const std::uint64_t frames = interleaved.size() / kChannels;
    auto samples = std::make_shared<std::vector<float>>(std::move(interleaved));
    Feed([samples](std::uint64_t frame, unsigned channel) { return (*samples)[frame * kChannels + channel]; },
         frames, pace);
}

void PulseDaemon::Feed(Generator generator, std::uint64_t frames, Pace pace, Speed speed)
{
    StopFeeding();
    mStopFeeding = false;
    mFeedDone = false;
    mFramesFed = 0;
    {
        std::lock_guard lock(mFeedMutex);
        mFeedError.clear();
    }
    mFeeder = std::thread(
        [this, generator = std::move(generator), frames, pace, speed = std::move(speed)] {
            FeedLoop(generator, frames, pace, speed);
        });
}

void PulseDaemon::FeedLoop(Generator generator, std::uint64_t frames, Pace pace, const Speed& speed)
{
    auto fail = [this](std::string error) {
        std::lock_guard lock(mFeedMutex);
        mFeedError = std::move(error);
    };
    // Non-blocking, so a stop request is noticed while the pipe is full.
    const int fd = open(FifoPath().c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) {
        fail("cannot open " + FifoPath() + ": " + std::strerror(errno));
        return;
    }
    // 10 ms blocks in real time; larger ones when unpaced.
    const std::uint64_t block = pace == Pace::RealTime ? kRate / 100 : 4096;
    std::vector<float> samples(block * kChannels);
    timespec next{};
    clock_gettime(CLOCK_MONOTONIC, &next);

    std::uint64_t written = 0;
    while (written < frames && !mStopFeeding) {
        const std::uint64_t count = std::min(block, frames - written);
        for (std::uint64_t f = 0; f < count; ++f)
            for (unsigned c = 0; c < kChannels; ++c)
                samples[f * kChannels + c] = generator(written + f, c);

        const auto* bytes = reinterpret_cast<const char*>(samples.data());
        std::size_t left = count * kChannels * sizeof(float);
        while (left > 0 && !mStopFeeding) {
            const ssize_t n = write(fd, bytes, left);
            if (n > 0) {
                bytes += n;
                left -= std::size_t(n);
                continue;
            }
            if (n < 0 && errno == EAGAIN) {
                pollfd p{fd, POLLOUT, 0};
                poll(&p, 1, 50);
                continue;
            }
            if (n < 0 && errno == EINTR)
                continue;
            fail(std::string("writing the fifo: ") + std::strerror(errno));
            close(fd);
            return;
        }
        if (left > 0)
            break; // stopped mid-block
        written += count;
        mFramesFed = written;

        if (pace == Pace::RealTime) {
            const double times = speed ? speed(written) : 1.0;
            next.tv_nsec += long(double(count * 1'000'000'000ull / kRate) / times);
            while (next.tv_nsec >= 1'000'000'000) {
                next.tv_nsec -= 1'000'000'000;
                ++next.tv_sec;
            }
            while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &next, nullptr) == EINTR) {
            }
        }
    }
    close(fd);
    if (written == frames)
        mFeedDone = true;
}

bool PulseDaemon::WaitFed(std::chrono::milliseconds timeout)
{
    const auto deadline = Clock::now() + timeout;
    while (!mFeedDone && FeedError().empty() && Clock::now() < deadline)
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    return mFeedDone;
}

void PulseDaemon::StopFeeding()
{
    mStopFeeding = true;
    if (mFeeder.joinable())
        mFeeder.join();
}

std::string PulseDaemon::FeedError() const
{
    std::lock_guard lock(mFeedMutex);
    return mFeedError;
}

} // namespace Tolm::Test
