#pragma once
// The host adapter that an instrument derives from, chosen per build target:
// LV2_API builds the LV2 plug-in, anything else the standalone application
// (and the offline renderer, which hosts the instrument the same way).

#ifdef LV2_API
#include "IPlugLV2.h"
typedef IPlugLV2 IPlug;
#else
#include "IPlugStandalone.h"
typedef IPlugStandalone IPlug;
#endif
