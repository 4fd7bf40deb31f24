#include "library/ScriptTrack.h"

#include "library/LibraryError.h"

#include <QJSEngine>

namespace Tolm::Library {

ScriptTrack::ScriptTrack(std::shared_ptr<MusicLibrary> library, MusicLibrary::TrackPtr track)
    : mLibrary(std::move(library)), mTrack(std::move(track))
{
}

void ScriptTrack::update(TrackTags tags)
{
    try {
        mLibrary->setTags(mTrack, tags);
    } catch (const LibraryError& error) {
        if (QJSEngine* engine = qjsEngine(this))
            engine->throwError(error.message());
    }
}

void ScriptTrack::setArtist(const QString& artist)
{
    TrackTags tags = mTrack->tags;
    tags.artist = artist;
    update(tags);
}

void ScriptTrack::setAlbum(const QString& album)
{
    TrackTags tags = mTrack->tags;
    tags.album = album;
    update(tags);
}

void ScriptTrack::setName(const QString& name)
{
    TrackTags tags = mTrack->tags;
    tags.title = name;
    update(tags);
}

void ScriptTrack::setTrackNumber(const QString& number)
{
    TrackTags tags = mTrack->tags;
    tags.trackNumber = number;
    update(tags);
}

} // namespace Tolm::Library
