#include "Engines.h"

#include "AppState.h"
#include "AudioEngine.h"
#include "MidiEngine.h"
#include "threadrole.h"

#include <cstring>

void OpenEngines(bool newDriver)
{
  WDL_ASSERT_MAIN_THREAD();
  // A driver without a running stream is made anew: under "Default" it asks
  // the servers again, and one whose JACK server went away is never called
  // again.
  if (newDriver || !gDAC || !StreamRunning())
  {
    TryToChangeAudioDriverType();
    ProbeAudioIO();
  }
  OpenMidi();
}

void StartEngines(bool restartStream)
{
  WDL_ASSERT_MAIN_THREAD();
  ChooseMidiInput(gState->mMidiInDev);
  ChooseMidiOutput(gState->mMidiOutDev);
  // Without a device the application runs silent, and says so.
  if (restartStream || !StreamRunning() || memcmp(gState, gActiveState, sizeof(AppState))) RestartAudio();
  ReportMidiPortsIfNew();
}

void StopEngines()
{
  WDL_ASSERT_MAIN_THREAD();
  // Audio stops and MIDI input is cut before anything closes; each step is
  // safe when its part never started.
  StopAudio();
  StopMidi();
  CloseAudio();
}

void CloseEngines()
{
  WDL_ASSERT_MAIN_THREAD();
  DeleteMidi();
  DeleteAudioDriver();
}
