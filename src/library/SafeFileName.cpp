#include "library/SafeFileName.h"

#include "library/LibraryError.h"

#include <QDir>
#include <QFile>
#include <QTextBoundaryFinder>
#include <cerrno>
#include <cstring>
#include <string_view>
#include <fcntl.h>
#include <unistd.h>

namespace Tolm::Library {

namespace {

bool IsControl(char32_t c)
{
    return c < 0x20 || (c >= 0x7F && c <= 0x9F) || c == 0x2028 || c == 0x2029;
}

// Refused by FAT, exFAT, NTFS and SMB shares; "/" by every system.
bool IsReserved(char32_t c)
{
    return std::u32string_view(U"/\\:*?\"<>|").find(c) != std::u32string_view::npos;
}

// Leading dots hide a name (or make it "." or ".."); trailing dots and blanks vanish on some systems.
bool IsTrimmed(QChar c)
{
    return c == QLatin1Char('.') || c.isSpace();
}

QString TrimEnds(QString text)
{
    qsizetype start = 0;
    while (start < text.size() && IsTrimmed(text.at(start)))
        ++start;
    qsizetype end = text.size();
    while (end > start && IsTrimmed(text.at(end - 1)))
        --end;
    return text.mid(start, end - start);
}

QString Clean(const QString& name)
{
    QString cleaned;
    cleaned.reserve(name.size());
    for (char32_t c : name.toUcs4()) {
        if (IsControl(c))
            cleaned += QLatin1Char(' ');
        else if (IsReserved(c))
            cleaned += QLatin1Char('_');
        else
            cleaned += QString::fromUcs4(&c, 1);
    }
    return TrimEnds(CutToUtf8Bytes(TrimEnds(cleaned), kMaxNameBytes));
}

int Utf8Length(QStringView text)
{
    return int(text.toUtf8().size());
}

} // namespace

QString CutToUtf8Bytes(const QString& text, int maxBytes)
{
    if (Utf8Length(text) <= maxBytes)
        return text;
    QTextBoundaryFinder graphemes(QTextBoundaryFinder::Grapheme, text);
    qsizetype fits = 0;
    int bytes = 0;
    for (qsizetype at = graphemes.toNextBoundary(); at != -1; at = graphemes.toNextBoundary()) {
        bytes += Utf8Length(QStringView(text).mid(fits, at - fits));
        if (bytes > maxBytes)
            break;
        fits = at;
    }
    return text.left(fits);
}

QString SafeNameComponent(const QString& name, const QString& fallback)
{
    QString safe = Clean(name);
    if (safe.isEmpty())
        safe = Clean(fallback);
    return safe.isEmpty() ? QStringLiteral("_") : safe;
}

QString ReserveUniqueFile(const QString& folder, const QString& stem, const QString& suffix)
{
    const QString extension = suffix.isEmpty() ? QString() : QLatin1Char('.') + suffix;
    for (int copy = 1; copy <= 9999; ++copy) {
        const QString number = copy == 1 ? QString() : QStringLiteral(" (%1)").arg(copy);
        const int room = kMaxNameBytes - Utf8Length(number) - Utf8Length(extension);
        QString base = TrimEnds(CutToUtf8Bytes(stem, room));
        if (base.isEmpty())
            base = QStringLiteral("_");
        const QString path = QDir(folder).filePath(base + number + extension);
        // O_EXCL claims the name atomically; O_NOFOLLOW keeps a planted link from redirecting us.
        const int fd = ::open(QFile::encodeName(path).constData(),
                              O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0644);
        if (fd >= 0) {
            ::close(fd);
            return path;
        }
        if (errno != EEXIST)
            throw LibraryError(QStringLiteral("Cannot create %1: %2")
                                   .arg(path, QString::fromLocal8Bit(std::strerror(errno))));
    }
    throw LibraryError(QStringLiteral("Too many files named %1 in %2").arg(stem + extension, folder));
}

} // namespace Tolm::Library
