// The audio callback with the instrument behind it: one 512-frame device
// buffer cut into 32-frame blocks, as the sound device runs it.

#include "AppState.h"
#include "AudioEngine.h"
#include "VELTRA.h"

#include <benchmark/benchmark.h>
#include <vector>

static void BM_AudioCallback(benchmark::State& state)
{
  const unsigned int frames = 512;
  gState = new AppState;
  VELTRA* plug = (VELTRA*)MakePlug(nullptr, nullptr);
  plug->RestorePreset(0);
  for (int i = 0; i < kNumOscillators; ++i)
  {
    plug->mOsc[i].mIncrement = 600.0 + 37.0 * i;
    plug->mOsc[i].mLevel = 0.1;
  }
  gPluginInstance = plug;
  gSigVS = 32;
  gVecElapsed = 51; // past the start-up silence
  std::vector<double> in(2 * frames, 0.0), out(2 * frames);
  for (auto _ : state)
  {
    AudioCallback(out.data(), in.data(), frames, 0.0, 0, nullptr);
    benchmark::DoNotOptimize(out.data());
  }
  const double seconds = (double)state.iterations() * frames / 44100.0;
  state.counters["rt_factor"] = benchmark::Counter(seconds, benchmark::Counter::kIsRate);
  gPluginInstance = nullptr;
  delete plug;
  delete gState;
  gState = nullptr;
}
BENCHMARK(BM_AudioCallback);

BENCHMARK_MAIN();
