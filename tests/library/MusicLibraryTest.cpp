#include "library/MusicLibrary.h"

#include "LibraryTestSupport.h"
#include "library/LibraryError.h"
#include "library/TrackTags.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <cmath>
#include <gtest/gtest.h>
#include <unistd.h>

using namespace Tolm::Library;
using Tolm::Test::DecodeFile;
using Tolm::Test::FilesBelow;
using Tolm::Test::TemporaryLibrary;
using Tolm::Test::WriteTrackFile;

namespace {

double Rms(const std::vector<float>& samples)
{
    double sum = 0.0;
    for (float s : samples)
        sum += double(s) * s;
    return samples.empty() ? 0.0 : std::sqrt(sum / double(samples.size()));
}

class MusicLibraryTest : public ::testing::Test {
  protected:
    QString trackFile(int rate = 48000, long long frames = 24000)
    {
        const QString path =
            QDir(mLibrary.scratch()).filePath(QStringLiteral("TolmACTmpFile.%1.wav").arg(++mFiles));
        WriteTrackFile(path, rate, frames);
        return path;
    }

    MusicLibrary::TrackPtr addTagged(MusicLibrary& library, const QString& file, const QString& title,
                                     const QString& number)
    {
        auto track = library.add(file);
        library.setTags(track, {QStringLiteral("Artist"), QStringLiteral("Album"), title, number});
        return track;
    }

    TemporaryLibrary mLibrary;
    int mFiles = 0;
};

} // namespace

TEST_F(MusicLibraryTest, AvailableOnlyWhileTheFolderIsThereAndWritable)
{
    const QString folder = QDir(mLibrary.scratch()).filePath(QStringLiteral("drive/Music"));
    MusicLibrary library(folder);
    EXPECT_THROW(library.checkAvailable(), LibraryError);
    EXPECT_THROW(library.trackCount(), LibraryError);
    EXPECT_THROW(library.add(trackFile()), LibraryError);
    EXPECT_FALSE(QFileInfo::exists(folder))
        << "a chosen folder is never made: it may be a drive not plugged in";

    ASSERT_TRUE(QDir().mkpath(folder));
    EXPECT_NO_THROW(library.checkAvailable());
    EXPECT_EQ(library.trackCount(), 0);

    QDir(folder).removeRecursively();
    QFile(folder).open(QIODevice::WriteOnly); // a file where the folder was
    EXPECT_THROW(library.checkAvailable(), LibraryError);
    QFile::remove(folder);

    if (::geteuid() != 0) { // root writes anywhere
        ASSERT_TRUE(QDir().mkpath(folder));
        QFile(folder).setPermissions(QFileDevice::ReadOwner | QFileDevice::ExeOwner);
        EXPECT_THROW(library.checkAvailable(), LibraryError);
        QFile(folder).setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                                     QFileDevice::ExeOwner);
        EXPECT_NO_THROW(library.checkAvailable());
    }
}

TEST_F(MusicLibraryTest, TheDefaultFolderIsMadeWhenItsParentExists)
{
    const QString home = QDir(mLibrary.scratch()).filePath(QStringLiteral("home"));
    MusicLibrary missingHome(QDir(home).filePath(QStringLiteral("Music")), true);
    EXPECT_THROW(missingHome.checkAvailable(), LibraryError);
    ASSERT_TRUE(QDir().mkpath(home));
    EXPECT_NO_THROW(missingHome.checkAvailable());
    EXPECT_TRUE(QFileInfo(QDir(home).filePath(QStringLiteral("Music"))).isDir());
}

TEST_F(MusicLibraryTest, AddConvertRemoveFilesATaggedTrackAndCountsIt)
{
    MusicLibrary library(mLibrary.folder());
    const QString source = trackFile();
    auto added = addTagged(library, source, QStringLiteral("Song"), QStringLiteral("3"));
    EXPECT_TRUE(added->location.startsWith(library.intakeFolder() + QLatin1Char('/')));
    EXPECT_TRUE(QFileInfo::exists(source)) << "add copies";
    EXPECT_EQ(library.trackCount(), 1);

    auto filed = library.convert(added, ImportFormat::Flac);
    EXPECT_EQ(filed->location, QDir(mLibrary.folder()).filePath(QStringLiteral("Artist/Album/03 Song.flac")));
    EXPECT_EQ(ReadTrackTags(filed->location), (TrackTags{QStringLiteral("Artist"), QStringLiteral("Album"),
                                                         QStringLiteral("Song"), QStringLiteral("3")}));
    EXPECT_EQ(library.trackCount(), 2);

    // Taking the added track out leaves its intake copy for the caller to remove.
    library.remove(added);
    EXPECT_EQ(library.trackCount(), 1);
    EXPECT_TRUE(QFileInfo::exists(added->location));
    EXPECT_THROW(library.remove(added), LibraryError);
    EXPECT_THROW(library.convert(added, ImportFormat::Flac), LibraryError);

    // A filed track is its file.
    library.remove(filed);
    EXPECT_FALSE(QFileInfo::exists(filed->location));
}

TEST_F(MusicLibraryTest, NeverReplacesAFiledTrack)
{
    MusicLibrary library(mLibrary.folder());
    auto added = addTagged(library, trackFile(), QStringLiteral("Same"), QStringLiteral("1"));
    const auto first = library.convert(added, ImportFormat::Wav);
    const auto second = library.convert(added, ImportFormat::Wav);
    EXPECT_EQ(QFileInfo(first->location).fileName(), QStringLiteral("01 Same.wav"));
    EXPECT_EQ(QFileInfo(second->location).fileName(), QStringLiteral("01 Same (2).wav"));
    EXPECT_GT(QFileInfo(first->location).size(), 1000);
}

TEST_F(MusicLibraryTest, AFailedConversionLeavesNothingBehind)
{
    MusicLibrary library(mLibrary.folder());
    const QString notAudio = QDir(mLibrary.scratch()).filePath(QStringLiteral("notes.wav"));
    QFile file(notAudio);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("this is not a sound file");
    file.close();
    auto added = addTagged(library, notAudio, QStringLiteral("Broken"), QStringLiteral("1"));
    EXPECT_THROW(library.convert(added, ImportFormat::Flac), LibraryError);
    EXPECT_TRUE(FilesBelow(QDir(mLibrary.folder()).filePath(QStringLiteral("Artist/Album"))).isEmpty());
}

TEST_F(MusicLibraryTest, EveryFormatDecodesBackAtTheTracksRateAndLength)
{
    MusicLibrary library(mLibrary.folder());
    for (const int rate : {44100, 48000}) {
        const long long frames = rate * 3 / 2;
        const QString source = trackFile(rate, frames);
        const auto original = DecodeFile(source);
        for (const ImportFormat format : AllImportFormats()) {
            SCOPED_TRACE(ImportFormatName(format).toStdString() + " at " + std::to_string(rate));
            if (!ImportFormatAvailable(format)) {
                ADD_FAILURE() << "this libsndfile cannot encode " << ImportFormatName(format).toStdString();
                continue;
            }
            auto added = addTagged(library, source, ImportFormatName(format), QString::number(rate));
            const auto filed = library.convert(added, format);
            EXPECT_EQ(QFileInfo(filed->location).suffix(), ImportFormatSuffix(format));
            EXPECT_EQ(ReadTrackTags(filed->location)->title, ImportFormatName(format));

            const auto decoded = DecodeFile(filed->location);
            const int stored = StoredSampleRate(format, rate);
            EXPECT_EQ(decoded.sampleRate, stored);
            EXPECT_EQ(decoded.channels, 2);
            const long long expected = frames * stored / rate;
            if (format == ImportFormat::Flac || format == ImportFormat::Wav) {
                ASSERT_EQ(decoded.frames, frames);
                for (size_t i = 0; i < decoded.samples.size(); ++i)
                    ASSERT_NEAR(decoded.samples[i], original.samples[i], 1e-6) << "sample " << i;
            } else {
                // Lossy encoders pad to whole blocks, and resampling may round.
                EXPECT_NEAR(double(decoded.frames), double(expected), 4096.0);
                EXPECT_NEAR(Rms(decoded.samples), Rms(original.samples), 0.2 * Rms(original.samples));
            }
        }
    }
}
