#include "SideAnalysis.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <condition_variable>
#include <cstdio>
#include <cstring>
#include <deque>
#include <memory>
#include <mutex>
#include <sndfile.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace Tolm::Convert {

using Morvo::Audio::Filters::AudioFilter;
using Morvo::Audio::Filters::GapDetector;

namespace {

constexpr std::size_t kChunkFrames = 65536;  // per read
constexpr std::size_t kChunks = 4;           // in flight between the reader and the analysis
constexpr std::size_t kBlockFrames = 4096;   // equaliser blocks, as a live chain might have them

struct SoundFileCloser {
    void operator()(SNDFILE* f) const { sf_close(f); }
};
using SoundFile = std::unique_ptr<SNDFILE, SoundFileCloser>;

struct NoListener : GapDetector::Listener {
    void TrackSilenceStarted() override {}
    void TrackSilenceEnded() override {}
    void AlbumEnded() override {}
};

struct Chunk {
    std::vector<float> left = std::vector<float>(kChunkFrames);
    std::vector<float> right = std::vector<float>(kChunkFrames);
    std::size_t frames = 0;
};

// Reads, de-interleaves and equalises on its own thread while the caller runs the detector
// over the chunk before: the two halves of the work cost about the same.
class ChunkReader {
public:
    ChunkReader(SNDFILE* file, AudioFilter& equaliser) : mFile(file), mEqualiser(equaliser)
    {
        for (auto& c : mChunks)
            mFree.push_back(&c);
        mThread = std::thread([this] { Read(); });
    }
    ~ChunkReader()
    {
        {
            std::lock_guard lock(mMutex);
            mCancelled = true;
        }
        mChanged.notify_all();
        mThread.join();
    }
    ChunkReader(const ChunkReader&) = delete;
    ChunkReader& operator=(const ChunkReader&) = delete;

    // The next chunk in file order, or null at the end.
    Chunk* Next()
    {
        std::unique_lock lock(mMutex);
        mChanged.wait(lock, [this] { return !mFilled.empty() || mEnded; });
        if (mFilled.empty())
            return nullptr;
        Chunk* c = mFilled.front();
        mFilled.pop_front();
        return c;
    }

    void Done(Chunk* c)
    {
        {
            std::lock_guard lock(mMutex);
            mFree.push_back(c);
        }
        mChanged.notify_all();
    }

    // After Next returned null: the reason reading ended early, or empty.
    std::string Error()
    {
        std::lock_guard lock(mMutex);
        return mError;
    }

private:
    void Read()
    {
        std::vector<float> interleaved(kChunkFrames * 2);
        for (;;) {
            Chunk* c = nullptr;
            {
                std::unique_lock lock(mMutex);
                mChanged.wait(lock, [this] { return !mFree.empty() || mCancelled; });
                if (mCancelled)
                    return;
                c = mFree.back();
                mFree.pop_back();
            }
            const sf_count_t got =
                std::max<sf_count_t>(0, sf_readf_float(mFile, interleaved.data(), sf_count_t(kChunkFrames)));
            const float* in = interleaved.data();
            for (sf_count_t i = 0; i < got; ++i) {
                c->left[std::size_t(i)] = in[2 * i];
                c->right[std::size_t(i)] = in[2 * i + 1];
            }
            for (sf_count_t at = 0; at < got; at += sf_count_t(kBlockFrames)) {
                const auto n = std::size_t(std::min(sf_count_t(kBlockFrames), got - at));
                mEqualiser(c->left.data() + at, c->right.data() + at, n);
            }
            c->frames = std::size_t(got);
            const bool end = got < sf_count_t(kChunkFrames);
            const int error = end ? sf_error(mFile) : SF_ERR_NO_ERROR;
            {
                std::lock_guard lock(mMutex);
                if (got > 0)
                    mFilled.push_back(c);
                else
                    mFree.push_back(c);
                if (end) {
                    mEnded = true;
                    if (error != SF_ERR_NO_ERROR)
                        mError = sf_error_number(error);
                }
            }
            mChanged.notify_all();
            if (end)
                return;
        }
    }

    SNDFILE* mFile;
    AudioFilter& mEqualiser;  // this thread's alone once it runs
    Chunk mChunks[kChunks];
    std::mutex mMutex;
    std::condition_variable mChanged;
    std::deque<Chunk*> mFilled;  // in file order
    std::vector<Chunk*> mFree;
    bool mEnded = false;
    bool mCancelled = false;
    std::string mError;
    std::thread mThread;
};

SoundFile Open(const std::string& path, SF_INFO& info)
{
    using Kind = SideAnalysisError::Kind;
    struct stat st {};
    if (stat(path.c_str(), &st) != 0)
        throw SideAnalysisError(Kind::Unreadable, std::string("cannot be read (") + std::strerror(errno) + ")");
    if (S_ISDIR(st.st_mode))
        throw SideAnalysisError(Kind::Unreadable, "is a folder, not a sound file");
    info = SF_INFO{};
    SoundFile file(sf_open(path.c_str(), SFM_READ, &info));
    if (!file) {
        if (access(path.c_str(), R_OK) != 0)
            throw SideAnalysisError(Kind::Unreadable, std::string("cannot be read (") + std::strerror(errno) + ")");
        std::string why = sf_strerror(nullptr);
        while (!why.empty() && (why.back() == '.' || why.back() == '\n'))
            why.pop_back();
        throw SideAnalysisError(Kind::Unreadable, "is not a sound file that can be read (" + why + ")");
    }
    if (info.channels == 1)
        throw SideAnalysisError(Kind::NotStereo, "is mono: tracks are found in stereo recordings only");
    if (info.channels != 2)
        throw SideAnalysisError(Kind::NotStereo, "has " + std::to_string(info.channels) +
                                                     " channels: tracks are found in stereo recordings only");
    if (info.samplerate < int(SideAnalysis::kMinRate) || info.samplerate > int(SideAnalysis::kMaxRate))
        throw SideAnalysisError(Kind::UnsupportedRate,
                                "has a sample rate of " + std::to_string(info.samplerate) + " Hz: supported are " +
                                    std::to_string(SideAnalysis::kMinRate) + " to " +
                                    std::to_string(SideAnalysis::kMaxRate) + " Hz");
    return file;
}

} // namespace

SideAnalysisResult SideAnalysis::Run(const std::string& path, const SideAnalysisOptions& options)
{
    SF_INFO info{};
    SoundFile file = Open(path, info);

    SideAnalysisResult result;
    result.sampleRate = unsigned(info.samplerate);
    result.channels = info.channels;

    AudioFilter equaliser;
    equaliser.Set(options.equaliser);
    result.finder = options.finder;
    const bool gaps = options.finder == TrackFinder::Gaps;
    NoListener listener;
    GapDetector detector(listener, result.sampleRate);
    if (gaps)
        detector.SetSampleRate(result.sampleRate);
    Analysis::SideAnalyzer analyzer(result.sampleRate);

    const bool sizeKnown = info.frames > 0 && info.frames < SF_COUNT_MAX;
    std::string readError;
    {
        ChunkReader reader(file.get(), equaliser);
        while (Chunk* chunk = reader.Next()) {
            if (gaps) {
                detector(chunk->left.data(), chunk->right.data(), chunk->frames);
            } else {
                analyzer.process(chunk->left.data(), chunk->right.data(), chunk->frames);
            }
            result.frames += std::int64_t(chunk->frames);
            reader.Done(chunk);
            if (options.progress && sizeKnown)
                options.progress(std::min(1.0, double(result.frames) / double(info.frames)));
            if (options.stopRequested && options.stopRequested()) {
                result.stopped = true;
                break;
            }
        }
        if (!result.stopped)
            readError = reader.Error();
    }
    if (!readError.empty())
        throw SideAnalysisError(SideAnalysisError::Kind::ReadFailed,
                                "could not be read to the end (" + readError + ")");

    if (gaps) {
        result.levels = detector.levels;
        detector.FindTracks(result.tracks);
    } else {
        result.side = analyzer.analyze(options.hints);
    }
    return result;
}

CommandOption EqualiserOption()
{
    return {"eq", "EQ",
            "The equaliser the side is heard through before its gaps are looked for, as when "
            "recording: none; riaa, the full record playback curve; riaa-bass, only its bass "
            "boost (for USB turntables whose own preamplifier does part of the correction); chrome, the "
            "treble cut "
            "for chrome tapes.",
            "none", "none riaa riaa-bass chrome"};
}

std::vector<Analysis::FoundTrack> SideAnalysisResult::spans() const
{
    if (finder == TrackFinder::Side)
        return side.tracks;
    // The detector's sample fields are 32-bit; its seconds are not limited.
    std::vector<Analysis::FoundTrack> out;
    for (const auto& t : tracks) {
        const auto start = std::int64_t(double(t.start) * sampleRate);
        out.push_back({start, start + std::int64_t(double(t.duration) * sampleRate)});
    }
    return out;
}

bool ParseTrackFinder(const std::string& name, TrackFinder& finder)
{
    if (name == "side")
        finder = TrackFinder::Side;
    else if (name == "gaps")
        finder = TrackFinder::Gaps;
    else
        return false;
    return true;
}

const char* TrackFinderName(TrackFinder finder) { return finder == TrackFinder::Side ? "side" : "gaps"; }

bool ParseTrackLengths(const std::string& text, std::vector<double>& seconds)
{
    std::vector<double> out;
    std::size_t at = 0;
    while (at <= text.size()) {
        const std::size_t comma = std::min(text.find(',', at), text.size());
        const std::string item = text.substr(at, comma - at);
        const std::size_t colon = item.find(':');
        char* end = nullptr;
        double value = 0.0;
        if (colon == std::string::npos) {
            value = std::strtod(item.c_str(), &end);
            if (item.empty() || *end != '\0')
                return false;
        } else {
            const std::string m = item.substr(0, colon), s = item.substr(colon + 1);
            const long minutes = std::strtol(m.c_str(), &end, 10);
            if (m.empty() || *end != '\0' || minutes < 0)
                return false;
            const double secs = std::strtod(s.c_str(), &end);
            if (s.empty() || *end != '\0' || secs >= 60.0)
                return false;
            value = double(minutes) * 60.0 + secs;
        }
        if (!(value > 0.0) || !std::isfinite(value))
            return false;
        out.push_back(value);
        at = comma + 1;
    }
    seconds = std::move(out);
    return !seconds.empty();
}

bool ParseEqualiser(const std::string& name, AudioFilter::Type& type)
{
    static constexpr std::pair<const char*, AudioFilter::Type> kNames[] = {
        {"none", AudioFilter::NoFilter},
        {"riaa", AudioFilter::RIAAFilter},
        {"riaa-bass", AudioFilter::RIAABassFilter},
        {"chrome", AudioFilter::ChromeFilter},
    };
    for (const auto& [text, value] : kNames) {
        if (name == text) {
            type = value;
            return true;
        }
    }
    return false;
}

const char* EqualiserName(AudioFilter::Type type)
{
    switch (type) {
    case AudioFilter::RIAAFilter:
        return "riaa";
    case AudioFilter::RIAABassFilter:
        return "riaa-bass";
    case AudioFilter::ChromeFilter:
        return "chrome";
    case AudioFilter::NoFilter:
    default:
        return "none";
    }
}

} // namespace Tolm::Convert
