#include "App.h"

#include "AppState.h"
#include "AudioEngine.h"
#include "Console.h"
#include "Controllers.h"
#include "CurrentProgram.h"
#include "Engines.h"
#include "MainWindow.h"
#include "MidiEngine.h"
#include "Options.h"
#include "Session.h"
#include "Settings.h"
#include "VELTRA.h"

#include "threadrole.h"

#include <glib.h>
#include <thread>

HWND gHWND = nullptr;

namespace
{
guint sStatusTimer = 0;

gboolean OnStatusTimer(gpointer)
{
  ReportStreamStatus();
  ReportMidiStatus();
  ControllersIdle();
  SaveCurrentProgram(false);
  return G_SOURCE_CONTINUE;
}

int Load()
{
  WDL_TakeMainThreadRole();
  gState = new AppState;
  gTempState = new AppState;
  gActiveState = new AppState;
  JoinSession(); // under a session manager, its folder holds the settings
  const bool loaded = LoadSettings();
  LoadOptions();
  // The panel's images (at the size it will show at) decode meanwhile,
  // while the sound's start waits on its servers.
  if (SWELL_HasDisplay()) DecodePanelImagesAhead(StartPanelSize() != 100);
  return loaded;
}
} // namespace

void Init()
{
  OpenEngines(true);
  gPluginInstance = (IPlugStandalone*)MakePlug(gMidiOut, &gState->mMidiOutChan);
  gPluginInstance->RestorePreset(0); // every parameter in force before the stream starts
  LoadSessionProgram();
  LoadCurrentProgram();
  LoadControllers();
  StartEngines(true);
  sStatusTimer = g_timeout_add(100, OnStatusTimer, nullptr);
}

void Cleanup()
{
  SaveCurrentProgram(true); // before the session goes: under one, the session's program rules
  LeaveSession();
  if (sStatusTimer)
  {
    g_source_remove(sStatusTimer);
    sStatusTimer = 0;
  }
  // The engines stop before the instrument goes; the instrument goes before
  // the settings it points into and the MIDI output it holds.
  StopEngines();
  ReportStreamStatus();

  delete gPluginInstance;
  gPluginInstance = nullptr;

  delete gState;
  delete gTempState;
  delete gActiveState;
  gState = gTempState = gActiveState = nullptr;

  CloseEngines();
  FreeSettingsPath();
  // The last lines out, unless nobody reads them.
  FlushConsole(1.0);
}

INT_PTR SWELLAppMain(int msg, INT_PTR parm1, INT_PTR)
{
  switch (msg)
  {
  case APPMSG_LOAD:
    return Load();
  case APPMSG_LAUNCHED:
    if (SWELL_HasDisplay())
    {
      // The engines' start spends most of its time waiting on the sound
      // server. Meanwhile the main thread has GTK ready its theme and fonts
      // for the window. Init runs its steps in their order all the same, and
      // the window opens only once it has ended, the stream running.
      std::thread engines(
          []
          {
            WDL_TakeMainThreadRole();
            Init();
          });
      SWELL_PrepareFirstWindow();
      engines.join();
      WDL_TakeMainThreadRole();
    }
    else
      Init();
    LaunchMainWindow();
    SessionLaunched();
    return 0;
  case APPMSG_TERMINATING:
    if (gHWND) DestroyWindow(gHWND);
    gHWND = nullptr;
    Cleanup();
    return 0;
  case APPMSG_SYS_MENU_COMMAND:
    if (gHWND && parm1) SendMessage(gHWND, WM_COMMAND, parm1, 0);
    return 0;
  // The quit goes on; files, new documents, keys and activation are not
  // handled.
  case APPMSG_SHOULD_TERMINATE:
  case APPMSG_OPEN_FILE:
  case APPMSG_OPEN_UNTITLED:
  case APPMSG_SHOULD_OPEN_UNTITLED:
  case APPMSG_KEY_EVENT:
  case APPMSG_ACTIVATE:
  default:
    return 0;
  }
}
