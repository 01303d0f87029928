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
