// tolm-convert record-file: one input device straight into one WAV file, through the same
// recorder that writes the wizard's track files (gain, buffer queue, work thread).

#include "Command.h"
#include "CommandLine.h"
#include "DiskSpace.h"
#include "InputDevices.h"
#include "platform/AudioHardware.h"
#include "platform/CAXException.h"
#include "recording/CAAudioFileRecorder.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <sys/stat.h>
#include <thread>

namespace fs = std::filesystem;

namespace Tolm::Convert {

namespace {

constexpr int kRingBuffers = 3;
constexpr UInt32 kRingFrames = 32768;

} // namespace

int RunRecordFile(const std::vector<std::string>& args)
{
    ArgumentParser parser("record-file", args);
    const auto deviceName = parser.Value("device");
    const bool demo = parser.Flag("demo");
    float gainDb = 0.0f;
    double seconds = 0.0; // 0: until Ctrl-C
    if (!TakeGainOption(parser, gainDb) || !TakeSecondsOption(parser, seconds))
        return kExitBadInput;
    const auto positionals = parser.Positionals();
    if (!positionals)
        return kExitBadInput;
    if (demo == deviceName.has_value()) {
        parser.Error("say where to record from: --device NAME or --demo");
        return kExitBadInput;
    }
    if (positionals->size() != 1) {
        parser.Error("give one file to record into, such as side-a.wav");
        return kExitBadInput;
    }
    const std::string& outPath = positionals->front();

    FSRef parent;
    std::string fileName;
    if (PosixPathToParentFSRefAndName(outPath.c_str(), parent, fileName) != noErr) {
        parser.Error("the folder of " + outPath + " does not exist");
        return kExitBadInput;
    }
    struct stat existing {};
    if (lstat(outPath.c_str(), &existing) == 0) {
        parser.Error(outPath + " already exists; it is left as it is");
        return kExitBadInput;
    }

    AudioDeviceID device = 0;
    Float64 rate = 0.0; // 0: the recorder takes the stream's rate
    UInt32 channels = 2;
    // The demo turntable sits on the sound server's devices when there is one.
    std::unique_ptr<Capture::DemoTurntable> turntable;
    if (demo) {
        turntable = InstallDemoTurntable();
        device = turntable->DeviceId();
    }
    if (const auto info = demo ? std::optional<Platform::AudioDeviceInfo>() : FindInputDevice(*deviceName)) {
        device = info->id;
        rate = info->actualSampleRate;
        channels = std::clamp<UInt32>(info->inputChannels, 1, 2);
    } else if (!demo) {
        parser.Error("there is no input device \"" + *deviceName + "\" (tolm-convert devices lists them)");
        return kExitBadInput;
    }

    std::unique_ptr<CAAudioFileRecorder> recorder;
    try {
        recorder = std::make_unique<CAAudioFileRecorder>(device, kRingBuffers, kRingFrames);
        recorder->SetInputGain(gainDb);
        recorder->SetFile(parent, fileName, kAudioFileWAVEType,
                          CAStreamBasicDescription::Float32(rate, channels, true));
    } catch (const CAXException& e) {
        if (e.GetError() == kCAAudioFileDuplicateError) {
            parser.Error(outPath + " already exists; it is left as it is");
            return kExitBadInput;
        }
        parser.Error("cannot record to " + outPath + ": " + e.Operation() + " (" +
                     CAXException::FormatError(e.GetError()) + ")");
        return e.GetError() == kCAAudioFileNotFoundError ? kExitBadInput : kExitFailed;
    }

    const Float64 fileRate = recorder->GetFile()->GetFileDataFormat().mSampleRate;
    const fs::path folder = fs::path(outPath).parent_path();
    WarnIfShortOfSpace(folder.empty() ? "." : folder.string(), fileRate, channels);
    InstallStopRequestHandler();
    if (turntable)
        turntable->Side().DropNeedle(); // from the first groove
    try {
        recorder->Start();
    } catch (const CAXException& e) {
        parser.Error(std::string("cannot start recording: ") + e.Operation() + " (" +
                     CAXException::FormatError(e.GetError()) + ")");
        return kExitFailed;
    }
    std::fprintf(stderr, "Recording %s at %.0f Hz into %s; Ctrl-C stops.\n",
                 demo ? "the demo turntable" : ("\"" + *deviceName + "\"").c_str(), fileRate,
                 outPath.c_str());

    StatusLine status;
    bool deviceLost = false;
    double recorded = 0.0;
    float peak = 0.0f;
    int ticks = 0;
    while (!StopRequested()) {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        const auto statistics = recorder->GetInputStatistics();
        recorded = double(statistics.frames) / fileRate;
        if (seconds > 0.0 && recorded >= seconds)
            break;
        if (!recorder->IsInputRunning()) {
            deviceLost = true;
            break;
        }
        if (recorder->GetWriteError() != 0)
            break; // at once: nothing more reaches the file

        // Hold the peak for a few redraws so short transients stay readable.
        if (++ticks % 6 == 0)
            peak = 0.0f;
        peak = std::max(peak, recorder->TakeInputPeak());
        std::string line = FormatMinutesSeconds(recorded) + "  " + LevelBar(peak) + PeakDecibels(peak) +
                           "  overruns " + std::to_string(recorder->GetOverrunCount());
        if (statistics.holeFrames > 0)
            line += "  lost by the server " + std::to_string(statistics.holeFrames) + " frames";
        status.Show(line);
    }
    status.End();

    int result = kExitOk;
    try {
        recorder->Stop();
    } catch (const CAXException& e) {
        parser.Error(std::string("recording did not end cleanly: ") + e.Operation() + " (" +
                     CAXException::FormatError(e.GetError()) + ")");
        result = kExitFailed;
    }
    if (const OSStatus written = recorder->GetWriteError(); written != 0) {
        if (written == kCAAudioFileDiskFullError)
            parser.Error("the disk is full: the recording stopped where it filled up, and what fitted is kept in " +
                         outPath);
        else
            parser.Error("the recording could not be written (" + CAXException::FormatError(written) +
                         "); what was written is kept in " + outPath);
        result = kExitFailed;
    }
    const auto statistics = recorder->GetInputStatistics();
    const int overruns = recorder->GetOverrunCount();
    const SInt64 frames = recorder->GetFile()->Tell();
    recorder.reset(); // closes the file

    if (deviceLost) {
        parser.Error("the input device went away; what was recorded is kept in " + outPath);
        result = kExitFailed;
    }
    std::printf("%s: %s (%lld frames at %.0f Hz), %d overruns, %llu frames lost by the server\n",
                outPath.c_str(), FormatMinutesSeconds(double(frames) / fileRate).c_str(),
                static_cast<long long>(frames), fileRate, overruns,
                static_cast<unsigned long long>(statistics.holeFrames));
    return result;
}

namespace {
const Registration registration{
    {"record-file",
     "record an input device into one WAV file",
     "record-file --device NAME|--demo [--gain DB] [--seconds S] OUT.wav",
     &RunRecordFile,
     {DeviceOption("Record from the input device called NAME, as \"tolm-convert devices\" lists it (its name "
                   "or its description)."),
      DemoOption(), GainOption(), SecondsOption()}}};
} // namespace

} // namespace Tolm::Convert
