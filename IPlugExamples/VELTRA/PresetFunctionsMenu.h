#pragma once
// The panel's program menu: "Save Program..." and "Load Program..." through
// the file dialog, with the file's name shown in a text control of the
// panel. GUI thread.

#include "IControl.h"

class PresetFunctionsMenu : public IPanelControl
{
public:
  PresetFunctionsMenu(IPlugBase* plug, IRECT rect, ITextControl* display);

  void OnMouseDown(int x, int y, IMouseMod* mod) override;
  // A small green arrow in the top right corner, over a clear area.
  bool Draw(IGraphics* graphics) override;
  void doPopupMenu();

private:
  // A message box: "<path> <what>: <reason>." under caption.
  static void Tell(IGraphics* gui, const char* caption, const char* what, const char* path, int error);

  WDL_String mPreviousPath;     // the folder of the last file dialog
  ITextControl* mPresetDisplay; // not owned
};
