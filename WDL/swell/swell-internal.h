#pragma once
// The records behind HWND and HMENU, shared by the window and menu code of
// the layer. Not for callers of the layer.

#include "swell-menu.h"
#include "swell-wnd.h"

#include <gtk/gtk.h>
#include <string>
#include <vector>

struct SWELL_MenuItem
{
  std::string text; // "&" marks the mnemonic
  int id = 0;
  HMENU sub = nullptr; // owned
  bool separator = false;
  unsigned int state = 0;
  intptr_t data = 0;
  std::string accel; // GTK accelerator, "" for none
  // One of a group of choices: neighbouring ones form a group in which one
  // is checked, shown with a dot.
  bool radio = false;
};

struct HMENU__
{
  std::vector<SWELL_MenuItem> items;
  // The GTK menu made from it while a window shows it: its children are
  // the items, in order.
  GtkWidget* shell = nullptr;
  ~HMENU__();
};

enum SWELL_WndKind
{
  kWndProc,   // a procedure only
  kWndWindow, // a top-level window or dialog
  kWndButton,
  kWndCheck,
  kWndCombo,
  kWndLabel,
  kWndGroup,
  kWndEdit,
  kWndOther
};

struct HWND__
{
  DLGPROC proc = nullptr;
  LPARAM param = 0;
  SWELL_WndKind kind = kWndProc;
  GtkWidget* widget = nullptr;  // the GtkWindow, or the control's widget
  GtkWidget* box = nullptr;     // windows: menu bar above content
  GtkWidget* content = nullptr; // windows: the GtkFixed of the controls and views
  GtkWidget* menubar = nullptr;
  GtkAccelGroup* accels = nullptr;
  HMENU menu = nullptr; // owned
  HWND parent = nullptr;
  std::vector<HWND> children; // controls, owned
  int id = -1;
  bool isDefault = false;
  int suppress = 0; // >0 while the layer itself changes a control: no notification
  std::vector<std::string> comboTexts;
  bool modal = false;
  bool ended = false;
  INT_PTR result = 0;
  GMainLoop* loop = nullptr;
  bool destroying = false;       // WM_DESTROY has been sent
  bool inDestroyMessage = false; // while it is being handled
  guint showSource = 0;          // a first showing waiting for the loop
};

// The menu as a GTK menu bar of the window, with its accelerators.
void SWELL_BuildMenuBar(HWND hwnd);
