#include "LibraryTestSupport.h"
#include "capture/Localization.h"
#include "library/ImportScript.h"
#include "library/LibrarySettings.h"
#include "library/SafeFileName.h"
#include "library/TrackTags.h"

#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <gtest/gtest.h>

using namespace Tolm::Library;
using Tolm::Test::FilesBelow;
using Tolm::Test::TemporaryLibrary;
using Tolm::Test::WriteTrackFile;

namespace {

struct Names {
    QString artist;
    QString album;
    QString title;
};

class HostileNamesTest : public ::testing::Test {
  protected:
    // Imports one track through the import script and returns the file it was filed as.
    QString import(const Names& names, const QString& number = QStringLiteral("1"))
    {
        const QString track = QDir(mLibrary.scratch()).filePath(QStringLiteral("TolmACTmpFile.1.wav"));
        WriteTrackFile(track, 44100, 4410);
        const QStringList before = FilesBelow(mLibrary.folder());
        QString failure;
        EXPECT_FALSE(
            convertAndTagAudioFile4(track, names.artist, names.album, names.title, number, false, &failure))
            << failure.toStdString();
        QStringList added = FilesBelow(mLibrary.folder());
        for (const QString& file : before)
            added.removeOne(file);
        EXPECT_EQ(added.size(), 1) << added.join(QLatin1Char(',')).toStdString();
        return added.isEmpty() ? QString() : QDir(mLibrary.folder()).filePath(added.front());
    }

    void expectSafe(const QString& filed)
    {
        const QString relative = QDir(mLibrary.folder()).relativeFilePath(filed);
        EXPECT_FALSE(relative.startsWith(QLatin1String(".."))) << relative.toStdString();
        const QStringList parts = relative.split(QLatin1Char('/'));
        EXPECT_EQ(parts.size(), 3) << relative.toStdString(); // Artist/Album/NN Title.ext
        for (const QString& part : parts) {
            EXPECT_FALSE(part.startsWith(QLatin1Char('.'))) << part.toStdString();
            EXPECT_LE(part.toUtf8().size(), kMaxNameBytes) << part.toStdString();
            for (const QChar c : part)
                EXPECT_TRUE(c.unicode() >= 0x20 && c != QLatin1Char('/')) << part.toStdString();
        }
    }

    void expectNoCommandRan()
    {
        for (const QString& folder : {QDir::currentPath(), mLibrary.folder(), mLibrary.scratch()}) {
            EXPECT_FALSE(QFileInfo::exists(QDir(folder).filePath(QStringLiteral("pwned"))))
                << folder.toStdString();
            EXPECT_FALSE(QFileInfo::exists(QDir(folder).filePath(QStringLiteral("pwned2"))))
                << folder.toStdString();
        }
    }

    TemporaryLibrary mLibrary;
};

const QString kEmoji = QString::fromUtf8(
    "\xf0\x9f\x8e\xb8 Bj\xc3\xb6rk \xf0\x9d\x84\x9e \xf0\x9f\x91\xa9\xe2\x80\x8d\xf0\x9f\x8e\xa4");

} // namespace

TEST_F(HostileNamesTest, TagsAreWhatWasTypedAndFileNamesAreSafe)
{
    const std::vector<Names> cases{
        {QStringLiteral("The \"Best\" Band"), QStringLiteral("Ends in \\"),
         QStringLiteral("\"quoted\" \\\" mix")},
        {QStringLiteral("$(touch pwned)"), QStringLiteral("`touch pwned2`"),
         QStringLiteral("; touch pwned #")},
        {QStringLiteral("\"; removeFile(\"x\"); \""), QStringLiteral("${runProgram('touch', ['pwned'])}"),
         QStringLiteral("two\nlines\r\nthree\u2028four")},
        {kEmoji, kEmoji, kEmoji},
        {QStringLiteral("AC/DC"), QStringLiteral(".."), QStringLiteral("../../../escape")},
        {QStringLiteral("."), QStringLiteral(".hidden"), QString(300, QLatin1Char('t'))},
        {QStringLiteral("Long"), QStringLiteral("Names"),
         QString::fromUtf8("\xf0\x9f\x8e\xb8").repeated(150)},
    };
    int number = 0;
    for (const Names& names : cases) {
        SCOPED_TRACE(names.title.toStdString());
        const QString trackNumber = QString::number(++number);
        const QString filed = import(names, trackNumber);
        ASSERT_FALSE(filed.isEmpty());
        expectSafe(filed);
        const auto tags = ReadTrackTags(filed);
        ASSERT_TRUE(tags.has_value());
        EXPECT_EQ(tags->artist, names.artist);
        EXPECT_EQ(tags->album, names.album);
        EXPECT_EQ(tags->title, names.title);
        EXPECT_EQ(tags->trackNumber, trackNumber);
    }
    expectNoCommandRan();
    // The script took its intermediate copies out again.
    EXPECT_TRUE(FilesBelow(QDir(mLibrary.folder()).filePath(QStringLiteral(".tolm-intake"))).isEmpty());
}

TEST_F(HostileNamesTest, EveryFormatKeepsTheTags)
{
    const Names names{kEmoji + QStringLiteral(" \"q\""), QStringLiteral("back\\slash\nnew line"), kEmoji};
    for (const ImportFormat format : AllImportFormats()) {
        if (!ImportFormatAvailable(format))
            continue;
        SCOPED_TRACE(ImportFormatName(format).toStdString());
        LibrarySettings::overrideFormat(format);
        const QString filed = import(names, QStringLiteral("12"));
        ASSERT_FALSE(filed.isEmpty());
        EXPECT_EQ(QFileInfo(filed).suffix(), ImportFormatSuffix(format));
        const auto tags = ReadTrackTags(filed);
        ASSERT_TRUE(tags.has_value());
        EXPECT_EQ(*tags, (TrackTags{names.artist, names.album, names.title, QStringLiteral("12")}));
    }
}

TEST_F(HostileNamesTest, EmptyNamesGetTheLocalisedDefaults)
{
    const QString filed = import({}, QStringLiteral("7"));
    ASSERT_FALSE(filed.isEmpty());
    const auto tags = ReadTrackTags(filed);
    ASSERT_TRUE(tags.has_value());
    const QString unknownTrack = Tolm::Localized("IDS_UNKNOWN_TRACK");
    EXPECT_EQ(tags->title, unknownTrack.contains(QLatin1String("%1")) ? unknownTrack.arg(7) : unknownTrack);
    EXPECT_EQ(tags->artist, Tolm::Localized("IDS_UNKNOWN_ARTIST"));
    EXPECT_EQ(tags->album, Tolm::Localized("IDS_UNKNOWN_ALBUM"));
    EXPECT_EQ(tags->trackNumber, QStringLiteral("7"));
}
