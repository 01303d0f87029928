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

TEST(VLTWaveTables, MeasuredRowsAreHeldExactly)
{
  const int rows[17] = {0, 16, 32, 48, 64, 80, 96, 112, 128, 144, 160, 176, 192, 208, 224, 240, 255};
  const double held[8][17] = {
      {-0.9810001, -0.753, -0.501, -0.249, 0.0, 0.248, 0.5, 0.752, 0.98, 0.752, 0.5, 0.248, 0.0, -0.249, -0.501, -0.753,
       -0.978},
      {-1.0, 0.693, 0.9910001, 0.9990001, 0.9990001, 0.9990001, 0.9990001, 0.9990001, 0.891, -0.9390001, -0.9990001,
       -1.0, -1.0, -1.0, -1.0, -1.0, -1.0},
      {-0.997, 0.899, 0.9990001, 0.993, -0.47, -0.994, -1.0, -1.0, -1.0, -1.0, -1.0, -1.0, -1.0, -1.0, -1.0, -1.0,
       -1.0},
      {-0.289, -0.811, -0.794, -0.688, -0.566, -0.443, -0.319, -0.195, -0.071, 0.054, 0.178, 0.302, 0.426, 0.55, 0.674,
       0.798, -0.199},
      {-0.485, 0.5930001, 0.0, -0.743, 0.39, -0.071, 0.89, 0.804, -0.313, 0.07, 0.9680001, -0.094, 0.906, 0.507, -0.29,
       0.054, 0.929},
      {0.0, -0.141, -0.071, -0.235, -0.243, 0.0, -0.446, -0.9070001, 0.0, 0.906, 0.445, 0.0, 0.242, 0.234, 0.07, 0.14,
       0.007},
      {-0.9850001, -0.227, 0.414, 0.8430001, 0.992, 0.8430001, 0.414, -0.227, -0.993, -0.227, 0.414, 0.8430001, 0.992,
       0.8430001, 0.414, -0.227, -0.938},
      {-1.0, -0.34, 0.331, 0.799, 0.835, -0.9950001, -1.0, -1.0, -0.9860001, -0.294, 0.367, 0.8200001, 0.458, -0.997,
       -1.0, -1.0, 0.0},
  };
  for (int t = 0; t < 8; ++t)
    for (int r = 0; r < 17; ++r)
      EXPECT_EQ(waveforms[t + 1][rows[r]], held[t][r]) << "table " << t + 1 << " sample " << rows[r];
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
