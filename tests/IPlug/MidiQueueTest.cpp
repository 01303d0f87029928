#include "IMidiQueue.h"

#include <gtest/gtest.h>
#include <vector>

namespace
{
std::vector<int> Offsets(IMidiQueue& q)
{
  std::vector<int> v;
  for (int i = 0; i < q.GetSize(); ++i) v.push_back(q.Peek()[i].mOffset);
  return v;
}
void Add(IMidiQueue& q, int offset, uint8_t data1 = 0)
{
  IMidiMsg m(offset, 0x90, data1, 100);
  q.Add(&m);
}
} // namespace

TEST(IMidiMsg, PitchWheelAndControlChangeEncoding)
{
  IMidiMsg m;
  m.MakePitchWheelMsg(1.0, 0);
  EXPECT_EQ(m.mData1, 127);
  EXPECT_EQ(m.mData2, 127);
  m.MakePitchWheelMsg(-1.0, 0);
  EXPECT_EQ(m.mData1, 0);
  EXPECT_EQ(m.mData2, 0);
  m.MakePitchWheelMsg(0.0, 3);
  EXPECT_EQ(m.mStatus, 0xE3);
  EXPECT_EQ(m.mData1, 0);
  EXPECT_EQ(m.mData2, 64);
  EXPECT_EQ(m.PitchWheel(), 0.0);
  m.MakeControlChangeMsg(IMidiMsg::kModWheel, 1.0, 0);
  EXPECT_EQ(m.mData2, 127);
  m.MakeControlChangeMsg(IMidiMsg::kModWheel, 0.999, 0);
  EXPECT_EQ(m.mData2, 126);
  EXPECT_DOUBLE_EQ(m.ControlChange(IMidiMsg::kModWheel), 126 / 127.0);

  char text[9];
  const unsigned char sysex[] = {0xF0, 0x01, 0x02, 0x03, 0xF7};
  EXPECT_STREQ(SysExStr(text, 9, sysex, 5), "F0 01 02");
  EXPECT_STREQ(SysExStr(text, 9, nullptr, 5), "");
}

TEST(IMidiQueue, KeepsOffsetOrderAndInsertionOrderOfEquals)
{
  IMidiQueue q(1024);
  Add(q, 5);
  Add(q, 10, 1);
  Add(q, 7);
  Add(q, 10, 2);
  Add(q, 3);
  EXPECT_EQ(Offsets(q), (std::vector<int>{3, 5, 7, 10, 10}));
  EXPECT_EQ(q.Peek()[3].mData1, 1) << "a later message of equal offset goes behind";
  EXPECT_EQ(q.Peek()[4].mData1, 2);

  q.Remove();
  q.Remove(); // 3 and 5 consumed
  Add(q, 1, 9);
  EXPECT_EQ(Offsets(q), (std::vector<int>{1, 7, 10, 10}));
  EXPECT_EQ(q.Peek()[-1].mOffset, 5) << "the walk stops at the front; removed messages stay put";
}

TEST(IMidiQueue, GrowsOrCompactsWhenFull)
{
  IMidiQueue q(1024);
  ASSERT_EQ(q.GetCapacity(), 1024);
  for (int i = 0; i < 1024; ++i) Add(q, i);
  Add(q, 2000);
  EXPECT_EQ(q.GetCapacity(), 2048) << "full with nothing consumed: grows by one step";

  IMidiQueue r(1024);
  for (int i = 0; i < 1024; ++i) Add(r, i);
  r.Remove();
  Add(r, 5000);
  EXPECT_EQ(r.GetCapacity(), 1024) << "full with consumed space: compacts instead";
  EXPECT_EQ(r.GetSize(), 1024);
  EXPECT_EQ(r.Peek()->mOffset, 1);
}

TEST(IMidiQueue, FlushShiftsAndResizeNeverCutsLiveMessages)
{
  IMidiQueue q(1);
  EXPECT_EQ(q.GetCapacity(), 512);
  Add(q, 600);
  q.Flush(512);
  EXPECT_EQ(q.Peek()->mOffset, 88);
  q.Flush(100);
  EXPECT_EQ(q.Peek()->mOffset, -12) << "offsets may go negative";

  IMidiQueue big(1024);
  for (int i = 0; i < 600; ++i) Add(big, i);
  EXPECT_EQ(big.Resize(1), 1024);
  EXPECT_EQ(big.GetGrow(), 512);
  EXPECT_EQ(big.GetSize(), 600);
  EXPECT_EQ(big.Peek()[599].mOffset, 599);
}
