#include "TempDir.h"
#include "VELTRATestUtil.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>

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

TEST(VELTRAParams, ProgramAndBankFilesRoundTripEveryValue)
{
  TempDir temp;
  const std::string dir = temp.Path();
  WDL_String fxp((dir + "/p.fxp").c_str()), fxb((dir + "/b.fxb").c_str());
  VeltraRig rig;
  VELTRA& p = *rig.mPlug;
  auto scramble = [&](int seed)
  {
    for (int i = 0; i < kNumParams; ++i) p.SetParameterFromGUI(i, ((i + seed) * 29 % 97) / 97.0);
  };
  scramble(1);
  std::vector<double> saved;
  for (int i = 0; i < kNumParams; ++i) saved.push_back(p.GetParam(i)->Value());
  p.ModifyCurrentPreset("bright pad");
  ASSERT_TRUE(p.SaveProgramAsFXP(&fxp));
  scramble(5);
  ASSERT_TRUE(p.LoadProgramFromFXP(&fxp));
  for (int i = 0; i < kNumParams; ++i)
  {
    double lo, hi;
    p.GetParam(i)->GetBounds(&lo, &hi);
    EXPECT_NEAR(p.GetParam(i)->Value(), saved[i], (hi - lo) * 1e-6) << "param " << i;
  }
  EXPECT_STREQ(p.GetPresetName(p.GetCurrentPresetIdx()), "bright pad");

  for (int prog = 0; prog < 8; ++prog)
  {
    p.RestorePreset(prog);
    scramble(prog * 3);
    p.ModifyCurrentPreset(("program " + std::to_string(prog)).c_str());
  }
  ASSERT_TRUE(p.SaveBankAsFXB(&fxb));
  VeltraRig other;
  ASSERT_TRUE(other.mPlug->LoadBankFromFXB(&fxb));
  for (int prog = 0; prog < 8; ++prog)
  {
    p.RestorePreset(prog);
    other.mPlug->RestorePreset(prog);
    EXPECT_STREQ(other.mPlug->GetPresetName(prog), p.GetPresetName(prog));
    for (int i = 0; i < kNumParams; ++i)
      EXPECT_NEAR(other.mPlug->GetParam(i)->Value(), p.GetParam(i)->Value(), 2e-3) << prog << "/" << i;
  }
  struct stat st;
  stat(fxp.Get(), &st);
  EXPECT_EQ(st.st_size, 232);
  stat(fxb.Get(), &st);
  EXPECT_EQ(st.st_size, 2012);
}
