#include "library/ImportScript.h"

#include "LibraryTestSupport.h"
#include "capture/InputChain.h"
#include "capture/Localization.h"
#include "library/AppleScriptRunner.h"
#include "library/SafeFileName.h"
#include "library/TrackTags.h"

#include <QDir>
#include <QFileInfo>
#include <gtest/gtest.h>

using namespace Tolm::Library;
using Tolm::Test::DecodeFile;
using Tolm::Test::FilesBelow;

TEST(ImportScript, APathIsAValueWhateverItHolds)
{
    // Quotes, a line break and script code in a folder name: the track goes in, nothing runs.
    Tolm::Test::TemporaryLibrary library;
    const QDir folder(
        QDir(library.scratch())
            .filePath(QStringLiteral(
                "a\"b'c\\\n\"; runProgram(\"touch\", [\"pwned\"]); \"${runProgram('touch', ['pwned'])}")));
    ASSERT_TRUE(QDir().mkpath(folder.path()));
    const QString track = folder.filePath(QStringLiteral("TolmACTmpFile.1.wav"));
    Tolm::Test::WriteTrackFile(track, 44100, 4410);
    QString failure;
    EXPECT_FALSE(convertAndTagAudioFile4(track, QStringLiteral("A"), QStringLiteral("B"), QStringLiteral("C"),
                                         QStringLiteral("1"), false, &failure))
        << failure.toStdString();
    EXPECT_TRUE(QFileInfo::exists(QDir(library.folder()).filePath(QStringLiteral("A/B/01 C.flac"))));
    EXPECT_FALSE(QFileInfo::exists(QDir::current().filePath(QStringLiteral("pwned"))));
}

TEST(ImportScript, NormalisesToThePeakTheMetersSaw)
{
    Tolm::Test::TemporaryLibrary library;
    const QDir scratch(library.scratch());
    const QDir album(QDir(library.folder()).filePath(QStringLiteral("A/B")));
    const QString track = scratch.filePath(QStringLiteral("TolmACTmpFile.1.wav"));
    const QString normalized = scratch.filePath(QStringLiteral("normalized.wav"));
    Tolm::Test::WriteTrackFile(track, 44100, 5000, 0.5f);
    const auto original = DecodeFile(track);

    Tolm::Capture::ResetVUMax();
    Tolm::Capture::ssVUMax.store(0.5f);
    EXPECT_FALSE(convertAndTagAudioFile4(track, QStringLiteral("A"), QStringLiteral("B"),
                                         QStringLiteral("Loud"), QStringLiteral("1"), true));
    const auto scaled = DecodeFile(normalized);
    ASSERT_EQ(scaled.frames, original.frames);
    const float gain = 0.97f / 0.5f;
    for (size_t i = 0; i < scaled.samples.size(); ++i)
        ASSERT_FLOAT_EQ(scaled.samples[i], original.samples[i] * gain) << "sample " << i;
    const auto filed = DecodeFile(album.filePath(QStringLiteral("01 Loud.flac")));
    ASSERT_EQ(filed.frames, original.frames);
    EXPECT_NEAR(filed.samples[100], original.samples[100] * gain, 1e-6);

    // Silence has no peak to scale to: the track goes in as it is.
    QFile::remove(normalized);
    Tolm::Capture::ResetVUMax();
    EXPECT_FALSE(convertAndTagAudioFile4(track, QStringLiteral("A"), QStringLiteral("B"),
                                         QStringLiteral("Quiet"), QStringLiteral("2"), true));
    EXPECT_FALSE(QFileInfo::exists(normalized));
    const auto asIs = DecodeFile(album.filePath(QStringLiteral("02 Quiet.flac")));
    ASSERT_EQ(asIs.frames, original.frames);
    EXPECT_NEAR(asIs.samples[100], original.samples[100], 1e-6);
}

namespace {

// Imports one track through the import script and returns the file it was filed as.
QString Import(const Tolm::Test::TemporaryLibrary& library, const TrackTags& names)
{
    const QString track = QDir(library.scratch()).filePath(QStringLiteral("TolmACTmpFile.1.wav"));
    Tolm::Test::WriteTrackFile(track, 44100, 4410);
    const QStringList before = FilesBelow(library.folder());
    QString failure;
    EXPECT_FALSE(convertAndTagAudioFile4(track, names.artist, names.album, names.title, names.trackNumber,
                                         false, &failure))
        << failure.toStdString();
    QStringList added = FilesBelow(library.folder());
    for (const QString& file : before)
        added.removeOne(file);
    EXPECT_EQ(added.size(), 1) << added.join(QLatin1Char(',')).toStdString();
    return added.isEmpty() ? QString() : QDir(library.folder()).filePath(added.front());
}

} // namespace

TEST(HostileNames, TagsAreWhatWasTypedAndFileNamesAreSafe)
{
    Tolm::Test::TemporaryLibrary library;
    const QString emoji = QString::fromUtf8(
        "\xf0\x9f\x8e\xb8 Bj\xc3\xb6rk \xf0\x9d\x84\x9e \xf0\x9f\x91\xa9\xe2\x80\x8d\xf0\x9f\x8e\xa4");
    const QString unknownTrack = Tolm::Localized("IDS_UNKNOWN_TRACK");
    const struct {
        TrackTags typed;
        TrackTags tagged = {}; // when it differs from what was typed
    } cases[]{
        {{QStringLiteral("The \"Best\" Band"), QStringLiteral("Ends in \\"),
          QStringLiteral("\"quoted\" \\\" mix"), QStringLiteral("1")}},
        {{QStringLiteral("$(touch pwned)"), QStringLiteral("`touch pwned2`"),
          QStringLiteral("; touch pwned #"), QStringLiteral("2")}},
        {{QStringLiteral("\"; removeFile(\"x\"); \""), QStringLiteral("${runProgram('touch', ['pwned'])}"),
          QStringLiteral("two\nlines\r\nthree\u2028four %@"), QStringLiteral("3")}},
        {{emoji, emoji, emoji, QStringLiteral("4")}},
        {{QStringLiteral("AC/DC"), QStringLiteral(".."), QStringLiteral("../../../escape"),
          QStringLiteral("5")}},
        {{QStringLiteral("."), QStringLiteral(".hidden"), QString(300, QLatin1Char('t')),
          QStringLiteral("6")}},
        {{QStringLiteral("Long"), QStringLiteral("Names"),
          QString::fromUtf8("\xf0\x9f\x8e\xb8").repeated(150), QStringLiteral("7")}},
        {{QString(), QString(), QString(), QStringLiteral("8")},
         {Tolm::Localized("IDS_UNKNOWN_ARTIST"), Tolm::Localized("IDS_UNKNOWN_ALBUM"),
          unknownTrack.contains(QLatin1String("%1")) ? unknownTrack.arg(8) : unknownTrack,
          QStringLiteral("8")}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.typed.title.toStdString());
        const QString filed = Import(library, c.typed);
        ASSERT_FALSE(filed.isEmpty());
        TrackTags expected = c.tagged.trackNumber.isEmpty() ? c.typed : c.tagged;
        expected.albumArtist = expected.artist; // no album artist given
        EXPECT_EQ(ReadTrackTags(filed), expected);

        // Artist/Album/NN Title.ext, every part inside the library, visible and not too long.
        const QString relative = QDir(library.folder()).relativeFilePath(filed);
        const QStringList parts = relative.split(QLatin1Char('/'));
        EXPECT_EQ(parts.size(), 3) << relative.toStdString();
        for (const QString& part : parts) {
            EXPECT_FALSE(part.startsWith(QLatin1Char('.'))) << part.toStdString();
            EXPECT_LE(part.toUtf8().size(), kMaxNameBytes) << part.toStdString();
            for (const QChar ch : part)
                EXPECT_TRUE(ch.unicode() >= 0x20) << part.toStdString();
        }
    }
    for (const QString& folder : {QDir::currentPath(), library.folder(), library.scratch()}) {
        EXPECT_FALSE(QFileInfo::exists(QDir(folder).filePath(QStringLiteral("pwned"))))
            << folder.toStdString();
        EXPECT_FALSE(QFileInfo::exists(QDir(folder).filePath(QStringLiteral("pwned2"))))
            << folder.toStdString();
    }
    // The script took its intermediate copies out again.
    EXPECT_TRUE(FilesBelow(QDir(library.folder()).filePath(QStringLiteral(".tolm-intake"))).isEmpty());
}
