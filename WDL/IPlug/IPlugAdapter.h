#pragma once
// What a plug-in format's adapter does for the instrument it hosts, in place
// of the standalone application's fixed answers. The instrument is the same
// object in every program (an IPlugStandalone); an adapter that hosts it in
// a plug-in format hands it one of these, and the host-facing operations go
// to the adapter from then on. The standalone application hands it none.

struct IMidiMsg;

class IPlugAdapter
{
public:
  virtual ~IPlugAdapter() {}
  // Thread of the panel (the host's UI thread): a parameter's move begins,
  // goes on and ends; a program loaded from a file changed every parameter.
  virtual void BeginInformHostOfParamChange(int) {}
  virtual void InformHostOfParamChange(int, double) {}
  virtual void EndInformHostOfParamChange(int) {}
  virtual void InformHostOfProgramChange() {}
  // Thread of the caller: a MIDI message out of the instrument.
  virtual bool SendMidiMsg(IMidiMsg*) { return false; }
  // Audio thread, under the plug-in's mutex: the value a meter shows now.
  virtual void SetMeterForHost(int, double) {}
};
