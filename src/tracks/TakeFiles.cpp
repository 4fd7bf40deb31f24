#include "tracks/TakeFiles.h"

#include "tracks/SoundFile.h"
#include "tracks/TrackError.h"

#include <algorithm>

namespace Tolm::Tracks {

TakeFiles::TakeFiles(const std::vector<std::string>& paths)
{
    for (const std::string& path : paths) {
        SoundFile file(path);
        if (!file.isOpen())
            throw TrackError(TrackError::Kind::Unreadable, path + ": " + file.error());
        if (file.info().channels != kChannels)
            throw TrackError(TrackError::Kind::Mismatch, path + ": not a stereo recording");
        if (mTakes.empty())
            mSampleRate = file.info().samplerate;
        else if (file.info().samplerate != int(mSampleRate))
            throw TrackError(TrackError::Kind::Mismatch, path + ": recorded at another sample rate");
        mTakes.push_back({path, std::int64_t(file.info().frames)});
        mFrames += file.info().frames;
    }
}

std::vector<std::int64_t> TakeFiles::liveSplits() const
{
    std::vector<std::int64_t> splits;
    std::int64_t position = 0;
    for (std::size_t i = 0; i + 1 < mTakes.size(); ++i) {
        position += mTakes[i].frames;
        splits.push_back(position);
    }
    return splits;
}

void TakeFiles::read(std::int64_t from, std::int64_t to, std::int64_t blockFrames,
                     const std::function<bool(const float*, std::int64_t)>& block) const
{
    from = std::max<std::int64_t>(from, 0);
    to = std::min(to, mFrames);
    std::vector<float> buffer(std::size_t(std::max<std::int64_t>(blockFrames, 1)) * kChannels);
    std::int64_t takeStart = 0;
    for (const Take& take : mTakes) {
        const std::int64_t takeEnd = takeStart + take.frames;
        if (takeEnd > from && takeStart < to) {
            SoundFile file(take.path);
            if (!file.isOpen())
                throw TrackError(TrackError::Kind::Unreadable, take.path + ": " + file.error());
            std::int64_t position = std::max(from, takeStart);
            if (!file.seek(position - takeStart))
                throw TrackError(TrackError::Kind::Unreadable, take.path + ": " + file.error());
            const std::int64_t end = std::min(to, takeEnd);
            while (position < end) {
                const std::int64_t want = std::min(blockFrames, end - position);
                const std::int64_t got = file.read(buffer.data(), want);
                if (got != want)
                    throw TrackError(TrackError::Kind::Unreadable, take.path + ": shorter than it says");
                if (!block(buffer.data(), got))
                    return;
                position += got;
            }
        }
        takeStart = takeEnd;
        if (takeStart >= to)
            break;
    }
}

} // namespace Tolm::Tracks
