#include "library/AppleScriptRunner.h"

#include "library/ScriptSession.h"

#include <QCoreApplication>
#include <QJSValue>
#include <QStringList>
#include <cstring>

namespace Tolm::Library {

namespace {

// A syntax error stops the text before any of it runs: the stack has only the parser's
// frame, which has no function name. A SyntaxError thrown while running (eval, a JSON
// parse) comes with the frames of the code that ran.
bool FailedToCompile(const QJSValue& error, const QStringList& stack)
{
    if (error.errorType() != QJSValue::SyntaxError)
        return false;
    return stack.isEmpty() || (stack.size() == 1 && stack.front().startsWith(QLatin1Char(':')));
}

QString MessageOf(const QJSValue& error)
{
    const QJSValue message = error.property(QStringLiteral("message"));
    return error.isError() && message.isString() ? message.toString() : error.toString();
}

} // namespace

OSStatus LowRunAppleScript(const void* text, std::size_t textLength, ScriptResultDescriptor* result,
                           const ScriptValues& values)
{
    if (QCoreApplication::instance() == nullptr)
        return kParamError;
    const QString source = QString::fromUtf8(static_cast<const char*>(text), qsizetype(textLength));

    ScriptSession session;
    QJSValue global = session.engine().globalObject();
    for (const auto& [name, value] : values)
        global.setProperty(name, value);
    QStringList stack;
    const QJSValue value = session.engine().evaluate(source, QStringLiteral("script"), 1, &stack);
    // Anything thrown, Error object or not, leaves a stack; an interruption leaves an error.
    const bool threw = value.isError() || !stack.isEmpty();

    if (threw && !session.timedOut() && FailedToCompile(value, stack))
        return kSyntaxError;
    if (result != nullptr)
        *result = ScriptResultDescriptor{};
    if (session.timedOut())
        return kTimeoutError;
    if (threw) {
        if (result != nullptr)
            *result = ScriptResultDescriptor{typeText, MessageOf(value)};
        return kScriptError;
    }
    if (result != nullptr && !value.isUndefined())
        *result = ScriptResultDescriptor{typeText, value.toString()};
    return noErr;
}

OSErr SimpleRunAppleScript(const char* text)
{
    return OSErr(LowRunAppleScript(text, std::strlen(text), nullptr));
}

bool AppleScriptAvailable()
{
    return QCoreApplication::instance() != nullptr;
}

} // namespace Tolm::Library
