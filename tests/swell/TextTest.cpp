#include "lice_text.h"
#include "swell-gdi.h"

#include <gtest/gtest.h>

namespace
{
class Text : public ::testing::Test
{
protected:
  static void SetUpTestSuite() { SWELL_InstallGfxBackend(); }
  // The columns that text touched, in a row band.
  static void Extent(LICE_IBitmap& bm, int* left, int* right)
  {
    *left = bm.getWidth();
    *right = -1;
    for (int y = 0; y < bm.getHeight(); ++y)
      for (int x = 0; x < bm.getWidth(); ++x)
        if (LICE_GETR(LICE_GetPixel(&bm, x, y)) > 100)
        {
          *left = std::min(*left, x);
          *right = std::max(*right, x);
        }
  }
};
} // namespace

TEST_F(Text, GlyphsAreRenderedOnceAndReused)
{
  LICE_CachedFont font;
  font.SetFromHFont(CreateFont(-14, 0, 0, 0, 400, 0, 0, 0, 0, 0, 0, 0, 0, "Monospace"), LICE_FONT_FLAG_OWNS_HFONT);
  EXPECT_GT(font.GetLineHeight(), 10);
  LICE_MemBitmap bm(200, 40);
  LICE_Clear(&bm, 0);
  font.SetTextColor(LICE_RGBA(255, 255, 255, 255));
  RECT r = {0, 0, 200, 40};
  font.DrawText(&bm, "abcabc", -1, &r, 0);
  EXPECT_EQ(font.GetRenderCount(), 3) << "a, b and c once each";
  font.DrawText(&bm, "cab \xC3\xA9", -1, &r, 0);
  EXPECT_EQ(font.GetRenderCount(), 5) << "the blank and the e-acute are new";
  font.DrawText(&bm, "\xC3\xA9", -1, &r, 0);
  EXPECT_EQ(font.GetRenderCount(), 5);
  int left, right;
  Extent(bm, &left, &right);
  EXPECT_GE(left, 0);
  EXPECT_GT(right, 20) << "something was drawn";

  unsigned short c = 0;
  EXPECT_EQ(utf8char("\xC3\xA9", &c), 2);
  EXPECT_EQ(c, 0xE9);
  EXPECT_EQ(utf8char("\xF0\x9F\x8E\xB9", &c), 4);
  EXPECT_EQ(c, 32) << "beyond 16 bits reads as a blank";
  EXPECT_EQ(utf8char("\xC3x", &c), 1) << "a broken sequence is its lead byte";
  char out[4];
  EXPECT_EQ(utf8makechar(out, 0x20AC), 3);
}

TEST_F(Text, AlignmentWithinTheRectangleOnBothRoads)
{
  for (int fontFlags : {0, LICE_FONT_FLAG_FORCE_NATIVE})
  {
    LICE_CachedFont font;
    font.SetFromHFont(CreateFont(-12, 0, 0, 0, 400, 0, 0, 0, 0, 0, 0, 0, 0, "Monospace"),
                      LICE_FONT_FLAG_OWNS_HFONT | fontFlags);
    font.SetTextColor(LICE_RGBA(255, 255, 255, 255));
    RECT calc = {0, 0, 0, 0};
    font.DrawText(nullptr, "Cutoff", -1, &calc, DT_CALCRECT | DT_SINGLELINE);
    const int width = calc.right;
    ASSERT_GT(width, 20);
    int lefts[3];
    const unsigned int aligns[3] = {0, DT_CENTER, DT_RIGHT};
    for (int i = 0; i < 3; ++i)
    {
      LICE_SysBitmap bm(300, 30);
      LICE_Clear(&bm, 0);
      RECT r = {50, 0, 250, 30};
      font.DrawText(&bm, "Cutoff", -1, &r, aligns[i] | DT_SINGLELINE | DT_VCENTER);
      int right;
      Extent(bm, &lefts[i], &right);
      EXPECT_LE(right, 250) << "clipped to the rectangle";
    }
    EXPECT_NEAR(lefts[0], 50, 3) << "left, native " << fontFlags;
    EXPECT_NEAR(lefts[1], 50 + (200 - width) / 2, 3) << "centred, native " << fontFlags;
    EXPECT_NEAR(lefts[2], 250 - width, 3) << "right, native " << fontFlags;
  }
}
