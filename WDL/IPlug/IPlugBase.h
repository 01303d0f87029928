#pragma once
// The base of every instrument: channel bookkeeping with scratch buffers, the
// process frame, and the mutex that orders audio, GUI and MIDI work.

#include "IPlugStructs.h"

#include "../heapbuf.h"
#include "../mutex.h"
#include "../ptrlist.h"
#include "../wdlstring.h"

enum EAPI
{
  kAPIVST2 = 0,
  kAPIVST3 = 1,
  kAPIAU = 2,
  kAPIRTAS = 3,
  kAPIAAX = 4,
  kAPISA = 5
};

class IPlugBase
{
public:
  IPlugBase(int nParams, const char* channelIOStr, int nPresets, const char* effectName, const char* productName,
            const char* mfrName, int vendorVersion, int uniqueID, int mfrID, int latency, bool plugDoesMidi,
            bool plugDoesChunks, bool plugIsInst, EAPI plugAPI);
  virtual ~IPlugBase();
  IPlugBase(const IPlugBase&) = delete;
  IPlugBase& operator=(const IPlugBase&) = delete;

  // Main thread, while no stream runs (the audio engine's set-up). Takes the
  // mutex and does nothing else by default.
  virtual void Reset();
  // Main or MIDI thread, under the mutex. Takes the mutex by default.
  virtual void OnParamChange(int paramIdx);
  // Audio thread, with the mutex held by the caller. Copies inputs to
  // outputs and zeroes the outputs that have no input.
  virtual void ProcessDoubleReplacing(double** inputs, double** outputs, int nFrames);
  // MIDI thread. Messages from outside; the default lets them pass through
  // to the MIDI output once there is one, and drops them until then.
  virtual void ProcessMidiMsg(IMidiMsg* msg);
  // Main thread, while no stream runs. Resizes and zeroes the scratch
  // buffers; the audio layer never asks for more frames in one call.
  virtual void SetBlockSize(int blockSize);

  void SetSampleRate(double sampleRate) { mSampleRate = sampleRate; }
  double GetSampleRate() const { return mSampleRate; }
  int GetBlockSize() const { return mBlockSize; }
  int NInChannels() const { return mInChannels.GetSize(); }
  int NOutChannels() const { return mOutChannels.GetSize(); }
  bool DoesMIDI() const { return mDoesMIDI; }
  bool DoesStateChunks() const { return mStateChunks; }
  bool IsInst() const { return mIsInst; }
  int GetUniqueID() const { return mUniqueID; }
  int GetMfrID() const { return mMfrID; }
  int GetLatency() const { return mLatency; }
  EAPI GetAPI() const { return mAPI; }
  const char* GetEffectName() const { return mEffectName; }
  const char* GetProductName() const { return mProductName; }
  const char* GetMfrName() const { return mMfrName; }
  int GetVersion() const { return mVersion; }

  bool IsInChannelConnected(int chIdx) const;
  bool IsOutChannelConnected(int chIdx) const;
  bool LegalIO(int nIn, int nOut) const;
  void SetInputChannelConnections(int idx, int n, bool connected);
  void SetOutputChannelConnections(int idx, int n, bool connected);

  // A scope guard on the plug-in's recursive mutex.
  class IMutexLock
  {
  public:
    explicit IMutexLock(IPlugBase* plug) : mLock(&plug->mMutex) {}

  private:
    WDL_MutexLock mLock;
  };

protected:
  struct ChannelIO
  {
    int mIn, mOut;
  };
  struct InChannel
  {
    bool mConnected = false;
    double** mSrc = nullptr;
    WDL_TypedBuf<double> mScratchBuf;
    WDL_String mLabel;
  };
  struct OutChannel
  {
    bool mConnected = false;
    double** mDest = nullptr;
    float* mFDest = nullptr;
    WDL_TypedBuf<double> mScratchBuf;
    WDL_String mLabel;
  };

  WDL_PtrList<ChannelIO> mChannelIO;
  WDL_Mutex mMutex;
  char mEffectName[128];
  char mProductName[128];
  char mMfrName[128];
  int mUniqueID;
  int mMfrID;
  int mVersion;
  EAPI mAPI;
  bool mStateChunks;
  bool mIsInst;
  bool mDoesMIDI;
  double mSampleRate = 44100.0;
  int mBlockSize = 0;
  int mLatency;
  WDL_TypedBuf<double*> mInData;
  WDL_TypedBuf<double*> mOutData;
  WDL_PtrList<InChannel> mInChannels;
  WDL_PtrList<OutChannel> mOutChannels;
};
