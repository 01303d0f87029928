#pragma once
// The application's one window: it holds the panel and nothing else, its
// menu bar carries File and Help, and closing it ends the program. Main
// thread only.

#include "swell-wnd.h"

// The launch stage after Init: menu bar, main window, and the second
// attachment of the panel. Without a display only the attachment is tried,
// and its failure printed.
void LaunchMainWindow();

// Opens the instrument's panel in the main window; false when it has no
// panel or no window to show it in.
bool AttachGUI();

// The panel's size at the start: the one chosen in the View menu, else the
// desktop's.
int StartPanelSize();

LRESULT MainDlgProc(HWND hwnd, unsigned int msg, WPARAM wParam, LPARAM lParam);
void CenterWindow(HWND hwnd);
