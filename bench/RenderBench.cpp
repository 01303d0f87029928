// The instrument's render loop with everything on: eight held notes, FM with
// pulse-width modulation, smoothing, crusher, filter with LFO and AR depth,
// chorus and reverb, in blocks of 32 frames at 44100 Hz.

#include "VELTRA.h"

#include <benchmark/benchmark.h>
#include <memory>
#include <vector>

static void BM_RenderAllStages(benchmark::State& state)
{
  const int block = 32;
  std::unique_ptr<VELTRA> plug((VELTRA*)MakePlug(nullptr, nullptr));
  plug->RestorePreset(0);
  plug->SetBlockSize(block);
  plug->SetSampleRate(44100.0);
  plug->Reset();
  const struct
  {
    int param;
    double value;
  } settings[] = {{kSynthMode, 1.0},       {kPWMOn, 1.0},       {kPWMDepth, 0.7},           {kPWMRate, 200.0},
                  {kSmoothingOn, 1.0},     {kCrusherMix, 0.3},  {kCrusherDestruction, 0.5}, {kFilterCutoff, 0.4},
                  {kFilterResonance, 0.9}, {kLFODepth, 0.5},    {kLFORate, 0.005},          {kARDepth, 0.4},
                  {kChorusDepth, 0.4},     {kReverbDepth, 0.5}, {kReverbLength, 0.9},       {kOP1Waveform, 2},
                  {kOP2Waveform, 4}};
  for (const auto& s : settings)
  {
    plug->GetParam(s.param)->Set(s.value);
    plug->OnParamChange(s.param);
  }
  for (int k = 0; k < 8; ++k)
  {
    IMidiMsg on(0, 0x90, (uint8_t)(48 + 3 * k), 100);
    plug->ProcessMidiMsg(&on);
  }
  std::vector<double> l(block), r(block);
  double* outs[2] = {l.data(), r.data()};
  for (auto _ : state)
  {
    plug->LockMutexAndProcessDoubleReplacing(nullptr, outs, block);
    benchmark::DoNotOptimize(l.data());
  }
  const double seconds = (double)state.iterations() * block / 44100.0;
  state.counters["rt_factor"] = benchmark::Counter(seconds, benchmark::Counter::kIsRate);
}
BENCHMARK(BM_RenderAllStages)->MinTime(2.0);

BENCHMARK_MAIN();
