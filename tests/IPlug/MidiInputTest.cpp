// The MIDI input stage: what it hands the instrument, frame by frame, for
// the pedal, the channel-mode messages, keys struck again and the wheel;
// and the learned controllers with their file and pick-up.

#include "IControllerMap.h"
#include "IMidiInput.h"
#include "TestPlug.h"

#include <gtest/gtest.h>
#include <string>

namespace
{
// Writes what reaches it as "frame:status data1" words, and learned values
// as "frame:p<index>=<value>".
struct Log : IMidiInput::ISink
{
  std::string text;
  void Deliver(int frame, IMidiMsg* m) override
  {
    char w[32];
    snprintf(w, sizeof(w), "%d:%02X %d ", frame, m->mStatus, m->mData1);
    text += w;
  }
  void SetLearned(int frame, int idx, double v) override
  {
    char w[32];
    snprintf(w, sizeof(w), "%d:p%d=%.2f ", frame, idx, v);
    text += w;
  }
  std::string Take()
  {
    std::string t;
    t.swap(text);
    return t;
  }
};

void In(IMidiInput& s, Log& log, int frame, uint8_t status, uint8_t d1, uint8_t d2 = 0)
{
  s.Input(frame, IMidiMsg(0, status, d1, d2), &log);
}
} // namespace

TEST(MidiInput, PedalHoldsNoteOffsPerChannelAndKeysStruckAgainAreReleasedFirst)
{
  IMidiInput s;
  Log log;
  In(s, log, 0, 0xB0, 64, 127); // the pedal of channel 1 only
  In(s, log, 1, 0x90, 60, 100);
  In(s, log, 2, 0x91, 60, 100);
  In(s, log, 3, 0x80, 60);
  In(s, log, 3, 0x81, 60);
  In(s, log, 4, 0x90, 62, 100);
  In(s, log, 5, 0x90, 62, 0); // a note-on of velocity 0 is held as a note-off
  EXPECT_EQ(log.Take(), "1:90 60 2:91 60 3:81 60 4:90 62 ");
  s.EndBlock(8);
  // The held key struck again: its note-off, then the note, at one frame.
  In(s, log, 2, 0x90, 62, 90);
  In(s, log, 3, 0x80, 62);
  In(s, log, 6, 0xB0, 64, 0); // up: the held note-offs at the pedal's frame
  In(s, log, 7, 0xB0, 64, 0);
  EXPECT_EQ(log.Take(), "2:80 62 2:90 62 6:80 60 6:80 62 ");
  // Without the pedal a key struck twice is still released first, and a
  // note-off for a key that is not on passes as it came.
  In(s, log, 0, 0x90, 64, 100);
  In(s, log, 1, 0x90, 64, 100);
  In(s, log, 2, 0x80, 70);
  EXPECT_EQ(log.Take(), "0:90 64 1:80 64 1:90 64 2:80 70 ");
}

TEST(MidiInput, ModeMessagesReleaseHeldNotesTooAndAllSoundOffReachesTheInstrument)
{
  IMidiInput s;
  Log log;
  In(s, log, 0, 0xB2, 64, 100);
  In(s, log, 0, 0x92, 40, 100);
  In(s, log, 0, 0x92, 41, 100);
  In(s, log, 1, 0x82, 40); // held
  In(s, log, 2, 0xB2, 123, 0);
  In(s, log, 3, 0x82, 41); // already released: the pedal holds nothing more
  EXPECT_EQ(log.Take(), "0:92 40 0:92 41 2:82 40 2:82 41 3:82 41 ");
  In(s, log, 4, 0x92, 50, 100);
  In(s, log, 5, 0xB2, 120, 0);
  In(s, log, 6, 0x92, 51, 100);
  In(s, log, 6, 0x82, 51);
  In(s, log, 7, 0xB2, 126, 1); // mono mode: all notes off
  In(s, log, 8, 0x92, 52, 100);
  In(s, log, 8, 0x82, 52);
  In(s, log, 9, 0xB2, 121, 0); // reset all controllers lifts the pedal
  EXPECT_EQ(log.Take(), "4:92 50 5:82 50 5:B2 120 6:92 51 7:82 51 8:92 52 9:82 52 ");
}

TEST(MidiInput, ANoteStruckWithTheWheelBentGetsTheWheelOnTheNextFrameEvenInTheNextBlock)
{
  IMidiInput s;
  Log log;
  In(s, log, 0, 0x90, 60, 100); // wheel centred: nothing added
  In(s, log, 2, 0xE0, 0, 32);
  In(s, log, 3, 0x90, 62, 100);
  In(s, log, 6, 0x80, 62);
  s.DeliverDue(7, &log);
  EXPECT_EQ(log.Take(), "0:90 60 2:E0 0 3:90 62 4:E0 0 6:80 62 ");
  In(s, log, 7, 0x90, 64, 100); // the block's last frame
  s.DeliverDue(7, &log);
  s.EndBlock(8);
  EXPECT_EQ(s.NextDue(), 0);
  In(s, log, 0, 0x80, 64);
  In(s, log, 0, 0x91, 65, 100); // channel 2's wheel is centred
  s.DeliverDue(7, &log);
  EXPECT_EQ(log.Take(), "7:90 64 0:E0 0 0:80 64 0:91 65 ");
}

TEST(MidiInput, ALearnedControllerTakesHoldOnlyWhereItMeetsTheParameter)
{
  TestPlug plug;
  IControllerMap map;
  ASSERT_TRUE(map.Bind(74, 0)); // "a", at 0.5
  EXPECT_FALSE(map.Bind(64, 1)) << "the pedal is the stage's";
  EXPECT_FALSE(map.Bind(120, 1));
  IMidiInput s;
  s.SetControllers(&map, &plug);
  struct Setting : Log
  {
    TestPlug* plug;
    void SetLearned(int frame, int idx, double v) override
    {
      Log::SetLearned(frame, idx, v);
      plug->SetParameterFromController(idx, v);
    }
  } log;
  log.plug = &plug;
  for (int v : {10, 30, 70, 100}) In(s, log, 0, 0xB3, 74, (uint8_t)v); // crosses 0.5 between 30 and 70
  In(s, log, 1, 0xB0, 75, 5);                                          // not learned: on to the instrument
  EXPECT_EQ(log.Take(), "0:p0=0.55 0:p0=0.79 1:B0 75 ");
  plug.SetParameterFromGUI(0, 0.2); // the mouse moved it: the knob lets go
  In(s, log, 2, 0xB0, 74, 120);
  In(s, log, 3, 0xB0, 74, 25);
  EXPECT_EQ(log.Take(), "3:p0=0.20 ");
  map.SetPickUp(false);
  In(s, log, 4, 0xB0, 74, 127);
  EXPECT_EQ(log.Take(), "4:p0=1.00 ");
}

TEST(ControllerMap, AFileReadsLenientlyNamingEachBadLineAndWritesBackTheSameMap)
{
  TestPlug plug;
  IControllerMap map;
  std::string complaints;
  map.Read("; mine\n"
           "[controllers]\n"
           "CC 74 = A\n" // names match in any case
           "CC 64 = b\n" // the pedal
           "CC 12 = nothing\n"
           "CC 74 = c\n" // a second binding of one controller
           "CC x = c\n"
           "just words\n"
           "[options]\n"
           "pick up = off\n"
           "wheel range = 25\n"
           "wheel range = 2\n"
           "[other]\n"
           "CC 5 = c\n"
           "[controllers]\n"
           "CC 7 = c\n",
           &plug, &complaints);
  EXPECT_EQ(map.ParamFor(74), 0);
  EXPECT_EQ(map.ParamFor(7), 2);
  EXPECT_EQ(map.Count(), 2);
  EXPECT_FALSE(map.PickUp());
  EXPECT_EQ(map.WheelRange(), 2);
  int lines = 0;
  for (char c : complaints) lines += c == '\n';
  EXPECT_EQ(lines, 7) << complaints;
  EXPECT_NE(complaints.find("line 5: no parameter is called \"nothing\""), std::string::npos) << complaints;
  EXPECT_NE(complaints.find("line 11: "), std::string::npos) << complaints;

  IControllerMap again;
  complaints.clear();
  again.Read(map.Write(&plug), &plug, &complaints);
  EXPECT_EQ(complaints, "");
  EXPECT_TRUE(again == map);
  again.Bind(7, 0); // takes CC 7, and "a" leaves CC 74
  EXPECT_EQ(again.ParamFor(74), -1);
  EXPECT_EQ(again.ControllerFor(0), 7);
  EXPECT_FALSE(again == map);
}
