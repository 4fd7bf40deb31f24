// tolm-convert devices: the input and output devices as the program sees them, with the
// exact names that device matching compares.

#include "Command.h"
#include "CommandLine.h"
#include "platform/AudioHardware.h"
#include "platform/VirtualAudioHardware.h"

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

namespace Tolm::Convert {
namespace {

using Platform::AudioDeviceInfo;

// In double quotes, so that leading and trailing blanks show; quotes, backslashes and control
// characters escaped, so that one device stays one line whatever its name holds.
std::string Quoted(const std::string& text)
{
    std::string quoted = "\"";
    for (const unsigned char c : text) {
        if (c == '"' || c == '\\') {
            quoted += '\\';
            quoted += char(c);
        } else if (c < 0x20 || c == 0x7f) {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\x%02x", c);
            quoted += escape;
        } else {
            quoted += char(c);
        }
    }
    return quoted + "\"";
}

std::string Printable(const std::string& text)
{
    const std::string quoted = Quoted(text);
    return quoted.substr(1, quoted.size() - 2);
}

// Width on a terminal: UTF-8 continuation bytes take no column.
std::size_t Columns(const std::string& text)
{
    return std::size_t(std::count_if(text.begin(), text.end(), [](char c) { return (c & 0xC0) != 0x80; }));
}

std::string Padded(const std::string& text, std::size_t width)
{
    const std::size_t used = Columns(text);
    return text + std::string(width > used ? width - used : 0, ' ');
}

std::string Rate(double rate)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.0f Hz", rate);
    return text;
}

void PrintSection(const char* title, const std::vector<AudioDeviceInfo>& devices, bool input,
                  AudioDeviceID defaultId)
{
    std::vector<const AudioDeviceInfo*> shown;
    for (const auto& device : devices)
        if ((input ? device.inputChannels : device.outputChannels) > 0)
            shown.push_back(&device);
    std::printf("%s:\n", title);
    if (shown.empty()) {
        std::printf("  (none)\n");
        return;
    }
    std::size_t idWidth = 2, nameWidth = 4, descriptionWidth = 11;
    for (const auto* d : shown) {
        idWidth = std::max(idWidth, std::to_string(d->id).size());
        nameWidth = std::max(nameWidth, Columns(Quoted(d->name)));
        descriptionWidth = std::max(descriptionWidth, Columns(Printable(d->description)));
    }
    std::printf("    %s  %s  %s  CHANNELS       RATE  USB\n", Padded("ID", idWidth).c_str(),
                Padded("NAME", nameWidth).c_str(), Padded("DESCRIPTION", descriptionWidth).c_str());
    for (const auto* d : shown) {
        std::string usb;
        if (d->usb) {
            char ids[16];
            std::snprintf(ids, sizeof ids, "%04x:%04x", d->usb->vendorId, d->usb->productId);
            usb = ids;
        }
        char columns[64];
        std::snprintf(columns, sizeof columns, "%8u  %9s", input ? d->inputChannels : d->outputChannels,
                      Rate(d->nominalSampleRate).c_str());
        std::string line = std::string("  ") + (d->id == defaultId ? '*' : ' ') + ' ' +
                           Padded(std::to_string(d->id), idWidth) + "  " +
                           Padded(Quoted(d->name), nameWidth) + "  " +
                           Padded(Printable(d->description), descriptionWidth) + "  " + columns + "  " + usb;
        while (line.back() == ' ')
            line.pop_back();
        std::printf("%s\n", line.c_str());
    }
}

int RunDevices(const std::vector<std::string>& args)
{
    ArgumentParser parser("devices", args);
    const auto positionals = parser.Positionals();
    if (!positionals)
        return kExitBadInput;
    if (!positionals->empty()) {
        parser.Error("takes no arguments");
        return kExitBadInput;
    }

    Platform::AudioHardware& hardware = Platform::Hardware();
    if (dynamic_cast<Platform::VirtualAudioHardware*>(&hardware))
        std::fprintf(stderr,
                     "tolm-convert devices: no sound server answers; only a null output is available\n");
    const auto devices = hardware.Devices();
    PrintSection("Input devices", devices, true, hardware.DefaultInputDevice());
    std::printf("\n");
    PrintSection("Output devices", devices, false, hardware.DefaultOutputDevice());
    std::printf("\n* default device\n");
    return kExitOk;
}

const Registration reg{{"devices", "list the audio input and output devices", "devices", &RunDevices}};

} // namespace
} // namespace Tolm::Convert
