#include "library/AppleScriptRunner.h"

#include "LibraryTestSupport.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <gtest/gtest.h>

#include <thread>

using namespace Tolm::Library;

namespace {

OSStatus RunScript(const QString& text, ScriptResultDescriptor* result = nullptr)
{
    const QByteArray bytes = text.toUtf8();
    return LowRunAppleScript(bytes.constData(), size_t(bytes.size()), result);
}

} // namespace

TEST(AppleScriptRunner, EmptyTextRunsWithoutResult)
{
    ScriptResultDescriptor result{typeText, QStringLiteral("old")};
    EXPECT_EQ(RunScript(QString(), &result), noErr);
    EXPECT_EQ(result.descriptorType, typeNull);
    EXPECT_EQ(SimpleRunAppleScript(""), noErr);
    EXPECT_TRUE(AppleScriptAvailable());
}

TEST(AppleScriptRunner, ResultIsRenderedAsText)
{
    ScriptResultDescriptor result;
    EXPECT_EQ(RunScript(QStringLiteral("var n = 6; n * 7"), &result), noErr);
    EXPECT_EQ(result.descriptorType, typeText);
    EXPECT_EQ(result.text, QStringLiteral("42"));
}

TEST(AppleScriptRunner, SyntaxErrorReturnsCompileStatusAndLeavesResultAlone)
{
    ScriptResultDescriptor result{typeText, QStringLiteral("untouched")};
    EXPECT_EQ(RunScript(QStringLiteral("var a = 1;\nvar b = a +* 2;"), &result), kSyntaxError);
    EXPECT_EQ(result.descriptorType, typeText);
    EXPECT_EQ(result.text, QStringLiteral("untouched"));
    // A top-level return does not compile as a script either; nothing before it runs.
    EXPECT_EQ(RunScript(QStringLiteral("return 1"), &result), kSyntaxError);
    EXPECT_EQ(SimpleRunAppleScript("tell application"), kSyntaxError);
}

TEST(AppleScriptRunner, RuntimeErrorsReturnScriptErrorWithTheMessage)
{
    ScriptResultDescriptor result;
    EXPECT_EQ(RunScript(QStringLiteral("var x = 1;\nthrow new Error(\"library gone\");"), &result),
              kScriptError);
    EXPECT_EQ(result.descriptorType, typeText);
    EXPECT_EQ(result.text, QStringLiteral("library gone"));

    // Not only Error objects: anything thrown, and errors the engine raises.
    EXPECT_EQ(RunScript(QStringLiteral("throw \"plain text\""), &result), kScriptError);
    EXPECT_EQ(result.text, QStringLiteral("plain text"));
    EXPECT_EQ(RunScript(QStringLiteral("undefinedFunction()"), &result), kScriptError);
    EXPECT_TRUE(result.text.contains(QStringLiteral("undefinedFunction")));
    // A syntax error raised while running is a runtime error, not a compile failure.
    EXPECT_EQ(RunScript(QStringLiteral("JSON.parse(\"{\")"), &result), kScriptError);
    EXPECT_EQ(RunScript(QStringLiteral("eval(\"a +* b\")"), &result), kScriptError);
    EXPECT_EQ(SimpleRunAppleScript("throw new Error('x')"), kScriptError);
}

TEST(AppleScriptRunner, CallsShareNothing)
{
    EXPECT_EQ(RunScript(QStringLiteral("var leftOver = 1; Object.prototype.poison = 2;")), noErr);
    ScriptResultDescriptor result;
    EXPECT_EQ(RunScript(QStringLiteral("typeof leftOver + ' ' + typeof ({}).poison"), &result), noErr);
    EXPECT_EQ(result.text, QStringLiteral("undefined undefined"));
}

TEST(AppleScriptRunner, AScriptPastItsTimeoutIsStopped)
{
    ScriptResultDescriptor result{typeText, QStringLiteral("old")};
    QElapsedTimer clock;
    clock.start();
    EXPECT_EQ(RunScript(QStringLiteral("withTimeout(0.2, function () { for (;;) {} });"), &result),
              kTimeoutError);
    EXPECT_EQ(result.descriptorType, typeNull);
    // No timing assert beyond "it came back"; a loaded machine may take its time.
    EXPECT_LT(clock.elapsed(), 60'000);

    // Catching does not help a script that has run out of time.
    EXPECT_EQ(RunScript(QStringLiteral(
                  "try { withTimeout(0.1, function () { for (;;) {} }); } catch (e) {} 'went on'")),
              kTimeoutError);
    // Inside its time-out a script finishes normally, and the time-out ends with it.
    EXPECT_EQ(
        RunScript(QStringLiteral(
                      "withTimeout(20, function () { return 1; }); var i = 0; while (i < 100000) ++i; i"),
                  &result),
        noErr);
    EXPECT_EQ(result.text, QStringLiteral("100000"));
    EXPECT_EQ(RunScript(QStringLiteral("withTimeout(\"soon\", function () {})")), kScriptError);
}

TEST(AppleScriptRunner, AProgramPastTheTimeoutIsStopped)
{
    EXPECT_EQ(
        RunScript(QStringLiteral("withTimeout(0.3, function () { runProgram(\"sleep\", [\"30\"]); });")),
        kTimeoutError);
}

TEST(AppleScriptRunner, ProgramsRunWithArgumentsNeverThroughAShell)
{
    QTemporaryDir folder;
    ScriptResultDescriptor result;
    const QString script =
        QStringLiteral("runProgram(\"echo\", [\"a  b\", \"$(touch %1/pwned)\", \"`touch %1/pwned`\", \";\"])")
            .arg(folder.path());
    EXPECT_EQ(RunScript(script, &result), noErr);
    EXPECT_EQ(result.text, QStringLiteral("a  b $(touch %1/pwned) `touch %1/pwned` ;").arg(folder.path()));
    EXPECT_FALSE(QFileInfo::exists(folder.filePath(QStringLiteral("pwned"))));

    EXPECT_EQ(RunScript(QStringLiteral("runProgram(\"false\")"), &result), kScriptError);
    EXPECT_EQ(RunScript(QStringLiteral("runProgram(\"no-such-program-here\", [])"), &result), kScriptError);
    EXPECT_EQ(RunScript(QStringLiteral("runProgram(\"echo\", \"not a list\")"), &result), kScriptError);
}

TEST(AppleScriptRunner, RemoveFileRemovesFilesOnly)
{
    QTemporaryDir folder;
    const QString file = folder.filePath(QStringLiteral("it's \"here\".wav"));
    QFile(file).open(QIODevice::WriteOnly);
    const QString path = QString(file)
                             .replace(QLatin1String("\\"), QLatin1String("\\\\"))
                             .replace(QLatin1String("\""), QLatin1String("\\\""));
    EXPECT_EQ(RunScript(QStringLiteral("removeFile(posixFile(\"%1\"))").arg(path)), noErr);
    EXPECT_FALSE(QFileInfo::exists(file));

    ScriptResultDescriptor result;
    EXPECT_EQ(RunScript(QStringLiteral("removeFile(\"%1\")").arg(path), &result),
              kScriptError); // gone already
    EXPECT_TRUE(result.text.contains(QStringLiteral("Cannot remove")));
    EXPECT_EQ(RunScript(QStringLiteral("removeFile(\"%1\")").arg(folder.path())), kScriptError);
    EXPECT_TRUE(QFileInfo(folder.path()).isDir());
}

TEST(AppleScriptRunner, ScriptsRunOnWorkerThreads)
{
    // The export runs its scripts on its own thread.
    OSStatus status = -1;
    ScriptResultDescriptor result;
    std::thread worker([&] { status = RunScript(QStringLiteral("runProgram(\"echo\", [\"from a worker\"])"), &result); });
    worker.join();
    EXPECT_EQ(status, noErr);
    EXPECT_EQ(result.text, QStringLiteral("from a worker"));
}
