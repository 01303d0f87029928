// The span kernels: the scalar reference, built from the combine functors
// themselves; SSE2, the x86-64 baseline; and the choice of table at run
// time (AVX2 lives in lice_simd_avx2.cpp, compiled for that instruction set
// alone).

#include "lice_simd.h"

#include "lice_combine.h"

#include <cstring>

#if defined(__x86_64__) || defined(__SSE2__)
#define LICE_HAVE_SSE2 1
#include <emmintrin.h>
#endif

namespace
{
// ---------------------------------------------------------------------------
// Scalar: the functors, pixel by pixel.

void ScalarSourceAlpha(LICE_pixel* dest, const LICE_pixel* src, int n)
{
  for (int i = 0; i < n; ++i)
    _LICE_CombinePixelsCopySourceAlphaIgnoreAlphaParmNoClamp::doPix(
        (LICE_pixel_chan*)(dest + i), LICE_GETR(src[i]), LICE_GETG(src[i]), LICE_GETB(src[i]), LICE_GETA(src[i]), 256);
}

void ScalarSourceAlphaWeighted(LICE_pixel* dest, const LICE_pixel* src, int n, int ia)
{
  for (int i = 0; i < n; ++i)
    _LICE_CombinePixelsCopySourceAlphaNoClamp::doPix((LICE_pixel_chan*)(dest + i), LICE_GETR(src[i]), LICE_GETG(src[i]),
                                                     LICE_GETB(src[i]), LICE_GETA(src[i]), ia);
}

void ScalarCopyWeighted(LICE_pixel* dest, const LICE_pixel* src, int n, int ia)
{
  for (int i = 0; i < n; ++i)
    _LICE_CombinePixelsCopyNoClamp::doPix((LICE_pixel_chan*)(dest + i), LICE_GETR(src[i]), LICE_GETG(src[i]),
                                          LICE_GETB(src[i]), LICE_GETA(src[i]), ia);
}

void ScalarCoverage(LICE_pixel* dest, int destSpan, const unsigned char* cov, int covSpan, int w, int h,
                    LICE_pixel color, int ia)
{
  const int r = LICE_GETR(color), g = LICE_GETG(color), b = LICE_GETB(color), a = LICE_GETA(color);
  for (int y = 0; y < h; ++y, dest += destSpan, cov += covSpan)
    for (int i = 0; i < w; ++i)
    {
      // What LICE_CombinePixels2 does in copy mode: nothing at weight 0,
      // the colour itself at 256.
      const int weight = ia * cov[i] / 255;
      if (weight <= 0) continue;
      if (weight >= 256)
        dest[i] = color;
      else
        _LICE_CombinePixelsCopyNoClamp::doPix((LICE_pixel_chan*)(dest + i), r, g, b, a, weight);
    }
}

void ScalarBilinear(LICE_pixel* out, const LICE_pixel* row0, const LICE_pixel* row1, int n, int cx, int dx,
                    unsigned int yfrac)
{
  for (int i = 0; i < n; ++i, cx += dx)
  {
    const int x = cx >> 16;
    out[i] = BilinearFilterI(row0 + x, row1 + x, (unsigned)cx & 0xffff, yfrac);
  }
}

bool ScalarToScreen(uint32_t* dest, const LICE_pixel* src, int n)
{
  bool changed = false;
  for (int i = 0; i < n; ++i)
  {
    const uint32_t v = __builtin_bswap32(src[i]);
    if (dest[i] != v)
    {
      dest[i] = v;
      changed = true;
    }
  }
  return changed;
}

const LICE_SpanKernels kScalar = {"scalar",           ScalarSourceAlpha, ScalarSourceAlphaWeighted,
                                  ScalarCopyWeighted, ScalarCoverage,    ScalarBilinear,
                                  ScalarToScreen};

#ifdef LICE_HAVE_SSE2
// ---------------------------------------------------------------------------
// SSE2: four pixels at a time.

struct V128
{
  typedef __m128i T;
  enum
  {
    kPixels = 4
  };
  static T Zero() { return _mm_setzero_si128(); }
  static T Set32(int v) { return _mm_set1_epi32(v); }
  static T Set16(short v) { return _mm_set1_epi16(v); }
  static T Load(const LICE_pixel* p) { return _mm_loadu_si128((const __m128i*)p); }
  static void Store(LICE_pixel* p, T v) { _mm_storeu_si128((__m128i*)p, v); }
  static T LoadBytes(const unsigned char* p)
  {
    int v;
    memcpy(&v, p, 4);
    const T b = _mm_cvtsi32_si128(v);
    return _mm_unpacklo_epi16(_mm_unpacklo_epi8(b, Zero()), Zero());
  }
  // The first n (below 4) pixels or bytes, through a small buffer: SSE2 has
  // no masked loads of its own.
  static T LoadN(const LICE_pixel* p, int n)
  {
    LICE_pixel b[4] = {0, 0, 0, 0};
    for (int k = 0; k < n; ++k) b[k] = p[k];
    return Load(b);
  }
  static void StoreN(LICE_pixel* p, T v, int n)
  {
    LICE_pixel b[4];
    Store(b, v);
    for (int k = 0; k < n; ++k) p[k] = b[k];
  }
  static T LoadBytesN(const unsigned char* p, int n)
  {
    unsigned char b[4] = {0, 0, 0, 0};
    for (int k = 0; k < n; ++k) b[k] = p[k];
    return LoadBytes(b);
  }
  static T And(T a, T b) { return _mm_and_si128(a, b); }
  static T Or(T a, T b) { return _mm_or_si128(a, b); }
  // mask ? a : b, bit by bit.
  static T Select(T mask, T a, T b) { return _mm_or_si128(_mm_and_si128(mask, a), _mm_andnot_si128(mask, b)); }
  static T Add8(T a, T b) { return _mm_add_epi8(a, b); }
  static T Sub8(T a, T b) { return _mm_sub_epi8(a, b); }
  static T MaxU8(T a, T b) { return _mm_max_epu8(a, b); }
  static T MinU8(T a, T b) { return _mm_min_epu8(a, b); }
  static T AddsU8(T a, T b) { return _mm_adds_epu8(a, b); }
  static T Cmpeq8(T a, T b) { return _mm_cmpeq_epi8(a, b); }
  static T Add32(T a, T b) { return _mm_add_epi32(a, b); }
  static T Sub32(T a, T b) { return _mm_sub_epi32(a, b); }
  static T Cmpeq32(T a, T b) { return _mm_cmpeq_epi32(a, b); }
  static T Slli32(T a, int n) { return _mm_slli_epi32(a, n); }
  static T Srli32(T a, int n) { return _mm_srli_epi32(a, n); }
  static T Srli16(T a, int n) { return _mm_srli_epi16(a, n); }
  static T Mullo16(T a, T b) { return _mm_mullo_epi16(a, b); }
  static T MulhiU16(T a, T b) { return _mm_mulhi_epu16(a, b); }
  static T UnpackLo8(T a, T b) { return _mm_unpacklo_epi8(a, b); }
  static T UnpackHi8(T a, T b) { return _mm_unpackhi_epi8(a, b); }
  static T UnpackLo32(T a, T b) { return _mm_unpacklo_epi32(a, b); }
  static T UnpackHi32(T a, T b) { return _mm_unpackhi_epi32(a, b); }
  static T PackUs16(T a, T b) { return _mm_packus_epi16(a, b); }
  static bool AllSet(T mask) { return _mm_movemask_epi8(mask) == 0xFFFF; }
  // Each 32-bit lane's bytes reversed, with shifts alone (SSE2 has no byte
  // shuffle).
  static T ByteSwap32(T v)
  {
    const T mid = _mm_set1_epi32(0xFF00);
    const T outer = _mm_or_si128(_mm_slli_epi32(v, 24), _mm_srli_epi32(v, 24));
    const T inner = _mm_or_si128(_mm_and_si128(_mm_slli_epi32(v, 8), _mm_set1_epi32(0xFF0000)),
                                 _mm_and_si128(_mm_srli_epi32(v, 8), mid));
    return _mm_or_si128(outer, inner);
  }
};

#include "lice_simd_kernels.h"

// One pixel at a time: the four weights are split as f = 256 * h + l, and
// each difference d goes in as the pair (16 d, d) against (16 h, l), so
// that one multiply-add gives d * f exactly in 32 bits.
void SSE2Bilinear(LICE_pixel* out, const LICE_pixel* row0, const LICE_pixel* row1, int n, int cx, int dx,
                  unsigned int yfrac)
{
  const __m128i zero = _mm_setzero_si128();
  auto weight = [](unsigned int f) { return _mm_set1_epi32((int)(((f >> 8) << 4) | ((f & 0xff) << 16))); };
  auto pairs = [](__m128i d) { return _mm_unpacklo_epi16(_mm_slli_epi16(d, 4), d); };
  for (int i = 0; i < n; ++i, cx += dx)
  {
    const int x = cx >> 16;
    const unsigned int xf = (unsigned)cx & 0xffff, f4 = ((xf * yfrac) >> 16) & 0xffff;
    const __m128i t = _mm_unpacklo_epi8(_mm_loadl_epi64((const __m128i*)(row0 + x)), zero); // p00, p01
    const __m128i b = _mm_unpacklo_epi8(_mm_loadl_epi64((const __m128i*)(row1 + x)), zero); // p10, p11
    const __m128i d01 = _mm_sub_epi16(_mm_srli_si128(t, 8), t), d10 = _mm_sub_epi16(b, t);
    const __m128i d11 = _mm_sub_epi16(_mm_srli_si128(b, 8), t);
    __m128i sum =
        _mm_add_epi32(_mm_madd_epi16(pairs(d01), weight(xf - f4)), _mm_madd_epi16(pairs(d10), weight(yfrac - f4)));
    sum = _mm_add_epi32(sum, _mm_madd_epi16(pairs(d11), weight(f4)));
    // p00 + floor(sum / 65536): the scalar filter's (p00 * f1 + ...) >> 16.
    __m128i r = _mm_add_epi32(_mm_srai_epi32(sum, 16), _mm_unpacklo_epi16(t, zero));
    r = _mm_packs_epi32(r, r);
    out[i] = (LICE_pixel)_mm_cvtsi128_si32(_mm_packus_epi16(r, r));
  }
}

const LICE_SpanKernels kSSE2 = {"SSE2",
                                SpanKernels<V128>::SourceAlpha,
                                SpanKernels<V128>::SourceAlphaWeighted,
                                SpanKernels<V128>::CopyWeighted,
                                SpanKernels<V128>::Coverage,
                                SSE2Bilinear,
                                SpanKernels<V128>::ToScreen};
#endif

const LICE_SpanKernels* Choose()
{
  if (const LICE_SpanKernels* avx2 = LICE_KernelsAVX2()) return avx2;
  if (const LICE_SpanKernels* sse2 = LICE_KernelsSSE2()) return sse2;
  return &kScalar;
}
} // namespace

const LICE_SpanKernels* LICE_KernelsScalar() { return &kScalar; }

const LICE_SpanKernels* LICE_KernelsAVX2()
{
  // Asked here, in code built for the baseline, before anything of the AVX2
  // table runs.
#if defined(__x86_64__)
  __builtin_cpu_init();
  if (__builtin_cpu_supports("avx2")) return LICE_AVX2Table();
#endif
  return nullptr;
}

const LICE_SpanKernels* LICE_KernelsSSE2()
{
#ifdef LICE_HAVE_SSE2
  return &kSSE2;
#else
  return nullptr;
#endif
}

namespace
{
const LICE_SpanKernels* sKernels = nullptr;
}

const LICE_SpanKernels& LICE_Kernels()
{
  if (!sKernels) sKernels = Choose();
  return *sKernels;
}

void LICE_UseKernels(const LICE_SpanKernels* kernels) { sKernels = kernels ? kernels : Choose(); }
