#include "library/TrackEncoder.h"

#include "library/LibraryError.h"
#include "library/LibrarySettings.h"

#include <QFile>
#include <QFileInfo>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <algorithm>
#include <array>
#include <memory>
#include <samplerate.h>
#include <sndfile.h>
#include <sys/statvfs.h>
#include <vector>

namespace Tolm::Library {

namespace {

constexpr sf_count_t kBlockFrames = 8192;
// Less free space than this after a failed write: the disk is full.
constexpr unsigned long long kDiskFullBytes = 1 << 20;

struct SndfileCloser {
    void operator()(SNDFILE* file) const { sf_close(file); }
};
using SndfileHandle = std::unique_ptr<SNDFILE, SndfileCloser>;

struct ResamplerDeleter {
    void operator()(SRC_STATE* state) const { src_delete(state); }
};
using ResamplerHandle = std::unique_ptr<SRC_STATE, ResamplerDeleter>;

QString SndfileError(SNDFILE* file)
{
    return QString::fromUtf8(sf_strerror(file));
}

bool DiskFull(const QString& path)
{
    struct statvfs disk {};
    const QByteArray folder = QFile::encodeName(QFileInfo(path).absolutePath());
    return ::statvfs(folder.constData(), &disk) == 0 && disk.f_bavail * disk.f_frsize < kDiskFullBytes;
}

// Why a write failed. The encoders behind libsndfile often hide a full disk behind their
// own words ("problem with initialization of the flac decoder") or none at all, so the
// disk is asked first.
QString WriteFailure(SNDFILE* file, const QString& path, int systemError)
{
    if (systemError == ENOSPC || systemError == EDQUOT || DiskFull(path))
        return QString::fromLocal8Bit(std::strerror(ENOSPC));
    if (systemError != 0)
        return QString::fromLocal8Bit(std::strerror(systemError));
    if (sf_error(file) != SF_ERR_NO_ERROR)
        return SndfileError(file);
    return QStringLiteral("the encoder stopped");
}

long long ReplaceNonFinite(float* samples, size_t count)
{
    long long replaced = 0;
    for (size_t i = 0; i < count; ++i) {
        if (!std::isfinite(samples[i])) {
            samples[i] = 0.0f;
            ++replaced;
        }
    }
    return replaced;
}

void SetEncoderQuality(SNDFILE* file, ImportFormat format)
{
    // The user's 0..10 quality; libsndfile's compression level runs the other way, 0..1.
    const double quality = LibrarySettings::quality(format) / 10.0;
    switch (format) {
    case ImportFormat::Mp3: {
        int mode = SF_BITRATE_MODE_VARIABLE;
        sf_command(file, SFC_SET_BITRATE_MODE, &mode, sizeof mode);
        double level = 1.0 - quality; // 8 is about LAME's V2, transparent for most listeners
        sf_command(file, SFC_SET_COMPRESSION_LEVEL, &level, sizeof level);
        break;
    }
    case ImportFormat::OggVorbis: {
        double vorbisQuality = quality; // 6 is Vorbis q6, about 192 kbit/s
        sf_command(file, SFC_SET_VBR_ENCODING_QUALITY, &vorbisQuality, sizeof vorbisQuality);
        break;
    }
    case ImportFormat::Opus: {
        int mode = SF_BITRATE_MODE_VARIABLE;
        sf_command(file, SFC_SET_BITRATE_MODE, &mode, sizeof mode);
        // libsndfile spreads the level evenly over 6 to 512 kbit/s (stereo), where the useful
        // choices for music all sit at the low end: the steps are the usual Opus bitrates.
        constexpr std::array kKbits{32, 48, 64, 80, 96, 112, 128, 160, 192, 256, 320};
        const double kbits = kKbits[size_t(LibrarySettings::quality(format))];
        double level = std::clamp(1.0 - (kbits - 6.0) / (512.0 - 6.0), 0.0, 1.0);
        sf_command(file, SFC_SET_COMPRESSION_LEVEL, &level, sizeof level);
        break;
    }
    case ImportFormat::Flac:
    case ImportFormat::Wav:
        break;
    }
    // Over-full float samples clip instead of wrapping round to the other extreme.
    sf_command(file, SFC_SET_CLIPPING, nullptr, SF_TRUE);
}

// The sample format a FLAC or WAV file gets: an integer source keeps its depth (as far as
// the container holds it); a float one, like a recording, is stored at 24 bit.
int StoredSndfileFormat(ImportFormat format, int sourceFormat)
{
    const int stored = ImportFormatSndfileFormat(format);
    if (format != ImportFormat::Flac && format != ImportFormat::Wav)
        return stored;
    const int container = stored & SF_FORMAT_TYPEMASK;
    switch (sourceFormat & SF_FORMAT_SUBMASK) {
    case SF_FORMAT_PCM_S8:
    case SF_FORMAT_PCM_U8:
        return container | (format == ImportFormat::Wav ? SF_FORMAT_PCM_U8 : SF_FORMAT_PCM_S8);
    case SF_FORMAT_PCM_16:
        return container | SF_FORMAT_PCM_16;
    case SF_FORMAT_PCM_32:
        return format == ImportFormat::Wav ? container | SF_FORMAT_PCM_32 : stored;
    default:
        return stored;
    }
}

bool IsInteger(int sndfileFormat)
{
    switch (sndfileFormat & SF_FORMAT_SUBMASK) {
    case SF_FORMAT_PCM_S8:
    case SF_FORMAT_PCM_U8:
    case SF_FORMAT_PCM_16:
    case SF_FORMAT_PCM_24:
    case SF_FORMAT_PCM_32:
        return true;
    default:
        return false;
    }
}

// Closing writes what the encoder still holds: a full disk may show only now.
void Finish(SndfileHandle out, const QString& destination)
{
    errno = 0;
    if (const int error = sf_close(out.release())) {
        const int systemError = errno;
        throw LibraryError(QStringLiteral("Cannot finish %1: %2")
                               .arg(destination, error == SF_ERR_SYSTEM || DiskFull(destination)
                                                     ? WriteFailure(nullptr, destination, systemError)
                                                     : QString::fromUtf8(sf_error_number(error))));
    }
}

class Writer {
  public:
    Writer(SNDFILE* file, const QString& destination) : mFile(file), mDestination(destination) {}

    void Write(const float* samples, sf_count_t frames)
    {
        if (frames == 0)
            return;
        errno = 0;
        if (sf_writef_float(mFile, samples, frames) != frames) {
            const int systemError = errno;
            throw LibraryError(QStringLiteral("Cannot write %1: %2")
                                   .arg(mDestination, WriteFailure(mFile, mDestination, systemError)));
        }
        mFrames += frames;
    }
    long long Frames() const { return mFrames; }

  private:
    SNDFILE* mFile;
    QString mDestination;
    long long mFrames = 0;
};

} // namespace

TrackEncoder::Result TrackEncoder::Encode(const QString& source, const QString& destination,
                                          ImportFormat format, const Progress& progress)
{
    if (!ImportFormatAvailable(format))
        throw LibraryError(
            QStringLiteral("This system cannot encode %1 files.").arg(ImportFormatName(format).toUpper()));

    SF_INFO inInfo{};
    SndfileHandle in(sf_open(QFile::encodeName(source).constData(), SFM_READ, &inInfo));
    if (!in)
        throw LibraryError(QStringLiteral("Cannot read %1: %2").arg(source, SndfileError(nullptr)));
    const int channels = inInfo.channels;
    if (format == ImportFormat::Mp3 && channels > 2)
        throw LibraryError(
            QStringLiteral("MP3 holds at most two channels; %1 has %2.").arg(source).arg(channels));

    SF_INFO outInfo{};
    outInfo.samplerate = StoredSampleRate(format, inInfo.samplerate);
    outInfo.channels = channels;
    outInfo.format = StoredSndfileFormat(format, inInfo.format);
    SndfileHandle out(sf_open(QFile::encodeName(destination).constData(), SFM_WRITE, &outInfo));
    if (!out)
        throw LibraryError(QStringLiteral("Cannot create %1: %2").arg(destination, SndfileError(nullptr)));
    SetEncoderQuality(out.get(), format);
    if ((outInfo.format & SF_FORMAT_TYPEMASK) == SF_FORMAT_RF64)
        sf_command(out.get(), SFC_RF64_AUTO_DOWNGRADE, nullptr, SF_TRUE);

    ResamplerHandle resampler;
    const double ratio = double(outInfo.samplerate) / double(inInfo.samplerate);
    if (outInfo.samplerate != inInfo.samplerate) {
        int error = 0;
        resampler.reset(src_new(SRC_SINC_MEDIUM_QUALITY, channels, &error));
        if (!resampler)
            throw LibraryError(
                QStringLiteral("Cannot resample: %1").arg(QString::fromUtf8(src_strerror(error))));
    }

    // Integer to integer at the same rate goes through ints: through floats, libsndfile's
    // scaling either way differs by a step at full scale, and the copy would not be exact.
    if (!resampler && IsInteger(inInfo.format) && IsInteger(outInfo.format)) {
        std::vector<int> samples(size_t(kBlockFrames) * size_t(channels));
        long long framesCopied = 0;
        for (sf_count_t got = kBlockFrames; got == kBlockFrames;) {
            got = sf_readf_int(in.get(), samples.data(), kBlockFrames);
            if (got < 0)
                throw LibraryError(QStringLiteral("Cannot read %1: %2").arg(source, SndfileError(in.get())));
            errno = 0;
            if (got > 0 && sf_writef_int(out.get(), samples.data(), got) != got)
                throw LibraryError(WriteFailure(out.get(), destination, errno));
            framesCopied += got;
            if (progress && inInfo.frames > 0)
                progress(double(framesCopied) / double(inInfo.frames));
        }
        Finish(std::move(out), destination);
        return {outInfo.samplerate, framesCopied, 0};
    }

    std::vector<float> input(size_t(kBlockFrames) * size_t(channels));
    const auto outBlockFrames = sf_count_t(double(kBlockFrames) * ratio) + 64;
    std::vector<float> output(resampler ? size_t(outBlockFrames) * size_t(channels) : 0);
    Writer writer(out.get(), destination);
    long long framesRead = 0;
    long long replaced = 0;
    for (bool last = false; !last;) {
        const sf_count_t got = sf_readf_float(in.get(), input.data(), kBlockFrames);
        if (got < 0)
            throw LibraryError(QStringLiteral("Cannot read %1: %2").arg(source, SndfileError(in.get())));
        last = got < kBlockFrames;
        replaced += ReplaceNonFinite(input.data(), size_t(got) * size_t(channels));
        framesRead += got;
        if (!resampler) {
            writer.Write(input.data(), got);
        } else {
            SRC_DATA data{};
            data.data_in = input.data();
            data.input_frames = long(got);
            data.src_ratio = ratio;
            data.end_of_input = last ? 1 : 0;
            // At the end the filter's tail still has to come out: keep asking until it is empty.
            do {
                data.data_out = output.data();
                data.output_frames = long(outBlockFrames);
                if (const int error = src_process(resampler.get(), &data))
                    throw LibraryError(
                        QStringLiteral("Cannot resample: %1").arg(QString::fromUtf8(src_strerror(error))));
                writer.Write(output.data(), data.output_frames_gen);
                data.data_in += data.input_frames_used * channels;
                data.input_frames -= data.input_frames_used;
            } while (data.input_frames > 0 || (last && data.output_frames_gen > 0));
        }
        if (progress && inInfo.frames > 0)
            progress(double(framesRead) / double(inInfo.frames));
    }

    Finish(std::move(out), destination);
    return {outInfo.samplerate, writer.Frames(), replaced};
}

} // namespace Tolm::Library
