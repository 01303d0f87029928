// Blits: unscaled, scaled (nearest, bilinear, filtered down), rotated and
// along affine steps. Source positions step in 16.16 fixed point; the mode's
// functor is chosen once per call.

#include "lice_combine.h"
#include "lice_simd.h"

#include <cmath>
#include <cstring>
#include <vector>

namespace
{
// A bitmap's rows as a start pointer and a signed stride in pixels, so that
// flipped bitmaps walk backward.
struct Rows
{
  LICE_pixel* first;
  long stride;
};

// A coordinate in 16.16 fixed point, held to the range of int: a
// destination far off the surface may put the first source sample beyond
// it, where a plain conversion would be undefined.
int Fixed16(double v)
{
  const double f = v * 65536.0;
  if (!(f > -2147483647.0)) return -2147483647; // also NaN
  if (f > 2147483647.0) return 2147483647;
  return (int)f;
}

Rows RowsFrom(LICE_IBitmap* bm, int top)
{
  const long span = bm->getRowSpan();
  LICE_pixel* bits = bm->getBits();
  if (bm->isFlipped()) return {bits + (long)(bm->getHeight() - top - 1) * span, -span};
  return {bits + (long)top * span, span};
}

template<class F>
struct _LICE_Template_Blit2
{
  static void blit(LICE_pixel* dest, const LICE_pixel* src, int w, int h, long src_span, long dest_span, int ia)
  {
    for (int y = 0; y < h; ++y, src += src_span, dest += dest_span)
      for (int x = 0; x < w; ++x)
      {
        const LICE_pixel p = src[x];
        F::doPix((LICE_pixel_chan*)(dest + x), LICE_GETR(p), LICE_GETG(p), LICE_GETB(p), LICE_GETA(p), ia);
      }
  }
};

// The combine modes that have span kernels, row by row: copy through the
// source's alpha, and copy at a weight. False for the others.
bool CombineRow(LICE_pixel* dest, const LICE_pixel* src, int w, int ia, int mode)
{
  const LICE_SpanKernels& k = LICE_Kernels();
  switch (mode & 0x100FF)
  {
  case LICE_BLIT_MODE_COPY | LICE_BLIT_USE_ALPHA:
    if (ia == 256)
      k.sourceAlpha(dest, src, w);
    else
      k.sourceAlphaWeighted(dest, src, w, ia);
    return true;
  case LICE_BLIT_MODE_COPY:
    // At 255 the mix moves d by (d - s) / 256 of a step less than one: it
    // lands on s, as at 256.
    if (ia >= 255)
      memcpy(dest, src, (size_t)w * sizeof(LICE_pixel));
    else
      k.copyWeighted(dest, src, w, ia);
    return true;
  default:
    return false;
  }
}

bool BlitRowsWithKernels(LICE_pixel* dp, const LICE_pixel* sp, int w, int h, long sstride, long dstride, int ia,
                         int mode)
{
  if (!CombineRow(dp, sp, w, ia, mode)) return false;
  for (int y = 1; y < h; ++y) CombineRow(dp + y * dstride, sp + y * sstride, w, ia, mode);
  return true;
}

// A negative destination size mirrors: the area is turned round and the
// source start moves to the other end.
void Mirror(int* dst, int* dstSize, float* src, float* srcSize)
{
  if (*dstSize >= 0) return;
  *dstSize = -*dstSize;
  *dst -= *dstSize;
  *src += *srcSize;
  *srcSize = -*srcSize;
}

// Along one axis of a forward scaled blit: destination pixels whose source
// position lies before the source are skipped in whole steps, and the run is
// cut where it would read beyond the source's last pixel.
void FitToSource(int step, int* icur, int* dst, int* dstSize, int srcSize)
{
  if (step <= 0) return;
  if (*icur < 0)
  {
    const int skip = (step - 1 - *icur) / step;
    *dstSize -= skip;
    *dst += skip;
    *icur += step * skip;
  }
  if ((*icur + (long long)step * (*dstSize - 1)) / 65536 >= srcSize)
  {
    const long long fit = ((((long long)srcSize - 1) << 16) - *icur) / step;
    if (fit < *dstSize) *dstSize = (int)fit;
  }
}

// The filtered pixel at (x, y) with the fractions, never reading outside
// columns and rows below clipright and clipbottom. False: nothing there.
inline bool FilteredPixel(const LICE_pixel* src, long span, int x, int y, unsigned int xfrac, unsigned int yfrac,
                          int clipright, int clipbottom, LICE_pixel* out)
{
  const LICE_pixel* p = src + (long)y * span + x;
  if (y < clipbottom - 1)
  {
    if (x < clipright - 1)
      *out = BilinearFilterI(p, p + span, xfrac, yfrac);
    else if (x == clipright - 1)
      *out = LinearFilterI(p[0], p[span], yfrac);
    else
      return false;
    return true;
  }
  if (y == clipbottom - 1)
  {
    if (x < clipright - 1)
      *out = LinearFilterI(p[0], p[1], xfrac);
    else if (x == clipright - 1)
      *out = p[0];
    else
      return false;
    return true;
  }
  return false;
}

template<class F>
struct _LICE_Template_Scale
{
  static void scaleBlit(LICE_pixel* dest, const LICE_pixel* src, int w, int h, int icurx, int icury, int idx, int idy,
                        int clipright, int clipbottom, long src_span, long dest_span, int ia, int filtermode)
  {
    for (int row = 0; row < h; ++row, icury += idy, dest += dest_span)
    {
      const int y = icury >> 16;
      int cx = icurx;
      for (int i = 0; i < w; ++i, cx += idx)
      {
        const int x = cx >> 16;
        LICE_pixel p;
        if (filtermode == LICE_BLIT_FILTER_BILINEAR)
        {
          if (x < 0 || y < 0 ||
              !FilteredPixel(src, src_span, x, y, (unsigned)cx & 0xffff, (unsigned)icury & 0xffff, clipright,
                             clipbottom, &p))
            continue;
        }
        else
        {
          if (x < 0 || y < 0 || x >= clipright || y >= clipbottom) continue;
          p = src[(long)y * src_span + x];
        }
        F::doPix((LICE_pixel_chan*)(dest + i), LICE_GETR(p), LICE_GETG(p), LICE_GETB(p), LICE_GETA(p), ia);
      }
    }
  }

  static void scaleBlitFilterDown(LICE_pixel* dest, const LICE_pixel* src, int w, int h, int icurx, int icury, int idx,
                                  int idy, int clipright, int clipbottom, long src_span, long dest_span, int ia,
                                  const int* filter, int filtsz)
  {
    const int start = -(filtsz / 2);
    for (int row = 0; row < h; ++row, icury += idy, dest += dest_span)
    {
      const int y0 = (icury >> 16) + start;
      int cx = icurx;
      for (int i = 0; i < w; ++i, cx += idx)
      {
        const int x0 = (cx >> 16) + start;
        unsigned int sum[4] = {0, 0, 0, 0}, wsum = 0;
        for (int fy = 0; fy < filtsz; ++fy)
        {
          const int y = y0 + fy;
          if (y < 0 || y >= clipbottom) continue;
          const LICE_pixel* line = src + (long)y * src_span;
          for (int fx = 0; fx < filtsz; ++fx)
          {
            const int x = x0 + fx;
            if (x < 0 || x >= clipright) continue;
            const unsigned int wgt = (unsigned int)filter[fy * filtsz + fx];
            const LICE_pixel p = line[x];
            sum[0] += LICE_GETR(p) * wgt;
            sum[1] += LICE_GETG(p) * wgt;
            sum[2] += LICE_GETB(p) * wgt;
            sum[3] += LICE_GETA(p) * wgt;
            wsum += wgt;
          }
        }
        if (wsum)
          F::doPix((LICE_pixel_chan*)(dest + i), (int)(sum[0] / wsum), (int)(sum[1] / wsum), (int)(sum[2] / wsum),
                   (int)(sum[3] / wsum), ia);
      }
    }
  }

  // Rows and columns step along affine deltas; positions compare as
  // unsigned so that negatives fall out with the same test.
  static void deltaBlit(LICE_pixel* dest, const LICE_pixel* src, int w, int h, int isrcx, int isrcy, int idsdx,
                        int idtdx, int idsdy, int idtdy, int idsdxdy, int idtdxdy, unsigned int src_right,
                        unsigned int src_bottom, long src_span, long dest_span, int ia, int filtermode)
  {
    for (int row = 0; row < h; ++row, dest += dest_span)
    {
      int s = isrcx, t = isrcy;
      for (int i = 0; i < w; ++i, s += idsdx, t += idtdx)
      {
        const unsigned int x = (unsigned int)(s >> 16), y = (unsigned int)(t >> 16);
        if (x >= src_right || y >= src_bottom) continue;
        LICE_pixel p;
        if (filtermode == LICE_BLIT_FILTER_BILINEAR)
        {
          if (!FilteredPixel(src, src_span, (int)x, (int)y, (unsigned)s & 0xffff, (unsigned)t & 0xffff, (int)src_right,
                             (int)src_bottom, &p))
            continue;
        }
        else
        {
          p = src[(long)y * src_span + x];
        }
        F::doPix((LICE_pixel_chan*)(dest + i), LICE_GETR(p), LICE_GETG(p), LICE_GETB(p), LICE_GETA(p), ia);
      }
      idsdx += idsdxdy;
      isrcx += idsdy;
      idtdx += idtdxdy;
      isrcy += idtdy;
    }
  }
};

// The columns i of a scaled row whose source x = (icurx + i * idx) >> 16
// lies in lo..hi: one run, as x moves one way.
void ColumnRun(int icurx, int idx, int w, int lo, int hi, int* i0, int* i1)
{
  auto inside = [&](int i)
  {
    const int x = (int)(((long long)icurx + (long long)i * idx) >> 16);
    return x >= lo && x <= hi;
  };
  int a = 0;
  while (a < w && !inside(a)) ++a;
  int b = a;
  while (b < w && inside(b)) ++b;
  *i0 = a;
  *i1 = b;
}

template<class FAST>
void scaleBlitFAST(LICE_pixel* dest, const LICE_pixel* src, int w, int h, int icurx, int icury, int idx, int idy,
                   int clipright, int clipbottom, long src_span, long dest_span)
{
  int i0, i1;
  ColumnRun(icurx, idx, w, 0, clipright - 1, &i0, &i1);
  for (int row = 0; row < h; ++row, icury += idy, dest += dest_span)
  {
    const int y = icury >> 16;
    if (y < 0 || y >= clipbottom) continue;
    const LICE_pixel* line = src + (long)y * src_span;
    int cx = icurx + i0 * idx;
    for (int i = i0; i < i1; ++i, cx += idx) FAST::doPixFAST(dest + i, line[cx >> 16]);
  }
}

// Bilinear rows through the span kernels where a mode has them: the columns
// whose four source pixels lie inside go to the kernel, the edge columns and
// the last source row to the scalar filter. False for other modes.
bool ScaleBlitBilinearKernels(LICE_pixel* dest, const LICE_pixel* src, int w, int h, int icurx, int icury, int idx,
                              int idy, int clipright, int clipbottom, long src_span, long dest_span, int ia, int mode)
{
  const int combine = mode & 0x100FF;
  if (combine != LICE_BLIT_MODE_COPY && combine != (LICE_BLIT_MODE_COPY | LICE_BLIT_USE_ALPHA)) return false;
  int i0, i1;
  ColumnRun(icurx, idx, w, 0, clipright - 2, &i0, &i1);
  const LICE_SpanKernels& k = LICE_Kernels();
  constexpr int kChunk = 256;
  LICE_pixel filtered[kChunk];
  LICE_WithFunctor(mode, ia,
                   [&](auto f)
                   {
                     typedef decltype(f) F;
                     auto scalarPixel = [&](LICE_pixel* d, int x, int y, int cx, int cy)
                     {
                       LICE_pixel p;
                       if (x >= 0 && y >= 0 &&
                           FilteredPixel(src, src_span, x, y, (unsigned)cx & 0xffff, (unsigned)cy & 0xffff, clipright,
                                         clipbottom, &p))
                         F::doPix((LICE_pixel_chan*)d, LICE_GETR(p), LICE_GETG(p), LICE_GETB(p), LICE_GETA(p), ia);
                     };
                     for (int row = 0; row < h; ++row, icury += idy, dest += dest_span)
                     {
                       const int y = icury >> 16;
                       const bool interior = y >= 0 && y < clipbottom - 1;
                       int cx = icurx;
                       for (int i = 0; i < w;)
                       {
                         if (!interior || i < i0 || i >= i1)
                         {
                           scalarPixel(dest + i, cx >> 16, y, cx, icury);
                           ++i, cx += idx;
                           continue;
                         }
                         const int n = i1 - i < kChunk ? i1 - i : kChunk;
                         const LICE_pixel* row0 = src + (long)y * src_span;
                         if (combine == LICE_BLIT_MODE_COPY && ia >= 255) // the copy at 255 lands on the source too
                         {
                           k.bilinear(dest + i, row0, row0 + src_span, n, cx, idx, (unsigned)icury & 0xffff);
                         }
                         else
                         {
                           k.bilinear(filtered, row0, row0 + src_span, n, cx, idx, (unsigned)icury & 0xffff);
                           CombineRow(dest + i, filtered, n, ia, mode);
                         }
                         i += n;
                         cx += n * idx;
                       }
                     }
                   });
  return true;
}
} // namespace

void LICE_Blit(LICE_IBitmap* dest, LICE_IBitmap* src, int dstx, int dsty, const RECT* srcrect, float alpha, int mode)
{
  if (!dest || !src || alpha == 0.0f) return;
  RECT sr = {0, 0, src->getWidth(), src->getHeight()};
  if (srcrect)
  {
    sr = *srcrect;
    if (sr.left < 0)
    {
      dstx -= sr.left;
      sr.left = 0;
    }
    if (sr.top < 0)
    {
      dsty -= sr.top;
      sr.top = 0;
    }
    if (sr.right > src->getWidth()) sr.right = src->getWidth();
    if (sr.bottom > src->getHeight()) sr.bottom = src->getHeight();
  }
  if (dstx < 0)
  {
    sr.left -= dstx;
    dstx = 0;
  }
  if (dsty < 0)
  {
    sr.top -= dsty;
    dsty = 0;
  }
  const int destw = dest->getWidth(), desth = dest->getHeight();
  if (sr.right <= sr.left || sr.bottom <= sr.top || dstx >= destw || dsty >= desth) return;
  if (sr.right > sr.left + (destw - dstx)) sr.right = sr.left + (destw - dstx);
  if (sr.bottom > sr.top + (desth - dsty)) sr.bottom = sr.top + (desth - dsty);
  if (sr.right <= sr.left || sr.bottom <= sr.top) return;
  if (!dest->getBits() || !src->getBits()) return;

  const Rows s = RowsFrom(src, sr.top), d = RowsFrom(dest, dsty);
  const LICE_pixel* sp = s.first + sr.left;
  LICE_pixel* dp = d.first + dstx;
  const int w = sr.right - sr.left, h = sr.bottom - sr.top;

  if ((mode & LICE_BLIT_MODE_MASK) >= LICE_BLIT_MODE_CHANCOPY)
  {
    const int from = mode & 3, to = (mode >> 2) & 3;
    for (int y = 0; y < h; ++y, sp += s.stride, dp += d.stride)
      for (int x = 0; x < w; ++x) ((LICE_pixel_chan*)(dp + x))[to] = ((const LICE_pixel_chan*)(sp + x))[from];
    return;
  }
  if ((mode & 0x100FF) == 0 && (alpha == 1.0f || alpha == 0.5f))
  {
    for (int y = 0; y < h; ++y, sp += s.stride, dp += d.stride)
    {
      if (alpha == 1.0f)
        memcpy(dp, sp, (size_t)w * sizeof(LICE_pixel));
      else
        for (int x = 0; x < w; ++x) _LICE_CombinePixelsHalfMixFAST::doPixFAST(dp + x, sp[x]);
    }
    return;
  }
  const int ia = (int)(alpha * 256.0);
  if (!ia) return;
  // A bitmap onto itself keeps the pixel-by-pixel order of the functors.
  if (src != dest && BlitRowsWithKernels(dp, sp, w, h, s.stride, d.stride, ia, mode)) return;
  LICE_WithFunctor(mode, ia,
                   [&](auto f) { _LICE_Template_Blit2<decltype(f)>::blit(dp, sp, w, h, s.stride, d.stride, ia); });
}

void LICE_Blit(LICE_IBitmap* dest, LICE_IBitmap* src, int dstx, int dsty, int srcx, int srcy, int srcw, int srch,
               float alpha, int mode)
{
  const RECT r = {srcx, srcy, srcx + srcw, srcy + srch};
  LICE_Blit(dest, src, dstx, dsty, &r, alpha, mode);
}

namespace
{
// Where a scaled blit reads and writes, in 16.16 source steps, once the
// destination is mirrored, clipped to both bitmaps and fitted to the source.
struct ScaledSpan
{
  int dstx, dsty, dstw, dsth;
  int icurx, icury, idx, idy;
  int clipright, clipbottom; // the source's last column and row, exclusive
  double xadvance, yadvance;
};

bool FitScaledSpan(LICE_IBitmap* dest, LICE_IBitmap* src, int dstx, int dsty, int dstw, int dsth, float srcx,
                   float srcy, float srcw, float srch, ScaledSpan* g)
{
  Mirror(&dstx, &dstw, &srcx, &srcw);
  Mirror(&dsty, &dsth, &srcy, &srch);
  g->xadvance = (double)srcw / dstw;
  g->yadvance = (double)srch / dsth;
  double sx = srcx, sy = srcy;
  if (dstx < 0)
  {
    sx -= dstx * g->xadvance;
    dstw += dstx;
    dstx = 0;
  }
  if (dsty < 0)
  {
    sy -= dsty * g->yadvance;
    dsth += dsty;
    dsty = 0;
  }
  const int destw = dest->getWidth(), desth = dest->getHeight();
  if (dstw < 1 || dsth < 1 || dstx >= destw || dsty >= desth) return false;
  if (dstw > destw - dstx) dstw = destw - dstx;
  if (dsth > desth - dsty) dsth = desth - dsty;

  g->idx = Fixed16(g->xadvance);
  g->idy = Fixed16(g->yadvance);
  g->icurx = Fixed16(sx);
  g->icury = Fixed16(sy);
  const int srcwidth = src->getWidth(), srcheight = src->getHeight();
  FitToSource(g->idx, &g->icurx, &dstx, &dstw, srcwidth);
  FitToSource(g->idy, &g->icury, &dsty, &dsth, srcheight);
  if (dstw < 1 || dsth < 1 || !dest->getBits() || !src->getBits()) return false;
  g->dstx = dstx;
  g->dsty = dsty;
  g->dstw = dstw;
  g->dsth = dsth;

  g->clipright = std::min((int)(srcx + (srcw > 0 ? srcw : 0) + 0.999999), srcwidth);
  g->clipbottom = std::min((int)(srcy + (srch > 0 ? srch : 0) + 0.999999), srcheight);
  return g->clipright >= 1 && g->clipbottom >= 1;
}

// The weights of the down-scaling filter: 3 x 3 up to a scale of 3, else
// 5 x 5; 65536 at the centre, falling with the distance. Returns the size.
int DownFilter(int msc, int* filter)
{
  const int filtsz = msc < 0x30001 ? 3 : 5, start = -(filtsz / 2);
  for (int y = 0; y < filtsz; ++y)
    for (int x = 0; x < filtsz; ++x)
    {
      const int dx = x + start, dy = y + start;
      if (!dx && !dy)
      {
        filter[y * filtsz + x] = 65536;
        continue;
      }
      const double v = (msc - 1.0) / std::sqrt((double)(dx * dx + dy * dy));
      filter[y * filtsz + x] = v < 0.0 ? 0 : v > 1.0 ? 65536 : (int)(v * 65536.0);
    }
  return filtsz;
}

// The rows of a fitted span through the kernel the mode and scale ask for.
void ScaleRows(LICE_IBitmap* dest, LICE_IBitmap* src, const ScaledSpan& g, int ia, int mode)
{
  const Rows s = RowsFrom(src, 0), d = RowsFrom(dest, g.dsty);
  LICE_pixel* dp = d.first + g.dstx;
  if ((mode & 0x1FFFF) == 0 && (ia == 128 || ia == 256))
  {
    if (ia == 256)
      scaleBlitFAST<_LICE_CombinePixelsClobberFAST>(dp, s.first, g.dstw, g.dsth, g.icurx, g.icury, g.idx, g.idy,
                                                    g.clipright, g.clipbottom, s.stride, d.stride);
    else
      scaleBlitFAST<_LICE_CombinePixelsHalfMixFAST>(dp, s.first, g.dstw, g.dsth, g.icurx, g.icury, g.idx, g.idy,
                                                    g.clipright, g.clipbottom, s.stride, d.stride);
    return;
  }
  if (ia <= 0) return;
  const int filtermode = mode & LICE_BLIT_FILTER_MASK;
  if (g.xadvance >= 1.7 && g.yadvance >= 1.7 && filtermode == LICE_BLIT_FILTER_BILINEAR)
  {
    int filter[25];
    const int filtsz = DownFilter(g.idx > g.idy ? g.idx : g.idy, filter);
    LICE_WithFunctor(mode, ia,
                     [&](auto f)
                     {
                       _LICE_Template_Scale<decltype(f)>::scaleBlitFilterDown(
                           dp, s.first, g.dstw, g.dsth, g.icurx, g.icury, g.idx, g.idy, g.clipright, g.clipbottom,
                           s.stride, d.stride, ia, filter, filtsz);
                     });
    return;
  }
  if (filtermode == LICE_BLIT_FILTER_BILINEAR && src != dest &&
      ScaleBlitBilinearKernels(dp, s.first, g.dstw, g.dsth, g.icurx, g.icury, g.idx, g.idy, g.clipright, g.clipbottom,
                               s.stride, d.stride, ia, mode))
    return;
  LICE_WithFunctor(mode, ia,
                   [&](auto f)
                   {
                     _LICE_Template_Scale<decltype(f)>::scaleBlit(dp, s.first, g.dstw, g.dsth, g.icurx, g.icury, g.idx,
                                                                  g.idy, g.clipright, g.clipbottom, s.stride, d.stride,
                                                                  ia, filtermode);
                   });
}
} // namespace

void LICE_ScaledBlit(LICE_IBitmap* dest, LICE_IBitmap* src, int dstx, int dsty, int dstw, int dsth, float srcx,
                     float srcy, float srcw, float srch, float alpha, int mode)
{
  if (!dest || !src || !dstw || !dsth || alpha == 0.0f) return;

  // Unscaled, and on the pixel grid or unfiltered: a plain blit.
  if (std::fabs(srcw - dstw) < 0.001f && std::fabs(srch - dsth) < 0.001f)
  {
    const bool offGrid =
        std::fabs(srcx - std::floor(srcx + 0.5f)) >= 0.03f || std::fabs(srcy - std::floor(srcy + 0.5f)) >= 0.03f;
    if (!((mode & LICE_BLIT_FILTER_MASK) == LICE_BLIT_FILTER_BILINEAR && offGrid))
    {
      const int l = (int)(srcx + 0.5f), t = (int)(srcy + 0.5f);
      const RECT r = {l, t, l + dstw, t + dsth};
      LICE_Blit(dest, src, dstx, dsty, &r, alpha, mode);
      return;
    }
  }
  ScaledSpan g;
  if (FitScaledSpan(dest, src, dstx, dsty, dstw, dsth, srcx, srcy, srcw, srch, &g))
    ScaleRows(dest, src, g, (int)(alpha * 256.0), mode);
}

namespace
{
struct ClipRect
{
  int l, t, r, b;
};

// The source clip: the whole source, or its overlap with the source
// rectangle.
ClipRect SourceClip(LICE_IBitmap* src, float srcx, float srcy, float srcw, float srch, bool cliptosourcerect)
{
  ClipRect c = {0, 0, src->getWidth(), src->getHeight()};
  if (cliptosourcerect)
  {
    if (srcx > c.l) c.l = (int)srcx;
    if (srcy > c.t) c.t = (int)srcy;
    if (srcx + srcw < c.r) c.r = (int)(srcx + srcw);
    if (srcy + srch < c.b) c.b = (int)(srcy + srch);
  }
  return c;
}

// The part the two affine blits share: destination clipping, 16.16 set-up
// and the loop. Mirroring has been done by the caller.
void DeltaCore(LICE_IBitmap* dest, LICE_IBitmap* src, int dstx, int dsty, int dstw, int dsth, double sx, double sy,
               const ClipRect& c, double dsdx, double dtdx, double dsdy, double dtdy, double dsdxdy, double dtdxdy,
               float alpha, int mode)
{
  if (dstx < 0)
  {
    sx -= dstx * dsdx;
    sy -= dstx * dtdx;
    dstw += dstx;
    dstx = 0;
  }
  if (dsty < 0)
  {
    sy -= dsty * dtdy;
    sx -= dsty * dsdy;
    dsth += dsty;
    dsty = 0;
  }
  const int destw = dest->getWidth(), desth = dest->getHeight();
  if (dstw < 1 || dsth < 1 || dstx >= destw || dsty >= desth || c.r <= c.l || c.b <= c.t) return;
  if (dstw > destw - dstx) dstw = destw - dstx;
  if (dsth > desth - dsty) dsth = desth - dsty;
  if (!dest->getBits() || !src->getBits()) return;

  const int ia = (int)(alpha * 256.0);
  if (!ia) return;
  auto fx = Fixed16;
  const Rows s = RowsFrom(src, 0), d = RowsFrom(dest, dsty);
  const LICE_pixel* sp = s.first + (long)c.t * s.stride + c.l;
  LICE_WithFunctor(mode, ia,
                   [&](auto f)
                   {
                     _LICE_Template_Scale<decltype(f)>::deltaBlit(
                         d.first + dstx, sp, dstw, dsth, fx(sx - c.l), fx(sy - c.t), fx(dsdx), fx(dtdx), fx(dsdy),
                         fx(dtdy), fx(dsdxdy), fx(dtdxdy), (unsigned)(c.r - c.l), (unsigned)(c.b - c.t), s.stride,
                         d.stride, ia, mode & LICE_BLIT_FILTER_MASK);
                   });
}
} // namespace

void LICE_DeltaBlit(LICE_IBitmap* dest, LICE_IBitmap* src, int dstx, int dsty, int dstw, int dsth, float srcx,
                    float srcy, float srcw, float srch, double dsdx, double dtdx, double dsdy, double dtdy,
                    double dsdxdy, double dtdxdy, bool cliptosourcerect, float alpha, int mode)
{
  if (!dest || !src || !dstw || !dsth) return;
  const ClipRect c = SourceClip(src, srcx, srcy, srcw, srch, cliptosourcerect);
  // The deltas are not turned round: only the start moves.
  Mirror(&dstx, &dstw, &srcx, &srcw);
  Mirror(&dsty, &dsth, &srcy, &srch);
  const double sx = srcx, sy = srcy;
  DeltaCore(dest, src, dstx, dsty, dstw, dsth, sx, sy, c, dsdx, dtdx, dsdy, dtdy, dsdxdy, dtdxdy, alpha, mode);
}

void LICE_RotatedBlit(LICE_IBitmap* dest, LICE_IBitmap* src, int dstx, int dsty, int dstw, int dsth, float srcx,
                      float srcy, float srcw, float srch, float angle, bool cliptosourcerect, float alpha, int mode,
                      float rotxcent, float rotycent)
{
  if (!dest || !src || !dstw || !dsth) return;
  const ClipRect c = SourceClip(src, srcx, srcy, srcw, srch, cliptosourcerect);
  Mirror(&dstx, &dstw, &srcx, &srcw);
  Mirror(&dsty, &dsth, &srcy, &srch);
  const double cosa = cos((double)angle), sina = sin((double)angle);
  const float xsc = srcw / dstw, ysc = srch / dsth;
  const double dsdx = xsc * cosa, dtdy = ysc * cosa, dsdy = xsc * sina, dtdx = ysc * -sina;
  // Rotation about the middle of the source rectangle, moved by the centres.
  const double sx = srcx - (0.5 * (dstw * dsdx + dsth * dsdy - srcw) - rotxcent);
  const double sy = srcy - (0.5 * (dsth * dtdy + dstw * dtdx - srch) - rotycent);
  DeltaCore(dest, src, dstx, dsty, dstw, dsth, sx, sy, c, dsdx, dtdx, dsdy, dtdy, 0.0, 0.0, alpha, mode);
}
