#include "LibraryTestSupport.h"

#include "library/LibrarySettings.h"

#include <QCoreApplication>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <cmath>
#include <gtest/gtest.h>
#include <memory>
#include <sndfile.h>

namespace Tolm::Test {

namespace {

// The script engine needs an application object; gtest_main does not make one.
class QtEnvironment : public ::testing::Environment {
  public:
    void SetUp() override
    {
        static int argc = 1;
        static char name[] = "tolm-library-test";
        static char* argv[] = {name, nullptr};
        mApp = std::make_unique<QCoreApplication>(argc, argv);
    }
    void TearDown() override { mApp.reset(); }

  private:
    std::unique_ptr<QCoreApplication> mApp;
};

[[maybe_unused]] const auto* const kEnvironment = ::testing::AddGlobalTestEnvironment(new QtEnvironment);

} // namespace

void WriteTrackFile(const QString& path, int sampleRate, long long frames, float amplitude)
{
    SF_INFO info{};
    info.samplerate = sampleRate;
    info.channels = 2;
    info.format = SF_FORMAT_WAV | SF_FORMAT_FLOAT;
    SNDFILE* file = sf_open(QFile::encodeName(path).constData(), SFM_WRITE, &info);
    ASSERT_NE(file, nullptr) << sf_strerror(nullptr);
    std::vector<float> samples(size_t(2 * frames));
    for (size_t i = 0; i < size_t(frames); ++i) {
        const double t = double(i) / sampleRate;
        samples[2 * i] = amplitude * float(std::sin(2 * M_PI * 440.0 * t));
        samples[2 * i + 1] = amplitude * float(std::sin(2 * M_PI * 660.0 * t));
    }
    sf_writef_float(file, samples.data(), frames);
    sf_close(file);
}

DecodedAudio DecodeFile(const QString& path)
{
    DecodedAudio audio;
    SF_INFO info{};
    SNDFILE* file = sf_open(QFile::encodeName(path).constData(), SFM_READ, &info);
    if (file == nullptr) {
        ADD_FAILURE() << "cannot decode " << path.toStdString() << ": " << sf_strerror(nullptr);
        return audio;
    }
    audio.sampleRate = info.samplerate;
    audio.channels = info.channels;
    std::vector<float> block(size_t(info.channels) * 4096);
    for (sf_count_t got; (got = sf_readf_float(file, block.data(), 4096)) > 0;) {
        audio.samples.insert(audio.samples.end(), block.begin(), block.begin() + got * info.channels);
        audio.frames += got;
    }
    sf_close(file);
    return audio;
}

QStringList FilesBelow(const QString& folder)
{
    QStringList files;
    QDirIterator it(folder, QDir::Files | QDir::Hidden | QDir::NoDotAndDotDot, QDirIterator::Subdirectories);
    while (it.hasNext())
        files << QDir(folder).relativeFilePath(it.next());
    files.sort();
    return files;
}

TemporaryLibrary::TemporaryLibrary()
{
    QDir(mRoot.path()).mkpath(QStringLiteral("Music"));
    QDir(mRoot.path()).mkpath(QStringLiteral("scratch"));
    Library::LibrarySettings::overrideFolder(folder());
    Library::LibrarySettings::overrideFormat(Library::ImportFormat::Flac);
}

TemporaryLibrary::~TemporaryLibrary()
{
    Library::LibrarySettings::overrideFolder(std::nullopt);
    Library::LibrarySettings::overrideFormat(std::nullopt);
}

} // namespace Tolm::Test
