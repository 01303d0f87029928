#include "VLTChain.h"
#include "VLTChorus.h"
#include "VLTFilter.h"
#include "VLTReverb.h"

#include <cmath>
#include <cstring>
#include <random>
#include <gtest/gtest.h>
#include <memory>
#include <vector>

TEST(VLTFilter, DampedFilterFollowsAStepAndSaturatesGently)
{
  double vel = 0.0, pos = 0.0, out = 0.0;
  for (int i = 0; i < 20; ++i) out = VLTFilterStep(1.0, 0.99, 0.25, vel, pos);
  EXPECT_NEAR(pos, 1.0, 1e-3) << "c = 0.99, r = 0.25 follows within a few samples";
  for (int i = 0; i < 200; ++i) out = VLTFilterStep(1.0, 0.99, 0.25, vel, pos);
  EXPECT_NEAR(pos, 1.0, 1e-12);
  EXPECT_NEAR(out, 0.99997, 1e-5);
}

TEST(VLTFilter, ResonantFilterRingsAtItsPoleFrequency)
{
  // c = 0.01, r = 0.998: poles at radius sqrt(0.998) and an angle whose
  // cosine is (1 + r - rc) / (2 sqrt(r)): a period of about 62.9 samples.
  const double r = 0.998, c = 0.01;
  const double period = 2.0 * M_PI / std::acos((1.0 + r - r * c) / (2.0 * std::sqrt(r)));
  double vel = 0.0, pos = 0.0;
  std::vector<int> upCrossings;
  double prev = -1.0;
  for (int i = 0; i < 2000; ++i)
  {
    VLTFilterStep(1.0, c, r, vel, pos);
    if (prev < 1.0 && pos >= 1.0) upCrossings.push_back(i);
    prev = pos;
  }
  ASSERT_GE(upCrossings.size(), 20u) << "it rings for many periods";
  const double measured = (upCrossings.back() - upCrossings[1]) / double(upCrossings.size() - 2);
  EXPECT_NEAR(measured, period, 0.5);
  EXPECT_NEAR(period, 62.9, 0.1);
}

TEST(VLTFilter, CrusherIndexRules)
{
  struct Case
  {
    double in, out;
  } cases[] = {{0.0, 1.0},      // index 127
               {0.01, -1.0},    // 128
               {-1.0, -0.1},    // 0
               {1.0, 0.0},      // 254
               {1.5, 0.0},      // 255
               {-1.5, 0.0},     // u = -63.5: unsigned, so 255
               {-1.01, 0.0},    // u = -1.27 truncates to -1: 255
               {-1.005, -0.1}}; // u = -0.635 truncates to 0
  for (const Case& k : cases) EXPECT_EQ(VLTCrushStep(k.in, 1.0, 1.0), k.out) << "sample " << k.in;
  EXPECT_EQ(VLTCrushStep(0.3, 0.0, 0.25), 0.25 * 1.0 + 0.75 * 0.3) << "destruction 0 adds the mix";
  EXPECT_EQ(VLTCrushStep(0.123456, 0.7, 0.0), 0.123456) << "mix 0 leaves the sample exactly";
  EXPECT_TRUE(std::isnan(VLTCrushStep(NAN, 1.0, 1.0))) << "a NaN reads index 255, never outside the table";
  EXPECT_EQ(VLTCrushStep(1e300, 1.0, 1.0), 0.0);
}

TEST(VLTChorus, LengthTurnsAt200AndAtItsUpperBound)
{
  VLTChorus ch;
  ch.mDepth = 0.0;
  EXPECT_EQ(ch.feed(0.7), 0.7) << "depth 0 is the dry sample exactly";
  ch.mDepth = 0.5;
  ch.mMaxLength = 305;
  int minLen = ch.mLength, maxLen = ch.mLength;
  for (int i = 0; i < 400000; ++i)
  {
    ch.feed(0.0);
    minLen = std::min(minLen, ch.mLength);
    maxLen = std::max(maxLen, ch.mLength);
  }
  EXPECT_EQ(minLen, 200);
  EXPECT_EQ(maxLen, 305);
}

TEST(VLTReverb, ImpulseGivesTheKnownEchoes)
{
  auto rv = std::make_unique<VLTReverb>();
  EXPECT_EQ(rv->feed(0.0), 0.0) << "silence in, silence out";
  rv->mFeedback = 0.5;
  rv->mMix = 1.0;
  for (int i = 0; i < 99; ++i) rv->feed(0.0); // away from write position 0
  rv->feed(1.0);
  std::vector<double> out(8200);
  for (size_t i = 1; i < out.size(); ++i) out[i] = rv->feed(0.0);
  EXPECT_NEAR(out[1], 0.0052, 5e-5);
  EXPECT_NEAR(out[2], 0.0, 1e-4);
  EXPECT_NEAR(out[4094], 0.0, 1e-4);
  EXPECT_NEAR(out[4095], -0.0049, 5e-5);
  EXPECT_NEAR(out[4096], 0.9997, 5e-5);
  EXPECT_NEAR(out[4097], 0.0052, 5e-5);
  EXPECT_NEAR(out[8192], 0.4997, 5e-5);

  rv->mMix = 0.0;
  EXPECT_EQ(rv->feed(1.0), 0.0) << "mix 0 returns nothing while the ring fills";
}

namespace
{
bool SameBits(double a, double b) { return !memcmp(&a, &b, sizeof a); }

// The comb as a sample at a time computes it: the read point, its four
// neighbours and the fraction taken anew each sample.
struct PlainComb
{
  std::vector<double> buffer = std::vector<double>(4096, 0.0);
  int writePos = 0;
  double feedback = 0.93, mix = 0.6;

  double feed(double x)
  {
    double r = writePos - 0.01;
    if (r < 0.0) r += 4096;
    const int i = (int)r;
    const int im1 = i - 1 < 0 ? 4095 : i - 1, ip1 = i + 1 >= 4096 ? 0 : i + 1, ip2 = i + 2 >= 4096 ? 0 : i + 2;
    const double y0 = buffer[im1], y1 = buffer[i], y2 = buffer[ip1], y3 = buffer[ip2];
    const double f = (double)((float)r - (float)i);
    const double c1 = 0.5 * (y2 - y0), c2 = y0 - 2.5 * y1 + 2.0 * y2 - 0.5 * y3;
    const double c3 = 0.5 * (y3 - y0) + 1.5 * (y1 - y2);
    const double out = ((c3 * f + c2) * f + c1) * f + y1;
    buffer[writePos] = x + out * feedback;
    if (++writePos >= 4096) writePos = 0;
    return out * mix;
  }
};
} // namespace

TEST(VLTReverb, SpansAndPairedSidesGiveThePlainCombsDoubles)
{
  auto l = std::make_unique<VLTReverb>(), r = std::make_unique<VLTReverb>();
  PlainComb pl, pr;
  l->mFeedback = pl.feedback, l->mMix = pl.mix;
  pr.feedback = r->mFeedback = 0.41, pr.mix = r->mMix = 1.0;
  std::mt19937 rng(7);
  std::uniform_real_distribution<double> in(-1.0, 1.0);
  std::uniform_int_distribution<int> span(1, 44);
  int mismatches = 0, n = 0;
  // Three times round the ring, in spans of every length, each span one
  // sample at a time on the left and both sides paired.
  while (n < 3 * 4096 + 17)
  {
    const int len = span(rng);
    ASSERT_TRUE(VLTReverb::CanPair(*l, *r));
    VLTReverb::PairRun pair = VLTReverb::BeginPair(*l, *r);
    for (int k = 0; k < len; ++k, ++n)
    {
      const double a = in(rng), b = n % 500 < 3 ? -0.0 : in(rng);
      const VLTReverb::V2 got = pair.feed(VLTReverb::V2{a, b});
      mismatches += !SameBits(got[0], pl.feed(a)) + !SameBits(got[1], pr.feed(b));
    }
    VLTReverb::EndPair(*l, *r, pair);
    const double a = in(rng);
    mismatches += !SameBits(l->feed(a), pl.feed(a));
    mismatches += !SameBits(r->feed(a), pr.feed(a));
    ++n;
  }
  EXPECT_EQ(mismatches, 0);
}

TEST(VLTChain, TheDryCrusherShortcutIsTheCrusherStepBitForBit)
{
  VLTChain c;
  for (double mix : {0.0, -0.0})
    for (double destruction : {0.0, 0.35, 1.0})
    {
      c.mix = mix, c.destruction = destruction;
      c.crushDry = true, c.dryZero = mix * crushform[127];
      for (double x : {-0.0, 0.0, 1e-310, -1e-310, -0.4, 0.999, 3.0, -250.0, (double)NAN, (double)INFINITY,
                       -(double)INFINITY})
        EXPECT_TRUE(SameBits(c.Crush(x), VLTCrushStep(x, destruction, mix)))
            << "x " << x << " mix " << mix << " destruction " << destruction;
    }
}
