// VELTRA's panel played as a user plays it: the mouse on the keys, knobs,
// switches and the program menu, the file dialogs answered by keyboard, and
// the result heard on the JACK recording or read from the files written.

#include "MidiSender.h"
#include "ScreenSession.h"
#include "Signal.h"
#include "VELTRA.h"
#include "lice.h"

#include <cmath>
#include <cstring>
#include <fstream>
#include <gtest/gtest.h>
#include <memory>
#include <sys/wait.h>

namespace
{
constexpr size_t kRate = 44100;
const std::string kVirtualInput = "[midi]\nindev=virtual input\n";

// Records for the given seconds and answers the frames in that span.
std::pair<size_t, size_t> Listen(VeltraOnScreen& s, double seconds)
{
  const size_t from = s.run.recorder.Frames();
  EXPECT_TRUE(s.run.recorder.WaitForFrames(from + (size_t)(seconds * kRate), 20.0));
  return {from, s.run.recorder.Frames()};
}

double LevelOf(VeltraOnScreen& s, std::pair<size_t, size_t> span)
{
  return Rms(s.run.recorder.Left(), span.first, span.second);
}

// The share of a tone's energy above its fundamental, by the Goertzel
// filter at the first eight harmonics: a sine has none, FM plenty.
double OvertoneShare(const std::vector<float>& v, size_t from, size_t to, double f0)
{
  double total = 0.0, above = 0.0;
  for (int k = 1; k <= 8; ++k)
  {
    const double w = 2.0 * M_PI * f0 * k / (double)kRate;
    double s1 = 0.0, s2 = 0.0;
    for (size_t i = from; i < to; ++i)
    {
      const double s0 = v[i] + 2.0 * std::cos(w) * s1 - s2;
      s2 = s1;
      s1 = s0;
    }
    const double power = s1 * s1 + s2 * s2 - 2.0 * std::cos(w) * s1 * s2;
    total += power;
    if (k > 1) above += power;
  }
  return total > 0.0 ? above / total : 0.0;
}

// The normalised values of a program file in the parameter form.
std::vector<float> ProgramValues(const std::string& path)
{
  const std::vector<unsigned char> bytes = ReadBytes(path);
  std::vector<float> values;
  for (size_t at = 56; at + 4 <= bytes.size(); at += 4)
  {
    const uint32_t u =
        (uint32_t)bytes[at] << 24 | (uint32_t)bytes[at + 1] << 16 | (uint32_t)bytes[at + 2] << 8 | bytes[at + 3];
    float v;
    memcpy(&v, &u, 4);
    values.push_back(v);
  }
  return values;
}

bool WaitForFile(const std::string& path, double timeoutSec)
{
  const double start = Now();
  while (SecondsSince(start) < timeoutSec)
  {
    if (std::ifstream(path).good()) return true;
    Sleep(0.05);
  }
  return false;
}

// Knob centres on the panel, by their control's place.
// Types a path into the file dialog titled as given (after the key that
// selects its name field) and confirms it; false unless it came and went.
bool AnswerFileDialog(VeltraOnScreen& s, const char* title, const char* fieldKey, const std::string& path)
{
  const unsigned long dialog = s.xserver.WaitForWindow(title, 20.0);
  if (!dialog) return false;
  s.xserver.Focus(dialog);
  s.xserver.Key(fieldKey);
  s.xserver.Type(path);
  s.xserver.Key("Return");
  return s.xserver.WaitForWindowGone(dialog, 20.0);
}

const int kCutoffX = 588, kCutoffY = 68;  // Filter Cutoff at (570, 50)
const int kMasterX = 831, kMasterY = 298; // Master Volume at (813, 280)
} // namespace

// At 150 %, where the key lies under the pointer by the panel's mapping of
// units to pixels (at 100 % the other tests click).
TEST(Panel, AClickedKeySoundsAtItsPitchUntilReleased)
{
  VeltraOnScreen s;
  s.map = IPanelScale(150);
  ASSERT_EQ(s.Start(), "");
  ASSERT_TRUE(s.run.recorder.WaitForFrames(kRate, 20.0)); // past the silent start
  // The key of note 60: the first white key of the second octave, low on it.
  const int x = 180 + 140 + 10, y = 269 + 95;
  s.xserver.Move(s.ScreenX(x), s.ScreenY(y));
  const size_t pressed = s.run.recorder.Frames();
  s.xserver.Run({"xdotool", "mousedown", "1"});
  const auto held = Listen(s, 1.0);
  s.xserver.Run({"xdotool", "mouseup", "1"});
  const auto after = Listen(s, 1.5);

  const std::vector<float>& out = s.run.recorder.Left();
  const size_t onset = FirstSound(out, pressed, held.second);
  ASSERT_LT(onset, held.second) << "the key made no sound";
  // Note 60 lasts 169 whole samples a cycle: 260.9 Hz.
  EXPECT_NEAR(Fundamental(out, onset + kRate / 10, held.second, (double)kRate), 44100.0 / 169.0, 1.0);
  const double level = Rms(out, onset + kRate / 10, held.second);
  EXPECT_GT(level, 0.02);
  EXPECT_LT(Rms(out, after.second - kRate / 4, after.second), level * 1e-3) << "the release ends the note";
}

TEST(Panel, KnobsAndSwitchesChangeTheSoundAndMidiNotesShowOnTheKeys)
{
  VeltraOnScreen s;
  ASSERT_EQ(s.Start(kVirtualInput), "");
  MidiSender midi;
  ASSERT_TRUE(midi.ConnectTo("To VELTRA", 20.0));
  ASSERT_TRUE(s.run.recorder.WaitForFrames(kRate, 20.0));
  std::unique_ptr<LICE_IBitmap> before(s.PanelShot("before.png"));

  midi.Send({0x90, 64, 110}); // E of the second octave, held from MIDI
  const auto fm = Listen(s, 1.0);
  std::unique_ptr<LICE_IBitmap> held(s.PanelShot("held.png"));
  // The key of note 64, below the black keys: 180 + 140 + 2 * 20.
  EXPECT_GT(ChangedShare(before.get(), held.get(), 362, 345, 378, 375), 0.9) << "the held key shows pressed";
  EXPECT_LT(ChangedShare(before.get(), held.get(), 382, 345, 398, 375), 0.01) << "its neighbour does not";

  // Master Volume dragged down by two knob heights: from 1.0 to 0.5.
  s.DragPanel({{kMasterX, kMasterY}, {kMasterX, kMasterY + 72}});
  const auto quieter = Listen(s, 1.0);
  const double full = LevelOf(s, {fm.first + kRate / 4, fm.second});
  EXPECT_NEAR(LevelOf(s, quieter) / full, 0.5, 0.05) << "the level follows the knob";

  // Synth Mode from FM to the sum of two sines: the overtones go.
  const double f0 = 44100.0 / 134.0; // note 64: 134 samples a cycle
  const double fmShare = OvertoneShare(s.run.recorder.Left(), quieter.first, quieter.second, f0);
  s.ClickPanel(490, 111);
  const auto sum = Listen(s, 1.0);
  const double sumShare = OvertoneShare(s.run.recorder.Left(), sum.first + kRate / 10, sum.second, f0);
  EXPECT_GT(fmShare, 0.05);
  EXPECT_LT(sumShare, fmShare / 10) << "FM " << fmShare << ", sum " << sumShare;
  std::unique_ptr<LICE_IBitmap> switched(s.PanelShot("switched.png"));
  EXPECT_GT(ChangedShare(held.get(), switched.get(), 480, 95, 500, 127), 0.2) << "the switch shows its new state";

  midi.Send({0x80, 64, 0});
  Listen(s, 0.5);
  std::unique_ptr<LICE_IBitmap> released(s.PanelShot("released.png"));
  EXPECT_LT(ChangedShare(before.get(), released.get(), 362, 345, 378, 375), 0.01) << "the key comes up again";
}

TEST(Panel, ProgramsSaveAndLoadThroughTheFileDialogs)
{
  VeltraOnScreen s;
  ASSERT_EQ(s.Start(kVirtualInput), "");
  MidiSender midi;
  ASSERT_TRUE(midi.ConnectTo("To VELTRA", 20.0));

  // Filter Cutoff turned down by one knob height: from 1.0 to 0.75.
  s.DragPanel({{kCutoffX, kCutoffY}, {kCutoffX, kCutoffY + 36}});
  std::unique_ptr<LICE_IBitmap> before(s.PanelShot("before.png"));
  const std::string saved = s.run.home.File("mine.fxp");
  s.ChoosePopupItem(450, 240, {0}); // Save Program...
  ASSERT_TRUE(AnswerFileDialog(s, "^Save$", "ctrl+a", saved)) << "the save dialog";
  ASSERT_TRUE(WaitForFile(saved, 20.0));
  Sleep(0.3);
  const std::vector<float> values = ProgramValues(saved);
  ASSERT_EQ(values.size(), (size_t)kNumParams);
  EXPECT_NEAR(values[kFilterCutoff], 0.75, 1e-6);
  EXPECT_EQ(values[kMasterVolume], 1.0f) << "untouched knobs keep their values";
  EXPECT_EQ(values[kOP1Octave], 0.5f);
  EXPECT_EQ(ReadWholeFile(saved).substr(28, 5), std::string("mine\0", 5)) << "the program takes the file's name";
  std::unique_ptr<LICE_IBitmap> named(s.PanelShot("named.png"));
  EXPECT_GT(ChangedShare(before.get(), named.get(), 295, 215, 410, 235), 0.02) << "the display shows the file";

  // A program made elsewhere, with other values.
  const std::string other = s.run.home.File("other.fxp");
  {
    std::unique_ptr<VELTRA> maker((VELTRA*)MakePlug(nullptr, nullptr));
    maker->RestorePreset(0);
    maker->GetParam(kMasterVolume)->Set(0.2);
    maker->GetParam(kOP1Waveform)->Set(4);
    WDL_String path(other.c_str());
    ASSERT_TRUE(maker->SaveProgramAsFXP(&path));
  }
  midi.Send({0x90, 69, 120});
  const auto playing = Listen(s, 1.0);
  s.ChoosePopupItem(450, 240, {1}); // Load Program...
  ASSERT_TRUE(AnswerFileDialog(s, "^Open$", "ctrl+l", other)) << "the open dialog";
  Listen(s, 0.3);
  const auto loaded = Listen(s, 1.0);
  EXPECT_LT(LevelOf(s, loaded), 0.5 * LevelOf(s, playing)) << "the program's volume is heard";
  std::unique_ptr<LICE_IBitmap> after(s.PanelShot("loaded.png"));
  EXPECT_GT(ChangedShare(named.get(), after.get(), 813, 280, 849, 316), 0.1) << "Master Volume moved";
  EXPECT_GT(ChangedShare(named.get(), after.get(), 570, 50, 606, 86), 0.1) << "Filter Cutoff moved back";
  EXPECT_GT(ChangedShare(named.get(), after.get(), 30, 40, 66, 76), 0.05) << "OP1 Waveform moved";
  EXPECT_GT(ChangedShare(named.get(), after.get(), 295, 215, 410, 235), 0.02) << "the display shows the new name";
  midi.Send({0x80, 69, 0});

  // A factory program loaded with the panel showing it saves again, under
  // its own name, to the very same bytes (the factory test saves every
  // program again without a panel).
  const std::string factory = std::string(VELTRA_PROGRAMS) + "/Bass/Acid Squelch.fxp";
  s.ChoosePopupItem(450, 240, {1});
  ASSERT_TRUE(AnswerFileDialog(s, "^Open$", "ctrl+l", factory));
  const std::string again = s.run.home.File("Acid Squelch.fxp");
  s.ChoosePopupItem(450, 240, {0});
  ASSERT_TRUE(AnswerFileDialog(s, "^Save$", "ctrl+a", again));
  ASSERT_TRUE(WaitForFile(again, 20.0));
  Sleep(0.2);
  EXPECT_TRUE(ReadWholeFile(again) == ReadWholeFile(factory));
}

// MIDI learn as a player does it: the defaults forgotten, then MIDI >
// Learn Controller, a turn of Filter Cutoff on the panel and a move of the
// hardware knob (CC 74). The knob then sweeps the cutoff, after picking it
// up, and the panel's knob follows. The map is kept in controllers.ini, which
// the next start reads; a damaged line of it is named and the rest kept.
TEST(Panel, AControllerLearnedFromTheMenuMovesItsKnobAndComesBackAtTheNextStart)
{
  VeltraOnScreen s;
  ASSERT_EQ(s.Start(kVirtualInput), "");
  MidiSender midi;
  ASSERT_TRUE(midi.ConnectTo("To VELTRA", 20.0));
  const std::string file = s.run.home.Path() + "/.config/VELTRA/controllers.ini";
  s.ChooseMenuItem("MIDI", 2); // Forget All Controllers
  s.ChooseMenuItem("MIDI", 0); // Learn Controller
  s.DragPanel({{kCutoffX, kCutoffY}, {kCutoffX, kCutoffY + 12}});
  Listen(s, 0.3);
  std::unique_ptr<LICE_IBitmap> chosen(s.PanelShot("learn-chosen.png"));
  midi.Send({0xB0, 74, 64});
  Listen(s, 0.3);
  std::unique_ptr<LICE_IBitmap> learned(s.PanelShot("learned.png"));
  EXPECT_GT(ChangedShare(chosen.get(), learned.get(), 295, 215, 410, 255), 0.005) << "the display names CC 74";
  s.xserver.Key("Escape");
  const std::string saved = ReadWholeFile(file);
  EXPECT_NE(saved.find("CC 74 = Filter Cutoff"), std::string::npos) << saved;
  EXPECT_EQ(saved.find("CC 1 ="), std::string::npos) << "the forgotten defaults came back: " << saved;

  midi.Send({0x90, 48, 110});
  const auto open = Listen(s, 1.0);
  // Down from the top: the knob takes the cutoff as it passes it.
  for (int v = 127; v >= 0; v -= 8) midi.Send({0xB0, 74, (unsigned char)v}), Sleep(0.02);
  midi.Send({0xB0, 74, 0});
  const auto dark = Listen(s, 1.0);
  std::unique_ptr<LICE_IBitmap> turned(s.PanelShot("cc-turned.png"));
  EXPECT_LT(LevelOf(s, dark), 0.5 * LevelOf(s, open)) << "the cutoff follows CC 74";
  EXPECT_GT(ChangedShare(learned.get(), turned.get(), 570, 50, 606, 86), 0.1) << "the knob follows CC 74";
  midi.Send({0x80, 48, 0});
  ASSERT_EQ(s.run.veltra.StopWith(SIGTERM, 15.0), 0);

  // The next start, without a window: the file as this one left it, and a
  // damaged line.
  std::string damaged = saved;
  damaged.insert(damaged.find("[controllers]\n") + 14, "CC 300 = Filter Cutoff\n");
  std::ofstream(file) << damaged;
  ASSERT_TRUE(s.run.veltra.Start(VELTRA_EXE, s.run.server.Name(), s.run.home.Path()));
  ASSERT_TRUE(s.run.recorder.ConnectTo("VELTRA:outport ", 20.0)) << s.run.veltra.Errors();
  EXPECT_NE(s.run.veltra.Output().find("line 3: \"CC 300\" is not a controller"), std::string::npos)
      << s.run.veltra.Output();
  MidiSender again;
  ASSERT_TRUE(again.ConnectTo("To VELTRA", 20.0));
  // The program the first run ended with plays again, the cutoff down: up
  // and down again with the knob.
  again.Send({0x90, 48, 110});
  for (int v = 0; v <= 127; v += 8) again.Send({0xB0, 74, (unsigned char)v}), Sleep(0.02);
  again.Send({0xB0, 74, 127});
  const auto bright = Listen(s, 1.0);
  for (int v = 127; v >= 0; v -= 8) again.Send({0xB0, 74, (unsigned char)v}), Sleep(0.02);
  again.Send({0xB0, 74, 0});
  EXPECT_LT(LevelOf(s, Listen(s, 1.0)), 0.5 * LevelOf(s, bright)) << "CC 74 still moves the cutoff after the restart";
}

// Programs at the player's fingertips: "Warm Pad" in two clicks of the
// program menu, Page Down to the next, the arrow back, program changes (the last wins), a
// factory bank through "Load Program...", a save of a factory program in the
// player's folder, and the program playing at the end kept for the next start.
TEST(Panel, ProgramsFromTheMenuPageDownProgramChangesAndBanksAndTheNextStartPlaysTheLast)
{
  VeltraOnScreen s;
  ASSERT_EQ(s.Start(kVirtualInput), "");
  MidiSender midi;
  ASSERT_TRUE(midi.ConnectTo("To VELTRA", 20.0));
  const std::string factory = VELTRA_PROGRAMS, current = s.run.home.Path() + "/.config/VELTRA/current.fxp";
  // current.fxp, once written after a load, holds the same bytes as the file.
  auto plays = [&](const std::string& file)
  {
    for (double start = Now(); SecondsSince(start) < 10.0; Sleep(0.1))
      if (ReadWholeFile(current) == ReadWholeFile(factory + "/" + file)) return true;
    return false;
  };
  s.ChoosePopupItem(450, 240, {4, 7}); // Pad & Keys, Warm Pad
  EXPECT_TRUE(plays("Pad & Keys/Warm Pad.fxp"));
  s.xserver.Move(s.ScreenX(300), s.ScreenY(100));
  s.xserver.Key("Next"); // Page Down: round to the next category
  EXPECT_TRUE(plays("Pluck & FX/Crystal Drops.fxp"));
  s.ClickPanel(511, 232); // the arrow back
  EXPECT_TRUE(plays("Pad & Keys/Warm Pad.fxp"));
  for (unsigned char program : {3, 9, 17}) midi.Send({0xC0, program});
  EXPECT_TRUE(plays("Pad & Keys/Electric Piano.fxp")) << "the eighteenth program";
  midi.Send({0xB0, 0, 1}); // the bank Lead
  midi.Send({0xC0, 2});
  EXPECT_TRUE(plays("Lead/Hollow Flute.fxp")) << "the third of the second bank";

  const std::string factoryFile = ReadWholeFile(factory + "/Lead/Hollow Flute.fxp");
  s.ChoosePopupItem(450, 240, {0}); // Save Program...: in the player's folder
  const unsigned long dialog = s.xserver.WaitForWindow("^Save$", 20.0);
  ASSERT_NE(dialog, 0u);
  s.xserver.Focus(dialog);
  s.xserver.Key("Return");
  EXPECT_TRUE(s.xserver.WaitForWindowGone(dialog, 10.0));
  EXPECT_TRUE(WaitForFile(s.run.home.Path() + "/.local/share/veltra/programs/Hollow Flute.fxp", 10.0));
  EXPECT_TRUE(ReadWholeFile(factory + "/Lead/Hollow Flute.fxp") == factoryFile) << "the factory file changed";

  const std::string lead = ReadWholeFile(current);
  s.ChoosePopupItem(450, 240, {1}); // Load Program...: a bank
  ASSERT_TRUE(AnswerFileDialog(s, "^Open$", "ctrl+l", factory + "/Bass.fxb"));
  for (double start = Now(); SecondsSince(start) < 10.0 && ReadWholeFile(current) == lead;) Sleep(0.1);
  const std::string name = ReadWholeFile(current).substr(28, 28);
  EXPECT_TRUE(plays("Bass/" + name.substr(0, name.find('\0')) + ".fxp")) << "the bank's current program: " << name;

  // The end keeps the program; the next start plays it and keeps it again.
  const std::string kept = ReadWholeFile(current);
  ASSERT_EQ(s.run.veltra.StopWith(SIGTERM, 15.0), 0) << s.run.veltra.Errors() << s.run.veltra.Output();
  ASSERT_TRUE(s.run.veltra.Start(VELTRA_EXE, s.run.server.Name(), s.run.home.Path()));
  ASSERT_TRUE(s.run.recorder.ConnectTo("VELTRA:outport ", 20.0));
  ASSERT_EQ(s.run.veltra.StopWith(SIGTERM, 15.0), 0);
  EXPECT_TRUE(ReadWholeFile(current) == kept) << s.run.veltra.Output();
}

// A save that fails (here into a folder that nobody, not even root, can
// write to) is told in a message box naming the file and the reason, and
// the sound plays on.
TEST(Panel, AFailedSaveSaysSo)
{
  VeltraOnScreen s;
  ASSERT_EQ(s.Start(), "");
  const std::string target = "/proc/veltra-e2e.fxp";
  s.ChoosePopupItem(450, 240, {0}); // Save Program...
  ASSERT_TRUE(AnswerFileDialog(s, "^Save$", "ctrl+a", target));
  const unsigned long box = s.xserver.WaitForWindow("^Program not saved$", 20.0);
  ASSERT_NE(box, 0u) << "the message box";
  EXPECT_NE(access(target.c_str(), F_OK), 0);
  s.xserver.Focus(box);
  s.xserver.Key("Return");
  EXPECT_TRUE(s.xserver.WaitForWindowGone(box, 10.0));
  EXPECT_TRUE(s.run.veltra.Running());
}

// At 150 % a knob dragged by as many units as at 100 % takes the same value,
// and the size chosen in the View menu comes back at the next start.
TEST(Panel, AtOneAndAHalfTimesItsSizeKnobsTurnAsAtHundredAndTheSizeChosenStays)
{
  VeltraOnScreen s;
  s.map = IPanelScale(150);
  ASSERT_EQ(s.Start(kVirtualInput), "");
  ASSERT_TRUE(s.run.recorder.WaitForFrames(kRate, 20.0));
  // Two knob heights down, 72 units (108 pixels): Master Volume from 1.0 to
  // 0.5, as at 100 %.
  MidiSender midi;
  ASSERT_TRUE(midi.ConnectTo("To VELTRA", 20.0));
  midi.Send({0x90, 64, 110});
  const auto full = Listen(s, 1.0);
  s.DragPanel({{kMasterX, kMasterY}, {kMasterX, kMasterY + 72}});
  const auto quieter = Listen(s, 1.0);
  EXPECT_NEAR(LevelOf(s, quieter) / LevelOf(s, {full.first + kRate / 4, full.second}), 0.5, 0.05);
  midi.Send({0x80, 64, 0});

  // 200 % from the View menu: the window grows, the choice is kept.
  s.ChooseMenuItem("View", 3);
  const std::string options = s.run.home.Path() + "/.config/VELTRA/options.ini";
  int x, y, w, h;
  for (int i = 0; i < 50 && !(s.xserver.Geometry(s.window, &x, &y, &w, &h) && w == 1840); ++i) Sleep(0.1);
  EXPECT_EQ(w, 1840);
  EXPECT_GT(h, 800);
  EXPECT_NE(ReadWholeFile(options).find("size = 200 %"), std::string::npos) << ReadWholeFile(options);
  ASSERT_EQ(s.run.veltra.StopWith(SIGTERM, 15.0), 0);

  ASSERT_TRUE(s.run.veltra.Start(VELTRA_EXE, s.run.server.Name(), s.run.home.Path(), s.xserver.Env()));
  const unsigned long again = s.xserver.WaitForWindow("^VELTRA$", 20.0);
  ASSERT_NE(again, 0u);
  for (int i = 0; i < 50 && !(s.xserver.Geometry(again, &x, &y, &w, &h) && w == 1840); ++i) Sleep(0.1);
  EXPECT_EQ(w, 1840) << "the next start shows the panel at 200 %";
}
