#include "AppState.h"
#include "AudioEngine.h"
#include "IGraphics.h"
#include "IKeyboardControl.h"
#include "MidiEngine.h"
#include "VELTRA.h"
#include "swell-gdi.h"

#include <atomic>
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
  gSigVS = 32;
  gBufIndex = 0;
  gVecElapsed = 51;

  std::atomic<bool> stop{false};
  std::atomic<long> blocks{0};
  std::thread audio(
      [&]
      {
        std::vector<double> in(1024, 0.0), out(1024);
        while (!stop) AudioCallback(out.data(), in.data(), 512, 0.0, 0, nullptr), blocks += 16;
      });
  std::thread midi(
      [&]
      {
        for (int i = 0; !stop; ++i)
        {
          std::vector<unsigned char> on = {(unsigned char)(0x90 | (i & 1)), (unsigned char)(40 + i % 40), 100};
          std::vector<unsigned char> off = {0x80, (unsigned char)(40 + (i + 20) % 40), 0};
          std::vector<unsigned char> bend = {0xE0, 0, (unsigned char)(i % 128)};
          MIDICallback(0.0, &on, nullptr);
          MIDICallback(0.0, &off, nullptr);
          MIDICallback(0.0, &bend, nullptr);
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
    if (gui->IsDirty(&dirty)) gui->Draw(&dirty);
    __atomic_store_n(&state.mMidiInChan, (unsigned short)(i % 3), __ATOMIC_RELAXED);
    __atomic_store_n(&state.mAudioInIsMono, (unsigned short)(i & 1), __ATOMIC_RELAXED);
    plug->GetNumKeys();
    plug->GetKeyStatus(i % 128);
    if (i % 100 == 0) std::this_thread::yield();
  }
  stop = true;
  audio.join();
  midi.join();
  gPluginInstance = nullptr;
  gState = nullptr;
  EXPECT_GT(blocks.load(), 0);
}
