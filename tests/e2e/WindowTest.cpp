// VELTRA's window on a real X server: what it shows, and every way out.

#include "IGraphics.h"
#include "ScreenSession.h"
#include "VELTRA.h"
#include "swell-gdi.h"

#include <gtest/gtest.h>
#include <memory>
#include <sys/wait.h>

namespace
{
void ExpectCleanExit(int status, const VeltraProcess& veltra)
{
  ASSERT_NE(status, -1) << "VELTRA did not end";
  EXPECT_TRUE(WIFEXITED(status)) << "ended by signal " << (WIFSIGNALED(status) ? WTERMSIG(status) : 0);
  EXPECT_EQ(WEXITSTATUS(status), 0) << veltra.Errors();
}
} // namespace

// Without a sound device the panel stands still (no meter moves), so the
// screen must show exactly what the engine draws: the same panel, drawn
// here by the instrument's own code.
TEST(Window, ShowsThePanelBelowItsMenuBarExactlyAsTheEngineDrawsIt)
{
  XServer x;
  std::string error;
  ASSERT_TRUE(x.Start(&error)) << error;
  TempDir home;
  VeltraProcess veltra;
  ASSERT_TRUE(veltra.Start(VELTRA_EXE, "veltra-e2e-no-server", home.Path(), x.Env()));
  const unsigned long win = x.WaitForWindow("^VELTRA$", 20.0);
  ASSERT_NE(win, 0u) << veltra.Output() << veltra.Errors();
  int wx, wy, w, h;
  ASSERT_TRUE(x.Geometry(win, &wx, &wy, &w, &h));
  EXPECT_EQ(w, 920);
  EXPECT_GT(h, 400) << "a menu bar above the panel";
  EXPECT_NEAR(wx + w / 2, 640, 2) << "centred on the 1280 x 800 screen";

  SWELL_InstallGfxBackend();
  std::unique_ptr<VELTRA> plug((VELTRA*)MakePlug(nullptr, nullptr));
  plug->RestorePreset(0);
  IGraphics* gui = MakePlugGUI(plug.get());
  IRECT all(0, 0, 920, 400);
  gui->Draw(&all);
  // The first frames arrive once the window is mapped: look until they have.
  int different = 0;
  const double start = Now();
  do {
    std::unique_ptr<LICE_IBitmap> shot(x.Screenshot(win, home.File("window.png")));
    ASSERT_TRUE(shot);
    different = DifferingPixels(gui->GetDrawBitmap(), shot.get(), 0, 0, 920, 400, h - 400);
  } while (different && SecondsSince(start) < 10.0);
  EXPECT_EQ(different, 0) << "pixels differ from the engine's surface";
  ExpectCleanExit(veltra.StopWith(SIGTERM, 15.0), veltra);
}

// Quit from the menu, Ctrl+Q and the window manager's close all end VELTRA
// through its clean-up, with status 0, its stream closed.
TEST(Window, QuitCtrlQAndClosingTheWindowEachEndVeltra)
{
  for (const char* way : {"File > Quit", "Ctrl+Q", "close"})
  {
    SCOPED_TRACE(way);
    VeltraOnScreen s;
    ASSERT_EQ(s.Start(), "");
    if (way[0] == 'F')
      s.ChooseMenuItem("File", 1);
    else if (way[0] == 'C')
    {
      s.xserver.Move(s.ScreenX(460), s.ScreenY(200));
      s.xserver.Key("ctrl+q");
    }
    else
      ASSERT_TRUE(s.xserver.CloseWindow(s.window));
    ExpectCleanExit(s.WaitForExit(15.0), s.run.veltra);
    EXPECT_FALSE(s.run.recorder.PortsExist("VELTRA:")) << "the stream closed";
  }
}

// A logout or a session manager ends VELTRA with SIGTERM (a terminal with
// SIGINT) whatever the user has open: the dialog or menu closes as if
// cancelled and VELTRA ends as from File > Quit, its settings unchanged.
TEST(Window, ATerminationSignalEndsEveryOpenDialogOrMenu)
{
  for (const char* what : {"Preferences", "Save", "About", "menu"})
  {
    SCOPED_TRACE(what);
    VeltraOnScreen s;
    ASSERT_EQ(s.Start(), "");
    const std::string settings = ReadWholeFile(s.run.SettingsPath());
    const std::vector<unsigned long> before = s.xserver.Windows("");
    const std::string w = what;
    if (w == "Preferences")
      s.ChooseMenuItem("File", 0);
    else if (w == "Save")
      s.ChoosePopupItem(450, 240, {0});
    else if (w == "About")
      s.ChooseMenuItem("Help", 0);
    else
      s.ClickPanel(450, 240);
    const char* title = w == "Preferences" ? "^Preferences$" : w == "Save" ? "^Save$" : "";
    ASSERT_NE(s.xserver.WaitForWindow(title, 20.0, before), 0u) << "it opens";
    Sleep(0.3);
    ExpectCleanExit(s.run.veltra.StopWith(w == "menu" ? SIGINT : SIGTERM, 5.0), s.run.veltra);
    EXPECT_FALSE(s.run.recorder.PortsExist("VELTRA:")) << "the stream closed";
    EXPECT_EQ(ReadWholeFile(s.run.SettingsPath()), settings);
  }
}
