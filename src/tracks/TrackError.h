#pragma once

#include <stdexcept>
#include <string>

namespace Tolm::Tracks {

// Why the takes could not be read or cut, in one line for people; the takes are untouched.
class TrackError : public std::runtime_error {
  public:
    enum class Kind { Unreadable, Mismatch, WriteFailed, DiskFull };
    TrackError(Kind kind, const std::string& message) : std::runtime_error(message), mKind(kind) {}
    Kind kind() const { return mKind; }

  private:
    Kind mKind;
};

} // namespace Tolm::Tracks
