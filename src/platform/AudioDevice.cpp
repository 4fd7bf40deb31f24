#include "platform/AudioDevice.h"

#include "platform/AudioHardware.h"

#include <algorithm>
#include <cstring>

namespace Tolm::Platform {

void AudioDevice::Init(AudioDeviceID id, bool input)
{
    deviceId = id;
    isInput = input;
    safetyOffsetFrames = 0;
    bufferFrames = 0;
    streamFormat = {};
    if (id == 0)
        return;

    AudioDeviceInfo info;
    if (Hardware().GetDevice(id, info) != noErr)
        return;
    safetyOffsetFrames = info.safetyOffsetFrames;
    bufferFrames = info.bufferFrames;
    // The device side as the hardware layer presents it: interleaved 32-bit float.
    const UInt32 channels = input ? info.inputChannels : info.outputChannels;
    streamFormat.mSampleRate = info.nominalSampleRate;
    streamFormat.mFormatID = kAudioFormatLinearPCM;
    streamFormat.mFormatFlags = kAudioFormatFlagsNativeFloatPacked;
    streamFormat.mBytesPerFrame = 4 * channels;
    streamFormat.mFramesPerPacket = 1;
    streamFormat.mBytesPerPacket = streamFormat.mBytesPerFrame;
    streamFormat.mChannelsPerFrame = channels;
    streamFormat.mBitsPerChannel = 32;
}

OSStatus AudioDevice::SetBufferSize(UInt32 /*frames*/)
{
    AudioDeviceInfo info;
    const OSStatus status = Hardware().GetDevice(deviceId, info);
    if (status == noErr)
        bufferFrames = info.bufferFrames;
    return status;
}

int AudioDevice::CountChannels() const
{
    AudioDeviceInfo info;
    if (deviceId == 0 || Hardware().GetDevice(deviceId, info) != noErr)
        return 0;
    return int(isInput ? info.inputChannels : info.outputChannels);
}

char* AudioDevice::GetName(char* buffer, UInt32 size) const
{
    if (buffer == nullptr || size == 0)
        return buffer;
    AudioDeviceInfo info;
    if (deviceId == 0 || Hardware().GetDevice(deviceId, info) != noErr) {
        buffer[0] = '\0';
        return buffer;
    }
    std::size_t length = std::min<std::size_t>(info.name.size(), size - 1);
    // Back off continuation bytes so a cut name is still valid UTF-8.
    if (length < info.name.size())
        while (length > 0 && (static_cast<unsigned char>(info.name[length]) & 0xC0) == 0x80)
            --length;
    std::memcpy(buffer, info.name.data(), length);
    buffer[length] = '\0';
    return buffer;
}

} // namespace Tolm::Platform
