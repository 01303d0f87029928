#include "CurrentProgram.h"

#include "AudioEngine.h"
#include "Console.h"
#include "IPlugStandalone.h"
#include "PresetFunctionsMenu.h"
#include "Session.h"
#include "Settings.h"
#include "VELTRA.h"
#include "VELTRAPrograms.h"
#include "sharedword.h"

#include <glib.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <sys/stat.h>
#include <vector>

namespace
{
unsigned sLoadsWritten = 0;
WDL_SharedWord<int> sBank = -1;
// The newest program change not yet taken: bank + 1 in the high bits, the
// program in the low seven; -1 for none.
WDL_SharedWord<int> sRequest = -1;
WDL_SharedWord<bool> sScheduled = false;

gboolean TakeProgramChange(gpointer)
{
  sScheduled.Set(false);
  const int request = sRequest.Exchange(-1);
  if (request < 0 || !gPluginInstance) return G_SOURCE_REMOVE;
  const std::vector<VELTRAProgramEntry> list =
      ListVeltraPrograms(VeltraFactoryProgramFolder(), VeltraUserProgramFolder());
  const int i = VeltraProgramForChange(list, (request >> 7) - 1, request & 0x7F);
  if (i < 0) return G_SOURCE_REMOVE;
  // Through the panel's menu where there is one, so that its display and
  // tick follow; the file is read before the instrument's lock is taken.
  WDL_String path(list[(size_t)i].mPath.c_str());
  PresetFunctionsMenu* menu = static_cast<VELTRA*>(gPluginInstance)->ProgramMenu();
  if (menu ? !menu->LoadFile(path, false, true) : !LoadProgramFileInOneStep(gPluginInstance, path.Get()))
    Say("%s could not be loaded for a program change\n", path.Get());
  return G_SOURCE_REMOVE;
}
std::string sStartName;

std::string CurrentPath() { return UnderSessionManager() ? "" : SettingsFolderFile("current.fxp"); }
} // namespace

void LoadCurrentProgram()
{
  const std::string path = CurrentPath();
  struct stat st;
  if (!gPluginInstance || path.empty() || stat(path.c_str(), &st)) return;
  ByteChunk defaults;
  gPluginInstance->MakeProgramFXP(&defaults, gPluginInstance->GetPresetName(gPluginInstance->GetCurrentPresetIdx()));
  WDL_String file(path.c_str());
  if (gPluginInstance->LoadProgramFromFXP(&file))
  {
    sStartName = std::string(gPluginInstance->GetPresetName(gPluginInstance->GetCurrentPresetIdx())) + ".fxp";
    sLoadsWritten = gPluginInstance->ProgramLoads();
    return;
  }
  gPluginInstance->LoadProgramFromChunk(&defaults); // undoes a partial load
  sLoadsWritten = gPluginInstance->ProgramLoads();
  SetAsideBadProgram(path);
}

void SaveCurrentProgram(bool force)
{
  if (!gPluginInstance) return;
  const unsigned loads = gPluginInstance->ProgramLoads();
  if (!force && loads == sLoadsWritten) return;
  sLoadsWritten = loads;
  WDL_String file(CurrentPath().c_str());
  if (file.GetLength() && !gPluginInstance->SaveProgramAsFXP(&file))
    Say("could not write %s: %s\n", file.Get(), strerror(errno));
}

void PostBankSelect(int bank) { sBank.Set(bank & 0x7F); }

void PostProgramChange(int program)
{
  sRequest.Set((sBank.Get() + 1) << 7 | (program & 0x7F));
  if (!sScheduled.Exchange(true)) g_idle_add(TakeProgramChange, nullptr);
}

const char* StartProgramName() { return sStartName.c_str(); }
