#include "library/ImportScript.h"

#include "LibraryTestSupport.h"
#include "capture/InputChain.h"
#include "library/AppleScriptRunner.h"

#include <QDir>
#include <QFileInfo>
#include <gtest/gtest.h>

using namespace Tolm::Library;

namespace {

// What a double-quoted literal holding `contents` reads back as, through the script engine.
QString ReadBack(const QString& contents)
{
    const QByteArray script =
        (QStringLiteral("var text = \"") + contents + QStringLiteral("\"; text")).toUtf8();
    ScriptResultDescriptor result;
    const OSStatus status = LowRunAppleScript(script.constData(), size_t(script.size()), &result);
    EXPECT_EQ(status, noErr) << result.text.toStdString();
    return result.text;
}

} // namespace

TEST(EscapedFormOf, EscapesBackslashesBeforeQuotes)
{
    EXPECT_EQ(escapedFormOf(QStringLiteral("The \"Best\" Of")), QStringLiteral("The \\\"Best\\\" Of"));
    EXPECT_EQ(escapedFormOf(QStringLiteral("Ends in \\")), QStringLiteral("Ends in \\\\"));
    // A quote after a backslash: the backslash doubles, and the quote's own backslash stays single.
    EXPECT_EQ(escapedFormOf(QStringLiteral("a\\\"b")), QStringLiteral("a\\\\\\\"b"));
    EXPECT_EQ(escapedFormOf(QString()), QString());
    // Nothing else is touched, line breaks included.
    EXPECT_EQ(escapedFormOf(QStringLiteral("it's\n$(x) `y`")), QStringLiteral("it's\n$(x) `y`"));
}

TEST(EscapedFormOf, MakesLiteralsThatReadBackExactly)
{
    const QStringList names{
        QStringLiteral("The \"Best\" Of"),
        QStringLiteral("Trailing \\"),
        QStringLiteral("\\\"\\\\\""),
        QStringLiteral("$(touch pwned)"),
        QStringLiteral("`touch pwned`"),
        QStringLiteral("two\nlines\r\nand\u2028more"),
        QStringLiteral("%@ stays"),
        QString::fromUtf8("Sigur R\xc3\xb3s \xf0\x9f\x8e\xb8\xf0\x9f\x91\xa9\xe2\x80\x8d\xf0\x9f\x8e\xa4"),
        QStringLiteral("'single' quotes"),
        QStringLiteral("\"; removeFile(\"/etc/passwd\"); \""),
    };
    for (const QString& name : names)
        EXPECT_EQ(ReadBack(lineBreaksEscaped(escapedFormOf(name))), name) << name.toStdString();
}

TEST(ImportScript, FillsTheFivePlaceholdersInOrder)
{
    const QString script =
        importScriptFor(QStringLiteral("/tmp/TolmACTmpFile.3.wav"), QStringLiteral("Artist %@"),
                        QStringLiteral("Album"), QStringLiteral("Name"), QStringLiteral("11"));
    EXPECT_FALSE(script.contains(QStringLiteral("\"%@\"")));
    const auto path = script.indexOf(QStringLiteral("\"/tmp/TolmACTmpFile.3.wav\""));
    const auto artist = script.indexOf(QStringLiteral("\"Artist %@\""));
    const auto album = script.indexOf(QStringLiteral("\"Album\""));
    const auto name = script.indexOf(QStringLiteral("\"Name\""));
    const auto number = script.indexOf(QStringLiteral("\"11\""));
    EXPECT_GE(path, 0);
    EXPECT_LT(path, artist);
    EXPECT_LT(artist, album);
    EXPECT_LT(album, name);
    EXPECT_LT(name, number);
}

TEST(ImportScript, FillPlaceholdersLeavesMissingValuesAndExtraPlaceholders)
{
    EXPECT_EQ(fillPlaceholders(QStringLiteral("a%@b%@c"), {QStringLiteral("1")}), QStringLiteral("a1b%@c"));
    EXPECT_EQ(fillPlaceholders(QStringLiteral("%@%@"), {QStringLiteral("%@"), QStringLiteral("x")}),
              QStringLiteral("%@x"));
}

TEST(ImportScript, AnUnescapedPathWithAQuoteFailsTheScript)
{
    // The path goes in as it is; a quote in it breaks the script, which is reported as a failure.
    Tolm::Test::TemporaryLibrary library;
    QString message;
    EXPECT_TRUE(convertAndTagAudioFile4(QStringLiteral("/tmp/a\"b.wav"), QStringLiteral("A"),
                                        QStringLiteral("B"), QStringLiteral("C"), QStringLiteral("1"), false,
                                        &message));
}

TEST(ImportScript, NormalisesToThePeakTheMetersSawIntoNormalizedWav)
{
    Tolm::Test::TemporaryLibrary library;
    const QString track = QDir(library.scratch()).filePath(QStringLiteral("TolmACTmpFile.1.wav"));
    const QString normalized = QDir(library.scratch()).filePath(QStringLiteral("normalized.wav"));
    Tolm::Test::WriteTrackFile(track, 44100, 5000, 0.5f);
    const auto original = Tolm::Test::DecodeFile(track);

    Tolm::Capture::ResetVUMax();
    Tolm::Capture::ssVUMax.store(0.5f);
    EXPECT_FALSE(convertAndTagAudioFile4(track, QStringLiteral("A"), QStringLiteral("B"),
                                         QStringLiteral("Loud"), QStringLiteral("1"), true));
    const auto scaled = Tolm::Test::DecodeFile(normalized);
    ASSERT_EQ(scaled.frames, original.frames);
    const float gain = 0.97f / 0.5f; // 1.94
    for (size_t i = 0; i < scaled.samples.size(); ++i)
        ASSERT_FLOAT_EQ(scaled.samples[i], original.samples[i] * gain) << "sample " << i;
    const auto filed =
        Tolm::Test::DecodeFile(QDir(library.folder()).filePath(QStringLiteral("A/B/01 Loud.flac")));
    ASSERT_EQ(filed.frames, original.frames);
    EXPECT_NEAR(filed.samples[100], original.samples[100] * gain, 1e-6);

    // Silence has no peak to scale to: the track goes in as it is.
    QFile::remove(normalized);
    Tolm::Capture::ResetVUMax();
    EXPECT_FALSE(convertAndTagAudioFile4(track, QStringLiteral("A"), QStringLiteral("B"),
                                         QStringLiteral("Quiet"), QStringLiteral("2"), true));
    EXPECT_FALSE(QFileInfo::exists(normalized));
    const auto asIs =
        Tolm::Test::DecodeFile(QDir(library.folder()).filePath(QStringLiteral("A/B/02 Quiet.flac")));
    ASSERT_EQ(asIs.frames, original.frames);
    EXPECT_NEAR(asIs.samples[100], original.samples[100], 1e-6);
}
