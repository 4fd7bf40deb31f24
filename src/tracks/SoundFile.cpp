#include "tracks/SoundFile.h"

namespace Tolm::Tracks {

SoundFile::SoundFile(const std::string& path)
{
    mFile = sf_open(path.c_str(), SFM_READ, &mInfo);
    // Float files come back as they are, without scaling.
    if (mFile)
        sf_command(mFile, SFC_SET_SCALE_FLOAT_INT_READ, nullptr, SF_FALSE);
}

SoundFile::SoundFile(int fd, double sampleRate)
{
    mInfo.samplerate = int(sampleRate);
    mInfo.channels = 2;
    mInfo.format = SF_FORMAT_RF64 | SF_FORMAT_FLOAT;
    mFile = sf_open_fd(fd, SFM_WRITE, &mInfo, SF_FALSE);
    if (mFile)
        sf_command(mFile, SFC_RF64_AUTO_DOWNGRADE, nullptr, SF_TRUE);
}

SoundFile::~SoundFile()
{
    close();
}

bool SoundFile::seek(std::int64_t frame)
{
    return sf_seek(mFile, frame, SEEK_SET) == frame;
}

std::int64_t SoundFile::read(float* interleaved, std::int64_t frames)
{
    return sf_readf_float(mFile, interleaved, frames);
}

std::int64_t SoundFile::write(const float* interleaved, std::int64_t frames)
{
    return sf_writef_float(mFile, interleaved, frames);
}

bool SoundFile::close()
{
    if (!mFile)
        return true;
    const bool ok = sf_close(mFile) == 0;
    mFile = nullptr;
    return ok;
}

} // namespace Tolm::Tracks
