#include "monitoring/CAPlayThrough.h"

#include "base/SystemLog.h"
#include "platform/CAStreamBasicDescription.h"
#include "platform/GainStage.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <samplerate.h>

namespace Tolm::Monitoring {

namespace {

// Frames the resampler takes from the ring per pull: small, because whatever it has pulled
// but not yet played must already be in the ring.
constexpr UInt32 kPullFrames = 64;
// The ring holds this many device buffers.
constexpr UInt32 kRingBuffers = 20;
// Rate scalars from a clock estimate that has not settled yet can be far off; real clocks
// are within a fraction of a percent of each other.
constexpr Float64 kMaxRateCorrection = 0.05;

// Blocks of under 3 ms (128 frames at 44.1 and 48 kHz): the latency a listener hears is a
// few blocks on each side.
UInt32 MonitorBlockFrames(Float64 rate)
{
    UInt32 frames = 32;
    while (frames < rate / 400.0)
        frames <<= 1;
    return frames;
}

void ReportError(OSStatus status, const char* file, int line)
{
    Tolm::SystemLog::Print("CAPlayThrough Error: %ld ->  %s:  %d\n", long(status), file, line);
}

} // namespace

// Set-up only: never on a real-time thread, where nothing may be printed.
#define checkErr(expr)                                       \
    do {                                                     \
        if (const OSStatus status_ = (expr); status_ != noErr) { \
            ReportError(status_, __FILE__, __LINE__);        \
            return status_;                                  \
        }                                                    \
    } while (false)

void CAPlayThrough::VarispeedDeleter::operator()(SRC_STATE_tag* state) const
{
    src_delete(state);
}

CAPlayThrough::CAPlayThrough(AudioDeviceID input, AudioDeviceID output)
{
    if (Init(input, output) != noErr) {
        std::fprintf(stderr, "CAPlayThrough ERROR: Cannot Init CAPlayThrough");
        std::fflush(stderr);
        std::exit(1);
    }
}

CAPlayThrough::~CAPlayThrough()
{
    Cleanup();
}

OSStatus CAPlayThrough::Init(AudioDeviceID input, AudioDeviceID output)
{
    checkErr(SetupAUHAL(input));
    checkErr(SetupGraph(output));
    checkErr(SetupBuffers());
    inToOutOffset.store(ComputeThruOffset(), std::memory_order_relaxed);
    return noErr;
}

void CAPlayThrough::Cleanup()
{
    Stop();
    mOutputStream.reset();
    mInputStream.reset();
    mVarispeed.reset();
    inputBuffer.reset();
    mPullBuffer.reset();
    ring.Deallocate();
}

// The input side: a capture stream on the input device, calling InputProc.
OSStatus CAPlayThrough::SetupAUHAL(AudioDeviceID input)
{
    return SetInputDeviceAsCurrent(input);
}

OSStatus CAPlayThrough::SetInputDeviceAsCurrent(AudioDeviceID input)
{
    if (input == 0)
        input = Platform::Hardware().DefaultInputDevice();
    if (input == 0 || input == kAudioDeviceUnknown)
        checkErr(kAudioHardwareBadDeviceError);
    mInputDevice.Init(input, true);
    checkErr(Platform::Hardware().OpenInputStream(input, &InputProc, this, mInputStream));
    return noErr;
}

// The output side: a playback stream on the output device, fed by the resampler.
OSStatus CAPlayThrough::SetupGraph(AudioDeviceID output)
{
    return SetOutputDeviceAsCurrent(output);
}

OSStatus CAPlayThrough::SetOutputDeviceAsCurrent(AudioDeviceID output)
{
    if (output == 0)
        output = Platform::Hardware().DefaultOutputDevice();
    if (output == 0 || output == kAudioDeviceUnknown)
        checkErr(kAudioHardwareBadDeviceError);
    mOutputDevice.Init(output, false);
    checkErr(Platform::Hardware().OpenOutputStream(output, &OutputDeviceProc, this, mOutputStream));
    return noErr;
}

// The varispeed stage between the ring and the output.
OSStatus CAPlayThrough::MakeGraph(UInt32 channels)
{
    int error = 0;
    mVarispeed.reset(src_callback_new(&VarispeedPull, SRC_SINC_FASTEST, int(channels), &error, this));
    if (!mVarispeed)
        checkErr(kAudioHardwareUnspecifiedError);
    return noErr;
}

OSStatus CAPlayThrough::SetupBuffers()
{
    const CAStreamBasicDescription inputSide = mInputStream->DeviceFormat();
    const CAStreamBasicDescription outputSide = mOutputStream->DeviceFormat();
    mChannels = std::min(inputSide.NumberChannels(), outputSide.NumberChannels());
    if (mChannels == 0)
        checkErr(kAudioDeviceUnsupportedFormatError);

    // Each side runs at its own device's rate; the resampler converts between them.
    Float64 inputRate = mInputDevice.streamFormat.mSampleRate;
    Float64 outputRate = mOutputDevice.streamFormat.mSampleRate;
    if (inputRate <= 0.0)
        inputRate = inputSide.mSampleRate;
    if (outputRate <= 0.0)
        outputRate = outputSide.mSampleRate;
    if (!(inputRate > 0.0) || !(outputRate > 0.0))
        checkErr(kAudioDeviceUnsupportedFormatError);
    checkErr(mInputStream->SetClientFormat(CAStreamBasicDescription::Float32(inputRate, mChannels, false)));
    checkErr(mOutputStream->SetClientFormat(CAStreamBasicDescription::Float32(outputRate, mChannels, false)));
    mNominalRatio = outputRate / inputRate;
    checkErr(MakeGraph(mChannels));

    // The devices run with less latency once our streams ask for small blocks: read them
    // again, so that the through offset is what the streams use.
    checkErr(mInputStream->SetBufferFrames(MonitorBlockFrames(inputRate)));
    checkErr(mOutputStream->SetBufferFrames(MonitorBlockFrames(outputRate)));
    mInputDevice.Init(mInputDevice.deviceId, true);
    mOutputDevice.Init(mOutputDevice.deviceId, false);

    mInputBufferFrames = mInputStream->BufferFrames();
    if (mInputBufferFrames == 0)
        checkErr(kAudioDeviceUnsupportedFormatError);
    inputBuffer = std::make_unique<CABufferList>("inputBuffer", mChannels);
    inputBuffer->AllocateBuffers(mInputBufferFrames * sizeof(float));

    mPullBuffer = std::make_unique<CABufferList>("pullBuffer", mChannels);
    mPullBuffer->AllocateBuffers(kPullFrames * sizeof(float));
    mPullInterleaved.assign(std::size_t(kPullFrames) * mChannels, 0.0f);
    mOutputChunkFrames = std::max<UInt32>(mOutputStream->BufferFrames(), kPullFrames);
    mOutputInterleaved.assign(std::size_t(mOutputChunkFrames) * mChannels, 0.0f);

    ring.Allocate(int(mChannels), sizeof(float), kRingBuffers * mInputBufferFrames);
    mInputTimelineOrigin = SInt64(ring.CapacityFrames());
    return noErr;
}

Float64 CAPlayThrough::ComputeThruOffset() const
{
    return Float64(mInputDevice.safetyOffsetFrames) + Float64(mInputDevice.bufferFrames) +
           Float64(mOutputDevice.safetyOffsetFrames) + Float64(mOutputDevice.bufferFrames);
}

void CAPlayThrough::SetInputGain(float dB)
{
    gain.store(Platform::GainFactorFromDecibels(dB), std::memory_order_relaxed);
}

OSStatus CAPlayThrough::Start()
{
    if (IsRunning())
        return noErr;
    // Both streams are stopped: nothing else touches the output side's state now.
    firstInputTime.store(-1.0, std::memory_order_relaxed);
    firstOutputTime.store(-1.0, std::memory_order_relaxed);
    mSourceTime = -1.0;
    mPlaybackRate = 1.0;
    src_reset(mVarispeed.get());

    checkErr(mInputStream->Start());
    if (const OSStatus status = mOutputStream->Start(); status != noErr) {
        ReportError(status, __FILE__, __LINE__);
        mInputStream->Stop();
        return status;
    }
    return noErr;
}

OSStatus CAPlayThrough::Stop()
{
    if (!IsRunning())
        return noErr;
    mInputStream->Stop();
    const OSStatus status = mOutputStream->Stop();
    firstInputTime.store(-1.0, std::memory_order_relaxed);
    firstOutputTime.store(-1.0, std::memory_order_relaxed);
    return status;
}

bool CAPlayThrough::IsRunning() const
{
    return (mInputStream && mInputStream->IsRunning()) || (mOutputStream && mOutputStream->IsRunning());
}

OSStatus CAPlayThrough::InputProc(void* refCon, const AudioTimeStamp& timeStamp, UInt32 frames,
                                  AudioBufferList* data)
{
    auto* self = static_cast<CAPlayThrough*>(refCon);
    // A stream's sample times count from its start, where a device clock that has long been
    // running is far from zero. The ring is addressed a capacity later, so that it holds
    // silence behind the first block as it would on such a clock: the first-output offset
    // then reads silence until the input arrives, rather than missing and resynchronising
    // right at the newest frame with no margin left.
    const auto sampleTime = SInt64(timeStamp.mSampleTime);
    const SInt64 ringTime = sampleTime + self->mInputTimelineOrigin;
    if (self->firstInputTime.load(std::memory_order_relaxed) < 0.0)
        self->firstInputTime.store(Float64(ringTime), std::memory_order_relaxed);

    // Take the block into our own list, so the hook and the ring see one shape whatever the
    // platform hands over.
    if (frames > self->mInputBufferFrames || data == nullptr)
        return kAudioHardwareUnspecifiedError;
    AudioBufferList& list = self->inputBuffer->GetModifiableBufferList();
    const UInt32 bytes = frames * sizeof(float);
    for (UInt32 c = 0; c < list.mNumberBuffers; ++c) {
        AudioBuffer& buffer = list.mBuffers[c];
        buffer.mDataByteSize = bytes;
        if (c < data->mNumberBuffers && data->mBuffers[c].mData != nullptr)
            std::memcpy(buffer.mData, data->mBuffers[c].mData, bytes);
        else
            std::memset(buffer.mData, 0, bytes);
    }

    Platform::ApplyInputGain(list, self->gain.load(std::memory_order_relaxed));

    if (InputHook hook = self->inputHook.load(std::memory_order_relaxed))
        hook(&list, frames, sampleTime);

    return self->ring.Store(&list, frames, ringTime);
}

OSStatus CAPlayThrough::OutputDeviceProc(void* refCon, const AudioTimeStamp& timeStamp, UInt32 frames,
                                         AudioBufferList* data)
{
    auto* self = static_cast<CAPlayThrough*>(refCon);
    if (self->mSourceTime < 0.0)
        self->mSourceTime = timeStamp.mSampleTime;

    // playback rate > 1 means the input clock runs fast against the output's: take more input
    // per output frame.
    const double ratio = self->mNominalRatio / self->mPlaybackRate;
    const UInt32 channels = self->mChannels;
    float* interleaved = self->mOutputInterleaved.data();
    for (UInt32 done = 0; done < frames;) {
        const UInt32 n = std::min(frames - done, self->mOutputChunkFrames);
        long produced = src_callback_read(self->mVarispeed.get(), ratio, long(n), interleaved);
        produced = std::clamp<long>(produced, 0, long(n));
        std::fill(interleaved + std::size_t(produced) * channels, interleaved + std::size_t(n) * channels, 0.0f);

        for (UInt32 c = 0; c < data->mNumberBuffers; ++c) {
            auto* out = static_cast<float*>(data->mBuffers[c].mData) + done;
            if (c >= channels) {
                std::fill(out, out + n, 0.0f);
                continue;
            }
            for (UInt32 i = 0; i < n; ++i)
                out[i] = interleaved[std::size_t(i) * channels + c];
        }
        done += n;
    }
    return noErr;
}

long CAPlayThrough::VarispeedPull(void* refCon, float** data)
{
    auto* self = static_cast<CAPlayThrough*>(refCon);
    self->OutputProc(kPullFrames, self->mSourceTime, self->mPullInterleaved.data());
    self->mSourceTime += kPullFrames;
    *data = self->mPullInterleaved.data();
    return long(kPullFrames);
}

// The resampler's input at `sampleTime`, a time on the resampler's input side that advances
// at the input rate; it and the input device's sample times are tied together by
// inToOutOffset when the first output after the first input is asked for.
OSStatus CAPlayThrough::OutputProc(UInt32 frames, Float64 sampleTime, float* interleaved)
{
    const auto silence = [&] { std::fill(interleaved, interleaved + std::size_t(frames) * mChannels, 0.0f); };

    const Float64 firstInput = firstInputTime.load(std::memory_order_relaxed);
    if (firstInput < 0.0) {
        silence();
        return noErr;
    }

    AudioTimeStamp inputNow{};
    if (mInputStream->GetCurrentTime(inputNow) != noErr) {
        silence();  // the input device has stopped or gone
        return noErr;
    }
    AudioTimeStamp outputNow{};
    if (const OSStatus status = mOutputStream->GetCurrentTime(outputNow); status != noErr) {
        silence();
        return status;
    }
    UpdatePlaybackRate(inputNow, outputNow);

    if (firstOutputTime.load(std::memory_order_relaxed) < 0.0) {
        firstOutputTime.store(sampleTime, std::memory_order_relaxed);
        inToOutOffset.store(ComputeThruOffset() - (firstInput - sampleTime), std::memory_order_relaxed);
        silence();
        return noErr;
    }

    AudioBufferList& list = mPullBuffer->GetModifiableBufferList();
    const Float64 offset = inToOutOffset.load(std::memory_order_relaxed);
    if (ring.Fetch(&list, frames, SInt64(sampleTime - offset)) != AudioRingBuffer::Ok) {
        // Underrun or overrun: play silence and read on from the oldest frame held.
        silence();
        SInt64 start = 0;
        SInt64 end = 0;
        if (ring.GetTimeBounds(start, end) == AudioRingBuffer::Ok)
            inToOutOffset.store(sampleTime - Float64(start), std::memory_order_relaxed);
        return noErr;
    }

    for (UInt32 c = 0; c < mChannels; ++c) {
        const auto* in = static_cast<const float*>(list.mBuffers[c].mData);
        for (UInt32 i = 0; i < frames; ++i)
            interleaved[std::size_t(i) * mChannels + c] = in[i];
    }
    return noErr;
}

void CAPlayThrough::UpdatePlaybackRate(const AudioTimeStamp& inputNow, const AudioTimeStamp& outputNow)
{
    if (!(inputNow.mFlags & kAudioTimeStampRateScalarValid) || !(outputNow.mFlags & kAudioTimeStampRateScalarValid))
        return;
    const Float64 rate = inputNow.mRateScalar / outputNow.mRateScalar;
    if (std::isfinite(rate) && rate > 0.0)
        mPlaybackRate = std::clamp(rate, 1.0 - kMaxRateCorrection, 1.0 + kMaxRateCorrection);
}

} // namespace Tolm::Monitoring
