#pragma once

#include "library/MusicLibrary.h"

#include <QObject>
#include <QString>
#include <memory>

namespace Tolm::Library {

// A track of the music library as scripts see it.
class ScriptTrack : public QObject {
    Q_OBJECT
    Q_PROPERTY(QString artist READ artist WRITE setArtist)
    Q_PROPERTY(QString album READ album WRITE setAlbum)
    Q_PROPERTY(QString name READ name WRITE setName)
    Q_PROPERTY(QString trackNumber READ trackNumber WRITE setTrackNumber)
    Q_PROPERTY(QString location READ location)
  public:
    ScriptTrack(std::shared_ptr<MusicLibrary> library, MusicLibrary::TrackPtr track);

    QString artist() const { return mTrack->tags.artist; }
    QString album() const { return mTrack->tags.album; }
    QString name() const { return mTrack->tags.title; }
    QString trackNumber() const { return mTrack->tags.trackNumber; }
    QString location() const { return mTrack->location; }

    void setArtist(const QString& artist);
    void setAlbum(const QString& album);
    void setName(const QString& name);
    void setTrackNumber(const QString& number);

    const MusicLibrary::TrackPtr& track() const { return mTrack; }

  private:
    void update(TrackTags tags);

    std::shared_ptr<MusicLibrary> mLibrary;
    MusicLibrary::TrackPtr mTrack;
};

} // namespace Tolm::Library
