// The bank's kernel on SSE2, the x86-64 baseline (a scalar build elsewhere).

#include "VLTOscillatorBankVector.h"

#if defined(__x86_64__) || defined(__SSE2__)
VLTBankKernel VLTBankSSE2() { return &vlt_vector::RenderAny; }
#else
VLTBankKernel VLTBankSSE2() { return nullptr; }
#endif
