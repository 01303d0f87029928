#include "TestPlug.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace
{
std::vector<unsigned char> Bytes(const ByteChunk& c)
{
  return std::vector<unsigned char>(c.GetBytes(), c.GetBytes() + c.Size());
}
} // namespace

TEST(ByteChunk, LayoutAndBoundedReads)
{
  ByteChunk c;
  c.PutStr("ab");
  c.PutBool(true);
  EXPECT_EQ(Bytes(c), (std::vector<unsigned char>{2, 0, 0, 0, 'a', 'b', 1}));

  int v = 77;
  EXPECT_EQ(c.Get(&v, c.Size() - 3), -1);
  EXPECT_EQ(c.Get(&v, -1), -1);
  EXPECT_EQ(v, 77) << "a failed read leaves its target alone";

  ByteChunk s;
  s.PutStr("");
  WDL_String str("kept");
  EXPECT_EQ(s.GetStr(&str, 0), 4);
  EXPECT_STREQ(str.Get(), "kept");
  const int tooLong = 100;
  ByteChunk t;
  t.Put(&tooLong);
  t.PutBytes("xy", 2);
  EXPECT_EQ(t.GetStr(&str, 0), 104) << "a position beyond the end";
  EXPECT_STREQ(str.Get(), "kept");
  EXPECT_EQ(t.Get(&v, 104), -1);

  ByteChunk z;
  z.PutBytes("abcdefgh", 8);
  z.Resize(0);
  z.Resize(8);
  EXPECT_EQ(Bytes(z), std::vector<unsigned char>(8, 0));
}

TEST(ParamSerialisation, ShortChunkSetsWhatItHoldsAndReportsFailure)
{
  TestPlug plug;
  ByteChunk c;
  const double a = 0.25, b = 1.0;
  c.Put(&a);
  c.Put(&b);
  EXPECT_EQ(plug.UnserializeParams(&c, 0), -1);
  EXPECT_EQ(plug.GetParam(0)->Value(), 0.25);
  EXPECT_EQ(plug.GetParam(1)->Value(), 1.0);
  EXPECT_EQ(plug.GetParam(2)->Value(), 5.0) << "the failed read's 0.0, limited to the bounds";
  EXPECT_EQ(plug.mChanged, (std::vector<int>{0, 1, 2}));

  ByteChunk out;
  ASSERT_TRUE(plug.SerializeParams(&out));
  EXPECT_EQ(out.Size(), 24);
  std::vector<double> state = {0.25, 1.0, 5.000001};
  EXPECT_TRUE(plug.CompareState((const unsigned char*)state.data(), 0)) << "single precision comparison";
  state[0] = 0.3;
  EXPECT_FALSE(plug.CompareState((const unsigned char*)state.data(), 0));
}

TEST(PresetBank, BankRoundTripAndPruning)
{
  TestPlug a(4);
  a.MakePreset("one", 0.1, 1, 6.0);
  a.MakePreset("two", 0.2, 0, 7.0);
  a.MakePreset("three", 0.3, 1, 8.0);
  ByteChunk bank;
  ASSERT_TRUE(a.SerializePresets(&bank));

  TestPlug b(4);
  EXPECT_GT(b.UnserializePresets(&bank, 0), 0);
  EXPECT_STREQ(b.GetPresetName(2), "three");
  ASSERT_TRUE(b.RestorePreset(1));
  EXPECT_EQ(b.GetParam(0)->Value(), 0.2);
  EXPECT_EQ(b.GetParam(2)->Value(), 7.0);

  a.PruneUninitializedPresets();
  EXPECT_EQ(a.NPresets(), 3);
  a.EnsureDefaultPreset(); // no free slot: nothing
  EXPECT_EQ(a.NPresets(), 3);
}
