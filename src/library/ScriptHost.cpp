#include "library/ScriptHost.h"

#include "library/ScriptSession.h"

#include <QFile>
#include <QProcess>
#include <cerrno>
#include <cstring>
#include <unistd.h>

namespace Tolm::Library {

ScriptHost::ScriptHost(ScriptSession& session) : mSession(session) {}

void ScriptHost::fail(const QString& message)
{
    mSession.engine().throwError(message);
}

QString ScriptHost::PathOf(const QJSValue& file)
{
    if (file.isString())
        return file.toString();
    const QJSValue path = file.property(QStringLiteral("posixPath"));
    return path.isString() ? path.toString() : QString();
}

void ScriptHost::beginTimeout(const QJSValue& seconds)
{
    if (!seconds.isNumber() || !(seconds.toNumber() >= 0)) {
        fail(QStringLiteral("withTimeout needs a number of seconds"));
        return;
    }
    mSession.beginTimeout(seconds.toNumber());
}

void ScriptHost::endTimeout()
{
    mSession.endTimeout();
}

void ScriptHost::removeFile(const QJSValue& file)
{
    const QString path = PathOf(file);
    if (path.isEmpty()) {
        fail(QStringLiteral("removeFile needs a file"));
        return;
    }
    // unlink, not a recursive delete: a wrong path can never take a folder with it.
    if (::unlink(QFile::encodeName(path).constData()) != 0)
        fail(QStringLiteral("Cannot remove %1: %2").arg(path, QString::fromLocal8Bit(std::strerror(errno))));
}

QJSValue ScriptHost::runProgram(const QJSValue& program, const QJSValue& arguments)
{
    if (!program.isString() || program.toString().isEmpty()) {
        fail(QStringLiteral("runProgram needs the name of a program"));
        return {};
    }
    if (!arguments.isArray()) {
        fail(QStringLiteral("runProgram needs its arguments as a list"));
        return {};
    }
    QStringList argumentList;
    const int count = arguments.property(QStringLiteral("length")).toInt();
    for (int i = 0; i < count; ++i)
        argumentList << arguments.property(quint32(i)).toString();

    QProcess process;
    process.setProgram(program.toString());
    process.setArguments(argumentList);
    process.start();
    if (!process.waitForStarted(-1)) {
        fail(QStringLiteral("Cannot run %1: %2").arg(program.toString(), process.errorString()));
        return {};
    }
    int waitMs = -1;
    if (const auto until = mSession.deadline()) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(*until - ScriptSession::Clock::now());
        waitMs = int(std::max<long long>(left.count(), 0));
    }
    if (!process.waitForFinished(waitMs)) {
        process.kill();
        process.waitForFinished(-1);
        mSession.timeOut();
        fail(QStringLiteral("%1 did not finish in time").arg(program.toString()));
        return {};
    }
    if (process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0) {
        const QString reason = QString::fromLocal8Bit(process.readAllStandardError()).trimmed();
        fail(QStringLiteral("%1 failed (%2)%3")
                 .arg(program.toString())
                 .arg(process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1)
                 .arg(reason.isEmpty() ? QString() : QStringLiteral(": ") + reason));
        return {};
    }
    QString output = QString::fromLocal8Bit(process.readAllStandardOutput());
    if (output.endsWith(QLatin1Char('\n')))
        output.chop(1);
    return output;
}

} // namespace Tolm::Library
