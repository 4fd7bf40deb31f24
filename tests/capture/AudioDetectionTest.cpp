#include "AudioTestSupport.h"
#include "capture/InputChain.h"
#include "monitoring/CAPlayThroughHost.h"
#include "platform/AudioDeviceList.h"

#include <cmath>

using namespace Tolm;
using Capture::Audio;

namespace {

constexpr UInt16 kTi = 0x08bb;
constexpr UInt16 kPcm2902 = 0x2902;
constexpr const char* kCodecName = "USB Audio CODEC ";

class AudioDetection : public Tolm::Test::VirtualRig {};

// What the shared equaliser does to a block: the level it settles at for DC and for a tone
// at the Nyquist frequency. Tells the four types apart without a way to ask for the type.
struct Response {
    float dc;
    float nyquist;
};

Response MeasureEqualiser()
{
    Response response{};
    for (int pass = 0; pass < 2; ++pass) {
        std::vector<float> left(4096), right(4096);
        for (size_t i = 0; i < left.size(); ++i)
            left[i] = right[i] = pass == 0 ? 0.01f : (i % 2 ? -0.01f : 0.01f);
        Capture::filter(left.data(), right.data(), left.size());
        (pass == 0 ? response.dc : response.nyquist) = std::fabs(left.back()) / 0.01f;
    }
    return response;
}

} // namespace

TEST_F(AudioDetection, OutcomeFollowsTheBusAndTheInputNames)
{
    struct Case {
        const char* what;
        std::vector<std::pair<UInt16, UInt16>> usb;
        std::vector<std::string> inputs;
        int result;
        bool hasRow;
        bool turntableOrTape;
        int selected; // index into inputs, or -1 when nothing is monitored
    };
    // clang-format off
    const Case cases[] = {
        {"no known device", {{0x046d, 0xc52b}}, {kCodecName}, Audio::kDetectNone, false, false, -1},
        {"turntable or tape", {{0x046d, 0xc52b}, {kTi, kPcm2902}}, {"Built-in Microphone", kCodecName},
         Audio::kDetectSelected, true, true, 1},
        {"second name", {{kTi, kPcm2902}}, {"PCM2902 Audio Codec"}, Audio::kDetectSelected, true, true, 0},
        // Only one shows up as audio: still two on the bus.
        {"two units", {{kTi, kPcm2902}, {kTi, kPcm2902}}, {kCodecName}, Audio::kDetectTooManyUsbDevices, false,
         false, -1},
        {"name without its blank", {{kTi, kPcm2902}}, {"USB Audio CODEC"}, Audio::kDetectNone, true, true, -1},
        // An unrelated adapter with the same generic chip name.
        {"two inputs", {{kTi, kPcm2902}}, {kCodecName, kCodecName}, Audio::kDetectTooManyInputs, true, true, -1},
        {"plain interface", {{0x1235, 0x8211}}, {"Scarlett Solo USB"}, Audio::kDetectSelected, true, false, 0},
    };
    // clang-format on
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        bus->Clear();
        for (const auto& [vendor, product] : c.usb)
            bus->Add(vendor, product);
        std::vector<AudioDeviceID> ids;
        for (const auto& name : c.inputs)
            ids.push_back(AddInput(name));
        Audio audio;
        EXPECT_EQ(audio.detectAudioDevice(), c.result);
        EXPECT_EQ(audio.device() != nullptr, c.hasRow);
        EXPECT_EQ(audio.mightBeTurntableOrTape(), c.turntableOrTape);
        EXPECT_EQ(audio.playThru() != nullptr, c.selected >= 0);
        if (auto* host = audio.playThru(); c.selected >= 0 && host) {
            EXPECT_EQ(audio.inputDeviceID(), ids[size_t(c.selected)]);
            ASSERT_NE(host->Engine(), nullptr);
            EXPECT_EQ(host->Engine()->inputHook.load(), &Capture::InputProcCallback);
            EXPECT_FALSE(host->IsRunning()) << "made, but started only by startPlayThru";
            EXPECT_EQ(audio.detectAudioDevice(), Audio::kDetectSelected);
            EXPECT_EQ(audio.playThru(), host) << "the same device again: no new host";
        }
        if (c.result == Audio::kDetectTooManyInputs) {
            EXPECT_EQ(audio.countDevicesWithMatchingName(), 2);
        }
        for (AudioDeviceID id : ids)
            hardware->RemoveDevice(id);
        Tolm::Test::DeliverNotifications(*hardware);
    }
}

TEST_F(AudioDetection, StartsOnTheDefaultsAndListsOnlyDevicesWithInputChannels)
{
    hardware->SetDefaultInputDevice(AddInput("Line In"));
    Audio audio;
    EXPECT_EQ(audio.inputDeviceID(), hardware->DefaultInputDevice());
    EXPECT_EQ(audio.outputDeviceID(), speakers);
    const auto& inputs = audio.inputDeviceList()->GetList();
    ASSERT_EQ(inputs.size(), 1u);
    EXPECT_STREQ(inputs[0].name, "Line In");
    const auto& outputs = audio.outputDeviceList()->GetList();
    ASSERT_EQ(outputs.size(), 1u);
    EXPECT_STREQ(outputs[0].name, "Speakers");

    // Long names are cut to the 64-byte field, terminator included.
    AddInput(std::string(100, 'x'));
    audio.rebuildInputDevicesList();
    ASSERT_EQ(audio.inputDeviceList()->GetList().size(), 2u);
    EXPECT_EQ(std::string(audio.inputDeviceList()->GetList()[1].name), std::string(63, 'x'));
}

TEST_F(AudioDetection, TurntableEqualiserFollowsTheRowsSoftwareRiaaFlag)
{
    Audio audio;
    audio.setNoFilter();
    Response none = MeasureEqualiser();
    EXPECT_NEAR(none.dc, 1.0f, 1e-4f);
    EXPECT_NEAR(none.nyquist, 1.0f, 1e-4f);

    audio.setRIAAFilter(); // no device known: the whole curve
    const Response full = MeasureEqualiser();
    EXPECT_NEAR(full.dc, 9.55f, 0.1f);
    EXPECT_LT(full.nyquist, 0.2f);

    bus->Add(kTi, 0x29c2); // softwareRiaa clear: only the bass shelf
    AddInput("USB AUDIO  CODEC");
    ASSERT_EQ(audio.detectAudioDevice(), Audio::kDetectSelected);
    audio.setRIAAFilter();
    const Response bass = MeasureEqualiser();
    EXPECT_NEAR(bass.dc, 10.0f, 0.1f);
    EXPECT_NEAR(bass.nyquist, 1.0f, 0.01f);

    bus->Clear();
    bus->Add(kTi, kPcm2902); // softwareRiaa set
    AddInput(kCodecName);
    ASSERT_EQ(audio.detectAudioDevice(), Audio::kDetectSelected);
    audio.setRIAAFilter();
    EXPECT_LT(MeasureEqualiser().nyquist, 0.2f);

    audio.setChromeFilter();
    EXPECT_NEAR(MeasureEqualiser().nyquist, 0.5625f, 0.01f);
    audio.setNoFilter();
}

TEST_F(AudioDetection, DeviceSetChangesDetectAgainWithoutStoppingTheMonitor)
{
    {
        // One controller at a time: the gap detector is the process's.
        Audio audio;
        EXPECT_EQ(audio.detectAudioDevice(), Audio::kDetectNone);

        // Plug in: bus entry, then the audio device; the notification selects it.
        bus->Add(kTi, kPcm2902);
        const AudioDeviceID codec = AddInput(kCodecName);
        ASSERT_TRUE(Tolm::Test::ProcessEventsUntil([&] { return audio.playThru() != nullptr; }));
        EXPECT_NE(audio.device(), nullptr);
        EXPECT_EQ(audio.inputDeviceID(), codec);
        audio.startPlayThru();
        auto* host = audio.playThru();
        EXPECT_TRUE(host->IsRunning());

        // Unplug: the row goes, the monitor of the vanished device stays as it was.
        bus->Remove(kTi, kPcm2902);
        hardware->RemoveDevice(codec);
        ASSERT_TRUE(Tolm::Test::ProcessEventsUntil([&] { return audio.device() == nullptr; }));
        EXPECT_EQ(audio.playThru(), host);
        EXPECT_EQ(audio.inputDeviceID(), codec);

        // Back again under a new id: monitoring moves to it.
        bus->Add(kTi, kPcm2902);
        const AudioDeviceID again = AddInput(kCodecName);
        ASSERT_TRUE(Tolm::Test::ProcessEventsUntil([&] { return audio.inputDeviceID() == again; }));
        EXPECT_NE(audio.device(), nullptr);
        EXPECT_NE(audio.playThru(), nullptr);
        audio.stopPlayThru();
    }

    // A controller gone before its queued notification arrives must not be touched.
    {
        Audio doomed;
        AddInput("Line In");
    }
    Tolm::Test::DeliverNotifications(*hardware);
}
