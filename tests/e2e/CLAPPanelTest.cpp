// VELTRA's panel in a CLAP host of the tests' own on a private X server: the
// host's window takes the panel, the host's timer drives it, and the mouse
// turns a knob (the host hears a gesture through its flush), plays the
// keyboard (the sound plays the note), while the host's changes and MIDI
// notes show on the panel. Opened and closed again and again.

#include "ClapHost.h"
#include "IGraphicsStructs.h"
#include "ScreenSession.h"
#include "VELTRA.h"
#include "XSession.h"

#include <clap/ext/gui.h>
#include <clap/ext/params.h>
#include <clap/ext/timer-support.h>

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <memory>
#include <thread>
// After the test framework: Xlib's macros would change its names.
#include <X11/Xlib.h>

namespace
{
const IRECT kCutoffKnobArea(570, 50, 612, 92);
const IRECT kKey60Area(320, 290, 340, 400);

struct HostWindow
{
  Display* display = nullptr;
  Window window = 0;
  explicit HostWindow(const std::string& name)
  {
    display = XOpenDisplay(name.c_str());
    if (!display) return;
    window = XCreateSimpleWindow(display, DefaultRootWindow(display), 0, 0, 1000, 480, 0, 0, 0x303030);
    XStoreName(display, window, "CLAP host");
    XMapWindow(display, window);
    XSync(display, False);
  }
  ~HostWindow()
  {
    if (!display) return;
    XDestroyWindow(display, window);
    XCloseDisplay(display);
  }
};

class Panel
{
public:
  Panel(ClapHost::Instance* in, unsigned long parent) : mIn(in)
  {
    mGui = (const clap_plugin_gui_t*)in->Extension(CLAP_EXT_GUI);
    mTimer = (const clap_plugin_timer_support_t*)in->Extension(CLAP_EXT_TIMER_SUPPORT);
    const clap_plugin_t* p = in->Plugin();
    clap_window_t w = {CLAP_WINDOW_API_X11, {}};
    w.x11 = parent;
    mOpen = mGui && mTimer && mGui->is_api_supported(p, CLAP_WINDOW_API_X11, false) &&
            !mGui->is_api_supported(p, CLAP_WINDOW_API_X11, true) && mGui->create(p, CLAP_WINDOW_API_X11, false) &&
            mGui->set_parent(p, &w) && mGui->show(p) && in->HasTimer();
  }
  ~Panel()
  {
    if (mGui) mGui->destroy(mIn->Plugin());
  }
  bool Open() const { return mOpen; }
  bool Size(uint32_t* w, uint32_t* h) const { return mGui->get_size(mIn->Plugin(), w, h); }
  const clap_plugin_gui_t* Gui() const { return mGui; }
  // The host's timer for a while, the sound running between frames.
  void Run(double seconds)
  {
    for (double t = 0; t < seconds; t += 0.03)
    {
      mTimer->on_timer(mIn->Plugin(), 1);
      mIn->ProcessOnce(1323, {}, 0);
      Sleep(0.03);
    }
  }

private:
  ClapHost::Instance* mIn;
  const clap_plugin_gui_t* mGui = nullptr;
  const clap_plugin_timer_support_t* mTimer = nullptr;
  bool mOpen = false;
};

int Count(const std::vector<std::string>& events, const std::string& prefix)
{
  return (int)std::count_if(events.begin(), events.end(),
                            [&](const std::string& e) { return e.compare(0, prefix.size(), prefix) == 0; });
}
} // namespace

TEST(CLAPPanel, TurnsPlaysAndFollowsTheHost)
{
  XServer x;
  std::string error;
  ASSERT_TRUE(x.Start(&error)) << error;
  TempDir dir;
  setenv("DISPLAY", x.Display().c_str(), 1);        // the panel's own connection
  setenv("XDG_CONFIG_HOME", dir.Path().c_str(), 1); // where a size chosen is kept
  HostWindow host(x.Display());
  ASSERT_TRUE(host.display);
  ClapHost clap(VELTRA_CLAP_FILE);
  std::unique_ptr<ClapHost::Instance> in = clap.Instantiate(44100.0, 2048);
  ASSERT_TRUE(in);
  const clap_plugin_params_t* params = (const clap_plugin_params_t*)in->Extension(CLAP_EXT_PARAMS);
  const clap_id cutoff = 3 + kFilterCutoff;
  double before = 0, after = 0;
  ASSERT_TRUE(params->get_value(in->Plugin(), cutoff, &before));

  std::unique_ptr<Panel> panel(new Panel(in.get(), host.window));
  ASSERT_TRUE(panel->Open());
  uint32_t w = 0, h = 0;
  ASSERT_TRUE(panel->Size(&w, &h));
  EXPECT_EQ(w, (uint32_t)kPanelWidth);
  EXPECT_EQ(h, (uint32_t)kPanelHeight);
  panel->Run(1.0);
  std::unique_ptr<LICE_IBitmap> first(x.Screenshot(host.window, dir.File("first.png")));
  ASSERT_TRUE(first);

  // A drag down the cutoff knob: the sound takes it at once, and the host
  // hears one gesture with values inside, through a flush it was asked for.
  in->TakeOutEvents();
  const int requests = in->FlushRequests();
  x.Drag({{590, 70}, {590, 390}});
  panel->Run(0.5);
  in->Flush();
  const std::vector<std::string> events = in->TakeOutEvents();
  ASSERT_TRUE(params->get_value(in->Plugin(), cutoff, &after));
  EXPECT_LT(after, before * 0.5);
  EXPECT_GT(in->FlushRequests(), requests);
  const std::string id = std::to_string(cutoff);
  ASSERT_FALSE(events.empty());
  EXPECT_EQ(events.front(), "begin " + id);
  EXPECT_EQ(events.back(), "end " + id);
  EXPECT_EQ(Count(events, "begin "), 1);
  EXPECT_GE(Count(events, "value " + id + " "), 1);
  std::unique_ptr<LICE_IBitmap> turned(x.Screenshot(host.window, dir.File("turned.png")));
  ASSERT_TRUE(turned);
  EXPECT_GT(DifferingPixels(first.get(), turned.get(), kCutoffKnobArea.L, kCutoffKnobArea.T, kCutoffKnobArea.R,
                            kCutoffKnobArea.B),
            20);

  // The host moves it back: the knob follows, and nothing goes back.
  in->Flush({{0, cutoff, before}});
  panel->Run(0.3);
  std::unique_ptr<LICE_IBitmap> back(x.Screenshot(host.window, dir.File("back.png")));
  ASSERT_TRUE(back);
  EXPECT_EQ(DifferingPixels(first.get(), back.get(), kCutoffKnobArea.L, kCutoffKnobArea.T, kCutoffKnobArea.R,
                            kCutoffKnobArea.B),
            0);
  EXPECT_TRUE(in->TakeOutEvents().empty());

  // A note held by MIDI lights its key.
  in->ProcessOnce(64, {{0, {0x90, 60, 100}, 3}}, 0);
  panel->Run(0.3);
  std::unique_ptr<LICE_IBitmap> lit(x.Screenshot(host.window, dir.File("lit.png")));
  ASSERT_TRUE(lit);
  EXPECT_GT(DifferingPixels(first.get(), lit.get(), kKey60Area.L, kKey60Area.T, kKey60Area.R, kKey60Area.B), 100);
  in->ProcessOnce(64, {{0, {0x80, 60, 0}, 3}}, 0);
  panel->Run(0.3);

  // Key 60 of the panel's keyboard, held with the mouse, sounds.
  x.Run({"xdotool", "mousemove", "330", "369", "mousedown", "1"});
  panel->Run(0.3);
  in->ProcessOnce(2048, {}, 0);
  EXPECT_GT(in->LastPeak(), 0.01f) << "the panel's key made no sound";
  x.Run({"xdotool", "mouseup", "1"});
  panel->Run(0.2);

  // A program chosen in the panel's menu (Wind Sweep, the last of Pluck &
  // FX) becomes the sound's, name and all, and the host hears its values.
  // The menu holds the host's timer while it is open, as a menu does: the
  // keys come from another thread.
  in->TakeOutEvents();
  std::thread hands(
      [&]
      {
        x.Click(450, 230);
        Sleep(0.8);
        for (int k = 0; k < 6; ++k) x.Key("Down"); // Save, Load, Bass, Lead, Pad & Keys, Pluck & FX
        x.Key("Right");
        for (int k = 0; k < 7; ++k) x.Key("Down");
        x.Key("Return");
      });
  panel->Run(0.5);
  hands.join();
  panel->Run(0.5);
  in->Flush();
  EXPECT_GE(Count(in->TakeOutEvents(), "value "), 40);
  std::vector<uint8_t> state;
  ASSERT_TRUE(in->SaveState(&state));
  ASSERT_GT(state.size(), 60u);
  EXPECT_STREQ((const char*)state.data() + 28, "Wind Sweep");

  // The host's scale factor sizes the panel; a host's resize snaps to the
  // nearest size, which is kept as the user's, over the host's factor.
  const clap_plugin_gui_t* gui = panel->Gui();
  const clap_plugin_t* p = in->Plugin();
  EXPECT_TRUE(gui->can_resize(p));
  EXPECT_TRUE(gui->set_scale(p, 1.5));
  ASSERT_TRUE(panel->Size(&w, &h));
  EXPECT_EQ(w * 1000 + h, 1380u * 1000 + 600u);
  uint32_t aw = 1200, ah = 560;
  ASSERT_TRUE(gui->adjust_size(p, &aw, &ah));
  EXPECT_EQ(aw * 1000 + ah, 1150u * 1000 + 500u);
  EXPECT_FALSE(gui->set_size(p, 1000, 500));
  EXPECT_TRUE(gui->set_size(p, aw, ah));
  panel->Run(0.3);
  std::unique_ptr<LICE_IBitmap> larger(x.Screenshot(host.window, dir.File("larger.png")));
  ASSERT_TRUE(larger);
  EXPECT_GT(DifferingPixels(first.get(), larger.get(), 900, 300, 1000, 480), 1000) << "drawn at 125 %";
  EXPECT_NE(ReadWholeFile(dir.File("VELTRA/options.ini")).find("size = 125 %"), std::string::npos);
  panel.reset();
  panel.reset(new Panel(in.get(), host.window));
  EXPECT_TRUE(gui->set_scale(p, 1.0));
  ASSERT_TRUE(panel->Size(&w, &h));
  EXPECT_EQ(w, 1150u) << "the size chosen wins over the host's factor";
  std::remove(dir.File("VELTRA/options.ini").c_str());

  // Closed and opened again and again, the timer with it.
  for (int k = 0; k < 10; ++k)
  {
    panel.reset();
    EXPECT_FALSE(in->HasTimer());
    panel.reset(new Panel(in.get(), host.window));
    ASSERT_TRUE(panel->Open()) << "opening " << k + 2;
    panel->Run(0.06);
  }
  panel.reset();
}
