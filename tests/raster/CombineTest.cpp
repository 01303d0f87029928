#include "lice_combine.h"

#include <gtest/gtest.h>

namespace
{
// One channel through a functor: every channel of the pixel is d, the
// source channels are all s, with source alpha a.
template<class F>
int One(int d, int s, int ia, int a = -1)
{
  LICE_pixel p = LICE_RGBA(d, d, d, d);
  F::doPix((LICE_pixel_chan*)&p, s, s, s, a < 0 ? s : a, ia);
  return (int)LICE_GETR(p);
}
} // namespace

TEST(Combine, PixelLayoutPutsAlphaInTheLowByte)
{
  const LICE_pixel p = LICE_RGBA(0x11, 0x22, 0x33, 0x44);
  const unsigned char* b = (const unsigned char*)&p;
  EXPECT_EQ(b[0], 0x44);
  EXPECT_EQ(b[1], 0x11);
  EXPECT_EQ(b[2], 0x22);
  EXPECT_EQ(b[3], 0x33);
  EXPECT_EQ(LICE_GETB(p), 0x33u);
}

TEST(Combine, FunctorsFollowTheirIntegerRules)
{
  EXPECT_EQ(One<_LICE_CombinePixelsCopyNoClamp>(255, 0, 128), 127);
  EXPECT_EQ(One<_LICE_CombinePixelsCopyNoClamp>(0, 255, 128), 128) << "-255 * 128 / 256 truncates toward zero";
  EXPECT_EQ(One<_LICE_CombinePixelsCopyNoClamp>(10, 3, 1), 3 + (7 * 255) / 256);
  EXPECT_EQ(One<_LICE_CombinePixelsAdd>(200, 200, 256), 255);
  EXPECT_EQ(One<_LICE_CombinePixelsAdd>(10, 100, 64), 35);
  EXPECT_EQ(One<_LICE_CombinePixelsColorDodge>(1, 255, 256), 255) << "t = 1: d * 256, clamped";
  EXPECT_EQ(One<_LICE_CombinePixelsColorDodge>(100, 128, 256), 100 * 256 / 128);
  EXPECT_EQ(One<_LICE_CombinePixelsMulNoClamp>(200, 100, 256), 200 * 100 * 256 >> 16);
  EXPECT_EQ(One<_LICE_CombinePixelsMulNoClamp>(200, 0, 128), (200 * (128 * 256)) >> 16);
  const int x = 200 * 256; // overlay at full alpha
  EXPECT_EQ(One<_LICE_CombinePixelsOverlay>(100, 200, 256), std::min(255, (100 * (100 * (32768 - x) / 256 + x)) >> 15));
  EXPECT_EQ(One<_LICE_CombinePixelsOverlay>(250, 255, 256), 255) << "clamped above";
  EXPECT_EQ(One<_LICE_CombinePixelsHalfMixNoClamp>(100, 51, 0), 75);
}

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

TEST(Combine, HSVAdjustIsNeutralAt128AndRoundTrips)
{
  for (LICE_pixel c : {LICE_RGBA(200, 40, 40, 255), LICE_RGBA(10, 220, 90, 255), LICE_RGBA(30, 60, 250, 255),
                       LICE_RGBA(128, 128, 128, 255)})
  {
    LICE_pixel p = c;
    _LICE_CombinePixelsHSVAdjust::doPix((LICE_pixel_chan*)&p, 128, 128, 128, 255, 256);
    for (int shift = 8; shift < 32; shift += 8)
      EXPECT_NEAR((int)((p >> shift) & 0xff), (int)((c >> shift) & 0xff), 3) << std::hex << c;
  }
  int h, s, v;
  __LICE_RGB2HSV(255, 0, 0, &h, &s, &v);
  EXPECT_EQ(h, 0);
  EXPECT_EQ(v, 255);
  __LICE_RGB2HSV(0, 255, 0, &h, &s, &v);
  EXPECT_EQ(h, 128);
  __LICE_RGB2HSV(0, 0, 255, &h, &s, &v);
  EXPECT_EQ(h, 256);
}
