#include "AudioFilter.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace Morvo::Audio::Filters {

namespace {

// Single-precision designs widened exactly: the sections must hold the float values.
constexpr BiQuad kR1{0.225f, 0.2321032f, 0.052797012f, 0.9147276f, 0.16572149f};
constexpr BiQuad kR2{1.0f, -0.871538f, -0.055509713f, -1.7317901f, 0.7336619f};
constexpr BiQuad kCT{0.6013478f, -0.8847261f, 0.33175603f, -1.5921159f, 0.64049363f};
constexpr BiQuad kRB{1.0319743f, -0.9609203f, 0.0f, -0.9928946f, 0.0f};

#if defined(__SSE2__)

// Left and right of one stage side by side in the two lanes of a vector. Each lane does
// exactly what BiQuad::operator() does to its channel, rounding to float after every
// section, so results are bit for bit those of one channel and one section at a time.
struct StagePair {
    __m128d b0, b1, b2, a1, a2;
    __m128d x1, x2, y1, y2;  // float values, held widened

    StagePair(const BiQuad& l, const BiQuad& r)
        : b0(_mm_set_pd(r.b0, l.b0)), b1(_mm_set_pd(r.b1, l.b1)), b2(_mm_set_pd(r.b2, l.b2)),
          a1(_mm_set_pd(r.a1, l.a1)), a2(_mm_set_pd(r.a2, l.a2)), x1(_mm_set_pd(r.x1, l.x1)),
          x2(_mm_set_pd(r.x2, l.x2)), y1(_mm_set_pd(r.y1, l.y1)), y2(_mm_set_pd(r.y2, l.y2))
    {
    }

    __m128d Step(__m128d x)
    {
        __m128d acc = _mm_add_pd(_mm_mul_pd(b0, x), _mm_mul_pd(b1, x1));
        acc = _mm_add_pd(acc, _mm_mul_pd(b2, x2));
        acc = _mm_sub_pd(acc, _mm_mul_pd(a1, y1));
        acc = _mm_sub_pd(acc, _mm_mul_pd(a2, y2));
        const __m128d y = _mm_cvtps_pd(_mm_cvtpd_ps(acc));
        x2 = x1;
        x1 = x;
        y2 = y1;
        y1 = y;
        return y;
    }

    void Store(BiQuad& l, BiQuad& r) const
    {
        l.x1 = float(_mm_cvtsd_f64(x1));
        l.x2 = float(_mm_cvtsd_f64(x2));
        l.y1 = float(_mm_cvtsd_f64(y1));
        l.y2 = float(_mm_cvtsd_f64(y2));
        r.x1 = float(_mm_cvtsd_f64(_mm_unpackhi_pd(x1, x1)));
        r.x2 = float(_mm_cvtsd_f64(_mm_unpackhi_pd(x2, x2)));
        r.y1 = float(_mm_cvtsd_f64(_mm_unpackhi_pd(y1, y1)));
        r.y2 = float(_mm_cvtsd_f64(_mm_unpackhi_pd(y2, y2)));
    }
};

inline __m128d LoadPair(const float* left, const float* right, unsigned long i)
{
    return _mm_cvtps_pd(_mm_unpacklo_ps(_mm_load_ss(left + i), _mm_load_ss(right + i)));
}

inline void StorePair(float* left, float* right, unsigned long i, __m128d y)
{
    const __m128 f = _mm_cvtpd_ps(y);  // exact: y holds float values
    _mm_store_ss(left + i, f);
    _mm_store_ss(right + i, _mm_shuffle_ps(f, f, 1));
}

// Both stages of both channels in one loop: four independent recursions keep the
// pipeline busy where one alone would wait on its own result.
void TwoStages(BiQuad& l1, BiQuad& l2, BiQuad& r1, BiQuad& r2, float* left, float* right,
               unsigned long count)
{
    StagePair s1(l1, r1), s2(l2, r2);
    for (unsigned long i = 0; i < count; ++i)
        StorePair(left, right, i, s2.Step(s1.Step(LoadPair(left, right, i))));
    s1.Store(l1, r1);
    s2.Store(l2, r2);
}

void OneStage(BiQuad& l1, BiQuad& r1, float* left, float* right, unsigned long count)
{
    StagePair s1(l1, r1);
    for (unsigned long i = 0; i < count; ++i)
        StorePair(left, right, i, s1.Step(LoadPair(left, right, i)));
    s1.Store(l1, r1);
}

#endif

void Run(std::optional<BiQuad>& section, float* samples, unsigned long count)
{
    if (section)
        (*section)(samples, count);
}

} // namespace

void AudioFilter::Set(Type type) noexcept
{
    // Take back a publication the audio thread has not picked up; if there is none to take,
    // it has picked it up and left its previous slot for good.
    if (mPending.exchange(0, std::memory_order_acq_rel) == 0 && mPublished)
        mSetSlot = mPublishedSlot;
    const std::uint32_t spare = 1 - mSetSlot;

    Sections& s = mSlots[spare];
    s = Sections{};
    switch (type) {
    case RIAAFilter:
        s.leftStage1.emplace(kR1);
        s.rightStage1.emplace(*s.leftStage1);
        s.leftStage2.emplace(kR2);
        s.rightStage2.emplace(*s.leftStage2);
        break;
    case ChromeFilter:
        s.leftStage1.emplace(kCT);
        s.rightStage1.emplace(*s.leftStage1);
        break;
    case RIAABassFilter:
        s.leftStage1.emplace(kRB);
        s.rightStage1.emplace(*s.leftStage1);
        break;
    case NoFilter:
    default:
        break;
    }

    mPublishedSlot = spare;
    mPublished = true;
    mPending.store(spare + 1, std::memory_order_release);
}

void AudioFilter::operator()(float* left, float* right, unsigned long count) noexcept
{
    if (mPending.load(std::memory_order_relaxed) != 0) {
        if (const std::uint32_t published = mPending.exchange(0, std::memory_order_acq_rel))
            mAudioSlot = published - 1;
    }
    Sections& s = mSlots[mAudioSlot];
#if defined(__SSE2__)
    if (s.leftStage1 && s.rightStage1) {
        if (s.leftStage2 && s.rightStage2) {
            TwoStages(*s.leftStage1, *s.leftStage2, *s.rightStage1, *s.rightStage2, left, right, count);
            return;
        }
        if (!s.leftStage2 && !s.rightStage2) {
            OneStage(*s.leftStage1, *s.rightStage1, left, right, count);
            return;
        }
    }
#endif
    Run(s.leftStage1, left, count);
    Run(s.leftStage2, left, count);
    Run(s.rightStage1, right, count);
    Run(s.rightStage2, right, count);
}

} // namespace Morvo::Audio::Filters
