#include "ScreenSession.h"

#include "lice.h"

#include <csignal>
#include <fstream>
#include <memory>
#include <sys/stat.h>

VeltraOnScreen::~VeltraOnScreen() { run.veltra.StopWith(SIGKILL, 5.0); }

std::string VeltraOnScreen::Start(const std::string& settings)
{
  std::string error;
  if (!map.Identity())
  {
    xserver.screen = "1920x1200x24";
    mkdir((run.home.Path() + "/.config").c_str(), 0755);
    mkdir((run.home.Path() + "/.config/VELTRA").c_str(), 0755);
    std::ofstream(run.home.Path() + "/.config/VELTRA/options.ini") << "[view]\nsize = " << map.Percent() << " %\n";
  }
  if (!xserver.Start(&error)) return error;
  error = run.Start(settings, xserver.Env());
  if (!error.empty()) return error;
  window = xserver.WaitForWindow("^VELTRA$", 20.0);
  if (!window) return "no window titled VELTRA: " + run.veltra.Output() + run.veltra.Errors();
  // Ready once the window has its menu bar and the panel's first frame is
  // on the screen; the window is placed and sized only then.
  const double start = Now();
  for (;;)
  {
    int x, y, w, h;
    if (xserver.Geometry(window, &x, &y, &w, &h) && h > map.Px(400))
    {
      // The panel fills the window below the menu bar.
      panelLeft = x;
      panelTop = y + h - map.Px(400);
      std::unique_ptr<LICE_IBitmap> shot(PanelShot("start.png"));
      if (shot && (LICE_GetPixel(shot.get(), map.Px(460), map.Px(390)) & 0xFFFFFF00)) return std::string();
    }
    if (SecondsSince(start) > 20.0) return "the panel was never drawn";
    Sleep(0.1);
  }
}

void VeltraOnScreen::DragPanel(const std::vector<std::pair<int, int>>& points) const
{
  std::vector<std::pair<int, int>> screen;
  for (auto& p : points) screen.emplace_back(ScreenX(p.first), ScreenY(p.second));
  xserver.Drag(screen);
}

namespace
{
// Clicks at a screen point until a menu's window shows (a click that came
// too early is repeated), then walks down to the item and takes it; further
// items of the path are items of the submenus, opened in turn.
void ClickAndChoose(const XServer& x, int sx, int sy, const std::vector<int>& path)
{
  const std::vector<unsigned long> before = x.Windows("");
  for (int attempt = 0; attempt < 3; ++attempt)
  {
    x.Click(sx, sy);
    if (x.WaitForWindow("", 5.0, before)) break;
  }
  for (size_t level = 0; level < path.size(); ++level)
  {
    if (level) x.Key("Right"); // a submenu opens on its first item
    for (int i = level ? 1 : 0; i <= path[level]; ++i) x.Key("Down");
  }
  x.Key("Return");
}
} // namespace

void VeltraOnScreen::ChooseMenuItem(const std::string& menu, int item) const
{
  // File, MIDI, View and Help stand at the left of the menu bar.
  const int x = menu == "File" ? 18 : menu == "MIDI" ? 55 : menu == "View" ? 95 : 136;
  ClickAndChoose(xserver, panelLeft + x, panelTop - 12, {item});
}

void VeltraOnScreen::ChoosePopupItem(int x, int y, const std::vector<int>& path) const
{
  ClickAndChoose(xserver, ScreenX(x), ScreenY(y), path);
}

LICE_IBitmap* VeltraOnScreen::PanelShot(const std::string& name) const
{
  LICE_IBitmap* whole = xserver.Screenshot(window, run.home.File(name));
  if (!whole) return nullptr;
  const int w = map.Px(920), h = map.Px(400);
  LICE_MemBitmap* panel = new LICE_MemBitmap(w, h);
  LICE_Blit(panel, whole, 0, 0, 0, whole->getHeight() - h, w, h, 1.0f, LICE_BLIT_MODE_COPY);
  delete whole;
  return panel;
}

int VeltraOnScreen::WaitForExit(double timeoutSec) { return run.veltra.StopWith(0, timeoutSec); }

int DifferingPixels(LICE_IBitmap* a, LICE_IBitmap* b, int l, int t, int r, int bottom, int bDy, int skipL, int skipT,
                    int skipR, int skipB)
{
  int n = 0;
  for (int y = t; y < bottom; ++y)
    for (int x = l; x < r; ++x)
      if (!(x >= skipL && x < skipR && y >= skipT && y < skipB))
        n += (LICE_GetPixel(a, x, y) | 0xFF) != (LICE_GetPixel(b, x, y + bDy) | 0xFF);
  return n;
}

double ChangedShare(LICE_IBitmap* a, LICE_IBitmap* b, int l, int t, int r, int bottom)
{
  return (double)DifferingPixels(a, b, l, t, r, bottom) / ((r - l) * (bottom - t));
}
