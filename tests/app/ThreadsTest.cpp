#include "AppState.h"
#include "AudioEngine.h"
#include "Console.h"
#include "Controllers.h"
#include "IGraphics.h"
#include "IKeyboardControl.h"
#include "MidiEngine.h"
#include "Settings.h"
#include "VELTRA.h"
#include "swell-gdi.h"
#include "threadrole.h"

#include <atomic>
#include <cmath>
#include <gtest/gtest.h>
#include <memory>
#include <thread>
#include <vector>

// The three threads that meet in the instrument, at once: the audio thread
// renders device buffers through the callback and feeds the panel's meters,
// a GUI-like thread moves parameters, plays the on-screen keyboard and draws
// the panel's frames, a MIDI-like thread sends notes and bends through the
// MIDI callback. Under ThreadSanitizer
// (make tsan) this must report nothing; everywhere it must not crash.
TEST(Threads, AudioGuiAndMidiMeetInTheInstrument)
{
  SWELL_InstallGfxBackend(); // the panel's text, as in the application
  AppState state;
  gState = &state;
  std::unique_ptr<VELTRA> plug((VELTRA*)MakePlug(nullptr, &state.mMidiOutChan));
  plug->RestorePreset(0);
  plug->SetBlockSize(32);
  plug->Reset();
  IGraphics* gui = MakePlugGUI(plug.get());
  const IRECT keys = static_cast<IKeyboardControl*>(plug->mKeyboard)->GetRECT();
  gPluginInstance = plug.get();
  LoadControllers(); // the defaults: CC 74 moves Filter Cutoff
  gSigVS = 32;
  gBufIndex = 0;
  gVecElapsed = 51;

  std::atomic<bool> stop{false}, stopMidi{false};
  std::atomic<long> blocks{0}, broken{0};
  std::thread audio(
      [&]
      {
        std::vector<double> in(1024, 0.0), out(1024);
        while (!stop)
        {
          AudioCallback(out.data(), in.data(), 512, 0.0, 0, nullptr);
          blocks += 16;
          for (double v : out) broken += !std::isfinite(v);
        }
      });
  std::thread midi(
      [&]
      {
        for (int i = 0; !stopMidi; ++i)
        {
          std::vector<unsigned char> on = {(unsigned char)(0x90 | (i & 1)), (unsigned char)(40 + i % 40), 100};
          std::vector<unsigned char> off = {0x80, (unsigned char)(40 + (i + 20) % 40), 0};
          std::vector<unsigned char> bend = {0xE0, 0, (unsigned char)(i % 128)};
          std::vector<unsigned char> pedal = {0xB0, 64, (unsigned char)(i % 7 ? 127 : 0)};
          std::vector<unsigned char> cutoff = {0xB1, 74, (unsigned char)(i % 128)};
          for (auto* m : {&on, &off, &bend, &pedal, &cutoff}) MIDICallback(0.0, m, nullptr);
          std::this_thread::yield();
        }
      });
  for (int i = 0; i < 4000 || blocks < 20000; ++i) // the GUI thread, until the others have run too
  {
    plug->SetParameterFromGUI(i % kNumParams, (i % 101) / 100.0);
    IMouseMod left(true);
    if (i % 3)
      gui->OnMouseDown(keys.L + (i * 7) % keys.W(), keys.T + (i * 13) % keys.H(), &left);
    else
      gui->OnMouseUp(keys.L, keys.T, &left);
    IRECT dirty;
    gui->OnGUIIdle(); // the display names what moved, and controls follow the controllers
    ControllersIdle();
    if (gui->IsDirty(&dirty)) gui->Draw(&dirty);
    // The preferences dialog's Cancel puts a copy of the settings back while
    // the audio and MIDI threads read them.
    AppState copy = state;
    copy.mMidiInChan = (unsigned short)(i % 3);
    copy.mAudioInIsMono = (unsigned short)(i & 1);
    state = copy;
    plug->GetNumKeys();
    plug->GetKeyStatus(i % 128);
    if (i % 100 == 0) std::this_thread::yield();
  }
  stopMidi = true;
  midi.join();
  // Every note the MIDI thread and the mouse left held is let go: the key
  // table, written by two threads and read by a third, ends empty.
  IMouseMod left(true);
  gui->OnMouseUp(keys.L, keys.T, &left);
  state.mMidiInChan = 0;
  std::vector<unsigned char> up = {0xB0, 64, 0}; // the pedal lets its notes go
  MIDICallback(0.0, &up, nullptr);
  for (int note = 0; note < 128; ++note)
  {
    std::vector<unsigned char> off = {0x80, (unsigned char)note, 0}, off2 = {0x81, (unsigned char)note, 0};
    MIDICallback(0.0, &off, nullptr);
    MIDICallback(0.0, &off2, nullptr);
  }
  const long settled = blocks + 64;
  while (blocks < settled) std::this_thread::yield();
  stop = true;
  audio.join();
  gPluginInstance = nullptr;
  gState = nullptr;
  EXPECT_EQ(broken.load(), 0) << "samples that are not finite";
  for (int note = 0; note < 128; ++note) EXPECT_FALSE(plug->GetKeyStatus(note)) << "note " << note << " left held";
}

// What runs only on the main thread says so, and a debug build holds it to
// that: the settings' writer called from any other thread ends the program
// with the function's name, before it touches anything.
TEST(ThreadsDeathTest, AMainThreadFunctionRunElsewhereStopsTheProgram)
{
#ifdef NDEBUG
  GTEST_SKIP() << "release builds drop the check";
#endif
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(
      {
        WDL_TakeMainThreadRole();
        std::thread elsewhere([] { UpdateINI(); });
        elsewhere.join();
      },
      "UpdateINI must run on the main thread");
  WDL_TakeMainThreadRole();
  UpdateINI(); // on the main thread: no settings file, nothing written, no stop
}
