#pragma once

#include "library/ImportFormat.h"
#include "library/TrackTags.h"

#include <QString>
#include <chrono>
#include <memory>
#include <mutex>
#include <optional>
#include <set>

namespace Tolm::Library {

// Told about conversions running on the thread that installed it (see ConversionObserverScope).
class ConversionObserver {
  public:
    virtual ~ConversionObserver() = default;
    virtual void conversionProgress(double fraction) = 0; // 0..1 of the track being converted
    virtual void trackFiled(const QString& path) = 0;     // a converted track has its final name
    // Samples that were not finite numbers were converted as silence; told once per track.
    virtual void samplesReplaced(long long count) { (void)count; }
};

// Installs an observer for conversions on the current thread while it lives.
class ConversionObserverScope {
  public:
    explicit ConversionObserverScope(ConversionObserver& observer);
    ~ConversionObserverScope();
    ConversionObserverScope(const ConversionObserverScope&) = delete;
    ConversionObserverScope& operator=(const ConversionObserverScope&) = delete;

  private:
    ConversionObserver* mPrevious;
};

// Gives conversions on the current thread the album's tags while it lives: the import script
// names each track, the export knows the rest (album artist, total, side, year).
class AlbumTagsScope {
  public:
    explicit AlbumTagsScope(const AlbumTags& album);
    ~AlbumTagsScope();
    AlbumTagsScope(const AlbumTagsScope&) = delete;
    AlbumTagsScope& operator=(const AlbumTagsScope&) = delete;

  private:
    const AlbumTags* mPrevious;
};

// The user's music library: a folder holding tracks as Artist/Album/NN Title.ext. Files
// handed to it are first copied into its intake area (added tracks); converting an added
// track encodes it to an import format, tags it and files it under its names (a filed
// track). Names are made safe for any file system and an existing file is never replaced.
// Filed tracks get the permissions the user's umask allows, like any file the user makes.
// Any thread; one object per folder is shared by the whole program (Current()).
class MusicLibrary {
  public:
    struct Track {
        enum class Kind { Added, Filed };
        Kind kind = Kind::Added;
        QString location;
        QString origin; // the file an added track was made from, named in messages
        TrackTags tags;
        std::optional<ImportFormat> format; // of a filed track
    };
    using TrackPtr = std::shared_ptr<Track>;

    // `createIfMissing`: make the folder when it is absent and its parent exists (the user's
    // default music folder on a fresh account), never for a chosen folder, which may be a
    // drive that is not plugged in.
    explicit MusicLibrary(QString folder, bool createIfMissing = false);

    // The library of the folder the settings name.
    static std::shared_ptr<MusicLibrary> Current();

    const QString& folder() const { return mFolder; }
    QString intakeFolder() const;

    // Throws LibraryError while the folder is missing, not a folder or not writable.
    void checkAvailable() const;
    // Audio files filed in the library, plus the added tracks it holds. Throws when unavailable.
    // The files are counted by a walk through the folder at most every few minutes: a large
    // library on a network share takes long to walk, and the count is asked after every track.
    int trackCount() const;

    TrackPtr add(const QString& file);
    TrackPtr convert(const TrackPtr& track, ImportFormat format);
    // Takes a track out of the library. An added track's intake copy stays where it is until
    // it is removed as a file; a filed track is its file, which goes.
    void remove(const TrackPtr& track);
    bool contains(const TrackPtr& track) const;
    // New tags for a track; a filed track gets them written into its file.
    void setTags(const TrackPtr& track, const TrackTags& tags);

  private:
    void sweepIntakeOnce();

    QString mFolder;
    bool mCreateIfMissing;
    void adjustFiledCount(int change) const;

    mutable std::mutex mMutex;
    std::set<TrackPtr> mAdded; // guarded by mMutex
    bool mSwept = false;       // guarded by mMutex
    // The last walk's count, kept up to date with what this program files; guarded by mMutex.
    mutable std::optional<int> mFiledCount;
    mutable std::chrono::steady_clock::time_point mFiledCountTime;
};

} // namespace Tolm::Library
