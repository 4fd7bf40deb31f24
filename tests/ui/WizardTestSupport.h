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

#include <QAbstractButton>
#include <QApplication>
#include <QFile>
#include <QLineEdit>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QStringList>
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
        hardware = std::make_shared<Tolm::Platform::VirtualAudioHardware>(
            Tolm::Platform::VirtualAudioHardware::Clock::Manual);
        Tolm::Platform::VirtualDeviceSpec out;
        out.name = "Speakers";
        out.outputChannels = 2;
        hardware->SetDefaultOutputDevice(hardware->AddDevice(out));
        Tolm::Platform::SetHardware(hardware);
        bus = std::make_shared<Tolm::Platform::FakeUsbBus>();
        Tolm::Platform::SetUsbBus(bus);
    }
    ~Rig()
    {
        Tolm::Platform::SetUsbBus(nullptr);
        Tolm::Platform::SetHardware(nullptr);
    }
    Rig(const Rig&) = delete;
    Rig& operator=(const Rig&) = delete;

    // The device on the bus and its input in the sound system; silent unless a source is given.
    AudioDeviceID plug(const Device& device, std::shared_ptr<Tolm::Platform::SignalSource> source = nullptr)
    {
        bus->Add(device.vendor, device.product);
        return addInput(device.input, std::move(source));
    }
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
    std::shared_ptr<Tolm::Platform::FakeUsbBus> bus;
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

    void clear() { seen.clear(); }
    int count() const { return int(seen.size()); }
    bool saw(const QString& text, const QString& informativeText) const
    {
        for (const Seen& box : seen) {
            if (box.text == text && box.informativeText == informativeText)
                return true;
        }
        return false;
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

inline QString Warning(const char* key)
{
    return Tolm::Localized(key);
}

inline bool PlayingThrough(const AppDelegate& wizard)
{
    const auto* host = wizard.audioController().playThru();
    return host && host->IsRunning();
}

inline QAbstractButton* Button(const AppDelegate& wizard, unsigned panel, const char* name)
{
    CustomView* view = wizard.panelView(panel);
    return view ? view->findChild<QAbstractButton*>(QString::fromLatin1(name)) : nullptr;
}

// A click in the middle of the button, where its artwork is opaque.
inline bool Click(QAbstractButton* button)
{
    if (!button || !button->isVisible() || !button->isEnabled())
        return false;
    QTest::mouseClick(button, Qt::LeftButton, Qt::NoModifier, button->rect().center());
    return true;
}

inline bool Press(const AppDelegate& wizard, const char* name)
{
    return Click(Button(wizard, wizard.selectedPanel(), name));
}

inline QLineEdit* Field(const AppDelegate& wizard, unsigned panel, int tag)
{
    CustomView* view = wizard.panelView(panel);
    return view ? qobject_cast<QLineEdit*>(view->viewWithTag(tag)) : nullptr;
}

// Which of a panel's ten track name fields a user can type in: "x" usable, "." not.
inline QString UsableNameFields(const AppDelegate& wizard, unsigned panel)
{
    const int firstTag = panel == 7 ? 61 : 71 + int(panel - 8) * 10;
    QString usable;
    for (int tag = firstTag; tag < firstTag + 10; ++tag) {
        const QLineEdit* field = Field(wizard, panel, tag);
        usable += field && field->isVisible() && field->isEnabled() ? QLatin1Char('x') : QLatin1Char('.');
    }
    return usable;
}

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

inline void RemoveTrackFiles(UInt32 upTo = 45)
{
    for (UInt32 track = 1; track <= upTo; ++track)
        QFile::remove(Audio::fileNameForTrack(track));
}

} // namespace WizardTest
