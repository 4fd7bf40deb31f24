#pragma once

// Sides with known tracks, written with libsndfile for the tests of track finding.

#include <sndfile.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <numbers>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

namespace Tolm::Test {

// (seconds, music?) pieces; quiet pieces carry a faint hiss like a real run-in groove.
struct Piece {
    double seconds;
    bool music;
};

// The classic test side: three songs, two gaps, a lead-in and a run-out. Its tracks are
// [0, 53), [53, 76.5) and [76.5, 133) seconds.
inline std::vector<Piece> ThreeSongSide()
{
    return {{1, false}, {50, true}, {4, false}, {20, true}, {3, false}, {50, true}, {8, false}};
}

struct StereoSamples {
    std::vector<float> left, right;
};

inline StereoSamples MakeSide(const std::vector<Piece>& pieces, int rate)
{
    StereoSamples s;
    std::mt19937 rng(42);
    std::normal_distribution<float> noise(0.0f, 1.0f);
    long n = 0;
    for (const auto& piece : pieces) {
        const long count = std::lround(piece.seconds * rate);
        for (long i = 0; i < count; ++i, ++n) {
            const double t = double(n) / rate;
            float l = 0.0002f * noise(rng), r = 0.0002f * noise(rng);
            if (piece.music) {
                const double swell = 0.75 + 0.25 * std::sin(2 * std::numbers::pi * 0.3 * t);
                l += float(swell * (0.2 * std::sin(2 * std::numbers::pi * 523.25 * t) +
                                    0.15 * std::sin(2 * std::numbers::pi * 196.0 * t))) + 0.02f * noise(rng);
                r += float(swell * (0.2 * std::sin(2 * std::numbers::pi * 493.88 * t) +
                                    0.1 * std::sin(2 * std::numbers::pi * 1318.5 * t))) + 0.02f * noise(rng);
            }
            s.left.push_back(l);
            s.right.push_back(r);
        }
    }
    return s;
}

// Writes `channels` channels (the first two from `side`, any others silent).
inline void WriteSound(const std::string& path, const StereoSamples& side, int rate, int format, int channels = 2)
{
    SF_INFO info{};
    info.samplerate = rate;
    info.channels = channels;
    info.format = format;
    SNDFILE* f = sf_open(path.c_str(), SFM_WRITE, &info);
    if (!f)
        throw std::runtime_error("cannot write " + path + ": " + sf_strerror(nullptr));
    std::vector<float> frames(side.left.size() * std::size_t(channels), 0.0f);
    for (std::size_t i = 0; i < side.left.size(); ++i)
        for (int c = 0; c < std::min(channels, 2); ++c)
            frames[i * std::size_t(channels) + std::size_t(c)] = c == 0 ? side.left[i] : side.right[i];
    const auto want = sf_count_t(side.left.size());
    const bool ok = sf_writef_float(f, frames.data(), want) == want;
    sf_close(f);
    if (!ok)
        throw std::runtime_error("short write to " + path);
}

constexpr int kFloatWav = SF_FORMAT_WAV | SF_FORMAT_FLOAT;

// A fresh folder under /tmp, removed with everything in it.
class TempFolder {
public:
    TempFolder()
    {
        char name[] = "/tmp/tolm-tracks-XXXXXX";
        if (!mkdtemp(name))
            throw std::runtime_error("mkdtemp failed");
        mPath = name;
    }
    ~TempFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(mPath, ignored);
    }
    std::string File(const std::string& name) const { return mPath + "/" + name; }
    const std::string& Path() const { return mPath; }

private:
    std::string mPath;
};

} // namespace Tolm::Test
