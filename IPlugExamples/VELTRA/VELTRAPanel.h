#pragma once
// The panel: 920 x 400 pixels of knobs, switches, meters, a fader, the
// program's name, the on-screen keyboard and the program menu, for the
// instrument's own window and for a plug-in's panel alike. GUI thread.

#include "VELTRA.h"

class ITextControl;

// What the instrument's side keeps of a panel it built.
struct VELTRAPanelParts
{
  IGraphics* panel = nullptr;
  IScreenKeyboard* keyboard = nullptr;
  ITextControl* presetName = nullptr;
};

// Fills an engine that the caller made for its platform with the controls,
// bound to plug's parameters; plug is also an IKeyTable, whose held notes the
// keyboard shows. The caller attaches the engine to plug.
VELTRAPanelParts BuildVeltraPanel(IGraphics* panel, IPlugBase* plug);
