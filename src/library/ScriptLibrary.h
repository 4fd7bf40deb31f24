#pragma once

#include "library/MusicLibrary.h"

#include <QJSValue>
#include <QObject>
#include <memory>

namespace Tolm::Library {

class ScriptSession;

// The music library as the application object scripts talk to (`library`). It is the
// library the settings name at the moment the script runs.
class ScriptLibrary : public QObject {
    Q_OBJECT
    Q_PROPERTY(int trackCount READ trackCount)
    Q_PROPERTY(QString folder READ folder)
  public:
    explicit ScriptLibrary(ScriptSession& session);

    int trackCount();
    QString folder() const { return mLibrary->folder(); }

    Q_INVOKABLE QJSValue add(const QJSValue& file);
    // The converted track, in the user's import format, filed under its names.
    Q_INVOKABLE QJSValue convert(const QJSValue& track);
    Q_INVOKABLE void remove(const QJSValue& track);

  private:
    MusicLibrary::TrackPtr trackOf(const QJSValue& value, const char* function);
    QJSValue wrap(MusicLibrary::TrackPtr track);
    void fail(const QString& message);

    ScriptSession& mSession;
    std::shared_ptr<MusicLibrary> mLibrary;
};

} // namespace Tolm::Library
