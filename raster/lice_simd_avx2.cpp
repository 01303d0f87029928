// The span kernels on AVX2, eight pixels at a time. This file alone is
// compiled for AVX2, and nothing in it runs unless the processor has it:
// LICE_KernelsAVX2 asks first. It shares no inline code with the rest of the
// library (whose copies the linker could otherwise take from here).

#include "lice_simd.h"

#include <cstring>

#if defined(__x86_64__)
#include <immintrin.h>

namespace
{
struct V256
{
  typedef __m256i T;
  enum
  {
    kPixels = 8
  };
  static T Zero() { return _mm256_setzero_si256(); }
  static T Set32(int v) { return _mm256_set1_epi32(v); }
  static T Set16(short v) { return _mm256_set1_epi16(v); }
  static T Load(const LICE_pixel* p) { return _mm256_loadu_si256((const __m256i*)p); }
  static void Store(LICE_pixel* p, T v) { _mm256_storeu_si256((__m256i*)p, v); }
  static T LoadBytes(const unsigned char* p) { return _mm256_cvtepu8_epi32(_mm_loadl_epi64((const __m128i*)p)); }
  // The first n (below 8) lanes; the lanes past them read and write nothing.
  static T FirstLanes(int n)
  {
    return _mm256_cmpgt_epi32(_mm256_set1_epi32(n), _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7));
  }
  static T LoadN(const LICE_pixel* p, int n) { return _mm256_maskload_epi32((const int*)p, FirstLanes(n)); }
  static void StoreN(LICE_pixel* p, T v, int n) { _mm256_maskstore_epi32((int*)p, FirstLanes(n), v); }
  static T LoadBytesN(const unsigned char* p, int n)
  {
    unsigned long long v = 0;
    for (int k = 0; k < n; ++k) v |= (unsigned long long)p[k] << (8 * k);
    return _mm256_cvtepu8_epi32(_mm_cvtsi64_si128((long long)v));
  }
  static T And(T a, T b) { return _mm256_and_si256(a, b); }
  static T Or(T a, T b) { return _mm256_or_si256(a, b); }
  static T Select(T mask, T a, T b) { return _mm256_blendv_epi8(b, a, mask); }
  static T Add8(T a, T b) { return _mm256_add_epi8(a, b); }
  static T Sub8(T a, T b) { return _mm256_sub_epi8(a, b); }
  static T MaxU8(T a, T b) { return _mm256_max_epu8(a, b); }
  static T MinU8(T a, T b) { return _mm256_min_epu8(a, b); }
  static T AddsU8(T a, T b) { return _mm256_adds_epu8(a, b); }
  static T Cmpeq8(T a, T b) { return _mm256_cmpeq_epi8(a, b); }
  static T Add32(T a, T b) { return _mm256_add_epi32(a, b); }
  static T Sub32(T a, T b) { return _mm256_sub_epi32(a, b); }
  static T Cmpeq32(T a, T b) { return _mm256_cmpeq_epi32(a, b); }
  static T Slli32(T a, int n) { return _mm256_slli_epi32(a, n); }
  static T Srli32(T a, int n) { return _mm256_srli_epi32(a, n); }
  static T Srli16(T a, int n) { return _mm256_srli_epi16(a, n); }
  static T Mullo16(T a, T b) { return _mm256_mullo_epi16(a, b); }
  static T MulhiU16(T a, T b) { return _mm256_mulhi_epu16(a, b); }
  // Within each 128-bit lane, as SSE2 does: the kernels only pair what the
  // same lane holds.
  static T UnpackLo8(T a, T b) { return _mm256_unpacklo_epi8(a, b); }
  static T UnpackHi8(T a, T b) { return _mm256_unpackhi_epi8(a, b); }
  static T UnpackLo32(T a, T b) { return _mm256_unpacklo_epi32(a, b); }
  static T UnpackHi32(T a, T b) { return _mm256_unpackhi_epi32(a, b); }
  static T PackUs16(T a, T b) { return _mm256_packus_epi16(a, b); }
  static bool AllSet(T mask) { return _mm256_movemask_epi8(mask) == -1; }
  static T ByteSwap32(T v)
  {
    const T order = _mm256_setr_epi8(3, 2, 1, 0, 7, 6, 5, 4, 11, 10, 9, 8, 15, 14, 13, 12, 3, 2, 1, 0, 7, 6, 5, 4, 11,
                                     10, 9, 8, 15, 14, 13, 12);
    return _mm256_shuffle_epi8(v, order);
  }
};
} // namespace

namespace
{
#include "lice_simd_kernels.h"

// Weights f as the 16-bit pair (16 * (f >> 8), f & 255), one per 32-bit lane.
inline __m256i WeightPairs(__m256i f)
{
  return _mm256_or_si256(_mm256_slli_epi32(_mm256_srli_epi32(f, 8), 4),
                         _mm256_slli_epi32(_mm256_and_si256(f, _mm256_set1_epi32(0xff)), 16));
}

// The pixels row[x[0]] .. row[x[7]], in that order.
inline __m256i Gather(const LICE_pixel* row, const int* x)
{
  return _mm256_setr_epi32((int)row[x[0]], (int)row[x[1]], (int)row[x[2]], (int)row[x[3]], (int)row[x[4]],
                           (int)row[x[5]], (int)row[x[6]], (int)row[x[7]]);
}

// The filter's sum, less p00 * 65536, regrouped so that the row's fraction
// weighs one difference alone:
//   p00 f1 + p01 f2 + p10 f3 + p11 f4 - 65536 p00
//     = (p01 - p00) xf + (p10 - p00) yf + (p11 - p10 - p01 + p00) f4,
// with f1 = 65536 - xf - yf + f4, f2 = xf - f4, f3 = yf - f4. Every
// difference goes in as the pair (16 d, d) against the weight's pair
// (16 (f >> 8), f & 255), so that one multiply-add gives d * f exactly.
// Four samples at a time, two in each 128-bit lane (first and second of
// the lane), their weight pairs broadcast to the lane; per channel in
// 32-bit lanes.
template<int kFirst>
inline __m256i Sums(__m256i d01, __m256i d10, __m256i e, __m256i wx, __m256i wy, __m256i w4)
{
  auto pairs = [](__m256i d)
  {
    const __m256i d16 = _mm256_slli_epi16(d, 4);
    return kFirst ? _mm256_unpacklo_epi16(d16, d) : _mm256_unpackhi_epi16(d16, d);
  };
  __m256i sum = _mm256_madd_epi16(pairs(d01), wx);
  sum = _mm256_add_epi32(sum, _mm256_madd_epi16(pairs(d10), wy));
  return _mm256_add_epi32(sum, _mm256_madd_epi16(pairs(e), w4));
}

// The eight results of one group from its four neighbours, each as eight
// whole pixels in sample order: the result is p00 + floor(sum / 65536), the
// scalar filter's (p00 f1 + ...) >> 16. Samples 0, 1, 4, 5 and then
// 2, 3, 6, 7 are taken together, so that each 128-bit lane finds its pixels
// and weights in its own half.
inline __m256i FilterEight(__m256i q00, __m256i q01, __m256i q10, __m256i q11, __m256i wx, __m256i wy, __m256i w4)
{
  const __m256i zero = _mm256_setzero_si256();
  __m256i half[2];
  for (int g = 0; g < 2; ++g)
  {
    auto widen = [&](__m256i q) { return g == 0 ? _mm256_unpacklo_epi8(q, zero) : _mm256_unpackhi_epi8(q, zero); };
    const __m256i p00 = widen(q00), p01 = widen(q01), p10 = widen(q10), p11 = widen(q11);
    const __m256i d01 = _mm256_sub_epi16(p01, p00), d10 = _mm256_sub_epi16(p10, p00);
    const __m256i e = _mm256_sub_epi16(_mm256_sub_epi16(p11, p10), d01);
    __m256i first, second;
    if (g == 0)
    {
      first = Sums<1>(d01, d10, e, _mm256_shuffle_epi32(wx, 0x00), wy, _mm256_shuffle_epi32(w4, 0x00));
      second = Sums<0>(d01, d10, e, _mm256_shuffle_epi32(wx, 0x55), wy, _mm256_shuffle_epi32(w4, 0x55));
    }
    else
    {
      first = Sums<1>(d01, d10, e, _mm256_shuffle_epi32(wx, 0xAA), wy, _mm256_shuffle_epi32(w4, 0xAA));
      second = Sums<0>(d01, d10, e, _mm256_shuffle_epi32(wx, 0xFF), wy, _mm256_shuffle_epi32(w4, 0xFF));
    }
    first = _mm256_add_epi32(_mm256_srai_epi32(first, 16), _mm256_unpacklo_epi16(p00, zero));
    second = _mm256_add_epi32(_mm256_srai_epi32(second, 16), _mm256_unpackhi_epi16(p00, zero));
    const __m256i packed = _mm256_packs_epi32(first, second);
    half[g] = _mm256_packus_epi16(packed, packed); // lane: two samples, twice
  }
  // Lane 0: samples 0, 1 then 2, 3; lane 1: 4, 5 then 6, 7.
  return _mm256_unpacklo_epi64(half[0], half[1]);
}

inline __m256i FirstLanes(int n)
{
  return _mm256_cmpgt_epi32(_mm256_set1_epi32(n), _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7));
}

// Eight samples at a time. Steps of at most one pixel (enlarging, the
// common case) find all eight samples' pixels among the nine from the
// first sample's: two masked loads per row, which read no pixel the samples
// do not use, and one permute per neighbour. Longer steps fetch each pair.
void AVX2Bilinear(LICE_pixel* out, const LICE_pixel* row0, const LICE_pixel* row1, int n, int cx, int dx,
                  unsigned int yfrac)
{
  const __m256i low16 = _mm256_set1_epi32(0xffff);
  const __m256i yf = _mm256_set1_epi32((int)yfrac), wy = WeightPairs(yf);
  const __m256i steps = _mm256_mullo_epi32(_mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7), _mm256_set1_epi32(dx));
  const bool near = dx >= 0 && dx <= 0x10000;
  int i = 0;
  for (; i + 8 <= n; i += 8, cx += 8 * dx)
  {
    const __m256i pos = _mm256_add_epi32(_mm256_set1_epi32(cx), steps);
    const __m256i xs = _mm256_srai_epi32(pos, 16);
    const __m256i xf = _mm256_and_si256(pos, low16);
    const __m256i f4 = _mm256_mulhi_epu16(xf, yf);
    const __m256i wx = WeightPairs(xf), w4 = WeightPairs(f4);
    __m256i q00, q01, q10, q11;
    if (near)
    {
      const int x0 = cx >> 16, used = ((cx + 7 * dx) >> 16) + 2 - x0; // pixels x0 .. x7 + 1
      const __m256i at = _mm256_sub_epi32(xs, _mm256_set1_epi32(x0));
      const __m256i left = FirstLanes(used < 8 ? used : 8), right = FirstLanes(used - 1);
      q00 = _mm256_permutevar8x32_epi32(_mm256_maskload_epi32((const int*)(row0 + x0), left), at);
      q01 = _mm256_permutevar8x32_epi32(_mm256_maskload_epi32((const int*)(row0 + x0 + 1), right), at);
      q10 = _mm256_permutevar8x32_epi32(_mm256_maskload_epi32((const int*)(row1 + x0), left), at);
      q11 = _mm256_permutevar8x32_epi32(_mm256_maskload_epi32((const int*)(row1 + x0 + 1), right), at);
    }
    else
    {
      alignas(32) int x[8];
      _mm256_store_si256((__m256i*)x, xs);
      q00 = Gather(row0, x);
      q01 = Gather(row0 + 1, x);
      q10 = Gather(row1, x);
      q11 = Gather(row1 + 1, x);
    }
    _mm256_storeu_si256((__m256i*)(out + i), FilterEight(q00, q01, q10, q11, wx, wy, w4));
  }
  if (i < n) LICE_KernelsScalar()->bilinear(out + i, row0, row1, n - i, cx, dx, yfrac);
}

const LICE_SpanKernels kAVX2 = {"AVX2",
                                SpanKernels<V256>::SourceAlpha,
                                SpanKernels<V256>::SourceAlphaWeighted,
                                SpanKernels<V256>::CopyWeighted,
                                SpanKernels<V256>::Coverage,
                                AVX2Bilinear,
                                SpanKernels<V256>::ToScreen};
} // namespace

const LICE_SpanKernels* LICE_AVX2Table() { return &kAVX2; }
#endif
