// Area operations: rectangle fills and clears, single pixels, and the round
// and polygonal shapes of the GUI toolkit (scan converted here, clipped to
// the bitmap, anti-aliased by coverage when asked).

#include "lice_combine.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace
{
// Cuts a rectangle to the bitmap; false when nothing is left to draw on.
bool ClipToBitmap(LICE_IBitmap* dest, int* x, int* y, int* w, int* h)
{
  if (!dest || !dest->getBits() || !dest->getRowSpan()) return false;
  if (*x < 0)
  {
    *w += *x;
    *x = 0;
  }
  if (*y < 0)
  {
    *h += *y;
    *y = 0;
  }
  const int bw = dest->getWidth(), bh = dest->getHeight();
  if (*w < 1 || *h < 1 || *x >= bw || *y >= bh) return false;
  if (*w > bw - *x) *w = bw - *x;
  if (*h > bh - *y) *h = bh - *y;
  return true;
}

template<class FAST>
void SolidFAST(LICE_pixel* p, long span, int w, int h, LICE_pixel color)
{
  for (int y = 0; y < h; ++y, p += span)
    for (int x = 0; x < w; ++x) FAST::doPixFAST(p + x, color);
}

template<class F>
void Solid(LICE_pixel* p, long span, int w, int h, int r, int g, int b, int ia)
{
  for (int y = 0; y < h; ++y, p += span)
    for (int x = 0; x < w; ++x) F::doPix((LICE_pixel_chan*)(p + x), r, g, b, ia, ia);
}

// A painter of single pixels for the shapes: the mode's functor at a weight
// of ia * coverage, outside pixels ignored. The colour's own alpha scales the
// weight when the mode asks for source alpha.
class ShapePainter
{
public:
  ShapePainter(LICE_IBitmap* dest, LICE_pixel color, float alpha, int mode) : mColor(color), mMode(mode & 0xff)
  {
    if (mode & LICE_BLIT_USE_ALPHA) alpha *= LICE_GETA(color) / 255.0f;
    mIa = (int)(alpha * 256.0);
    mBits = dest ? dest->getBits() : nullptr;
    if (mBits)
    {
      mW = dest->getWidth();
      mH = dest->getHeight();
      mSpan = dest->getRowSpan();
      mFlipped = dest->isFlipped();
    }
  }
  bool Usable() const { return mBits && mIa > 0 && mMode <= LICE_BLIT_MODE_HSVADJ && mW > 0 && mH > 0; }
  int Width() const { return mW; }
  int Height() const { return mH; }

  void Put(int x, int y, float coverage = 1.0f)
  {
    if (x < 0 || y < 0 || x >= mW || y >= mH || coverage <= 0.0f) return;
    const int ia = coverage >= 1.0f ? mIa : (int)(mIa * coverage);
    if (ia <= 0) return;
    LICE_pixel* p = mBits + (long)(mFlipped ? mH - 1 - y : y) * mSpan + x;
    LICE_CombinePixels2(p, LICE_GETR(mColor), LICE_GETG(mColor), LICE_GETB(mColor), LICE_GETA(mColor), ia, mMode);
  }

  void Span(int y, int x0, int x1)
  {
    if (y < 0 || y >= mH) return;
    x0 = std::max(x0, 0);
    x1 = std::min(x1, mW - 1);
    for (int x = x0; x <= x1; ++x) Put(x, y);
  }

private:
  LICE_pixel mColor;
  int mMode;
  int mIa = 0;
  LICE_pixel* mBits = nullptr;
  int mW = 0, mH = 0;
  long mSpan = 0;
  bool mFlipped = false;
};

// Angles in radians, 0 pointing up and growing clockwise.
bool WithinArc(float dx, float dy, float minAngle, float maxAngle)
{
  const double twoPi = 2.0 * M_PI;
  double a = atan2(dx, -dy);
  double lo = fmod(minAngle, twoPi);
  if (lo < 0) lo += twoPi;
  if (maxAngle - minAngle >= twoPi) return true;
  if (a < 0) a += twoPi;
  double rel = a - lo;
  if (rel < 0) rel += twoPi;
  return rel <= maxAngle - minAngle;
}

// Outline pixels of a circle or arc. Without anti-aliasing: the midpoint
// circle, the same in all eight octants. With it: each pixel of the ring by
// its distance from the radius.
void RingShape(LICE_IBitmap* dest, float cx, float cy, float r, float minAngle, float maxAngle, bool wholeCircle,
               LICE_pixel color, float alpha, int mode, bool aa)
{
  ShapePainter paint(dest, color, alpha, mode);
  // A radius far beyond any bitmap would only spin through empty offsets.
  if (!paint.Usable() || !(r >= 0.0f) || r > 65536.0f) return;
  if (!aa)
  {
    const int icx = (int)floorf(cx + 0.5f), icy = (int)floorf(cy + 0.5f), ir = (int)floorf(r + 0.5f);
    auto put = [&](int dx, int dy)
    {
      if (wholeCircle || WithinArc((float)dx, (float)dy, minAngle, maxAngle)) paint.Put(icx + dx, icy + dy);
    };
    int x = 0, y = ir, d = 1 - ir;
    while (x <= y)
    {
      // Each offset once, even where octants meet.
      const int pts[8][2] = {{x, y}, {y, x}, {-x, y}, {-y, x}, {x, -y}, {y, -x}, {-x, -y}, {-y, -x}};
      for (int i = 0; i < 8; ++i)
      {
        bool seen = false;
        for (int j = 0; j < i; ++j) seen = seen || (pts[j][0] == pts[i][0] && pts[j][1] == pts[i][1]);
        if (!seen) put(pts[i][0], pts[i][1]);
      }
      if (d < 0)
        d += 2 * x + 3;
      else
      {
        d += 2 * (x - y) + 5;
        --y;
      }
      ++x;
    }
    return;
  }
  const int x0 = (int)floorf(cx - r - 1), x1 = (int)ceilf(cx + r + 1);
  const int y0 = (int)floorf(cy - r - 1), y1 = (int)ceilf(cy + r + 1);
  for (int y = std::max(y0, 0); y <= std::min(y1, paint.Height() - 1); ++y)
    for (int x = std::max(x0, 0); x <= std::min(x1, paint.Width() - 1); ++x)
    {
      const float dx = x - cx, dy = y - cy;
      const float cover = 1.0f - fabsf(sqrtf(dx * dx + dy * dy) - r);
      if (cover > 0.0f && (wholeCircle || WithinArc(dx, dy, minAngle, maxAngle))) paint.Put(x, y, cover);
    }
}
} // namespace

void LICE_FillRect(LICE_IBitmap* dest, int x, int y, int w, int h, LICE_pixel color, float alpha, int mode)
{
  if (mode & LICE_BLIT_USE_ALPHA) alpha *= LICE_GETA(color) / 255.0f;
  if (alpha == 0.0f || !ClipToBitmap(dest, &x, &y, &w, &h)) return;
  LICE_pixel* bits = dest->getBits();
  const long span = dest->getRowSpan();
  const int bh = dest->getHeight();
  LICE_pixel* p;
  long stride = span;
  if (dest->isFlipped())
  {
    p = bits + (long)(bh - y - 1) * span + x;
    stride = -span;
  }
  else
  {
    p = bits + (long)y * span + x;
  }
  const int ia = (int)(alpha * 256.0);
  if ((mode & 0xff) == LICE_BLIT_MODE_COPY)
  {
    const LICE_pixel c2 = (color >> 1) & 0x7F7F7F7F, c4 = (color >> 2) & 0x3F3F3F3F;
    switch (ia)
    {
    case 256:
      return SolidFAST<_LICE_CombinePixelsClobberFAST>(p, stride, w, h, color);
    case 128:
      return SolidFAST<_LICE_CombinePixelsHalfMix2FAST>(p, stride, w, h, c2);
    case 64:
      return SolidFAST<_LICE_CombinePixelsQuarterMix2FAST>(p, stride, w, h, c4);
    case 192:
      return SolidFAST<_LICE_CombinePixelsThreeQuarterMix2FAST>(p, stride, w, h, c2 + c4);
    default:
      break;
    }
  }
  if (ia <= 0 || (mode & 0xff) > LICE_BLIT_MODE_HSVADJ) return;
  const int r = LICE_GETR(color), g = LICE_GETG(color), b = LICE_GETB(color);
  if ((mode & 0xff) == LICE_BLIT_MODE_COPY)
  {
    Solid<_LICE_CombinePixelsCopyNoClamp>(p, stride, w, h, r, g, b, ia);
    return;
  }
  LICE_WithFunctor(mode & 0xff, ia, [&](auto f) { Solid<decltype(f)>(p, stride, w, h, r, g, b, ia); });
}

void LICE_ClearRect(LICE_IBitmap* dest, int x, int y, int w, int h, LICE_pixel mask, LICE_pixel orbits)
{
  if (!ClipToBitmap(dest, &x, &y, &w, &h)) return;
  LICE_pixel* bits = dest->getBits();
  const long span = dest->getRowSpan();
  const int bh = dest->getHeight();
  for (int row = 0; row < h; ++row)
  {
    const int my = dest->isFlipped() ? bh - 1 - (y + row) : y + row;
    LICE_pixel* p = bits + (long)my * span + x;
    for (int i = 0; i < w; ++i) p[i] = (p[i] & mask) | orbits;
  }
}

void LICE_PutPixel(LICE_IBitmap* dest, int x, int y, LICE_pixel color, float alpha, int mode)
{
  if (!dest) return;
  LICE_pixel* bits = dest->getBits();
  const int w = dest->getWidth(), h = dest->getHeight();
  if (!bits || x < 0 || y < 0 || x >= w || y >= h) return;
  if (dest->isFlipped()) y = h - 1 - y;
  LICE_pixel* p = bits + (long)y * dest->getRowSpan() + x;
  const int ia = (int)(alpha * 256.0);
  if (mode == 0)
  {
    const LICE_pixel c = color;
    switch (ia)
    {
    case 256:
      *p = c;
      return;
    case 128:
      *p = ((*p >> 1) & 0x7F7F7F7F) + ((c >> 1) & 0x7F7F7F7F);
      return;
    case 64:
      *p = ((*p >> 1) & 0x7F7F7F7F) + ((*p >> 2) & 0x3F3F3F3F) + ((c >> 2) & 0x3F3F3F3F);
      return;
    case 192:
      *p = ((*p >> 2) & 0x3F3F3F3F) + ((c >> 1) & 0x7F7F7F7F) + ((c >> 2) & 0x3F3F3F3F);
      return;
    default:
      break;
    }
  }
  if (ia <= 0 || mode >= 6 || mode < 0) return;
  if (mode == 0)
    _LICE_CombinePixelsCopyNoClamp::doPix((LICE_pixel_chan*)p, LICE_GETR(color), LICE_GETG(color), LICE_GETB(color),
                                          LICE_GETA(color), ia);
  else
    LICE_CombinePixels2(p, LICE_GETR(color), LICE_GETG(color), LICE_GETB(color), LICE_GETA(color), ia, mode);
}

void LICE_Circle(LICE_IBitmap* dest, float cx, float cy, float r, LICE_pixel color, float alpha, int mode, bool aa)
{
  RingShape(dest, cx, cy, r, 0.0f, 0.0f, true, color, alpha, mode, aa);
}

void LICE_Arc(LICE_IBitmap* dest, float cx, float cy, float r, float minAngle, float maxAngle, LICE_pixel color,
              float alpha, int mode, bool aa)
{
  if (maxAngle < minAngle) std::swap(minAngle, maxAngle);
  RingShape(dest, cx, cy, r, minAngle, maxAngle, false, color, alpha, mode, aa);
}

void LICE_FillCircle(LICE_IBitmap* dest, float cx, float cy, float r, LICE_pixel color, float alpha, int mode, bool aa)
{
  ShapePainter paint(dest, color, alpha, mode);
  if (!paint.Usable() || !(r >= 0.0f) || r > 65536.0f) return;
  const int x0 = (int)floorf(cx - r - 1), x1 = (int)ceilf(cx + r + 1);
  const int y0 = (int)floorf(cy - r - 1), y1 = (int)ceilf(cy + r + 1);
  for (int y = std::max(y0, 0); y <= std::min(y1, paint.Height() - 1); ++y)
    for (int x = std::max(x0, 0); x <= std::min(x1, paint.Width() - 1); ++x)
    {
      const float dx = x - cx, dy = y - cy, d = sqrtf(dx * dx + dy * dy);
      if (aa)
        paint.Put(x, y, std::min(1.0f, r + 0.5f - d));
      else if (d <= r)
        paint.Put(x, y);
    }
}

void LICE_RoundRect(LICE_IBitmap* dest, float x, float y, float w, float h, int cornerRadius, LICE_pixel color,
                    float alpha, int mode, bool aa)
{
  const int x0 = (int)floorf(x), y0 = (int)floorf(y), x1 = (int)floorf(x + w), y1 = (int)floorf(y + h);
  int cr = cornerRadius;
  cr = std::max(0, std::min(cr, std::min((x1 - x0) / 2, (y1 - y0) / 2)));
  if (x1 < x0 || y1 < y0) return;
  LICE_Line(dest, x0 + cr, y0, x1 - cr, y0, color, alpha, mode & 0xff, false);
  LICE_Line(dest, x0 + cr, y1, x1 - cr, y1, color, alpha, mode & 0xff, false);
  LICE_Line(dest, x0, y0 + cr, x0, y1 - cr, color, alpha, mode & 0xff, false);
  LICE_Line(dest, x1, y0 + cr, x1, y1 - cr, color, alpha, mode & 0xff, false);
  if (!cr) return;
  const float q = (float)M_PI / 2;
  // The corner arcs, each a quarter turn; their end points are the lines'.
  LICE_Arc(dest, (float)(x0 + cr), (float)(y0 + cr), (float)cr, 3 * q + 0.01f, 4 * q - 0.01f, color, alpha, mode, aa);
  LICE_Arc(dest, (float)(x1 - cr), (float)(y0 + cr), (float)cr, 0.01f, q - 0.01f, color, alpha, mode, aa);
  LICE_Arc(dest, (float)(x1 - cr), (float)(y1 - cr), (float)cr, q + 0.01f, 2 * q - 0.01f, color, alpha, mode, aa);
  LICE_Arc(dest, (float)(x0 + cr), (float)(y1 - cr), (float)cr, 2 * q + 0.01f, 3 * q - 0.01f, color, alpha, mode, aa);
}

void LICE_FillConvexPolygon(LICE_IBitmap* dest, const int* x, const int* y, int npoints, LICE_pixel color, float alpha,
                            int mode)
{
  ShapePainter paint(dest, color, alpha, mode);
  if (!paint.Usable() || npoints < 1 || !x || !y) return;
  int top = y[0], bottom = y[0];
  for (int i = 1; i < npoints; ++i)
  {
    top = std::min(top, y[i]);
    bottom = std::max(bottom, y[i]);
  }
  top = std::max(top, 0);
  bottom = std::min(bottom, paint.Height() - 1);
  // Each row: the span between the leftmost and rightmost edge crossings,
  // end points included, so that a polygon covers its vertices.
  for (int row = top; row <= bottom; ++row)
  {
    double lo = 1e30, hi = -1e30;
    for (int i = 0; i < npoints; ++i)
    {
      const int j = (i + 1) % npoints;
      const int ya = y[i], yb = y[j];
      if ((row < ya && row < yb) || (row > ya && row > yb)) continue;
      double cx;
      if (ya == yb)
      {
        lo = std::min(lo, (double)std::min(x[i], x[j]));
        hi = std::max(hi, (double)std::max(x[i], x[j]));
        continue;
      }
      cx = x[i] + (double)(x[j] - x[i]) * (row - ya) / (yb - ya);
      lo = std::min(lo, cx);
      hi = std::max(hi, cx);
    }
    if (lo > hi) continue;
    paint.Span(row, (int)floor(lo + 0.5), (int)floor(hi + 0.5));
  }
}

void LICE_FillTriangle(LICE_IBitmap* dest, int x1, int y1, int x2, int y2, int x3, int y3, LICE_pixel color,
                       float alpha, int mode)
{
  const int xs[3] = {x1, x2, x3}, ys[3] = {y1, y2, y3};
  LICE_FillConvexPolygon(dest, xs, ys, 3, color, alpha, mode);
}
