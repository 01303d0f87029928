#include "VLTOscillator.h"

#include <gtest/gtest.h>

namespace
{
VLTOscillator Make(const double* wave, double increment, double level = 1.0)
{
  VLTOscillator o;
  o.mWave = wave;
  o.mIncrement = increment;
  o.mLevel = level;
  return o;
}
} // namespace

TEST(VLTOscillator, PhaseResetsInsteadOfWrapping)
{
  VLTOscillator o = Make(vlt_saw, 0.0);
  o.mPhase = 65535.0;
  EXPECT_EQ(o.Step(), vlt_saw[255]) << "exactly 65535.0 stays and reads sample 255";
  o.mIncrement = 1.0;
  EXPECT_EQ(o.Step(), vlt_saw[0]);
  EXPECT_EQ(o.mPhase, 0.0) << "the overshoot is dropped";

  // Note 69 an octave up at 44100 Hz: 101 samples a cycle, not 100.9.
  VLTOscillator a = Make(vlt_sine, 653.8739229);
  int resets = 0, firstReset = -1, secondReset = -1;
  for (int s = 1; s <= 250 && resets < 2; ++s)
  {
    a.Step();
    if (a.mPhase == 0.0) (++resets == 1 ? firstReset : secondReset) = s;
  }
  EXPECT_EQ(firstReset, 101);
  EXPECT_EQ(secondReset, 202);

  VLTOscillator fast = Make(vlt_tri, 70000.0);
  for (int i = 0; i < 5; ++i) EXPECT_EQ(fast.Step(), vlt_tri[0]) << "an increment above a cycle gives sample 0";
}

TEST(VLTOscillator, TableReadIsTruncatedAndScaled)
{
  VLTOscillator o = Make(vlt_hammond, 0.0, 0.5);
  o.mPhase = 256.0 * 110 + 255.99;
  EXPECT_EQ(o.Step(), vlt_hammond[110] * 0.5);
  o.mLevel = 0.0;
  o.mIncrement = 100.0;
  EXPECT_EQ(o.Step(), 0.0);
  EXPECT_DOUBLE_EQ(o.mPhase, 256.0 * 110 + 355.99) << "a silent operator still advances";
}

TEST(VLTOscillator, FrequencyModulationMovesThisSampleOnlyAndStopsAtZero)
{
  VLTOscillator plain = Make(vlt_saw, 300.0), fm = Make(vlt_saw, 300.0);
  for (int i = 0; i < 1000; ++i) ASSERT_EQ(plain.Step(), fm.FMStep(0.0)) << "FMStep(0) is Step at sample " << i;

  VLTOscillator o = Make(vlt_saw, 100.0);
  o.FMStep(1.0);
  EXPECT_EQ(o.mPhase, 4196.0) << "a modulator of 1.0 adds 4096 units";
  EXPECT_EQ(o.mIncrement, 100.0);
  EXPECT_EQ(o.FMStep(-2.0), vlt_saw[0]) << "below 0 the phase stops at 0";
  EXPECT_EQ(o.mPhase, 0.0);
  o.FMStep(0.0);
  EXPECT_EQ(o.mPhase, 100.0);
}

TEST(VLTOscillator, PulseComparesWidthWithPhase)
{
  VLTOscillator o = Make(vlt_sine, 1000.0, 0.75);
  o.mPulseWidth = 0.0;
  for (int i = 0; i < 100; ++i) ASSERT_EQ(o.PWMStep(), -0.75);
  o.mPulseWidth = 70000.0;
  for (int i = 0; i < 100; ++i) ASSERT_EQ(o.PWMStep(), 0.75);

  o.mPhase = 0.0;
  o.mPulseWidth = 2000.0;
  EXPECT_EQ(o.PWMStep(), 0.75); // phase 1000
  EXPECT_EQ(o.PWMStep(), -0.75) << "at phase == width the output is already low";
  o.mPhase = 0.0;
  EXPECT_EQ(o.FMPWMStep(-1.0), 0.75) << "FM below zero resets to phase 0, which is high";
}
