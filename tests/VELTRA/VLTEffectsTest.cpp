#include "VLTChain.h"
#include "VLTChorus.h"
#include "VLTFilter.h"
#include "VLTReverb.h"

#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <memory>
#include <random>
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

namespace
{
bool SameBits(double a, double b) { return !memcmp(&a, &b, sizeof a); }

// The comb a sample at a time: read point, neighbours and fraction anew.
struct PlainComb
{
  std::vector<double> b = std::vector<double>(4096, 0.0);
  int w = 0;
  double feedback = 0.93, mix = 0.6;

  double feed(double x)
  {
    double r = w - 0.01;
    if (r < 0.0) r += 4096;
    const int i = (int)r;
    const double y0 = b[i ? i - 1 : 4095], y1 = b[i], y2 = b[(i + 1) & 4095], y3 = b[i + 2 >= 4096 ? 0 : i + 2];
    const double f = (double)((float)r - (float)i);
    const double c1 = 0.5 * (y2 - y0), c2 = y0 - 2.5 * y1 + 2.0 * y2 - 0.5 * y3;
    const double out = (((0.5 * (y3 - y0) + 1.5 * (y1 - y2)) * f + c2) * f + c1) * f + y1;
    b[w] = x + out * feedback;
    w = (w + 1) & 4095;
    return out * mix;
  }
};
} // namespace

// An impulse on the left gives the known echoes, random samples (and some
// -0.0) on the right; both sides paired in spans of every length, each span
// followed by one sample a side on its own, three times round the ring: the
// plain comb's doubles throughout.
TEST(VLTReverb, TheKnownEchoesAndThePlainCombsDoublesInSpansAndPairs)
{
  auto l = std::make_unique<VLTReverb>(), r = std::make_unique<VLTReverb>();
  PlainComb pl, pr;
  pl.feedback = l->mFeedback = 0.5, pl.mix = l->mMix = 1.0;
  pr.feedback = r->mFeedback = 0.41, pr.mix = r->mMix = 0.6;
  std::mt19937 rng(7);
  std::uniform_real_distribution<double> in(-1.0, 1.0);
  std::uniform_int_distribution<int> span(1, 44);
  std::vector<double> left;
  int mismatches = 0;
  while (left.size() < 3 * 4096 + 17)
  {
    VLTReverb::PairRun pair = VLTReverb::BeginPair(*l, *r);
    for (int k = span(rng); k > 0; --k)
    {
      const double a = left.size() == 100 ? 1.0 : 0.0, b = left.size() % 500 < 3 ? -0.0 : in(rng);
      const VLTReverb::V2 got = pair.feed(VLTReverb::V2{a, b});
      left.push_back(got[0]);
      mismatches += !SameBits(got[0], pl.feed(a)) + !SameBits(got[1], pr.feed(b));
    }
    VLTReverb::EndPair(*l, *r, pair);
    ASSERT_TRUE(VLTReverb::CanPair(*l, *r));
    const double b = in(rng);
    left.push_back(l->feed(0.0));
    mismatches += !SameBits(left.back(), pl.feed(0.0)) + !SameBits(r->feed(b), pr.feed(b));
  }
  EXPECT_EQ(mismatches, 0);
  EXPECT_EQ(left[100], 0.0) << "silence in, silence out";
  EXPECT_NEAR(left[101], 0.0052, 5e-5);
  EXPECT_NEAR(left[102], 0.0, 1e-4);
  EXPECT_NEAR(left[100 + 4095], -0.0049, 5e-5);
  EXPECT_NEAR(left[100 + 4096], 0.9997, 5e-5);
  EXPECT_NEAR(left[100 + 4097], 0.0052, 5e-5);
  EXPECT_NEAR(left[100 + 8192], 0.4997, 5e-5);
}

TEST(VLTChain, TheDryCrusherShortcutIsTheCrusherStepBitForBit)
{
  VLTChain c;
  for (double mix : {0.0, -0.0})
    for (double destruction : {0.0, 0.35, 1.0})
    {
      c.mix = mix, c.destruction = destruction;
      c.crushDry = true, c.dryZero = mix * crushform[127];
      for (double x :
           {-0.0, 0.0, 1e-310, -1e-310, -0.4, 0.999, 3.0, -250.0, (double)NAN, (double)INFINITY, -(double)INFINITY})
        EXPECT_TRUE(SameBits(c.Crush(x), VLTCrushStep(x, destruction, mix)))
            << "x " << x << " mix " << mix << " destruction " << destruction;
    }
}
