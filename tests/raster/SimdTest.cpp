// The vector kernels against the scalar functors, on seeded random pixels:
// every table must give the scalar result bit for bit, span by span and in
// whole blits with clipping at every edge.

#include "lice.h"
#include "lice_simd.h"

#include <gtest/gtest.h>
#include <random>
#include <vector>

namespace
{
std::vector<const LICE_SpanKernels*> VectorTables()
{
  std::vector<const LICE_SpanKernels*> t;
  for (const LICE_SpanKernels* k : {LICE_KernelsSSE2(), LICE_KernelsAVX2()})
    if (k) t.push_back(k);
  return t;
}

// Pixels whose alphas are often exactly 0 or 255, the kernels' shortcuts.
LICE_pixel RandomPixel(std::mt19937& rng)
{
  const unsigned int v = rng();
  const int pick = (int)(rng() % 4);
  const unsigned int a = pick == 0 ? 0 : pick == 1 ? 255 : v & 255;
  return (v & 0xFFFFFF00) | a;
}

void Fill(LICE_IBitmap* bm, std::mt19937& rng)
{
  for (int y = 0; y < bm->getHeight(); ++y)
    for (int x = 0; x < bm->getWidth(); ++x) bm->getBits()[y * bm->getRowSpan() + x] = RandomPixel(rng);
}

bool Same(LICE_IBitmap* a, LICE_IBitmap* b)
{
  for (int y = 0; y < a->getHeight(); ++y)
    for (int x = 0; x < a->getWidth(); ++x)
      if (LICE_GetPixel(a, x, y) != LICE_GetPixel(b, x, y)) return false;
  return true;
}
} // namespace

TEST(SimdKernels, EverySpanKernelMatchesTheScalarOne)
{
  const LICE_SpanKernels* scalar = LICE_KernelsScalar();
  std::mt19937 rng(20261123);
  for (const LICE_SpanKernels* k : VectorTables())
    for (int trial = 0; trial < 300; ++trial)
    {
      const int n = trial < 40 ? trial : (int)(rng() % 90), offset = (int)(rng() % 4);
      // Room for three rows of a glyph, stride pixels apart.
      const int stride = n + 8, glyphRows = 1 + trial % 3, flip = (int)(rng() % 2);
      std::vector<LICE_pixel> src(n + 8), want(3 * stride), got;
      std::vector<unsigned char> cov(3 * stride);
      for (auto& p : src) p = RandomPixel(rng);
      for (auto& p : want) p = RandomPixel(rng);
      for (auto& c : cov) c = rng() % 3 ? (unsigned char)rng() : 0;
      const int ia = 1 + (int)(rng() % 255);
      const LICE_pixel colour = RandomPixel(rng);
      const std::vector<LICE_pixel> dest = want;
      auto check = [&](const char* what, auto&& run)
      {
        want = dest;
        got = dest;
        run(scalar, want.data() + offset);
        run(k, got.data() + offset);
        ASSERT_EQ(got, want) << k->name << " " << what << ", " << n << " pixels at offset " << offset << ", ia " << ia;
      };
      check("source alpha", [&](auto t, LICE_pixel* d) { t->sourceAlpha(d, src.data() + offset, n); });
      check("weighted source alpha",
            [&](auto t, LICE_pixel* d) { t->sourceAlphaWeighted(d, src.data() + offset, n, ia); });
      check("weighted copy", [&](auto t, LICE_pixel* d) { t->copyWeighted(d, src.data() + offset, n, ia); });
      auto glyph = [&](int weight)
      {
        return [&, weight](auto t, LICE_pixel* d)
        {
          // Flipped bitmaps walk their rows backward.
          t->coverage(flip ? d + (glyphRows - 1) * stride : d, flip ? -stride : stride, cov.data() + offset, stride, n,
                      glyphRows, colour, weight);
        };
      };
      bool changed[2];
      check("to screen",
            [&](auto t, LICE_pixel* d)
            {
              // Some pixels, or all, already in the screen's form.
              for (int i = 0; i < n; i += trial % 2 ? 1 : 3) d[i] = __builtin_bswap32(src[offset + i]);
              changed[t == scalar] = t->toScreen(d, src.data() + offset, n);
            });
      ASSERT_EQ(changed[0], changed[1]) << k->name << " says what changed, " << n << " pixels";
      check("coverage", glyph(ia));
      check("full coverage", glyph(256));

      // Bilinear samples over two rows, forward and backward, every x and
      // x + 1 inside.
      const int len = 2 + (int)(rng() % 60);
      std::vector<LICE_pixel> rows(2 * len);
      for (auto& p : rows) p = RandomPixel(rng);
      const int dx = (int)(rng() % (3 << 16)) * (rng() % 2 ? 1 : -1);
      const long long span = (long long)dx * (n > 0 ? n - 1 : 0);
      const long long lo = span < 0 ? -span : 0, hi = ((long long)(len - 2) << 16) + 0xffff - (span > 0 ? span : 0);
      if (hi < lo) continue;
      const int cx = (int)(lo + (long long)(rng() % (unsigned)(hi - lo + 1)));
      const unsigned int yfrac = rng() & 0xffff;
      check("bilinear",
            [&](auto t, LICE_pixel* d) { t->bilinear(d, rows.data(), rows.data() + len, n, cx, dx, yfrac); });
    }
}

// Whole operations through each table, placed so that every edge clips.
TEST(SimdKernels, BlitsScaledBlitsAndClippingMatchTheScalarTable)
{
  std::mt19937 rng(7);
  for (const LICE_SpanKernels* k : VectorTables())
    for (int trial = 0; trial < 120; ++trial)
    {
      LICE_MemBitmap src(1 + rng() % 40, 1 + rng() % 40), base(1 + rng() % 50, 1 + rng() % 50);
      Fill(&src, rng);
      Fill(&base, rng);
      LICE_MemBitmap want, got;
      const int dx = (int)(rng() % 70) - 20, dy = (int)(rng() % 70) - 20;
      const int sx = (int)(rng() % 50) - 10, sy = (int)(rng() % 50) - 10;
      const int sw = (int)(rng() % 50), sh = (int)(rng() % 50);
      const float alpha = rng() % 3 ? 1.0f : (float)(rng() % 256) / 256.0f;
      const int modes[] = {LICE_BLIT_USE_ALPHA, LICE_BLIT_MODE_COPY, LICE_BLIT_USE_ALPHA | LICE_BLIT_FILTER_BILINEAR,
                           LICE_BLIT_FILTER_BILINEAR};
      const int mode = modes[rng() % 4];
      const int dw = (int)(rng() % 90) - 10, dh = (int)(rng() % 90) - 10;
      const float fsx = (float)(rng() % 400) / 10.0f - 5.0f, fsy = (float)(rng() % 400) / 10.0f - 5.0f;
      for (LICE_MemBitmap* out : {&want, &got})
      {
        LICE_UseKernels(out == &want ? LICE_KernelsScalar() : k);
        LICE_Copy(out, &base);
        LICE_Blit(out, &src, dx, dy, sx, sy, sw, sh, alpha, mode & ~LICE_BLIT_FILTER_BILINEAR);
        LICE_ScaledBlit(out, &src, dx, dy, dw, dh, fsx, fsy, (float)sw, (float)sh, alpha, mode);
      }
      LICE_UseKernels(nullptr);
      ASSERT_TRUE(Same(&want, &got)) << k->name << " trial " << trial;
    }
}
