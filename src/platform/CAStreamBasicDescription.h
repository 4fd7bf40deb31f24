#pragma once

#include "platform/CoreAudioTypes.h"

#include <string>

// An AudioStreamBasicDescription with the questions the engine asks of a format.
class CAStreamBasicDescription : public AudioStreamBasicDescription {
  public:
    CAStreamBasicDescription() : AudioStreamBasicDescription{} {}
    CAStreamBasicDescription(const AudioStreamBasicDescription& desc) : AudioStreamBasicDescription(desc) {}

    // Packed linear PCM 32-bit float, native endian.
    static CAStreamBasicDescription Float32(Float64 sampleRate, UInt32 channels, bool interleaved);

    bool IsPCM() const { return mFormatID == kAudioFormatLinearPCM; }
    bool IsFloat() const { return IsPCM() && (mFormatFlags & kAudioFormatFlagIsFloat) != 0; }
    bool IsSignedInteger() const { return IsPCM() && (mFormatFlags & kAudioFormatFlagIsSignedInteger) != 0; }
    bool IsBigEndian() const { return (mFormatFlags & kAudioFormatFlagIsBigEndian) != 0; }
    bool IsInterleaved() const { return !IsPCM() || (mFormatFlags & kAudioFormatFlagIsNonInterleaved) == 0; }

    UInt32 NumberChannels() const { return mChannelsPerFrame; }
    // Buffers in an AudioBufferList of this format: one per channel when non-interleaved.
    UInt32 NumberChannelStreams() const { return IsInterleaved() ? 1 : mChannelsPerFrame; }
    // Channels within each of those buffers.
    UInt32 NumberInterleavedChannels() const { return IsInterleaved() ? mChannelsPerFrame : 1; }
    // Bytes of one sample; 0 when the format does not say.
    UInt32 SampleWordSize() const;

    UInt32 FramesToBytes(UInt32 frames) const { return frames * mBytesPerFrame; }
    UInt32 BytesToFrames(UInt32 bytes) const { return mBytesPerFrame == 0 ? 0 : bytes / mBytesPerFrame; }

    // Exact comparison of every field but mReserved.
    bool operator==(const CAStreamBasicDescription& other) const;

    // For diagnostics: "2 ch, 48000 Hz, 'lpcm' (0x00000029) 32-bit little-endian float, deinterleaved".
    std::string AsString() const;
};
