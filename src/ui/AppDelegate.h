#pragma once

#include "capture/Audio.h"
#include "capture/SideSession.h"
#include "platform/CoreAudioTypes.h"
#include "ui/PanelController.h"

#include <QObject>
#include <QPointer>
#include <QString>
#include <memory>

class QLabel;
class QProgressBar;
class QStackedWidget;
class QTextBrowser;
class QTimer;
class QWidget;

namespace Tolm::Library {
class LibraryExport;
}

namespace Tolm::Ui {

class CustomView;
class CustomWindow;
class DonePanelReport;
class ExportBridge;
class MainThreadAlertPresenter;
class MainThreadCaller;
class ProgressIndicator;
class TrackCheckPanel;

// Monitoring runs exactly while the level panel (2) or the recording panel (3) is shown.
bool PanelNumberShouldPlayThru(unsigned panel);

// A track's length as the recording panel shows it, "hh:mm:ss", rounded to the second.
QString ElapsedTimeText(UInt64 nanos);

// The wizard's application controller: owns the Audio controller, the window with its
// panels (one page per panel, numbered 1 to 13) and the export, and handles every button of
// every panel. Main thread only.
class AppDelegate final : public QObject, public PanelController, public Capture::AudioDelegate {
    Q_OBJECT

  public:
    static constexpr unsigned kPanelCount = 13;
    static constexpr UInt32 kTrackLimit = 40;

    // Builds the window and its panels and shows panel 1 (not the window).
    explicit AppDelegate(QObject* parent = nullptr);
    ~AppDelegate() override;

    // A modal warning with one "OK" button, the same in every language. Both texts are
    // shown as given (already localised by the caller).
    static void alert(const QString& title, const QString& text);

    // Loads a panel's interface file and localises it; none when the file is missing.
    std::unique_ptr<CustomView> viewFromNibWithName(const QString& name);
    // Shows the panel (1 to 13) and switches monitoring for it.
    void setPanel(unsigned panel);
    // Gives the page its panel view, loading it on first entry, and prepares the panel.
    void tabViewDidSelectTabViewItem(QWidget* item);

    // PanelController
    void doCloseButton(QObject* sender) override;
    void showHelp(QObject* sender) override;
    void showPreferences(QObject* sender) override;
    void doNextButton1(QObject* sender) override;
    void doNextButtonSelectDevice(QObject* sender) override;
    void doBackButtonSelectDevice(QObject* sender) override;
    void doNextButtonSelectTape(QObject* sender) override;
    void doBackButtonSelectTape(QObject* sender) override;
    void doBackButton2(QObject* sender) override;
    void doRecordButton(QObject* sender, bool normalization, bool clickRemoval) override;
    void doBackButton3(QObject* sender) override;
    void doNextButton3(QObject* sender) override;
    void doNewTrackButton(QObject* sender) override;
    void doBackButton4(QObject* sender) override;
    void doNextButton4(QObject* sender) override;
    void doBackButton5(QObject* sender) override;
    void doNextButton5(QObject* sender) override;
    void doBackButton6(QObject* sender) override;
    void doNextButton6(QObject* sender) override;
    void doBackButton7(QObject* sender) override;
    void doNextButton7(QObject* sender) override;
    void doBackButton8(QObject* sender) override;
    void doNextButton8(QObject* sender) override;
    void doBackButton9(QObject* sender) override;
    void doNextButton9(QObject* sender) override;
    void doBackButton10(QObject* sender) override;
    void doNextButton10(QObject* sender) override;
    void doBackButton13(QObject* sender) override;
    void doNextButton13(QObject* sender) override;
    void setRecordingGainDb(float db) override;

    // AudioDelegate: told by the session when the side has ended by itself.
    void audioDetectedAlbumEnd() override;
    // The session stopped on a write failure (a full disk): says so, then names what was kept.
    void recordingFailed(UInt32 tracksKept, const QString& message);
    // At start: offers, one after the other, the recordings a crashed run left behind;
    // Recover goes on to naming with those takes.
    void offerRecovery();

    void elaspedTimerFired();

    // The export into the music library, started from the naming panels.
    void processAudioFiles(QObject* sender);
    void pollingTimerFired();
    void setProgress(int progress);
    void exportStarted(UInt32 trackCount);
    void stopSpinner();

    CustomWindow* window() const { return itsWindow.get(); }
    Capture::Audio& audioController() const { return *audio; }
    Capture::SideSession& session() const { return *mSession; }
    // The panel shown, 0 when none is.
    unsigned selectedPanel() const;
    // A panel's view once it is loaded.
    CustomView* panelView(unsigned panel) const;
    Library::LibraryExport* libraryExport() const { return mExport.get(); }
    bool exporting() const;
    TrackCheckPanel* trackCheck() const { return mTrackCheck.get(); }

  Q_SIGNALS:
    // Record was pressed; the recording starts once the receivers have returned.
    void recordingStarting();

  private:
    void awakeFromNib();
    QWidget* addTabViewItem(const QString& identifier, const QString& label);
    QWidget* tabViewItem(const QString& identifier) const;
    void selectTabViewItemWithIdentifier(const QString& identifier);
    std::unique_ptr<CustomView>* viewField(unsigned panel);
    void loadPanelView(unsigned panel, const QString& nibName);
    void meteringOn();
    void meteringOff();
    void exportToLibrary(QObject* sender);
    void restartElapsedTimer();
    void endRecordingDisplay();
    // Asks before throwing a recording away; true when it was discarded (or there was none).
    bool discardRecording();
    // The naming panel for the session's tracks, fresh names for a new recording.
    void showNaming();

    // Lets the export's thread reach the widgets; declared first, so it goes last.
    std::unique_ptr<MainThreadCaller> mMainThread;
    std::unique_ptr<MainThreadAlertPresenter> mAlerts;

    std::unique_ptr<Capture::Audio> audio;
    std::unique_ptr<Capture::SideSession> mSession; // after the controller it drives
    // The naming panels hold names for the takes of an earlier recording until this is set.
    bool mNewTracksToName = false;
    bool mDeviceChosen = false; // Next on the connect panel found the device
    std::unique_ptr<CustomWindow> itsWindow;
    QStackedWidget* _multipleNibTabView = nullptr; // owned by the window
    // Panel views live for the program's life; declared after the window, so they go first.
    std::unique_ptr<CustomView> _Tolm_Tab1NibView;
    std::unique_ptr<CustomView> _Tolm_TabSelectDeviceNibView;
    std::unique_ptr<CustomView> _Tolm_TabSelectTapeNibView;
    std::unique_ptr<CustomView> _Tolm_Tab2NibView;
    std::unique_ptr<CustomView> _Tolm_Tab3NibView;
    std::unique_ptr<CustomView> _Tolm_Tab4NibView;
    std::unique_ptr<CustomView> _Tolm_Tab5NibView;
    std::unique_ptr<CustomView> _Tolm_Tab6NibView;
    std::unique_ptr<CustomView> _Tolm_Tab7NibView;
    std::unique_ptr<CustomView> _Tolm_Tab8NibView;
    std::unique_ptr<CustomView> _Tolm_Tab9NibView;
    std::unique_ptr<CustomView> _Tolm_Tab10NibView;
    std::unique_ptr<CustomView> _Tolm_Tab13NibView;
    std::unique_ptr<TrackCheckPanel> mTrackCheck; // works the panel 13 view; goes before it
    QPointer<QLabel> _statusField;
    QPointer<QLabel> _trackField;
    UInt32 _progress = 0;
    QPointer<QProgressBar> _progressLevelIndicator;
    QPointer<ProgressIndicator> _progressIndicator; // a child of the panel 5 view
    std::unique_ptr<QTimer> _meterUpdateTimer;
    std::unique_ptr<QTimer> _pTimer;
    std::unique_ptr<QTimer> mPollingTimer;
    bool m_applyNormalization = false;
    bool m_applyClickRemoval = false;

    QPointer<QTextBrowser> mHelpWindow; // where no browser opens the help page

    // Keeps the previous export's artist, album and track count for the next one.
    std::unique_ptr<ExportBridge> mExportBridge;
    DonePanelReport* mDoneReport = nullptr; // owned by panel 6
    std::unique_ptr<Library::LibraryExport> mExport;
};

} // namespace Tolm::Ui
