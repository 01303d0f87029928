// The standalone application's panel lives in a GTK window.

#include "IGraphicsLinux.h"
#include "VELTRA.h"

IGraphics* MakeGraphics(IPlugBase* plug, int w, int h, int fps)
{
  IGraphicsLinux* graphics = new IGraphicsLinux(plug, w, h, fps);
  graphics->SetBundleID(kVeltraBundleID);
  return graphics;
}
