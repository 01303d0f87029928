#pragma once
// The standalone application's adapter: the fixed answers of a host that
// is no host, MIDI output to the application's port object, and the one
// entry through which the audio callback enters the instrument.

#include "IPlugBase.h"

#include <cstddef>

// A MIDI output port of the host, opaque to the framework: only the send
// hook that the host installs knows what it is.
struct IMidiOutPort;

struct IPlugInstanceInfo
{
  WDL_String mBundleID;
  IMidiOutPort* mMidiOut = nullptr;
  unsigned short* mMidiOutChan = nullptr;
};

class IPlugStandalone : public IPlugBase
{
public:
  IPlugStandalone(IPlugInstanceInfo instanceInfo, int nParams, const char* channelIOStr, int nPresets,
                  const char* effectName, const char* productName, const char* mfrName, int vendorVersion, int uniqueID,
                  int mfrID, int latency, bool plugDoesMidi, bool plugDoesChunks, bool plugIsInst,
                  int sidechainChannels);

  void BeginInformHostOfParamChange(int) override {}
  void InformHostOfParamChange(int, double) override {}
  void EndInformHostOfParamChange(int) override {}
  void InformHostOfProgramChange() override {}
  int GetSamplePos() override { return 0; }
  double GetTempo() override { return 120.0; }
  void GetTimeSig(int*, int*) override {}
  void GetTime(ITimeInfo*) override {}
  // GUI thread: fits the main window to the GUI; nothing while no GUI is
  // attached.
  void ResizeGraphics(int w, int h) override;
  // Any thread: sends exactly three bytes at once; a selected output channel
  // replaces the message's own.
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

protected:
  IMidiOutPort* mMidiOut = nullptr;       // owned by the application; may be null
  unsigned short* mMidiOutChan = nullptr; // inside the application's settings; may be null

private:
  static MidiSendFunc sMidiSend;
};
