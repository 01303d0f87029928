// VELTRA as an LV2 plug-in: built into the sound's binary (LV2_API), where
// it tells the panel which notes are held, and into the panel's binary
// (LV2_UI_API), where it shows them and plays the on-screen keyboard through
// the host.

#include "IPlugLV2Instrument.h"
#include "IPlugLV2Ports.h"
#include "VELTRA.h"

#include <cstring>

const char* LV2PluginURI() { return kVeltraLV2URI; }

#if defined(LV2_API)
IPlugLV2* MakeLV2Plug(IPlugInstanceInfo instanceInfo) { return new VELTRA(instanceInfo); }

void VELTRA::GetHeldNotes(uint8_t* bits)
{
  for (int n = 0; n < kNumKeys && n / 8 < kLV2KeyBytes; ++n)
    if (mKeyStatus[n]) bits[n / 8] |= (uint8_t)(1 << (n % 8));
}

#elif defined(LV2_UI_API)
#include "IGraphicsX11.h"

namespace
{
// Where the panel being made finds its images.
const char* sBundlePath = "";
} // namespace

IGraphics* MakeGraphics(IPlugBase* plug, int w, int h, int fps)
{
  IGraphicsX11* graphics = new IGraphicsX11(plug, w, h, fps);
  graphics->SetResourceRoot(sBundlePath);
  return graphics;
}

IPlugLV2UI* MakeLV2UIPlug(IPlugInstanceInfo instanceInfo) { return new VELTRA(instanceInfo); }

IGraphicsX11* MakeLV2PlugView(IPlugLV2UI* plug, const char* bundlePath)
{
  sBundlePath = bundlePath ? bundlePath : "";
  VELTRA* veltra = (VELTRA*)plug;
  veltra->MakePanel();
  sBundlePath = "";
  return (IGraphicsX11*)veltra->mPanel;
}

void VELTRA::SetHeldNotes(const uint8_t* bits)
{
  {
    IMutexLock lock(this);
    mNumKeys = 0;
    for (int n = 0; n < kNumKeys; ++n)
    {
      mKeyStatus[n] = n / 8 < kLV2KeyBytes && (bits[n / 8] >> (n % 8)) & 1;
      mNumKeys += mKeyStatus[n];
    }
  }
  if (mKeyboard) mKeyboard->KeyTableChanged();
}

void VELTRA::OnIdle()
{
  // As the sound polls the keyboard in the standalone, but to the host.
  FollowScreenKey(&mSentKey, [this](IMidiMsg* msg) { SendMidiMsg(msg); });
}
#endif
