#include "lice.h"

#include <gtest/gtest.h>
#include <set>
#include <utility>

namespace
{
typedef std::set<std::pair<int, int>> Pixels;

Pixels Lit(LICE_IBitmap& bm)
{
  Pixels p;
  for (int y = 0; y < bm.getHeight(); ++y)
    for (int x = 0; x < bm.getWidth(); ++x)
      if (LICE_GetPixel(&bm, x, y)) p.insert({x, y});
  return p;
}
} // namespace

TEST(Line, SamePixelsEitherWayAndClipped)
{
  LICE_MemBitmap a(20, 20), b(20, 20);
  for (auto ends : {std::make_pair(std::make_pair(0, 0), std::make_pair(10, 2)),
                    std::make_pair(std::make_pair(3, 17), std::make_pair(12, 1)),
                    std::make_pair(std::make_pair(19, 4), std::make_pair(2, 9))})
  {
    LICE_Clear(&a, 0);
    LICE_Clear(&b, 0);
    LICE_Line(&a, ends.first.first, ends.first.second, ends.second.first, ends.second.second, 0xffffffff, 1.0f, 0,
              false);
    LICE_Line(&b, ends.second.first, ends.second.second, ends.first.first, ends.first.second, 0xffffffff, 1.0f, 0,
              false);
    EXPECT_EQ(Lit(a), Lit(b));
    EXPECT_TRUE(Lit(a).count(ends.first) && Lit(a).count(ends.second)) << "both ends drawn";
  }
  LICE_Clear(&a, 0);
  LICE_Line(&a, 3, 3, 3, 3, 0xffffffff, 1.0f, 0, false);
  EXPECT_EQ(Lit(a), Pixels({{3, 3}}));
  LICE_Clear(&a, 0);
  LICE_Line(&a, -9, 1, -2, 7, 0xffffffff, 1.0f, 0, false);
  EXPECT_TRUE(Lit(a).empty());
  LICE_Line(&a, -5, 5, 5, 5, 0xffffffff, 1.0f, 0, false);
  EXPECT_EQ(Lit(a).size(), 6u);
  EXPECT_TRUE(Lit(a).count({0, 5}) && Lit(a).count({5, 5}));

  int x1 = -10, y1 = 5, x2 = 30, y2 = 5;
  EXPECT_TRUE(ClipLine(&x1, &y1, &x2, &y2, 20, 20));
  EXPECT_EQ(x1, 0);
  EXPECT_EQ(x2, 19);
}

TEST(Shapes, CircleHasEightfoldSymmetry)
{
  for (bool aa : {false, true})
  {
    LICE_MemBitmap bm(41, 41);
    LICE_Clear(&bm, 0);
    LICE_Circle(&bm, 20, 20, 13, LICE_RGBA(255, 255, 255, 255), 1.0f, 0, aa);
    int lit = 0;
    for (int y = 0; y < 41; ++y)
      for (int x = 0; x < 41; ++x)
      {
        const LICE_pixel p = LICE_GetPixel(&bm, x, y);
        lit += p != 0;
        const int dx = x - 20, dy = y - 20;
        ASSERT_EQ(p, LICE_GetPixel(&bm, 20 - dx, 20 + dy)) << "mirror in x";
        ASSERT_EQ(p, LICE_GetPixel(&bm, 20 + dx, 20 - dy)) << "mirror in y";
        ASSERT_EQ(p, LICE_GetPixel(&bm, 20 + dy, 20 + dx)) << "mirror in the diagonal";
      }
    EXPECT_GT(lit, 60) << "aa " << aa;
    EXPECT_EQ(LICE_GetPixel(&bm, 20, 20), 0u) << "an outline, not a disc";
  }
  LICE_MemBitmap disc(10, 10);
  LICE_Clear(&disc, 0);
  LICE_FillCircle(&disc, 0, 0, 30, 0xffffffff, 1.0f, 0, false);
  EXPECT_EQ(Lit(disc).size(), 100u) << "a disc larger than the bitmap fills it, clipped";
}

TEST(Shapes, FillsClipAndUseTheirWordRoutes)
{
  LICE_MemBitmap bm(6, 6);
  LICE_Clear(&bm, 0);
  LICE_FillRect(&bm, -2, -2, 4, 4, 0xffffffff, 1.0f, 0);
  EXPECT_EQ(Lit(bm), Pixels({{0, 0}, {1, 0}, {0, 1}, {1, 1}}));
  LICE_FillRect(&bm, 4, 4, 100, 100, 0xffffffff, 1.0f, 0);
  EXPECT_EQ(Lit(bm).size(), 8u);

  LICE_Clear(&bm, 0);
  LICE_FillRect(&bm, 0, 0, 6, 6, 0xffffffff, 0.25f, 0);
  EXPECT_EQ(LICE_GetPixel(&bm, 3, 3), LICE_RGBA(63, 63, 63, 63));
  LICE_Clear(&bm, 0);
  LICE_FillRect(&bm, 0, 0, 6, 6, LICE_RGBA(255, 255, 255, 0), 1.0f, LICE_BLIT_USE_ALPHA);
  EXPECT_TRUE(Lit(bm).empty()) << "the colour's alpha 0 scales the fill away";

  LICE_Clear(&bm, 0xffffffff);
  LICE_ClearRect(&bm, 1, 1, 2, 2, 0, 0);
  EXPECT_EQ(Lit(bm).size(), 32u);
  LICE_PutPixel(&bm, 6, 0, 0, 1.0f, 0);
  LICE_PutPixel(&bm, 0, 0, 0, 1.0f, 0);
  EXPECT_EQ(Lit(bm).size(), 31u);

  LICE_Clear(&bm, 0);
  LICE_FillTriangle(&bm, 0, 0, 5, 0, 0, 5, 0xffffffff, 1.0f, 0);
  EXPECT_TRUE(Lit(bm).count({0, 5}) && Lit(bm).count({5, 0}) && Lit(bm).count({2, 2}));
  EXPECT_FALSE(Lit(bm).count({5, 5}));
  const int xs[4] = {-10, 20, 20, -10}, ys[4] = {-10, -10, 20, 20};
  LICE_FillConvexPolygon(&bm, xs, ys, 4, 0xffffffff, 1.0f, 0);
  EXPECT_EQ(Lit(bm).size(), 36u);
}
