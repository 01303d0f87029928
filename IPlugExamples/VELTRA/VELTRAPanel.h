#pragma once
// The panel: 920 x 400 pixels of knobs, switches, meters, a fader, the
// program's name, the on-screen keyboard and the program menu, for the
// instrument's own window and for a plug-in's panel alike. GUI thread.

#include "VELTRA.h"

#include "IControl.h"
#include "PresetFunctionsMenu.h"

#include <chrono>

// The display above the program menu: the program's name, and for a moment
// the name and value of the parameter that the player moves, from the panel
// or with a learned controller, or a message of the application's. It also
// moves the controls of parameters that controllers moved.
class VELTRADisplay : public ITextControl
{
public:
  VELTRADisplay(IPlugBase* plug, IRECT rect, const IText* text);
  // A message in place of the program's name: held until the next message
  // or ClearMessage, or for a moment.
  void ShowMessage(const char* text, bool hold);
  void ClearMessage();
  void OnGUIIdle() override;
  bool Draw(IGraphics* graphics) override;

private:
  WDL_String mMessage;
  bool mShowing = false;
  bool mHold = false;
  std::chrono::steady_clock::time_point mUntil;
};

// A parameter's name and value in the panel's units: "Filter Cutoff 0.42",
// "OP2 Tune +700 cents", "OP1 Waveform Saw".
void FormatParamForDisplay(const IPlugBase* plug, int paramIdx, WDL_String* text);

// What the instrument's side keeps of a panel it built.
struct VELTRAPanelParts
{
  IGraphics* panel = nullptr;
  IScreenKeyboard* keyboard = nullptr;
  VELTRADisplay* presetName = nullptr;
  PresetFunctionsMenu* programs = nullptr;
};

// Fills an engine that the caller made for its platform with the controls,
// bound to plug's parameters; plug is also an IKeyTable, whose held notes the
// keyboard shows. The caller attaches the engine to plug.
VELTRAPanelParts BuildVeltraPanel(IGraphics* panel, IPlugBase* plug);
