#pragma once
// The base of every instrument: parameters, the preset bank, channel
// bookkeeping with scratch buffers, the process frame, the attached GUI and
// the mutex that orders audio, GUI and MIDI work. The plug-in mutex is
// recursive: handlers that run under it may take it again. Threads are
// named as THREADS.md names them.

#include "Hosts.h"
#include "IParam.h"
#include "IPlugGUI.h"
#include "IPlugStructs.h"

#include "../mutex.h"
#include "../ptrlist.h"

#include "../sharedword.h"

#include <cstdint>

// What a host adapter does to every sample the instrument renders, and the
// largest block it hands over: the application's audio engine, the offline
// renderer and the plug-in alike, so that an instrument is equally loud
// everywhere.
constexpr double kStandaloneOutputGain = 0.25;
constexpr int kMaxSignalVectorSize = 8192;

enum EAPI
{
  kAPIVST2 = 0,
  kAPIVST3 = 1,
  kAPIAU = 2,
  kAPIRTAS = 3,
  kAPIAAX = 4,
  kAPISA = 5,
  kAPILV2 = 6,
  kAPICLAP = 7
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

  // Virtual operations, in slot order.

  // Main thread, while no stream runs. Takes the mutex.
  virtual void Reset();
  // Thread of the change, under the mutex. Takes the mutex.
  virtual void OnParamChange(int paramIdx);
  // Audio thread, with the mutex held by the caller. Copies inputs to
  // outputs and zeroes the outputs that have no input.
  virtual void ProcessDoubleReplacing(double** inputs, double** outputs, int nFrames);
  // GUI thread.
  virtual void OnGUIOpen() {}
  virtual void OnGUIClose() {}
  virtual void OnIdle() {}
  // Main thread. Takes the mutex.
  virtual void OnActivate(bool active);
  // MIDI thread. By default MIDI passes through to the output.
  virtual void ProcessMidiMsg(IMidiMsg* msg);
  virtual void ProcessSysEx(ISysEx*) {}
  virtual bool MidiNoteName(int noteNumber, char* rName);
  // Any thread; take the mutex. The parameter list of the chunk format.
  virtual bool SerializeState(ByteChunk* chunk) { return SerializeParams(chunk); }
  virtual int UnserializeState(ByteChunk* chunk, int startPos) { return UnserializeParams(chunk, startPos); }
  virtual bool CompareState(const unsigned char* incomingState, int startPos);
  // GUI thread.
  virtual void OnWindowResize() {}
  virtual bool HostRequestingAboutBox() { return false; }
  virtual void OnHostIdentified() {}
  virtual bool PopupHostContextMenuForParam(int, int, int) { return false; }
  // GUI thread. Under the mutex: sets the parameter, tells the host, then
  // runs OnParamChange, so a change lands between two audio blocks.
  virtual void SetParameterFromGUI(int idx, double normalizedValue);
  // The same for a learned MIDI controller, on the thread of the MIDI that
  // moved it; the panel follows on its next idle.
  void SetParameterFromController(int idx, double normalizedValue);
  // Host-facing operations that each adapter supplies.
  virtual void BeginInformHostOfParamChange(int idx) = 0;
  virtual void InformHostOfParamChange(int idx, double normalizedValue) = 0;
  virtual void EndInformHostOfParamChange(int idx) = 0;
  virtual void InformHostOfProgramChange() = 0;
  virtual bool IsRenderingOffline() { return false; }
  virtual int GetSamplePos() = 0;
  virtual double GetTempo() = 0;
  virtual void GetTimeSig(int* numerator, int* denominator) = 0;
  virtual void GetTime(ITimeInfo* timeInfo) = 0;
  virtual EHost GetHost() { return mHost; }
  virtual EAPI GetAPI() { return mAPI; }
  virtual void ResizeGraphics(int w, int h) = 0;
  virtual void HostSpecificInit() {}
  // GUI thread. Takes the mutex; the plug-in owns the GUI from here on.
  virtual void AttachGraphics(IPlugGUI* graphics);
  virtual void SetLatency(int samples);
  virtual bool SendMidiMsg(IMidiMsg* msg) = 0;
  virtual bool SendSysEx(ISysEx*) { return false; }
  // GUI thread: every parameter's real value to the controls.
  virtual void RedrawParamControls();
  virtual void DirtyPTCompareState() {}
  virtual void PresetsChangedByHost() {}
  // GUI thread: the host loaded the program of that name.
  virtual void OnProgramNamedByHost(const char*) {}
  // Main thread, while no stream runs. Resizes and zeroes the scratch
  // buffers; the audio layer never asks for more frames in one call.
  virtual void SetBlockSize(int blockSize);
  // Audio thread, under the mutex: the value that a meter parameter (one of
  // kind none) shows now. The GUI's meters are fed by the instrument itself;
  // an adapter whose host shows meters passes the value on.
  virtual void SetMeterForHost(int, double) {}

  // Reads.
  int NInChannels() const { return mInChannels.GetSize(); }
  int NOutChannels() const { return mOutChannels.GetSize(); }
  IPlugGUI* GetGUI() const { return mGraphics; }
  bool DoesMIDI() const { return mDoesMIDI; }
  bool DoesStateChunks() const { return mStateChunks; }
  bool IsInst() const { return mIsInst; }
  IParam* GetParam(int idx) const { return mParams.Get(idx); }
  int NParams() const { return mParams.GetSize(); }
  int NPresets() const { return mPresets.GetSize(); }
  double GetSampleRate() const { return mSampleRate; }
  int GetBlockSize() const { return mBlockSize; }
  int GetUniqueID() const { return mUniqueID; }
  int GetMfrID() const { return mMfrID; }
  int GetCurrentPresetIdx() const { return mCurrentPresetIdx; }
  int GetLatency() const { return mLatency; }
  const char* GetEffectName() const { return mEffectName; }
  const char* GetProductName() const { return mProductName; }
  const char* GetMfrName() const { return mMfrName; }
  const char* GetAPIString();
  const char* GetArchString() { return "x86"; }

  // Channels and buffers.
  bool IsInChannelConnected(int chIdx) const;
  bool IsOutChannelConnected(int chIdx) const;
  void SetSampleRate(double sampleRate) { mSampleRate = sampleRate; }
  double GetSamplesPerBeat();
  bool LegalIO(int nIn, int nOut) const;
  void LimitToStereoIO();
  void SetInputChannelConnections(int idx, int n, bool connected);
  void SetOutputChannelConnections(int idx, int n, bool connected);
  void AttachInputBuffers(int idx, int n, double** ppData, int nFrames);
  void AttachInputBuffers(int idx, int n, float** ppData, int nFrames);
  void AttachOutputBuffers(int idx, int n, double** ppData);
  void AttachOutputBuffers(int idx, int n, float** ppData);
  void PassThroughBuffers(double sampleType, int nFrames);
  void PassThroughBuffers(float sampleType, int nFrames);
  void ProcessBuffers(double sampleType, int nFrames);
  void ProcessBuffers(float sampleType, int nFrames);
  void ProcessBuffersAccumulating(float sampleType, int nFrames);
  void ZeroScratchBuffers();
  void SetInputLabel(int idx, const char* label);
  void SetOutputLabel(int idx, const char* label);
  void SetInputBusLabel(int idx, const char* label);
  void SetOutputBusLabel(int idx, const char* label);

  // Parameters.
  // The player's pitch-wheel range as a factor of the instrument's own wheel
  // (1.0, the default, leaves it as it is). Set before the stream runs.
  void SetPitchWheelScale(double scale) { mPitchWheelScale = scale; }
  double PitchWheelScale() const { return mPitchWheelScale; }
  // A parameter moved by the player, from the panel or by a learned
  // controller, for a display that names it. Any thread.
  void NoteParamMoved(int idx, bool byController);
  // GUI thread: the parameter moved last (-1 when none moved since the last
  // call), and the parameters below 64 that controllers moved since then,
  // whose controls the panel has still to move.
  int TakeParamMoves(uint64_t* byController);
  // GUI thread: the parameter moved last from the panel (-1 when none moved
  // since the last call), for the application's learning of controllers.
  int TakePanelMove() { return mMovedByPanel.Exchange(-1); }
  void OnParamReset();

private:
  void SetParameterAsPlayer(int idx, double normalizedValue, bool byController);
  // The host hears of the new program, and the count of loads grows.
  void NoteProgramLoaded()
  {
    mProgramLoads.FetchAdd(1);
    InformHostOfProgramChange();
  }

public:
  void DirtyParameters();
  bool SendMidiMsgs(WDL_TypedBuf<IMidiMsg>* msgs);

  // Versions and host.
  int GetEffectVersion(bool decimal);
  void GetEffectVersionStr(char* str);
  int GetHostVersion(bool decimal);
  void GetHostVersionStr(char* str);
  void SetHost(const char* host, int version);

  // Chunks.
  void InitChunkWithIPlugVer(ByteChunk* chunk);
  int GetIPlugVerFromChunk(ByteChunk* chunk, int* position);
  bool SerializeParams(ByteChunk* chunk);
  int UnserializeParams(ByteChunk* chunk, int startPos);

  // Program and bank files. GUI thread; false when the file cannot be
  // written, read or accepted (a refused header changes nothing). Each load
  // that is accepted counts in ProgramLoads, which any thread may read.
  bool SaveProgramAsFXP(WDL_String* fileName);
  bool SaveBankAsFXB(WDL_String* fileName);
  bool LoadProgramFromFXP(WDL_String* fileName);
  bool LoadBankFromFXB(WDL_String* fileName);
  unsigned ProgramLoads() const { return mProgramLoads.Get(); }
  // The same in memory. Any thread: the parameter form of a program, from the
  // current parameters or from one real value per parameter.
  void MakeProgramFXP(ByteChunk* chunk, const char* name, const double* values = nullptr);
  // As LoadProgramFromFXP, from a file's bytes.
  bool LoadProgramFromChunk(ByteChunk* chunk);

  // The preset bank.
  void MakeDefaultPreset(const char* name, int nPresets);
  void MakePreset(const char* name, ...);
  void MakePresetFromNamedParams(const char* name, int nParamsNamed, ...);
  void MakePresetFromChunk(const char* name, ByteChunk* chunk);
  void MakePresetFromBlob(const char* name, const char* blob, int sizeOfChunk);
  void EnsureDefaultPreset();
  void PruneUninitializedPresets();
  bool RestorePreset(int idx);
  bool RestorePreset(const char* name);
  const char* GetPresetName(int idx);
  void ModifyCurrentPreset(const char* name = nullptr);
  bool SerializePresets(ByteChunk* chunk);
  int UnserializePresets(ByteChunk* chunk, int startPos);
  void DumpPresetSrcCode(const char* filename, const char** paramEnumNames);
  void DumpPresetBlob(const char* filename);
  void DumpBankBlob(const char* filename);

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
  EHost mHost = kHostUninit;
  int mHostVersion = 0;
  bool mStateChunks;
  bool mIsInst;
  bool mDoesMIDI;
  bool mIsBypassed = false;
  int mCurrentPresetIdx = 0;
  double mSampleRate = 44100.0;
  int mBlockSize = 0;
  int mLatency;
  int mTailSize = 0;
  NChanDelayLine* mDelay = nullptr;
  WDL_PtrList<const char> mParamGroups;
  IPlugGUI* mGraphics = nullptr;
  WDL_PtrList<IParam> mParams;
  WDL_PtrList<IPreset> mPresets;
  WDL_TypedBuf<double*> mInData;
  WDL_TypedBuf<double*> mOutData;
  WDL_PtrList<InChannel> mInChannels;
  WDL_PtrList<OutChannel> mOutChannels;
  WDL_PtrList<WDL_String> mInputBusLabels;
  WDL_PtrList<WDL_String> mOutputBusLabels;
  double mPitchWheelScale = 1.0;
  WDL_SharedWord<unsigned> mProgramLoads = 0;
  WDL_SharedWord<int> mMovedParam = -1;
  WDL_SharedWord<int> mMovedByPanel = -1;
  WDL_SharedWord<uint64_t> mMovedByController = 0;
};

IPreset* GetNextUninitializedPreset(WDL_PtrList<IPreset>* presets);
void MakeDefaultUserPresetName(WDL_PtrList<IPreset>* presets, char* str);
