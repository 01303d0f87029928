#pragma once
// The combine functors: one per blend mode, chosen once per drawing call,
// with the loops templated over them so that no inner loop tests the mode.
// d is a destination channel, s a source channel, ia the alpha 0..256; "/"
// truncates toward zero (differences may be negative, so it is no shift).

#include "lice.h"

static inline void _LICE_MakePixelNoClamp(LICE_pixel_chan* out, int r, int g, int b, int a)
{
  out[LICE_PIXEL_R] = (LICE_pixel_chan)r;
  out[LICE_PIXEL_G] = (LICE_pixel_chan)g;
  out[LICE_PIXEL_B] = (LICE_pixel_chan)b;
  out[LICE_PIXEL_A] = (LICE_pixel_chan)a;
}

static inline int _LICE_Clamp255(int v) { return v < 0 ? 0 : v > 255 ? 255 : v; }

static inline void _LICE_MakePixelClamp(LICE_pixel_chan* out, int r, int g, int b, int a)
{
  _LICE_MakePixelNoClamp(out, _LICE_Clamp255(r), _LICE_Clamp255(g), _LICE_Clamp255(b), _LICE_Clamp255(a));
}

// Stores through the clamped or the unclamped road.
template<bool clamp>
static inline void _LICE_Store(LICE_pixel_chan* out, int r, int g, int b, int a)
{
  if (clamp)
    _LICE_MakePixelClamp(out, r, g, b, a);
  else
    _LICE_MakePixelNoClamp(out, r, g, b, a);
}

// The filters of scaled blits, in 16.16 fixed point: between two pixels,
// and among four with weights f1..f4 that sum to 65536.
static inline LICE_pixel LinearFilterI(LICE_pixel p0, LICE_pixel p1, unsigned int frac)
{
  const unsigned int f0 = 0x10000 - frac;
  auto ch = [&](int shift) { return (((p0 >> shift) & 0xff) * f0 + ((p1 >> shift) & 0xff) * frac) >> 16; };
  return ch(0) | (ch(8) << 8) | (ch(16) << 16) | (ch(24) << 24);
}

static inline LICE_pixel BilinearFilterI(const LICE_pixel* row0, const LICE_pixel* row1, unsigned int xfrac,
                                         unsigned int yfrac)
{
  const unsigned int f4 = ((xfrac * yfrac) >> 16) & 0xffff;
  const unsigned int f3 = yfrac - f4, f2 = xfrac - f4, f1 = 0x10000 - xfrac - yfrac + f4;
  auto ch = [&](int shift)
  {
    return (((row0[0] >> shift) & 0xff) * f1 + ((row0[1] >> shift) & 0xff) * f2 + ((row1[0] >> shift) & 0xff) * f3 +
            ((row1[1] >> shift) & 0xff) * f4) >>
           16;
  };
  return ch(0) | (ch(8) << 8) | (ch(16) << 16) | (ch(24) << 24);
}

#define D(c) ((int)dest[LICE_PIXEL_##c])

// The source replaces the pixel, alpha included.
template<bool clamp>
struct _LICE_CombinePixelsClobber
{
  static inline void doPix(LICE_pixel_chan* dest, int r, int g, int b, int a, int)
  {
    _LICE_Store<clamp>(dest, r, g, b, a);
  }
};
typedef _LICE_CombinePixelsClobber<false> _LICE_CombinePixelsClobberNoClamp;
typedef _LICE_CombinePixelsClobber<true> _LICE_CombinePixelsClobberClamp;

// s + (d - s) * (256 - ia) / 256
template<bool clamp>
struct _LICE_CombinePixelsCopy
{
  static inline void doPix(LICE_pixel_chan* dest, int r, int g, int b, int a, int alpha)
  {
    const int ia = 256 - alpha;
    _LICE_Store<clamp>(dest, r + (D(R) - r) * ia / 256, g + (D(G) - g) * ia / 256, b + (D(B) - b) * ia / 256,
                       a + (D(A) - a) * ia / 256);
  }
};
typedef _LICE_CombinePixelsCopy<false> _LICE_CombinePixelsCopyNoClamp;
typedef _LICE_CombinePixelsCopy<true> _LICE_CombinePixelsCopyClamp;

// (d + s) >> 1
struct _LICE_CombinePixelsHalfMixNoClamp
{
  static inline void doPix(LICE_pixel_chan* dest, int r, int g, int b, int a, int)
  {
    _LICE_MakePixelNoClamp(dest, (D(R) + r) >> 1, (D(G) + g) >> 1, (D(B) + b) >> 1, (D(A) + a) >> 1);
  }
};

// d + s * ia / 256, clamped
struct _LICE_CombinePixelsAdd
{
  static inline void doPix(LICE_pixel_chan* dest, int r, int g, int b, int a, int alpha)
  {
    _LICE_MakePixelClamp(dest, D(R) + r * alpha / 256, D(G) + g * alpha / 256, D(B) + b * alpha / 256,
                         D(A) + a * alpha / 256);
  }
};

// t = 256 - s * ia / 256; d * 256 / t for t >= 2, else d * 256; clamped
struct _LICE_CombinePixelsColorDodge
{
  static inline int dodge(int d, int s, int alpha)
  {
    const int t = 256 - s * alpha / 256;
    return t >= 2 ? d * 256 / t : d * 256;
  }
  static inline void doPix(LICE_pixel_chan* dest, int r, int g, int b, int a, int alpha)
  {
    _LICE_MakePixelClamp(dest, dodge(D(R), r, alpha), dodge(D(G), g, alpha), dodge(D(B), b, alpha),
                         dodge(D(A), a, alpha));
  }
};

// (d * ((256 - ia) * 256 + s * ia)) >> 16
template<bool clamp>
struct _LICE_CombinePixelsMul
{
  static inline int mul(int d, int s, int alpha) { return (d * ((256 - alpha) * 256 + s * alpha)) >> 16; }
  static inline void doPix(LICE_pixel_chan* dest, int r, int g, int b, int a, int alpha)
  {
    _LICE_Store<clamp>(dest, mul(D(R), r, alpha), mul(D(G), g, alpha), mul(D(B), b, alpha), mul(D(A), a, alpha));
  }
};
typedef _LICE_CombinePixelsMul<false> _LICE_CombinePixelsMulNoClamp;
typedef _LICE_CombinePixelsMul<true> _LICE_CombinePixelsMulClamp;

// x = s * ia + (256 - ia) * 128; (d * (d * (32768 - x) / 256 + x)) >> 15, clamped
struct _LICE_CombinePixelsOverlay
{
  static inline int over(int d, int s, int alpha)
  {
    const int x = s * alpha + (256 - alpha) * 128;
    return (d * (d * (32768 - x) / 256 + x)) >> 15;
  }
  static inline void doPix(LICE_pixel_chan* dest, int r, int g, int b, int a, int alpha)
  {
    _LICE_MakePixelClamp(dest, over(D(R), r, alpha), over(D(G), g, alpha), over(D(B), b, alpha), over(D(A), a, alpha));
  }
};

void __LICE_RGB2HSV(int r, int g, int b, int* h, int* s, int* v);
LICE_pixel __LICE_HSV2Pix(int h, int s, int v, int alpha);

// The source is an adjustment: hue by r, saturation by g, value by b, each
// neutral at 128; the new pixel takes the source alpha.
struct _LICE_CombinePixelsHSVAdjust
{
  static inline void doPix(LICE_pixel_chan* dest, int r, int g, int b, int a, int alpha)
  {
    int h, s, v;
    __LICE_RGB2HSV(D(R), D(G), D(B), &h, &s, &v);
    h += ((r + r / 2 - 192) * alpha) / 256;
    if (h < 0)
      h += 384;
    else if (h >= 384)
      h -= 384;
    s = _LICE_Clamp255(s + ((g - 128) * alpha) / 128);
    v = _LICE_Clamp255(v + ((b - 128) * alpha) / 128);
    const LICE_pixel p = __LICE_HSV2Pix(h, s, v, a);
    _LICE_MakePixelNoClamp(dest, LICE_GETR(p), LICE_GETG(p), LICE_GETB(p), LICE_GETA(p));
  }
};

// The source-alpha family: a2 = ia * (a + 1) / 256 scales each pixel's effect.
template<bool clamp>
struct _LICE_CombinePixelsCopySourceAlpha
{
  // Colour: s + (d - s) * (256 - a2) / 256; alpha: min(a2 + d, 255).
  static inline void doPix(LICE_pixel_chan* dest, int r, int g, int b, int a, int alpha)
  {
    if (!a) return;
    const int a2 = alpha * (a + 1) / 256, ia = 256 - a2;
    const int da = a2 + D(A);
    _LICE_Store<clamp>(dest, r + (D(R) - r) * ia / 256, g + (D(G) - g) * ia / 256, b + (D(B) - b) * ia / 256,
                       da < 255 ? da : 255);
  }
};
typedef _LICE_CombinePixelsCopySourceAlpha<false> _LICE_CombinePixelsCopySourceAlphaNoClamp;
typedef _LICE_CombinePixelsCopySourceAlpha<true> _LICE_CombinePixelsCopySourceAlphaClamp;

// With ia 256: alpha 255 replaces the pixel (alpha 255); otherwise colour
// s + (d - s) * (255 - a) / 256, alpha min(a + d, 255).
template<bool clamp>
struct _LICE_CombinePixelsCopySourceAlphaIgnoreAlphaParm
{
  static inline void doPix(LICE_pixel_chan* dest, int r, int g, int b, int a, int)
  {
    if (!a) return;
    if (a == 255)
    {
      _LICE_Store<clamp>(dest, r, g, b, 255);
      return;
    }
    const int ia = 255 - a, da = a + D(A);
    _LICE_Store<clamp>(dest, r + (D(R) - r) * ia / 256, g + (D(G) - g) * ia / 256, b + (D(B) - b) * ia / 256,
                       da < 255 ? da : 255);
  }
};
typedef _LICE_CombinePixelsCopySourceAlphaIgnoreAlphaParm<false>
    _LICE_CombinePixelsCopySourceAlphaIgnoreAlphaParmNoClamp;
typedef _LICE_CombinePixelsCopySourceAlphaIgnoreAlphaParm<true> _LICE_CombinePixelsCopySourceAlphaIgnoreAlphaParmClamp;

// Add with a2; nothing for a source alpha of 0.
struct _LICE_CombinePixelsAddSourceAlpha
{
  static inline void doPix(LICE_pixel_chan* dest, int r, int g, int b, int a, int alpha)
  {
    if (!a) return;
    _LICE_CombinePixelsAdd::doPix(dest, r, g, b, a, alpha * (a + 1) / 256);
  }
};

// Dodge with a2, no test for a of 0.
struct _LICE_CombinePixelsColorDodgeSourceAlpha
{
  static inline void doPix(LICE_pixel_chan* dest, int r, int g, int b, int a, int alpha)
  {
    _LICE_CombinePixelsColorDodge::doPix(dest, r, g, b, a, alpha * (a + 1) / 256);
  }
};

// Multiply with a2; nothing for a source alpha of 0.
template<bool clamp>
struct _LICE_CombinePixelsMulSourceAlpha
{
  static inline void doPix(LICE_pixel_chan* dest, int r, int g, int b, int a, int alpha)
  {
    if (!a) return;
    _LICE_CombinePixelsMul<clamp>::doPix(dest, r, g, b, a, alpha * (a + 1) / 256);
  }
};
typedef _LICE_CombinePixelsMulSourceAlpha<false> _LICE_CombinePixelsMulSourceAlphaNoClamp;
typedef _LICE_CombinePixelsMulSourceAlpha<true> _LICE_CombinePixelsMulSourceAlphaClamp;

// Overlay with a2, no test for a of 0.
struct _LICE_CombinePixelsOverlaySourceAlpha
{
  static inline void doPix(LICE_pixel_chan* dest, int r, int g, int b, int a, int alpha)
  {
    _LICE_CombinePixelsOverlay::doPix(dest, r, g, b, a, alpha * (a + 1) / 256);
  }
};

// Adjust with a2, no test for a of 0.
struct _LICE_CombinePixelsHSVAdjustSourceAlpha
{
  static inline void doPix(LICE_pixel_chan* dest, int r, int g, int b, int a, int alpha)
  {
    _LICE_CombinePixelsHSVAdjust::doPix(dest, r, g, b, a, alpha * (a + 1) / 256);
  }
};

#undef D

// Whole-word functors: each channel loses its low bit or bits before the
// add, and the masks keep a channel's bits out of the next.
struct _LICE_CombinePixelsClobberFAST
{
  static inline void doPixFAST(LICE_pixel* dest, LICE_pixel src) { *dest = src; }
};
struct _LICE_CombinePixelsHalfMixFAST
{
  static inline void doPixFAST(LICE_pixel* dest, LICE_pixel src)
  {
    *dest = ((*dest >> 1) & 0x7F7F7F7F) + ((src >> 1) & 0x7F7F7F7F);
  }
};
struct _LICE_CombinePixelsHalfMix2FAST // src prescaled by 1/2
{
  static inline void doPixFAST(LICE_pixel* dest, LICE_pixel src) { *dest = ((*dest >> 1) & 0x7F7F7F7F) + src; }
};
struct _LICE_CombinePixelsQuarterMix2FAST // src prescaled by 1/4
{
  static inline void doPixFAST(LICE_pixel* dest, LICE_pixel src)
  {
    *dest = ((*dest >> 1) & 0x7F7F7F7F) + ((*dest >> 2) & 0x3F3F3F3F) + src;
  }
};
struct _LICE_CombinePixelsThreeQuarterMix2FAST // src prescaled by 3/4
{
  static inline void doPixFAST(LICE_pixel* dest, LICE_pixel src) { *dest = ((*dest >> 2) & 0x3F3F3F3F) + src; }
};

// Calls F with the functor that the mode word (masked with 0x100FF) and ia
// select, once per drawing call; false for a mode outside the table. Copy
// picks clobber at ia 256 unless the source alpha counts.
template<class Call>
static inline bool LICE_WithFunctor(int mode, int ia, Call&& f)
{
  switch (mode & 0x100FF)
  {
  case LICE_BLIT_MODE_COPY:
    if (ia == 256)
      f(_LICE_CombinePixelsClobberNoClamp());
    else
      f(_LICE_CombinePixelsCopyNoClamp());
    return true;
  case LICE_BLIT_MODE_ADD:
    f(_LICE_CombinePixelsAdd());
    return true;
  case LICE_BLIT_MODE_DODGE:
    f(_LICE_CombinePixelsColorDodge());
    return true;
  case LICE_BLIT_MODE_MUL:
    f(_LICE_CombinePixelsMulNoClamp());
    return true;
  case LICE_BLIT_MODE_OVERLAY:
    f(_LICE_CombinePixelsOverlay());
    return true;
  case LICE_BLIT_MODE_HSVADJ:
    f(_LICE_CombinePixelsHSVAdjust());
    return true;
  case LICE_BLIT_MODE_COPY | LICE_BLIT_USE_ALPHA:
    if (ia == 256)
      f(_LICE_CombinePixelsCopySourceAlphaIgnoreAlphaParmNoClamp());
    else
      f(_LICE_CombinePixelsCopySourceAlphaNoClamp());
    return true;
  case LICE_BLIT_MODE_ADD | LICE_BLIT_USE_ALPHA:
    f(_LICE_CombinePixelsAddSourceAlpha());
    return true;
  case LICE_BLIT_MODE_DODGE | LICE_BLIT_USE_ALPHA:
    f(_LICE_CombinePixelsColorDodgeSourceAlpha());
    return true;
  case LICE_BLIT_MODE_MUL | LICE_BLIT_USE_ALPHA:
    f(_LICE_CombinePixelsMulSourceAlphaNoClamp());
    return true;
  case LICE_BLIT_MODE_OVERLAY | LICE_BLIT_USE_ALPHA:
    f(_LICE_CombinePixelsOverlaySourceAlpha());
    return true;
  case LICE_BLIT_MODE_HSVADJ | LICE_BLIT_USE_ALPHA:
    f(_LICE_CombinePixelsHSVAdjustSourceAlpha());
    return true;
  default:
    return false;
  }
}
