#include "IPlugStandalone.h"

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
  mMidiOutChan = instanceInfo.mMidiOutChan;
  mMidiOut = instanceInfo.mRTMidiOut;
}
