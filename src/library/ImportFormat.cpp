#include "library/ImportFormat.h"

#include <algorithm>
#include <array>
#include <mutex>
#include <sndfile.h>

namespace Tolm::Library {

namespace {

struct FormatRow {
    ImportFormat format;
    const char* name;
    const char* suffix;
    int sndfileFormat;
};

// 24-bit keeps what a float recording holds above 16 bits; FLAC and WAV players all read it.
// (An integer source keeps its own depth: see TrackEncoder.)
constexpr std::array kFormats{
    FormatRow{ImportFormat::Flac, "flac", "flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_24},
    FormatRow{ImportFormat::Mp3, "mp3", "mp3", SF_FORMAT_MPEG | SF_FORMAT_MPEG_LAYER_III},
    FormatRow{ImportFormat::OggVorbis, "ogg", "ogg", SF_FORMAT_OGG | SF_FORMAT_VORBIS},
    FormatRow{ImportFormat::Opus, "opus", "opus", SF_FORMAT_OGG | SF_FORMAT_OPUS},
    // RF64 only past 4 GiB, where a plain WAV's sizes wrap (see TrackEncoder).
    FormatRow{ImportFormat::Wav, "wav", "wav", SF_FORMAT_RF64 | SF_FORMAT_PCM_24},
};

const FormatRow& Row(ImportFormat format)
{
    return *std::find_if(kFormats.begin(), kFormats.end(),
                         [format](const FormatRow& row) { return row.format == format; });
}

// A virtual file that swallows what is written: enough for libsndfile to set up an encoder.
sf_count_t NullLength(void*)
{
    return 0;
}
sf_count_t NullSeek(sf_count_t, int, void*)
{
    return 0;
}
sf_count_t NullRead(void*, sf_count_t, void*)
{
    return 0;
}
sf_count_t NullWrite(const void*, sf_count_t count, void*)
{
    return count;
}
sf_count_t NullTell(void*)
{
    return 0;
}

bool CanOpenEncoder(int sndfileFormat)
{
    SF_VIRTUAL_IO io{NullLength, NullSeek, NullRead, NullWrite, NullTell};
    SF_INFO info{};
    info.samplerate = 48000;
    info.channels = 2;
    info.format = sndfileFormat;
    SNDFILE* file = sf_open_virtual(&io, SFM_WRITE, &info, nullptr);
    if (file == nullptr)
        return false;
    sf_close(file);
    return true;
}

} // namespace

std::vector<ImportFormat> AllImportFormats()
{
    std::vector<ImportFormat> formats;
    for (const auto& row : kFormats)
        formats.push_back(row.format);
    return formats;
}

QString ImportFormatName(ImportFormat format)
{
    return QString::fromLatin1(Row(format).name);
}

std::optional<ImportFormat> ImportFormatFromName(const QString& name)
{
    const QString wanted = name.trimmed().toLower();
    for (const auto& row : kFormats) {
        if (wanted == QLatin1String(row.name))
            return row.format;
    }
    if (wanted == QLatin1String("vorbis"))
        return ImportFormat::OggVorbis;
    return std::nullopt;
}

QString ImportFormatSuffix(ImportFormat format)
{
    return QString::fromLatin1(Row(format).suffix);
}

int ImportFormatSndfileFormat(ImportFormat format)
{
    return Row(format).sndfileFormat;
}

bool ImportFormatAvailable(ImportFormat format)
{
    // Asked once per format: opening an encoder is not free.
    static std::once_flag once;
    static std::array<bool, kFormats.size()> available{};
    std::call_once(once, [] {
        for (size_t i = 0; i < kFormats.size(); ++i)
            available[i] = CanOpenEncoder(kFormats[i].sndfileFormat);
    });
    for (size_t i = 0; i < kFormats.size(); ++i) {
        if (kFormats[i].format == format)
            return available[i];
    }
    return false;
}

int StoredSampleRate(ImportFormat format, int trackRate)
{
    auto oneOf = [trackRate](std::initializer_list<int> rates) {
        return std::find(rates.begin(), rates.end(), trackRate) != rates.end();
    };
    switch (format) {
    case ImportFormat::Opus:
        // Opus runs at 48 kHz inside; every Opus encoder stores 44.1 kHz material at 48 kHz.
        return oneOf({8000, 12000, 16000, 24000, 48000}) ? trackRate : 48000;
    case ImportFormat::Mp3:
        if (oneOf({8000, 11025, 12000, 16000, 22050, 24000, 32000, 44100, 48000}))
            return trackRate;
        return trackRate % 11025 == 0 ? 44100 : 48000; // 88.2 and 176.4 kHz halve cleanly
    case ImportFormat::Flac:
    case ImportFormat::OggVorbis:
    case ImportFormat::Wav:
        return trackRate;
    }
    return trackRate;
}

} // namespace Tolm::Library
