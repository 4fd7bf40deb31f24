#pragma once

// The wizard on virtual devices: a manually clocked audio hardware with a speaker, a fake USB
// bus, a hand that answers the message boxes, and helpers to press the panels' buttons as a
// user does.

#include "capture/Audio.h"
#include "capture/Localization.h"
#include "monitoring/CAPlayThroughHost.h"
#include "platform/FakeUsbBus.h"
#include "platform/VirtualAudioHardware.h"
#include "ui/AppDelegate.h"
#include "ui/CustomView.h"
#include "ui/CustomWindow.h"
#include "ui/TrackCheckPanel.h"

#include <QAbstractButton>
#include <QApplication>
#include <QFile>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTimer>
#include <QtTest>
#include <functional>
#include <memory>

namespace WizardTest {

using Tolm::Capture::Audio;
using Tolm::Ui::AppDelegate;
using Tolm::Ui::CustomView;

// Known rows of the device table: a bare codec (asks turntable or tape) and a turntable with
// its own preamplifier (asks nothing).
struct Device {
    UInt16 vendor;
    UInt16 product;
    const char* input;
};
inline constexpr Device kCodec{0x08bb, 0x2902, "USB Audio CODEC "};
inline constexpr Device kPlainTurntable{0x0c76, 0x1600, "Ion Quick Play LP turntable"};

// Virtual audio hardware with a speaker and a fake USB bus, made the process's while it lives.
class Rig {
  public:
    Rig()
    {
        using Tolm::Platform::VirtualAudioHardware;
        hardware = std::make_shared<VirtualAudioHardware>(VirtualAudioHardware::Clock::Manual);
        Tolm::Platform::VirtualDeviceSpec out;
        out.name = "Speakers";
        out.outputChannels = 2;
        hardware->SetDefaultOutputDevice(hardware->AddDevice(out));
        Tolm::Platform::SetHardware(hardware);
        Tolm::Platform::SetUsbBus(bus);
    }
    ~Rig()
    {
        Tolm::Platform::SetUsbBus(nullptr);
        Tolm::Platform::SetHardware(nullptr);
    }
    Rig(const Rig&) = delete;
    Rig& operator=(const Rig&) = delete;

    // An input in the sound system; silent unless a source is given.
    AudioDeviceID addInput(const char* name, std::shared_ptr<Tolm::Platform::SignalSource> source = nullptr)
    {
        Tolm::Platform::VirtualDeviceSpec spec;
        spec.name = name;
        spec.inputChannels = 2;
        spec.sampleRate = 44100.0;
        if (!source)
            source = Tolm::Platform::MakeFunctionSource([](UInt64, UInt32) { return 0.0f; });
        return hardware->AddDevice(spec, std::move(source));
    }

    std::shared_ptr<Tolm::Platform::VirtualAudioHardware> hardware;
    std::shared_ptr<Tolm::Platform::FakeUsbBus> bus = std::make_shared<Tolm::Platform::FakeUsbBus>();
};

// Answers every modal message box as a user would and notes what it said.
class MessageBoxAnswerer : public QObject {
  public:
    struct Seen {
        QString text;
        QString informativeText;
    };

    MessageBoxAnswerer()
    {
        connect(&mTimer, &QTimer::timeout, this, &MessageBoxAnswerer::answerOpenBox);
        mTimer.start(10);
    }

    // The button pressed (by its caption); the default button when empty.
    QString answer;
    QList<Seen> seen;

    bool saw(const QString& text, const QString& informativeText) const
    {
        return std::any_of(seen.begin(), seen.end(), [&](const Seen& box) {
            return box.text == text && box.informativeText == informativeText;
        });
    }
    bool sawWarning(const char* key) const
    {
        return saw(Tolm::Localized("IDS_WARNING"), Tolm::Localized(key));
    }

  private:
    void answerOpenBox()
    {
        auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        if (!box || !box->isVisible())
            return;
        seen.append({box->text(), box->informativeText()});
        QAbstractButton* button = box->defaultButton();
        for (QAbstractButton* candidate : box->buttons()) {
            if (!answer.isEmpty() && candidate->text() == answer)
                button = candidate;
        }
        button->click();
    }

    QTimer mTimer;
};

// The wizard with its devices on the bus, their inputs playing `source`, and its window shown.
struct Wizard {
    explicit Wizard(std::initializer_list<Device> devices,
                    std::shared_ptr<Tolm::Platform::SignalSource> source = nullptr)
    {
        // Takes go into a state folder of the test's own.
        qputenv("XDG_STATE_HOME", QFile::encodeName(state.path()));
        for (const Device& device : devices) {
            rig.bus->Add(device.vendor, device.product);
            inputs.push_back(rig.addInput(device.input, source));
        }
        app = std::make_unique<AppDelegate>();
        app->window()->show();
    }
    ~Wizard() { app.reset(); }

    AppDelegate& operator*() const { return *app; }
    AppDelegate* operator->() const { return app.get(); }
    Audio& audio() const { return app->audioController(); }

    bool playingThrough() const
    {
        const auto* host = audio().playThru();
        return host && host->IsRunning();
    }
    QAbstractButton* button(unsigned panel, const char* name) const
    {
        CustomView* view = app->panelView(panel);
        return view ? view->findChild<QAbstractButton*>(QString::fromLatin1(name)) : nullptr;
    }
    // A click in the middle of the button on the panel shown, where its artwork is opaque.
    bool press(const char* name) const
    {
        QAbstractButton* target = button(app->selectedPanel(), name);
        if (!target || !target->isVisible() || !target->isEnabled())
            return false;
        QTest::mouseClick(target, Qt::LeftButton, Qt::NoModifier, target->rect().center());
        return true;
    }
    QLineEdit* field(unsigned panel, int tag) const
    {
        CustomView* view = app->panelView(panel);
        return view ? qobject_cast<QLineEdit*>(view->viewWithTag(tag)) : nullptr;
    }
    // Which of a panel's ten track name fields a user can type in: "x" usable, "." not.
    QString usableNameFields(unsigned panel) const
    {
        const int firstTag = panel == 7 ? 61 : 71 + int(panel - 8) * 10;
        QString usable;
        for (int tag = firstTag; tag < firstTag + 10; ++tag) {
            const QLineEdit* f = field(panel, tag);
            usable += f && f->isVisible() && f->isEnabled() ? QLatin1Char('x') : QLatin1Char('.');
        }
        return usable;
    }
    // Level panel, automatic splitting as given, Record: the recording panel.
    bool startRecording(bool split = false) const
    {
        if (!press("nextButton") || app->selectedPanel() != 2)
            return false;
        button(2, "automaticallySplitTracks")->setChecked(split);
        return press("nextButton") && app->selectedPanel() == 3;
    }
    // Plays `seconds` of the input into the recording, paced so the file writer keeps up.
    void play(double seconds) const
    {
        constexpr UInt32 kChunk = 4096;
        for (double played = 0.0; played < seconds; played += kChunk / 44100.0) {
            rig.hardware->Pump(inputs.front(), kChunk);
            QCoreApplication::processEvents();
            QTest::qSleep(4);
        }
    }
    // Records `tracks` tracks of a few seconds by hand, stops, and takes the tracks as they
    // are on the check panel: the naming panels.
    bool recordAndStop(UInt32 tracks) const
    {
        if (!startRecording())
            return false;
        play(kTrackSeconds);
        while (audio().numRecordedTracks() < tracks) {
            audio().newTrack();
            play(kTrackSeconds);
        }
        return press("nextButton") && acceptTracks();
    }
    // On the check panel: Next once the side is read.
    bool acceptTracks() const;
    // Long enough to be a track of its own.
    static constexpr double kTrackSeconds = 2.2;

    QTemporaryDir state;
    Rig rig;
    std::vector<AudioDeviceID> inputs;
    MessageBoxAnswerer boxes;
    std::unique_ptr<AppDelegate> app;
};

inline bool WaitFor(const std::function<bool()>& done, int timeoutMs = 20000)
{
    QDeadlineTimer deadline(timeoutMs);
    while (!done()) {
        if (deadline.hasExpired())
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
        QTest::qSleep(2);
    }
    return true;
}

inline bool Wizard::acceptTracks() const
{
    if (app->selectedPanel() != 13 || !WaitFor([this] { return app->trackCheck()->ready(); }))
        return false;
    return press("nextButton") && app->selectedPanel() != 13;
}

} // namespace WizardTest
