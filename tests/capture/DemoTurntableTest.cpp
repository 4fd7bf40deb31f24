#include "capture/DemoTurntable.h"

#include "AudioTestSupport.h"
#include "capture/InputChain.h"

#include <chrono>
#include <filesystem>
#include <sndfile.h>

using namespace Tolm;
using Capture::Audio;
using Capture::DemoTurntable;

namespace {

double TrackSeconds(UInt32 track)
{
    SF_INFO info{};
    SNDFILE* sf = sf_open(Tolm::Test::TakePath(track).toUtf8().constData(), SFM_READ, &info);
    if (!sf)
        return -1.0;
    sf_close(sf);
    return double(info.frames) / info.samplerate;
}

// The whole demo side through the controller, as `record --demo` does, pumped at a bounded
// multiple of real time so the file writer keeps up on a busy machine.
void RecordTheSide(DemoTurntable::Kind kind)
{
    Tolm::Test::App();
    DemoTurntable demo(nullptr, nullptr, kind, 44100.0, Platform::VirtualAudioHardware::Clock::Manual);
    demo.Install();
    {
        Tolm::Test::CountingDelegate delegate;
        Audio audio;
        audio.setTakeFolder(Tolm::Test::TakeFolder());
        delegate.audio = &audio;
        audio.setDelegate(&delegate);
        ASSERT_EQ(audio.detectAudioDevice(), Audio::kDetectSelected);
        EXPECT_EQ(audio.device(), Capture::FindKnownUsbDevice(DemoTurntable::kUsbId));
        if (kind == DemoTurntable::Kind::BareCodec) {
            ASSERT_TRUE(audio.mightBeTurntableOrTape());
            audio.setRIAAFilter();
        } else {
            ASSERT_FALSE(audio.mightBeTurntableOrTape());
            audio.setNoFilter();
        }
        audio.startPlayThru();
        audio.resetTrackCounter();
        audio.setAutomaticTrackSplit(true);
        demo.Side().DropNeedle();
        ASSERT_TRUE(audio.newTrack());

        constexpr double kSpeedUp = 15.0;
        constexpr UInt32 kChunk = 4096;
        const auto started = std::chrono::steady_clock::now();
        const UInt64 end = UInt64((demo.Side().SideLength() + 5.0) * 44100.0);
        for (UInt64 pumped = 0; pumped < end && delegate.albumEnds == 0; pumped += kChunk) {
            demo.Hardware()->Pump(demo.DeviceId(), kChunk);
            QCoreApplication::processEvents();
            const auto due = started + std::chrono::duration<double>(double(pumped) / 44100.0 / kSpeedUp);
            std::this_thread::sleep_until(due);
        }
        Tolm::Test::Settle();

        EXPECT_EQ(delegate.albumEnds, 1);
        ASSERT_EQ(audio.numRecordedTracks(), 6u);
        for (int i = 0; i < 6; ++i) {
            // Each track is its piece plus the end of one gap and the start of the next.
            const double piece = demo.Side().Piece(i).length;
            const double seconds = TrackSeconds(UInt32(i + 1));
            // A writer starved on a busy machine may lose a queue buffer (0.74 s) or two.
            EXPECT_GT(seconds, piece - 2.0) << "track " << i + 1;
            EXPECT_LT(seconds, piece + 7.0) << "track " << i + 1;
        }
        EXPECT_GT(TrackSeconds(7), 55.0) << "the run-out, uncounted";
    }
    Platform::SetHardware(nullptr);
    Platform::SetUsbBus(nullptr);
    for (UInt32 n = 1; n <= 8; ++n)
        std::filesystem::remove(Tolm::Test::TakePath(n).toStdString());
}

} // namespace

TEST(DemoTurntable, RecordsItsSideAsSixTracksAndEndsByItself)
{
    RecordTheSide(DemoTurntable::Kind::OwnPreamp);
}

// Asked about and played through the turntable equaliser, the side still splits the same.
TEST(DemoTurntable, BareCodecKindSplitsTheSameThroughTheTurntableEqualiser)
{
    RecordTheSide(DemoTurntable::Kind::BareCodec);
}
