#pragma once
// The panel's program menu: "Save Program..." and "Load Program..." through
// the file dialog, with the file's name shown in a text control of the
// panel; below them the factory programs by category, the player's own
// programs, and "Previous Program" / "Next Program"; in a plug-in, last, the
// panel's sizes. GUI thread.

#include "IControl.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

class IPopupMenu;
struct VELTRAProgramEntry;

class PresetFunctionsMenu : public IPanelControl
{
public:
  PresetFunctionsMenu(IPlugBase* plug, IRECT rect, ITextControl* display);

  void OnMouseDown(int x, int y, IMouseMod* mod) override;
  // Page Up and Page Down step to the previous and next program.
  bool OnKeyDown(int x, int y, int key) override;
  // A small green arrow in the top right corner, over a clear area.
  bool Draw(IGraphics* graphics) override;
  void doPopupMenu();
  // Loads the program file or bank as "Load Program..." does, with the
  // display, and a message box on failure when tell; true when it loaded.
  // A program of the list (oneStep) is put in force in one step.
  bool LoadFile(const WDL_String& path, bool tell = true, bool oneStep = false);
  // The next (step 1) or previous (-1) program of the list.
  void StepProgram(int step);
  // Adds a "Size" submenu of the panel's sizes, the current one checked;
  // choose gets the size picked, in percent. For a panel whose window has no
  // menu bar of its own (a plug-in's).
  void OfferPanelSizes(std::function<void(int)> choose) { mChooseSize = std::move(choose); }

private:
  // The list's programs as submenus of menu: one per category, then the
  // player's own (its sub-folders as submenus). items[k] is the list index
  // behind item k of submenu k's menu.
  void AddProgramMenus(IPopupMenu* menu, const std::vector<VELTRAProgramEntry>& list,
                       std::vector<std::unique_ptr<IPopupMenu>>* owned, std::vector<std::vector<int>>* items);
  void Save(IGraphics* gui);
  std::string FactoryFolder() const;
  // A message box: "<path> <what>: <reason>." under caption.
  static void Tell(IGraphics* gui, const char* caption, const char* what, const char* path, int error);

  WDL_String mPreviousPath;     // the folder of the last file dialog
  ITextControl* mPresetDisplay; // not owned
  std::string mCurrentPath;     // the program file loaded or saved last
  std::function<void(int)> mChooseSize;
};
