#pragma once
// The CLAP adapter: an instrument as a CLAP plug-in in a host's process. It
// owns the instrument's sound and, while the host shows it, links the
// instrument's panel to it: sound and panel live in one module here, so the
// panel's moves reach the sound at once, and the host hears of them as
// events of the next process (or flush). The host's parameters are the
// instrument's settable ones, with the LV2 control ports' indices as their
// ids; the state is the program form of an FXP file, as in LV2.
//
// Threads, as CLAP names them: the constructor, activation, the parameters'
// queries, the state and everything of the panel on the host's main thread;
// process, reset and the active flush on its audio thread. Both sides meet
// under the instrument's mutex alone: the main thread holds it briefly, the
// audio thread for a whole process, and nothing in process allocates.

#include "IKeyTable.h"
#include "IMidiInput.h"
#include "IPlugStandalone.h"
#include "IRateAdapter.h"

#include <clap/events.h>
#include <clap/ext/params.h>
#include <clap/host.h>
#include <clap/process.h>

#include <cstdint>
#include <memory>
#include <vector>

class IPlugCLAP : public IPlugAdapter
{
public:
  // Takes the instrument, which must also be an IKeyTable for the panel to
  // show the notes MIDI holds, and puts every parameter in force, as the
  // application starts. host may be null (no flush is then requested).
  IPlugCLAP(IPlugStandalone* sound, const clap_host_t* host);
  ~IPlugCLAP() override;
  IPlugCLAP(const IPlugCLAP&) = delete;
  IPlugCLAP& operator=(const IPlugCLAP&) = delete;

  IPlugStandalone* GetPlug() const { return mPlug.get(); }

  // Main thread: the rate and the most frames a process brings. Memory is
  // made here, and activation starts from silence.
  bool Activate(double rate, uint32_t maxFrames);
  void Deactivate();
  // Audio thread: every voice, effect and held key gone.
  void Reset();
  // Audio thread: one process call. MIDI and notes in either dialect reach
  // the input stage at their frames, a parameter's value acts at its frame,
  // and the panel's gestures and keys of the time since the last call go
  // out and in at frame 0.
  clap_process_status Process(const clap_process_t* process);
  // The host's flush outside process (main thread while inactive, audio
  // thread while active): the parameters' events in, the panel's out.
  void Flush(const clap_input_events_t* in, const clap_output_events_t* out);

  // The parameters as the host sees them: the settable ones in the table's
  // order (meters have no place among them), each with the id of its LV2
  // port, then the setting "Same Sound at Every Rate" (on: at a host's rate
  // other than 44100 Hz the instrument plays at its own and its output is
  // converted; off: it plays at the host's), with the id of its LV2 port.
  // The setting takes effect at the next activation; the host is asked for
  // one.
  uint32_t NumHostParams() const { return (uint32_t)mHostParams.size() + 1; }
  // Main thread: the output's delay in frames, while active.
  uint32_t Latency() const { return mConverting ? (uint32_t)mRate.Latency() : 0; }
  bool GetParamInfo(uint32_t index, clap_param_info_t* info) const;
  bool GetParamValue(clap_id id, double* value);
  bool ValueToText(clap_id id, double value, char* text, uint32_t size) const;
  bool TextToValue(clap_id id, const char* text, double* value) const;

  // Main thread: the program as an FXP file's bytes, with every parameter as
  // it is now, and after them a line for the setting when it is off; and
  // back. false, nothing changed, when the instrument refuses the bytes.
  void SaveState(ByteChunk* chunk);
  bool RestoreState(const unsigned char* data, int size);

  // Audio thread, under the mutex: kept for the panel's meters.
  void SetMeterForHost(int paramIdx, double value) override;

  // Main thread: the panel's side of the instrument (an IPlugStandalone that
  // is also an IKeyTable, see IPlugInstrument.h) is shown; its parameters
  // take the sound's values and its display the program's name. Null
  // detaches it.
  void AttachPanel(IPlugStandalone* panelSide);
  // Main thread, at each frame of the panel: it follows the host's changes,
  // the notes MIDI holds and the meters.
  void PanelIdle();

private:
  class PanelLink;
  friend class PanelLink;

  // What goes to the host from the panel, in the order it happened.
  struct HostEvent
  {
    enum EKind : uint8_t
    {
      kBegin,
      kValue,
      kEnd,
      kMidi
    } mKind;
    uint8_t mMidi[3];
    int mParam;
    double mValue;
  };
  // A parameter that the host moved, for the panel.
  struct PanelMove
  {
    int mParam;
    double mValue;
  };
  static constexpr int kQueueSize = 1024;

  int ParamOfId(clap_id id) const;
  clap_id IdOfParam(int paramIdx) const;
  void ApplyHostValue(const clap_event_header_t* header);
  void SetSameSound(bool on);
  clap_id SameSoundId() const;
  void ToHost(const HostEvent& ev);
  void SendToHost(const clap_output_events_t* out, IMidiInput::IBlockSink* sink);
  void RenderFrames(float* const* outs, uint32_t start, uint32_t end);
  void RequestFlush();

  std::unique_ptr<IPlugStandalone> mPlug;
  IKeyTable* mKeys; // the instrument's, if it has one
  const clap_host_t* mHost;
  const clap_host_params_t* mHostParamsExt = nullptr;
  std::vector<int> mHostParams; // parameter index per host index
  int mBlock = 0;               // the most frames the instrument renders at once
  std::unique_ptr<double[]> mScratch[2];
  IMidiInput mInput;
  float* const* mOutputs = nullptr; // during a process
  bool mActive = false;
  IRateAdapter mRate;
  bool mSameSound = true;   // the setting
  bool mConverting = false; // as the setting stood at the activation

  // Both queues are read and written under the instrument's mutex.
  HostEvent mToHost[kQueueSize];
  int mToHostCount = 0;
  PanelMove mToPanel[kQueueSize];
  int mToPanelCount = 0;
  // A queue ran over: the panel takes every value afresh, the host rescans.
  bool mPanelBehind = false;
  bool mHostBehind = false;
  std::unique_ptr<double[]> mMeterValues;
  std::unique_ptr<double[]> mMetersShown; // the panel's copy, main thread

  std::unique_ptr<PanelLink> mPanel;
  uint8_t mPanelNotes[kKeyTableBytes] = {};
};
