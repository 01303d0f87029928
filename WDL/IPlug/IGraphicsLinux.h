#pragma once
// The engine on GTK 3: the surface shown in a GtkDrawingArea inside a
// window of the window layer, a frame timer at the panel's rate, mouse and
// keys, popup menus, the text entry laid over the panel, file dialogs,
// alerts, the clipboard, the cursor and links. Everything runs on the GUI
// thread (GTK's main thread).

#include "IGraphics.h"
#include "IGraphicsXlib.h"

#include "../wdlstring.h"

#include <cstdint>

typedef struct _GtkWidget GtkWidget;
typedef struct _cairo cairo_t;
typedef struct _cairo_surface cairo_surface_t;

class IGraphicsLinux : public IGraphics
{
public:
  IGraphicsLinux(IPlugBase* plug, int w, int h, int fps = 0);
  ~IGraphicsLinux() override;

  void SetBundleID(const char* id) { mBundleID.Set(id); }

  bool DrawScreen(IRECT* rect) override;
  void ForceEndUserEdit() override;
  // Nothing when the size is unchanged; otherwise every control goes and
  // the view takes the new size.
  void Resize(int w, int h) override;
  // The view and the window around it take the panel's new size.
  void SetPanelSize(int percent) override;
  bool WindowIsOpen() override { return mView != nullptr; }
  const char* GetGUIAPI() override { return "GTK GUI"; }
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
  bool PromptForColor(IColor*, const char* = "") override { return false; }
  bool OpenURL(const char* url, const char* windowTitle = nullptr, const char* confirmMsg = nullptr,
               const char* errMsgOnFailure = nullptr) override;
  // The parent is a window of the window layer; null without a display or
  // a window to show in.
  void* OpenWindow(void* parent) override;
  void CloseWindow() override;
  void* GetWindow() override { return mView; }
  bool GetTextFromClipboard(WDL_String* str) override;
  void HideMouseCursor() override;
  void ShowMouseCursor() override;
  void UpdateTooltips() override;
  // A PNG from the resource root; any other kind of name gives null.
  LICE_IBitmap* OSLoadBitmap(int id, const char* name) override;

  // The panel size that suits the desktop shown on: its scale factor and,
  // on X, its Xft.dpi (IGraphicsXlib.h); 100 without a display.
  static int DesktopPanelSize();

  // The view's cost per frame, apart from the engine's drawing: puts a
  // region of the surface into the screen image in the screen's pixel form,
  // noting what changed when asked.
  void ConvertToScreen(const IRECT& rect, LICE_ScreenChanges* changes = nullptr);

  // GTK signal handlers of the view (painting, input); not for callers.
  struct View;
  friend struct View;
  struct Input;
  friend struct Input;

private:
  // Surface pixels per pixel of the view's coordinates: the screen's scale
  // factor when the panel is drawn at a size for it, else 1.
  double Density() const;
  // A position in the view's coordinates as a unit; units as a rectangle of
  // the view.
  int ToUnit(double v) const;
  IRECT ToView(const IRECT& units) const;
  void SizeView();
  void MakeScreenImage();
  // Draws the rectangle and puts it straight on the X window, outside GTK's
  // frame cycle; false where that cannot be done (not X11, a scaled or
  // unusual screen, not drawable, the text entry over the panel), and the
  // caller invalidates instead.
  bool PaintNow(const IRECT& rect);
  void DropWindowGC();
  void EndTextEntry(bool accept);
  // The input handlers on mView.
  void ConnectInput();
  int ClickCount(int button, unsigned int time, int x, int y);

  GtkWidget* mView = nullptr; // GtkDrawingArea; owned by its window once added
  GtkWidget* mContainer = nullptr;
  unsigned int mTimer = 0;
  WDL_String mBundleID;
  cairo_surface_t* mScreen = nullptr; // the surface in the screen's pixel form
  cairo_t* mPaintContext = nullptr;   // only while a frame is painted
  // PaintNow's target while it draws: the X window holding the view and the
  // view's place in it; its graphics context, kept for the X window.
  struct DirectTarget
  {
    void* display;
    unsigned long window;
    int x, y;
  };
  DirectTarget* mDirect = nullptr;
  LICE_ScreenChanges mChanges;
  void* mGC = nullptr;
  unsigned long mGCWindow = 0;
  void* mGCDisplay = nullptr;
  GtkWidget* mTextEntry = nullptr;
  IControl* mEdControl = nullptr;
  IParam* mEdParam = nullptr;
  int mPrevX = 0, mPrevY = 0;
  XClickCounter mClicks;
};
