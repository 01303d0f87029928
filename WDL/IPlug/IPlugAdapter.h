#pragma once
// The host adapter that an instrument derives from, chosen per build target:
// LV2_API builds the LV2 plug-in, LV2_UI_API its panel, anything else the standalone application
// (and the offline renderer, which hosts the instrument the same way).

#if defined(LV2_API)
#include "IPlugLV2.h"
typedef IPlugLV2 IPlug;
#elif defined(LV2_UI_API)
#include "IPlugLV2UI.h"
typedef IPlugLV2UI IPlug;
#else
#include "IPlugStandalone.h"
typedef IPlugStandalone IPlug;
#endif
