#include "platform/CAStreamBasicDescription.h"

#include "platform/CAXException.h"

#include <cstdio>

CAStreamBasicDescription CAStreamBasicDescription::Float32(Float64 sampleRate, UInt32 channels,
                                                           bool interleaved)
{
    CAStreamBasicDescription format;
    format.mSampleRate = sampleRate;
    format.mFormatID = kAudioFormatLinearPCM;
    format.mFormatFlags = kAudioFormatFlagsNativeFloatPacked;
    format.mChannelsPerFrame = channels;
    format.mBitsPerChannel = 32;
    format.mFramesPerPacket = 1;
    if (interleaved) {
        format.mBytesPerFrame = 4 * channels;
    } else {
        format.mFormatFlags |= kAudioFormatFlagIsNonInterleaved;
        format.mBytesPerFrame = 4;
    }
    format.mBytesPerPacket = format.mBytesPerFrame;
    return format;
}

UInt32 CAStreamBasicDescription::SampleWordSize() const
{
    const UInt32 channels = NumberInterleavedChannels();
    if (mBytesPerFrame == 0 || channels == 0)
        return 0;
    return mBytesPerFrame / channels;
}

bool CAStreamBasicDescription::operator==(const CAStreamBasicDescription& other) const
{
    return mSampleRate == other.mSampleRate && mFormatID == other.mFormatID &&
           mFormatFlags == other.mFormatFlags && mBytesPerPacket == other.mBytesPerPacket &&
           mFramesPerPacket == other.mFramesPerPacket && mBytesPerFrame == other.mBytesPerFrame &&
           mChannelsPerFrame == other.mChannelsPerFrame && mBitsPerChannel == other.mBitsPerChannel;
}

std::string CAStreamBasicDescription::AsString() const
{
    char text[160];
    int n = std::snprintf(text, sizeof text, "%u ch, %.0f Hz, %s (0x%08X)", mChannelsPerFrame, mSampleRate,
                          CAXException::FormatError(OSStatus(mFormatID)).c_str(), mFormatFlags);
    if (IsPCM() && n > 0 && std::size_t(n) < sizeof text) {
        std::snprintf(text + n, sizeof text - std::size_t(n), " %u-bit %s %s, %s", mBitsPerChannel,
                      IsBigEndian() ? "big-endian" : "little-endian",
                      IsFloat() ? "float" : (IsSignedInteger() ? "signed integer" : "unsigned integer"),
                      IsInterleaved() ? "interleaved" : "deinterleaved");
    }
    return text;
}
