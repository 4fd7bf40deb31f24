#pragma once

// A take whose recording was killed keeps the header of its last update, or none that
// matches its data: the sizes in the header are brought back in line with the data that
// is really in the file (whole frames only), as plain WAV or, past 4 GiB, as RF64.

#include <cstdint>
#include <string>

class WaveFileRepair {
  public:
    struct Inspection {
        bool readable = false;        // a WAV header with a format and a data chunk
        bool needsRepair = false;     // its sizes disagree with the data in the file
        double sampleRate = 0.0;
        unsigned channels = 0;
        std::int64_t frames = 0;      // whole frames of data in the file
    };

    // Reads the header only; changes nothing.
    static Inspection Inspect(const std::string& path);
    // Rewrites the size fields (and cuts off a partial last frame). False, with `error`,
    // when the file is no WAV file or cannot be written.
    static bool Repair(const std::string& path, std::string& error);
};
