// The render loop's stages on their own, over spans of 44 samples (a
// control tick's worth): the oscillators of eight sounding voices in FM with
// pulse-width modulation through each kernel (the scalar one steps them as
// the voices' own objects do), then each stage of the chain after them, each
// beside its plain one-sample-at-a-time form where the two differ.

#include "VLTChain.h"
#include "VLTOscillatorBank.h"
#include "VLTWaveTables.h"

#include <benchmark/benchmark.h>
#include <cmath>
#include <memory>
#include <vector>

namespace
{
const int kSpan = 44;

std::vector<double> Input()
{
  std::vector<double> v(kSpan);
  for (int i = 0; i < kSpan; ++i) v[(size_t)i] = 0.4 * std::sin(0.3 * i);
  return v;
}

void Report(benchmark::State& state)
{
  state.counters["rt_factor"] =
      benchmark::Counter((double)state.iterations() * kSpan / 44100.0, benchmark::Counter::kIsRate);
}

void BM_Oscillators(benchmark::State& state)
{
  const VLTBankKernel kernels[] = {&VLTBankScalar, VLTBankSSE2(), VLTBankAVX2()};
  const VLTBankKernel kernel = kernels[state.range(0)];
  if (!kernel)
  {
    state.SkipWithError("this processor or build lacks the kernel");
    return;
  }
  state.SetLabel(VLTBankKernelName(kernel));
  VLTOscillator osc[16];
  for (int n = 0; n < 16; ++n)
  {
    osc[n].mWave = n % 2 ? vlt_saw : vlt_sine;
    osc[n].mIncrement = 300.0 + 37.0 * n;
    osc[n].mLevel = osc[n].mEnvelope = 0.5;
    osc[n].mGate = true;
    osc[n].mPulseWidth = 20000.0;
  }
  VLTOscillatorBank bank;
  double acc[kBankMaxSpan];
  for (auto _ : state)
  {
    bank.Load(osc, true, true);
    kernel(&bank, kSpan, acc);
    bank.Store(osc);
    benchmark::DoNotOptimize(acc);
  }
  Report(state);
}
BENCHMARK(BM_Oscillators)->DenseRange(0, 2);

void BM_SmoothingAndCrusher(benchmark::State& state)
{
  const std::vector<double> in = Input();
  double sample = 0.0, out[kSpan];
  for (auto _ : state)
  {
    for (int i = 0; i < kSpan; ++i)
    {
      sample += (in[(size_t)i] - sample) * 0.1;
      out[i] = sample = VLTCrushStep(sample, 0.5, 0.3);
    }
    benchmark::DoNotOptimize(out);
  }
  Report(state);
}
BENCHMARK(BM_SmoothingAndCrusher);

void BM_Filter(benchmark::State& state)
{
  const std::vector<double> in = Input();
  double velocity = 0.0, position = 0.0, out[kSpan];
  for (auto _ : state)
  {
    for (int i = 0; i < kSpan; ++i) out[i] = VLTFilterStep(in[(size_t)i], 0.4, 0.9, velocity, position);
    benchmark::DoNotOptimize(out);
  }
  Report(state);
}
BENCHMARK(BM_Filter);

void BM_Chorus(benchmark::State& state)
{
  const std::vector<double> in = Input();
  auto l = std::make_unique<VLTChorus>(), r = std::make_unique<VLTChorus>();
  l->mDepth = r->mDepth = 0.4;
  double out[2 * kSpan];
  for (auto _ : state)
  {
    VLTChorus::Run a = l->Begin(), b = r->Begin();
    for (int i = 0; i < kSpan; ++i) out[2 * i] = a.feed(in[(size_t)i]), out[2 * i + 1] = b.feed(in[(size_t)i]);
    l->End(a), r->End(b);
    benchmark::DoNotOptimize(out);
  }
  Report(state);
}
BENCHMARK(BM_Chorus);

// Arg 0: each side a sample at a time; 1: both sides paired over the span.
void BM_Reverb(benchmark::State& state)
{
  const std::vector<double> in = Input();
  auto l = std::make_unique<VLTReverb>(), r = std::make_unique<VLTReverb>();
  l->mMix = r->mMix = 0.5;
  double out[2 * kSpan];
  for (auto _ : state)
  {
    if (state.range(0))
    {
      VLTReverb::PairRun pair = VLTReverb::BeginPair(*l, *r);
      for (int i = 0; i < kSpan; ++i)
      {
        const VLTReverb::V2 o = pair.feed(VLTReverb::V2{in[(size_t)i], -in[(size_t)i]});
        out[2 * i] = o[0], out[2 * i + 1] = o[1];
      }
      VLTReverb::EndPair(*l, *r, pair);
    }
    else
      for (int i = 0; i < kSpan; ++i) out[2 * i] = l->feed(in[(size_t)i]), out[2 * i + 1] = r->feed(-in[(size_t)i]);
    benchmark::DoNotOptimize(out);
  }
  Report(state);
}
BENCHMARK(BM_Reverb)->Arg(0)->Arg(1);

// The master volume and the conversion to the float frames a host or the
// renderer takes.
void BM_Output(benchmark::State& state)
{
  const std::vector<double> in = Input();
  float frames[2 * kSpan];
  for (auto _ : state)
  {
    for (int i = 0; i < kSpan; ++i)
    {
      frames[2 * i] = (float)(in[(size_t)i] * 0.8 * 0.25);
      frames[2 * i + 1] = (float)(-in[(size_t)i] * 0.8 * 0.25);
    }
    benchmark::DoNotOptimize(frames);
  }
  Report(state);
}
BENCHMARK(BM_Output);
} // namespace
