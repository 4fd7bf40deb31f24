#pragma once

// The plain Core Audio data types the engine is written against, defined here so that
// the recording and monitoring code keeps its familiar shape on Linux.

#include <cstdint>

using OSStatus = std::int32_t;
using UInt8 = std::uint8_t;
using UInt16 = std::uint16_t;
using UInt32 = std::uint32_t;
using SInt16 = std::int16_t;
using SInt32 = std::int32_t;
using UInt64 = std::uint64_t;
using SInt64 = std::int64_t;
using Float32 = float;
using Float64 = double;

using AudioDeviceID = UInt32;
using AudioFormatID = UInt32;
using AudioFormatFlags = UInt32;
using AudioFileTypeID = UInt32;

inline constexpr OSStatus noErr = 0;
inline constexpr AudioDeviceID kAudioDeviceUnknown = 0xFFFFFFFFu;

// 'abcd' as the big-endian 32-bit code Core Audio uses.
constexpr UInt32 FourCC(const char (&c)[5])
{
    return (UInt32(UInt8(c[0])) << 24) | (UInt32(UInt8(c[1])) << 16) | (UInt32(UInt8(c[2])) << 8) |
           UInt32(UInt8(c[3]));
}

inline constexpr AudioFormatID kAudioFormatLinearPCM = FourCC("lpcm");
inline constexpr AudioFileTypeID kAudioFileWAVEType = FourCC("WAVE");

inline constexpr AudioFormatFlags kAudioFormatFlagIsFloat = 1u << 0;
inline constexpr AudioFormatFlags kAudioFormatFlagIsBigEndian = 1u << 1;
inline constexpr AudioFormatFlags kAudioFormatFlagIsSignedInteger = 1u << 2;
inline constexpr AudioFormatFlags kAudioFormatFlagIsPacked = 1u << 3;
inline constexpr AudioFormatFlags kAudioFormatFlagIsNonInterleaved = 1u << 5;
inline constexpr AudioFormatFlags kAudioFormatFlagsNativeFloatPacked =
    kAudioFormatFlagIsFloat | kAudioFormatFlagIsPacked;

struct AudioStreamBasicDescription {
    Float64 mSampleRate;
    AudioFormatID mFormatID;
    AudioFormatFlags mFormatFlags;
    UInt32 mBytesPerPacket;
    UInt32 mFramesPerPacket;
    UInt32 mBytesPerFrame;
    UInt32 mChannelsPerFrame;
    UInt32 mBitsPerChannel;
    UInt32 mReserved;
};

struct AudioBuffer {
    UInt32 mNumberChannels;
    UInt32 mDataByteSize;
    void* mData;
};

// Variable length: mNumberBuffers entries follow. Allocate with CABufferList or
// AudioBufferListStorage, never by value for more than one buffer.
struct AudioBufferList {
    UInt32 mNumberBuffers;
    AudioBuffer mBuffers[1];
};

inline constexpr UInt32 kAudioTimeStampSampleTimeValid = 1u << 0;
inline constexpr UInt32 kAudioTimeStampHostTimeValid = 1u << 1;
inline constexpr UInt32 kAudioTimeStampRateScalarValid = 1u << 2;

struct AudioTimeStamp {
    Float64 mSampleTime;  // frames counted on the device's clock since its stream started
    UInt64 mHostTime;     // CLOCK_MONOTONIC nanoseconds
    Float64 mRateScalar;  // device clock rate against the host clock (1.0 = nominal)
    UInt32 mFlags;
};

// Statuses the platform layer returns (the Core Audio codes, so FormatError shows them as text).
inline constexpr OSStatus kAudioHardwareUnspecifiedError = OSStatus(FourCC("what"));
inline constexpr OSStatus kAudioHardwareNotRunningError = OSStatus(FourCC("stop"));
inline constexpr OSStatus kAudioHardwareBadDeviceError = OSStatus(FourCC("!dev"));
inline constexpr OSStatus kAudioHardwareBadStreamError = OSStatus(FourCC("!str"));
inline constexpr OSStatus kAudioHardwareIllegalOperationError = OSStatus(FourCC("nope"));
inline constexpr OSStatus kAudioDeviceUnsupportedFormatError = OSStatus(FourCC("!dat"));
