#include "App.h"

#include "AppState.h"
#include "AudioEngine.h"
#include "VELTRA.h"

#include <glib.h>

namespace
{
guint sStatusTimer = 0;

gboolean OnStatusTimer(gpointer)
{
  ReportStreamStatus();
  return G_SOURCE_CONTINUE;
}

void Load()
{
  gState = new AppState;
  gTempState = new AppState;
  gActiveState = new AppState;
}
} // namespace

void Init()
{
  TryToChangeAudioDriverType();
  ProbeAudioIO();
  gPluginInstance = (IPlugStandalone*)MakePlug(nullptr, &gState->mMidiOutChan);
  gPluginInstance->RestorePreset(0); // every parameter in force before the stream starts
  TryToChangeAudio();                // without a device the application runs silent
  sStatusTimer = g_timeout_add(100, OnStatusTimer, nullptr);
}

void Cleanup()
{
  if (sStatusTimer)
  {
    g_source_remove(sStatusTimer);
    sStatusTimer = 0;
  }
  StopAudio();
  CloseAudio();
  ReportStreamStatus();

  delete gPluginInstance;
  gPluginInstance = nullptr;

  delete gState;
  delete gTempState;
  delete gActiveState;
  gState = gTempState = gActiveState = nullptr;

  DeleteAudioDriver();
}

INT_PTR SWELLAppMain(int msg, INT_PTR parm1, INT_PTR parm2)
{
  (void)parm1;
  (void)parm2;
  switch (msg)
  {
  case APPMSG_LOAD:
    Load();
    return 0;
  case APPMSG_LAUNCHED:
    Init();
    return 0;
  case APPMSG_TERMINATING:
    Cleanup();
    return 0;
  default:
    return 0;
  }
}
