#pragma once

// Runs a piece of the application's own script text in-process and returns the status the
// rest of the program tests: 0 for success, kScriptError with the error message for a
// script that failed while running, kSyntaxError for text that does not compile,
// kTimeoutError for a script that ran past its own time-out. The scripts are JavaScript run
// by QJSEngine, with the scripting dictionary of the music library installed (see
// ScriptSession). Each call has its own engine and shares nothing with other calls; the call
// blocks until the script has finished. A Q(Core)Application must exist.

#include "platform/CoreAudioTypes.h"

#include <QList>
#include <QPair>
#include <QString>
#include <cstddef>

namespace Tolm::Library {

using OSErr = SInt16;
using DescType = UInt32;

inline constexpr OSStatus kParamError = -50;     // no scripting available
inline constexpr OSStatus kTimeoutError = -1712; // the script passed its time-out
inline constexpr OSStatus kScriptError = -1753;  // the script failed; the message tells why
inline constexpr OSStatus kSyntaxError = -2740;  // the text does not compile

inline constexpr DescType typeNull = FourCC("null");
inline constexpr DescType typeText = FourCC("TEXT");

// A script's result: null, or text (the result's value, or the error message).
struct ScriptResultDescriptor {
    DescType descriptorType = typeNull;
    QString text;
};

// Global variables set before a script runs, as (name, text) pairs: paths and names reach a
// script this way, as values, so that no quote or line break in them can change its text.
using ScriptValues = QList<QPair<QString, QString>>;

// `text` is UTF-8 of `textLength` bytes. When `result` is given, it receives the script's
// value as text (null when there is none) or, with kScriptError, the error message; a
// script that does not compile leaves it untouched.
OSStatus LowRunAppleScript(const void* text, std::size_t textLength, ScriptResultDescriptor* result,
                           const ScriptValues& values = {});

// LowRunAppleScript of a NUL-terminated text, without a result.
OSErr SimpleRunAppleScript(const char* text);

// Whether scripts can run: the scripting engine needs the application object.
bool AppleScriptAvailable();

} // namespace Tolm::Library
