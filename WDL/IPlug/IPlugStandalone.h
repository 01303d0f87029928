#pragma once
// The standalone application's adapter: the fixed answers of a host that
// is no host, MIDI output to the application's port object, and the one
// entry through which the audio callback enters the instrument. The
// instrument derives from it in every program; where a plug-in format's
// adapter hosts it (HostIn), the host-facing operations go to that adapter.

#include "../sharedword.h"
#include "IPlugAdapter.h"
#include "IPlugBase.h"

#include <cstddef>

// A MIDI output port of the host, opaque to the framework: only the send
// hook that the host installs knows what it is.
struct IMidiOutPort;

struct IPlugInstanceInfo
{
  WDL_String mBundleID;
  IMidiOutPort* mMidiOut = nullptr;
  const WDL_SharedWord<uint16_t>* mMidiOutChan = nullptr;
};

class IPlugStandalone : public IPlugBase
{
public:
  IPlugStandalone(IPlugInstanceInfo instanceInfo, int nParams, const char* channelIOStr, int nPresets,
                  const char* effectName, const char* productName, const char* mfrName, int vendorVersion, int uniqueID,
                  int mfrID, int latency, bool plugDoesMidi, bool plugDoesChunks, bool plugIsInst,
                  int sidechainChannels);

  // Nothing, or the plug-in adapter's answer.
  void BeginInformHostOfParamChange(int idx) override;
  void InformHostOfParamChange(int idx, double normalizedValue) override;
  void EndInformHostOfParamChange(int idx) override;
  void InformHostOfProgramChange() override;
  void SetMeterForHost(int paramIdx, double value) override;
  int GetSamplePos() override { return 0; }
  double GetTempo() override { return 120.0; }
  void GetTimeSig(int*, int*) override {}
  void GetTime(ITimeInfo*) override {}
  // GUI thread: fits the main window to the GUI; nothing while no GUI is
  // attached.
  void ResizeGraphics(int w, int h) override;
  // Any thread: sends exactly three bytes at once; a selected output channel
  // replaces the message's own. In a plug-in, the adapter's.
  bool SendMidiMsg(IMidiMsg* msg) override;
  bool SendSysEx(ISysEx* msg) override;

  // Audio thread: runs one block of the instrument under its mutex. The only
  // way in which the audio callback enters the instrument.
  void LockMutexAndProcessDoubleReplacing(double** inputs, double** outputs, int nFrames)
  {
    IMutexLock lock(this);
    ProcessDoubleReplacing(inputs, outputs, nFrames);
  }

  // How bytes reach the MIDI output port. The application, which owns the
  // port objects, installs it at start; the framework knows no MIDI library.
  typedef void (*MidiSendFunc)(IMidiOutPort* port, const unsigned char* bytes, size_t size);
  static void SetMidiSendFunc(MidiSendFunc func) { sMidiSend = func; }

  // Instantiation thread, before anything else runs: a plug-in format's
  // adapter takes the host's side, under the format's API value. Not owned.
  void HostIn(IPlugAdapter* adapter, EAPI api);

protected:
  IMidiOutPort* mMidiOut = nullptr; // owned by the application; may be null
  // Inside the application's settings; may be null.
  const WDL_SharedWord<uint16_t>* mMidiOutChan = nullptr;
  IPlugAdapter* mAdapter = nullptr;

private:
  static MidiSendFunc sMidiSend;
};
