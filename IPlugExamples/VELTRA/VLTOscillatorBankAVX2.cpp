// The bank's kernel on AVX2: this file alone is compiled for it, and runs
// only where the processor has it.

#include "VLTOscillatorBankVector.h"

#if defined(__AVX2__)
namespace
{
void RenderAVX2(VLTOscillatorBank* b, int n, double* acc) { vlt_vector::RenderAny(b, n, acc); }
} // namespace

VLTBankKernel VLTBankAVX2() { return __builtin_cpu_supports("avx2") ? &RenderAVX2 : nullptr; }
#else
VLTBankKernel VLTBankAVX2() { return nullptr; }
#endif
