#include "MainWindow.h"

#include "App.h"
#include "AudioEngine.h"
#include "Console.h"
#include "Controllers.h"
#include "CurrentProgram.h"
#include "IGraphicsLinux.h"
#include "IPlugStandalone.h"
#include "Options.h"
#include "Session.h"
#include "Settings.h"
#include "VELTRA.h"
#include "VELTRAPanel.h"
#include "lice.h"
#include "resource.h"
#include "swell-menu.h"

#include <gtk/gtk.h>

#include <cstdio>

LRESULT PreferencesDlgProc(HWND hwnd, unsigned int msg, WPARAM wParam, LPARAM lParam);

namespace
{
// The main window's resource: 920 x 400 with no controls; the panel's view
// fills it.
void CreateMainDialog(HWND hwnd, int flags)
{
  SWELL_MakeSetCurParms(1.0f, 1.0f, 0.0f, 0.0f, hwnd, false, !(flags & 8));
  SWELL_GenerateDialogFromList(nullptr, 0);
}
SWELL_DialogRegHelper sMainDialog(&SWELL_curmodule_dialogresource_head, CreateMainDialog, IDD_DIALOG_MAIN, 12, "VELTRA",
                                  920, 400, 1.0);

const SWELL_MenuGen_Entry kMenu1[] = {
    {SWELL_MENUGEN_POPUP_PREFIX "&File", 0, 0},
    {"Preferences...", ID_PREFERENCES, 0},
    {"&Quit", ID_QUIT, 0},
    {SWELL_MENUGEN_ENDPOPUP, 0, 0},
    {SWELL_MENUGEN_POPUP_PREFIX "&MIDI", 0, 0},
    {"&Learn Controller", ID_LEARN_CONTROLLER, 0},
    {"&Forget Controller", ID_FORGET_CONTROLLER, 0},
    {"Forget &All Controllers", ID_FORGET_ALL_CONTROLLERS, 0},
    {SWELL_MENUGEN_ENDPOPUP, 0, 0},
    // The panel's sizes, from ID_VIEW_SIZE_FIRST in the order of kPanelSizes.
    {SWELL_MENUGEN_POPUP_PREFIX "&View", 0, 0},
    {"&100%", ID_VIEW_SIZE_FIRST, MFT_RADIOCHECK},
    {"12&5%", ID_VIEW_SIZE_FIRST + 1, MFT_RADIOCHECK},
    {"15&0%", ID_VIEW_SIZE_FIRST + 2, MFT_RADIOCHECK},
    {"&200%", ID_VIEW_SIZE_FIRST + 3, MFT_RADIOCHECK},
    {SWELL_MENUGEN_ENDPOPUP, 0, 0},
    {SWELL_MENUGEN_POPUP_PREFIX "&Help", 0, 0},
    {"&About", ID_ABOUT, 0},
    {SWELL_MENUGEN_ENDPOPUP, 0, 0},
};
void CreateMenu1(HMENU menu) { SWELL_GenerateMenuFromList(menu, kMenu1, (int)(sizeof(kMenu1) / sizeof(kMenu1[0]))); }
SWELL_MenuGenHelper sMenu1(&SWELL_curmodule_menuresource_head, CreateMenu1, IDR_MENU1);

// The only window: closing it ends the program, except under a session
// manager, which ends VELTRA itself; there it only hides.
void CloseMainWindow(HWND hwnd)
{
  if (SessionKeepsWindow())
    HideWindowForSession();
  else
    DestroyWindow(hwnd);
}

const char* const kAboutText = "QuillmoorInstruments\nBuilt on " __DATE__;

IGraphics* PanelGUI() { return gPluginInstance ? static_cast<IGraphics*>(gPluginInstance->GetGUI()) : nullptr; }

// The View menu's dot on the panel's size.
void TickPanelSize(HWND hwnd, int percent)
{
  for (int i = 0; i < kNumPanelSizes; ++i)
    CheckMenuItem(GetMenu(hwnd), ID_VIEW_SIZE_FIRST + i, kPanelSizes[i] == percent ? MF_CHECKED : MF_UNCHECKED);
}

// The panel, and the window around it, at a size from the View menu; the
// choice is kept for the next start.
void ChoosePanelSize(HWND hwnd, int percent)
{
  if (IGraphics* gui = PanelGUI()) gui->SetPanelSize(percent);
  TickPanelSize(hwnd, percent);
  if (percent != ChosenPanelSize() && !SetChosenPanelSize(percent))
    Say("couldn't keep the panel's size in %s: %s\n", "options.ini", strerror(errno));
}

void OnCommand(HWND hwnd, int id)
{
  switch (id)
  {
  case ID_ABOUT:
    if (!gPluginInstance || !gPluginInstance->HostRequestingAboutBox()) MessageBox(hwnd, kAboutText, "VELTRA", MB_OK);
    break;
  case ID_PREFERENCES:
    if (SWELL_DialogBox(SWELL_curmodule_dialogresource_head, IDD_DIALOG_PREF, hwnd, PreferencesDlgProc, 0) == 1)
      UpdateINI();
    break;
  case ID_QUIT:
    CloseMainWindow(hwnd);
    break;
  case ID_LEARN_CONTROLLER:
    ToggleLearning();
    break;
  case ID_FORGET_CONTROLLER:
    ForgetController();
    break;
  case ID_FORGET_ALL_CONTROLLERS:
    ForgetAllControllers();
    break;
  default:
    if (id >= ID_VIEW_SIZE_FIRST && id <= ID_VIEW_SIZE_LAST)
      ChoosePanelSize(hwnd, kPanelSizes[id - ID_VIEW_SIZE_FIRST]);
    break;
  }
}
// Escape ends learning, wherever the keyboard focus is in the window.
gboolean OnWindowKey(GtkWidget*, GdkEventKey* ev, gpointer)
{
  if (ev->keyval != GDK_KEY_Escape || !IsLearning()) return FALSE;
  StopLearning();
  return TRUE;
}
} // namespace

int StartPanelSize()
{
  // Asked of the desktop once: the start asks at each step of the window's
  // making.
  static const int desktop = IGraphicsLinux::DesktopPanelSize();
  return ChosenPanelSize() ? ChosenPanelSize() : desktop;
}

bool AttachGUI()
{
  // The panel is made the first time a window can show it: without a display
  // the instrument plays with none.
  IGraphics* gui = gPluginInstance && gHWND ? MakePlugGUI(gPluginInstance) : nullptr;
  if (!gui) return false;
  gui->SetPanelSize(StartPanelSize());
  if (!gui->OpenWindow(gHWND)) return false;
  gPluginInstance->OnGUIOpen();
  // The program the last run ended with is playing: its name is shown.
  VELTRADisplay* display = static_cast<VELTRA*>(gPluginInstance)->Display();
  if (display && *StartProgramName()) display->SetTextFromPlug(StartProgramName());
  return true;
}

void CenterWindow(HWND hwnd)
{
  if (hwnd) SWELL_CenterWindow(hwnd);
}

LRESULT MainDlgProc(HWND hwnd, unsigned int msg, WPARAM wParam, LPARAM)
{
  switch (msg)
  {
  case WM_INITDIALOG:
    gHWND = hwnd;
    if (!AttachGUI()) Say("couldn't attach gui\n");
    CenterWindow(hwnd);
    ShowWindow(hwnd, SW_SHOW);
    return 1;
  case WM_DESTROY:
    gHWND = nullptr;
    SWELL_PostQuitMessage(hwnd); // the only window: closing it ends the program
    return 0;
  case WM_CLOSE:
    CloseMainWindow(hwnd);
    return 0;
  case WM_COMMAND:
    OnCommand(hwnd, LOWORD(wParam));
    return 0;
  default:
    return 0;
  }
}

void LaunchMainWindow()
{
  // This desktop has no application menu bar to merge into
  // (SWELL_GetCurrentMenu answers null): the window carries File and Help
  // itself, with the accelerators a Linux user expects.
  HMENU bar = nullptr;
  if (!SWELL_GetCurrentMenu() && SWELL_HasDisplay())
  {
    bar = SWELL_LoadMenu(SWELL_curmodule_menuresource_head, IDR_MENU1);
    SWELL_SetMenuItemAccel(bar, ID_QUIT, "<Control>q");
    SWELL_SetMenuItemAccel(bar, ID_PREFERENCES, "<Control>comma");
  }
  // The window's icon: the desktop's own at 48 x 48, from the resource root
  // as the panel's images are.
  if (SWELL_HasDisplay())
  {
    LICE_IBitmap* icon = LICE_LoadPNGFromNamedResource("resources/img/icon.png");
    SWELL_SetDefaultWindowIcon(icon);
    delete icon;
  }
  SWELL_CreateDialog(SWELL_curmodule_dialogresource_head, IDD_DIALOG_MAIN, nullptr, MainDlgProc, 0);
  if (void* window = gHWND ? SWELL_GetNativeWindow(gHWND) : nullptr)
    g_signal_connect(window, "key-press-event", G_CALLBACK(OnWindowKey), nullptr);
  if (bar && gHWND)
  {
    SetMenu(gHWND, bar);
    TickPanelSize(gHWND, PanelGUI() ? PanelGUI()->PanelSize() : StartPanelSize());
    SWELL_SetDefaultModalWindowMenu(bar);
  }
  else
    DestroyMenu(bar);
  if (!AttachGUI()) Say("couldn't attach gui\n");
}
