#pragma once

// Finding the input device a command was asked for, and the demo turntable for --demo.

#include "capture/DemoTurntable.h"
#include "platform/AudioHardware.h"

#include <cstdio>
#include <memory>
#include <optional>
#include <string>

namespace Tolm::Convert {

// The name as the hardware reports it, then the description the user is shown; trailing
// blanks (some USB codecs pad their names) may be left out.
std::optional<Platform::AudioDeviceInfo> FindInputDevice(const std::string& name);

// What the user recognises: the description the sound server shows, else the name.
std::string ShownName(const Platform::AudioDeviceInfo& info);

// One indented line per input device.
void ListInputDevices(std::FILE* to);

// The demo turntable on the sound server's devices where one answers (a null output where
// none does). It must outlive whatever is built on it.
std::unique_ptr<Capture::DemoTurntable> InstallDemoTurntable();

} // namespace Tolm::Convert
