#include "library/AudioRecordedTracks.h"

#include "capture/Audio.h"

namespace Tolm::Library {

UInt32 AudioRecordedTracks::numRecordedTracks()
{
    return mAudio.numRecordedTracks();
}

QString AudioRecordedTracks::fileNameForTrack(UInt32 track)
{
    return mAudio.fileNameForTrack(track);
}

void AudioRecordedTracks::resetTrackCounter()
{
    mAudio.resetTrackCounter();
}

} // namespace Tolm::Library
