#include "CommandLine.h"

#include "platform/CADecibels.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <unistd.h>

namespace Tolm::Convert {

namespace {

std::uint64_t NowNanos()
{
    timespec ts{};
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return std::uint64_t(ts.tv_sec) * 1'000'000'000u + std::uint64_t(ts.tv_nsec);
}

} // namespace

std::optional<double> ParseNumber(const std::string& text)
{
    if (text.empty())
        return std::nullopt;
    char* end = nullptr;
    const double value = std::strtod(text.c_str(), &end);
    if (end != text.c_str() + text.size() || !std::isfinite(value))
        return std::nullopt;
    return value;
}

bool TakeGainOption(ArgumentParser& parser, float& gainDb)
{
    const auto text = parser.Value("gain");
    if (!text)
        return true;
    const auto value = ParseNumber(*text);
    if (!value || *value < -60.0 || *value > 40.0) {
        parser.Error("--gain takes decibels from -60 to 40, not \"" + *text + "\"");
        return false;
    }
    gainDb = float(*value);
    return true;
}

bool TakeSecondsOption(ArgumentParser& parser, double& seconds)
{
    const auto text = parser.Value("seconds");
    if (!text)
        return true;
    const auto value = ParseNumber(*text);
    if (!value || !(*value > 0.0)) {
        parser.Error("--seconds takes a positive number, not \"" + *text + "\"");
        return false;
    }
    seconds = *value;
    return true;
}

CommandOption GainOption()
{
    return {"gain", "DB", "Amplify (or, below 0, soften) the input by DB decibels, from -60 to 40.", "0"};
}

CommandOption SecondsOption()
{
    return {"seconds", "S", "Stop after S seconds.", "until Ctrl-C"};
}

CommandOption DeviceOption(const char* description)
{
    return {"device", "NAME", description, nullptr, "<device>"};
}

CommandOption DemoOption()
{
    return {"demo", nullptr,
            "Use the built-in demo turntable instead of a device: it plays a generated record side "
            "(six pieces, then the run-out groove)."};
}

bool StandardErrorIsTerminal() { return isatty(STDERR_FILENO) == 1; }

ProgressBar::ProgressBar(std::string label, bool enabled) : mLabel(std::move(label)), mEnabled(enabled) {}

ProgressBar::~ProgressBar() { Finish(); }

void ProgressBar::Update(double fraction)
{
    if (!mEnabled || mFinished)
        return;
    fraction = std::clamp(fraction, 0.0, 1.0);
    const int permille = int(fraction * 1000.0);
    const std::uint64_t now = NowNanos();
    if (permille == mLastPermille || (permille < 1000 && now - mLastDrawNanos < 100'000'000u))
        return;
    mLastPermille = permille;
    mLastDrawNanos = now;
    constexpr int kWidth = 30;
    const int filled = int(fraction * kWidth);
    std::string bar(size_t(filled), '#');
    bar.append(size_t(kWidth - filled), '-');
    std::fprintf(stderr, "\r%s [%s] %5.1f%%", mLabel.c_str(), bar.c_str(), fraction * 100.0);
    std::fflush(stderr);
}

void ProgressBar::Finish()
{
    if (!mEnabled || mFinished)
        return;
    mFinished = true;
    if (mLastPermille >= 0) {
        std::fputc('\n', stderr);
        std::fflush(stderr);
    }
}

StatusLine::StatusLine(bool terminal) : mTerminal(terminal) {}

StatusLine::~StatusLine() { End(); }

void StatusLine::Show(const std::string& text)
{
    if (mTerminal) {
        std::fprintf(stderr, "\r\033[K%s", text.c_str());
        std::fflush(stderr);
        mOpen = true;
        return;
    }
    const std::uint64_t now = NowNanos();
    if (mLastPlainNanos != 0 && now - mLastPlainNanos < 1'000'000'000u)
        return;
    mLastPlainNanos = now;
    std::fprintf(stderr, "%s\n", text.c_str());
}

void StatusLine::End()
{
    if (mTerminal && mOpen) {
        std::fputc('\n', stderr);
        std::fflush(stderr);
    }
    mOpen = false;
}

std::string LevelBar(float peakLinear, int width)
{
    const double db = peakLinear > 0.0f ? ampdb(peakLinear) : -1000.0;
    const double fraction = std::clamp((db + 60.0) / 60.0, 0.0, 1.0);
    const int filled = int(std::lround(fraction * width));
    std::string bar = "[";
    bar.append(size_t(filled), '#');
    bar.append(size_t(width - filled), '-');
    bar += db >= 0.0 ? "]!" : "] ";
    return bar;
}

std::string PeakDecibels(float peakLinear)
{
    if (!(peakLinear > 0.0f))
        return "  -inf dB";
    char text[32];
    std::snprintf(text, sizeof text, "%6.1f dB", ampdb(peakLinear));
    return text;
}

std::string FormatMinutesSeconds(double seconds)
{
    if (!(seconds >= 0.0))
        seconds = 0.0;
    // Round to tenths first so 59.96 s shows as 1:00.0, not 0:60.0.
    const long long tenths = std::llround(seconds * 10.0);
    char text[32];
    std::snprintf(text, sizeof text, "%lld:%02lld.%lld", tenths / 600, (tenths / 10) % 60, tenths % 10);
    return text;
}

namespace {
std::atomic<int> gStopRequests{0};

void OnStopSignal(int)
{
    if (gStopRequests.fetch_add(1) >= 1)
        _exit(130);
}
} // namespace

void InstallStopRequestHandler()
{
    struct sigaction action {};
    action.sa_handler = OnStopSignal;
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

bool StopRequested() { return gStopRequests.load() > 0; }

} // namespace Tolm::Convert
