#pragma once
// VELTRA with its window on a private X server and its sound on a private
// JACK server: the common start of the tests that act as a user would, with
// the mouse and the keyboard, and listen to the result.

#include "IPanelScale.h"
#include "JackSession.h"
#include "XSession.h"

#include <memory>

class LICE_IBitmap;

struct VeltraOnScreen
{
  explicit VeltraOnScreen(double maxSeconds = 60.0) : run(maxSeconds) {}
  ~VeltraOnScreen();

  // Starts both servers and VELTRA (with settings, when given), and waits
  // for the main window. Empty on success, else what failed. With a size
  // other than 100 set before, the panel is shown at that size (on a larger
  // screen), chosen in the options file, and the points below are in its
  // units.
  std::string Start(const std::string& settings = "");
  // A panel point on the screen.
  int ScreenX(int panelX) const { return panelLeft + map.Px(panelX); }
  int ScreenY(int panelY) const { return panelTop + map.Px(panelY); }
  void ClickPanel(int x, int y, int button = 1) const { xserver.Click(ScreenX(x), ScreenY(y), button); }
  void DragPanel(const std::vector<std::pair<int, int>>& points) const;
  // Opens a menu of the menu bar ("File", "MIDI", "View" or "Help") and chooses its n-th item
  // (0-based, separators not counted) by keyboard.
  void ChooseMenuItem(const std::string& menu, int item) const;
  // The same for the popup menu that a click at a panel point opens; the
  // path's further items are those of submenus (separators not counted).
  void ChoosePopupItem(int x, int y, const std::vector<int>& path) const;
  // The panel's pixels (920 x 400 at 100 %) as the screen shows them; owned
  // by the caller.
  LICE_IBitmap* PanelShot(const std::string& name) const;
  // Waits for VELTRA to end; its wait status, or -1.
  int WaitForExit(double timeoutSec);

  XServer xserver;
  PlayingVeltra run;
  unsigned long window = 0;
  int panelLeft = 0, panelTop = 0;
  IPanelScale map;
};

// How many pixels of two pictures differ in colour (alpha aside) inside the
// rectangle l, t, r, bottom, not counting those inside skip; b's rows are
// read bDy further down.
int DifferingPixels(LICE_IBitmap* a, LICE_IBitmap* b, int l, int t, int r, int bottom, int bDy = 0, int skipL = 0,
                    int skipT = 0, int skipR = 0, int skipB = 0);
// The share of two panel shots' pixels that differ inside a rectangle.
double ChangedShare(LICE_IBitmap* a, LICE_IBitmap* b, int l, int t, int r, int bottom);
