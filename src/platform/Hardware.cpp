#include "platform/AudioHardware.h"
#include "platform/PulseAudioHardware.h"
#include "platform/VirtualAudioHardware.h"

#include <mutex>

namespace Tolm::Platform {
namespace {

std::mutex gMutex;
std::shared_ptr<AudioHardware> gHardware;

// Without a sound server the program still runs: monitoring plays into a null output.
std::shared_ptr<AudioHardware> MakeDefaultHardware()
{
    if (auto pulse = PulseAudioHardware::Connect())
        return pulse;
    auto hardware = std::make_shared<VirtualAudioHardware>(VirtualAudioHardware::Clock::RealTime);
    VirtualDeviceSpec output;
    output.name = "Null Output";
    output.outputChannels = 2;
    output.sampleRate = 48000.0;
    hardware->SetDefaultOutputDevice(hardware->AddDevice(output));
    return hardware;
}

} // namespace

AudioHardware& Hardware()
{
    std::lock_guard lock(gMutex);
    if (!gHardware)
        gHardware = MakeDefaultHardware();
    return *gHardware;
}

void SetHardware(std::shared_ptr<AudioHardware> hardware)
{
    std::lock_guard lock(gMutex);
    gHardware = std::move(hardware);
}

} // namespace Tolm::Platform
