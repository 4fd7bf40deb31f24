#pragma once

// One audio device seen from one direction: the properties the play-through engine and the
// device lists need, read from the process-wide audio hardware.

#include "platform/CoreAudioTypes.h"

namespace Tolm::Platform {

class AudioDevice {
public:
    AudioDevice() = default;
    AudioDevice(AudioDeviceID id, bool isInput) { Init(id, isInput); }

    // Reads the safety offset, buffer size and stream format in the given direction. An id
    // of 0 means no device and leaves the fields zeroed; unreadable properties stay zero.
    void Init(AudioDeviceID id, bool isInput);

    // Streams choose their own buffer size here, so the device keeps its own: this reads
    // back what the device uses and returns the status of that read.
    OSStatus SetBufferSize(UInt32 frames);
    // Channels in this direction; 0 when the device cannot be read.
    int CountChannels() const;
    // The hardware's name, cut to `size` bytes with its terminator (never inside a UTF-8
    // character); empty when the device cannot be read.
    char* GetName(char* buffer, UInt32 size) const;

    bool Valid() const { return deviceId != 0; }

    AudioDeviceID deviceId = 0;
    bool isInput = false;
    UInt32 safetyOffsetFrames = 0;
    UInt32 bufferFrames = 0;
    AudioStreamBasicDescription streamFormat{};
};

} // namespace Tolm::Platform
