#include "VLTOscillatorBank.h"

#include <cstdlib>
#include <cstring>

void VLTOscillatorBank::Load(const VLTOscillator* osc, bool fmMode, bool pwmOn)
{
  fm = fmMode;
  pwm = pwmOn;
  active = 0;
  sharedTables = true;
  for (int v = 0; v < kBankVoices; ++v)
  {
    for (int op = 0; op < 2; ++op)
    {
      const VLTOscillator& o = osc[2 * v + op];
      phase[op][v] = o.mPhase;
      inc[op][v] = o.mIncrement;
      level[op][v] = o.mLevel;
      pulse[op][v] = o.mPulseWidth;
      wave[op][v] = o.mWave;
      sharedTables = sharedTables && o.mWave == osc[op].mWave;
    }
    const VLTOscillator &op1 = osc[2 * v], &op2 = osc[2 * v + 1];
    const bool silent = !op1.mGate && !op2.mGate && op1.mEnvelope == 0.0 && op2.mEnvelope == 0.0;
    if (!silent) active |= 1u << v;
  }
}

void VLTOscillatorBank::Store(VLTOscillator* osc) const
{
  for (int v = 0; v < kBankVoices; ++v)
    if (active & (1u << v))
    {
      osc[2 * v].mPhase = phase[0][v];
      osc[2 * v + 1].mPhase = phase[1][v];
    }
}

void VLTBankScalar(VLTOscillatorBank* b, int n, double* acc)
{
  VLTOscillator op1[kBankVoices], op2[kBankVoices];
  for (int v = 0; v < kBankVoices; ++v)
  {
    VLTOscillator* ops[2] = {&op1[v], &op2[v]};
    for (int op = 0; op < 2; ++op)
    {
      ops[op]->mPhase = b->phase[op][v];
      ops[op]->mIncrement = b->inc[op][v];
      ops[op]->mLevel = b->level[op][v];
      ops[op]->mPulseWidth = b->pulse[op][v];
      ops[op]->mWave = b->wave[op][v];
    }
  }
  for (int s = 0; s < n; ++s)
  {
    double sum = 0.0;
    for (int v = 0; v < kBankVoices; ++v)
    {
      if (!(b->active & (1u << v))) continue;
      if (b->fm)
        sum += b->pwm ? op2[v].FMPWMStep(op1[v].Step()) : op2[v].FMStep(op1[v].Step());
      else
        sum += op1[v].Step(), sum += b->pwm ? op2[v].PWMStep() : op2[v].Step();
    }
    acc[s] = sum * 0.5;
  }
  for (int v = 0; v < kBankVoices; ++v)
  {
    b->phase[0][v] = op1[v].mPhase;
    b->phase[1][v] = op2[v].mPhase;
  }
}

const char* VLTBankKernelName(VLTBankKernel kernel)
{
  if (kernel && kernel == VLTBankAVX2()) return "avx2";
  if (kernel && kernel == VLTBankSSE2()) return "sse2";
  return "scalar";
}

VLTBankKernel VLTChooseBankKernel()
{
  static const VLTBankKernel chosen = []
  {
    const char* asked = getenv("VELTRA_RENDER");
    if (asked && !strcmp(asked, "scalar")) return &VLTBankScalar;
    if (asked && !strcmp(asked, "sse2") && VLTBankSSE2()) return VLTBankSSE2();
    if (VLTBankKernel avx2 = VLTBankAVX2(); avx2 && !(asked && !strcmp(asked, "sse2"))) return avx2;
    if (VLTBankKernel sse2 = VLTBankSSE2()) return sse2;
    return &VLTBankScalar;
  }();
  return chosen;
}
