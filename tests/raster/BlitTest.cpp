#include "lice.h"

#include <gtest/gtest.h>

namespace
{
// A bitmap whose every pixel names its own position.
void Number(LICE_IBitmap& bm)
{
  for (int y = 0; y < bm.getHeight(); ++y)
    for (int x = 0; x < bm.getWidth(); ++x) bm.getBits()[y * bm.getRowSpan() + x] = LICE_RGBA(x, y, 7, 255);
}

class FlippedBitmap : public LICE_MemBitmap
{
public:
  using LICE_MemBitmap::LICE_MemBitmap;
  bool isFlipped() override { return true; }
};
} // namespace

TEST(Blit, ClipsAtEveryEdge)
{
  LICE_MemBitmap src(10, 4), dest(5, 4);
  Number(src);
  LICE_Clear(&dest, 0);
  LICE_Blit(&dest, &src, -3, 0, nullptr, 1.0f, 0);
  for (int x = 0; x < 5; ++x) EXPECT_EQ(LICE_GETR(LICE_GetPixel(&dest, x, 2)), (unsigned)(x + 3));

  LICE_Clear(&dest, 0);
  LICE_Blit(&dest, &src, 3, 2, nullptr, 1.0f, 0);
  EXPECT_EQ(LICE_GetPixel(&dest, 4, 3), LICE_RGBA(1, 1, 7, 255)) << "cut at the right and bottom";
  EXPECT_EQ(LICE_GetPixel(&dest, 2, 2), 0u);

  LICE_Clear(&dest, 0);
  const RECT r = {-2, -1, 3, 2};
  LICE_Blit(&dest, &src, 0, 0, &r, 1.0f, 0);
  EXPECT_EQ(LICE_GetPixel(&dest, 2, 1), LICE_RGBA(0, 0, 7, 255)) << "a negative source corner moves the target";
  EXPECT_EQ(LICE_GetPixel(&dest, 4, 2), LICE_RGBA(2, 1, 7, 255));
  EXPECT_EQ(LICE_GetPixel(&dest, 0, 0), 0u);

  LICE_Clear(&dest, 0);
  LICE_Blit(&dest, &src, 5, 0, nullptr, 1.0f, 0);
  LICE_Blit(&dest, &src, 0, -4, nullptr, 1.0f, 0);
  LICE_Blit(&dest, &src, 0, 0, nullptr, 1.0f, 6);
  for (int y = 0; y < 4; ++y)
    for (int x = 0; x < 5; ++x) ASSERT_EQ(LICE_GetPixel(&dest, x, y), 0u);
}

TEST(Blit, FlippedChannelCopyAndHalfMix)
{
  LICE_MemBitmap src(4, 4);
  FlippedBitmap flipped(4, 4);
  Number(src);
  LICE_Blit(&flipped, &src, 0, 0, nullptr, 1.0f, 0);
  EXPECT_EQ(LICE_GetPixel(&flipped, 2, 1), LICE_RGBA(2, 1, 7, 255)) << "positions count from the top";
  EXPECT_EQ(flipped.getBits()[2 * flipped.getRowSpan() + 2], LICE_RGBA(2, 1, 7, 255)) << "stored bottom up";

  LICE_MemBitmap dest(4, 4);
  LICE_Clear(&dest, 0);
  LICE_Blit(&dest, &src, 0, 0, nullptr, 1.0f, LICE_BLIT_MODE_CHANCOPY | (1 << 2) | 3); // blue into red
  EXPECT_EQ(LICE_GetPixel(&dest, 1, 1), LICE_RGBA(7, 0, 0, 0));

  LICE_Clear(&dest, LICE_RGBA(100, 100, 100, 100));
  LICE_Blit(&dest, &src, 0, 0, nullptr, 0.5f, 0);
  EXPECT_EQ(LICE_GetPixel(&dest, 3, 2), LICE_RGBA(51, 51, 53, 177));
}

TEST(ScaledBlit, DoublingReproducesPixelsAndMirroring)
{
  LICE_MemBitmap src(4, 4), dest(8, 8);
  Number(src);
  LICE_ScaledBlit(&dest, &src, 0, 0, 8, 8, 0, 0, 4, 4, 1.0f, 0);
  for (int y = 0; y < 8; ++y)
    for (int x = 0; x < 8; ++x) ASSERT_EQ(LICE_GetPixel(&dest, x, y), LICE_GetPixel(&src, x / 2, y / 2));

  // A negative width mirrors into the columns left of dstx; the first sample
  // falls on the source's right edge and is skipped.
  LICE_MemBitmap mirror(4, 4);
  LICE_Clear(&mirror, 0);
  LICE_ScaledBlit(&mirror, &src, 4, 0, -4, 4, 0, 0, 4, 4, 1.0f, 0);
  EXPECT_EQ(LICE_GetPixel(&mirror, 0, 0), 0u);
  for (int x = 1; x < 4; ++x) EXPECT_EQ(LICE_GETR(LICE_GetPixel(&mirror, x, 0)), (unsigned)(4 - x));

  // Bilinear at the last column and row never reads outside: with ASan
  // watching, a scale up of the whole image covers the edge.
  LICE_MemBitmap big(13, 13);
  LICE_Clear(&big, 0);
  LICE_ScaledBlit(&big, &src, 0, 0, 13, 13, 0, 0, 4, 4, 0.7f, LICE_BLIT_FILTER_BILINEAR);
  EXPECT_NE(LICE_GetPixel(&big, 12, 12), 0u);

  LICE_MemBitmap down(50, 50), half(25, 25);
  Number(down);
  LICE_Clear(&half, 0);
  LICE_ScaledBlit(&half, &down, 0, 0, 25, 25, 0, 0, 50, 50, 0.99f, LICE_BLIT_FILTER_BILINEAR);
  const int r = (int)LICE_GETR(LICE_GetPixel(&half, 10, 10));
  EXPECT_NEAR(r, 20, 2) << "the filter-down kernel averages around the sample point";
}

TEST(ScaledBlit, UnscaledShortcutOnlyOnTheGrid)
{
  LICE_MemBitmap src(8, 8), a(4, 4), b(4, 4);
  Number(src);
  for (int y = 0; y < 8; ++y)
    for (int x = 0; x < 8; ++x) src.getBits()[y * src.getRowSpan() + x] = LICE_RGBA(x * 30, y, 7, 255);
  LICE_ScaledBlit(&a, &src, 0, 0, 4, 4, 2.01f, 2.0f, 4, 4, 1.0f, LICE_BLIT_FILTER_BILINEAR);
  EXPECT_EQ(LICE_GetPixel(&a, 0, 0), LICE_GetPixel(&src, 2, 2)) << "on the grid: a plain blit";
  LICE_ScaledBlit(&b, &src, 0, 0, 4, 4, 2.2f, 2.0f, 4, 4, 1.0f, LICE_BLIT_FILTER_BILINEAR);
  EXPECT_NE(LICE_GetPixel(&b, 0, 0), LICE_GetPixel(&src, 2, 2)) << "off the grid: filtered between columns";

  LICE_MemBitmap rot(8, 8);
  LICE_RotatedBlit(&rot, &src, 0, 0, 8, 8, 0, 0, 8, 8, 0.0f, false, 1.0f, 0, 0, 0);
  for (int y = 0; y < 8; ++y)
    for (int x = 0; x < 8; ++x) ASSERT_EQ(LICE_GetPixel(&rot, x, y), LICE_GetPixel(&src, x, y)) << x << "," << y;
  // 0.2 of the way from 60 to 90, in 16-bit weights: (60 * 52429 + 90 * 13107) >> 16.
  EXPECT_EQ(LICE_GETR(LICE_GetPixel(&b, 0, 0)), 65u);
}

// The view sends only what the conversion reports as changed, so a change
// it misses stays stale on the screen.
TEST(ScreenFormat, ConversionReportsExactlyTheColumnsAndRowsThatChanged)
{
  LICE_MemBitmap bm(100, 20);
  LICE_Clear(&bm, LICE_RGBA(10, 20, 30, 255));
  std::vector<uint32_t> screen(100 * 20, 0);
  LICE_ScreenChanges changes;
  LICE_CopyToScreenFormat(screen.data(), 100, &bm, 0, 0, 100, 20, &changes);
  ASSERT_EQ(changes.top.size(), 4u) << "columns of 32 pixels over 100";
  for (size_t c = 0; c < 4; ++c) EXPECT_EQ(changes.bottom[c] - changes.top[c], 20) << "all new at first";
  EXPECT_EQ(screen[5 * 100 + 99], __builtin_bswap32(LICE_RGBA(10, 20, 30, 255)));

  // One pixel in column 1, two rows apart in column 3; a rectangle that
  // reaches column 0 without changing it.
  LICE_PutPixel(&bm, 40, 7, LICE_RGBA(255, 0, 0, 255), 1.0f, LICE_BLIT_MODE_COPY);
  LICE_PutPixel(&bm, 97, 3, LICE_RGBA(0, 255, 0, 255), 1.0f, LICE_BLIT_MODE_COPY);
  LICE_PutPixel(&bm, 99, 9, LICE_RGBA(0, 0, 255, 255), 1.0f, LICE_BLIT_MODE_COPY);
  LICE_CopyToScreenFormat(screen.data(), 100, &bm, 20, 2, 80, 10, &changes);
  EXPECT_GE(changes.top[0], changes.bottom[0]);
  EXPECT_EQ(changes.top[1], 7);
  EXPECT_EQ(changes.bottom[1], 8);
  EXPECT_GE(changes.top[2], changes.bottom[2]);
  EXPECT_EQ(changes.top[3], 3);
  EXPECT_EQ(changes.bottom[3], 10);
  for (int y = 0; y < 20; ++y)
    for (int x = 0; x < 100; ++x)
      ASSERT_EQ(screen[y * 100 + x], __builtin_bswap32(LICE_GetPixel(&bm, x, y))) << x << "," << y;
}
