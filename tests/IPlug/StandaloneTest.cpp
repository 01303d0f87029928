#include "TestPlug.h"

#include <gtest/gtest.h>
#include <vector>

namespace
{
std::vector<std::vector<unsigned char>> sSent;
void RecordSend(IMidiOutPort*, const unsigned char* bytes, size_t size) { sSent.emplace_back(bytes, bytes + size); }
} // namespace

TEST(IPlugStandalone, MidiOutChannelReplacesTheMessagesOwn)
{
  unsigned short outChan = 1;
  IPlugInstanceInfo info;
  info.mMidiOut = (IMidiOutPort*)&outChan; // any non-null port; the hook only records
  info.mMidiOutChan = &outChan;
  TestPlug plug(1, info);
  IPlugStandalone::SetMidiSendFunc(RecordSend);
  sSent.clear();

  IMidiMsg on(0, 0x92, 60, 100);
  EXPECT_TRUE(plug.SendMidiMsg(&on));
  outChan = 0;
  plug.SendMidiMsg(&on);
  IMidiMsg program(0, 0xC5, 7, 0);
  plug.SendMidiMsg(&program);
  IPlugStandalone::SetMidiSendFunc(nullptr);

  ASSERT_EQ(sSent.size(), 3u);
  EXPECT_EQ(sSent[0], (std::vector<unsigned char>{0x90, 60, 100}));
  EXPECT_EQ(sSent[1], (std::vector<unsigned char>{0x92, 60, 100}));
  EXPECT_EQ(sSent[2], (std::vector<unsigned char>{0xC5, 7, 0})) << "always three bytes";
}

TEST(IPlugStandalone, FixedHostAnswersAndChannels)
{
  TestPlug plug;
  EXPECT_EQ(plug.GetHost(), kHostStandalone);
  EXPECT_EQ(plug.GetTempo(), 120.0);
  EXPECT_EQ(plug.GetSamplePos(), 0);
  EXPECT_EQ(plug.NInChannels(), 0);
  EXPECT_EQ(plug.NOutChannels(), 2);
  EXPECT_TRUE(plug.LegalIO(0, 2));
  EXPECT_TRUE(plug.LegalIO(-1, 1));
  EXPECT_FALSE(plug.LegalIO(0, 3));
  EXPECT_FALSE(plug.LegalIO(1, 2));
  EXPECT_STREQ(plug.GetAPIString(), "Standalone");
  char v[32];
  plug.GetEffectVersionStr(v);
  EXPECT_STREQ(v, "v1.1.3D");
  EXPECT_EQ(plug.GetEffectVersion(true), 10103);
  plug.ResizeGraphics(100, 100); // no GUI: nothing

  // The base's pass-through with no inputs zeroes both outputs.
  double l[4] = {1, 1, 1, 1}, r[4] = {1, 1, 1, 1};
  double* outs[2] = {l, r};
  plug.IPlugBase::ProcessDoubleReplacing(nullptr, outs, 4);
  EXPECT_EQ(l[3] + r[0], 0.0);
}

TEST(Hosts, KeywordsInTableOrder)
{
  EXPECT_EQ(LookUpHost("reaper cubase"), kHostCubase);
  EXPECT_EQ(LookUpHost("My CUBASE 12"), kHostCubase);
  EXPECT_EQ(LookUpHost("olive"), kHostAbletonLive) << "a piece of a longer word counts";
  EXPECT_EQ(LookUpHost("nothing known"), kHostUnknown);
  char name[32];
  GetHostNameStr(kHostVegas, name);
  EXPECT_STREQ(name, "Vegas");
  GetHostNameStr(kHostUninit, name);
  EXPECT_STREQ(name, "Unknown");
  GetVersionStr(0x00010103, name);
  EXPECT_STREQ(name, "v1.1.3");
  EXPECT_EQ(GetDecimalVersion(0x00010103), 10103);
}
