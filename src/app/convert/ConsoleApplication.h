#pragma once

// What a command needs of Qt before it touches the library or the Audio controller: an
// application object, the user's language for messages, and Ctrl-C as a polite stop.

#include <QCoreApplication>

namespace Tolm::Convert {

class ConsoleApplication {
public:
    ConsoleApplication();
    ConsoleApplication(const ConsoleApplication&) = delete;
    ConsoleApplication& operator=(const ConsoleApplication&) = delete;

private:
    int mArgc = 1;
    char mName[13] = "tolm-convert";
    char* mArgv[2] = {mName, nullptr};
    QCoreApplication mApp;
};

} // namespace Tolm::Convert
