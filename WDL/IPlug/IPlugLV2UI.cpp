#include "IPlugLV2UI.h"

#include "IPlugLV2Ports.h"

#include <algorithm>
#include <cmath>
#include <lv2/atom/atom.h>

IPlugLV2UI::IPlugLV2UI(IPlugInstanceInfo instanceInfo, int nParams, const char* channelIOStr, int nPresets,
                       const char* effectName, const char* productName, const char* mfrName, int vendorVersion,
                       int uniqueID, int mfrID, int latency, bool plugDoesMidi, bool plugDoesChunks, bool plugIsInst,
                       int)
    : IPlugBase(nParams, channelIOStr, nPresets, effectName, productName, mfrName, vendorVersion, uniqueID, mfrID,
                latency, plugDoesMidi, plugDoesChunks, plugIsInst, kAPILV2),
      mInfo(instanceInfo)
{
  SetHost("", 0);
}

void IPlugLV2UI::WritePort(int paramIdx)
{
  const IParam* param = GetParam(paramIdx);
  if (!param || LV2IsMeter(param) || !mInfo.mWrite) return;
  // Ports hold the parameters' real values.
  const float v = (float)param->Value();
  mInfo.mWrite(mInfo.mController, (uint32_t)LV2ParamPort(paramIdx, NOutChannels()), sizeof(float), 0, &v);
}

void IPlugLV2UI::BeginInformHostOfParamChange(int idx)
{
  if (mInfo.mTouch && GetParam(idx) && !LV2IsMeter(GetParam(idx)))
    mInfo.mTouch(mInfo.mTouchHandle, (uint32_t)LV2ParamPort(idx, NOutChannels()), true);
}

void IPlugLV2UI::InformHostOfParamChange(int idx, double) { WritePort(idx); }

void IPlugLV2UI::EndInformHostOfParamChange(int idx)
{
  if (mInfo.mTouch && GetParam(idx) && !LV2IsMeter(GetParam(idx)))
    mInfo.mTouch(mInfo.mTouchHandle, (uint32_t)LV2ParamPort(idx, NOutChannels()), false);
}

void IPlugLV2UI::InformHostOfProgramChange()
{
  for (int i = 0; i < NParams(); ++i) WritePort(i);
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
  const int idx = (int)port - LV2ParamPort(0, NOutChannels());
  IParam* param = GetParam(idx);
  if (!param || std::isnan(value)) return;
  if (LV2IsMeter(param))
  {
    // A meter's port holds its control's position.
    if (mGraphics) mGraphics->SetParameterFromPlug(idx, std::min(1.0, std::max(0.0, (double)value)), true);
    return;
  }
  double lo, hi;
  param->GetBounds(&lo, &hi);
  const double v = std::min(hi, std::max(lo, (double)value));
  {
    IMutexLock lock(this);
    param->Set(v);
    OnParamChange(idx);
  }
  if (mGraphics) mGraphics->SetParameterFromPlug(idx, v, false);
}
