#pragma once

// An input and an output device on a manually clocked virtual hardware, installed as the
// process-wide hardware for as long as the rig lives.

#include "platform/AudioHardware.h"
#include "platform/VirtualAudioHardware.h"

#include <cmath>
#include <functional>
#include <memory>
#include <numbers>
#include <vector>

namespace Tolm::Test {

struct RigSpec {
    Float64 inputRate = 48000.0;
    UInt32 inputBuffer = 512;
    Float64 outputRate = 48000.0;
    UInt32 outputBuffer = 512;
};

class VirtualRig {
public:
    using Signal = std::function<float(UInt64 frame, UInt32 channel)>;
    // What the rig installs as the process-wide hardware: the virtual one, or a wrapper of it.
    using Wrap = std::function<std::shared_ptr<Platform::AudioHardware>(std::shared_ptr<Platform::VirtualAudioHardware>)>;

    VirtualRig(const RigSpec& spec, Signal signal, Wrap wrap = {})
        : spec(spec), hardware(std::make_shared<Platform::VirtualAudioHardware>())
    {
        Platform::VirtualDeviceSpec in;
        in.name = "Test Turntable";
        in.inputChannels = 2;
        in.sampleRate = spec.inputRate;
        in.bufferFrames = spec.inputBuffer;
        input = hardware->AddDevice(in, Platform::MakeFunctionSource(std::move(signal)));

        Platform::VirtualDeviceSpec out;
        out.name = "Test Speakers";
        out.outputChannels = 2;
        out.sampleRate = spec.outputRate;
        out.bufferFrames = spec.outputBuffer;
        output = hardware->AddDevice(out);
        hardware->SetCaptureOutput(output, true);
        hardware->SetDefaultInputDevice(input);
        hardware->SetDefaultOutputDevice(output);

        Platform::SetHardware(wrap ? wrap(hardware) : hardware);
    }

    ~VirtualRig() { Platform::SetHardware(nullptr); }

    // Advances both devices by `blocks` of their own buffer size, input first, as their
    // clocks would: block for block in the same time when the buffers span the same time.
    void Run(int blocks)
    {
        for (int i = 0; i < blocks; ++i) {
            hardware->Pump(input, spec.inputBuffer);
            hardware->Pump(output, spec.outputBuffer);
        }
    }

    // Left channel of what the output has played since the last call.
    std::vector<float> TakeLeft()
    {
        const auto interleaved = hardware->TakeCapturedOutput(output);
        std::vector<float> left(interleaved.size() / 2);
        for (std::size_t i = 0; i < left.size(); ++i)
            left[i] = interleaved[2 * i];
        played.insert(played.end(), left.begin(), left.end());
        return left;
    }

    RigSpec spec;
    std::shared_ptr<Platform::VirtualAudioHardware> hardware;
    AudioDeviceID input = 0;
    AudioDeviceID output = 0;
    std::vector<float> played;  // everything taken so far, from the output's first frame
};

inline VirtualRig::Signal Sine(double frequency, double rate, float amplitude = 0.5f)
{
    return [=](UInt64 frame, UInt32) {
        return amplitude * float(std::sin(2.0 * std::numbers::pi * frequency * double(frame) / rate));
    };
}

// Frequency of a steady tone from its rising zero crossings, interpolated between samples.
inline double ToneFrequency(const std::vector<float>& x, std::size_t from, std::size_t to, double rate)
{
    double first = -1.0;
    double last = -1.0;
    int crossings = 0;
    for (std::size_t i = from + 1; i < to; ++i) {
        if (x[i - 1] < 0.0f && x[i] >= 0.0f) {
            const double at = double(i - 1) + double(-x[i - 1]) / double(x[i] - x[i - 1]);
            if (first < 0.0)
                first = at;
            last = at;
            ++crossings;
        }
    }
    if (crossings < 2)
        return 0.0;
    return double(crossings - 1) * rate / (last - first);
}

} // namespace Tolm::Test
