#pragma once

// What the "Check your tracks" panel does with its controls: reads the takes of the side
// (off the main thread), shows them with the tracks found, lets the user correct them,
// listens through the output device, and cuts the takes again on Next.

#include "platform/CoreAudioTypes.h"
#include "tracks/SideScan.h"
#include "tracks/TakeFiles.h"
#include "tracks/TakePlayer.h"
#include "ui/TrackCheckView.h"

#include <QObject>
#include <QPointer>
#include <QTimer>
#include <atomic>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

class QAbstractButton;
class QLabel;
class QSpinBox;

namespace Tolm::Ui {

class CustomView;

class TrackCheckPanel : public QObject {
    Q_OBJECT

  public:
    static constexpr double kListenSeconds = 4.0;

    // `view` is the panel's view; its controls are found by name.
    explicit TrackCheckPanel(CustomView* view, QObject* parent = nullptr);
    ~TrackCheckPanel() override;

    // Starts reading the takes; the waveform appears when they are read.
    // `equaliser` is what the side was heard through while recording.
    void open(const std::vector<std::string>& takePaths, Morvo::Audio::Filters::AudioFilter::Type equaliser,
              AudioDeviceID output);
    bool ready() const { return mScan != nullptr; }
    TrackCheckView* trackView() const { return mView; }
    std::size_t trackCount() const;

    // Puts complete new track files, in order, in place of the takes; false with a message.
    using ReplaceTakes = std::function<bool(const std::vector<std::string>& files, QString& error)>;

    // Cuts the takes at the markers into new files named by `newFile` (beside the takes), has
    // them replace the takes, and returns how many tracks there are; nothing (after telling
    // the user) when it could not, the takes then as they were.
    std::optional<unsigned> cut(const std::function<std::string(unsigned)>& newFile, const ReplaceTakes& replace);

    void listen();
    void stopListening();
    bool listening() const;

  Q_SIGNALS:
    void sideRead();

  private:
    void showSide(int trackCount);
    void updateControls();
    void showOverview(std::shared_ptr<const Tracks::WaveformOverview> overview,
                      std::shared_ptr<Tracks::TakeFiles> takes);
    void finishReading(std::shared_ptr<Tracks::TakeFiles> takes, std::shared_ptr<Tracks::SideScan> scan,
                       const QString& error);
    void stopReading();

    QPointer<CustomView> mPanel;
    QPointer<TrackCheckView> mView;
    QPointer<QAbstractButton> mSplit, mJoin, mListen, mZoomIn, mZoomOut, mNext;
    QPointer<QSpinBox> mCount;
    QPointer<QLabel> mSummary;

    std::shared_ptr<Tracks::TakeFiles> mTakes;
    std::shared_ptr<Tracks::SideScan> mScan;
    std::shared_ptr<const Tracks::WaveformOverview> mPreview; // drawn while the tracks are found
    // The lengths of the tracks last cut: coming back to them shows them as they were cut,
    // not as the analysis would cut them again.
    std::vector<std::int64_t> mCutLengths;
    bool mAsCut = false;
    std::unique_ptr<Tracks::TakePlayer> mPlayer;
    QTimer mPlayTimer;

    std::atomic<bool> mStopReading{false};
    std::thread mReader;
    unsigned mGeneration = 0;
};

} // namespace Tolm::Ui
