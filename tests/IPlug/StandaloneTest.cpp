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
  WDL_SharedWord<uint16_t> outChan = 1;
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
