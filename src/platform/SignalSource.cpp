#include "platform/SignalSource.h"

#include <algorithm>
#include <chrono>
#include <sndfile.h>
#include <stdexcept>

namespace Tolm::Platform {
namespace {

class FunctionSource final : public SignalSource {
  public:
    explicit FunctionSource(std::function<float(UInt64, UInt32)> f) : mFunction(std::move(f)) {}

    UInt32 Render(float* const* channels, UInt32 channelCount, UInt32 frames) override
    {
        for (UInt32 c = 0; c < channelCount; ++c)
            for (UInt32 f = 0; f < frames; ++f)
                channels[c][f] = mFunction(mFrame + f, c);
        mFrame += frames;
        return frames;
    }

  private:
    std::function<float(UInt64, UInt32)> mFunction;
    UInt64 mFrame = 0;
};

class BufferSource final : public SignalSource {
  public:
    BufferSource(std::vector<float> interleaved, UInt32 channels)
        : mSamples(std::move(interleaved)), mChannels(std::max<UInt32>(channels, 1)),
          mFrames(mSamples.size() / mChannels)
    {
    }

    UInt32 Render(float* const* channels, UInt32 channelCount, UInt32 frames) override
    {
        const UInt32 n = UInt32(std::min<UInt64>(frames, mFrames - mPosition));
        for (UInt32 c = 0; c < channelCount; ++c) {
            // A device with more channels than the buffer repeats its last channel.
            const UInt32 from = std::min(c, mChannels - 1);
            for (UInt32 f = 0; f < n; ++f)
                channels[c][f] = mSamples[(mPosition + f) * mChannels + from];
            std::fill(channels[c] + n, channels[c] + frames, 0.0f);
        }
        mPosition += n;
        return n;
    }

  private:
    std::vector<float> mSamples;
    UInt32 mChannels;
    UInt64 mFrames;
    UInt64 mPosition = 0;
};

constexpr UInt64 kChunkFrames = 4096;

} // namespace

struct SoundFileSource::File {
    SNDFILE* handle = nullptr;
    ~File()
    {
        if (handle)
            sf_close(handle);
    }
};

SoundFileSource::SoundFileSource(const std::string& path, bool loop)
    : mFile(std::make_unique<File>()), mLoop(loop)
{
    SF_INFO info{};
    mFile->handle = sf_open(path.c_str(), SFM_READ, &info);
    if (!mFile->handle)
        throw std::runtime_error("cannot open sound file " + path + ": " + sf_strerror(nullptr));
    if (info.channels <= 0 || info.samplerate <= 0)
        throw std::runtime_error("sound file " + path + " has no audio");
    mSampleRate = info.samplerate;
    mChannels = UInt32(info.channels);
    mFrames = info.frames > 0 ? UInt64(info.frames) : 0;

    // About two seconds ahead.
    mCapacity = 1;
    while (mCapacity < UInt64(mSampleRate) * 2)
        mCapacity <<= 1;
    mRing.resize(mCapacity * mChannels);
    mChunk.resize(kChunkFrames * mChannels);

    // The first blocks are there before anyone asks for them.
    while (mCapacity - (mWritten.load() - mRead.load()) >= kChunkFrames && Fill()) {
    }
    if (!mEnded)
        mReader = std::thread([this] { ReadAhead(); });
}

SoundFileSource::~SoundFileSource()
{
    mStop = true;
    if (mReader.joinable())
        mReader.join();
}

bool SoundFileSource::Fill()
{
    sf_count_t got = sf_readf_float(mFile->handle, mChunk.data(), sf_count_t(kChunkFrames));
    if (got <= 0 && mLoop && mFrames > 0) {
        sf_seek(mFile->handle, 0, SEEK_SET);
        got = sf_readf_float(mFile->handle, mChunk.data(), sf_count_t(kChunkFrames));
    }
    if (got <= 0) {
        mEnded.store(true, std::memory_order_release);
        return false;
    }
    const UInt64 written = mWritten.load(std::memory_order_relaxed);
    for (UInt64 f = 0; f < UInt64(got); ++f) {
        const UInt64 slot = (written + f) & (mCapacity - 1);
        std::copy_n(mChunk.data() + f * mChannels, mChannels, mRing.data() + slot * mChannels);
    }
    mWritten.store(written + UInt64(got), std::memory_order_release);
    return true;
}

void SoundFileSource::ReadAhead()
{
    while (!mStop.load(std::memory_order_relaxed)) {
        const UInt64 held = mWritten.load(std::memory_order_relaxed) - mRead.load(std::memory_order_acquire);
        if (mCapacity - held >= kChunkFrames) {
            if (!Fill())
                return;
        } else {
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
    }
}

UInt32 SoundFileSource::Render(float* const* channels, UInt32 channelCount, UInt32 frames)
{
    const UInt64 read = mRead.load(std::memory_order_relaxed);
    // Read "ended" before the write position: a position seen after it is final.
    const bool ended = mEnded.load(std::memory_order_acquire);
    const UInt64 available = mWritten.load(std::memory_order_acquire) - read;
    const UInt32 n = UInt32(std::min<UInt64>(frames, available));
    for (UInt32 c = 0; c < channelCount; ++c) {
        const UInt32 from = std::min(c, mChannels - 1);
        for (UInt32 f = 0; f < n; ++f)
            channels[c][f] = mRing[((read + f) & (mCapacity - 1)) * mChannels + from];
        std::fill(channels[c] + n, channels[c] + frames, 0.0f);
    }
    mRead.store(read + n, std::memory_order_release);
    if (n < frames && !ended) {
        mUnderruns.fetch_add(1, std::memory_order_relaxed);
        return frames; // a gap, not the end
    }
    return n;
}

std::shared_ptr<SignalSource> MakeFunctionSource(std::function<float(UInt64 frame, UInt32 channel)> f)
{
    return std::make_shared<FunctionSource>(std::move(f));
}

std::shared_ptr<SignalSource> MakeBufferSource(std::vector<float> interleaved, UInt32 channels)
{
    return std::make_shared<BufferSource>(std::move(interleaved), channels);
}

std::shared_ptr<SignalSource> MakeSoundFileSource(const std::string& path, bool loop)
{
    return std::make_shared<SoundFileSource>(path, loop);
}

} // namespace Tolm::Platform
