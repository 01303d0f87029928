// Straight lines: clipped, then the cheapest of four routes (vertical,
// horizontal, diagonal, general). The general route steps in 16.16 and draws
// from both ends toward the middle, so a line is the same either way round.

#include "lice_combine.h"

#include <cstdlib>

namespace
{
template<class F>
inline void Plot(LICE_pixel* p, LICE_pixel color, int ia)
{
  F::doPix((LICE_pixel_chan*)p, LICE_GETR(color), LICE_GETG(color), LICE_GETB(color), LICE_GETA(color), ia);
}

// Vertical and horizontal runs: n pixels from p, step apart.
template<class F>
void Run(LICE_pixel* p, long step, int n, LICE_pixel color, int ia)
{
  for (int i = 0; i < n; ++i, p += step) Plot<F>(p, color, ia);
}
template<class FAST>
void RunFAST(LICE_pixel* p, long step, int n, LICE_pixel color)
{
  for (int i = 0; i < n; ++i, p += step) FAST::doPixFAST(p, color);
}

template<class F>
void Diagonal(LICE_pixel* p, long xstep, long ystep, int n, LICE_pixel color, int ia, bool aa)
{
  if (!aa)
  {
    for (int i = 0; i <= n; ++i, p += xstep + ystep) Plot<F>(p, color, ia);
    return;
  }
  const int main = ia * 3 / 4, side = ia / 4;
  for (int i = 0; i < n; ++i, p += xstep + ystep)
  {
    Plot<F>(p, color, main);
    Plot<F>(p + xstep, color, side);
    Plot<F>(p + ystep, color, side);
  }
  Plot<F>(p, color, main);
}

void DiagLineFAST(LICE_pixel* p, long xstep, long ystep, int n, LICE_pixel color)
{
  const LICE_pixel quarter = (color >> 2) & 0x3F3F3F3F, threeQuarter = ((color >> 1) & 0x7F7F7F7F) + quarter;
  for (int i = 0; i < n; ++i, p += xstep + ystep)
  {
    _LICE_CombinePixelsThreeQuarterMix2FAST::doPixFAST(p, threeQuarter);
    _LICE_CombinePixelsQuarterMix2FAST::doPixFAST(p + xstep, quarter);
    _LICE_CombinePixelsQuarterMix2FAST::doPixFAST(p + ystep, quarter);
  }
  _LICE_CombinePixelsThreeQuarterMix2FAST::doPixFAST(p, threeQuarter);
}

template<class F>
struct __LICE_LineClass
{
  static void LICE_LineImpl(LICE_pixel* px1, LICE_pixel* px2, int slope, long majorstep, int major, long minorstep,
                            LICE_pixel color, int ia, bool aa)
  {
    const int half = (major + 1) / 2;
    if (!aa)
    {
      int e = 0;
      for (int i = 0; i < half; ++i)
      {
        Plot<F>(px1, color, ia);
        Plot<F>(px2, color, ia);
        e += slope;
        if (e >= 0x8000)
        {
          px1 += minorstep;
          px2 -= minorstep;
          e -= 0x10000;
        }
        px1 += majorstep;
        px2 -= majorstep;
      }
      if (!(major & 1)) Plot<F>(px1, color, ia);
      return;
    }
    // The weights of the two pixels across the line: 255 - (e >> 8) and e >> 8,
    // scaled by ia when it is below 256.
    auto weights = [ia](int e, int* w1, int* w2)
    {
      if (ia == 256)
      {
        *w1 = 255 - (e >> 8);
        *w2 = e >> 8;
      }
      else
      {
        *w1 = (ia * (255 - (e >> 8))) >> 8;
        *w2 = (ia * (e >> 8)) >> 8;
      }
    };
    Plot<F>(px1, color, ia);
    Plot<F>(px2, color, ia);
    px1 += majorstep;
    px2 -= majorstep;
    int e = slope, w1, w2;
    for (int i = 1; i < half; ++i)
    {
      weights(e, &w1, &w2);
      Plot<F>(px1, color, w1);
      Plot<F>(px1 + minorstep, color, w2);
      Plot<F>(px2, color, w1);
      Plot<F>(px2 - minorstep, color, w2);
      e += slope;
      if (e >= 0x10000)
      {
        px1 += minorstep;
        px2 -= minorstep;
        e -= 0x10000;
      }
      px1 += majorstep;
      px2 -= majorstep;
    }
    if (!(major & 1))
    {
      weights(e, &w1, &w2);
      Plot<F>(px1, color, w1);
      Plot<F>(px1 + minorstep, color, w2);
    }
  }
};

// Lines pick clobber at ia 256 and the half mix at 128 for copy. An
// anti-aliased line draws with weights below ia, which those two would
// ignore: it always takes the copy functor.
template<class Call>
bool WithLineFunctor(int mode, int ia, Call&& f, bool aa = false)
{
  if ((mode & 0xff) == LICE_BLIT_MODE_COPY && aa)
  {
    f(_LICE_CombinePixelsCopyNoClamp());
    return true;
  }
  if ((mode & 0xff) == LICE_BLIT_MODE_COPY)
  {
    if (ia == 256)
      f(_LICE_CombinePixelsClobberNoClamp());
    else if (ia == 128)
      f(_LICE_CombinePixelsHalfMixNoClamp());
    else
      f(_LICE_CombinePixelsCopyNoClamp());
    return true;
  }
  if ((mode & 0xff) > LICE_BLIT_MODE_HSVADJ) return false;
  return LICE_WithFunctor(mode & 0xff, ia, f);
}
} // namespace

// Outcodes: 8 below, 4 above, 2 right, 1 left.
static int OffscreenTest(int x, int y, int w, int h)
{
  return (y >= h ? 8 : 0) | (y < 0 ? 4 : 0) | (x >= w ? 2 : 0) | (x < 0 ? 1 : 0);
}

bool ClipLine(int* pX1, int* pY1, int* pX2, int* pY2, int w, int h)
{
  int x1 = *pX1, y1 = *pY1, x2 = *pX2, y2 = *pY2;
  int c1 = OffscreenTest(x1, y1, w, h), c2 = OffscreenTest(x2, y2, w, h);
  bool ok = false;
  for (int round = 0; round < 33; ++round)
  {
    if (!(c1 | c2))
    {
      ok = true;
      break;
    }
    if (c1 & c2) break;
    const bool first = c1 != 0;
    const int c = first ? c1 : c2;
    int x, y;
    if (c & 8)
    {
      x = (int)(x1 + (double)(x2 - x1) * (h - y1) / (y2 - y1));
      y = h - 1;
    }
    else if (c & 4)
    {
      x = (int)(x1 + (double)(x2 - x1) * -y1 / (y2 - y1));
      y = 0;
    }
    else if (c & 2)
    {
      y = (int)(y1 + (double)(y2 - y1) * (w - x1) / (x2 - x1));
      x = w - 1;
    }
    else
    {
      y = (int)(y1 + (double)(y2 - y1) * -x1 / (x2 - x1));
      x = 0;
    }
    if (first)
    {
      x1 = x;
      y1 = y;
      c1 = OffscreenTest(x1, y1, w, h);
    }
    else
    {
      x2 = x;
      y2 = y;
      c2 = OffscreenTest(x2, y2, w, h);
    }
  }
  *pX1 = x1;
  *pY1 = y1;
  *pX2 = x2;
  *pY2 = y2;
  return ok;
}

void LICE_Line(LICE_IBitmap* dest, int x1, int y1, int x2, int y2, LICE_pixel color, float alpha, int mode, bool aa)
{
  if (!dest) return;
  const int w = dest->getWidth(), h = dest->getHeight();
  if (dest->isFlipped())
  {
    y1 = h - 1 - y1;
    y2 = h - 1 - y2;
  }
  if (!ClipLine(&x1, &y1, &x2, &y2, w, h)) return;
  LICE_pixel* bits = dest->getBits();
  if (!bits) return;
  const long span = dest->getRowSpan();
  const int ia = (int)(256.0 * alpha);
  auto at = [&](int x, int y) { return bits + (long)y * span + x; };

  if (x1 == x2 || y1 == y2)
  {
    const bool vertical = x1 == x2 && y1 != y2;
    LICE_pixel* p = vertical ? at(x1, y1 < y2 ? y1 : y2) : at(x1 < x2 ? x1 : x2, y1);
    const long step = vertical ? span : 1;
    const int n = (vertical ? abs(y2 - y1) : abs(x2 - x1)) + 1;
    if ((mode & 0xff) == LICE_BLIT_MODE_COPY)
    {
      const LICE_pixel c2 = (color >> 1) & 0x7F7F7F7F, c4 = (color >> 2) & 0x3F3F3F3F;
      if (alpha == 1.0f) return RunFAST<_LICE_CombinePixelsClobberFAST>(p, step, n, color);
      if (alpha == 0.5f) return RunFAST<_LICE_CombinePixelsHalfMix2FAST>(p, step, n, c2);
      if (alpha == 0.25f) return RunFAST<_LICE_CombinePixelsQuarterMix2FAST>(p, step, n, c4);
      if (alpha == 0.75f) return RunFAST<_LICE_CombinePixelsThreeQuarterMix2FAST>(p, step, n, c2 + c4);
    }
    if (ia <= 0) return;
    WithLineFunctor(mode, ia, [&](auto f) { Run<decltype(f)>(p, step, n, color, ia); });
    return;
  }

  int dx = x2 - x1, dy = y2 - y1;
  if (abs(dx) == abs(dy))
  {
    const long xstep = dx > 0 ? 1 : -1, ystep = dy > 0 ? span : -span;
    if (aa && (mode & 0xff) == LICE_BLIT_MODE_COPY && alpha == 1.0f)
      return DiagLineFAST(at(x1, y1), xstep, ystep, abs(dx), color);
    if (ia <= 0) return;
    WithLineFunctor(
        mode, ia, [&](auto f) { Diagonal<decltype(f)>(at(x1, y1), xstep, ystep, abs(dx), color, ia, aa); }, aa);
    return;
  }

  LICE_pixel* px1 = at(x1, y1);
  LICE_pixel* px2 = at(x2, y2);
  int major, minor;
  long majorstep, minorstep;
  if (abs(dx) <= abs(dy))
  {
    major = dy;
    minor = dx;
    majorstep = span;
    minorstep = 1;
  }
  else
  {
    major = dx;
    minor = dy;
    majorstep = 1;
    minorstep = span;
  }
  if (major < 0)
  {
    major = -major;
    minor = -minor;
    LICE_pixel* t = px1;
    px1 = px2;
    px2 = t;
  }
  if (minor < 0)
  {
    minor = -minor;
    minorstep = -minorstep;
  }
  const int slope = (int)((double)minor / major * 65536.0);
  if (ia <= 0) return;
  WithLineFunctor(
      mode, ia,
      [&](auto f)
      { __LICE_LineClass<decltype(f)>::LICE_LineImpl(px1, px2, slope, majorstep, major, minorstep, color, ia, aa); },
      aa);
}
