#pragma once

#include "library/LibraryExport.h"

#include <QString>
#include <QStringList>
#include <QTemporaryDir>
#include <functional>

namespace Tolm::Library {

// Track files made from sound files that were recorded elsewhere, for the export: a whole
// file is read where it is and left alone; a part of one (or a file to be normalised) is
// decoded into a private temporary folder as WAV (integer sources at their depth, others as
// 32-bit float, the format of a recorded track), in RF64 once it passes 4 GiB. The folder goes
// with the object.
class StagedTracks final : public RecordedTracks {
  public:
    StagedTracks(); // throws LibraryError when no temporary folder can be made

    // Adds frames [firstFrame, firstFrame + frames) of `source` as the next track; frames < 0
    // means to the end. Throws LibraryError with a message for people.
    void stage(const QString& source, long long firstFrame = 0, long long frames = -1,
               const std::function<void(double)>& progress = {});

    // Adds the whole of `source` as the next track, to be read where it is. Throws
    // LibraryError when it cannot be read as sound.
    void refer(const QString& source);

    // The largest absolute sample of everything staged.
    float peak() const { return mPeak; }
    QString folder() const { return mFolder.path(); }

    UInt32 numRecordedTracks() override { return mCount; }
    QString fileNameForTrack(UInt32 track) override;
    void resetTrackCounter() override
    {
        mCount = 0;
        mReferred.clear();
    }
    void releaseTrack(UInt32 track) override; // a file referred to is the user's and stays

  private:
    QTemporaryDir mFolder;
    QStringList mReferred; // by track, empty for a staged one
    UInt32 mCount = 0;
    float mPeak = 0.0f;
};

} // namespace Tolm::Library
