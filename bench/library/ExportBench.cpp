// How fast the export turns a recorded track into a library track, per import format:
// the import script (copy into the library, encode, tag, file, remove the copy) and the
// availability check that follows each track. "rtf" is the real-time factor: seconds of
// audio exported per second of wall time.

#include "library/AppleScriptRunner.h"
#include "library/ImportFormat.h"
#include "library/ImportScript.h"
#include "library/LibrarySettings.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <benchmark/benchmark.h>
#include <cmath>
#include <memory>
#include <sndfile.h>
#include <vector>

using namespace Tolm::Library;

namespace {

constexpr int kRate = 44100;
constexpr double kTrackSeconds = 30.0;

void WriteTrack(const QString& path)
{
    SF_INFO info{};
    info.samplerate = kRate;
    info.channels = 2;
    info.format = SF_FORMAT_WAV | SF_FORMAT_FLOAT;
    SNDFILE* file = sf_open(QFile::encodeName(path).constData(), SFM_WRITE, &info);
    const auto frames = long(kTrackSeconds * kRate);
    std::vector<float> samples(size_t(frames) * 2);
    // Music-like enough for the encoders: two tones with a slow swell and a little noise.
    unsigned noise = 1;
    for (long i = 0; i < frames; ++i) {
        const double t = double(i) / kRate;
        const double swell = 0.3 + 0.2 * std::sin(2 * M_PI * 0.25 * t);
        noise = noise * 1664525u + 1013904223u;
        const double hiss = (double(noise >> 8) / double(1u << 24) - 0.5) * 0.01;
        samples[size_t(2 * i)] = float(swell * std::sin(2 * M_PI * 220.0 * t) + hiss);
        samples[size_t(2 * i + 1)] = float(swell * std::sin(2 * M_PI * 331.0 * t) - hiss);
    }
    sf_writef_float(file, samples.data(), frames);
    sf_close(file);
}

void EnsureApplication()
{
    static int argc = 1;
    static char name[] = "ExportBench";
    static char* argv[] = {name, nullptr};
    static std::unique_ptr<QCoreApplication> app;
    if (!QCoreApplication::instance())
        app = std::make_unique<QCoreApplication>(argc, argv);
}

void BM_ExportTrack(benchmark::State& state)
{
    EnsureApplication();
    const ImportFormat format = AllImportFormats().at(size_t(state.range(0)));
    state.SetLabel(ImportFormatName(format).toStdString());
    if (!ImportFormatAvailable(format)) {
        state.SkipWithError("this libsndfile cannot encode the format");
        return;
    }
    QTemporaryDir root;
    const QString library = QDir(root.path()).filePath(QStringLiteral("Music"));
    QDir().mkpath(library);
    const QString track = QDir(root.path()).filePath(QStringLiteral("TolmACTmpFile.1.wav"));
    WriteTrack(track);
    LibrarySettings::overrideFolder(library);
    LibrarySettings::overrideFormat(format);
    const QByteArray check = "withTimeout(5, function () { var ignoredVariable = library.trackCount; });";

    for (auto _ : state) {
        if (convertAndTagAudioFile4(track, QStringLiteral("Artist"), QStringLiteral("Album"),
                                    QStringLiteral("Title"), QStringLiteral("1"), false)) {
            state.SkipWithError("the import failed");
            break;
        }
        benchmark::DoNotOptimize(SimpleRunAppleScript(check.constData()));
        state.PauseTiming();
        QDir(QDir(library).filePath(QStringLiteral("Artist"))).removeRecursively();
        state.ResumeTiming();
    }
    state.counters["rtf"] = benchmark::Counter(kTrackSeconds, benchmark::Counter::kIsIterationInvariantRate);
    LibrarySettings::overrideFolder(std::nullopt);
    LibrarySettings::overrideFormat(std::nullopt);
}

} // namespace

BENCHMARK(BM_ExportTrack)->DenseRange(0, 4)->UseRealTime()->Unit(benchmark::kMillisecond)->MinTime(2.0);
