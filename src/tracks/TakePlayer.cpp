#include "tracks/TakePlayer.h"

#include <algorithm>
#include <cstring>
#include <samplerate.h>

namespace Tolm::Tracks {

TakePlayer::TakePlayer(AudioDeviceID output) : mOutput(output) {}

TakePlayer::~TakePlayer()
{
    stop();
}

bool TakePlayer::play(const TakeFiles& takes, std::int64_t from, std::int64_t to)
{
    stop();
    from = std::clamp<std::int64_t>(from, 0, takes.frames());
    to = std::clamp<std::int64_t>(to, from, takes.frames());
    std::vector<float> interleaved;
    interleaved.reserve(std::size_t(to - from) * 2);
    takes.read(from, to, 65536, [&](const float* block, std::int64_t frames) {
        interleaved.insert(interleaved.end(), block, block + frames * 2);
        return true;
    });

    if (mOutput == kAudioDeviceUnknown || mOutput == 0)
        return false;
    if (Platform::Hardware().OpenOutputStream(mOutput, &TakePlayer::Render, this, mStream) != noErr || !mStream)
        return false;
    const double deviceRate = mStream->ClientFormat().mSampleRate;
    if (deviceRate > 0.0 && takes.sampleRate() > 0.0 && deviceRate != takes.sampleRate() && !interleaved.empty()) {
        const double ratio = deviceRate / takes.sampleRate();
        std::vector<float> converted(std::size_t(double(interleaved.size() / 2) * ratio + 16) * 2);
        SRC_DATA data{};
        data.data_in = interleaved.data();
        data.input_frames = long(interleaved.size() / 2);
        data.data_out = converted.data();
        data.output_frames = long(converted.size() / 2);
        data.src_ratio = ratio;
        if (src_simple(&data, SRC_SINC_FASTEST, 2) == 0) {
            converted.resize(std::size_t(data.output_frames_gen) * 2);
            interleaved.swap(converted);
        }
        mTakeFramesPerFrame = 1.0 / ratio;
    } else {
        mTakeFramesPerFrame = 1.0;
    }
    const std::size_t frames = interleaved.size() / 2;
    mLeft.resize(frames);
    mRight.resize(frames);
    for (std::size_t i = 0; i < frames; ++i) {
        mLeft[i] = interleaved[2 * i];
        mRight[i] = interleaved[2 * i + 1];
    }
    mFrom = from;
    mNext.store(0, std::memory_order_relaxed);
    if (mStream->Start() != noErr) {
        mStream.reset();
        return false;
    }
    return true;
}

void TakePlayer::stop()
{
    if (mStream)
        mStream->Stop();
    mStream.reset();
}

bool TakePlayer::playing() const
{
    return mStream && mNext.load(std::memory_order_relaxed) < mLeft.size();
}

std::int64_t TakePlayer::position() const
{
    return mFrom + std::int64_t(double(mNext.load(std::memory_order_relaxed)) * mTakeFramesPerFrame);
}

OSStatus TakePlayer::Render(void* refCon, const AudioTimeStamp&, UInt32 frames, AudioBufferList* data)
{
    auto* self = static_cast<TakePlayer*>(refCon);
    const std::size_t next = self->mNext.load(std::memory_order_relaxed);
    const std::size_t available = self->mLeft.size() - std::min(next, self->mLeft.size());
    const std::size_t count = std::min<std::size_t>(frames, available);
    for (UInt32 channel = 0; channel < data->mNumberBuffers; ++channel) {
        auto* out = static_cast<float*>(data->mBuffers[channel].mData);
        const std::vector<float>& source =
            data->mNumberBuffers == 1 ? self->mLeft : (channel % 2 == 0 ? self->mLeft : self->mRight);
        if (channel < 2 && count > 0)
            std::memcpy(out, source.data() + next, count * sizeof(float));
        else if (count > 0)
            std::memset(out, 0, count * sizeof(float));
        std::memset(out + count, 0, (frames - count) * sizeof(float));
    }
    self->mNext.store(next + count, std::memory_order_relaxed);
    return noErr;
}

} // namespace Tolm::Tracks
