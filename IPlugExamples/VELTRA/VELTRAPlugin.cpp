// VELTRA as a plug-in's sound: the instrument as the application makes it,
// for any plug-in format's adapter.

#include "Hosts.h"
#include "IPlugInstrument.h"
#include "VELTRA.h"

#include <string>

const char* LV2PluginURI() { return kVeltraLV2URI; }

const IPluginIdentity& PluginIdentity()
{
  static const std::string version = []
  {
    int major, minor, micro;
    GetVersionParts(kVeltraVersion, &major, &minor, &micro);
    return std::to_string(major) + "." + std::to_string(minor) + "." + std::to_string(micro);
  }();
  static const IPluginIdentity identity = {
      "com.quillmoorinstruments.veltra",
      kVeltraName,
      "Quillmoor Instruments",
      "https://quillmoorinstruments.com/veltra",
      version.c_str(),
      "Eight-voice wavetable synthesizer: two operators, summed or in FM, a resonant filter, crusher, chorus "
      "and reverb"};
  return identity;
}

IPlugStandalone* MakePluginSound() { return (IPlugStandalone*)MakePlug(nullptr, nullptr); }
