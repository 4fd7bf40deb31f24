#include "capture/LogRouting.h"

#include "../support/LogCapture.h"
#include "filters/FilterLog.h"

#include <QtGlobal>
#include <gtest/gtest.h>
#include <thread>

using Morvo::Audio::Filters::FilterLog;
using Tolm::Capture::LogRouting;

// The engine's lines, the detector's (from another thread, as the audio thread sends them)
// and Qt's all reach the one sink, the detector's in their order; none is left behind when
// the routing ends, and after it standard error has them again.
TEST(LogRouting, GathersEveryKindOfLineIntoOneSinkAndLetsGo)
{
    Tolm::Test::LogCapture capture;
    {
        LogRouting routing(&capture);
        Tolm::SystemLog::Print("newRecorder Error: %s (%s)\n", "open audio file", "'wht?'");
        qInfo("%s", "-[Audio setRIAAFilter]");
        std::thread audio([] {
            for (int i = 0; i < 20; ++i)
                FilterLog::Write(i % 2 ? "Audio has transitioned into silence\n"
                                       : "Audio has transitioned out of silence\n");
        });
        audio.join();
    }
    std::string expected = "newRecorder Error: open audio file ('wht?')\n-[Audio setRIAAFilter]\n";
    for (int i = 0; i < 10; ++i)
        expected += "Audio has transitioned out of silence\nAudio has transitioned into silence\n";
    EXPECT_EQ(capture.Text(), expected);

    testing::internal::CaptureStderr();
    FilterLog::Write("Audio has transitioned into silence\n");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Audio has transitioned into silence\n");
}
