#include "library/SafeFileName.h"

#include "library/LibraryError.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace Tolm::Library;

namespace {

int Utf8Bytes(const QString& text)
{
    return int(text.toUtf8().size());
}

} // namespace

TEST(SafeNameComponent, ReplacesWhatFileSystemsRefuse)
{
    EXPECT_EQ(SafeNameComponent(QStringLiteral("AC/DC"), QStringLiteral("x")), QStringLiteral("AC_DC"));
    EXPECT_EQ(SafeNameComponent(QStringLiteral("What? Why: \"Me\" <*|>\\"), QStringLiteral("x")),
              QStringLiteral("What_ Why_ _Me_ _____"));
    EXPECT_EQ(SafeNameComponent(QString::fromUtf8("two\nlines\tand\0nul", 17), QStringLiteral("x")),
              QStringLiteral("two lines and nul"));
    // Everything else stays as typed.
    EXPECT_EQ(SafeNameComponent(QStringLiteral("$(touch pwned) `x` it's"), QStringLiteral("x")),
              QStringLiteral("$(touch pwned) `x` it's"));
}

TEST(SafeNameComponent, NeverHiddenNeverEmptyNeverDots)
{
    EXPECT_EQ(SafeNameComponent(QStringLiteral(".hidden"), QStringLiteral("x")), QStringLiteral("hidden"));
    EXPECT_EQ(SafeNameComponent(QStringLiteral(" . .. Name. "), QStringLiteral("x")), QStringLiteral("Name"));
    EXPECT_EQ(SafeNameComponent(QStringLiteral(".."), QStringLiteral("Unknown Album")),
              QStringLiteral("Unknown Album"));
    EXPECT_EQ(SafeNameComponent(QStringLiteral("../../etc"), QStringLiteral("x")), QStringLiteral("_.._etc"));
    EXPECT_EQ(SafeNameComponent(QString(), QStringLiteral("Unknown Artist")),
              QStringLiteral("Unknown Artist"));
    EXPECT_EQ(SafeNameComponent(QStringLiteral("\n"), QStringLiteral("..")), QStringLiteral("_"));
}

TEST(SafeNameComponent, CutsLongNamesOnCharacterBoundaries)
{
    const QString longTitle = QString(300, QLatin1Char('a'));
    EXPECT_EQ(SafeNameComponent(longTitle, QStringLiteral("x")), QString(kMaxNameBytes, QLatin1Char('a')));

    // 4-byte characters, and an emoji with a skin tone (8 bytes) that must not be split.
    const QString guitar = QString::fromUtf8("\xf0\x9f\x8e\xb8");
    const QString wave = QString::fromUtf8("\xf0\x9f\x91\x8b\xf0\x9f\x8f\xbd");
    const QString emoji = guitar.repeated(62) + wave; // 248 + 8 bytes
    const QString cut = SafeNameComponent(emoji, QStringLiteral("x"));
    EXPECT_EQ(cut, guitar.repeated(62));
    EXPECT_LE(Utf8Bytes(cut), kMaxNameBytes);

    EXPECT_EQ(CutToUtf8Bytes(QString::fromUtf8("a\xc3\xa9"), 2), QStringLiteral("a"));
    EXPECT_EQ(CutToUtf8Bytes(QString::fromUtf8("e\xcc\x81x"), 2), QStringLiteral("")); // e + combining accent
}

TEST(ReserveUniqueFile, NeverReplacesAndNumbersCopies)
{
    QTemporaryDir folder;
    const QString first = ReserveUniqueFile(folder.path(), QStringLiteral("01 Song"), QStringLiteral("flac"));
    EXPECT_EQ(QFileInfo(first).fileName(), QStringLiteral("01 Song.flac"));
    QFile existing(first);
    ASSERT_TRUE(existing.open(QIODevice::WriteOnly));
    existing.write("keep me");
    existing.close();

    const QString second =
        ReserveUniqueFile(folder.path(), QStringLiteral("01 Song"), QStringLiteral("flac"));
    const QString third = ReserveUniqueFile(folder.path(), QStringLiteral("01 Song"), QStringLiteral("flac"));
    EXPECT_EQ(QFileInfo(second).fileName(), QStringLiteral("01 Song (2).flac"));
    EXPECT_EQ(QFileInfo(third).fileName(), QStringLiteral("01 Song (3).flac"));
    ASSERT_TRUE(existing.open(QIODevice::ReadOnly));
    EXPECT_EQ(existing.readAll(), QByteArray("keep me"));

    // A link planted at the name is a name taken, never followed.
    QFile::link(folder.filePath(QStringLiteral("elsewhere")), folder.filePath(QStringLiteral("Linked.wav")));
    EXPECT_EQ(QFileInfo(ReserveUniqueFile(folder.path(), QStringLiteral("Linked"), QStringLiteral("wav")))
                  .fileName(),
              QStringLiteral("Linked (2).wav"));
    EXPECT_FALSE(QFileInfo::exists(folder.filePath(QStringLiteral("elsewhere"))));
}

TEST(ReserveUniqueFile, LongNamesStayWithinTheLimitWithTheirNumber)
{
    QTemporaryDir folder;
    const QString stem = QStringLiteral("07 ") + QString(252, QLatin1Char('x'));
    const QString first = ReserveUniqueFile(folder.path(), stem, QStringLiteral("flac"));
    const QString second = ReserveUniqueFile(folder.path(), stem, QStringLiteral("flac"));
    EXPECT_EQ(Utf8Bytes(QFileInfo(first).fileName()), kMaxNameBytes);
    EXPECT_TRUE(QFileInfo(second).fileName().endsWith(QStringLiteral(" (2).flac")));
    EXPECT_LE(Utf8Bytes(QFileInfo(second).fileName()), kMaxNameBytes);
    EXPECT_NE(first, second);
}

TEST(ReserveUniqueFile, AMissingFolderIsAClearError)
{
    QTemporaryDir folder;
    try {
        ReserveUniqueFile(folder.filePath(QStringLiteral("missing")), QStringLiteral("a"),
                          QStringLiteral("wav"));
        FAIL() << "no error";
    } catch (const LibraryError& error) {
        EXPECT_TRUE(error.message().contains(QStringLiteral("missing")));
    }
}
