#pragma once
// The byte-wise span kernels, written once over a vector type V that gives
// the operations at its width: V128 (SSE2) in lice_simd.cpp, V256 (AVX2) in
// lice_simd_avx2.cpp. Each kernel does what the scalar combine functor does,
// bit for bit, on V::kPixels pixels at a time, and on the few pixels left at
// the end through V's partial loads and stores. Include it only inside an unnamed namespace:
// its instantiations must stay in their own translation unit.
//
// The heart is Mix: s + (d - s) * f / 256 with "/" truncating toward zero,
// for factors f of 0 to 256. It is computed as s plus or minus
// (|d - s| * f) >> 8: |d - s| * f stays below 65536, so 16-bit lanes hold
// it exactly, and the sign comes from comparing d with s.

#include "lice_simd.h"

template<class V>
struct SpanKernels
{
  typedef typename V::T T;

  // Per byte: s + sign(d - s) * ((|d - s| * f) >> 8). flo and fhi hold the
  // factors of the low and high eight bytes of each 128-bit lane as 16-bit
  // lanes.
  static inline T Mix(T s, T d, T flo, T fhi)
  {
    const T zero = V::Zero();
    const T mx = V::MaxU8(s, d), mn = V::MinU8(s, d), ad = V::Sub8(mx, mn);
    const T tlo = V::Srli16(V::Mullo16(V::UnpackLo8(ad, zero), flo), 8);
    const T thi = V::Srli16(V::Mullo16(V::UnpackHi8(ad, zero), fhi), 8);
    const T t = V::PackUs16(tlo, thi);
    const T up = V::Cmpeq8(mx, d); // d >= s
    return V::Select(up, V::Add8(s, t), V::Sub8(s, t));
  }

  // Per-pixel factors in 32-bit lanes, spread to the 16-bit lanes of each
  // pixel's four channels.
  static inline void Spread(T f32, T* lo, T* hi)
  {
    const T pair = V::Or(f32, V::Slli32(f32, 16));
    *lo = V::UnpackLo32(pair, pair);
    *hi = V::UnpackHi32(pair, pair);
  }

  // Colour from the mix, alpha byte from a.
  static inline T ColourAndAlpha(T mixed, T alpha)
  {
    const T colour = V::Set32((int)0xFFFFFF00);
    return V::Select(colour, mixed, alpha);
  }

  // Runs body(i, count) over the span: whole vectors, then the pixels left
  // at the end (count below V::kPixels), which the body loads and stores
  // through the partial loads and stores.
  template<class Body>
  static inline void ForSpan(int n, Body body)
  {
    int i = 0;
    for (; i + V::kPixels <= n; i += V::kPixels) body(i, (int)V::kPixels);
    if (i < n) body(i, n - i);
  }
  static inline T Load(const LICE_pixel* p, int count) { return count == V::kPixels ? V::Load(p) : V::LoadN(p, count); }
  static inline void Store(LICE_pixel* p, T v, int count)
  {
    if (count == V::kPixels)
      V::Store(p, v);
    else
      V::StoreN(p, v, count);
  }

  static void SourceAlpha(LICE_pixel* dest, const LICE_pixel* src, int n)
  {
    const T alphaByte = V::Set32(0xFF), zero = V::Zero();
    ForSpan(n,
            [&](int i, int count)
            {
              const T s = Load(src + i, count);
              const T a = V::And(s, alphaByte);
              const T clear = V::Cmpeq32(a, zero);
              // Whole runs of clear or opaque pixels are common in knob frames.
              if (V::AllSet(clear)) return;
              if (V::AllSet(V::Cmpeq32(a, alphaByte)))
              {
                Store(dest + i, s, count);
                return;
              }
              const T d = Load(dest + i, count);
              T flo, fhi;
              Spread(V::Sub32(alphaByte, a), &flo, &fhi);
              const T r = ColourAndAlpha(Mix(s, d, flo, fhi), V::AddsU8(s, d));
              Store(dest + i, V::Select(clear, d, r), count);
            });
  }

  static void SourceAlphaWeighted(LICE_pixel* dest, const LICE_pixel* src, int n, int ia)
  {
    const T alphaByte = V::Set32(0xFF), zero = V::Zero(), weight = V::Set32(ia), one = V::Set32(1);
    const T full = V::Set32(256);
    ForSpan(n,
            [&](int i, int count)
            {
              const T s = Load(src + i, count);
              const T a = V::And(s, alphaByte);
              const T clear = V::Cmpeq32(a, zero);
              if (V::AllSet(clear)) return;
              const T d = Load(dest + i, count);
              // a2 = ia * (a + 1) / 256: the product stays below 65536.
              const T a2 = V::Srli32(V::Mullo16(weight, V::Add32(a, one)), 8);
              T flo, fhi;
              Spread(V::Sub32(full, a2), &flo, &fhi);
              const T r = ColourAndAlpha(Mix(s, d, flo, fhi), V::AddsU8(a2, d));
              Store(dest + i, V::Select(clear, d, r), count);
            });
  }

  static void CopyWeighted(LICE_pixel* dest, const LICE_pixel* src, int n, int ia)
  {
    const T f = V::Set16((short)(256 - ia));
    ForSpan(n,
            [&](int i, int count) { Store(dest + i, Mix(Load(src + i, count), Load(dest + i, count), f, f), count); });
  }

  static bool ToScreen(uint32_t* dest, const LICE_pixel* src, int n)
  {
    bool changed = false;
    ForSpan(n,
            [&](int i, int count)
            {
              const T v = V::ByteSwap32(Load(src + i, count));
              // Lanes past count are zero in both, and equal.
              if (V::AllSet(V::Cmpeq32(v, Load(dest + i, count)))) return;
              Store(dest + i, v, count);
              changed = true;
            });
    return changed;
  }

  static void Coverage(LICE_pixel* dest, int destSpan, const unsigned char* cov, int covSpan, int w, int h,
                       LICE_pixel color, int ia)
  {
    const T s = V::Set32((int)color), weight = V::Set32(ia), full = V::Set32(256), zero = V::Zero();
    const T by255 = V::Set32(0x8081); // (x * 0x8081) >> 23 is x / 255 for x up to 65280
    for (int y = 0; y < h; ++y, dest += destSpan, cov += covSpan)
      ForSpan(w,
              [&](int i, int count)
              {
                const T v = count == V::kPixels ? V::LoadBytes(cov + i) : V::LoadBytesN(cov + i, count);
                if (V::AllSet(V::Cmpeq32(v, zero))) return;
                const T alpha = V::Srli16(V::MulhiU16(V::Mullo16(weight, v), by255), 7);
                T flo, fhi;
                Spread(V::Sub32(full, alpha), &flo, &fhi);
                Store(dest + i, Mix(s, Load(dest + i, count), flo, fhi), count);
              });
  }
};
