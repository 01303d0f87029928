#include "PresetFunctionsMenu.h"

#include "IGraphics.h"
#include "IPlugBase.h"
#include "VELTRAPrograms.h"

#include <strings.h>

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

std::string PresetFunctionsMenu::FactoryFolder() const
{
  IGraphics* gui = GetGUI();
  return VeltraFactoryProgramFolder(gui ? gui->ResourceFolder() : "");
}

bool PresetFunctionsMenu::OnKeyDown(int, int, int key)
{
  if (key != kVirtualKeyPageUp && key != kVirtualKeyPageDown) return false;
  StepProgram(key == kVirtualKeyPageUp ? -1 : 1);
  return true;
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
  const std::vector<VELTRAProgramEntry> list = ListVeltraPrograms(FactoryFolder(), VeltraUserProgramFolder());
  std::vector<std::unique_ptr<IPopupMenu>> owned;
  std::vector<std::vector<int>> items;
  menu.AddSeparator();
  AddProgramMenus(&menu, list, &owned, &items);
  menu.AddSeparator();
  const int previous = menu.GetNItems();
  menu.AddItem("Previous Program", -1, list.empty() ? IPopupMenuItem::kDisabled : IPopupMenuItem::kNoFlags);
  menu.AddItem("Next Program", -1, list.empty() ? IPopupMenuItem::kDisabled : IPopupMenuItem::kNoFlags);
  IPopupMenu sizes;
  if (mChooseSize)
  {
    for (int size : kPanelSizes)
      sizes.AddItem((std::to_string(size) + "%").c_str(), -1,
                    size == gui->PanelSize() ? IPopupMenuItem::kChecked : IPopupMenuItem::kNoFlags);
    menu.AddSeparator();
    menu.AddItem("Size", &sizes);
  }
  IPopupMenu* chosen = gui->CreateIPopupMenu(&menu, &mRECT);
  if (!chosen) return;
  const int idx = chosen->GetChosenItemIdx();
  if (chosen == &sizes && idx >= 0 && idx < kNumPanelSizes) return mChooseSize(kPanelSizes[idx]);
  for (size_t k = 0; k < owned.size(); ++k)
    if (chosen == owned[k].get() && idx >= 0 && idx < (int)items[k].size() && items[k][(size_t)idx] >= 0)
    {
      LoadFile(WDL_String(list[(size_t)items[k][(size_t)idx]].mPath.c_str()), true, true);
      return;
    }
  if (chosen != &menu) return;
  if (idx == previous || idx == previous + 1) return StepProgram(idx == previous ? -1 : 1);

  // The display shows the file part of whatever the dialog returned, also
  // when the file could not be written or read; a cancelled dialog leaves
  // an empty name, and so an empty display. A failure is told in a message
  // box that names the file and the reason, and a folder that could not be
  // written is not offered again.
  switch (idx)
  {
  case 0:
    Save(gui);
    break;
  case 2:
  {
    WDL_String fileName;
    gui->PromptForFile(&fileName, kFileOpen, &mPreviousPath, "fxp fxb");
    LoadFile(fileName);
    break;
  }
  default:
    break;
  }
}

void PresetFunctionsMenu::Save(IGraphics* gui)
{
  WDL_String fileName;
  fileName.Set(mPlug->GetPresetName(mPlug->GetCurrentPresetIdx()));
  const WDL_String folderBefore(mPreviousPath.Get());
  // The factory programs stay as they are: a save of one, or from their
  // folder, is proposed in the player's own folder, made when missing.
  const std::string factory = FactoryFolder(), mine = VeltraUserProgramFolder();
  const std::string previous = mPreviousPath.Get();
  if (PathIsInside(previous, factory) || previous == factory + "/" || PathIsInside(mCurrentPath, factory))
  {
    MakeProgramFolder(mine);
    mPreviousPath.Set((mine + "/").c_str());
  }
  gui->PromptForFile(&fileName, kFileSave, &mPreviousPath, "fxp");
  const std::string path = fileName.Get();
  if (PathIsInside(path, factory))
  {
    mPreviousPath.Set(folderBefore.Get());
    mPresetDisplay->SetTextFromPlug(fileName.get_filepart());
    gui->ShowMessageBox((path + " was not written: the factory programs stay as they are. Save yours in " + mine +
                         ", where the program menu lists them.")
                            .c_str(),
                        "Program not saved", 0);
    return;
  }
  // The program takes the file's name, as the program menu shows it.
  std::string name = fileName.get_filepart();
  if (name.size() > 4 && !strcasecmp(name.c_str() + name.size() - 4, ".fxp")) name.resize(name.size() - 4);
  if (!name.empty()) mPlug->ModifyCurrentPreset(name.c_str());
  errno = 0;
  const bool saved = mPlug->SaveProgramAsFXP(&fileName);
  const int error = errno;
  mPresetDisplay->SetTextFromPlug(fileName.get_filepart());
  if (saved) mCurrentPath = path;
  if (!saved && fileName.GetLength())
  {
    mPreviousPath.Set(folderBefore.Get());
    Tell(gui, "Program not saved", "could not be written", fileName.Get(), error);
  }
}

bool PresetFunctionsMenu::LoadFile(const WDL_String& path, bool tell, bool oneStep)
{
  WDL_String fileName(path.Get());
  errno = 0;
  // A program file, or else a bank: its programs are loaded and its current
  // one sounds.
  bool loaded = oneStep ? LoadProgramFileInOneStep(mPlug, fileName.Get()) : mPlug->LoadProgramFromFXP(&fileName);
  int error = errno;
  if (!loaded && !error && fileName.GetLength())
  {
    loaded = mPlug->LoadBankFromFXB(&fileName);
    error = errno;
  }
  mPresetDisplay->SetTextFromPlug(fileName.get_filepart());
  if (loaded) mCurrentPath = fileName.Get();
  IGraphics* gui = GetGUI();
  if (!loaded && fileName.GetLength() && gui && tell)
  {
    if (error)
      Tell(gui, "Program not loaded", "could not be loaded", fileName.Get(), error);
    else
      gui->ShowMessageBox((std::string(fileName.Get()) +
                           " could not be loaded: it is neither a VELTRA program nor a VELTRA bank, or it is damaged.")
                              .c_str(),
                          "Program not loaded", 0);
  }
  return loaded;
}

void PresetFunctionsMenu::StepProgram(int step)
{
  const std::vector<VELTRAProgramEntry> list = ListVeltraPrograms(FactoryFolder(), VeltraUserProgramFolder());
  const int i = StepVeltraProgram(list, mCurrentPath, step);
  if (i >= 0) LoadFile(WDL_String(list[(size_t)i].mPath.c_str()), true, true);
}

void PresetFunctionsMenu::AddProgramMenus(IPopupMenu* menu, const std::vector<VELTRAProgramEntry>& list,
                                          std::vector<std::unique_ptr<IPopupMenu>>* owned,
                                          std::vector<std::vector<int>>* items)
{
  // The submenu for a chain of folder names, made on first use under its
  // parent.
  std::vector<std::pair<std::string, IPopupMenu*>> made;
  auto submenu = [&](IPopupMenu* parent, const std::string& key, const std::string& title)
  {
    for (auto& m : made)
      if (m.first == key) return m.second;
    owned->emplace_back(new IPopupMenu);
    items->emplace_back();
    parent->AddItem(title.c_str(), owned->back().get());
    made.emplace_back(key, owned->back().get());
    return owned->back().get();
  };
  auto add = [&](IPopupMenu* m, const std::string& text, int entry)
  {
    const bool ticked = entry >= 0 && list[(size_t)entry].mPath == mCurrentPath;
    m->AddItem(text.c_str(), -1,
               entry < 0 ? IPopupMenuItem::kDisabled
               : ticked  ? IPopupMenuItem::kChecked
                         : IPopupMenuItem::kNoFlags);
    for (size_t k = 0; k < owned->size(); ++k)
      if ((*owned)[k].get() == m) (*items)[k].push_back(entry);
  };
  for (size_t i = 0; i < list.size(); ++i)
    if (list[i].mFactory && !list[i].mFolders.empty())
      add(submenu(menu, "factory/" + list[i].mFolders[0], list[i].mFolders[0]), list[i].mName, (int)i);
  IPopupMenu* mine = submenu(menu, "mine", "My Programs");
  bool any = false;
  for (size_t i = 0; i < list.size(); ++i)
  {
    if (list[i].mFactory) continue;
    IPopupMenu* m = mine;
    std::string key = "mine";
    for (const std::string& f : list[i].mFolders) m = submenu(m, key += "/" + f, f);
    add(m, list[i].mName, (int)i);
    any = true;
  }
  if (!any) add(mine, "None saved yet", -1);
}

void PresetFunctionsMenu::Tell(IGraphics* gui, const char* caption, const char* what, const char* path, int error)
{
  // Without a system error the file was read but is no program of VELTRA.
  const std::string text = std::string(path) + " " + what + ": " +
                           (error ? strerror(error) : "it is not a VELTRA program, or it is damaged") + ".";
  gui->ShowMessageBox(text.c_str(), caption, 0);
}
