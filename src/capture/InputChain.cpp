#include "capture/InputChain.h"

#include <algorithm>

namespace Tolm::Capture {

std::atomic<float> ssVUMaxL{0.0f};
std::atomic<float> ssVUMaxR{0.0f};
std::atomic<float> ssVUMax{0.0f};

// Constant-initialised: usable from any static constructor, and never destroyed before the
// audio threads stop.
constinit Morvo::Audio::Filters::AudioFilter filter;
constinit std::atomic<Morvo::Audio::Filters::GapDetector*> gapDetector{nullptr};

namespace {

float Peak(const float* samples, unsigned long count)
{
    float p = 0.0f;
    for (unsigned long i = 0; i < count; ++i) {
        const float x = samples[i];
        p = std::max(x, std::max(-x, p));
    }
    return p;
}

// Raises a stored peak; the audio thread is the only writer besides the clearing reader.
void RaisePeak(std::atomic<float>& stored, float p)
{
    if (p > stored.load(std::memory_order_relaxed))
        stored.store(p, std::memory_order_relaxed);
}

} // namespace

OSStatus InputProcCallback(AudioBufferList* list, unsigned long frames, long long /*sampleTime*/)
{
    if (list == nullptr || list->mNumberBuffers == 0 || list->mBuffers[0].mData == nullptr)
        return noErr;

    auto* left = static_cast<float*>(list->mBuffers[0].mData);
    const float leftPeak = Peak(left, frames);
    RaisePeak(ssVUMaxL, leftPeak);
    RaisePeak(ssVUMax, leftPeak);

    if (list->mNumberBuffers != 2 || list->mBuffers[1].mData == nullptr)
        return noErr;

    auto* right = static_cast<float*>(list->mBuffers[1].mData);
    const float rightPeak = Peak(right, frames);
    RaisePeak(ssVUMaxR, rightPeak);
    RaisePeak(ssVUMax, rightPeak);

    filter(left, right, frames);

    if (auto* detector = gapDetector.load(std::memory_order_acquire))
        (*detector)(left, right, frames);
    return noErr;
}

void ResetVUMax()
{
    ssVUMax.store(0.0f, std::memory_order_relaxed);
}

float GetVUMax()
{
    return ssVUMax.load(std::memory_order_relaxed);
}

float GetVUMaxL()
{
    return ssVUMaxL.exchange(0.0f, std::memory_order_relaxed);
}

float GetVUMaxR()
{
    return ssVUMaxR.exchange(0.0f, std::memory_order_relaxed);
}

float GetVUMaxL3()
{
    return 0.0f;
}

float GetVUMaxR3()
{
    return 0.0f;
}

} // namespace Tolm::Capture
