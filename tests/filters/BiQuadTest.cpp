#include "filters/BiQuad.h"

#include "FilterTestSupport.h"

#include <gtest/gtest.h>

#include <cstring>
#include <stdexcept>
#include <vector>

using Morvo::Audio::Filters::BiQuad;
using Tolm::Test::GainDb;
using Tolm::Test::Noise;

namespace {

std::vector<double> Coefficients(const BiQuad& q) { return {q.b0, q.b1, q.b2, q.a1, q.a2}; }

} // namespace

TEST(BiQuad, FollowsTheDifferenceEquationRoundingEverySampleWhateverTheBlocks)
{
    BiQuad q(0.1, 0.2, 0.3, -0.5, 0.25);
    float x[4] = {1, 0, 0, 0};
    q(x, 4);
    const float y0 = float(0.1);
    const float y1 = float(0.2 - -0.5 * double(y0));
    const float y2 = float(0.3 - -0.5 * double(y1) - 0.25 * double(y0));
    const float y3 = float(0.0 - -0.5 * double(y2) - 0.25 * double(y1));
    EXPECT_EQ((std::vector<float>(x, x + 4)), (std::vector<float>{y0, y1, y2, y3}));
    // A copy takes the coefficients but starts from silence.
    BiQuad copy(q);
    float one = 1.0f;
    copy(&one, 1);
    EXPECT_EQ(one, y0);

    auto in = Noise(5000, 1);
    in[10] = 1e-40f;  // denormals pass as they are
    auto out = in;
    BiQuad identity(1, 0, 0, 0, 0);
    identity(out.data(), out.size());
    EXPECT_EQ(0, std::memcmp(in.data(), out.data(), in.size() * sizeof(float)));

    BiQuad whole(0.2, 0.4, 0.2, -0.6, 0.3), pieces(whole);
    auto expected = in;
    out = in;
    whole(expected.data(), expected.size());
    std::mt19937 rng(3);
    for (std::size_t at = 0; at < out.size();) {
        const std::size_t n = std::min<std::size_t>(rng() % 300, out.size() - at);  // 0 included
        pieces(out.data() + at, n);
        at += n;
    }
    EXPECT_EQ(out, expected);
}

TEST(BiQuad, AssignmentAndResetStartFromSilence)
{
    BiQuad a(0.3, -0.2, 0.1, -0.4, 0.2), c(1, 0, 0, 0, 0);
    auto warm = Noise(64, 2);
    a(warm.data(), warm.size());
    c = a;
    EXPECT_EQ(c.a2, a.a2);
    EXPECT_EQ(c.y1, 0.0f);
    a.Reset();
    std::vector<float> zeros(16, 0.0f);
    a(zeros.data(), zeros.size());
    EXPECT_EQ(zeros, std::vector<float>(16, 0.0f));
}

TEST(BiQuad, DesignedCoefficientsAreExact)
{
    // The reference design's values, to the last bit.
    EXPECT_EQ(Coefficients(BiQuad(BiQuad::LowPass, 0, 1000, 44100, 1)),
              (std::vector<double>{0x1.3c19073d1cee6p-8, 0x1.3c19073d1cee6p-7, 0x1.3c19073d1cee6p-8,
                                   -0x1.e280f84c5f402p+0, 0x1.cee2b8d2a767bp-1}));
    EXPECT_EQ(Coefficients(BiQuad(BiQuad::LowShelf, 6, 200, 48000, 1)),
              (std::vector<double>{0x1.01a66ada1310ep+0, -0x1.f7f6faa7b756bp+0, 0x1.ed1e1280ce931p-1,
                                   -0x1.f8068f85f2a1ap+0, 0x1.f04bbe787e1f1p-1}));
    EXPECT_EQ(Coefficients(BiQuad(BiQuad::HighShelf, -5, 4000, 44100, 3)),
              (std::vector<double>{0x1.4241d6707cd5cp-1, -0x1.6657e489eb82bp-1, 0x1.015f2b5b2daaap-2,
                                   -0x1.50a267ef9dad9p+0, 0x1.fbbcaee6c7071p-2}));
}

// The types the exact check above leaves out, by their response; shelves ignore the bandwidth.
TEST(BiQuad, EachTypeHasItsResponseAndUnknownTypesAreRefused)
{
    EXPECT_LT(GainDb(BiQuad(BiQuad::HighPass, 0, 1000, 44100, 1), 50), -45.0);
    EXPECT_NEAR(GainDb(BiQuad(BiQuad::HighPass, 0, 1000, 44100, 1), 22050), 0.0, 1e-9);
    EXPECT_NEAR(GainDb(BiQuad(BiQuad::BandPass, 0, 1000, 44100, 1), 1000), 0.0, 1e-9);
    EXPECT_LT(GainDb(BiQuad(BiQuad::Notch, 0, 1000, 44100, 1), 1000), -200.0);
    EXPECT_NEAR(GainDb(BiQuad(BiQuad::Peaking, 6, 1000, 44100, 1), 1000), 6.0, 1e-9);
    EXPECT_NEAR(GainDb(BiQuad(BiQuad::HighShelf, -6, 4000, 44100, 1), 22050), -6.0, 1e-9);
    EXPECT_EQ(BiQuad(BiQuad::HighShelf, -6, 4000, 44100, 5).a1, BiQuad(BiQuad::HighShelf, -6, 4000, 44100, 1).a1);
    try {
        BiQuad q(static_cast<BiQuad::Type>(7), 0, 1000, 44100, 1);
        FAIL() << "no exception";
    } catch (const std::runtime_error& e) {
        EXPECT_STREQ(e.what(), "Invalid filter type");
    }
}
