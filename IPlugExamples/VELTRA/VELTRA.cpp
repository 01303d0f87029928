// The instrument object: how it is made, its state as a host sees it, and
// its reset. Parameters, voices, the render loop and the panel each have a
// file of their own.

#include "VELTRA.h"

#include "IGraphics.h"

VELTRA::VELTRA(IPlugInstanceInfo instanceInfo)
    : IPlugStandalone(instanceInfo, kNumParams, "0-1 0-2", kVeltraPrograms, "VELTRA", "", "QuillmoorInstruments",
                      kVeltraVersion, kVeltraUniqueID, kVeltraMfrID, 0, true, false, true, 0),
      mMidiQueue(1024)
{
  InitParams();
  MakePanel();
  // The start values of the members are not the parameters': restoring a
  // program, which the application does before its stream starts, puts
  // these in force through OnParamChange.
  MakeDefaultPreset("-", kVeltraPrograms);
}

VELTRA::~VELTRA() {}

bool VELTRA::SerializeState(ByteChunk* chunk)
{
  IMutexLock lock(this);
  return SerializeParams(chunk);
}

int VELTRA::UnserializeState(ByteChunk* chunk, int startPos)
{
  IMutexLock lock(this);
  return UnserializeParams(chunk, startPos);
}

bool VELTRA::CompareState(const unsigned char*, int) { return true; }

void VELTRA::PresetsChangedByHost()
{
  IMutexLock lock(this);
  if (GetGUI()) GetGUI()->SetAllControlsDirty();
}

void VELTRA::Reset()
{
  IMutexLock lock(this);
  mSampleRate = GetSampleRate();
  mMidiQueue.Resize(GetBlockSize());
}

void* MakePlug(void* midiOut, unsigned short* midiOutChan)
{
  static WDL_Mutex sMutex;
  WDL_MutexLock lock(&sMutex);
  IPlugInstanceInfo info;
  info.mBundleID.Set(kVeltraBundleID);
  info.mMidiOut = (IMidiOutPort*)midiOut;
  info.mMidiOutChan = midiOutChan;
  return new VELTRA(info);
}
