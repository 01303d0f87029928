#include "VELTRAPluginPanel.h"

#include "IGraphicsX11.h"
#include "IPlugInstrument.h"
#include "VELTRAPanel.h"

#include <memory>

VELTRAPluginPanel::VELTRAPluginPanel()
    : IPlugStandalone(IPlugInstanceInfo(), kNumParams, "0-1 0-2", kVeltraPrograms, kVeltraName, "", kVeltraMfrName,
                      kVeltraVersion, kVeltraUniqueID, kVeltraMfrID, 0, true, false, true, 0)
{
  InitVeltraParams(this);
}

int VELTRAPluginPanel::GetNumKeys()
{
  IMutexLock lock(this);
  return mNumKeys;
}

bool VELTRAPluginPanel::GetKeyStatus(int key)
{
  IMutexLock lock(this);
  return key >= 0 && key < kNumKeys && mKeyStatus[key];
}

void VELTRAPluginPanel::SetHeldNotes(const uint8_t* bits)
{
  {
    IMutexLock lock(this);
    mNumKeys = 0;
    for (int n = 0; n < kNumKeys; ++n)
    {
      mKeyStatus[n] = (bits[n / 8] >> (n % 8)) & 1;
      mNumKeys += mKeyStatus[n];
    }
  }
  if (mKeyboard) mKeyboard->KeyTableChanged();
}

void VELTRAPluginPanel::OnIdle()
{
  // As the sound polls the keyboard in the application, but to the host.
  FollowScreenKey(mKeyboard, &mSentKey, [this](IMidiMsg* msg) { SendMidiMsg(msg); });
}

void VELTRAPluginPanel::OnProgramNamedByHost(const char* name)
{
  if (mDisplay) mDisplay->SetTextFromPlug(name);
}

bool VELTRAPluginPanel::MakePanel(const char* resourceRoot)
{
  IGraphicsX11* view = new IGraphicsX11(this, kPanelWidth, kPanelHeight, 0);
  view->SetResourceRoot(resourceRoot);
  view->SetPanelSize(IGraphicsX11::StartPanelSize());
  const VELTRAPanelParts parts = BuildVeltraPanel(view, this);
  // The host's window has no menu bar: the sizes are in the display's menu.
  parts.programs->OfferPanelSizes([view](int percent) { view->ChoosePanelSize(percent); });
  mKeyboard = parts.keyboard;
  mDisplay = parts.presetName;
  AttachGraphics(view);
  return true;
}

IPlugStandalone* MakePluginPanel(const char* resourceRoot)
{
  std::unique_ptr<VELTRAPluginPanel> panelSide(new VELTRAPluginPanel);
  if (!panelSide->MakePanel(resourceRoot)) return nullptr;
  return panelSide.release();
}

IGraphicsX11* PluginPanelView(IPlugStandalone* panelSide)
{
  return panelSide ? static_cast<IGraphicsX11*>(panelSide->GetGUI()) : nullptr;
}
