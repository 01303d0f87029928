#include "PresetFunctionsMenu.h"

#include "IGraphics.h"
#include "IPlugBase.h"

#include <cerrno>
#include <cstring>
#include <string>

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
  // an empty name, and so an empty display. A failure is told in a message
  // box that names the file and the reason, and a folder that could not be
  // written is not offered again.
  WDL_String fileName;
  const WDL_String folderBefore(mPreviousPath.Get());
  switch (menu.GetChosenItemIdx())
  {
  case 0:
  {
    fileName.Set(mPlug->GetPresetName(mPlug->GetCurrentPresetIdx()));
    gui->PromptForFile(&fileName, kFileSave, &mPreviousPath, "fxp");
    errno = 0;
    const bool saved = mPlug->SaveProgramAsFXP(&fileName);
    const int error = errno;
    mPresetDisplay->SetTextFromPlug(fileName.get_filepart());
    if (!saved && fileName.GetLength())
    {
      mPreviousPath.Set(folderBefore.Get());
      Tell(gui, "Program not saved", "could not be written", fileName.Get(), error);
    }
    break;
  }
  case 2:
  {
    gui->PromptForFile(&fileName, kFileOpen, &mPreviousPath, "fxp");
    errno = 0;
    const bool loaded = mPlug->LoadProgramFromFXP(&fileName);
    const int error = errno;
    mPresetDisplay->SetTextFromPlug(fileName.get_filepart());
    if (!loaded && fileName.GetLength()) Tell(gui, "Program not loaded", "could not be loaded", fileName.Get(), error);
    break;
  }
  default:
    break;
  }
}

void PresetFunctionsMenu::Tell(IGraphics* gui, const char* caption, const char* what, const char* path, int error)
{
  // Without a system error the file was read but is no program of VELTRA.
  const std::string text = std::string(path) + " " + what + ": " +
                           (error ? strerror(error) : "it is not a VELTRA program, or it is damaged") + ".";
  gui->ShowMessageBox(text.c_str(), caption, 0);
}
