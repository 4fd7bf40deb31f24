#include "library/TrackTags.h"

#include "capture/Localization.h"
#include "library/LibraryError.h"

#include <QFile>
#include <QRegularExpression>
#include <memory>
#include <tuple>
#include <utility>
#include <taglib/fileref.h>
#include <taglib/flacfile.h>
#include <taglib/mpegfile.h>
#include <taglib/opusfile.h>
#include <taglib/tpropertymap.h>
#include <taglib/vorbisfile.h>
#include <taglib/wavfile.h>

namespace Tolm::Library {

namespace {

TagLib::String ToTagLib(const QString& text)
{
    return TagLib::String(text.toStdString(), TagLib::String::UTF8);
}

QString FromTagLib(const TagLib::String& text)
{
    return QString::fromStdString(text.to8Bit(true));
}

std::unique_ptr<TagLib::File> OpenForTagging(const QByteArray& name, ImportFormat format)
{
    switch (format) {
    case ImportFormat::Flac:
        return std::make_unique<TagLib::FLAC::File>(name.constData());
    case ImportFormat::Mp3:
        return std::make_unique<TagLib::MPEG::File>(name.constData());
    case ImportFormat::OggVorbis:
        return std::make_unique<TagLib::Ogg::Vorbis::File>(name.constData());
    case ImportFormat::Opus:
        return std::make_unique<TagLib::Ogg::Opus::File>(name.constData());
    case ImportFormat::Wav:
        return std::make_unique<TagLib::RIFF::WAV::File>(name.constData());
    }
    return nullptr;
}

bool UsesVorbisComments(ImportFormat format)
{
    return format == ImportFormat::Flac || format == ImportFormat::OggVorbis || format == ImportFormat::Opus;
}

void SetOrErase(TagLib::PropertyMap& properties, const char* key, const QString& value)
{
    if (value.isEmpty())
        properties.erase(key);
    else
        properties.replace(key, TagLib::StringList(ToTagLib(value)));
}

// "7/12" -> 7 and 12; "7" -> 7 and 0.
std::pair<QString, int> NumberAndTotal(const QString& text)
{
    const qsizetype slash = text.indexOf(QLatin1Char('/'));
    if (slash < 0)
        return {text.trimmed(), 0};
    return {text.left(slash).trimmed(), text.mid(slash + 1).trimmed().toInt()};
}

} // namespace

TrackTags WithAlbumTags(TrackTags tags, const AlbumTags& album)
{
    tags.albumArtist = album.albumArtist;
    tags.trackTotal = album.trackTotal;
    tags.disc = album.disc;
    tags.date = album.date;
    return tags;
}

std::optional<int> SideNumber(const QString& side)
{
    const QString text = side.trimmed();
    if (text.size() == 1 && text.at(0).isLetter() && text.at(0).toUpper() >= QLatin1Char('A') &&
        text.at(0).toUpper() <= QLatin1Char('Z'))
        return text.at(0).toUpper().unicode() - 'A' + 1;
    bool ok = false;
    const int number = text.toInt(&ok);
    return ok && number >= 1 && number <= 26 ? std::optional<int>(number) : std::nullopt;
}

std::optional<QString> YearText(const QString& year)
{
    static const QRegularExpression fourDigits(QStringLiteral("^[0-9]{4}$"));
    const QString text = year.trimmed();
    return fourDigits.match(text).hasMatch() ? std::optional<QString>(text) : std::nullopt;
}

QString UnknownTrackName(const QString& trackNumber)
{
    const QString text = Localized("IDS_UNKNOWN_TRACK");
    return text.contains(QLatin1String("%1")) ? text.arg(trackNumber) : text;
}

QString UnknownArtistName()
{
    return Localized("IDS_UNKNOWN_ARTIST");
}

QString UnknownAlbumName()
{
    return Localized("IDS_UNKNOWN_ALBUM");
}

void WriteTrackTags(const QString& path, ImportFormat format, const TrackTags& tags)
{
    const QByteArray name = QFile::encodeName(path);
    auto file = OpenForTagging(name, format);
    if (!file || !file->isValid())
        throw LibraryError(
            QStringLiteral("Cannot tag %1: not a readable %2 file").arg(path, ImportFormatName(format)));

    // Blanks typed around a name are never part of it, and players sort by these fields.
    const QString artist = tags.artist.trimmed();
    const QString albumArtist = tags.albumArtist.trimmed();
    const QString number = tags.trackNumber.trimmed();
    const QString total = tags.trackTotal > 0 ? QString::number(tags.trackTotal) : QString();
    TagLib::PropertyMap properties = file->properties();
    properties.replace("ARTIST", TagLib::StringList(ToTagLib(artist)));
    properties.replace("ALBUM", TagLib::StringList(ToTagLib(tags.album.trimmed())));
    properties.replace("TITLE", TagLib::StringList(ToTagLib(tags.title.trimmed())));
    SetOrErase(properties, "ALBUMARTIST", albumArtist.isEmpty() ? artist : albumArtist);
    // Vorbis comments keep the total in a field of its own; ID3v2 has one frame, "n/N".
    if (UsesVorbisComments(format) || number.isEmpty() || total.isEmpty()) {
        SetOrErase(properties, "TRACKNUMBER", number);
        SetOrErase(properties, "TRACKTOTAL", UsesVorbisComments(format) ? total : QString());
    } else {
        SetOrErase(properties, "TRACKNUMBER", number + QLatin1Char('/') + total);
        properties.erase("TRACKTOTAL");
    }
    SetOrErase(properties, "DISCNUMBER", tags.disc > 0 ? QString::number(tags.disc) : QString());
    SetOrErase(properties, "DATE", tags.date.trimmed());
    file->setProperties(properties);

    bool saved = false;
    if (auto* mpeg = dynamic_cast<TagLib::MPEG::File*>(file.get()))
        saved = mpeg->save(TagLib::MPEG::File::ID3v2, TagLib::File::StripOthers, TagLib::ID3v2::v4);
    else
        saved = file->save();
    if (!saved)
        throw LibraryError(QStringLiteral("Cannot write the tags of %1").arg(path));
}

std::optional<TrackTags> ReadTrackTags(const QString& path)
{
    const QByteArray name = QFile::encodeName(path);
    TagLib::FileRef ref(name.constData(), false);
    if (ref.isNull() || ref.file() == nullptr)
        return std::nullopt;
    const TagLib::PropertyMap properties = ref.file()->properties();
    auto first = [&properties](const char* key) {
        const auto found = properties.find(key);
        return found == properties.end() || found->second.isEmpty() ? QString()
                                                                    : FromTagLib(found->second.front());
    };
    TrackTags tags;
    tags.artist = first("ARTIST");
    tags.album = first("ALBUM");
    tags.title = first("TITLE");
    int total = 0;
    std::tie(tags.trackNumber, total) = NumberAndTotal(first("TRACKNUMBER"));
    for (const char* key : {"TRACKTOTAL", "TOTALTRACKS"})
        total = total > 0 ? total : first(key).trimmed().toInt();
    tags.trackTotal = total;
    tags.albumArtist = first("ALBUMARTIST");
    tags.disc = NumberAndTotal(first("DISCNUMBER")).first.toInt();
    tags.date = first("DATE");
    return tags;
}

} // namespace Tolm::Library
