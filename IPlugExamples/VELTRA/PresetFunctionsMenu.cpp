#include "PresetFunctionsMenu.h"

#include "IGraphics.h"
#include "IPlugBase.h"

PresetFunctionsMenu::PresetFunctionsMenu(IPlugBase* plug, IRECT rect, ITextControl* display)
    : IPanelControl(plug, rect, &COLOR_BLUE), mPresetDisplay(display)
{
}

void PresetFunctionsMenu::OnMouseDown(int, int, IMouseMod* mod)
{
  if (mod->L) doPopupMenu();
  Redraw();
  SetDirty(true);
}

bool PresetFunctionsMenu::Draw(IGraphics* graphics)
{
  graphics->FillIRect(&COLOR_TRANSPARENT, &mRECT, nullptr);
  return graphics->FillTriangle(&COLOR_GREEN, mRECT.R - 8, mRECT.T + 4, mRECT.R - 4, mRECT.T + 4, mRECT.R - 6,
                                mRECT.T + 6, &mBlend);
}

void PresetFunctionsMenu::doPopupMenu()
{
  IGraphics* gui = GetGUI();
  if (!gui) return;
  // Where no file dialog can be offered, the two items are greyed and a
  // line below says why.
  WDL_String why;
  const bool files = gui->CanPromptForFile(&why);
  const int flags = files ? IPopupMenuItem::kNoFlags : IPopupMenuItem::kDisabled;
  IPopupMenu menu;
  menu.AddItem("Save Program...", -1, flags);
  menu.AddSeparator();
  menu.AddItem("Load Program...", -1, flags);
  if (!files)
  {
    menu.AddSeparator();
    menu.AddItem(why.Get(), -1, IPopupMenuItem::kTitle);
  }
  if (!gui->CreateIPopupMenu(&menu, &mRECT)) return;

  // The display shows the file part of whatever the dialog returned, also
  // when the file could not be written or read; a cancelled dialog leaves
  // an empty name, and so an empty display.
  WDL_String fileName;
  switch (menu.GetChosenItemIdx())
  {
  case 0:
    fileName.Set(mPlug->GetPresetName(mPlug->GetCurrentPresetIdx()));
    gui->PromptForFile(&fileName, kFileSave, &mPreviousPath, "fxp");
    mPlug->SaveProgramAsFXP(&fileName);
    mPresetDisplay->SetTextFromPlug(fileName.get_filepart());
    break;
  case 2:
    gui->PromptForFile(&fileName, kFileOpen, &mPreviousPath, "fxp");
    mPlug->LoadProgramFromFXP(&fileName);
    mPresetDisplay->SetTextFromPlug(fileName.get_filepart());
    break;
  default:
    break;
  }
}
