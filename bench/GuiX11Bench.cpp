// The plug-in's Xlib view at work while VELTRA plays: the real panel in a real
// window on an X server (a private Xvfb when no display is set), each frame
// drawn by the engine and put on the window by the view (the changed columns,
// through MIT-SHM when the server offers it, waiting for the server to have
// read the frame before). Beside bench_gui's figures for the GTK view: its
// engine-only frame is the same drawing without putting anything on screen.
// The CPU column is the cost of a frame to the host's process. Each at the
// panel's four sizes (the argument, in percent).

#include "IControl.h"
#include "IGraphicsX11.h"
#include "IKeyboardControl.h"
#include "PanelPlay.h"
#include "VELTRA.h"
#include "lice_freetype.h"

#include <benchmark/benchmark.h>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <unistd.h>

namespace
{
IGraphicsX11* MakeView(IPlugBase* plug)
{
  IGraphicsX11* view = new IGraphicsX11(plug, kPanelWidth, kPanelHeight, 0);
  // The panel's images lie beside the benchmark, as beside the programs.
  char exe[4096];
  const ssize_t n = readlink("/proc/self/exe", exe, sizeof(exe) - 1);
  std::string dir = n > 0 ? std::string(exe, (size_t)n) : std::string(".");
  view->SetResourceRoot(dir.substr(0, dir.rfind('/')).c_str());
  return view;
}
} // namespace

namespace
{
struct Panel
{
  Panel()
  {
    LICE_InstallFreeTypeBackend();
    plug.reset((VELTRA*)MakePlug(nullptr, nullptr));
    plug->RestorePreset(0);
    view = MakeView(plug.get());
    plug->AttachPanel(view);
    HoldChord(plug.get());
    open = view->OpenWindow(nullptr) != nullptr;
    if (!open) return;
    view->ShowWindow(true);
    for (int i = 0; i < 20; ++i)
    {
      view->Idle();
      usleep(10000);
    }
  }
  void MoveMeters() { ::MoveMeters(view, &phase); }
  void Tick()
  {
    IRECT r;
    if (view->IsDirty(&r))
    {
      IRECT wide(r.L, r.T, r.R + 1, r.B + 1);
      view->Draw(&wide);
    }
  }
  std::unique_ptr<VELTRA> plug;
  IGraphicsX11* view = nullptr;
  bool open = false;
  double phase = 0.0;
};
Panel& P()
{
  static Panel p;
  return p;
}

// Frames of the playing panel; with a new note, the keyboard redrawn too.
void PlayFrames(benchmark::State& state, bool newNote)
{
  if (!P().open)
  {
    state.SkipWithError("no X display");
    return;
  }
  P().view->SetPanelSize((int)state.range(0));
  for (int i = 0; i < 5; ++i)
  {
    P().view->Idle();
    usleep(10000);
  }
  for (auto _ : state)
  {
    P().MoveMeters();
    if (newNote) P().plug->mKeyboard->KeyTableChanged();
    P().Tick();
  }
}

void BM_XlibPlayingFrameOnScreen(benchmark::State& state) { PlayFrames(state, false); }

void BM_XlibNoteFrameOnScreen(benchmark::State& state) { PlayFrames(state, true); }
} // namespace

BENCHMARK(BM_XlibPlayingFrameOnScreen)->DenseRange(100, 150, 25)->Arg(200);
BENCHMARK(BM_XlibNoteFrameOnScreen)->DenseRange(100, 150, 25)->Arg(200);

int main(int argc, char** argv)
{
  // Without a display, a private X server for the run.
  pid_t xvfb = -1;
  if (!getenv("DISPLAY"))
  {
    const std::string display = ":" + std::to_string(180 + getpid() % 60);
    xvfb = fork();
    if (xvfb == 0)
    {
      execlp("Xvfb", "Xvfb", display.c_str(), "-screen", "0", "1920x1200x24", "-nolisten", "tcp", (char*)nullptr);
      _exit(127);
    }
    setenv("DISPLAY", display.c_str(), 1);
    sleep(1);
  }
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  if (P().view) P().view->CloseWindow();
  if (xvfb > 0) kill(xvfb, SIGTERM);
  return 0;
}
