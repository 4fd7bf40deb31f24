// tolm-convert monitor: hear an input device through the default output while watching its
// level, as the wizard's level panel does.

#include "Command.h"
#include "CommandLine.h"

#include "InputDevices.h"
#include "capture/InputChain.h"
#include "monitoring/CAPlayThroughHost.h"
#include "platform/AudioHardware.h"

#include <chrono>
#include <cstdio>
#include <memory>
#include <string>
#include <thread>

namespace Tolm::Convert {
namespace {

using namespace std::chrono_literals;
using Platform::AudioDeviceInfo;

constexpr auto kMeterInterval = std::chrono::milliseconds(1000 / 15);

std::string MeterText(const char* channel, float peak)
{
    return std::string(channel) + " " + LevelBar(peak) + " " + PeakDecibels(peak) + (peak >= 1.0f ? " CLIP" : "     ");
}

int RunMonitor(const std::vector<std::string>& args)
{
    ArgumentParser parser("monitor", args);
    const bool demo = parser.Flag("demo");
    const auto deviceName = parser.Value("device");
    float gainDb = 0.0f;
    double seconds = 0.0; // 0: until stopped
    if (!TakeGainOption(parser, gainDb) || !TakeSecondsOption(parser, seconds))
        return kExitBadInput;
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

    std::unique_ptr<Capture::DemoTurntable> turntable;
    AudioDeviceInfo inputInfo;
    if (demo) {
        turntable = InstallDemoTurntable();
        Platform::Hardware().GetDevice(turntable->DeviceId(), inputInfo);
    } else if (const auto found = FindInputDevice(*deviceName)) {
        inputInfo = *found;
    } else {
        parser.Error("no input device is called \"" + *deviceName + "\"");
        std::fprintf(stderr, "Input devices:\n");
        ListInputDevices(stderr);
        return kExitBadInput;
    }
    const AudioDeviceID input = inputInfo.id;

    AudioDeviceInfo outputInfo;
    const AudioDeviceID output = Platform::Hardware().DefaultOutputDevice();
    if (output == kAudioDeviceUnknown || Platform::Hardware().GetDevice(output, outputInfo) != noErr) {
        parser.Error("there is no output device to play to");
        return kExitFailed;
    }

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
        parser.Error(std::string("cannot play \"") + ShownName(inputInfo) + "\" through \"" + ShownName(outputInfo) + "\"");
        return kExitFailed;
    }
    std::fprintf(stderr, "Playing %s through %s%s\n", ShownName(inputInfo).c_str(), ShownName(outputInfo).c_str(),
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

const Registration registration{
    {"monitor",
     "play an input through the speakers with live level meters",
     "monitor --device NAME|--demo [--gain DB] [--seconds S]",
     &RunMonitor,
     {DeviceOption(
          "Listen to the input device called NAME, as \"tolm-convert devices\" lists it (its name or "
          "its description)."),
      DemoOption(), GainOption(), SecondsOption()}}};

} // namespace
} // namespace Tolm::Convert
