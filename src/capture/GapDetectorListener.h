#pragma once

#include "filters/GapDetector.h"

namespace Tolm::Capture {

// What the Audio controller does with gap events. Called on the monitoring engine's audio
// thread: implementations only queue work for the main thread, never wait.
class GapEventReceiver {
  public:
    virtual ~GapEventReceiver();
    virtual void trackGapDetected() = 0;
    virtual void albumEndDetected() = 0;
};

// Turns the gap detector's events into the controller's: silence starting is a gap between
// tracks, the album's end is the end of the side; silence ending means nothing here.
class GapDetectorListener final : public Morvo::Audio::Filters::GapDetector::Listener {
  public:
    explicit GapDetectorListener(GapEventReceiver& audio) : mAudio(audio) {}

    void TrackSilenceStarted() override;
    void TrackSilenceEnded() override;
    void AlbumEnded() override;

  private:
    GapEventReceiver& mAudio;
};

} // namespace Tolm::Capture
