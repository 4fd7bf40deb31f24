// tolm-convert monitor: hear an input device through the default output while watching its
// level, as the wizard's level panel does.

#include "Command.h"
#include "CommandLine.h"

#include "capture/DemoTurntable.h"
#include "capture/InputChain.h"
#include "monitoring/CAPlayThroughHost.h"
#include "platform/AudioHardware.h"
#include "platform/PulseAudioHardware.h"

#include <chrono>
#include <cmath>
#include <cstdio>
#include <memory>
#include <string>
#include <thread>

namespace Tolm::Convert {
namespace {

using namespace std::chrono_literals;
using Platform::AudioDeviceInfo;

constexpr auto kMeterInterval = std::chrono::milliseconds(1000 / 15);

const char* Shown(const AudioDeviceInfo& info)
{
    return info.description.empty() ? info.name.c_str() : info.description.c_str();
}

// The name people see or the hardware's own name, exactly; trailing blanks are forgiven
// since hardware names sometimes carry them and people never type them.
bool NameMatches(const AudioDeviceInfo& info, const std::string& wanted)
{
    auto trimmed = [](std::string s) {
        while (!s.empty() && s.back() == ' ')
            s.pop_back();
        return s;
    };
    return info.description == wanted || info.name == wanted || trimmed(info.name) == trimmed(wanted);
}

std::string Decibels(float peak)
{
    if (peak <= 0.0f)
        return "  -inf dB";
    char text[32];
    std::snprintf(text, sizeof text, "%6.1f dB", 20.0 * std::log10(double(peak)));
    return text;
}

std::string MeterText(const char* channel, float peak)
{
    return std::string(channel) + " " + LevelBar(peak) + " " + Decibels(peak) + (peak >= 1.0f ? " CLIP" : "     ");
}

int RunMonitor(const std::vector<std::string>& args)
{
    ArgumentParser parser("monitor", args);
    const bool demo = parser.Flag("demo");
    const auto deviceName = parser.Value("device");
    const auto gainText = parser.Value("gain");
    const auto secondsText = parser.Value("seconds");
    const auto rest = parser.Positionals();
    if (!rest)
        return kExitBadInput;
    if (!rest->empty()) {
        parser.Error("unexpected argument \"" + rest->front() + "\"");
        return kExitBadInput;
    }
    if (demo == deviceName.has_value()) {
        parser.Error("give either --device NAME or --demo");
        return kExitBadInput;
    }
    float gainDb = 0.0f;
    if (gainText) {
        const auto value = ParseNumber(*gainText);
        if (!value || !std::isfinite(*value) || *value < -96.0 || *value > 40.0) {
            parser.Error("--gain takes decibels from -96 to 40, not \"" + *gainText + "\"");
            return kExitBadInput;
        }
        gainDb = float(*value);
    }
    double seconds = 0.0;  // 0: until stopped
    if (secondsText) {
        const auto value = ParseNumber(*secondsText);
        if (!value || !std::isfinite(*value) || *value <= 0.0) {
            parser.Error("--seconds takes a positive number, not \"" + *secondsText + "\"");
            return kExitBadInput;
        }
        seconds = *value;
    }

    // The demo turntable sits on the user's own devices (a null output without a sound
    // server) and must outlive the play-through built on it.
    std::unique_ptr<Capture::DemoTurntable> turntable;
    AudioDeviceID input = kAudioDeviceUnknown;
    if (demo) {
        turntable = std::make_unique<Capture::DemoTurntable>(Platform::PulseAudioHardware::Connect(), nullptr);
        turntable->Install();
        input = turntable->DeviceId();
    } else {
        const auto devices = Platform::Hardware().Devices();
        for (const auto& info : devices)
            if (info.inputChannels > 0 && NameMatches(info, *deviceName)) {
                input = info.id;
                break;
            }
        if (input == kAudioDeviceUnknown) {
            parser.Error("no input device is called \"" + *deviceName + "\"");
            std::fprintf(stderr, "Input devices:\n");
            for (const auto& info : devices)
                if (info.inputChannels > 0)
                    std::fprintf(stderr, "  %s\n", Shown(info));
            return kExitBadInput;
        }
    }

    AudioDeviceInfo inputInfo;
    AudioDeviceInfo outputInfo;
    const AudioDeviceID output = Platform::Hardware().DefaultOutputDevice();
    if (output == kAudioDeviceUnknown || Platform::Hardware().GetDevice(output, outputInfo) != noErr) {
        parser.Error("there is no output device to play to");
        return kExitFailed;
    }
    Platform::Hardware().GetDevice(input, inputInfo);

    Monitoring::CAPlayThroughHost host(input, output);
    // A rebuilt engine (the input's format changed) starts with unity gain and no meters.
    unsigned configuredBuild = 0;
    auto configure = [&](Monitoring::CAPlayThrough& engine, unsigned build) {
        if (build == configuredBuild)
            return;
        engine.SetInputGain(gainDb);
        engine.inputHook = &Capture::InputProcCallback;
        configuredBuild = build;
    };
    host.WithEngine(configure);
    Capture::GetVUMaxL();
    Capture::GetVUMaxR();
    InstallStopRequestHandler();
    if (host.Start() != noErr) {
        parser.Error(std::string("cannot play \"") + Shown(inputInfo) + "\" through \"" + Shown(outputInfo) + "\"");
        return kExitFailed;
    }
    std::fprintf(stderr, "Playing %s through %s%s\n", Shown(inputInfo), Shown(outputInfo),
                 seconds > 0.0 ? "" : " (Ctrl-C stops)");

    StatusLine status;
    const auto start = std::chrono::steady_clock::now();
    auto next = start;
    for (;;) {
        next += kMeterInterval;
        std::this_thread::sleep_until(next);
        host.WithEngine(configure);
        const double elapsed = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        // Read and clear: each reading is the peak since the one before.
        const float left = Capture::GetVUMaxL();
        const float right = Capture::GetVUMaxR();
        status.Show(MeterText("L", left) + "  " + MeterText("R", right) + "  " + FormatMinutesSeconds(elapsed));
        if (StopRequested() || (seconds > 0.0 && elapsed >= seconds))
            break;
    }
    host.Stop();
    status.End();
    return kExitOk;
}

const Registration registration{{"monitor", "play an input through the speakers with live level meters",
                                 "monitor --device NAME|--demo [--gain DB] [--seconds S]", &RunMonitor}};

} // namespace
} // namespace Tolm::Convert
