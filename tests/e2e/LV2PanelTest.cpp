// VELTRA's panel inside LV2 hosts, as a musician meets it: jalv.gtk3 and
// jalv.qt5 on a private JACK server and X server embed the plug-in's window;
// the mouse plays its keyboard, turns a knob and opens its program menu, the
// host's preset menu moves its knobs, and the sound is recorded.

#include "IGraphics.h"
#include "JackSession.h"
#include "Lv2Host.h"
#include "ScreenSession.h"
#include "Signal.h"
#include "VELTRA.h"
#include "XSession.h"
#include "lice_freetype.h"

#include <atomic>
#include <cmath>
#include <csignal>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <lv2/atom/atom.h>
#include <lv2/options/options.h>
#include <lv2/ui/ui.h>
#include <lv2/urid/urid.h>
#include <malloc.h>
#include <memory>
#include <sstream>
#include <thread>
#include <unistd.h>
// After the test framework: Xlib's macros would change its names.
#include <X11/Xlib.h>
#if defined(__SANITIZE_ADDRESS__)
extern "C" size_t __sanitizer_get_current_allocated_bytes();
#endif

namespace
{
constexpr size_t kRate = 44100;
// The LFO's meter moves with the sound: it is left out of the comparison.
const IRECT kLFOMeterArea(600, 160, 640, 190);
const IRECT kCutoffKnobArea(570, 50, 612, 92);

std::string Hex(unsigned long w)
{
  char buf[32];
  snprintf(buf, sizeof(buf), "0x%lx", w);
  return buf;
}

// A window of the tree by what its line in xwininfo's listing holds; the
// plug-in's is named VELTRA and panel-sized, without a class (the host's
// windows have one).
unsigned long FindWindow(const XServer& x, const std::vector<std::string>& holds, double timeoutSec)
{
  const double start = Now();
  while (SecondsSince(start) < timeoutSec)
  {
    std::istringstream tree(x.Run({"xwininfo", "-root", "-tree"}));
    std::string l;
    while (std::getline(tree, l))
    {
      bool all = true;
      for (const std::string& h : holds) all = all && l.find(h) != std::string::npos;
      if (all) return std::stoul(l, nullptr, 16);
    }
    Sleep(0.1);
  }
  return 0;
}

unsigned long ParentOf(const XServer& x, unsigned long w)
{
  const std::string out = x.Run({"xwininfo", "-children", "-id", Hex(w)});
  const size_t at = out.find("Parent window id: ");
  return at == std::string::npos ? 0 : std::stoul(out.substr(at + 18), nullptr, 16);
}

// The engine's surface of a fresh panel on the default program, drawn as the
// plug-in draws it (FreeType text).
std::unique_ptr<LICE_MemBitmap> EngineSurface()
{
  LICE_InstallFreeTypeBackend();
  std::unique_ptr<VELTRA> plug((VELTRA*)MakePlug(nullptr, nullptr));
  plug->RestorePreset(0);
  plug->MakePanel();
  IGraphics* g = plug->mPanel;
  IRECT all(0, 0, g->Width(), g->Height());
  g->SetAllControlsDirty();
  g->Draw(&all);
  std::unique_ptr<LICE_MemBitmap> copy(new LICE_MemBitmap);
  LICE_Copy(copy.get(), g->GetDrawBitmap());
  return copy;
}

int DifferingPixels(LICE_IBitmap* a, LICE_IBitmap* b, const IRECT& area, const IRECT& skip = IRECT())
{
  return DifferingPixels(a, b, area.L, area.T, area.R, area.B, 0, skip.L, skip.T, skip.R, skip.B);
}

// How bright a stretch sounds: the share of its energy in sample-to-sample
// change, which a closing filter takes away.
double Brightness(const std::vector<float>& v, size_t from, size_t to)
{
  double diff = 0.0, all = 0.0;
  for (size_t i = from + 1; i < to; ++i)
  {
    diff += (v[i] - v[i - 1]) * (v[i] - v[i - 1]);
    all += v[i] * v[i];
  }
  return all > 0.0 ? diff / all : 0.0;
}

class LV2Panel : public ::testing::TestWithParam<const char*>
{
};
} // namespace

TEST_P(LV2Panel, PlaysTurnsAndFollowsTheHost)
{
  const std::string host = GetParam();
  JackServer server;
  XServer x;
  std::string error;
  ASSERT_TRUE(server.Start(&error)) << error;
  ASSERT_TRUE(x.Start(&error)) << error;
  setenv("JACK_DEFAULT_SERVER", server.Name().c_str(), 1);
  TempDir dir;
  std::vector<std::string> env = x.Env();
  env.insert(env.end(), {"JACK_DEFAULT_SERVER=" + server.Name(), "JACK_NO_START_SERVER=1", "HOME=" + dir.Path(),
                         "QT_QPA_PLATFORM=xcb", "XDG_RUNTIME_DIR=" + dir.Path()});
  // GTK's start hangs with the sanitizers' runtime in the process: that host
  // gets the bundle built without them.
  if (*VELTRA_ASAN_LIB && host == "jalv.qt5")
    env.insert(env.end(), {"LV2_PATH=" VELTRA_LV2_DIR, "LD_PRELOAD=" VELTRA_ASAN_LIB, "ASAN_OPTIONS=detect_leaks=0"});
  else
    env.push_back("LV2_PATH=" + std::string(*VELTRA_ASAN_LIB ? VELTRA_LV2_DIR "-plain" : VELTRA_LV2_DIR));
  const pid_t jalv =
      Spawn({"/usr/bin/" + host, kVeltraLV2URI}, MakeEnv({"DISPLAY", "LD_PRELOAD", "ASAN_OPTIONS", "LV2_PATH"}, env),
            dir.File("out"), dir.File("err"));
  ASSERT_GT(jalv, 0);
  // The host names its JACK client after the plug-in; the server is this test's own.
  JackRecorder recorder(40.0);
  ASSERT_TRUE(recorder.Open(server.Name(), &error)) << error;
  ASSERT_TRUE(recorder.ConnectTo("VELTRA:", 20.0, "out_l", "out_r"))
      << ReadWholeFile(dir.File("out")) << ReadWholeFile(dir.File("err"));
  JackMidiPlayer midi;
  ASSERT_TRUE(midi.Open("VELTRA:midi_in", 20.0)) << ReadWholeFile(dir.File("out")) << ReadWholeFile(dir.File("err"));

  // A child of the host's window, not a window of its own.
  const unsigned long panel = FindWindow(x, {"\"VELTRA\": ()", " 920x400+"}, 20.0);
  ASSERT_NE(panel, 0u) << x.Run({"xwininfo", "-root", "-tree"}) << ReadWholeFile(dir.File("err"));
  const unsigned long top = FindWindow(x, {"\"VELTRA\": (\"jalv"}, 5.0);
  ASSERT_NE(top, 0u);
  EXPECT_NE(ParentOf(x, panel), ParentOf(x, top)) << "the panel is a top-level window";
  EXPECT_NE(x.Run({"xwininfo", "-tree", "-id", Hex(top)}).find(Hex(panel)), std::string::npos)
      << "the panel is not inside the host's window";
  int px, py, pw, ph;
  ASSERT_TRUE(x.Geometry(panel, &px, &py, &pw, &ph));
  EXPECT_EQ(pw, kPanelWidth);
  EXPECT_EQ(ph, kPanelHeight);

  // What the screen shows is the engine's surface.
  ASSERT_TRUE(recorder.WaitForFrames(kRate, 20.0));
  std::unique_ptr<LICE_IBitmap> first(x.Screenshot(panel, dir.File("first.png")));
  ASSERT_TRUE(first);
  std::unique_ptr<LICE_MemBitmap> expected = EngineSurface();
  EXPECT_EQ(DifferingPixels(first.get(), expected.get(), IRECT(0, 0, kPanelWidth, kPanelHeight), kLFOMeterArea), 0);

  // Key 60 of the panel's keyboard, held with the mouse, sounds at its pitch.
  size_t pressed = recorder.Frames();
  x.Run({"xdotool", "mousemove", std::to_string(px + 330), std::to_string(py + 369), "mousedown", "1"});
  ASSERT_TRUE(recorder.WaitForFrames(pressed + kRate * 3 / 2, 20.0));
  x.Run({"xdotool", "mouseup", "1"});
  size_t released = recorder.Frames();
  const size_t onset = FirstSound(recorder.Left(), pressed, released);
  ASSERT_LT(onset, released) << "the panel's key made no sound";
  EXPECT_NEAR(Fundamental(recorder.Left(), onset + kRate / 10, onset + kRate, (double)kRate), 44100.0 / 169.0, 1.0);

  // A note from MIDI lights its key on the panel, and sounds as loud as the
  // offline render of the same note in the test's own host.
  ASSERT_TRUE(recorder.WaitForFrames(released + kRate, 20.0));
  const size_t sent = recorder.Frames();
  midi.Send(0x90, 60, 100);
  ASSERT_TRUE(recorder.WaitForFrames(sent + kRate, 20.0));
  std::unique_ptr<LICE_IBitmap> lit(x.Screenshot(panel, dir.File("lit.png")));
  ASSERT_TRUE(lit);
  EXPECT_GT(DifferingPixels(first.get(), lit.get(), IRECT(320, 290, 340, 400)), 100) << "key 60 is not lit";
  const size_t midiOnset = FirstSound(recorder.Left(), sent, recorder.Frames());
  ASSERT_LT(midiOnset + kRate / 2, recorder.Frames()) << "the MIDI note made no sound";
  setenv("LV2_PATH", VELTRA_LV2_DIR, 1);
  Lv2Host offline(kVeltraLV2URI);
  const StereoRender r =
      offline.Instantiate((double)kRate)->Render({{0, {0x90, 60, 100}, 3}}, (long long)kRate, [] { return 512; });
  const size_t offOnset = FirstSound(r.mLeft, 0, r.mLeft.size());
  const double live = Rms(recorder.Left(), midiOnset + kRate / 10, midiOnset + kRate / 2);
  const double reference = Rms(r.mLeft, offOnset + kRate / 10, offOnset + kRate / 2);
  EXPECT_NEAR(20.0 * std::log10(live / reference), 0.0, 0.1) << "live " << live << ", offline " << reference;

  // Turning the cutoff down closes the filter on the held note.
  size_t from = recorder.Frames();
  ASSERT_TRUE(recorder.WaitForFrames(from + kRate / 2, 20.0));
  const double open = Brightness(recorder.Left(), from, from + kRate / 2);
  x.Drag({{px + 590, py + 70}, {px + 590, py + 390}});
  from = recorder.Frames() + kRate / 10;
  ASSERT_TRUE(recorder.WaitForFrames(from + kRate / 2, 20.0));
  const double closed = Brightness(recorder.Left(), from, from + kRate / 2);
  EXPECT_LT(closed, open * 0.5) << "open " << open << ", after the drag " << closed;
  midi.Send(0x80, 60, 0);
  std::unique_ptr<LICE_IBitmap> turned(x.Screenshot(panel, dir.File("turned.png")));
  ASSERT_TRUE(turned);
  EXPECT_GT(DifferingPixels(first.get(), turned.get(), kCutoffKnobArea), 20);

  // The host's first preset (a factory program: none has the cutoff at its
  // lowest) moves the knob away from where the drag left it.
  int tx, ty, tw, th;
  ASSERT_TRUE(x.Geometry(top, &tx, &ty, &tw, &th));
  x.Click(tx + 70, ty + 10);
  Sleep(0.7);
  // jalv.gtk3 lists its preset commands above the banks, each a submenu;
  // jalv.qt5's menu of 32 presets is taller than the screen and scrolls, so
  // the keyboard takes its first entry there.
  if (host == "jalv.gtk3")
  {
    x.Click(tx + 75, ty + 88); // Bass
    Sleep(0.5);
    x.Click(tx + 320, ty + 88); // its first preset
  }
  else
  {
    x.Key("Down");
    x.Key("Return");
  }
  const double waitPreset = Now();
  std::unique_ptr<LICE_IBitmap> back;
  do {
    Sleep(0.2);
    back.reset(x.Screenshot(panel, dir.File("back.png")));
  } while (back && !DifferingPixels(turned.get(), back.get(), kCutoffKnobArea) && SecondsSince(waitPreset) < 5.0);
  ASSERT_TRUE(back);
  EXPECT_GT(DifferingPixels(turned.get(), back.get(), kCutoffKnobArea), 20) << "the preset did not move the knob";
  EXPECT_GT(DifferingPixels(turned.get(), back.get(), IRECT(295, 215, 410, 235)), 20) << "the display shows no name";

  // The program menu opens inside the panel, and saving writes the program.
  x.Click(px + 450, py + 230);
  Sleep(0.5);
  std::unique_ptr<LICE_IBitmap> menu(x.Screenshot(panel, dir.File("menu.png")));
  ASSERT_TRUE(menu);
  EXPECT_GT(DifferingPixels(back.get(), menu.get(), IRECT(410, 256, 540, 330)), 1000) << "no menu in the panel";
  x.Key("Down");
  x.Key("Return");
  const unsigned long chooser = x.WaitForWindow("^Save$", 20.0);
  ASSERT_NE(chooser, 0u) << "no file chooser";
  x.Focus(chooser);
  x.Type(dir.File("bright.fxp"));
  x.Key("Return");
  const double waitFile = Now();
  while (ReadWholeFile(dir.File("bright.fxp")).size() < 4 && SecondsSince(waitFile) < 10.0) Sleep(0.1);
  EXPECT_EQ(ReadWholeFile(dir.File("bright.fxp")).substr(0, 4), "CcnK");

  // A program chosen in the panel's menu reaches the sound through the
  // host's ports: Wind Sweep, the last of Pluck & FX, a noise, brightens the
  // held note.
  midi.Send(0x90, 60, 100);
  size_t at = recorder.Frames() + kRate / 2;
  ASSERT_TRUE(recorder.WaitForFrames(at + kRate / 2, 20.0));
  const double before = Brightness(recorder.Left(), at, at + kRate / 2);
  x.Click(px + 450, py + 230);
  Sleep(0.5);
  for (int k = 0; k < 6; ++k) x.Key("Down"); // Save, Load, Bass, Lead, Pad & Keys, Pluck & FX
  x.Key("Right");
  for (int k = 0; k < 7; ++k) x.Key("Down");
  x.Key("Return");
  at = recorder.Frames() + kRate;
  ASSERT_TRUE(recorder.WaitForFrames(at + kRate / 2, 20.0));
  EXPECT_GT(Brightness(recorder.Left(), at, at + kRate / 2), 2 * before) << "the menu's program is not heard";
  midi.Send(0x80, 60, 0);

  EXPECT_NE(StopProcess(jalv, SIGTERM, 10.0), -1) << host << " did not end on SIGTERM";
  const std::string err = ReadWholeFile(dir.File("err"));
  EXPECT_EQ(err.find("X error"), std::string::npos) << err;
}

INSTANTIATE_TEST_SUITE_P(Hosts, LV2Panel, ::testing::Values("jalv.gtk3", "jalv.qt5"),
                         [](const ::testing::TestParamInfo<const char*>& info)
                         { return std::string(info.param).substr(5); });

// A host that opens and closes the panel again and again while the sound
// plays, sometimes destroying its own window first and sometimes in the
// middle of a drag: nothing leaks, no X error, the sound goes on.
namespace
{
struct UridMap
{
  std::vector<std::string> uris;
  static LV2_URID Map(LV2_URID_Map_Handle handle, const char* uri)
  {
    UridMap* m = (UridMap*)handle;
    for (size_t i = 0; i < m->uris.size(); ++i)
      if (m->uris[i] == uri) return (LV2_URID)(i + 1);
    m->uris.push_back(uri);
    return (LV2_URID)m->uris.size();
  }
};

size_t AllocatedBytes()
{
#if defined(__SANITIZE_ADDRESS__)
  return __sanitizer_get_current_allocated_bytes();
#else
  return mallinfo2().uordblks;
#endif
}

// Shared-memory segments this process made and that still exist.
int SharedSegments()
{
  std::istringstream in(ReadWholeFile("/proc/sysvipc/shm"));
  std::string line;
  std::getline(in, line); // the heading
  int n = 0;
  while (std::getline(in, line))
  {
    std::istringstream fields(line);
    long key, id, perms, size, creator;
    if (fields >> key >> id >> perms >> size >> creator && creator == (long)getpid()) ++n;
  }
  return n;
}

void Write(LV2UI_Controller controller, uint32_t, uint32_t, uint32_t, const void*) { ++*(int*)controller; }

// The host's side of ui:resize: the last size asked for.
int AskedSize(LV2UI_Feature_Handle asked, int w, int h)
{
  *(int*)asked = w * 10000 + h;
  return 0;
}
} // namespace

TEST(LV2PanelHost, OpensAndClosesTwentyTimesWhileAChordPlays)
{
  XServer x;
  std::string error;
  ASSERT_TRUE(x.Start(&error)) << error;
  setenv("DISPLAY", x.Display().c_str(), 1);
  setenv("LV2_PATH", VELTRA_LV2_DIR, 1);
  TempDir config;
  setenv("XDG_CONFIG_HOME", config.Path().c_str(), 1); // no size chosen

  Lv2Host dspHost(kVeltraLV2URI);
  std::unique_ptr<Lv2Host::Instance> dsp = dspHost.Instantiate((double)kRate);
  ASSERT_TRUE(dsp);
  std::atomic<bool> stop{false};
  std::atomic<int> blocks{0}, silent{0};
  std::thread audio(
      [&]
      {
        std::vector<MidiAt> chord;
        for (uint8_t note : {48, 52, 55, 60}) chord.push_back({0, {0x90, note, 100}, 3});
        dsp->Render(chord, 4096, [] { return 512; });
        while (!stop)
        {
          const StereoRender r = dsp->Render({}, 4096, [] { return 512; });
          if (Rms(r.mLeft, 0, r.mLeft.size()) < 1e-3) ++silent;
          ++blocks;
        }
      });

  void* lib = dlopen(VELTRA_LV2_DIR "/veltra.lv2/veltra_ui.so", RTLD_NOW | RTLD_LOCAL);
  ASSERT_TRUE(lib) << dlerror();
  const LV2UI_Descriptor* ui = ((LV2UI_DescriptorFunction)dlsym(lib, "lv2ui_descriptor"))(0);
  ASSERT_TRUE(ui);
  const LV2UI_Idle_Interface* idle = (const LV2UI_Idle_Interface*)ui->extension_data(LV2_UI__idleInterface);
  ASSERT_TRUE(idle);
  Display* display = XOpenDisplay(x.Display().c_str());
  ASSERT_TRUE(display);
  UridMap map;
  LV2_URID_Map mapFeature = {&map, UridMap::Map};
  int writes = 0;
  const int shmBefore = SharedSegments();
  size_t afterFirst = 0;
  long long growth = 0;
  ::testing::internal::CaptureStderr();
  for (int i = 0; i < 20; ++i)
  {
    const Window parent = XCreateSimpleWindow(display, DefaultRootWindow(display), 0, 0, 920, 400, 0, 0, 0);
    XMapWindow(display, parent);
    XSync(display, False);
    const LV2_Feature mapF = {LV2_URID__map, &mapFeature}, parentF = {LV2_UI__parent, (void*)parent};
    // The last time, the host's scale factor of 2 and its resize: the panel
    // asks for 200 % of its size.
    const float two = 2.0f;
    const LV2_Options_Option options[] = {{LV2_OPTIONS_INSTANCE, 0, map.Map(&map, LV2_UI__scaleFactor), sizeof(float),
                                           map.Map(&map, LV2_ATOM__Float), &two},
                                          {LV2_OPTIONS_INSTANCE, 0, 0, 0, 0, nullptr}};
    int asked = 0;
    LV2UI_Resize resize = {&asked, AskedSize};
    const LV2_Feature optionsF = {LV2_OPTIONS__options, (void*)options}, resizeF = {LV2_UI__resize, &resize};
    const LV2_Feature* features[] = {&mapF, &parentF, &resizeF, i == 19 ? &optionsF : nullptr, nullptr};
    LV2UI_Widget widget = nullptr;
    LV2UI_Handle h =
        ui->instantiate(ui, kVeltraLV2URI, VELTRA_LV2_DIR "/veltra.lv2/", Write, &writes, &widget, features);
    ASSERT_TRUE(h);
    EXPECT_EQ(asked, i == 19 ? 1840 * 10000 + 800 : 920 * 10000 + 400) << "opening " << i + 1;
    const float cutoff = 0.5f, meter = 0.7f;
    ui->port_event(h, 3 + kFilterCutoff, sizeof(float), 0, &cutoff);
    ui->port_event(h, 3 + kLFOMeter, sizeof(float), 0, &meter);
    for (int k = 0; k < 10; ++k)
    {
      idle->idle(h);
      Sleep(0.03);
    }
    const bool dragging = i % 3 == 1;
    if (dragging)
    {
      // The host closes the panel with the cutoff knob in the user's hand.
      x.Run({"xdotool", "mousemove", "590", "70"});
      x.Run({"xdotool", "mousedown", "1"});
      // The panel reads its events between the moves, as a host idles it.
      for (const char* y : {"80", "100", "120"})
      {
        idle->idle(h);
        x.Run({"xdotool", "mousemove", "590", y});
      }
      for (int k = 0; k < 5; ++k)
      {
        idle->idle(h);
        Sleep(0.03);
      }
    }
    if (i % 2)
    {
      XDestroyWindow(display, parent);
      XSync(display, False);
      ui->cleanup(h);
    }
    else
    {
      ui->cleanup(h);
      XDestroyWindow(display, parent);
      XSync(display, False);
    }
    if (dragging) x.Run({"xdotool", "mouseup", "1"});
    if (i == 0) afterFirst = AllocatedBytes();
    // Up to the last opening, which reads the twice-size images once.
    if (i == 18) growth = (long long)AllocatedBytes() - (long long)afterFirst;
  }
  const std::string err = ::testing::internal::GetCapturedStderr();
  stop = true;
  audio.join();
  XCloseDisplay(display);
  EXPECT_LT(growth, 1 << 20) << "memory grew by " << growth << " bytes over 18 openings";
  EXPECT_EQ(SharedSegments(), shmBefore) << "shared images left behind";
  EXPECT_EQ(err.find("X error"), std::string::npos) << err;
  EXPECT_GT(writes, 0) << "the knob drags reached no port";
  EXPECT_GT(blocks.load(), 10);
  EXPECT_EQ(silent.load(), 0) << "the chord stopped";
}
