#pragma once

#include <QString>
#include <QTemporaryDir>
#include <vector>

namespace Tolm::Test {

// A stereo float WAV of a quiet sine, like a recorded track file.
void WriteTrackFile(const QString& path, int sampleRate, long long frames, float amplitude = 0.25f);

struct DecodedAudio {
    int sampleRate = 0;
    int channels = 0;
    long long frames = 0;
    std::vector<float> samples; // interleaved
};
DecodedAudio DecodeFile(const QString& path);

// Every file below `folder`, hidden ones too, as paths relative to it, sorted.
QStringList FilesBelow(const QString& folder);

// A music library in a temporary folder, which the settings name for the test's run.
class TemporaryLibrary {
  public:
    TemporaryLibrary();
    ~TemporaryLibrary();
    QString folder() const { return mRoot.filePath(QStringLiteral("Music")); }
    QString scratch() const { return mRoot.filePath(QStringLiteral("scratch")); }

  private:
    QTemporaryDir mRoot;
};

} // namespace Tolm::Test
