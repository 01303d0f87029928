#pragma once
// The LV2 adapter of a plug-in's panel. It owns the instrument's panel side
// (the parameters and the sound's held notes, not the sound; see
// IPlugInstrument.h), which stands for the plug-in as the host shows it. It
// has no access to the plug-in's instance: parameter moves become writes to
// the plug-in's control ports (with ui:touch around a drag), notes from the
// panel's keyboard become MIDI events on its atom input, and what the host
// reports of the ports (automation, presets, another panel, the meters)
// moves the panel without being sent back. Everything runs on the thread of
// the host's UI calls.

#include "IKeyTable.h"
#include "IPlugStandalone.h"

#include <cstdint>
#include <memory>
#include <string>

// The host's side of the panel, as LV2 passes it.
struct IPlugLV2UISetup
{
  // The host's write function and its controller.
  void (*mWrite)(void* controller, uint32_t port, uint32_t size, uint32_t protocol, const void* buffer) = nullptr;
  void* mController = nullptr;
  // ui:touch, when the host offers it.
  void (*mTouch)(void* handle, uint32_t port, bool grabbed) = nullptr;
  void* mTouchHandle = nullptr;
  uint32_t mEventTransferURID = 0;
  uint32_t mMidiEventURID = 0;
};

class IPlugLV2UI : public IPlugAdapter
{
public:
  // Takes the panel side, which must also be an IKeyTable.
  IPlugLV2UI(IPlugStandalone* panelSide, const IPlugLV2UISetup& setup);
  ~IPlugLV2UI() override;
  IPlugLV2UI(const IPlugLV2UI&) = delete;
  IPlugLV2UI& operator=(const IPlugLV2UI&) = delete;

  IPlugStandalone* GetPlug() const { return mPlug.get(); }

  void BeginInformHostOfParamChange(int idx) override;
  void InformHostOfParamChange(int idx, double normalizedValue) override;
  void EndInformHostOfParamChange(int idx) override;
  // A program loaded from a file: every port takes its parameter's value.
  void InformHostOfProgramChange() override;
  // To the plug-in's MIDI input, through the host.
  bool SendMidiMsg(IMidiMsg* msg) override;

  // The host reports a control port's value: the parameter and its controls
  // follow, and nothing goes back.
  void PortValue(uint32_t port, float value);
  // The plug-in's notification of the notes that MIDI holds.
  void SetHeldNotes(const uint8_t* bits);
  // The plug-in's notification of the program the host restored last: the
  // panel is told once for each new name.
  void SetProgramName(const char* name);

private:
  void WritePort(int paramIdx);

  std::unique_ptr<IPlugStandalone> mPlug;
  IKeyTable* mKeys;
  IPlugLV2UISetup mInfo;
  std::string mProgramName;
};
