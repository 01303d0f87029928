#include "VELTRATestUtil.h"

#include <gtest/gtest.h>

TEST(VELTRAParams, TuneOctaveAndWaveformRows)
{
  VeltraRig rig;
  VELTRA& p = *rig.mPlug;
  rig.Set(kOP1Tune, 1200.0);
  EXPECT_EQ(p.mOsc[0].mTune, 8.0) << "octave 2 plus 1200 cents is octave 3";
  rig.Set(kOP1Octave, 0.0);
  rig.Set(kOP1Tune, -1200.0);
  EXPECT_EQ(p.mOsc[14].mTune, 0.5);
  EXPECT_EQ(p.mOsc[1].mTune, 4.0) << "OP2 untouched";
  rig.Set(kOP2Tune, 99.9);
  EXPECT_EQ(p.mOsc[1].mCents, 99) << "tune is read with Int()";

  rig.Set(kOP2Waveform, 3.0);
  for (int i = 0; i < kNumOscillators; ++i) EXPECT_EQ(p.mOsc[i].mWave, i % 2 ? vlt_pulse : vlt_sine) << i;
}

TEST(VELTRAParams, ChorusBoundsAreDrawnAroundTheSpeed)
{
  VeltraRig rig;
  for (int k = 0; k < 50; ++k)
  {
    rig.Set(kChorusSpeed, 650.0);
    EXPECT_GE(rig.mPlug->mChorusL.mMaxLength, 645);
    EXPECT_LE(rig.mPlug->mChorusL.mMaxLength, 654);
    EXPECT_GE(rig.mPlug->mChorusR.mMaxLength, 645);
    EXPECT_LE(rig.mPlug->mChorusR.mMaxLength, 654);
  }
}

TEST(VELTRAParams, VolumeDuringAHeldNoteReplacesTheVelocityTerm)
{
  VeltraRig rig;
  rig.NoteOn(60, 32);
  rig.Render(32);
  EXPECT_NEAR(rig.mPlug->mOsc[0].mVelocityGain, 32.0 / 127.0, 1e-12);
  rig.Set(kOP1Volume, 0.9);
  EXPECT_EQ(rig.mPlug->mOsc[0].mVelocityGain, 0.9) << "a soft note jumps to the bare volume";
  EXPECT_NEAR(rig.mPlug->mOsc[1].mVelocityGain, 32.0 / 127.0, 1e-12);
  rig.NoteOn(62, 127);
  rig.Render(32);
  EXPECT_EQ(rig.mPlug->mOsc[2].mVelocityGain, 0.9) << "velocity 127 gives exactly the volume";
}
