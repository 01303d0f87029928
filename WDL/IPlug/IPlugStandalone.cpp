#include "IPlugStandalone.h"

#include <vector>

IPlugStandalone::MidiSendFunc IPlugStandalone::sMidiSend = nullptr;

IPlugStandalone::IPlugStandalone(IPlugInstanceInfo instanceInfo, int nParams, const char* channelIOStr, int nPresets,
                                 const char* effectName, const char* productName, const char* mfrName,
                                 int vendorVersion, int uniqueID, int mfrID, int latency, bool plugDoesMidi,
                                 bool plugDoesChunks, bool plugIsInst, int)
    : IPlugBase(nParams, channelIOStr, nPresets, effectName, productName, mfrName, vendorVersion, uniqueID, mfrID,
                latency, plugDoesMidi, plugDoesChunks, plugIsInst, kAPISA)
{
  mMidiOutChan = nullptr;
  SetInputChannelConnections(0, NInChannels(), true);
  SetOutputChannelConnections(0, NOutChannels(), true);
  SetBlockSize(1024);
  SetHost("standalone", vendorVersion);
  mMidiOutChan = instanceInfo.mMidiOutChan;
  mMidiOut = instanceInfo.mMidiOut;
}

void IPlugStandalone::ResizeGraphics(int, int)
{
  // The window follows the GUI's size once the window layer hosts one.
  if (!GetGUI()) return;
  OnWindowResize();
}

void IPlugStandalone::HostIn(IPlugAdapter* adapter, EAPI api)
{
  mAdapter = adapter;
  mAPI = api;
}

void IPlugStandalone::BeginInformHostOfParamChange(int idx)
{
  if (mAdapter) mAdapter->BeginInformHostOfParamChange(idx);
}

void IPlugStandalone::InformHostOfParamChange(int idx, double normalizedValue)
{
  if (mAdapter) mAdapter->InformHostOfParamChange(idx, normalizedValue);
}

void IPlugStandalone::EndInformHostOfParamChange(int idx)
{
  if (mAdapter) mAdapter->EndInformHostOfParamChange(idx);
}

void IPlugStandalone::InformHostOfProgramChange()
{
  if (mAdapter) mAdapter->InformHostOfProgramChange();
}

void IPlugStandalone::SetMeterForHost(int paramIdx, double value)
{
  if (mAdapter) mAdapter->SetMeterForHost(paramIdx, value);
}

bool IPlugStandalone::SendMidiMsg(IMidiMsg* msg)
{
  if (mAdapter) return mAdapter->SendMidiMsg(msg);
  if (!DoesMIDI()) return false;
  IMidiMsg copy = *msg;
  // Set by the settings dialog while the sound runs: one word, read once.
  const unsigned short chan = mMidiOutChan ? mMidiOutChan->Get() : 0;
  if (chan > 0) copy.mStatus = (uint8_t)((chan - 1) | (copy.StatusMsg() << 4));
  // Always three bytes, also for messages with fewer data bytes.
  const unsigned char bytes[3] = {copy.mStatus, copy.mData1, copy.mData2};
  if (sMidiSend && mMidiOut) sMidiSend(mMidiOut, bytes, 3);
  return true;
}

bool IPlugStandalone::SendSysEx(ISysEx* msg)
{
  if (!mMidiOut) return false;
  if (sMidiSend) sMidiSend(mMidiOut, msg->mData, msg->mSize > 0 ? (size_t)msg->mSize : 0);
  return true;
}
