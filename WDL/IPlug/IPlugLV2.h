#pragma once
// The LV2 adapter: an instrument as an LV2 plug-in in a host's process. It
// owns the instrument and hosts it as the application does. Its ports follow
// the parameter table (IPlugLV2Ports.h): the MIDI input, the audio outputs,
// one control port per parameter, read at the start of each run and applied
// only when they changed, and the meters as outputs. The state is the program
// form of an FXP file. Threads, as LV2 names them: instantiate, activate,
// restore and cleanup on the host's instantiation thread; run on its audio
// thread; save on any thread, even during run. At a host's rate other than
// 44100 Hz the instrument plays at its own and its output is converted
// (IRateAdapter.h), as the setting's port asks, and the latency port says by
// how many frames it lags.

#include "IKeyTable.h"
#include "IMidiInput.h"
#include "IPlugStandalone.h"
#include "IRateAdapter.h"

#include <lv2/atom/forge.h>

#include <cstdint>
#include <memory>

// What the host's instantiate offers that run needs.
struct IPlugLV2Setup
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
  uint32_t mProgramNameURID = 0;
};

class IPlugLV2 : public IPlugAdapter
{
public:
  // Instantiation thread: takes the instrument (which must also be an
  // IKeyTable for the panel to show held notes) and puts every parameter in
  // force, as the application starts, then the sample rate and block size;
  // the ports start at the parameters' values.
  IPlugLV2(IPlugStandalone* plug, const IPlugLV2Setup& setup);
  ~IPlugLV2() override;
  IPlugLV2(const IPlugLV2&) = delete;
  IPlugLV2& operator=(const IPlugLV2&) = delete;

  IPlugStandalone* GetPlug() const { return mPlug.get(); }

  // Audio thread, under the mutex. The host learns of changes through its
  // ports alone, and the plug-in sends no MIDI: the rest stays silent.
  void SetMeterForHost(int paramIdx, double value) override;

  // Instantiation thread: activation starts from silence.
  void Activate(bool active);
  // Any thread before run: where port idx reads or writes.
  void ConnectPort(uint32_t port, void* data);
  // Audio thread: one call of the host's run. Takes the mutex for the whole
  // call; allocates nothing.
  void RunLV2(uint32_t nFrames);

  // Any thread, also while run runs: the program as an FXP file's bytes, with
  // every connected control port's value as the port holds it now (moved
  // since the last run or not), and the values in force for the rest. Never
  // blocks the audio thread.
  void SaveProgramChunk(ByteChunk* chunk);
  // Instantiation thread: loads the program from FXP bytes as a program file
  // loads; false, and nothing changed, when the instrument refuses them. The
  // next run puts every connected port that says another setting in force.
  bool RestoreProgramChunk(const unsigned char* data, int size);

private:
  int NParams() const { return mPlug->NParams(); }
  void ApplyChangedControlPorts();
  void PublishValues();
  void RenderFrames(uint32_t start, uint32_t end);
  void FollowSameSoundPort();
  void ResetPortShadow();
  void WriteNotifications(uint32_t nFrames);

  std::unique_ptr<IPlugStandalone> mPlug;
  IKeyTable* mKeys; // the instrument's, if it has one
  IPlugLV2Setup mInfo;
  int mBlock; // the most frames the instrument renders at once
  // One block of the instrument's output before the gain, per channel.
  std::unique_ptr<double[]> mScratch[2];
  IMidiInput mInput;
  const void* mMidiIn = nullptr; // an LV2_Atom_Sequence
  float* mAudioOut[2] = {nullptr, nullptr};
  // At a host's rate other than the instrument's own: its output converted,
  // unless the setting's port says otherwise.
  IRateAdapter mRate;
  bool mConverting = false;
  float* mLatencyPort = nullptr;
  const float* mSameSoundPort = nullptr;
  // One pointer per parameter: an input port, or a meter's output port.
  std::unique_ptr<float*[]> mControlPorts;
  // What each input port held when it was last put in force.
  std::unique_ptr<float[]> mPortShadow;
  // Set by a restore: the next run compares every port with the program.
  bool mCheckAllPorts = false;
  std::unique_ptr<double[]> mMeterValues;
  void* mNotify = nullptr; // an LV2_Atom_Sequence to fill
  LV2_Atom_Forge mForge;
  uint8_t mSentNotes[kKeyTableBytes] = {};
  // The program the host restored last, for the panel's display; empty
  // until a restore.
  char mProgramName[32] = {};
  bool mProgramNameSent = true;
  uint32_t mFramesSinceNotify = 0;
  // The parameters' values for save, under a sequence count: odd while the
  // audio thread writes them, so a reader retries rather than tear them.
  std::unique_ptr<WDL_SharedWord<double>[]> mPublished;
  WDL_SharedWord<uint32_t> mPublishedSeq = 0;
};
