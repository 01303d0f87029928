#pragma once
// What the plug-in base knows of its GUI: the few calls through which values
// and redraw marks reach the panel. The GUI engine implements it, so the
// framework core (and every instrument's sound) links no toolkit at all.

class IPlugGUI
{
public:
  virtual ~IPlugGUI() {}
  // GUI thread, under the plug-in's mutex (AttachGraphics, RedrawParamControls):
  // every control bound to the parameter takes the value.
  virtual void SetParameterFromPlug(int paramIdx, double value, bool normalized) = 0;
  // Thread that pushes the value (the audio thread for meters): the control
  // at that index takes it, one word at a time, and is marked dirty.
  virtual void SetControlFromPlug(int controlIdx, double normalizedValue) = 0;
  // GUI thread: makes the drawing surfaces once every value is in.
  virtual void PrepDraw() = 0;
  // Any thread: every control is drawn again at the next frame.
  virtual void SetAllControlsDirty() = 0;
};
