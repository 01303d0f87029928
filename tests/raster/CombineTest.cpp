#include "lice_combine.h"

#include <gtest/gtest.h>

TEST(Combine, SourceAlphaFamily)
{
  // a2 = ia * (a + 1) / 256
  LICE_pixel p = LICE_RGBA(100, 100, 100, 50);
  _LICE_CombinePixelsCopySourceAlphaNoClamp::doPix((LICE_pixel_chan*)&p, 0, 0, 0, 127, 256);
  EXPECT_EQ(LICE_GETR(p), (unsigned)((100 * (256 - 128)) / 256));
  EXPECT_EQ(LICE_GETA(p), 178u) << "min(a2 + d, 255)";

  p = LICE_RGBA(100, 100, 100, 50);
  _LICE_CombinePixelsCopySourceAlphaNoClamp::doPix((LICE_pixel_chan*)&p, 0, 0, 0, 0, 256);
  EXPECT_EQ(p, LICE_RGBA(100, 100, 100, 50)) << "a source alpha of 0 leaves the pixel";

  p = LICE_RGBA(100, 100, 100, 50);
  _LICE_CombinePixelsCopySourceAlphaIgnoreAlphaParmNoClamp::doPix((LICE_pixel_chan*)&p, 7, 8, 9, 255, 256);
  EXPECT_EQ(p, LICE_RGBA(7, 8, 9, 255));
  p = LICE_RGBA(100, 100, 100, 50);
  _LICE_CombinePixelsCopySourceAlphaIgnoreAlphaParmNoClamp::doPix((LICE_pixel_chan*)&p, 0, 0, 0, 100, 256);
  EXPECT_EQ(LICE_GETR(p), (unsigned)(100 * 155 / 256));
  EXPECT_EQ(LICE_GETA(p), 150u);

  EXPECT_EQ(LICE_CombinePixels(LICE_RGBA(1, 2, 3, 4), LICE_RGBA(9, 9, 9, 0), 1.0f, 0), LICE_RGBA(9, 9, 9, 0))
      << "copy at ia 256 without source alpha replaces the pixel, alpha 0 included";
  EXPECT_EQ(LICE_CombinePixels(LICE_RGBA(1, 2, 3, 4), LICE_RGBA(9, 9, 9, 0), 1.0f, LICE_BLIT_USE_ALPHA),
            LICE_RGBA(1, 2, 3, 4));
  // With source alpha 255, a2 equals ia: the same as a plain copy.
  EXPECT_EQ(LICE_CombinePixels(LICE_RGBA(200, 0, 0, 0), LICE_RGBA(0, 0, 0, 255), 0.5f, LICE_BLIT_USE_ALPHA) &
                0xffffff00,
            LICE_CombinePixels(LICE_RGBA(200, 0, 0, 0), LICE_RGBA(0, 0, 0, 255), 0.5f, 0) & 0xffffff00);
}

TEST(Combine, IntegerAlphaAndModesOutsideTheTable)
{
  const LICE_pixel d = LICE_RGBA(10, 20, 30, 40), s = LICE_RGBA(200, 200, 200, 200);
  EXPECT_EQ(LICE_CombinePixels(d, s, 0.5f, LICE_BLIT_MODE_ADD), LICE_RGBA(110, 120, 130, 140)) << "ia 128";
  EXPECT_EQ(LICE_CombinePixels(d, s, 0.003f, 0), d) << "ia 0 draws nothing";
  for (int mode : {6, 0x80, 0xEF, LICE_BLIT_USE_ALPHA | 7})
    EXPECT_EQ(LICE_CombinePixels(d, s, 1.0f, mode), d) << "mode " << mode;
  EXPECT_EQ(LICE_CombinePixels(d, s, 1.0f, LICE_BLIT_MODE_ADD | LICE_BLIT_FILTER_BILINEAR),
            LICE_RGBA(210, 220, 230, 240))
      << "the filter byte takes no part in the choice";
}
