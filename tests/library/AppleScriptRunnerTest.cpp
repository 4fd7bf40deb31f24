#include "library/AppleScriptRunner.h"

#include "LibraryTestSupport.h"

#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace Tolm::Library;

namespace {

OSStatus RunScript(const QString& text, ScriptResultDescriptor* result = nullptr)
{
    const QByteArray bytes = text.toUtf8();
    return LowRunAppleScript(bytes.constData(), size_t(bytes.size()), result);
}

} // namespace

TEST(AppleScriptRunner, StatusAndResultOfEachKindOfScript)
{
    struct Case {
        const char* script;
        OSStatus status;
        DescType type;
        QString text; // "old" is the result left untouched
        bool exact = true;
    };
    const std::vector<Case> cases{
        {"", noErr, typeNull, QString()},
        {"var n = 6; n * 7", noErr, typeText, QStringLiteral("42")},
        // Nothing of a script that does not compile runs, a top-level return included.
        {"var a = 1;\nvar b = a +* 2;", kSyntaxError, typeText, QStringLiteral("old")},
        {"return 1", kSyntaxError, typeText, QStringLiteral("old")},
        {"tell application", kSyntaxError, typeText, QStringLiteral("old")},
        // Anything thrown while running is a runtime error carrying its message, syntax errors
        // the engine raises included.
        {"var x = 1;\nthrow new Error(\"library gone\");", kScriptError, typeText,
         QStringLiteral("library gone")},
        {"throw \"plain text\"", kScriptError, typeText, QStringLiteral("plain text")},
        {"undefinedFunction()", kScriptError, typeText, QStringLiteral("undefinedFunction"), false},
        {"JSON.parse(\"{\")", kScriptError, typeText, QString(), false},
        {"eval(\"a +* b\")", kScriptError, typeText, QString(), false},
        {"withTimeout(\"soon\", function () {})", kScriptError, typeText, QString(), false},
        {"runProgram(\"false\")", kScriptError, typeText, QString(), false},
        {"runProgram(\"no-such-program-here\", [])", kScriptError, typeText, QString(), false},
        {"runProgram(\"echo\", \"not a list\")", kScriptError, typeText, QString(), false},
        // Past its time-out a script stops, catching or not, and a program it runs with it.
        {"withTimeout(0.2, function () { for (;;) {} });", kTimeoutError, typeNull, QString()},
        {"try { withTimeout(0.1, function () { for (;;) {} }); } catch (e) {} 'went on'", kTimeoutError,
         typeNull, QString()},
        {"withTimeout(0.3, function () { runProgram(\"sleep\", [\"30\"]); });", kTimeoutError, typeNull,
         QString()},
        // Inside its time-out a script finishes, and the time-out ends with it.
        {"withTimeout(20, function () { return 1; }); var i = 0; while (i < 100000) ++i; i", noErr, typeText,
         QStringLiteral("100000")},
        // Calls share nothing: these two run one after the other.
        {"var leftOver = 1; Object.prototype.poison = 2; 'set'", noErr, typeText, QStringLiteral("set")},
        {"typeof leftOver + ' ' + typeof ({}).poison", noErr, typeText,
         QStringLiteral("undefined undefined")},
    };
    EXPECT_TRUE(AppleScriptAvailable());
    for (const Case& c : cases) {
        SCOPED_TRACE(c.script);
        ScriptResultDescriptor result{typeText, QStringLiteral("old")};
        EXPECT_EQ(RunScript(QString::fromUtf8(c.script), &result), c.status);
        EXPECT_EQ(result.descriptorType, c.type);
        if (c.exact)
            EXPECT_EQ(result.text, c.type == typeNull ? QString() : c.text);
        else
            EXPECT_TRUE(result.text.contains(c.text)) << result.text.toStdString();
        EXPECT_EQ(SimpleRunAppleScript(c.script), c.status);
    }
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
