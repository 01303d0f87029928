#include "VLTWaveTables.h"

#include <cmath>
#include <gtest/gtest.h>

TEST(VLTWaveTables, SineFollowsItsRoundingRule)
{
  for (int k = 0; k < 256; ++k)
  {
    // Round toward minus infinity to three decimals; exact zeros stay zero.
    const double exact = -std::sin(2.0 * M_PI * k / 256.0);
    const double want = (k % 128 == 0) ? 0.0 : std::floor(exact * 1000.0 + 1e-9) / 1000.0;
    ASSERT_NEAR(vlt_sine[k], want, 1e-12) << "sample " << k;
  }
  EXPECT_EQ(vlt_sine[16], -0.383);
  EXPECT_EQ(vlt_sine[144], 0.382);
  EXPECT_EQ(vlt_sine[64], -1.0);
  EXPECT_EQ(vlt_sine[192], 1.0);
}

TEST(VLTWaveTables, ShapesHaveTheirTurningPoints)
{
  auto argExtreme = [](const double* w, bool wantMax)
  {
    int at = 0;
    for (int k = 1; k < 256; ++k)
      if (wantMax ? w[k] > w[at] : w[k] < w[at]) at = k;
    return at;
  };
  EXPECT_EQ(waveforms[2], vlt_sqr);
  EXPECT_EQ(waveforms[3], vlt_pulse);

  EXPECT_EQ(argExtreme(vlt_tri, true), 128);
  EXPECT_EQ(argExtreme(vlt_saw, false), 21);
  EXPECT_EQ(vlt_saw[21], -0.8280001);
  EXPECT_EQ(argExtreme(vlt_saw, true), 245);
  EXPECT_EQ(vlt_saw[245], 0.835);
  EXPECT_EQ(argExtreme(vlt_hammond, false), 110);
  EXPECT_EQ(vlt_hammond[110], -0.915);
  EXPECT_EQ(argExtreme(vlt_hammond, true), 145);
  EXPECT_EQ(vlt_hammond[145], 0.914);

  EXPECT_LT(vlt_sqr[10], 0.0);
  EXPECT_GE(vlt_sqr[11], 0.0);
  EXPECT_GT(vlt_sqr[131], 0.0);
  EXPECT_LE(vlt_sqr[132], 0.0);
  for (int k = 0; k < 256; ++k)
    EXPECT_EQ(vlt_pulse[k] > 0.0, k >= 8 && k <= 60) << "pulse is positive only from 8 to 60, at " << k;

  double lo = 1.0, hi = -1.0;
  for (int k = 0; k < 256; ++k) lo = std::fmin(lo, vlt_noise[k]), hi = std::fmax(hi, vlt_noise[k]);
  EXPECT_EQ(lo, -0.993);
  EXPECT_EQ(hi, 0.992);

  EXPECT_EQ(vlt_yamsaw[127], -2.0) << "the deliberate spike";
  EXPECT_EQ(vlt_yamsaw[255], 0.0) << "the deliberate step";
  for (int t = 0; t < kNumWaveforms; ++t)
  {
    for (int k = 0; k < 256; ++k)
    {
      if (waveforms[t] == vlt_yamsaw && k == 127) continue;
      ASSERT_LE(std::fabs(waveforms[t][k]), 1.0) << "table " << t << " sample " << k;
    }
  }
}
