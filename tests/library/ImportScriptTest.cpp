#include "library/ImportScript.h"

#include "LibraryTestSupport.h"
#include "capture/InputChain.h"
#include "library/AppleScriptRunner.h"

#include <QDir>
#include <QFileInfo>
#include <gtest/gtest.h>

using namespace Tolm::Library;
using Tolm::Test::DecodeFile;

TEST(ImportScript, EscapedNamesReadBackExactlyAsScriptLiterals)
{
    const QStringList names{
        QStringLiteral("The \"Best\" Of"),
        QStringLiteral("Trailing \\"),
        QStringLiteral("\\\"\\\\\""),
        QStringLiteral("$(touch pwned) `touch pwned` 'single'"),
        QStringLiteral("two\nlines\r\nand\u2028more"),
        QString::fromUtf8("Sigur R\xc3\xb3s \xf0\x9f\x8e\xb8\xf0\x9f\x91\xa9\xe2\x80\x8d\xf0\x9f\x8e\xa4"),
        QStringLiteral("\"; removeFile(\"/etc/passwd\"); \""),
    };
    for (const QString& name : names) {
        const QByteArray script = (QStringLiteral("var text = \"") + lineBreaksEscaped(escapedFormOf(name)) +
                                   QStringLiteral("\"; text"))
                                      .toUtf8();
        ScriptResultDescriptor result;
        EXPECT_EQ(LowRunAppleScript(script.constData(), size_t(script.size()), &result), noErr)
            << name.toStdString();
        EXPECT_EQ(result.text, name);
    }
    // A value holding the placeholder is not filled again.
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
