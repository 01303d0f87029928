#pragma once
// The sixteen operators of the eight voices stepped together over a span of
// samples in which nothing changes but their phases: between two control
// ticks, MIDI events or block ends. Each sample's operators are computed as
// VLTOscillator's steps compute them, bit for bit (the same operations on
// the same doubles, in lanes of vector registers where the processor has
// them), and summed in the render loop's order: OP1 of voice 0, its OP2,
// OP1 of voice 1, ...; in FM mode the OP2s alone. A voice whose operators'
// gates are closed and whose envelopes are exactly 0.0 adds exactly 0.0 and
// is skipped: its phase is never heard again before a note-on sets it to 0.
// Audio thread, under the plug-in's mutex; no allocation.

#include "VLTOscillator.h"

enum
{
  kBankVoices = 8,
  // The longest span: a control tick comes every 44 samples.
  kBankMaxSpan = 64
};

// The operators by lane, loaded from and stored back to the voices' records.
struct VLTOscillatorBank
{
  alignas(32) double phase[2][kBankVoices]; // [0]: OP1s, [1]: OP2s
  alignas(32) double inc[2][kBankVoices];
  alignas(32) double level[2][kBankVoices];
  alignas(32) double pulse[2][kBankVoices];
  const double* wave[2][kBankVoices];
  unsigned active = 0;       // bit v: voice v may sound
  bool sharedTables = false; // all OP1s read one table, all OP2s one
  bool fm = false, pwm = false;

  // From the voices' records (osc 2v is OP1 of voice v, 2v + 1 its OP2).
  void Load(const VLTOscillator* osc, bool fmMode, bool pwmOn);
  // The phases back into the records; those of skipped voices stay.
  void Store(VLTOscillator* osc) const;
};

// Steps the bank n samples (n <= kBankMaxSpan): acc[s] is the sum of the
// operators' outputs at sample s, times 0.5.
typedef void (*VLTBankKernel)(VLTOscillatorBank* bank, int n, double* acc);

// The reference: VLTOscillator's own steps, one operator after another.
void VLTBankScalar(VLTOscillatorBank* bank, int n, double* acc);
// Four voices a vector register: SSE2 everywhere on x86-64, AVX2 where the
// processor has it; null where the build or the processor lacks them.
VLTBankKernel VLTBankSSE2();
VLTBankKernel VLTBankAVX2();
// The kernel for this process: the fastest there is, unless the environment
// variable VELTRA_RENDER names "scalar", "sse2" or "avx2" (for tests and
// benchmarks). Chosen once, at the first call; any thread.
VLTBankKernel VLTChooseBankKernel();
// The name of a kernel, for messages: "scalar", "sse2", "avx2".
const char* VLTBankKernelName(VLTBankKernel kernel);
