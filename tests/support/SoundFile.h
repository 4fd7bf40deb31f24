#pragma once

// A sound file read back whole through libsndfile, as every other program would read it.

#include <sndfile.h>
#include <string>
#include <vector>

namespace Tolm::Test {

struct SoundFile {
    SF_INFO info{};
    std::vector<float> samples; // interleaved
    bool opened = false;

    double Seconds() const { return info.samplerate > 0 ? double(info.frames) / info.samplerate : -1.0; }
    float At(sf_count_t frame, int channel) const { return samples[std::size_t(frame * info.channels + channel)]; }
};

inline SoundFile ReadSoundFile(const std::string& path)
{
    SoundFile file;
    SNDFILE* f = sf_open(path.c_str(), SFM_READ, &file.info);
    if (f == nullptr)
        return file;
    file.opened = true;
    file.samples.resize(std::size_t(file.info.frames * file.info.channels));
    file.info.frames = sf_readf_float(f, file.samples.data(), file.info.frames);
    sf_close(f);
    return file;
}

} // namespace Tolm::Test
