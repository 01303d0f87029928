// VELTRA as a plug-in's sound: the instrument as the application makes it,
// for any plug-in format's adapter.

#include "IPlugInstrument.h"
#include "VELTRA.h"

const char* LV2PluginURI() { return kVeltraLV2URI; }

IPlugStandalone* MakePluginSound() { return (IPlugStandalone*)MakePlug(nullptr, nullptr); }
