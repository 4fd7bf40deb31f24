#pragma once

#include <cstdint>
#include <sndfile.h>
#include <string>

namespace Tolm::Tracks {

// One open libsndfile handle; closed with its owner.
class SoundFile {
  public:
    // Reading.
    explicit SoundFile(const std::string& path);
    // Writing a new stereo 32-bit float WAV (RF64 past 4 GiB) into `fd`, which stays open.
    SoundFile(int fd, double sampleRate);
    ~SoundFile();
    SoundFile(const SoundFile&) = delete;
    SoundFile& operator=(const SoundFile&) = delete;

    bool isOpen() const { return mFile != nullptr; }
    const SF_INFO& info() const { return mInfo; }
    std::string error() const { return sf_strerror(mFile); }

    bool seek(std::int64_t frame);
    std::int64_t read(float* interleaved, std::int64_t frames);
    std::int64_t write(const float* interleaved, std::int64_t frames);
    // Writes the header; false when that fails.
    bool close();

  private:
    SNDFILE* mFile = nullptr;
    SF_INFO mInfo{};
};

} // namespace Tolm::Tracks
