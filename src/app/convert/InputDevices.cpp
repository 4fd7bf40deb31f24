#include "InputDevices.h"

#include "platform/PulseAudioHardware.h"

#include <algorithm>
#include <cstdlib>

namespace Tolm::Convert {

namespace {

std::string TrimTrailingBlanks(std::string s)
{
    while (!s.empty() && s.back() == ' ')
        s.pop_back();
    return s;
}

} // namespace

std::optional<Platform::AudioDeviceInfo> FindInputDevice(const std::string& name)
{
    const auto devices = Platform::Hardware().Devices();
    auto find = [&](auto matches) -> std::optional<Platform::AudioDeviceInfo> {
        for (const auto& d : devices) {
            if (d.inputChannels > 0 && matches(d))
                return d;
        }
        return std::nullopt;
    };
    if (auto d = find([&](const auto& d) { return d.name == name; }))
        return d;
    if (auto d = find([&](const auto& d) { return d.description == name; }))
        return d;
    return find([&](const auto& d) { return TrimTrailingBlanks(d.name) == TrimTrailingBlanks(name); });
}

std::string ShownName(const Platform::AudioDeviceInfo& info)
{
    return info.description.empty() ? info.name : info.description;
}

void ListInputDevices(std::FILE* to)
{
    for (const auto& info : Platform::Hardware().Devices()) {
        if (info.inputChannels > 0)
            std::fprintf(to, "  %s\n", ShownName(info).c_str());
    }
}

std::unique_ptr<Capture::DemoTurntable> InstallDemoTurntable()
{
    // TOLM_DEMO_SPEED plays the demo side faster than real time (tests, quick looks).
    double speed = 1.0;
    if (const char* text = std::getenv("TOLM_DEMO_SPEED"))
        speed = std::clamp(std::atof(text), 1.0, 100.0);
    auto turntable = std::make_unique<Capture::DemoTurntable>(
        Platform::PulseAudioHardware::Connect(), nullptr, Capture::DemoTurntable::Kind::OwnPreamp, 44100.0,
        Platform::VirtualAudioHardware::Clock::RealTime, speed);
    turntable->Install();
    return turntable;
}

} // namespace Tolm::Convert
