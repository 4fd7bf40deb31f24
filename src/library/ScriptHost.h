#pragma once

#include <QJSValue>
#include <QObject>
#include <QString>

namespace Tolm::Library {

class ScriptSession;

// The native half of the dictionary's plain functions: time-outs, removing a file and
// running a program. A program is started with its argument list, never through a shell,
// so nothing a user typed into a name can become a command.
class ScriptHost : public QObject {
    Q_OBJECT
  public:
    explicit ScriptHost(ScriptSession& session);

    Q_INVOKABLE void beginTimeout(const QJSValue& seconds);
    Q_INVOKABLE void endTimeout();
    Q_INVOKABLE void removeFile(const QJSValue& file);
    // The program's standard output; an error with its standard error text when it fails.
    Q_INVOKABLE QJSValue runProgram(const QJSValue& program, const QJSValue& arguments);

    // A path given to a dictionary function: text, or a posixFile() reference. Empty when
    // `file` is neither.
    static QString PathOf(const QJSValue& file);

  private:
    void fail(const QString& message);

    ScriptSession& mSession;
};

} // namespace Tolm::Library
