#pragma once
// The LV2 adapter: the instrument as an LV2 plug-in in a host's process. Its
// ports follow the parameter table (IPlugLV2Ports.h): the MIDI input, the
// audio outputs, one control port per parameter, read at the start of each
// run and applied only when they changed, and the meters as outputs. The
// state is the program form of an FXP file. Threads, as LV2 names them:
// instantiate, activate, restore and cleanup on the host's instantiation
// thread; run on its audio thread; save on any thread, even during run.

#include "IPlugBase.h"

#include <lv2/atom/forge.h>

#include <atomic>
#include <cstdint>
#include <memory>

struct IPlugInstanceInfo
{
  double mSampleRate = 44100.0;
  // The most frames the host passes to one run.
  int mMaxBlockSize = kMaxSignalVectorSize;
  // URIDs of the host's map for what run reads.
  uint32_t mMidiEventURID = 0;
  uint32_t mSequenceURID = 0;
  // For the held-notes notification; without a map none is sent.
  LV2_URID_Map* mMap = nullptr;
  uint32_t mKeyStateURID = 0;
  uint32_t mKeysURID = 0;
};

class IPlugLV2 : public IPlugBase
{
public:
  IPlugLV2(IPlugInstanceInfo instanceInfo, int nParams, const char* channelIOStr, int nPresets, const char* effectName,
           const char* productName, const char* mfrName, int vendorVersion, int uniqueID, int mfrID, int latency,
           bool plugDoesMidi, bool plugDoesChunks, bool plugIsInst, int sidechainChannels);

  // A host learns of changes through its ports alone: nothing to tell here.
  void BeginInformHostOfParamChange(int) override {}
  void InformHostOfParamChange(int, double) override {}
  void EndInformHostOfParamChange(int) override {}
  void InformHostOfProgramChange() override {}
  int GetSamplePos() override { return 0; }
  double GetTempo() override { return 120.0; }
  void GetTimeSig(int*, int*) override {}
  void GetTime(ITimeInfo*) override {}
  void ResizeGraphics(int, int) override {}
  // The plug-in sends no MIDI.
  bool SendMidiMsg(IMidiMsg*) override { return false; }
  // Audio thread, under the mutex.
  void SetMeterForHost(int paramIdx, double value) override;
  // Audio thread, under the mutex: the notes that MIDI holds, as bits (see
  // IPlugLV2Ports.h), for the panel. None by default.
  virtual void GetHeldNotes(uint8_t*) {}

  // Instantiation thread: once, after the instrument's constructor. Every
  // parameter in force (as the application starts), then the sample rate and
  // block size; the ports start at the parameters' values.
  void InitLV2();
  // Any thread before run: where port idx reads or writes.
  void ConnectPort(uint32_t port, void* data);
  // Audio thread: one call of the host's run. Takes the mutex for the whole
  // call; allocates nothing.
  void RunLV2(uint32_t nFrames);

  // Any thread, also while run runs: the program as an FXP file's bytes, from
  // the values that run last put in force. Never blocks the audio thread.
  void SaveProgramChunk(ByteChunk* chunk);
  // Instantiation thread: loads the program from FXP bytes as a program file
  // loads; false, and nothing changed, when the instrument refuses them.
  bool RestoreProgramChunk(const unsigned char* data, int size);

private:
  void ApplyChangedControlPorts();
  void PublishValues();
  void RenderFrames(uint32_t start, uint32_t end);
  void ResetPortShadow();
  void WriteNotifications(uint32_t nFrames);

  IPlugInstanceInfo mInfo;
  const void* mMidiIn = nullptr; // an LV2_Atom_Sequence
  float* mAudioOut[2] = {nullptr, nullptr};
  // One pointer per parameter: an input port, or a meter's output port.
  std::unique_ptr<float*[]> mControlPorts;
  // What each input port held when it was last put in force.
  std::unique_ptr<float[]> mPortShadow;
  // Set by a restore: the next run takes the ports as they are then, without
  // applying them, so the restored program stands whether the host sets its
  // ports before the restore, after it, or not at all.
  bool mAdoptPorts = false;
  std::unique_ptr<double[]> mMeterValues;
  void* mNotify = nullptr; // an LV2_Atom_Sequence to fill
  LV2_Atom_Forge mForge;
  uint8_t mSentNotes[16] = {};
  uint32_t mFramesSinceNotify = 0;
  // The parameters' values for save, under a sequence count: odd while the
  // audio thread writes them, so a reader retries rather than tear them.
  std::unique_ptr<std::atomic<double>[]> mPublished;
  std::atomic<uint32_t> mPublishedSeq{0};
};
