#include "library/ScriptLibrary.h"

#include "library/LibraryError.h"
#include "library/LibrarySettings.h"
#include "library/ScriptHost.h"
#include "library/ScriptSession.h"
#include "library/ScriptTrack.h"

namespace Tolm::Library {

ScriptLibrary::ScriptLibrary(ScriptSession& session) : mSession(session), mLibrary(MusicLibrary::Current()) {}

void ScriptLibrary::fail(const QString& message)
{
    mSession.engine().throwError(message);
}

QJSValue ScriptLibrary::wrap(MusicLibrary::TrackPtr track)
{
    // No parent: the engine owns the wrapper and deletes it with its garbage.
    return mSession.engine().newQObject(new ScriptTrack(mLibrary, std::move(track)));
}

MusicLibrary::TrackPtr ScriptLibrary::trackOf(const QJSValue& value, const char* function)
{
    if (auto* track = qobject_cast<ScriptTrack*>(value.toQObject()))
        return track->track();
    fail(QStringLiteral("%1 needs a track of the library").arg(QString::fromLatin1(function)));
    return nullptr;
}

int ScriptLibrary::trackCount()
{
    try {
        auto library = mLibrary;
        return mSession.runBounded<int>([library] { return library->trackCount(); });
    } catch (const ScriptTimedOut&) {
        fail(QStringLiteral("The music library did not answer in time."));
    } catch (const LibraryError& error) {
        fail(error.message());
    }
    return 0;
}

QJSValue ScriptLibrary::add(const QJSValue& file)
{
    const QString path = ScriptHost::PathOf(file);
    if (path.isEmpty()) {
        fail(QStringLiteral("add needs a file"));
        return {};
    }
    try {
        return wrap(mLibrary->add(path));
    } catch (const LibraryError& error) {
        fail(error.message());
    }
    return {};
}

QJSValue ScriptLibrary::convert(const QJSValue& track)
{
    const auto libraryTrack = trackOf(track, "convert");
    if (!libraryTrack)
        return {};
    try {
        return wrap(mLibrary->convert(libraryTrack, LibrarySettings::format()));
    } catch (const LibraryError& error) {
        fail(error.message());
    }
    return {};
}

void ScriptLibrary::remove(const QJSValue& track)
{
    const auto libraryTrack = trackOf(track, "remove");
    if (!libraryTrack)
        return;
    try {
        mLibrary->remove(libraryTrack);
    } catch (const LibraryError& error) {
        fail(error.message());
    }
}

} // namespace Tolm::Library
