#include "IParam.h"

#include <cmath>
#include <gtest/gtest.h>

TEST(IParam, TheOutermostInitDecidesTheKind)
{
  IParam b;
  b.InitBool("x", true, "", "");
  EXPECT_EQ(b.Type(), IParam::kTypeBool);
  EXPECT_EQ(b.Value(), 1.0);
  double lo, hi;
  b.GetBounds(&lo, &hi);
  EXPECT_EQ(lo, 0.0);
  EXPECT_EQ(hi, 1.0);
  EXPECT_EQ(b.GetNDisplayTexts(), 2);
  char text[64];
  b.GetDisplayForHost(text);
  EXPECT_STREQ(text, "on");
  EXPECT_STREQ(b.GetLabelForHost(), "") << "a value shown as a word has no unit";

  IParam e, i, d;
  e.InitEnum("e", 0, 3);
  i.InitInt("i", 5, 7, 7);
  d.InitDouble("d", 0.5, 0.0, 1.0, 0.001, "Hz");
  EXPECT_EQ(e.Type(), IParam::kTypeEnum);
  EXPECT_EQ(i.Type(), IParam::kTypeInt);
  EXPECT_EQ(d.Type(), IParam::kTypeDouble);
  i.GetBounds(&lo, &hi);
  EXPECT_EQ(hi, 8.0) << "the range holds at least one step";
  EXPECT_EQ(i.Value(), 5.0) << "the default is stored unlimited";
  d.GetDisplayForHost(text);
  EXPECT_STREQ(text, "0.500");
  EXPECT_STREQ(d.GetLabelForHost(), "Hz");
}

TEST(IParam, StepRoundingOnlyForNonDoubleKinds)
{
  IParam e;
  e.InitEnum("e", 0, 3);
  e.SetNormalized(0.5);
  EXPECT_EQ(e.Value(), 1.0);
  e.SetNormalized(0.24);
  EXPECT_EQ(e.Value(), 0.0) << "0.48 rounds down";
  e.SetNormalized(0.25);
  EXPECT_EQ(e.Value(), 1.0) << "0.5 rounds up";

  IParam b;
  b.InitBool("b", false);
  b.SetNormalized(0.5);
  EXPECT_TRUE(b.Bool());
  b.SetNormalized(0.49);
  EXPECT_FALSE(b.Bool());

  IParam d;
  d.InitDouble("d", 0.0, 0.0, 10.0, 1.0);
  d.SetNormalized(0.123);
  EXPECT_DOUBLE_EQ(d.Value(), 1.23) << "doubles keep full resolution";
  d.SetNormalized(1.5);
  EXPECT_EQ(d.Value(), 10.0);
  d.SetNormalized(-0.5);
  EXPECT_EQ(d.Value(), -5.0) << "no lower limit on the normalised road";
  d.Set(-3.0);
  EXPECT_EQ(d.Value(), 0.0);
  d.Set(NAN);
  EXPECT_EQ(d.Value(), 0.0) << "a NaN from a damaged state becomes the lower bound";
  EXPECT_EQ(d.GetNormalized(20.0), 1.0);
}

TEST(IParam, DisplayTextsKeepTheFirstOfEqualValues)
{
  IParam p;
  p.InitInt("w", 1, 0, 8);
  p.SetDisplayText(1, "a");
  p.SetDisplayText(1, "b");
  p.SetDisplayText(2, "");
  EXPECT_EQ(p.GetNDisplayTexts(), 3);
  EXPECT_STREQ(p.GetDisplayText(1), "a");
  int v = -1;
  EXPECT_TRUE(p.MapDisplayText("b", &v));
  EXPECT_EQ(v, 1);
  EXPECT_FALSE(p.MapDisplayText("B", &v));
  char text[64];
  p.Set(2.0);
  p.GetDisplayForHost(text);
  EXPECT_STREQ(text, "2") << "an empty display text falls through to the number";
  p.Set(3.0);
  p.GetDisplayForHost(text);
  EXPECT_STREQ(text, "3");
}
