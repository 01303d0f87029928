#pragma once
// The standalone application's adapter: fixed host answers, MIDI output to
// the application's port object, and the one entry the audio callback uses.

#include "IPlugBase.h"

class RtMidiOut;

struct IPlugInstanceInfo
{
  WDL_String mBundleID;
  RtMidiOut* mRTMidiOut = nullptr;
  unsigned short* mMidiOutChan = nullptr;
};

class IPlugStandalone : public IPlugBase
{
public:
  IPlugStandalone(IPlugInstanceInfo instanceInfo, int nParams, const char* channelIOStr, int nPresets,
                  const char* effectName, const char* productName, const char* mfrName, int vendorVersion, int uniqueID,
                  int mfrID, int latency, bool plugDoesMidi, bool plugDoesChunks, bool plugIsInst,
                  int sidechainChannels);

  // Audio thread: runs one block of the instrument under its mutex. The only
  // way in which the audio callback enters the instrument.
  void LockMutexAndProcessDoubleReplacing(double** inputs, double** outputs, int nFrames)
  {
    IMutexLock lock(this);
    ProcessDoubleReplacing(inputs, outputs, nFrames);
  }

protected:
  RtMidiOut* mMidiOut = nullptr;          // owned by the application; may be null
  unsigned short* mMidiOutChan = nullptr; // inside the application's settings; may be null
};
