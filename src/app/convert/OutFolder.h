#pragma once

// The folder that --out names, where recorded tracks land as 01.wav, 02.wav, ...: checked
// before anything is recorded (a side cannot be played twice), filled without replacing
// anything that is already there.

#include <filesystem>
#include <string>

namespace Tolm::Convert {

class OutFolder {
  public:
    // "01.wav" for the first track.
    static std::string TrackName(std::size_t index);
    // Makes the folder if needed; an error for people when it cannot take the tracks.
    static std::string Prepare(const std::filesystem::path& folder);
    // Moves a file, across file systems too, never over an existing one.
    static bool Move(const std::filesystem::path& from, const std::filesystem::path& to, std::string& error);
};

} // namespace Tolm::Convert
