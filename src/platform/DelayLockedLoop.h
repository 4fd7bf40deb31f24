#pragma once

// Estimates a device clock against the host clock from the times at which blocks of frames
// arrive: a second-order delay-locked loop on (host time, frames so far). Arrival times jitter
// by milliseconds; the loop smooths them into a straight line whose slope gives the device's
// true rate, and so the rate scalar (1.0 = nominal).

#include "platform/CoreAudioTypes.h"

namespace Tolm::Platform {

class DelayLockedLoop {
  public:
    // `bandwidth` in Hz: lower is smoother and slower to follow. After a (re)start the loop
    // runs wide and narrows down to it, so it settles quickly and then stays calm.
    explicit DelayLockedLoop(Float64 nominalRate, Float64 bandwidth = 0.05);

    void Reset();
    void SetNominalRate(Float64 nominalRate);

    // At `hostTime` (ns), the device had produced or consumed `position` frames in all.
    void Update(UInt64 hostTime, UInt64 position);

    // At least two updates since the last reset.
    bool Locked() const { return mUpdates >= 2; }
    Float64 RateScalar() const { return mNominalPeriod / mPeriod; }
    Float64 MeasuredRate() const { return 1e9 / mPeriod; }
    // The loop's estimate of when the device was at `position` (ns on the host clock).
    UInt64 HostTimeAt(UInt64 position) const;
    UInt32 Resets() const { return mResets; }

  private:
    void Restart(UInt64 hostTime, UInt64 position);

    Float64 mNominalPeriod; // ns per frame
    Float64 mBandwidth;
    Float64 mPeriod;     // ns per frame, estimated
    UInt64 mOrigin = 0;  // host time the filtered times are relative to
    Float64 mTime = 0.0; // filtered time of mPosition, ns after mOrigin
    UInt64 mPosition = 0;
    Float64 mElapsedFrames = 0.0; // since the last restart
    UInt32 mUpdates = 0;
    UInt32 mResets = 0;
};

} // namespace Tolm::Platform
