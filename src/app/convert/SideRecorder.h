#pragma once

// Records one side through the Audio controller the way the wizard's connect, level and
// recording panels do, for tolm-convert: detection, the equaliser from the user's flags,
// monitoring, recording with automatic (or manual) splitting until the end of the side or
// a stop request, and the list of track files made. Commands that go on to name and import
// the tracks build on it.

#include "capture/AlertPresenter.h"
#include "capture/Audio.h"
#include "capture/SideSession.h"

#include <cstdio>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace Tolm::Convert {

// Alerts of the engine as lines on standard error.
class StandardErrorAlerts final : public Capture::AlertPresenter {
  public:
    void ShowAlert(const QString& titleKey, const QString& messageKey, const QString& buttonKey) override;
};

enum class SourceKind { Unspecified, Turntable, NormalTape, ChromeTape };

struct RecordedTrack {
    std::string path;
    double seconds = 0.0;
};

struct RecordedSide {
    std::vector<RecordedTrack> tracks; // the counted tracks, in order
    bool albumEnded = false;           // ended by the gap detector, not by the user
    bool failed = false;               // stopped by a write failure; the tracks before it are kept
};

class SideRecorder final {
  public:
    explicit SideRecorder(Capture::Audio& audio);

    // Next on the connect panel: finds and selects the device. `expected` is what the user
    // named (any part of the device's name, case aside; empty or "auto" takes any). Prints
    // what went wrong and returns false.
    bool Detect(const std::string& expected);
    // The device-type and tape panels, with the flags as the answers. False (after a
    // message) when the device needs an answer that was not given.
    bool ChooseEqualiser(SourceKind kind);
    std::string DeviceName() const { return mDeviceName; }

    // Record: runs the Qt event loop until the side ends or a stop is requested (Ctrl-C).
    // `onStart` runs just before the first track starts (the demo drops its needle there).
    // With automatic splitting off, a line on standard input starts a new track.
    std::optional<RecordedSide> Record(bool autoSplit, const std::function<void()>& onStart = {});

    // The recording's takes, and what becomes of them once the tracks are out.
    Capture::SideSession& Session() { return mSession; }

  private:
    void NewTrackByHand();
    void Finish();

    Capture::Audio& mAudio;
    Capture::SideSession mSession;
    std::string mDeviceName;
    bool mAlbumEnded = false;
    bool mFailed = false;
    bool mFinished = false;
    double mElapsedStart = 0.0;
};

} // namespace Tolm::Convert
