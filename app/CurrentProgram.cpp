#include "CurrentProgram.h"

#include "AudioEngine.h"
#include "Console.h"
#include "IPlugStandalone.h"
#include "Session.h"
#include "Settings.h"

#include <cerrno>
#include <cstring>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
unsigned sLoadsWritten = 0;
std::string sStartName;

std::string CurrentPath()
{
  if (!gINIPath || !gINIPath[0] || UnderSessionManager()) return "";
  const std::string ini = gINIPath;
  return ini.substr(0, ini.rfind('/') + 1) + "current.fxp";
}
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
  const std::string bad = KeepCopyAsBad(path);
  if (!bad.empty()) unlink(path.c_str());
  Say("%s could not be read as a VELTRA program; %sstarting with the default program\n", path.c_str(),
      bad.empty() ? "" : ("kept as " + bad + ", ").c_str());
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

const char* StartProgramName() { return sStartName.c_str(); }
