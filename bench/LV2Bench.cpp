// The LV2 plug-in's cost beside the renderer's: one second of an eight-note
// chord with every stage on, in host blocks of 64 and 512 frames, through a
// real host library, against the instrument run as veltra-render runs it
// (the same blocks, its own gain and conversion to float). Both figures are
// CPU time per second of audio; the plug-in should cost at most 5 % more.

#include "IPlugLV2Ports.h"
#include "IRateAdapter.h"
#include "Lv2Host.h"
#include "VELTRA.h"

#include <benchmark/benchmark.h>
#include <cstdlib>
#include <memory>
#include <vector>

namespace
{
const std::pair<const char*, double> kSettings[] = {
    {"synth_mode", 1.0},       {"pwm_on_off", 1.0},   {"pwm_depth", 0.7},           {"pwm_rate", 200.0},
    {"smoothing_on_off", 1.0}, {"crusher_mix", 0.3},  {"crusher_destruction", 0.5}, {"filter_cutoff", 0.4},
    {"filter_resonance", 0.9}, {"lfo_depth", 0.5},    {"lfo_rate", 0.005},          {"ar_env_depth", 0.4},
    {"chorus_depth", 0.4},     {"reverb_depth", 0.5}, {"reverb_length", 0.9},       {"op1_waveform", 2},
    {"op2_waveform", 4}};

std::vector<MidiAt> Chord(long long at)
{
  std::vector<MidiAt> notes;
  for (int k = 0; k < 8; ++k) notes.push_back({at, {0x90, (uint8_t)(48 + 3 * k), 100}, 3});
  return notes;
}

// Host blocks of range(0) frames at range(1) Hz: at 48 kHz the instrument
// plays at 44.1 kHz and its output is converted, which costs the converter
// and saves the instrument's 8 % fewer samples.
void BM_Plugin(benchmark::State& state)
{
  const int block = (int)state.range(0);
  const double rate = state.range(1) ? (double)state.range(1) : 44100.0;
  static Lv2Host* host = nullptr;
  if (!host)
  {
    if (!getenv("LV2_PATH")) setenv("LV2_PATH", VELTRA_LV2_DIR, 1);
    host = new Lv2Host(kVeltraLV2URI);
  }
  std::unique_ptr<Lv2Host::Instance> in = host->Instantiate(rate, 8192);
  for (const auto& s : kSettings) in->SetControl(s.first, (float)s.second);
  in->RunOnce((uint32_t)block, Chord(0), 0);
  const std::vector<MidiAt> none;
  for (auto _ : state) in->RunOnce((uint32_t)block, none, 0);
  state.counters["rt_factor"] =
      benchmark::Counter((double)state.iterations() * block / rate, benchmark::Counter::kIsRate);
}
BENCHMARK(BM_Plugin)->Args({64, 44100})->Args({512, 44100})->Args({64, 48000})->Args({512, 48000})->MinTime(2.0);

// The converter alone, 44.1 to 48 kHz: one second of stereo in blocks of 512.
void BM_Converter(benchmark::State& state)
{
  IRateAdapter converter;
  converter.Setup(48000.0);
  struct Discard : IRateAdapter::IOutput
  {
    void Write(int, const float*, int) override {}
  } out;
  std::vector<double> l(1024, 0.1), r(1024, -0.1);
  for (auto _ : state)
    for (int done = 0; done < 48000; done += 512)
    {
      const int n = converter.Begin(512);
      converter.Push(l.data(), r.data(), n, 0.25, &out);
      converter.End(&out);
    }
  state.counters["rt_factor"] = benchmark::Counter((double)state.iterations(), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_Converter)->MinTime(2.0);

void BM_Renderer(benchmark::State& state)
{
  const int block = (int)state.range(0);
  std::unique_ptr<VELTRA> plug((VELTRA*)MakePlug(nullptr, nullptr));
  plug->RestorePreset(0);
  plug->SetBlockSize(block);
  plug->SetSampleRate(44100.0);
  plug->Reset();
  for (int i = 0; i < kNumParams; ++i)
    for (const auto& s : kSettings)
      if (LV2PortSymbol(plug->GetParam(i)->GetNameForHost()) == s.first)
      {
        plug->GetParam(i)->Set(s.second);
        plug->OnParamChange(i);
      }
  for (const MidiAt& m : Chord(0))
  {
    IMidiMsg on(0, m.mBytes[0], m.mBytes[1], m.mBytes[2]);
    plug->ProcessMidiMsg(&on);
  }
  std::vector<double> l((size_t)block), r((size_t)block);
  std::vector<float> frames(2 * (size_t)block);
  double* outs[2] = {l.data(), r.data()};
  for (auto _ : state)
  {
    plug->LockMutexAndProcessDoubleReplacing(nullptr, outs, block);
    for (int i = 0; i < block; ++i)
    {
      frames[2 * (size_t)i] = (float)(l[(size_t)i] * kStandaloneOutputGain);
      frames[2 * (size_t)i + 1] = (float)(r[(size_t)i] * kStandaloneOutputGain);
    }
    benchmark::DoNotOptimize(frames.data());
  }
  state.counters["rt_factor"] =
      benchmark::Counter((double)state.iterations() * block / 44100.0, benchmark::Counter::kIsRate);
}
BENCHMARK(BM_Renderer)->Arg(64)->Arg(512)->MinTime(2.0);
} // namespace

BENCHMARK_MAIN();
