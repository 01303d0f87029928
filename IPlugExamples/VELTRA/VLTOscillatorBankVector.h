#pragma once
// The bank's kernel on vector registers, for the files that compile it for
// one instruction set each: two voices a register on SSE2, four on AVX2
// (GCC's vector types). The operations are those of VLTOscillator's steps
// in the same order, lane by lane: packed IEEE operations give each lane
// what the scalar one gives. The table look-ups read one double a lane.

#include "VLTOscillatorBank.h"

// The vectors never cross a function boundary that another file sees: the
// warning about their calling convention does not apply.
#pragma GCC diagnostic ignored "-Wpsabi"

// Internal to each file that includes it: the copies for different
// instruction sets never meet at link time.
namespace
{
namespace vlt_vector
{
#if defined(__AVX2__)
enum
{
  kLanes = 4
};
typedef int VI __attribute__((vector_size(16)));
#else
enum
{
  kLanes = 2
};
#endif
enum
{
  kGroups = kBankVoices / kLanes
};
typedef double VD __attribute__((vector_size(8 * kLanes)));
typedef long long VM __attribute__((vector_size(8 * kLanes)));

inline VD Load(const double* p) { return *(const VD*)p; }
inline void StoreTo(double* p, VD v) { *(VD*)p = v; }
inline VD Select(VM m, VD a, VD b) { return m ? a : b; }

// mWave[(int)(mPhase * 0.00390625)] * mLevel, the lanes' operators reading
// one table.
inline VD TableOut(VD phase, const double* wave, VD level)
{
  VD t;
#if defined(__AVX2__)
  const VI i = __builtin_convertvector(phase * 0.00390625, VI);
  for (int k = 0; k < kLanes; ++k) t[k] = wave[i[k]];
#else
  // SSE2 cannot take an integer out of a lane cheaply: each lane's double
  // is truncated on its own, as the packed conversion would.
  const VD x = phase * 0.00390625;
  for (int k = 0; k < kLanes; ++k) t[k] = wave[(int)x[k]];
#endif
  return t * level;
}

// +mLevel while the phase is below the width, else -mLevel.
inline VD PulseOut(VD phase, VD width, VD level) { return Select(width > phase, level, -level); }

// One group of voices' operators, loaded from the bank.
struct Lanes
{
  VD p1, p2, inc1, inc2, lvl1, lvl2, width2;

  void Load(const VLTOscillatorBank* b, int g)
  {
    const int v = g * kLanes;
    p1 = vlt_vector::Load(&b->phase[0][v]);
    p2 = vlt_vector::Load(&b->phase[1][v]);
    inc1 = vlt_vector::Load(&b->inc[0][v]);
    inc2 = vlt_vector::Load(&b->inc[1][v]);
    lvl1 = vlt_vector::Load(&b->level[0][v]);
    lvl2 = vlt_vector::Load(&b->level[1][v]);
    width2 = vlt_vector::Load(&b->pulse[1][v]);
  }

  // One sample of OP1: advanced, and its output.
  VD Step1(const double* wave1)
  {
    // Advance: the overshoot dropped, a NaN phase to 0.
    const VD a1 = p1 + inc1;
    p1 = Select(a1 <= 65535.0, a1, VD{});
    return TableOut(p1, wave1, lvl1);
  }

  // One sample of OP2, o1 the OP1 output of that sample (FM only).
  template<bool kFM, bool kPWM>
  VD Step2(const double* wave2, VD o1)
  {
    if (kFM)
    {
      // AdvanceBothWays by mIncrement + mod * 4096.0.
      const VD a2 = p2 + (inc2 + o1 * 4096.0);
      p2 = Select((a2 <= 65535.0) & (a2 >= 0.0), a2, VD{});
    }
    else
    {
      const VD a2 = p2 + inc2;
      p2 = Select(a2 <= 65535.0, a2, VD{});
    }
    return kPWM ? PulseOut(p2, width2, lvl2) : TableOut(p2, wave2, lvl2);
  }
};

template<bool kFM>
inline double Sum(const double* o1, const double* o2, const int* voices, int nv)
{
  double sum = 0.0;
  for (int k = 0; k < nv; ++k)
  {
    if (!kFM) sum += o1[voices[k]];
    sum += o2[voices[k]];
  }
  return sum;
}

template<bool kFM, bool kPWM, bool kAll>
void Render(VLTOscillatorBank* b, int n, double* acc)
{
  static const int all[kBankVoices] = {0, 1, 2, 3, 4, 5, 6, 7};
  int some[kBankVoices], nv = 0;
  for (int v = 0; v < kBankVoices; ++v)
    if (b->active & (1u << v)) some[nv++] = v;
  const int* voices = kAll ? all : some;
  if (kAll) nv = kBankVoices;
  // The OP1s over the whole span, then the OP2s, then the sums: each loop
  // carries only its phases from one sample to the next, so the processor
  // works on many samples at once.
  Lanes lanes[kGroups];
  for (int g = 0; g < kGroups; ++g) lanes[g].Load(b, g);
  const double *wave1 = b->wave[0][0], *wave2 = b->wave[1][0];
  alignas(32) double o1[kBankMaxSpan][kBankVoices], o2[kBankMaxSpan][kBankVoices];
  for (int s = 0; s < n; ++s)
    for (int g = 0; g < kGroups; ++g) StoreTo(&o1[s][g * kLanes], lanes[g].Step1(wave1));
  for (int s = 0; s < n; ++s)
    for (int g = 0; g < kGroups; ++g)
      StoreTo(&o2[s][g * kLanes], lanes[g].Step2<kFM, kPWM>(wave2, Load(&o1[s][g * kLanes])));
  for (int s = 0; s < n; ++s) acc[s] = Sum<kFM>(o1[s], o2[s], voices, nv) * 0.5;
  for (int g = 0; g < kGroups; ++g)
  {
    StoreTo(&b->phase[0][g * kLanes], lanes[g].p1);
    StoreTo(&b->phase[1][g * kLanes], lanes[g].p2);
  }
}

template<bool kFM, bool kPWM>
void RenderMode(VLTOscillatorBank* b, int n, double* acc)
{
  // Every voice: the same additions with indices the compiler knows.
  if (b->active == (1u << kBankVoices) - 1)
    Render<kFM, kPWM, true>(b, n, acc);
  else
    Render<kFM, kPWM, false>(b, n, acc);
}

// Every voice's operator of a kind reads one table (the operator's
// waveform is one setting for all voices); where the records say otherwise,
// the reference steps them.
inline void RenderAny(VLTOscillatorBank* b, int n, double* acc)
{
  if (!b->sharedTables) return VLTBankScalar(b, n, acc);
  if (b->fm)
    b->pwm ? RenderMode<true, true>(b, n, acc) : RenderMode<true, false>(b, n, acc);
  else
    b->pwm ? RenderMode<false, true>(b, n, acc) : RenderMode<false, false>(b, n, acc);
}
} // namespace vlt_vector
} // namespace
