#pragma once

// A controller on virtual hardware with a fake USB bus: the tests plug devices in and out
// and pump audio through by hand.

#include "capture/AlertPresenter.h"
#include "capture/Audio.h"
#include "platform/FakeUsbBus.h"
#include "platform/VirtualAudioHardware.h"

#include <QCoreApplication>
#include <QString>
#include <chrono>
#include <filesystem>
#include <stdlib.h>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <thread>
#include <vector>

namespace Tolm::Test {

// Where this test program's controllers write their takes, as a session would give them.
inline QString TakeFolder()
{
    static const QString path = [] {
        std::string pattern = (std::filesystem::temp_directory_path() / "tolm-takes-XXXXXX").string();
        return QString::fromStdString(mkdtemp(pattern.data()));
    }();
    return path;
}

inline QString TakePath(UInt32 track)
{
    return TakeFolder() + QStringLiteral("/TolmACTmpFile.%1.wav").arg(track);
}

inline QCoreApplication& App()
{
    static int argc = 1;
    static char name[] = "tolm-capture-tests";
    static char* argv[] = {name, nullptr};
    static QCoreApplication app(argc, argv);
    return app;
}

// Runs the event loop until `done` holds or the deadline passes; the result is `done()`.
inline bool ProcessEventsUntil(const std::function<bool()>& done,
                               std::chrono::milliseconds deadline = std::chrono::seconds(10))
{
    const auto end = std::chrono::steady_clock::now() + deadline;
    while (!done()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

// For what must not happen: gives pending notifications time to arrive and be handled.
inline void Settle()
{
    ProcessEventsUntil([] { return false; }, std::chrono::milliseconds(300));
}

struct RecordedAlerts final : Capture::AlertPresenter {
    std::vector<QString> messages;
    void ShowAlert(const QString& title, const QString& message, const QString&) override
    {
        messages.push_back(title + QStringLiteral("/") + message);
    }
};

struct CountingDelegate final : Capture::AudioDelegate {
    int albumEnds = 0;
    UInt32 tracksWhenTold = 0;
    Capture::Audio* audio = nullptr;
    void audioDetectedAlbumEnd() override
    {
        ++albumEnds;
        tracksWhenTold = audio ? audio->numRecordedTracks() : 0;
    }
};

class VirtualRig : public testing::Test {
  protected:
    void SetUp() override
    {
        App();
        hardware =
            std::make_shared<Platform::VirtualAudioHardware>(Platform::VirtualAudioHardware::Clock::Manual);
        Platform::VirtualDeviceSpec out;
        out.name = "Speakers";
        out.outputChannels = 2;
        speakers = hardware->AddDevice(out);
        hardware->SetDefaultOutputDevice(speakers);
        Platform::SetHardware(hardware);
        bus = std::make_shared<Platform::FakeUsbBus>();
        Platform::SetUsbBus(bus);
    }

    void TearDown() override
    {
        Platform::SetUsbBus(nullptr);
        Platform::SetHardware(nullptr);
    }

    AudioDeviceID AddInput(const std::string& name, std::function<float(UInt64, UInt32)> signal = nullptr,
                           Float64 rate = 44100.0)
    {
        Platform::VirtualDeviceSpec spec;
        spec.name = name;
        spec.inputChannels = 2;
        spec.sampleRate = rate;
        if (!signal)
            signal = [](UInt64, UInt32) { return 0.0f; };
        return hardware->AddDevice(spec, Platform::MakeFunctionSource(std::move(signal)));
    }

    std::shared_ptr<Platform::VirtualAudioHardware> hardware;
    std::shared_ptr<Platform::FakeUsbBus> bus;
    AudioDeviceID speakers = 0;
};

} // namespace Tolm::Test
