#include "library/MusicLibrary.h"

#include "LibraryTestSupport.h"
#include "library/LibraryError.h"
#include "library/TrackTags.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <sndfile.h>
#include <sys/stat.h>
#include <taglib/flacfile.h>
#include <taglib/id3v2tag.h>
#include <taglib/mpegfile.h>
#include <taglib/xiphcomment.h>
#include <unistd.h>

using namespace Tolm::Library;
using Tolm::Test::DecodeFile;

namespace {

unsigned Mode(const QString& path)
{
    struct stat info {};
    return ::stat(QFile::encodeName(path).constData(), &info) == 0 ? unsigned(info.st_mode & 07777) : 0u;
}

// Counts what a conversion reports of samples that were not numbers.
struct ReplacedSamples final : ConversionObserver {
    void conversionProgress(double) override {}
    void trackFiled(const QString&) override {}
    void samplesReplaced(long long count) override { replaced += count; }
    long long replaced = 0;
};

double Rms(const std::vector<float>& samples)
{
    double sum = 0.0;
    for (float s : samples)
        sum += double(s) * s;
    return samples.empty() ? 0.0 : std::sqrt(sum / double(samples.size()));
}

// Players read the total from TRACKTOTAL in Vorbis comments and from TRCK "n/N" in ID3v2.
void ExpectFieldsPlayersRead(const QString& path, ImportFormat format, const std::string& number)
{
    const QByteArray name = QFile::encodeName(path);
    auto frame = [](TagLib::ID3v2::Tag* tag, const char* id) {
        return tag != nullptr && !tag->frameListMap()[id].isEmpty()
                   ? tag->frameListMap()[id].front()->toString().to8Bit(true)
                   : std::string();
    };
    if (format == ImportFormat::Mp3) {
        TagLib::MPEG::File file(name.constData());
        auto* tag = file.ID3v2Tag();
        ASSERT_NE(tag, nullptr);
        EXPECT_EQ(tag->header()->majorVersion(), 4u);
        EXPECT_EQ(frame(tag, "TRCK"), number + "/12");
        EXPECT_EQ(frame(tag, "TPOS"), "2");
        EXPECT_EQ(frame(tag, "TDRC"), "1979");
        EXPECT_FALSE(frame(tag, "TPE2").empty());
        EXPECT_TRUE(tag->frameListMap()["TXXX"].isEmpty()) << "nothing in fields players do not know";
    } else if (format == ImportFormat::Flac) {
        TagLib::FLAC::File file(name.constData());
        auto fields = file.xiphComment()->fieldListMap();
        EXPECT_EQ(fields["TRACKNUMBER"].toString().to8Bit(true), number);
        EXPECT_EQ(fields["TRACKTOTAL"].toString().to8Bit(true), "12");
        EXPECT_EQ(fields["DISCNUMBER"].toString().to8Bit(true), "2");
    }
}

class MusicLibraryTest : public ::testing::Test {
  protected:
    QString trackFile(int rate = 48000, long long frames = 24000)
    {
        const QString path = scratch(QStringLiteral("TolmACTmpFile.%1.wav").arg(++mFiles));
        Tolm::Test::WriteTrackFile(path, rate, frames);
        return path;
    }
    QString scratch(const QString& name) const { return QDir(mLibrary.scratch()).filePath(name); }

    Tolm::Test::TemporaryLibrary mLibrary;
    MusicLibrary mMusic{mLibrary.folder()};
    int mFiles = 0;
};

const TrackTags kSong{QStringLiteral("Artist"), QStringLiteral("Album"), QStringLiteral("Song"),
                      QStringLiteral("3"), QStringLiteral("Artist")};

} // namespace

TEST_F(MusicLibraryTest, AvailableOnlyWhileTheFolderIsThereAndWritable)
{
    const QString folder = scratch(QStringLiteral("drive/Music"));
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

    // The default folder, unlike a chosen one, is made once its parent is there.
    const QString home = scratch(QStringLiteral("home"));
    MusicLibrary byDefault(QDir(home).filePath(QStringLiteral("Music")), true);
    EXPECT_THROW(byDefault.checkAvailable(), LibraryError);
    ASSERT_TRUE(QDir().mkpath(home));
    EXPECT_NO_THROW(byDefault.checkAvailable());
    EXPECT_TRUE(QFileInfo(QDir(home).filePath(QStringLiteral("Music"))).isDir());
}

TEST_F(MusicLibraryTest, AddConvertRemoveFilesATaggedTrackAndNeverReplacesOne)
{
    const QString source = trackFile();
    auto added = mMusic.add(source);
    mMusic.setTags(added, kSong);
    EXPECT_TRUE(added->location.startsWith(mMusic.intakeFolder() + QLatin1Char('/')));
    EXPECT_TRUE(QFileInfo::exists(source)) << "add copies";
    EXPECT_EQ(mMusic.trackCount(), 1);

    // Filed tracks are as readable as the user's umask lets any new file be.
    const QDir album(QDir(mLibrary.folder()).filePath(QStringLiteral("Artist/Album")));
    const mode_t userMask = ::umask(022);
    auto filed = mMusic.convert(added, ImportFormat::Flac);
    ::umask(077);
    const auto again = mMusic.convert(added, ImportFormat::Flac);
    ::umask(userMask);
    EXPECT_EQ(Mode(filed->location), 0644);
    EXPECT_EQ(Mode(again->location), 0600);
    EXPECT_EQ(filed->location, album.filePath(QStringLiteral("03 Song.flac")));
    EXPECT_EQ(ReadTrackTags(filed->location), kSong);
    EXPECT_EQ(mMusic.trackCount(), 3);
    EXPECT_EQ(again->location, album.filePath(QStringLiteral("03 Song (2).flac")));
    EXPECT_GT(QFileInfo(filed->location).size(), 1000);

    // Taking the added track out leaves its intake copy for the caller to remove.
    mMusic.remove(added);
    EXPECT_EQ(mMusic.trackCount(), 2);
    EXPECT_TRUE(QFileInfo::exists(added->location));
    EXPECT_THROW(mMusic.remove(added), LibraryError);
    EXPECT_THROW(mMusic.convert(added, ImportFormat::Flac), LibraryError);

    // A filed track is its file.
    mMusic.remove(filed);
    EXPECT_FALSE(QFileInfo::exists(filed->location));
}

TEST_F(MusicLibraryTest, EveryFormatKeepsTheTagsAndTheAudioWithDamagedSamplesSilenced)
{
    const QString emoji =
        QString::fromUtf8("\xf0\x9f\x8e\xb8 Bj\xc3\xb6rk \xf0\x9f\x91\xa9\xe2\x80\x8d\xf0\x9f\x8e\xa4");
    for (const int rate : {44100, 48000}) {
        const long long frames = rate * 3 / 2;
        const QString source = trackFile(rate, frames);
        // A damaged recording: samples that are not numbers, which some encoders abort on.
        {
            SF_INFO info{};
            SNDFILE* file = sf_open(QFile::encodeName(source).constData(), SFM_RDWR, &info);
            ASSERT_NE(file, nullptr);
            const float inf = std::numeric_limits<float>::infinity();
            const float damaged[] = {std::numeric_limits<float>::quiet_NaN(), inf, -inf, -std::nanf("")};
            sf_seek(file, 1000, SEEK_SET);
            sf_writef_float(file, damaged, 2);
            sf_close(file);
        }
        auto original = DecodeFile(source);
        ASSERT_EQ(original.frames, frames);
        for (float& sample : original.samples)
            sample = std::isfinite(sample) ? sample : 0.0f;
        for (const ImportFormat format : AllImportFormats()) {
            SCOPED_TRACE(ImportFormatName(format).toStdString() + " at " + std::to_string(rate));
            if (!ImportFormatAvailable(format)) {
                ADD_FAILURE() << "this libsndfile cannot encode " << ImportFormatName(format).toStdString();
                continue;
            }
            const TrackTags tags{emoji + QStringLiteral(" \"q\""), QStringLiteral("back\\slash\nnew line"),
                                 ImportFormatName(format) + emoji, QString::number(rate / 1000)};
            // Typed with blanks around; the album's fields come from the export.
            TrackTags typed = tags;
            typed.artist = QStringLiteral("  ") + tags.artist + QStringLiteral("\t");
            typed.title = QStringLiteral(" ") + tags.title + QStringLiteral(" ");
            auto added = mMusic.add(source);
            mMusic.setTags(added, typed);
            const AlbumTags album{QString(), 12, 2, QStringLiteral("1979")};
            ReplacedSamples replaced;
            const auto filed = [&] {
                AlbumTagsScope albumScope(album);
                ConversionObserverScope observerScope(replaced);
                return mMusic.convert(added, format);
            }();
            EXPECT_EQ(replaced.replaced, 4);
            EXPECT_EQ(QFileInfo(filed->location).suffix(), ImportFormatSuffix(format));
            TrackTags expected = WithAlbumTags(tags, album);
            expected.albumArtist = tags.artist;
            EXPECT_EQ(ReadTrackTags(filed->location), expected);
            ExpectFieldsPlayersRead(filed->location, format, tags.trackNumber.toStdString());

            const auto decoded = DecodeFile(filed->location);
            const int stored = StoredSampleRate(format, rate);
            EXPECT_EQ(decoded.sampleRate, stored);
            EXPECT_EQ(decoded.channels, 2);
            EXPECT_TRUE(std::all_of(decoded.samples.begin(), decoded.samples.end(),
                                    [](float sample) { return std::isfinite(sample); }));
            if (format == ImportFormat::Flac || format == ImportFormat::Wav) {
                ASSERT_EQ(decoded.frames, frames);
                for (size_t i = 0; i < decoded.samples.size(); ++i)
                    ASSERT_NEAR(decoded.samples[i], original.samples[i], 1e-6) << "sample " << i;
            } else {
                // Lossy encoders pad to whole blocks, and resampling may round.
                EXPECT_NEAR(double(decoded.frames), double(frames * stored / rate), 4096.0);
                EXPECT_NEAR(Rms(decoded.samples), Rms(original.samples), 0.2 * Rms(original.samples));
            }
        }
    }
}
