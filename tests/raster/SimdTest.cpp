// The vector kernels against the scalar table, on seeded random pixels:
// every table must give the scalar result bit for bit, span by span.

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
