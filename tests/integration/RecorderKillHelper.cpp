// Records the named PulseAudio source into a file until it is killed; prints "recording"
// on standard output once capture runs. The kill test's child process.

#include "platform/CAXException.h"
#include "platform/PulseAudioHardware.h"
#include "recording/CAAudioFileRecorder.h"

#include <cstdio>
#include <unistd.h>

int main(int argc, char** argv)
{
    if (argc != 3) {
        std::fprintf(stderr, "usage: %s SOURCE-NAME OUT.wav\n", argv[0]);
        return 2;
    }
    std::string error;
    auto hardware = Tolm::Platform::PulseAudioHardware::Connect(std::chrono::seconds(10), &error);
    if (!hardware) {
        std::fprintf(stderr, "no sound server: %s\n", error.c_str());
        return 1;
    }
    Tolm::Platform::SetHardware(hardware);
    AudioDeviceID device = 0;
    for (const auto& d : hardware->Devices()) {
        if (d.name == argv[1] && d.inputChannels > 0)
            device = d.id;
    }
    if (device == 0) {
        std::fprintf(stderr, "no source \"%s\"\n", argv[1]);
        return 1;
    }
    FSRef parent;
    std::string name;
    if (PosixPathToParentFSRefAndName(argv[2], parent, name) != noErr)
        return 1;
    try {
        CAAudioFileRecorder recorder(device, 3, 32768);
        recorder.SetFile(parent, name, kAudioFileWAVEType, CAStreamBasicDescription::Float32(48000, 2, true));
        recorder.Start();
        std::printf("recording\n");
        std::fflush(stdout);
        for (;;)
            pause();
    } catch (const CAXException& e) {
        std::fprintf(stderr, "%s (%s)\n", e.Operation(), CAXException::FormatError(e.GetError()).c_str());
        return 1;
    }
}
