#pragma once

// One side of a record, made up as it plays: a short lead-in, six pieces of music with
// short gaps of surface noise between them, and the run-out groove, which goes on until the
// arm is lifted. Everything is computed from the frame position, deterministically, so the
// side sounds the same every time and a test can check where the tracks must fall.

#include "platform/VirtualAudioHardware.h"

#include <array>
#include <atomic>
#include <vector>

namespace Tolm::Capture {

class DemoRecordSide final : public Platform::SignalSource {
  public:
    static constexpr int kPieceCount = 6;
    static constexpr double kRunOutSeconds = 70.0;

    struct Span {
        double start; // seconds from the needle drop
        double length;
    };

    explicit DemoRecordSide(double sampleRate = 44100.0);

    double SampleRate() const { return mSampleRate; }
    Span Piece(int index) const { return mPieces[static_cast<size_t>(index)]; }
    // Where the run-out groove starts; it lasts kRunOutSeconds and then repeats.
    double RunOutStart() const;
    double SideLength() const { return RunOutStart() + kRunOutSeconds; }

    // Starts the side from the beginning at the next block: the needle is put down again.
    // Any thread.
    void DropNeedle() { mRewind.store(true, std::memory_order_release); }
    UInt64 Position() const { return mPosition.load(std::memory_order_relaxed); }

    // Real-time: no allocation, no locks. Always produces every frame asked for.
    UInt32 Render(float* const* channels, UInt32 channelCount, UInt32 frames) override;

  private:
    struct Voice {
        double phase = 0.0;
    };

    struct Segment {
        UInt64 begin; // frame
        UInt64 end;
        int piece; // -1: surface noise only
    };

    void Reset();
    void RenderFrame(float& left, float& right);
    void Music(int piece, double t, double length, float& left, float& right);
    float Surface(bool inGap, double t);
    float NextNoise();
    float Table(const std::vector<float>& table, double phase) const;

    double mSampleRate;
    std::array<Span, kPieceCount> mPieces{};
    std::vector<Segment> mSegments;
    std::vector<float> mSine, mPad, mBass, mLead;

    std::atomic<bool> mRewind{false};
    std::atomic<UInt64> mPosition{0};
    UInt64 mFrame = 0;
    size_t mSegment = 0;
    std::array<Voice, 3> mPadVoices{};
    Voice mBassVoice, mLeadVoice, mKickVoice, mSnareVoice;
    UInt32 mNoiseState = 0x2545F491u;
    float mHissState = 0.0f;
    float mHatState = 0.0f;
    float mCrackle = 0.0f;
};

} // namespace Tolm::Capture
