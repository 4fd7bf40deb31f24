// A whole side of five hours in one file: past 4 GiB, where a plain WAV's sizes wrap round.
// The source is sparse, so the test costs time but no disk.

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <cstdint>
#include <gtest/gtest.h>
#include <sndfile.h>

namespace {

constexpr int kRate = 44100;
constexpr std::int64_t kFrames = std::int64_t(5) * 3600 * kRate;

void Put(QByteArray& bytes, std::uint64_t value, int size)
{
    for (int i = 0; i < size; ++i)
        bytes.append(char((value >> (8 * i)) & 0xff));
}

// An RF64 file of stereo float silence whose data is a hole.
bool WriteSparseSide(const QString& path)
{
    const std::uint64_t dataBytes = std::uint64_t(kFrames) * 8;
    QByteArray header;
    header.append("RF64");
    Put(header, 0xffffffff, 4);
    header.append("WAVEds64");
    Put(header, 28, 4);
    const std::uint64_t headerBytes = 12 + 36 + 24 + 8;
    Put(header, headerBytes - 8 + dataBytes, 8);
    Put(header, dataBytes, 8);
    Put(header, std::uint64_t(kFrames), 8);
    Put(header, 0, 4);
    header.append("fmt ");
    Put(header, 16, 4);
    Put(header, 3, 2); // IEEE float
    Put(header, 2, 2);
    Put(header, kRate, 4);
    Put(header, kRate * 8, 4);
    Put(header, 8, 2);
    Put(header, 32, 2);
    header.append("data");
    Put(header, 0xffffffff, 4);
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(header) == header.size() &&
           file.resize(qint64(headerBytes + dataBytes));
}

} // namespace

TEST(LongImport, AFiveHourSideKeepsEveryFrame)
{
    QTemporaryDir folder;
    const QString side = folder.filePath(QStringLiteral("side.wav"));
    ASSERT_TRUE(WriteSparseSide(side));
    SF_INFO info{};
    SNDFILE* check = sf_open(QFile::encodeName(side).constData(), SFM_READ, &info);
    ASSERT_NE(check, nullptr) << sf_strerror(nullptr);
    sf_close(check);
    ASSERT_EQ(info.frames, kFrames);

    QProcess convert;
    convert.setWorkingDirectory(folder.path());
    convert.start(QStringLiteral(TOLM_CONVERT),
                  {QStringLiteral("import"), QStringLiteral("--artist"), QStringLiteral("A"),
                   QStringLiteral("--album"), QStringLiteral("B"), QStringLiteral("--library"),
                   QStringLiteral("Music"), side});
    ASSERT_TRUE(convert.waitForFinished(1'500'000));
    ASSERT_EQ(convert.exitCode(), 0) << convert.readAllStandardError().toStdString();
    const QString filed = QString::fromUtf8(convert.readAllStandardOutput()).trimmed();
    ASSERT_FALSE(filed.isEmpty());

    SF_INFO out{};
    SNDFILE* flac = sf_open(QFile::encodeName(filed).constData(), SFM_READ, &out);
    ASSERT_NE(flac, nullptr) << sf_strerror(nullptr);
    sf_close(flac);
    EXPECT_EQ(out.frames, kFrames);
    EXPECT_EQ(out.samplerate, kRate);
    EXPECT_TRUE(QFile::exists(side)) << "the original is left alone";
}
