#include "platform/DelayLockedLoop.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace Tolm::Platform {
namespace {

// Real device clocks are off by parts per thousand at most; an estimate outside this range
// comes from bursts (an unclocked source, a stalled server), not from a clock.
constexpr Float64 kMinScalar = 0.8;
constexpr Float64 kMaxScalar = 1.25;
// An error this large is a stall or a burst, not drift: start again from here.
constexpr Float64 kRestartError = 250e6; // ns
// Bandwidth after a restart, narrowing as 1/t: kSettling Hz at one second, at most 4x that.
constexpr Float64 kSettling = 0.5;

} // namespace

DelayLockedLoop::DelayLockedLoop(Float64 nominalRate, Float64 bandwidth)
    : mNominalPeriod(1e9 / nominalRate), mBandwidth(bandwidth), mPeriod(mNominalPeriod)
{
}

void DelayLockedLoop::Reset()
{
    mPeriod = mNominalPeriod;
    mUpdates = 0;
}

void DelayLockedLoop::SetNominalRate(Float64 nominalRate)
{
    mNominalPeriod = 1e9 / nominalRate;
    Reset();
}

void DelayLockedLoop::Restart(UInt64 hostTime, UInt64 position)
{
    mOrigin = hostTime;
    mTime = 0.0;
    mPosition = position;
    mElapsedFrames = 0.0;
    mUpdates = 1;
}

void DelayLockedLoop::Update(UInt64 hostTime, UInt64 position)
{
    if (mUpdates == 0) {
        Restart(hostTime, position);
        return;
    }
    if (position <= mPosition)
        return;
    const Float64 frames = Float64(position - mPosition);
    const Float64 predicted = mTime + frames * mPeriod;
    const Float64 error = (Float64(hostTime) - Float64(mOrigin)) - predicted;
    if (std::abs(error) > kRestartError) {
        ++mResets;
        Restart(hostTime, position);
        return;
    }
    // Loop gains for a critically damped loop, scaled by this block's length.
    mElapsedFrames += frames;
    const Float64 elapsedSeconds = mElapsedFrames * mNominalPeriod * 1e-9;
    const Float64 bandwidth = std::max(mBandwidth, std::min(4.0 * kSettling, kSettling / elapsedSeconds));
    const Float64 omega = 2.0 * std::numbers::pi * bandwidth * frames * mPeriod * 1e-9;
    const Float64 b = std::numbers::sqrt2 * omega;
    const Float64 c = omega * omega;
    mTime = predicted + b * error;
    mPosition = position;
    mPeriod =
        std::clamp(mPeriod + c * error / frames, mNominalPeriod / kMaxScalar, mNominalPeriod / kMinScalar);
    ++mUpdates;

    // Keep the filtered time small so doubles keep their nanoseconds over long recordings.
    if (mTime > 1e12) {
        const Float64 whole = std::floor(mTime);
        mOrigin += UInt64(whole);
        mTime -= whole;
    }
}

UInt64 DelayLockedLoop::HostTimeAt(UInt64 position) const
{
    const Float64 offset = (Float64(position) - Float64(mPosition)) * mPeriod;
    const Float64 t = Float64(mOrigin) + mTime + offset;
    return t <= 0.0 ? 0 : UInt64(std::llround(t));
}

} // namespace Tolm::Platform
