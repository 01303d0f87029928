#include "VELTRATestUtil.h"

#include <cmath>
#include <gtest/gtest.h>

TEST(VELTRAVoices, NinthNoteIsDroppedAndNotRemembered)
{
  VeltraRig rig;
  for (int k = 0; k < 9; ++k) rig.NoteOn(60 + k);
  rig.Render(32);
  EXPECT_EQ(rig.GatedVoices().size(), 8u);
  for (int n = 0; n < kNumVoices; ++n) EXPECT_NE(rig.mPlug->mOsc[2 * n].mKey, 68);
  EXPECT_EQ(rig.mPlug->GetNumKeys(), 9) << "the key table counts what arrived";

  rig.NoteOff(60);
  rig.Render(44 * 200); // the released voice dies away and is free again
  EXPECT_EQ(rig.GatedVoices().size(), 7u);
  for (int n = 0; n < kNumVoices; ++n) EXPECT_NE(rig.mPlug->mOsc[2 * n].mKey, 68) << "the ninth never starts";
}

TEST(VELTRAVoices, RepeatedKeyTakesTwoVoicesAndVelocityZeroReleasesTheLowestFirst)
{
  VeltraRig rig;
  rig.NoteOn(50);
  rig.NoteOn(50);
  rig.Render(32);
  EXPECT_EQ(rig.GatedVoices(), (std::vector<int>{0, 1}));
  rig.NoteOn(50, 0); // a note-off
  rig.Render(32);
  EXPECT_EQ(rig.GatedVoices(), std::vector<int>{1});
  EXPECT_FALSE(rig.mPlug->GetKeyStatus(50));
  EXPECT_EQ(rig.mPlug->GetNumKeys(), 1);
}

TEST(VELTRAVoices, AReleasedVoiceIsFreedOnlyAtATickWhereAllSoundOffSilencesEveryVoice)
{
  VeltraRig rig(1);
  rig.Set(kOP1Release, 0.4);
  rig.NoteOn(60);
  rig.Render(44 * 20);
  rig.NoteOff(60);
  rig.Render(1); // gate off, but the level only changes at the next tick
  rig.NoteOn(62);
  rig.Render(1);
  EXPECT_EQ(rig.mPlug->mOsc[2].mKey, 62) << "voice 0 still counts as busy";
  EXPECT_TRUE(rig.mPlug->mOsc[2].mGate);
  rig.Midi(0xB0, 120, 0); // all sound off: every voice silent from the next tick
  rig.Render(44);
  for (const VLTOscillator& o : rig.mPlug->mOsc) EXPECT_EQ(o.mLevel, 0.0);
}

TEST(VELTRAVoices, MalformedAndOtherMessagesLeaveTheStateAlone)
{
  VeltraRig rig;
  rig.Midi(0x90, 200, 100); // a data byte above 127
  rig.Midi(0x80, 255, 0);
  rig.Midi(0xB0, 1, 64); // control change
  rig.Midi(0xC0, 5);     // program change
  rig.Render(32);
  EXPECT_EQ(rig.mPlug->GetNumKeys(), 0);
  EXPECT_TRUE(rig.GatedVoices().empty());
  EXPECT_FALSE(rig.mPlug->GetKeyStatus(128));
  EXPECT_TRUE(rig.mPlug->mMidiQueue.Empty());
}

TEST(VELTRAVoices, TheWheelAndTheBendParameterRetuneTheSoundingNote)
{
  VeltraRig rig;
  rig.PlainSine();
  rig.NoteOn(69);
  // Cycles a second of the plain sine, from its rising zero crossings.
  auto hz = [&]
  {
    const std::vector<double> out = rig.Render(8192);
    std::vector<int> up;
    for (int i = 2048; i < 8192; ++i)
      if (out[i - 1] < 0.0 && out[i] >= 0.0) up.push_back(i);
    return 44100.0 * (double)(up.size() - 1) / (up.back() - up.front());
  };
  const double plain = hz();
  IMidiMsg wheel;
  wheel.MakePitchWheelMsg(1.0, 0);
  rig.mPlug->ProcessMidiMsg(&wheel);
  // The phase still resets once past the table, so a cycle stays a whole
  // number of samples: the ratios hold to that rounding.
  EXPECT_NEAR(hz() / plain, std::pow(2.0, 8191.0 / 8192.0), 0.03) << "an octave up, less a step";
  rig.Set(kPitchBend, -1.0);
  EXPECT_NEAR(hz() / plain, 0.5, 0.01) << "an octave down";
}

TEST(VELTRAVoices, NotesStartOnTheSampleOfTheirOffset)
{
  // Against a note at sample 0, every cycle (101 samples) of a note at
  // sample 40 comes 40 samples later.
  auto firstRise = [](int offset)
  {
    VeltraRig rig(64);
    rig.PlainSine();
    rig.NoteOn(69, 127, offset);
    const std::vector<double> out = rig.Render(8192);
    int i = 4096;
    while (!(out[i - 1] < 0.0 && out[i] >= 0.0)) ++i;
    return i;
  };
  EXPECT_EQ((firstRise(40) - firstRise(0) + 101) % 101, 40);
}

TEST(VELTRAVoices, EnvelopeStagesAreStraightLinesOnTicks)
{
  VeltraRig rig(32);
  rig.Set(kOP1Attack, 1.0);
  rig.Set(kOP1Sustain, 0.5);
  rig.Set(kOP1Decay, 1.0);
  const double step = mapRate(1.0);
  rig.NoteOn(60);
  rig.Render(43);
  EXPECT_EQ(rig.mPlug->mOsc[0].mEnvelope, 0.0) << "no tick before the 44th sample";
  rig.Render(1);
  EXPECT_DOUBLE_EQ(rig.mPlug->mOsc[0].mEnvelope, step);
  rig.Render(44 * 9);
  EXPECT_NEAR(rig.mPlug->mOsc[0].mEnvelope, 10 * step, 1e-12) << "ticks counted across blocks of 32";
  EXPECT_NEAR(rig.mPlug->mOsc[0].mLevel, 10 * step, 1e-12) << "velocity 127 at volume 1.0";

  rig.Render(44 * 400); // through the attack (202 ticks) and the decay
  EXPECT_TRUE(rig.mPlug->mOsc[0].mDecaying);
  EXPECT_DOUBLE_EQ(rig.mPlug->mOsc[0].mEnvelope, 0.5);
  rig.NoteOff(60);
  rig.Render(44);
  EXPECT_NEAR(rig.mPlug->mOsc[0].mEnvelope, 0.5 - mapRate(0.4), 1e-12);
}

TEST(VELTRAVoices, AFloodWithNoAudioRunningStaysBounded)
{
  VeltraRig rig;
  for (int i = 0; i < 100000; ++i) rig.NoteOn(40 + i % 40, 100);
  EXPECT_EQ(rig.mPlug->mMidiQueue.GetSize(), (int)kMaxQueuedMidiMessages);
  EXPECT_LE(rig.mPlug->mMidiQueue.GetCapacity(), 2 * (int)kMaxQueuedMidiMessages);
  EXPECT_EQ(rig.mPlug->GetNumKeys(), (int)kMaxQueuedMidiMessages) << "dropped notes are not counted either";
  rig.Render(64);
  EXPECT_TRUE(rig.mPlug->mMidiQueue.Empty()) << "one block takes what is due";
  rig.NoteOff(40);
  EXPECT_EQ(rig.mPlug->mMidiQueue.GetSize(), 1) << "room again";
}
