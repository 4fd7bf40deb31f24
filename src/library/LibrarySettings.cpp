#include "library/LibrarySettings.h"

#include <QDir>
#include <QSettings>
#include <QStandardPaths>
#include <algorithm>
#include <mutex>

namespace Tolm::Library {

namespace {

const QString kFolderKey = QStringLiteral("Library/Folder");
const QString kFormatKey = QStringLiteral("Library/Format");

QString QualityKey(ImportFormat format)
{
    return QStringLiteral("Library/Quality/") + ImportFormatName(format);
}

int DefaultQuality(ImportFormat format)
{
    switch (format) {
    case ImportFormat::Mp3:
        return 8; // LAME's V2
    case ImportFormat::OggVorbis:
        return 6; // q6
    case ImportFormat::Opus:
        return 6; // 128 kbit/s
    default:
        return 5;
    }
}

std::mutex gOverrideMutex;
std::optional<QString> gFolderOverride;
std::optional<ImportFormat> gFormatOverride;
std::optional<int> gQualityOverride;

QSettings UserSettings()
{
    return QSettings(QStringLiteral("Tolm"), QStringLiteral("TolmAudioConverter"));
}

} // namespace

QString LibrarySettings::defaultFolder()
{
    const QString music = QStandardPaths::writableLocation(QStandardPaths::MusicLocation);
    return music.isEmpty() ? QDir::home().filePath(QStringLiteral("Music")) : music;
}

QString LibrarySettings::folder()
{
    {
        std::lock_guard lock(gOverrideMutex);
        if (gFolderOverride)
            return *gFolderOverride;
    }
    const QString chosen = UserSettings().value(kFolderKey).toString();
    return chosen.isEmpty() ? defaultFolder() : chosen;
}

bool LibrarySettings::folderIsDefault()
{
    {
        std::lock_guard lock(gOverrideMutex);
        if (gFolderOverride)
            return false;
    }
    return UserSettings().value(kFolderKey).toString().isEmpty();
}

ImportFormat LibrarySettings::format()
{
    {
        std::lock_guard lock(gOverrideMutex);
        if (gFormatOverride)
            return *gFormatOverride;
    }
    return ImportFormatFromName(UserSettings().value(kFormatKey).toString()).value_or(ImportFormat::Flac);
}

bool LibrarySettings::isLossy(ImportFormat format)
{
    return format == ImportFormat::Mp3 || format == ImportFormat::OggVorbis || format == ImportFormat::Opus;
}

int LibrarySettings::quality(ImportFormat format)
{
    {
        std::lock_guard lock(gOverrideMutex);
        if (gQualityOverride)
            return *gQualityOverride;
    }
    bool ok = false;
    const int stored = UserSettings().value(QualityKey(format)).toInt(&ok);
    return ok ? std::clamp(stored, 0, 10) : DefaultQuality(format);
}

void LibrarySettings::setQuality(ImportFormat format, int quality)
{
    UserSettings().setValue(QualityKey(format), std::clamp(quality, 0, 10));
}

void LibrarySettings::setFolder(const QString& folder)
{
    UserSettings().setValue(kFolderKey, folder);
}

void LibrarySettings::setFormat(ImportFormat format)
{
    UserSettings().setValue(kFormatKey, ImportFormatName(format));
}

void LibrarySettings::overrideFolder(std::optional<QString> folder)
{
    std::lock_guard lock(gOverrideMutex);
    gFolderOverride = std::move(folder);
}

void LibrarySettings::overrideFormat(std::optional<ImportFormat> format)
{
    std::lock_guard lock(gOverrideMutex);
    gFormatOverride = format;
}

void LibrarySettings::overrideQuality(std::optional<int> quality)
{
    std::lock_guard lock(gOverrideMutex);
    gQualityOverride = quality ? std::optional<int>(std::clamp(*quality, 0, 10)) : std::nullopt;
}

} // namespace Tolm::Library
