#pragma once

#include <QString>
#include <stdexcept>

namespace Tolm::Library {

// A failure of the music library, with a message meant for the person using it
// ("The music library folder /media/usb/Music is missing.").
class LibraryError : public std::runtime_error {
  public:
    explicit LibraryError(const QString& message) : std::runtime_error(message.toStdString()) {}
    QString message() const { return QString::fromUtf8(what()); }
};

} // namespace Tolm::Library
