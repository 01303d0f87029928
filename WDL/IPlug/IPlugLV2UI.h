#pragma once
// The LV2 adapter of a plug-in's panel: the instrument's object in the UI's
// binary, standing for the plug-in as the host shows it. It runs no sound and
// has no access to the plug-in's instance: parameter moves become writes to
// the plug-in's control ports (with ui:touch around a drag), notes from the
// panel's keyboard become MIDI events on its atom input, and what the host
// reports of the ports (automation, presets, another panel, the meters)
// moves the panel without being sent back. Everything runs on the thread of
// the host's UI calls.

#include "IPlugBase.h"

#include <cstdint>

struct IPlugInstanceInfo
{
  // The host's write function and its controller, as LV2 passes them.
  void (*mWrite)(void* controller, uint32_t port, uint32_t size, uint32_t protocol, const void* buffer) = nullptr;
  void* mController = nullptr;
  // ui:touch, when the host offers it.
  void (*mTouch)(void* handle, uint32_t port, bool grabbed) = nullptr;
  void* mTouchHandle = nullptr;
  uint32_t mEventTransferURID = 0;
  uint32_t mMidiEventURID = 0;
};

class IPlugLV2UI : public IPlugBase
{
public:
  IPlugLV2UI(IPlugInstanceInfo instanceInfo, int nParams, const char* channelIOStr, int nPresets,
             const char* effectName, const char* productName, const char* mfrName, int vendorVersion, int uniqueID,
             int mfrID, int latency, bool plugDoesMidi, bool plugDoesChunks, bool plugIsInst, int sidechainChannels);

  void BeginInformHostOfParamChange(int idx) override;
  void InformHostOfParamChange(int idx, double normalizedValue) override;
  void EndInformHostOfParamChange(int idx) override;
  // A program loaded from a file: every port takes its parameter's value.
  void InformHostOfProgramChange() override;
  int GetSamplePos() override { return 0; }
  double GetTempo() override { return 120.0; }
  void GetTimeSig(int*, int*) override {}
  void GetTime(ITimeInfo*) override {}
  void ResizeGraphics(int, int) override {}
  // To the plug-in's MIDI input, through the host.
  bool SendMidiMsg(IMidiMsg* msg) override;

  // The host reports a control port's value: the parameter and its controls
  // follow, and nothing goes back.
  void PortValue(uint32_t port, float value);
  // The plug-in's notification of the notes that MIDI holds (bits of
  // kLV2KeyBytes bytes); the instrument shows them.
  virtual void SetHeldNotes(const uint8_t*) {}

private:
  void WritePort(int paramIdx);

  IPlugInstanceInfo mInfo;
};
