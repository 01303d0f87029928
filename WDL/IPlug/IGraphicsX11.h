#pragma once
// The engine on plain Xlib, for a panel inside another program's window (a
// plug-in's view in a host): no toolkit is loaded. It opens its own display
// connection and makes a child of the window it is given (or a top-level
// window of its own), paints the changed part of the surface with XPutImage
// (MIT-SHM when the server has it), and runs its frame timer from the host's
// idle calls. Popup menus and the text entry are drawn inside the panel;
// file dialogs and alerts run in a separate process (zenity, else kdialog).
// Everything runs on the thread of the host's idle calls.

#include "IGraphics.h"
#include "IGraphicsXlib.h"

#include "../wdlstring.h"

#include <functional>
#include <string>
#include <vector>

typedef struct _XDisplay Display;
union _XEvent;

class IGraphicsX11 : public IGraphics
{
public:
  IGraphicsX11(IPlugBase* plug, int w, int h, int fps = 0);
  ~IGraphicsX11() override;

  // The folder that holds resources/img: the plug-in's bundle.
  void SetResourceRoot(const char* folder);
  std::string ResourceFolder() const override { return mResourceRoot; }

  bool DrawScreen(IRECT* rect) override;
  void ForceEndUserEdit() override;
  void Resize(int w, int h) override;
  // The window takes the panel's new size (the host's choice: the host is
  // not asked).
  void SetPanelSize(int percent) override;
  // The user's choice: the size is kept for the next panel
  // (IPanelSizeFile.h); made on the panel (askHost), the resize listener is
  // told the window's new size in pixels, so that the host makes room.
  void ChoosePanelSize(int percent, bool askHost = true);
  void SetResizeListener(std::function<void(int, int)> listener) { mOnResize = std::move(listener); }
  // The size a plug-in's panel starts at: the user's choice where there is
  // one, else the host's scale factor when given (above 0), else the
  // desktop's.
  static int StartPanelSize(double hostFactor = 0.0);
  bool WindowIsOpen() override { return mWindow != 0; }
  const char* GetGUIAPI() override { return "Xlib GUI"; }
  int ShowMessageBox(const char* text, const char* caption, int type) override;
  IPopupMenu* CreateIPopupMenu(IPopupMenu* menu, IRECT* rect) override;
  void CreateTextEntry(IControl* control, IText* text, IRECT* rect, const char* str = "",
                       IParam* param = nullptr) override;
  void HostPath(WDL_String* path) override;
  void PluginPath(WDL_String* path) override;
  void DesktopPath(WDL_String* path) override;
  void AppSupportPath(WDL_String* path, bool isSystem = false) override;
  void SandboxSafeAppSupportPath(WDL_String* path) override;
  void PromptForFile(WDL_String* fileName, EFileAction action = kFileOpen, WDL_String* dir = nullptr,
                     const char* extensions = "") override;
  bool CanPromptForFile(WDL_String* why) override;
  bool PromptForColor(IColor*, const char* = "") override { return false; }
  bool OpenURL(const char* url, const char* windowTitle = nullptr, const char* confirmMsg = nullptr,
               const char* errMsgOnFailure = nullptr) override;
  // parent: the X window id to live in, or null for a top-level window.
  // Answers the new window's id, or null without a display.
  void* OpenWindow(void* parent) override;
  void CloseWindow() override;
  void* GetWindow() override { return mWindow ? (void*)mWindow : nullptr; }
  bool GetTextFromClipboard(WDL_String* str) override;
  void HideMouseCursor() override;
  void ShowMouseCursor() override;
  void UpdateTooltips() override {}
  // A PNG under the resource root; any other kind of name gives null.
  LICE_IBitmap* OSLoadBitmap(int id, const char* name) override;

  // The host's idle call: handles what happened on the window and, at the
  // frame rate, draws what changed. False once the user has closed a
  // top-level window.
  bool Idle();
  // A top-level window shown or hidden (the host's show and hide).
  void ShowWindow(bool show);

  // The view's cost per frame apart from the engine's drawing: converts a
  // region (in pixels) to the screen image and puts what changed on the
  // window.
  void PutRegion(const IRECT& rect, bool onlyChanges);

private:
  void HandleEvent(_XEvent* ev);
  void HandleButtonPress(_XEvent* ev);
  void HandleMotion(_XEvent* ev);
  void HandleKeyPress(_XEvent* ev);
  // A top-level window closed by the user, or the host's window destroyed.
  void HandleWindowGone(_XEvent* ev);
  bool MakeScreenImage();
  void DropScreenImage();
  void SetSizeHints();
  // The window, its screen image and its hints at the panel's pixel size.
  void ResizeWindow();
  void PutImage(int x, int y, int w, int h);
  // Puts back what the server reported lost (mExposed) from the screen image.
  void PutExposed();
  void Flush();
  void WaitForServer();

  // In-panel text entry (IGraphicsX11Menu.cpp).
  void DrawTextEntry();
  void TextEntryKey(_XEvent* ev);
  void EndTextEntry(bool accept);

  // Child processes for dialogs (IGraphicsX11Files.cpp): runs argv, keeping
  // the panel painted, and answers its exit status (-1 when it could not
  // run) with what it printed.
  int RunDialog(const std::vector<std::string>& argv, std::string* output);
  void HandleExposeOnly();

  Display* mDisplay = nullptr;
  unsigned long mWindow = 0;
  void* mGC = nullptr;
  void* mVisual = nullptr;
  int mDepth = 0;
  _XImage* mImage = nullptr;
  void* mShm = nullptr; // an XShmSegmentInfo while the image is shared
  // Shared puts the server has not yet reported done (ShmCompletion events,
  // of type mShmCompletion).
  int mShmPending = 0;
  int mShmCompletion = -1;
  std::vector<uint32_t> mImageBits; // without MIT-SHM
  LICE_ScreenChanges mChanges;
  unsigned long mBlankCursor = 0;
  unsigned long mDeleteAtom = 0;
  bool mClosedByUser = false;
  double mLastFrame = 0.0;
  IRECT mExposed;
  int mPrevX = 0, mPrevY = 0;
  XClickCounter mClicks;
  std::string mResourceRoot;
  std::function<void(int, int)> mOnResize;

  struct TextEntry
  {
    bool open = false;
    IControl* control = nullptr;
    IParam* param = nullptr;
    IText text;
    IRECT rect;
    std::string value;
    size_t caret = 0;
  } mEntry;
};
