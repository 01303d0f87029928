#include "IPlugLV2UI.h"

#include "IPlugLV2Ports.h"

#include <algorithm>
#include <cmath>
#include <lv2/atom/atom.h>

IPlugLV2UI::IPlugLV2UI(IPlugStandalone* panelSide, const IPlugLV2UISetup& setup)
    : mPlug(panelSide), mKeys(dynamic_cast<IKeyTable*>(panelSide)), mInfo(setup)
{
  mPlug->HostIn(this, kAPILV2);
  mPlug->SetHost("", 0);
}

IPlugLV2UI::~IPlugLV2UI() = default;

void IPlugLV2UI::WritePort(int paramIdx)
{
  const IParam* param = mPlug->GetParam(paramIdx);
  if (!param || LV2IsMeter(param) || !mInfo.mWrite) return;
  // Ports hold the parameters' real values.
  const float v = (float)param->Value();
  mInfo.mWrite(mInfo.mController, (uint32_t)LV2ParamPort(paramIdx, mPlug->NOutChannels()), sizeof(float), 0, &v);
}

void IPlugLV2UI::BeginInformHostOfParamChange(int idx)
{
  const IParam* param = mPlug->GetParam(idx);
  if (mInfo.mTouch && param && !LV2IsMeter(param))
    mInfo.mTouch(mInfo.mTouchHandle, (uint32_t)LV2ParamPort(idx, mPlug->NOutChannels()), true);
}

void IPlugLV2UI::InformHostOfParamChange(int idx, double) { WritePort(idx); }

void IPlugLV2UI::EndInformHostOfParamChange(int idx)
{
  const IParam* param = mPlug->GetParam(idx);
  if (mInfo.mTouch && param && !LV2IsMeter(param))
    mInfo.mTouch(mInfo.mTouchHandle, (uint32_t)LV2ParamPort(idx, mPlug->NOutChannels()), false);
}

void IPlugLV2UI::InformHostOfProgramChange()
{
  for (int i = 0; i < mPlug->NParams(); ++i) WritePort(i);
}

bool IPlugLV2UI::SendMidiMsg(IMidiMsg* msg)
{
  if (!mInfo.mWrite || !msg) return false;
  struct
  {
    LV2_Atom atom;
    uint8_t bytes[3];
  } event = {{3, mInfo.mMidiEventURID}, {msg->mStatus, msg->mData1, msg->mData2}};
  mInfo.mWrite(mInfo.mController, (uint32_t)kLV2MidiInPort, sizeof(LV2_Atom) + 3, mInfo.mEventTransferURID, &event);
  return true;
}

void IPlugLV2UI::PortValue(uint32_t port, float value)
{
  const int idx = (int)port - LV2ParamPort(0, mPlug->NOutChannels());
  IParam* param = mPlug->GetParam(idx);
  if (!param || std::isnan(value)) return;
  IPlugGUI* gui = mPlug->GetGUI();
  if (LV2IsMeter(param))
  {
    // A meter's port holds its control's position.
    if (gui) gui->SetParameterFromPlug(idx, std::min(1.0, std::max(0.0, (double)value)), true);
    return;
  }
  double lo, hi;
  param->GetBounds(&lo, &hi);
  const double v = std::min(hi, std::max(lo, (double)value));
  {
    IPlugBase::IMutexLock lock(mPlug.get());
    param->Set(v);
    mPlug->OnParamChange(idx);
  }
  if (gui) gui->SetParameterFromPlug(idx, v, false);
}

void IPlugLV2UI::SetHeldNotes(const uint8_t* bits)
{
  if (mKeys) mKeys->SetHeldNotes(bits);
}

void IPlugLV2UI::SetProgramName(const char* name)
{
  if (mProgramName == name) return;
  mProgramName = name;
  mPlug->OnProgramNamedByHost(name);
}
