#pragma once
// What an instrument built as an LV2 plug-in supplies to the adapter's entry.

#include "IPlugLV2.h"

// The plug-in's URI, as its bundle's description names it.
const char* LV2PluginURI();
// Instantiation thread: a new instrument on the adapter; the caller owns it.
IPlugLV2* MakeLV2Plug(IPlugInstanceInfo instanceInfo);
