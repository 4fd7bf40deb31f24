#include "library/ScriptSession.h"

#include "library/ScriptHost.h"
#include "library/ScriptLibrary.h"

#include <algorithm>

namespace Tolm::Library {

namespace {

// The dictionary's plain functions, written in the scripts' own language so that errors
// thrown by a script's function body pass through withTimeout untouched.
const char* const kDictionary = R"JS(
(function (host) {
    return {
        withTimeout: function (seconds, body) {
            host.beginTimeout(seconds);
            try {
                return body();
            } finally {
                host.endTimeout();
            }
        },
        posixFile: function (path) {
            if (typeof path !== "string" || path === "")
                throw new Error("posixFile needs a path");
            return { posixPath: path, toString: function () { return this.posixPath; } };
        },
        removeFile: function (file) {
            host.removeFile(file);
        },
        runProgram: function (program, args) {
            return host.runProgram(program, args === undefined ? [] : args);
        }
    };
})
)JS";

} // namespace

ScriptSession::ScriptSession()
    : mEngine(std::make_unique<QJSEngine>()), mHost(std::make_unique<ScriptHost>(*this)),
      mLibrary(std::make_unique<ScriptLibrary>(*this))
{
    // Owned here: the engine must not collect them.
    QJSEngine::setObjectOwnership(mHost.get(), QJSEngine::CppOwnership);
    QJSEngine::setObjectOwnership(mLibrary.get(), QJSEngine::CppOwnership);
    QJSValue global = mEngine->globalObject();
    QJSValue library = mEngine->newQObject(mLibrary.get());
    library.setProperty(QStringLiteral("delete"), library.property(QStringLiteral("remove")));
    global.setProperty(QStringLiteral("library"), library);

    const QJSValue functions =
        mEngine->evaluate(QString::fromUtf8(kDictionary)).call({mEngine->newQObject(mHost.get())});
    for (const char* name : {"withTimeout", "posixFile", "removeFile", "runProgram"})
        global.setProperty(QString::fromLatin1(name), functions.property(QString::fromLatin1(name)));
}

ScriptSession::~ScriptSession()
{
    {
        std::lock_guard lock(mMutex);
        mStopping = true;
    }
    mChanged.notify_all();
    if (mWatchdog.joinable())
        mWatchdog.join();
    // The engine goes before the objects it wraps (they are owned here, not by the engine).
    mEngine.reset();
}

void ScriptSession::beginTimeout(double seconds)
{
    const auto length =
        std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(std::max(seconds, 0.0)));
    {
        std::lock_guard lock(mMutex);
        mDeadlines.push_back(Clock::now() + length);
        if (!mWatchdog.joinable())
            mWatchdog = std::thread([this] { watch(); });
    }
    mChanged.notify_all();
}

void ScriptSession::endTimeout()
{
    {
        std::lock_guard lock(mMutex);
        if (!mDeadlines.empty())
            mDeadlines.pop_back();
    }
    mChanged.notify_all();
}

std::optional<ScriptSession::Clock::time_point> ScriptSession::deadline() const
{
    std::lock_guard lock(mMutex);
    if (mDeadlines.empty())
        return std::nullopt;
    return *std::min_element(mDeadlines.begin(), mDeadlines.end());
}

void ScriptSession::timeOut()
{
    mTimedOut.store(true);
    mEngine->setInterrupted(true);
}

void ScriptSession::watch()
{
    std::unique_lock lock(mMutex);
    while (!mStopping) {
        if (mDeadlines.empty()) {
            mChanged.wait(lock);
            continue;
        }
        const auto nearest = *std::min_element(mDeadlines.begin(), mDeadlines.end());
        if (Clock::now() >= nearest) {
            timeOut();
            mDeadlines.clear();
            continue;
        }
        mChanged.wait_until(lock, nearest);
    }
}

} // namespace Tolm::Library
