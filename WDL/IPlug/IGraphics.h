#pragma once
// What the plug-in base needs of an attached GUI: values flowing from the
// parameters to the controls, and repainting. The drawing engine that
// implements it lives with the GUI toolkit. Every operation runs on the GUI
// thread.

class IGraphics
{
public:
  virtual ~IGraphics() {}
  // Puts a parameter's value on the controls bound to it; normalized says
  // whether value is on the 0..1 scale or in real units.
  virtual void SetParameterFromPlug(int paramIdx, double value, bool normalized) = 0;
  // Prepares the first frame before the GUI is shown.
  virtual void PrepDraw() = 0;
  virtual void SetAllControlsDirty() = 0;
  virtual int Width() const = 0;
  virtual int Height() const = 0;
};
