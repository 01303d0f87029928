#pragma once
// The GUI engine with a platform for tests only: the surface is a memory
// bitmap, images load from a temporary folder, and every dialog (menus, text
// entries, file dialogs, alerts) answers from a script instead of a user.
// It fakes nothing of the engine or the controls: only the window system,
// which a unit test has no use for.

#include "IGraphics.h"
#include "IParam.h"
#include "IPlugStandalone.h"
#include "PngFile.h"
#include "TempDir.h"
#include "swell-gdi.h"

#include <deque>
#include <string>
#include <vector>

class TestGraphics : public IGraphics
{
public:
  TestGraphics(IPlugBase* plug, int w, int h) : IGraphics(plug, w, h, 0) {}

  // Script: the next menu choice (-1 dismisses). File dialogs are
  // cancelled.
  std::deque<int> mMenuAnswers;

  // What the engine asked of the platform.
  int mScreenDraws = 0;
  IRECT mLastScreenRect;
  std::vector<std::vector<std::string>> mMenusShown;
  IRECT mLastMenuRect;

  // The open text entry, as a platform would hold it.
  IControl* mEdControl = nullptr;
  IParam* mEdParam = nullptr;
  std::string mEdText;
  IRECT mEdRect;

  TempDir mFolder; // images and paths live here

  // The user types into the open field: each character is one edit that the
  // field's filter may refuse.
  void Type(const std::string& chars)
  {
    for (char c : chars)
      if (TextEntryAccepts(mEdControl, mEdParam, (mEdText + c).c_str())) mEdText += c;
  }
  // The user confirms the field.
  void ConfirmTextEntry()
  {
    IControl* control = mEdControl;
    IParam* param = mEdParam;
    const std::string text = mEdText;
    ForceEndUserEdit();
    if (param)
      SetFromStringAfterPrompt(control, param, text.c_str());
    else if (control)
      control->TextFromTextEntry(text.c_str());
  }

  bool DrawScreen(IRECT* rect) override
  {
    ++mScreenDraws;
    mLastScreenRect = *rect;
    return true;
  }
  void ForceEndUserEdit() override
  {
    mEdControl = nullptr;
    mEdParam = nullptr;
    mEdText.clear();
  }
  int ShowMessageBox(const char*, const char*, int) override { return 1; }
  IPopupMenu* CreateIPopupMenu(IPopupMenu* menu, IRECT* rect) override
  {
    ReleaseMouseCapture();
    mLastMenuRect = *rect;
    std::vector<std::string> shown;
    for (int i = 0; i < menu->GetNItems(); ++i)
    {
      WDL_String t;
      menu->GetDisplayText(i, &t);
      shown.push_back(t.Get());
    }
    mMenusShown.push_back(shown);
    if (mMenuAnswers.empty()) return nullptr;
    const int a = mMenuAnswers.front();
    mMenuAnswers.pop_front();
    IPopupMenuItem* item = menu->GetItem(a);
    if (!item || item->GetIsSeparator() || !item->GetEnabled()) return nullptr;
    menu->SetChosenItemIdx(a);
    return menu;
  }
  void CreateTextEntry(IControl* control, IText*, IRECT* rect, const char* str = "", IParam* param = nullptr) override
  {
    if (!control || mEdControl) return;
    mEdControl = control;
    mEdParam = param;
    mEdText = str;
    mEdRect = *rect;
  }
  void HostPath(WDL_String* path) override { path->Set((mFolder.Path() + "/veltra").c_str()); }
  void PluginPath(WDL_String* path) override { path->Set((mFolder.Path() + "/").c_str()); }
  void DesktopPath(WDL_String* path) override { path->Set((mFolder.Path() + "/Desktop").c_str()); }
  void AppSupportPath(WDL_String* path, bool) override { path->Set((mFolder.Path() + "/config").c_str()); }
  void SandboxSafeAppSupportPath(WDL_String* path) override { path->Set((mFolder.Path() + "/Music").c_str()); }
  void PromptForFile(WDL_String* fileName, EFileAction, WDL_String*, const char*) override { fileName->Set(""); }
  bool PromptForColor(IColor*, const char*) override { return false; }
  bool OpenURL(const char*, const char*, const char*, const char*) override { return false; }
  void* OpenWindow(void*) override
  {
    mOpen = true;
    return this;
  }
  void CloseWindow() override { mOpen = false; }
  void* GetWindow() override { return mOpen ? this : nullptr; }
  bool GetTextFromClipboard(WDL_String* str) override
  {
    str->Set("");
    return false;
  }
  void UpdateTooltips() override {}
  LICE_IBitmap* OSLoadBitmap(int, const char* name) override
  {
    return LICE_LoadPNG((mFolder.Path() + "/" + name).c_str());
  }

private:
  bool mOpen = false;
};

// A plug-in of five parameters that records what the GUI reports to its
// host: "begin 0", "change 0", "end 0".
class GuiPlug : public IPlugStandalone
{
public:
  enum
  {
    kLevel, // double 0..1, default 0.2
    kMode,  // enum "Saw", "Square", "Sine"
    kOn,    // bool
    kCents, // int -100..100
    kGain,  // double -12..12
    kNumGuiParams
  };
  GuiPlug()
      : IPlugStandalone(IPlugInstanceInfo(), kNumGuiParams, "0-1 0-2", 1, "Gui", "", "Maker", 0x10000, 7, 2, 0, true,
                        false, true, 0)
  {
    GetParam(kLevel)->InitDouble("Level", 0.2, 0.0, 1.0, 0.001);
    GetParam(kMode)->InitEnum("Mode", 0, 3);
    GetParam(kMode)->SetDisplayText(0, "Saw");
    GetParam(kMode)->SetDisplayText(1, "Square");
    GetParam(kMode)->SetDisplayText(2, "Sine");
    GetParam(kOn)->InitBool("On", false);
    GetParam(kCents)->InitInt("Cents", 0, -100, 100, "ct");
    GetParam(kGain)->InitDouble("Gain", 0.0, -12.0, 12.0, 0.1, "dB");
  }
  void BeginInformHostOfParamChange(int idx) override { mReports.push_back("begin " + std::to_string(idx)); }
  void InformHostOfParamChange(int idx, double) override { mReports.push_back("change " + std::to_string(idx)); }
  void EndInformHostOfParamChange(int idx) override { mReports.push_back("end " + std::to_string(idx)); }
  std::vector<std::string> mReports;
};

// A plug-in with its test GUI, and images written as PNG files for it.
class GuiRig
{
public:
  GuiRig(int w = 200, int h = 100) : gui(new TestGraphics(&plug, w, h)) { SWELL_InstallGfxBackend(); }
  ~GuiRig()
  {
    if (plug.GetGUI() != gui) delete gui;
  }
  GuiRig(const GuiRig&) = delete;
  GuiRig& operator=(const GuiRig&) = delete;

  // Writes a strip of n frames of w x frameH, pixel(frame, x, y), and loads
  // it under an id of its own (the bitmap cache lives as long as the process).
  template<typename F>
  IBitmap Strip(int w, int frameH, int n, F pixel)
  {
    const int id = NextBitmapId();
    LICE_MemBitmap bm(w, frameH * n);
    for (int f = 0; f < n; ++f)
      for (int y = 0; y < frameH; ++y)
        for (int x = 0; x < w; ++x) bm.getBits()[(f * frameH + y) * bm.getRowSpan() + x] = pixel(f, x, y);
    const std::string name = "img" + std::to_string(id) + ".png";
    WritePngFile(gui->mFolder.File(name), &bm);
    return gui->LoadIBitmap(id, name.c_str(), n);
  }
  static int NextBitmapId()
  {
    static int sNextId = 5000;
    return sNextId++;
  }
  IBitmap Solid(int w, int h, int n, LICE_pixel c)
  {
    return Strip(w, h, n, [c](int, int, int) { return c; });
  }
  // Hands the GUI to the plug-in: values pushed, surfaces made.
  void Attach() { plug.AttachGraphics(gui); }
  // One frame as the platform's timer would run it; false when idle.
  bool Frame()
  {
    IRECT r;
    if (!gui->IsDirty(&r)) return false;
    gui->Draw(&r);
    return true;
  }
  LICE_pixel Pixel(int x, int y) { return LICE_GetPixel(gui->GetDrawBitmap(), x, y); }
  double Param(int idx) { return plug.GetParam(idx)->Value(); }

  GuiPlug plug;
  TestGraphics* gui; // owned by the plug-in once attached
};
