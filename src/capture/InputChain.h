#pragma once

// The per-block chain of the monitoring path: peak meters, the input equaliser and the gap
// detector, in that order. The play-through engine calls InputProcCallback from its input
// callback, after its gain stage (platform/GainStage.h), in place. The recorder does not
// call it: track files get the gain and nothing else.

#include "filters/AudioFilter.h"
#include "filters/GapDetector.h"
#include "platform/CoreAudioTypes.h"

#include <atomic>

namespace Tolm::Capture {

// Peaks of the absolute sample value, written by the audio thread and read by the main
// thread without a lock. A peak written between a read and its clear may be lost.
extern std::atomic<float> ssVUMaxL; // left, since the last GetVUMaxL
extern std::atomic<float> ssVUMaxR; // right, since the last GetVUMaxR
extern std::atomic<float> ssVUMax;  // either channel, since ResetVUMax (the recording's peak)

// The one input equaliser; starts with no sections.
extern Morvo::Audio::Filters::AudioFilter filter;
// The one gap detector, owned by the Audio controller; null when there is none.
extern std::atomic<Morvo::Audio::Filters::GapDetector*> gapDetector;

// One block of non-interleaved float, buffer 0 left and buffer 1 right. The meters see the
// block after the gain and before the equaliser; the gap detector after the equaliser. A
// list that does not hold exactly two buffers is metered on its first buffer only, and is
// neither equalised nor analysed. The sample time is not used. Always returns noErr.
// Real-time: no allocation or lock (bar the gap detector's level history).
OSStatus InputProcCallback(AudioBufferList* list, unsigned long frames, long long sampleTime);

void ResetVUMax();
float GetVUMax();  // not cleared
float GetVUMaxL(); // read and cleared
float GetVUMaxR(); // read and cleared
// Kept as entry points; they measure nothing.
float GetVUMaxL3();
float GetVUMaxR3();

} // namespace Tolm::Capture
