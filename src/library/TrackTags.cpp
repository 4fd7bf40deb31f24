#include "library/TrackTags.h"

#include "capture/Localization.h"
#include "library/LibraryError.h"

#include <QFile>
#include <memory>
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

} // namespace

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

    TagLib::PropertyMap properties = file->properties();
    properties.replace("ARTIST", TagLib::StringList(ToTagLib(tags.artist)));
    properties.replace("ALBUM", TagLib::StringList(ToTagLib(tags.album)));
    properties.replace("TITLE", TagLib::StringList(ToTagLib(tags.title)));
    if (tags.trackNumber.isEmpty())
        properties.erase("TRACKNUMBER");
    else
        properties.replace("TRACKNUMBER", TagLib::StringList(ToTagLib(tags.trackNumber)));
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
    return TrackTags{first("ARTIST"), first("ALBUM"), first("TITLE"), first("TRACKNUMBER")};
}

} // namespace Tolm::Library
