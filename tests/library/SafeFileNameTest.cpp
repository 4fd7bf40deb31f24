#include "library/SafeFileName.h"

#include "library/LibraryError.h"

#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace Tolm::Library;

TEST(SafeNameComponent, ReplacesWhatFileSystemsRefuseAndNeverHidesOrEmpties)
{
    const QString guitar = QString::fromUtf8("\xf0\x9f\x8e\xb8");
    const QString wave = QString::fromUtf8("\xf0\x9f\x91\x8b\xf0\x9f\x8f\xbd"); // with a skin tone: 8 bytes
    const struct {
        QString name, fallback, safe;
    } cases[]{
        {QStringLiteral("AC/DC"), QStringLiteral("x"), QStringLiteral("AC_DC")},
        {QStringLiteral("What? Why: \"Me\" <*|>\\"), QStringLiteral("x"),
         QStringLiteral("What_ Why_ _Me_ _____")},
        {QString::fromUtf8("two\nlines\tand\0nul", 17), QStringLiteral("x"),
         QStringLiteral("two lines and nul")},
        {QStringLiteral("$(touch pwned) `x` it's"), QStringLiteral("x"),
         QStringLiteral("$(touch pwned) `x` it's")},
        {QStringLiteral(".hidden"), QStringLiteral("x"), QStringLiteral("hidden")},
        {QStringLiteral(" . .. Name. "), QStringLiteral("x"), QStringLiteral("Name")},
        {QStringLiteral(".."), QStringLiteral("Unknown Album"), QStringLiteral("Unknown Album")},
        {QStringLiteral("../../etc"), QStringLiteral("x"), QStringLiteral("_.._etc")},
        {QString(), QStringLiteral("Unknown Artist"), QStringLiteral("Unknown Artist")},
        {QStringLiteral("\n"), QStringLiteral(".."), QStringLiteral("_")},
        // Long names are cut on whole characters.
        {QString(300, QLatin1Char('a')), QStringLiteral("x"), QString(kMaxNameBytes, QLatin1Char('a'))},
        {guitar.repeated(62) + wave, QStringLiteral("x"), guitar.repeated(62)},
    };
    for (const auto& c : cases)
        EXPECT_EQ(SafeNameComponent(c.name, c.fallback), c.safe) << c.name.toStdString();
    EXPECT_EQ(CutToUtf8Bytes(QString::fromUtf8("a\xc3\xa9"), 2), QStringLiteral("a"));
    EXPECT_EQ(CutToUtf8Bytes(QString::fromUtf8("e\xcc\x81x"), 2), QString()); // e + combining accent
}

TEST(ReserveUniqueFile, NeverReplacesAndNumbersCopiesWithinTheLimit)
{
    QTemporaryDir folder;
    const auto reserve = [&](const QString& stem, const QString& suffix) {
        return QFileInfo(ReserveUniqueFile(folder.path(), stem, suffix)).fileName();
    };
    QFile existing(folder.filePath(reserve(QStringLiteral("01 Song"), QStringLiteral("flac"))));
    EXPECT_EQ(QFileInfo(existing).fileName(), QStringLiteral("01 Song.flac"));
    ASSERT_TRUE(existing.open(QIODevice::WriteOnly));
    existing.write("keep me");
    existing.close();
    EXPECT_EQ(reserve(QStringLiteral("01 Song"), QStringLiteral("flac")), QStringLiteral("01 Song (2).flac"));
    EXPECT_EQ(reserve(QStringLiteral("01 Song"), QStringLiteral("flac")), QStringLiteral("01 Song (3).flac"));
    ASSERT_TRUE(existing.open(QIODevice::ReadOnly));
    EXPECT_EQ(existing.readAll(), QByteArray("keep me"));

    // A link planted at the name is a name taken, never followed.
    QFile::link(folder.filePath(QStringLiteral("elsewhere")), folder.filePath(QStringLiteral("Linked.wav")));
    EXPECT_EQ(reserve(QStringLiteral("Linked"), QStringLiteral("wav")), QStringLiteral("Linked (2).wav"));
    EXPECT_FALSE(QFileInfo::exists(folder.filePath(QStringLiteral("elsewhere"))));

    const QString stem = QStringLiteral("07 ") + QString(252, QLatin1Char('x'));
    const QString first = reserve(stem, QStringLiteral("flac"));
    const QString second = reserve(stem, QStringLiteral("flac"));
    EXPECT_EQ(first.toUtf8().size(), kMaxNameBytes);
    EXPECT_TRUE(second.endsWith(QStringLiteral(" (2).flac"))) << second.toStdString();
    EXPECT_LE(second.toUtf8().size(), kMaxNameBytes);

    try {
        ReserveUniqueFile(folder.filePath(QStringLiteral("missing")), QStringLiteral("a"),
                          QStringLiteral("wav"));
        FAIL() << "no error";
    } catch (const LibraryError& error) {
        EXPECT_TRUE(error.message().contains(QStringLiteral("missing")));
    }
}
