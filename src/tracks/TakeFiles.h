#pragma once

// The takes of one recording (stereo float WAV files, in order) seen as one stretch of
// audio with global frame positions. Knows nothing of where the takes live.

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace Tolm::Tracks {

class TakeFiles {
  public:
    struct Take {
        std::string path;
        std::int64_t frames = 0;
    };
    static constexpr int kChannels = 2;

    TakeFiles() = default;
    // Throws TrackError when a take cannot be read, is not stereo, or the rates differ.
    explicit TakeFiles(const std::vector<std::string>& paths);

    const std::vector<Take>& takes() const { return mTakes; }
    double sampleRate() const { return mSampleRate; }
    std::int64_t frames() const { return mFrames; }
    // Where takes 2, 3, ... begin: the splits made while recording.
    std::vector<std::int64_t> liveSplits() const;

    // Interleaved stereo blocks of at most `blockFrames` covering [from, to), in order;
    // `block` returns false to stop. Throws TrackError when a take cannot be read.
    void read(std::int64_t from, std::int64_t to, std::int64_t blockFrames,
              const std::function<bool(const float* interleaved, std::int64_t frames)>& block) const;

  private:
    std::vector<Take> mTakes;
    double mSampleRate = 0.0;
    std::int64_t mFrames = 0;
};

} // namespace Tolm::Tracks
