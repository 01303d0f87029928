// What the panel costs while VELTRA plays: the real instrument's panel drawn
// by the real engine into its off-screen surface, as the frame timer drives
// it. A full redraw; the playing frame (the three meters move at every
// control tick, the keyboard holds a chord and shows a new note); an idle
// tick; and the view's own work per frame, converting the invalidated region
// to the screen's pixel form and painting it. Each at the panel's four sizes
// (100, 125, 150 and 200 %), with the first frame at a size: every image
// made for it, the whole panel drawn. Figures in microseconds a frame and in
// percent of one core at 25 frames a second.

#include "IControl.h"
#include "IGraphicsLinux.h"
#include "IKeyboardControl.h"
#include "PanelPlay.h"
#include "VELTRA.h"
#include "swell-gdi.h"

#include <benchmark/benchmark.h>
#include <chrono>
#include <cstdio>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace
{
std::map<std::string, double> sMicros;    // a frame, by benchmark name
IRECT sPlayingRect;                       // what the playing frame redraws
double sSentPixels = 0, sSentColumns = 0; // what of it changed, a frame

struct Panel
{
  Panel()
  {
    SWELL_InstallGfxBackend();
    plug.reset((VELTRA*)MakePlug(nullptr, nullptr));
    plug->RestorePreset(0);
    gui = MakePlugGUI(plug.get());
    // A chord held from MIDI: the keyboard shows its keys.
    HoldChord(plug.get());
    IRECT all(0, 0, 920, 400);
    gui->Draw(&all);
    // The very first frame at a larger size also reads the twice-size
    // images from their files (once in the process).
    const auto start = std::chrono::steady_clock::now();
    gui->SetPanelSize(150);
    gui->Draw(&all);
    sMicros["first frame at 150 %, images read"] =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count() * 1e6;
    gui->SetPanelSize(100);
    gui->Draw(&all);
  }
  // What the render loop does at control ticks between two frames.
  void MoveMeters() { ::MoveMeters(gui, &phase); }
  // One tick of the frame timer; the rectangle it drew.
  IRECT Tick()
  {
    IRECT r;
    if (gui->IsDirty(&r)) gui->Draw(&r);
    return r;
  }

  std::unique_ptr<VELTRA> plug;
  IGraphics* gui = nullptr;
  double phase = 0.0;
};
Panel& P()
{
  static Panel p;
  return p;
}

// The panel at the benchmark's size (its argument, in percent), drawn whole
// once.
void AtSize(benchmark::State& state)
{
  P().gui->SetPanelSize((int)state.range(0));
  IRECT all(0, 0, 920, 400);
  P().gui->Draw(&all);
}

template<class Body>
void Measure(benchmark::State& state, const char* name, Body&& body)
{
  AtSize(state);
  const auto start = std::chrono::steady_clock::now();
  for (auto _ : state) body();
  const double secs = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  const double us = secs / (double)state.iterations() * 1e6;
  state.counters["us/frame"] = us;
  sMicros[std::string(name) + " at " + std::to_string(state.range(0)) + " %"] = us;
}

void BM_FullPanelRedraw(benchmark::State& state)
{
  IRECT all(0, 0, 920, 400);
  Measure(state, "full redraw", [&] { P().gui->Draw(&all); });
}

// From another size: the images made afresh for this one (the twice-size
// images are read from their files once per process, before), then the
// whole panel.
void BM_FirstFrameAtSize(benchmark::State& state)
{
  AtSize(state);
  const int size = (int)state.range(0);
  IRECT all(0, 0, 920, 400);
  Measure(state, "first frame",
          [&]
          {
            P().gui->SetPanelSize(size == 100 ? 125 : 100);
            P().gui->SetPanelSize(size);
            P().gui->Draw(&all);
          });
}

void BM_PlayingFrame(benchmark::State& state)
{
  Measure(state, "playing frame (meters)",
          []
          {
            P().MoveMeters();
            P().Tick();
          });
}

void BM_NoteFrame(benchmark::State& state)
{
  Measure(state, "note frame (meters, keyboard)",
          []
          {
            P().MoveMeters();
            P().plug->mKeyboard->KeyTableChanged();
            P().Tick();
          });
}

void BM_IdleTick(benchmark::State& state)
{
  // Values that changed stay dirty for two frames.
  P().Tick();
  P().Tick();
  Measure(state, "idle tick",
          []
          {
            IRECT r;
            benchmark::DoNotOptimize(P().gui->IsDirty(&r));
          });
}

// The view: the playing frame's rectangle converted to the screen's form,
// finding the pixels that changed, which alone go to the X server.
void BM_ViewPlayingFrame(benchmark::State& state)
{
  IGraphicsLinux* view = (IGraphicsLinux*)P().gui;
  AtSize(state);
  LICE_ScreenChanges changes;
  IRECT r;
  long sentPixels = 0, rectangles = 0, frames = 0;
  double seconds = 0.0;
  for (auto _ : state)
  {
    state.PauseTiming();
    P().MoveMeters();
    IRECT units;
    P().gui->IsDirty(&units);
    P().gui->Draw(&units);
    r = P().gui->Map().Px(units);
    state.ResumeTiming();
    const auto start = std::chrono::steady_clock::now();
    view->ConvertToScreen(r, &changes);
    seconds += std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    for (size_t c = 0; c < changes.top.size(); ++c)
      if (changes.top[c] < changes.bottom[c])
      {
        sentPixels += (long)LICE_ScreenChanges::kColumn * (changes.bottom[c] - changes.top[c]);
        ++rectangles;
      }
    ++frames;
  }
  const double us = seconds / (double)frames * 1e6;
  state.counters["us/frame"] = us;
  sMicros["view: convert, find changes at " + std::to_string(state.range(0)) + " %"] = us;
  if (state.range(0) != 100) return;
  sPlayingRect = r;
  sSentPixels = frames ? (double)sentPixels / frames : 0;
  sSentColumns = frames ? (double)rectangles / frames : 0;
}
} // namespace

BENCHMARK(BM_FullPanelRedraw)->DenseRange(100, 150, 25)->Arg(200);
BENCHMARK(BM_FirstFrameAtSize)->DenseRange(100, 150, 25)->Arg(200);
BENCHMARK(BM_PlayingFrame)->DenseRange(100, 150, 25)->Arg(200);
BENCHMARK(BM_NoteFrame)->DenseRange(100, 150, 25)->Arg(200);
BENCHMARK(BM_IdleTick)->Arg(100);
BENCHMARK(BM_ViewPlayingFrame)->DenseRange(100, 150, 25)->Arg(200);

int main(int argc, char** argv)
{
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  printf("\nVELTRA's panel, a frame at a time (25 frames a second)\n");
  for (const auto& kv : sMicros)
    printf("  %-32s %9.2f us   %6.3f %% of a core\n", kv.first.c_str(), kv.second, kv.second * 25.0 / 1e6 * 100.0);
  const IRECT& r = sPlayingRect;
  printf("  (at 100 %% the playing frame redraws %d x %d pixels at %d, %d; of these, %.0f a frame in %.1f\n"
         "   columns of %d changed and went to the X server)\n",
         r.W(), r.H(), r.L, r.T, sSentPixels, sSentColumns, LICE_ScreenChanges::kColumn);
  return 0;
}
