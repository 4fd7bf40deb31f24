#include "capture/GapDetectorListener.h"

namespace Tolm::Capture {

GapEventReceiver::~GapEventReceiver() = default;

void GapDetectorListener::TrackSilenceStarted()
{
    mAudio.trackGapDetected();
}

void GapDetectorListener::TrackSilenceEnded() {}

void GapDetectorListener::AlbumEnded()
{
    mAudio.albumEndDetected();
}

} // namespace Tolm::Capture
