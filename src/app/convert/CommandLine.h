#pragma once

// Small shared pieces of tolm-convert's commands: argument parsing, the progress bar and
// the one updating status line on standard error, and Ctrl-C as a polite stop request.

#include "ArgumentParser.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Tolm::Convert {

// Parses a number; nullopt if the text is not wholly a number.
std::optional<double> ParseNumber(const std::string& text);

// The options every recording command shares. Each takes its option from the parser and
// leaves the value as it was when the option is absent; false, after a message, when the
// value is not one.
bool TakeGainOption(ArgumentParser& parser, float& gainDb);      // --gain DB, -60 to 40
bool TakeSecondsOption(ArgumentParser& parser, double& seconds); // --seconds S, positive
// Their rows in a command's option table.
CommandOption GainOption();
CommandOption SecondsOption();
// --device NAME and --demo of the commands that record or listen.
CommandOption DeviceOption(const char* description);
CommandOption DemoOption();

bool StandardErrorIsTerminal();

// A progress bar on standard error, drawn only when it is a terminal.
class ProgressBar {
public:
    explicit ProgressBar(std::string label, bool enabled = StandardErrorIsTerminal());
    ~ProgressBar();  // ends the line
    void Update(double fraction);  // 0..1; redraws at most every 1/10 s
    void Finish();

private:
    std::string mLabel;
    bool mEnabled;
    bool mFinished = false;
    int mLastPermille = -1;
    std::uint64_t mLastDrawNanos = 0;
};

// One line on standard error that is rewritten in place (plain lines when not a terminal,
// at most one a second).
class StatusLine {
public:
    explicit StatusLine(bool terminal = StandardErrorIsTerminal());
    ~StatusLine();
    void Show(const std::string& text);
    void End();  // moves to a new line

private:
    bool mTerminal;
    bool mOpen = false;
    std::uint64_t mLastPlainNanos = 0;
};

// "[#####-----]" of `width` cells for a level in dB from -60 to 0.
std::string LevelBar(float peakLinear, int width = 20);
// " -12.0 dB", or "  -inf dB" for digital silence.
std::string PeakDecibels(float peakLinear);
// m:ss.s
std::string FormatMinutesSeconds(double seconds);

// Ctrl-C (SIGINT) and SIGTERM set a flag instead of ending the program; a second Ctrl-C ends it.
void InstallStopRequestHandler();
bool StopRequested();

} // namespace Tolm::Convert
