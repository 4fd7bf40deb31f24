#pragma once

#include "library/LibraryExport.h"

namespace Tolm::Capture {
class Audio;
}

namespace Tolm::Library {

// The tracks the Audio controller has recorded, for the export.
class AudioRecordedTracks final : public RecordedTracks {
  public:
    explicit AudioRecordedTracks(Capture::Audio& audio) : mAudio(audio) {}

    UInt32 numRecordedTracks() override;
    QString fileNameForTrack(UInt32 track) override;
    void resetTrackCounter() override;

  private:
    Capture::Audio& mAudio;
};

} // namespace Tolm::Library
