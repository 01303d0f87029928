#pragma once
// What an instrument built as an LV2 plug-in supplies to the adapter's entry.

#ifdef LV2_UI_API
#include "IPlugLV2UI.h"
class IGraphicsX11;
#else
#include "IPlugLV2.h"
#endif

// The plug-in's URI, as its bundle's description names it.
const char* LV2PluginURI();

#ifdef LV2_UI_API
// The instrument's object for the panel's side; the caller owns it.
IPlugLV2UI* MakeLV2UIPlug(IPlugInstanceInfo instanceInfo);
// The panel of that object, its images under bundlePath, attached to it and
// owned by it; null when it cannot be made.
IGraphicsX11* MakeLV2PlugView(IPlugLV2UI* plug, const char* bundlePath);
#else
// Instantiation thread: a new instrument on the adapter; the caller owns it.
IPlugLV2* MakeLV2Plug(IPlugInstanceInfo instanceInfo);
#endif
