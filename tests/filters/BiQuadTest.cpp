#include "filters/BiQuad.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <complex>
#include <numbers>
#include <random>
#include <stdexcept>
#include <vector>

using Morvo::Audio::Filters::BiQuad;

namespace {

std::vector<float> Noise(std::size_t n, unsigned seed = 1)
{
    std::mt19937 rng(seed);
    std::uniform_real_distribution<float> d(-1.0f, 1.0f);
    std::vector<float> v(n);
    for (auto& x : v)
        x = d(rng);
    return v;
}

double GainDb(const BiQuad& q, double hz, double rate)
{
    const std::complex<double> z1 = std::polar(1.0, -2.0 * std::numbers::pi * hz / rate);
    const auto h = (q.b0 + q.b1 * z1 + q.b2 * z1 * z1) / (1.0 + q.a1 * z1 + q.a2 * z1 * z1);
    return 20.0 * std::log10(std::abs(h));
}

} // namespace

TEST(BiQuad, IdentityPassesEveryBitAndStateFollowsTheSignal)
{
    BiQuad q(1, 0, 0, 0, 0);
    auto in = Noise(1000);
    in[10] = 1e-40f;  // a denormal
    auto out = in;
    q(out.data(), out.size());
    EXPECT_EQ(0, std::memcmp(in.data(), out.data(), in.size() * sizeof(float)));
    EXPECT_EQ(q.x1, in[999]);
    EXPECT_EQ(q.x2, in[998]);
    EXPECT_EQ(q.y1, in[999]);
    EXPECT_EQ(q.y2, in[998]);

    float none = 0.5f;
    q(&none, 0);
    EXPECT_EQ(none, 0.5f);
    EXPECT_EQ(q.x1, in[999]);
}

TEST(BiQuad, ImpulseResponseFollowsTheDifferenceEquationInOrder)
{
    BiQuad q(0.1, 0.2, 0.3, -0.5, 0.25);
    std::vector<float> x = {1, 0, 0, 0, 0};
    q(x.data(), x.size());
    // y[n] rounded to float at every step; a1, a2 subtracted.
    const float y0 = float(0.1);
    const float y1 = float(0.2 - -0.5 * double(y0));
    const float y2 = float(0.3 - -0.5 * double(y1) - 0.25 * double(y0));
    const float y3 = float(0.0 - -0.5 * double(y2) - 0.25 * double(y1));
    EXPECT_EQ(x[0], y0);
    EXPECT_EQ(x[1], y1);
    EXPECT_EQ(x[2], y2);
    EXPECT_EQ(x[3], y3);
}

TEST(BiQuad, ResultDoesNotDependOnHowTheBlocksAreCut)
{
    const auto in = Noise(5000, 7);
    BiQuad whole(0.2, 0.4, 0.2, -0.6, 0.3);
    auto expected = in;
    whole(expected.data(), expected.size());

    BiQuad pieces(0.2, 0.4, 0.2, -0.6, 0.3);
    auto out = in;
    std::mt19937 rng(3);
    for (std::size_t at = 0; at < out.size();) {
        const std::size_t n = std::min<std::size_t>(rng() % 300, out.size() - at);
        pieces(out.data() + at, n);
        at += n;
    }
    EXPECT_EQ(out, expected);
}

TEST(BiQuad, CopyTakesCoefficientsButStartsFromSilence)
{
    BiQuad a(0.3, -0.2, 0.1, -0.4, 0.2);
    auto warm = Noise(64);
    a(warm.data(), warm.size());
    ASSERT_NE(a.y1, 0.0f);

    BiQuad b(a);
    EXPECT_EQ(b.b0, a.b0);
    EXPECT_EQ(b.a2, a.a2);
    float one = 1.0f;
    b(&one, 1);
    EXPECT_EQ(one, float(a.b0));

    BiQuad c(1, 0, 0, 0, 0);
    c = a;
    EXPECT_EQ(c.x1, 0.0f);
    EXPECT_EQ(c.y1, 0.0f);

    a.Reset();
    std::vector<float> zeros(16, 0.0f);
    a(zeros.data(), zeros.size());
    EXPECT_EQ(zeros, std::vector<float>(16, 0.0f));
}

TEST(BiQuad, DesignedCoefficientsAreExact)
{
    // The reference design's values, to the last bit.
    BiQuad lp(BiQuad::LowPass, 0, 1000, 44100, 1);
    EXPECT_EQ(lp.b0, 0x1.3c19073d1cee6p-8);
    EXPECT_EQ(lp.b1, 0x1.3c19073d1cee6p-7);
    EXPECT_EQ(lp.b2, 0x1.3c19073d1cee6p-8);
    EXPECT_EQ(lp.a1, -0x1.e280f84c5f402p+0);
    EXPECT_EQ(lp.a2, 0x1.cee2b8d2a767bp-1);

    BiQuad ls(BiQuad::LowShelf, 6, 200, 48000, 1);
    EXPECT_EQ(ls.b0, 0x1.01a66ada1310ep+0);
    EXPECT_EQ(ls.b1, -0x1.f7f6faa7b756bp+0);
    EXPECT_EQ(ls.b2, 0x1.ed1e1280ce931p-1);
    EXPECT_EQ(ls.a1, -0x1.f8068f85f2a1ap+0);
    EXPECT_EQ(ls.a2, 0x1.f04bbe787e1f1p-1);

    BiQuad hs(BiQuad::HighShelf, -5, 4000, 44100, 3);
    EXPECT_EQ(hs.b0, 0x1.4241d6707cd5cp-1);
    EXPECT_EQ(hs.b1, -0x1.6657e489eb82bp-1);
    EXPECT_EQ(hs.b2, 0x1.015f2b5b2daaap-2);
    EXPECT_EQ(hs.a1, -0x1.50a267ef9dad9p+0);
    EXPECT_EQ(hs.a2, 0x1.fbbcaee6c7071p-2);
}

TEST(BiQuad, DesignsHaveTheirResponses)
{
    const double rate = 44100;
    BiQuad lp(BiQuad::LowPass, 0, 1000, 44100, 1);
    EXPECT_NEAR(GainDb(lp, 0, rate), 0.0, 1e-9);
    EXPECT_LT(GainDb(lp, 10000, rate), -35.0);

    BiQuad hp(BiQuad::HighPass, 0, 1000, 44100, 1);
    EXPECT_NEAR(GainDb(hp, 22050, rate), 0.0, 1e-9);
    EXPECT_LT(GainDb(hp, 50, rate), -45.0);

    BiQuad bp(BiQuad::BandPass, 0, 1000, 44100, 1);
    EXPECT_NEAR(GainDb(bp, 1000, rate), 0.0, 1e-9);
    EXPECT_LT(GainDb(bp, 100, rate), -15.0);

    BiQuad notch(BiQuad::Notch, 0, 1000, 44100, 1);
    EXPECT_LT(GainDb(notch, 1000, rate), -200.0);
    EXPECT_NEAR(GainDb(notch, 10, rate), 0.0, 1e-3);

    BiQuad peak(BiQuad::Peaking, 6, 1000, 44100, 1);
    EXPECT_NEAR(GainDb(peak, 1000, rate), 6.0, 1e-9);
    EXPECT_NEAR(GainDb(peak, 20, rate), 0.0, 0.05);

    BiQuad flat(BiQuad::Peaking, 0, 1000, 44100, 2);
    EXPECT_EQ(flat.b0, 1.0);
    EXPECT_EQ(flat.b2, flat.a2);
    EXPECT_EQ(flat.b1, flat.a1);

    BiQuad low(BiQuad::LowShelf, 6, 200, 44100, 1);
    EXPECT_NEAR(GainDb(low, 0, rate), 6.0, 1e-9);
    EXPECT_NEAR(GainDb(low, 200, rate), 3.0, 0.05);
    EXPECT_NEAR(GainDb(low, 20000, rate), 0.0, 0.01);

    BiQuad high(BiQuad::HighShelf, -6, 4000, 44100, 1);
    EXPECT_NEAR(GainDb(high, 22050, rate), -6.0, 1e-9);
    EXPECT_NEAR(GainDb(high, 0, rate), 0.0, 1e-9);

    // The shelves ignore the bandwidth.
    BiQuad wide(BiQuad::HighShelf, -6, 4000, 44100, 5);
    EXPECT_EQ(wide.b0, high.b0);
    EXPECT_EQ(wide.a1, high.a1);
}

TEST(BiQuad, RefusesUnknownTypes)
{
    try {
        BiQuad q(static_cast<BiQuad::Type>(7), 0, 1000, 44100, 1);
        FAIL() << "no exception";
    } catch (const std::runtime_error& e) {
        EXPECT_STREQ(e.what(), "Invalid filter type");
    }
    EXPECT_THROW(BiQuad(static_cast<BiQuad::Type>(0xFFFFFFFFu), 0, 1000, 44100, 1), std::runtime_error);
}
