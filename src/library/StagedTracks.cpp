#include "library/StagedTracks.h"

#include "library/LibraryError.h"

#include <QDir>
#include <QFile>
#include <algorithm>
#include <cmath>
#include <memory>
#include <sndfile.h>
#include <vector>

namespace Tolm::Library {

namespace {

struct SndfileCloser {
    void operator()(SNDFILE* file) const { sf_close(file); }
};
using SndfileHandle = std::unique_ptr<SNDFILE, SndfileCloser>;

constexpr sf_count_t kBlockFrames = 16384;

// A recorded track is float; a track cut from an integer file stays integer at its depth, so
// what is made of it later need not be bigger than the original.
int StagedSubformat(int sourceFormat)
{
    switch (sourceFormat & SF_FORMAT_SUBMASK) {
    case SF_FORMAT_PCM_S8:
    case SF_FORMAT_PCM_U8:
        return SF_FORMAT_PCM_U8; // WAV's 8-bit
    case SF_FORMAT_PCM_16:
    case SF_FORMAT_PCM_24:
    case SF_FORMAT_PCM_32:
        return sourceFormat & SF_FORMAT_SUBMASK;
    default:
        return SF_FORMAT_FLOAT;
    }
}

sf_count_t ReadFrames(SNDFILE* file, float* samples, sf_count_t frames)
{
    return sf_readf_float(file, samples, frames);
}
sf_count_t ReadFrames(SNDFILE* file, int* samples, sf_count_t frames)
{
    return sf_readf_int(file, samples, frames);
}
sf_count_t WriteFrames(SNDFILE* file, const float* samples, sf_count_t frames)
{
    return sf_writef_float(file, samples, frames);
}
sf_count_t WriteFrames(SNDFILE* file, const int* samples, sf_count_t frames)
{
    return sf_writef_int(file, samples, frames);
}
float Magnitude(float sample)
{
    return std::fabs(sample);
}
float Magnitude(int sample)
{
    return float(std::fabs(double(sample)) / 2147483648.0);
}

template <typename Sample>
void CopyFrames(SNDFILE* in, SNDFILE* out, const QString& source, const QString& path, int channels,
                long long wanted, float& peak, const std::function<void(double)>& progress)
{
    std::vector<Sample> block(size_t(kBlockFrames) * size_t(channels));
    for (long long done = 0; done < wanted;) {
        const sf_count_t want = sf_count_t(std::min<long long>(kBlockFrames, wanted - done));
        const sf_count_t got = ReadFrames(in, block.data(), want);
        if (got <= 0)
            throw LibraryError(QStringLiteral("Cannot read %1: it ends early").arg(source));
        for (size_t i = 0; i < size_t(got) * size_t(channels); ++i)
            peak = std::max(peak, Magnitude(block[i]));
        if (WriteFrames(out, block.data(), got) != got)
            throw LibraryError(
                QStringLiteral("Cannot write %1: %2").arg(path, QString::fromUtf8(sf_strerror(out))));
        done += got;
        if (progress)
            progress(double(done) / double(wanted));
    }
}

} // namespace

StagedTracks::StagedTracks() : mFolder(QDir(QDir::tempPath()).filePath(QStringLiteral("tolm-tracks-XXXXXX")))
{
    if (!mFolder.isValid())
        throw LibraryError(QStringLiteral("Cannot make a temporary folder: %1").arg(mFolder.errorString()));
}

QString StagedTracks::fileNameForTrack(UInt32 track)
{
    if (track >= 1 && track <= UInt32(mReferred.size()) && !mReferred.at(qsizetype(track) - 1).isEmpty())
        return mReferred.at(qsizetype(track) - 1);
    return QDir(mFolder.path()).filePath(QStringLiteral("TolmACTmpFile.%1.wav").arg(track));
}

void StagedTracks::releaseTrack(UInt32 track)
{
    if (track >= 1 && track <= UInt32(mReferred.size()) && !mReferred.at(qsizetype(track) - 1).isEmpty())
        return;
    RecordedTracks::releaseTrack(track);
}

void StagedTracks::refer(const QString& source)
{
    SF_INFO info{};
    if (!SndfileHandle(sf_open(QFile::encodeName(source).constData(), SFM_READ, &info)))
        throw LibraryError(
            QStringLiteral("Cannot read %1: %2").arg(source, QString::fromUtf8(sf_strerror(nullptr))));
    mReferred.resize(qsizetype(mCount));
    mReferred << source;
    ++mCount;
}

void StagedTracks::stage(const QString& source, long long firstFrame, long long frames,
                         const std::function<void(double)>& progress)
{
    SF_INFO inInfo{};
    SndfileHandle in(sf_open(QFile::encodeName(source).constData(), SFM_READ, &inInfo));
    if (!in)
        throw LibraryError(
            QStringLiteral("Cannot read %1: %2").arg(source, QString::fromUtf8(sf_strerror(nullptr))));
    firstFrame = std::clamp<long long>(firstFrame, 0, inInfo.frames);
    const long long available = inInfo.frames - firstFrame;
    const long long wanted = frames < 0 ? available : std::min(frames, available);
    if (firstFrame > 0 && sf_seek(in.get(), firstFrame, SEEK_SET) < 0)
        throw LibraryError(
            QStringLiteral("Cannot read %1: %2").arg(source, QString::fromUtf8(sf_strerror(in.get()))));

    mReferred.resize(qsizetype(mCount));
    const QString path = fileNameForTrack(mCount + 1);
    SF_INFO outInfo{};
    outInfo.samplerate = inInfo.samplerate;
    outInfo.channels = inInfo.channels;
    outInfo.format = SF_FORMAT_RF64 | StagedSubformat(inInfo.format);
    SndfileHandle out(sf_open(QFile::encodeName(path).constData(), SFM_WRITE, &outInfo));
    if (!out)
        throw LibraryError(
            QStringLiteral("Cannot write %1: %2").arg(path, QString::fromUtf8(sf_strerror(nullptr))));
    // Plain WAV while it stays below 4 GiB, which every program reads.
    sf_command(out.get(), SFC_RF64_AUTO_DOWNGRADE, nullptr, SF_TRUE);

    if ((outInfo.format & SF_FORMAT_SUBMASK) == SF_FORMAT_FLOAT)
        CopyFrames<float>(in.get(), out.get(), source, path, inInfo.channels, wanted, mPeak, progress);
    else
        CopyFrames<int>(in.get(), out.get(), source, path, inInfo.channels, wanted, mPeak, progress);
    if (sf_close(out.release()) != 0)
        throw LibraryError(QStringLiteral("Cannot write %1").arg(path));
    ++mCount;
}


} // namespace Tolm::Library
