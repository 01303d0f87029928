#include "Hosts.h"

#include <cctype>
#include <cstdio>
#include <cstring>

namespace
{
// In the order in which they are looked for.
const struct
{
  const char* keyword;
  EHost host;
} kHostKeywords[] = {{"cubase", kHostCubase},
                     {"reaper", kHostReaper},
                     {"nuendo", kHostNuendo},
                     {"cakewalk", kHostSonar},
                     {"samplitude", kHostSamplitude},
                     {"fruity", kHostFL},
                     {"live", kHostAbletonLive},
                     {"melodyne", kHostMelodyneStudio},
                     {"vstmanlib", kHostVSTScanner},
                     {"aulab", kHostAULab},
                     {"garageband", kHostGarageBand},
                     {"forte", kHostForte},
                     {"chainer", kHostChainer},
                     {"audition", kHostAudition},
                     {"orion", kHostOrion},
                     {"sawstudio", kHostSAWStudio},
                     {"logic", kHostLogic},
                     {"digital", kHostDigitalPerformer},
                     {"audiomulch", kHostAudioMulch},
                     {"presonus", kHostStudioOne},
                     {"vst3plugintesthost", kHostVST3TestHost},
                     {"protools", kHostProTools},
                     {"ardour", kHostArdour},
                     {"openmpt", kHostOpenMPT},
                     {"renoise", kHostRenoise},
                     {"standalone", kHostStandalone}};
} // namespace

void ToLower(char* cDest, const char* cSrc)
{
  for (; *cSrc; ++cSrc, ++cDest) *cDest = (char)tolower((unsigned char)*cSrc);
  *cDest = 0;
}

EHost LookUpHost(const char* host)
{
  char lower[256];
  snprintf(lower, sizeof(lower), "%s", host ? host : ""); // names beyond 255 characters are cut
  ToLower(lower, lower);
  for (const auto& k : kHostKeywords)
    if (strstr(lower, k.keyword)) return k.host;
  return kHostUnknown;
}

void GetHostNameStr(EHost host, char* rHostName)
{
  const char* name = "Unknown";
  switch (host)
  {
  case kHostReaper:
    name = "Reaper";
    break;
  case kHostProTools:
    name = "ProTools";
    break;
  case kHostCubase:
    name = "Cubase";
    break;
  case kHostNuendo:
    name = "Nuendo";
    break;
  case kHostSonar:
    name = "Sonar";
    break;
  case kHostVegas:
    name = "Vegas";
    break;
  case kHostFL:
    name = "FLStudio";
    break;
  case kHostSamplitude:
    name = "Samplitude";
    break;
  case kHostAbletonLive:
    name = "Live";
    break;
  case kHostVSTScanner:
    name = "VSTScanner";
    break;
  case kHostAULab:
    name = "AULab";
    break;
  case kHostForte:
    name = "Forte";
    break;
  case kHostChainer:
    name = "Chainer";
    break;
  case kHostAudition:
    name = "Audition";
    break;
  case kHostOrion:
    name = "Orion";
    break;
  case kHostSAWStudio:
    name = "SAWStudio";
    break;
  case kHostLogic:
    name = "Logic";
    break;
  case kHostGarageBand:
    name = "GarageBand";
    break;
  case kHostDigitalPerformer:
    name = "DigitalPerformer";
    break;
  case kHostStandalone:
    name = "Standalone";
    break;
  case kHostAudioMulch:
    name = "AudioMulch";
    break;
  case kHostStudioOne:
    name = "StudioOne";
    break;
  case kHostVST3TestHost:
    name = "VST3PluginTestHost";
    break;
  case kHostArdour:
    name = "Ardour";
    break;
  case kHostRenoise:
    name = "Renoise";
    break;
  case kHostOpenMPT:
    name = "OpenMPT";
    break;
  default:
    break; // Melodyne too reads "Unknown"
  }
  strcpy(rHostName, name);
}

void GetVersionParts(int version, int* ver, int* rmaj, int* rmin)
{
  *ver = version >> 16;
  *rmaj = (version & 0xFF00) >> 8;
  *rmin = version & 0xFF;
}

int GetDecimalVersion(int version)
{
  int ver, rmaj, rmin;
  GetVersionParts(version, &ver, &rmaj, &rmin);
  return ver * 10000 + rmaj * 100 + rmin;
}

void GetVersionStr(int version, char* str)
{
  int ver, rmaj, rmin;
  GetVersionParts(version, &ver, &rmaj, &rmin);
  sprintf(str, "v%d.%d.%d", ver, rmaj, rmin);
}
