// VELTRA as a plug-in's sound: the instrument as the application makes it,
// for any plug-in format's adapter.

#include "IPlugInstrument.h"
#include "VELTRA.h"

#include <string>

const char* LV2PluginURI() { return kVeltraLV2URI; }

const IPluginIdentity& PluginIdentity()
{
  static const std::string version = std::to_string(kVeltraVersion >> 16) + "." +
                                     std::to_string((kVeltraVersion >> 8) & 255) + "." +
                                     std::to_string(kVeltraVersion & 255);
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
