#pragma once
// Span kernels: the inner loops of the blits and of glyph drawing that the
// panel spends its time in, written for a whole row at once. Each table
// computes exactly what the scalar combine functors compute, bit for bit:
// the scalar one is the reference, SSE2 is the x86-64 baseline, and AVX2 is
// taken at run time where the processor has it.

#include "lice.h"

struct LICE_SpanKernels
{
  const char* name;
  // Copy through the source's alpha at full weight (the knob frame): alpha 0
  // leaves the pixel, 255 replaces it, else s + (d - s) * (255 - a) / 256
  // and alpha min(a + d, 255).
  void (*sourceAlpha)(LICE_pixel* dest, const LICE_pixel* src, int n);
  // The same at weight ia (1..255): a2 = ia * (a + 1) / 256 in place of a.
  void (*sourceAlphaWeighted)(LICE_pixel* dest, const LICE_pixel* src, int n, int ia);
  // Copy at weight ia (1..255), alpha included: s + (d - s) * (256 - ia) / 256.
  void (*copyWeighted)(LICE_pixel* dest, const LICE_pixel* src, int n, int ia);
  // A glyph of w x h coverage bytes: the colour copied over each pixel at
  // weight ia * cov / 255 (ia 1..256); coverage 0 leaves the pixel. Rows
  // are destSpan pixels apart (negative in flipped bitmaps), covSpan bytes
  // in the glyph.
  void (*coverage)(LICE_pixel* dest, int destSpan, const unsigned char* cov, int covSpan, int w, int h,
                   LICE_pixel color, int ia);
  // n bilinear samples from the row pair row0, row1 (the next row) at 16.16
  // positions x = cx, cx + dx, ... and row fraction yfrac: every sample's x
  // and x + 1 lie inside the rows.
  void (*bilinear)(LICE_pixel* out, const LICE_pixel* row0, const LICE_pixel* row1, int n, int cx, int dx,
                   unsigned int yfrac);
  // n pixels in the screen's form (each pixel's bytes reversed), written
  // only where they differ from what dest holds; whether any did.
  bool (*toScreen)(uint32_t* dest, const LICE_pixel* src, int n);
};

// The table in use: the fastest this processor runs, unless told otherwise.
const LICE_SpanKernels& LICE_Kernels();
// Makes a table the one in use (null: the fastest again), so that tests and
// benchmarks can compare whole operations on each. Main thread, while no
// drawing runs.
void LICE_UseKernels(const LICE_SpanKernels* kernels);
// Each table by itself, for tests and benchmarks; null where the processor
// or the build lacks it.
const LICE_SpanKernels* LICE_KernelsScalar();
const LICE_SpanKernels* LICE_KernelsSSE2();
const LICE_SpanKernels* LICE_KernelsAVX2();
// The AVX2 table itself, without asking the processor: for LICE_KernelsAVX2.
const LICE_SpanKernels* LICE_AVX2Table();
