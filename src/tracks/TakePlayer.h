#pragma once

// Plays a few seconds of the takes through an output device, so a boundary can be checked
// by ear. The stretch is read (and converted to the device's rate) before the stream
// starts, so the audio thread only copies.

#include "platform/AudioHardware.h"
#include "tracks/TakeFiles.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

namespace Tolm::Tracks {

class TakePlayer {
  public:
    explicit TakePlayer(AudioDeviceID output);
    ~TakePlayer();
    TakePlayer(const TakePlayer&) = delete;
    TakePlayer& operator=(const TakePlayer&) = delete;

    // Stops what plays and plays [from, to) of the takes. False (nothing plays) when the
    // device cannot be opened; throws TrackError when the takes cannot be read.
    bool play(const TakeFiles& takes, std::int64_t from, std::int64_t to);
    void stop();
    bool playing() const;
    // Where in the takes the sound is now, while playing.
    std::int64_t position() const;

  private:
    static OSStatus Render(void* refCon, const AudioTimeStamp& timeStamp, UInt32 frames, AudioBufferList* data);

    AudioDeviceID mOutput;
    std::unique_ptr<Platform::AudioStream> mStream;
    std::vector<float> mLeft, mRight; // at the device's rate
    std::int64_t mFrom = 0;
    double mTakeFramesPerFrame = 1.0;
    std::atomic<std::size_t> mNext{0};
};

} // namespace Tolm::Tracks
