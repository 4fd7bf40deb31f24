// The recorder on a virtual device pumped by the test: what reaches the file is read back
// with libsndfile and compared sample by sample.

#include "RecordingTestSupport.h"
#include "TempFolder.h"
#include "platform/GainStage.h"
#include "platform/VirtualAudioHardware.h"
#include "recording/CAAudioFileRecorder.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <random>
#include <vector>

namespace {

using Tolm::Platform::VirtualAudioHardware;
using Tolm::Platform::VirtualDeviceSpec;

constexpr UInt32 kRingFrames = 32768;

// Interleaved stereo noise, mostly within ±1 with some samples past it on both sides.
std::vector<float> Noise(UInt32 frames, unsigned seed)
{
    std::mt19937 generator(seed);
    std::uniform_real_distribution<float> distribution(-1.3f, 1.3f);
    std::vector<float> samples(std::size_t(frames) * 2);
    for (float& s : samples)
        s = distribution(generator);
    return samples;
}

class RecorderOnVirtualDevice : public ::testing::Test {
  protected:
    void SetUp() override
    {
        mHardware = std::make_shared<VirtualAudioHardware>(VirtualAudioHardware::Clock::Manual);
        Tolm::Platform::SetHardware(mHardware);
    }
    void TearDown() override { Tolm::Platform::SetHardware(nullptr); }

    AudioDeviceID AddTurntable(std::vector<float> interleaved, Float64 rate = 48000.0)
    {
        VirtualDeviceSpec spec;
        spec.name = "USB Audio CODEC ";
        spec.inputChannels = 2;
        spec.sampleRate = rate;
        spec.bufferFrames = 512;
        return mHardware->AddDevice(spec, Tolm::Platform::MakeBufferSource(std::move(interleaved), 2));
    }

    // Records `frames` frames of the device into `name` and returns what the file holds.
    std::vector<float> Record(AudioDeviceID device, UInt32 frames, float gainDb, SF_INFO& info,
                              const std::string& name = "take.wav", int ringBuffers = 3)
    {
        {
            CAAudioFileRecorder recorder(device, ringBuffers, kRingFrames);
            recorder.SetInputGain(gainDb);
            // Rate 0: the recorder takes the device's.
            recorder.SetFile(FSRef{mFolder.Path()}, name, kAudioFileWAVEType,
                             CAStreamBasicDescription::Float32(0.0, 2, true));
            recorder.Start();
            mHardware->Pump(recorder.GetInputDevice(), frames);
            recorder.Stop();
            EXPECT_EQ(recorder.GetOverrunCount(), 0);
        }
        return ReadWithLibsndfile(mFolder / name, info);
    }

    std::shared_ptr<VirtualAudioHardware> mHardware;
    TempFolder mFolder;
};

TEST_F(RecorderOnVirtualDevice, AtZeroDecibelsTheFileHoldsTheInputSampleForSample)
{
    // Three full buffers and a partial one; a ring of four so that a slow work thread on a
    // busy machine cannot make this test drop a block.
    const UInt32 frames = 3 * kRingFrames + 1234;
    const std::vector<float> input = Noise(frames, 1);
    const AudioDeviceID device = AddTurntable(input);
    SF_INFO info;
    std::vector<float> file = Record(device, frames, 0.0f, info, "take.wav", 4);
    EXPECT_EQ(info.samplerate, 48000); // the device's rate, not 44100
    EXPECT_EQ(info.channels, 2);
    EXPECT_EQ(info.format & SF_FORMAT_SUBMASK, SF_FORMAT_FLOAT);
    ASSERT_EQ(info.frames, sf_count_t(frames));
    // Bit for bit: samples past ±1 too, since unity gain skips the stage.
    EXPECT_TRUE(std::equal(file.begin(), file.end(), input.begin()));

    // A stop before the first buffer fills leaves exactly those frames; device 0 is the default input.
    const std::vector<float> shortInput = Noise(5000, 3);
    mHardware->SetDefaultInputDevice(AddTurntable(shortInput));
    file = Record(0, 1000, 0.0f, info, "short.wav");
    ASSERT_EQ(info.frames, 1000);
    EXPECT_TRUE(std::equal(file.begin(), file.end(), shortInput.begin()));
}

TEST_F(RecorderOnVirtualDevice, AtPlusSixDecibelsOnlyThePositiveSideIsClamped)
{
    const UInt32 frames = kRingFrames + 5000;
    const std::vector<float> input = Noise(frames, 2);
    const AudioDeviceID device = AddTurntable(input);
    SF_INFO info;
    const std::vector<float> file = Record(device, frames, 6.0f, info);
    ASSERT_EQ(info.frames, sf_count_t(frames));

    const float g = Tolm::Platform::GainFactorFromDecibels(6.0f);
    float lowest = 0.0f;
    for (std::size_t i = 0; i < input.size(); ++i) {
        ASSERT_EQ(file[i], std::min(1.0f, input[i] * g)) << i;
        lowest = std::min(lowest, file[i]);
    }
    EXPECT_LT(lowest, -2.0f);
}

TEST_F(RecorderOnVirtualDevice, FailuresCarryTheirOperationTexts)
{
    ExpectCAX([] { CAAudioFileRecorder(0, 3, kRingFrames); }, "failed to get default input device");
    ExpectCAX([] { CAAudioFileRecorder(0x12345, 3, kRingFrames); }, "failed to select input device");
    VirtualDeviceSpec speakers;
    speakers.name = "Speakers";
    speakers.outputChannels = 2;
    const AudioDeviceID output = mHardware->AddDevice(speakers);
    ExpectCAX([&] { CAAudioFileRecorder(output, 3, kRingFrames); }, "failed to enable input");

    const AudioDeviceID device = AddTurntable(Noise(10, 4));
    CAAudioFileRecorder recorder(device, 3, kRingFrames);
    EXPECT_EQ(recorder.GetInputDataFormat().mSampleRate, 48000.0);
    const auto format = CAStreamBasicDescription::Float32(48000, 2, true);
    recorder.SetFile(FSRef{mFolder.Path()}, "first.wav", kAudioFileWAVEType, format);
    ExpectCAX([&] { recorder.SetFile(FSRef{mFolder.Path()}, "first.wav", kAudioFileWAVEType, format); },
                  "create audio file");
    // The stream cannot convert rates: the file must be at the device's.
    ExpectCAX(
        [&] {
            recorder.SetFile(FSRef{mFolder.Path()}, "other.wav", kAudioFileWAVEType,
                             CAStreamBasicDescription::Float32(44100, 2, true));
        },
        "set audio input format");

    mHardware->RemoveDevice(device);
    ExpectCAX([&] { recorder.Start(); }, "start audio input unit");
}

} // namespace
