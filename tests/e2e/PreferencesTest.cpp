// The preferences dialog driven as a user drives it: opened from the File
// menu, combo boxes opened with a click and chosen by keyboard, and the
// buttons pressed. What it did is heard on the recording, read in the
// console and in settings.ini.

#include "MidiSender.h"
#include "ScreenSession.h"
#include "Signal.h"
#include "VELTRA.h"

#include <cmath>
#include <fstream>
#include <gtest/gtest.h>
#include <memory>
#include <random>
#include <sys/stat.h>
#include <thread>

namespace
{
constexpr size_t kRate = 44100;

// The dialog's controls by their place in it (dialog units are pixels).
struct DialogPoint
{
  int x, y;
};
const DialogPoint kDriver = {95, 61}, kIOVS = {245, 61}, kMidiIn = {95, 304}, kMidiInChan = {245, 304};
const DialogPoint kOK = {217, 393}, kApply = {157, 393}, kCancel = {277, 393}, kSameSound = {133, 220};

// As a user does: a click that a busy window missed is made again.
unsigned long OpenPreferences(VeltraOnScreen& s)
{
  for (int attempt = 0; attempt < 3; ++attempt)
  {
    s.ChooseMenuItem("File", 0);
    if (unsigned long dialog = s.xserver.WaitForWindow("^Preferences$", 10.0)) return dialog;
    s.xserver.Run({"xdotool", "key", "Escape"});
  }
  return 0;
}

void At(VeltraOnScreen& s, unsigned long dialog, DialogPoint p, int* x, int* y)
{
  int w, h;
  s.xserver.Geometry(dialog, x, y, &w, &h);
  *x += p.x;
  *y += p.y;
}

void Press(VeltraOnScreen& s, unsigned long dialog, DialogPoint button)
{
  int x, y;
  At(s, dialog, button, &x, &y);
  s.xserver.Click(x, y);
}

// Opens a combo box with a click and moves down by steps entries.
void ChooseInCombo(VeltraOnScreen& s, unsigned long dialog, DialogPoint combo, int steps)
{
  const char* key = steps < 0 ? "Up" : "Down";
  steps = std::abs(steps);
  int x, y;
  At(s, dialog, combo, &x, &y);
  const std::vector<unsigned long> before = s.xserver.Windows("");
  s.xserver.Click(x, y);
  s.xserver.WaitForWindow("", 5.0, before); // its list
  for (int i = 0; i < steps; ++i) s.xserver.Key(key);
  s.xserver.Key("Return");
  Sleep(0.2);
}

// Whether a note sounds on the recording. A restarted stream comes with new
// ports, which the recorder joins first; its silent start is waited out.
bool Sounds(VeltraOnScreen& s, MidiSender& midi, std::vector<unsigned char> on)
{
  EXPECT_TRUE(s.run.recorder.ConnectTo("VELTRA:outport ", 10.0));
  s.run.recorder.WaitForFrames(s.run.recorder.Frames() + kRate, 10.0);
  const size_t from = s.run.recorder.Frames();
  midi.Send(on);
  s.run.recorder.WaitForFrames(from + kRate / 2, 10.0);
  midi.Send({(unsigned char)(0x80 | (on[0] & 0x0F)), on[1], 0});
  const size_t to = s.run.recorder.Frames();
  s.run.recorder.WaitForFrames(to + kRate, 10.0); // the release
  return Rms(s.run.recorder.Left(), from, to) > 1e-3;
}

size_t Count(const std::string& text, const std::string& what)
{
  size_t n = 0;
  for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) ++n;
  return n;
}
} // namespace

TEST(Preferences, AMidiInputAndChannelChosenWithOkActAndAreSaved)
{
  VeltraOnScreen s;
  ASSERT_EQ(s.Start(), "");
  const unsigned long dialog = OpenPreferences(s);
  ASSERT_NE(dialog, 0u) << "File > Preferences... opens the dialog";
  ChooseInCombo(s, dialog, kMidiIn, 1);     // off -> virtual input
  ChooseInCombo(s, dialog, kMidiInChan, 2); // all -> 1 -> 2
  Press(s, dialog, kOK);
  ASSERT_TRUE(s.xserver.WaitForWindowGone(dialog, 10.0));

  const std::string ini = ReadWholeFile(s.run.SettingsPath());
  EXPECT_NE(ini.find("indev=virtual input\n"), std::string::npos) << ini;
  EXPECT_NE(ini.find("inchan=2\n"), std::string::npos) << ini;
  MidiSender midi;
  ASSERT_TRUE(midi.ConnectTo("To VELTRA", 20.0)) << "the virtual port opened at once";
  EXPECT_FALSE(Sounds(s, midi, {0x90, 69, 120})) << "channel 1 is filtered";
  EXPECT_TRUE(Sounds(s, midi, {0x91, 69, 120})) << "channel 2 plays";
}

TEST(Preferences, ApplyRestartsTheStreamAndCancelPutsEverythingBack)
{
  VeltraOnScreen s;
  ASSERT_EQ(s.Start("[midi]\nindev=virtual input\n"), "");
  MidiSender midi;
  ASSERT_TRUE(midi.ConnectTo("To VELTRA", 20.0));
  ASSERT_TRUE(s.run.recorder.WaitForFrames(kRate, 20.0));
  const std::string iniBefore = ReadWholeFile(s.run.SettingsPath());
  ASSERT_FALSE(iniBefore.empty());

  const unsigned long dialog = OpenPreferences(s);
  ASSERT_NE(dialog, 0u);
  ChooseInCombo(s, dialog, kIOVS, 1); // 512 -> 1024
  Press(s, dialog, kApply);
  const std::string restarted = "trying to start audio stream @ 44100 sr, 1024 iovs, 32 sigvs";
  const double start = Now();
  while (Count(s.run.veltra.Output(), restarted) == 0 && SecondsSince(start) < 10.0) Sleep(0.05);
  EXPECT_EQ(Count(s.run.veltra.Output(), restarted), 1u) << s.run.veltra.Output();
  EXPECT_EQ(s.xserver.Windows("^Preferences$").size(), 1u) << "Apply leaves the dialog open";

  ChooseInCombo(s, dialog, kMidiInChan, 3); // all -> 3: channel 1 would be filtered
  ChooseInCombo(s, dialog, kMidiIn, -1);    // virtual input -> off: the port closes at once
  const double closing = Now();
  while (s.run.recorder.PortsExist("RtMidi Input Client:To VELTRA") && SecondsSince(closing) < 10.0) Sleep(0.05);
  EXPECT_FALSE(s.run.recorder.PortsExist("RtMidi Input Client:To VELTRA"));
  Press(s, dialog, kCancel);
  ASSERT_TRUE(s.xserver.WaitForWindowGone(dialog, 10.0));
  EXPECT_EQ(ReadWholeFile(s.run.SettingsPath()), iniBefore) << "Cancel writes nothing";
  const std::string out = s.run.veltra.Output();
  EXPECT_EQ(Count(out, "trying to start audio stream @ 44100 sr, 512 iovs, 32 sigvs"), 2u)
      << "the stream restarted as it was: " << out;
  MidiSender again;
  ASSERT_TRUE(again.ConnectTo("To VELTRA", 20.0)) << "Cancel brings the virtual port back, as the settings say";
  EXPECT_TRUE(Sounds(s, again, {0x90, 69, 120})) << "channel 1 plays again, as before";
}

// On a 48 kHz stream VELTRA plays at its own rate and its output is
// converted: note 69 sounds at 44100/101 Hz, as at 44.1 kHz, and the LFO's
// sweep of a resonant filter takes as long in seconds. "Same sound at every
// rate" unticked with OK: the stream restarts with VELTRA at 48 kHz, its
// pitch following the rate, and the choice is kept in options.ini beside
// settings.ini, which keeps its own keys.
TEST(Preferences, AtFortyEightKilohertzTheSameSoundUntilTheOptionIsTurnedOff)
{
  VeltraOnScreen s;
  s.run.server.rate = 48000;
  constexpr int kRate48 = 48000;
  // The last program played: the filter swept by the LFO, 0.004 a tick.
  {
    std::unique_ptr<VELTRA> plug((VELTRA*)MakePlug(nullptr, nullptr));
    plug->RestorePreset(0);
    plug->GetParam(kLFODepth)->Set(1.0);
    plug->GetParam(kLFORate)->Set(0.004);
    plug->GetParam(kFilterCutoff)->Set(0.3);
    plug->GetParam(kFilterResonance)->Set(0.9);
    ByteChunk program;
    plug->MakeProgramFXP(&program, "Sweep");
    const std::string folder = s.run.home.Path() + "/.config/VELTRA";
    mkdir((s.run.home.Path() + "/.config").c_str(), 0755);
    mkdir(folder.c_str(), 0755);
    std::ofstream(folder + "/current.fxp", std::ios::binary).write((const char*)program.GetBytes(), program.Size());
  }
  ASSERT_EQ(s.Start("[audio]\nsr=48000\n[midi]\nindev=virtual input\n"), "");
  ASSERT_EQ(s.run.recorder.SampleRate(), (size_t)kRate48);
  MidiSender midi;
  ASSERT_TRUE(midi.ConnectTo("To VELTRA", 20.0));
  JackRecorder& r = s.run.recorder;
  auto hold = [&](int note, double seconds)
  {
    r.WaitForFrames(r.Frames() + kRate48 / 2, 10.0);
    const size_t from = r.Frames();
    midi.Send({0x90, (unsigned char)note, 110});
    r.WaitForFrames(from + (size_t)(seconds * kRate48), 30.0);
    midi.Send({0x80, (unsigned char)note, 0});
    const size_t onset = FirstSound(r.Left(), from, r.Frames());
    return std::vector<float>(r.Left().begin() + (long)onset, r.Left().begin() + (long)(from + seconds * kRate48));
  };
  std::vector<float> a2 = hold(45, 4.0);
  for (size_t i = a2.size() - 1; i >= 2; --i) a2[i] -= a2[i - 2];
  EXPECT_NEAR(Period(Envelope(a2, kRate48), 500, 300, 700), 2 / 0.004 * 44 * 1000 / 44100, 5.0)
      << "the LFO's period at 44.1 kHz, 499 ms";
  const std::vector<float> a4 = hold(69, 1.0);
  EXPECT_NEAR(Fundamental(a4, kRate48 / 10, a4.size(), kRate48), 44100.0 / 101, 0.1) << "101 samples at 44.1 kHz";

  const unsigned long dialog = OpenPreferences(s);
  ASSERT_NE(dialog, 0u);
  Press(s, dialog, kSameSound);
  Press(s, dialog, kOK);
  ASSERT_TRUE(s.xserver.WaitForWindowGone(dialog, 10.0));
  const std::string restarted = "trying to start audio stream @ 48000 sr";
  const double start = Now();
  while (Count(s.run.veltra.Output(), restarted) < 2 && SecondsSince(start) < 10.0) Sleep(0.05);
  EXPECT_EQ(Count(s.run.veltra.Output(), restarted), 2u) << s.run.veltra.Output();
  const std::string folder = s.run.home.Path() + "/.config/VELTRA/";
  EXPECT_EQ(ReadWholeFile(folder + "options.ini"), "[sound]\nsame sound at every rate = off\n");
  EXPECT_EQ(ReadWholeFile(folder + "settings.ini").find("same"), std::string::npos);
  ASSERT_TRUE(r.ConnectTo("VELTRA:outport ", 10.0));
  // The wavetable's steps now count 48 kHz samples: a cycle of 110 of them,
  // and an LFO 44100/48000 as long.
  const std::vector<float> native = hold(69, 1.0);
  EXPECT_NEAR(Fundamental(native, kRate48 / 10, native.size(), kRate48), 48000.0 / 110, 0.1);
  std::vector<float> swept = hold(45, 4.0);
  for (size_t i = swept.size() - 1; i >= 2; --i) swept[i] -= swept[i - 2];
  EXPECT_NEAR(Period(Envelope(swept, kRate48), 500, 300, 700), 2 / 0.004 * 44 * 1000 / 48000, 5.0);
}

// Started before its sound server: VELTRA plays silent and says so in its
// own words, the sound libraries' complaints kept to themselves. Once a
// server runs, OK finds it under "Default": the stream starts, and MIDI is
// made afresh with "To VELTRA" published.
TEST(Preferences, AServerThatComesAfterVeltraIsFoundAtOk)
{
  VeltraOnScreen s;
  s.run.serverLater = true;
  ASSERT_EQ(s.Start("[midi]\nindev=virtual input\n"), "");
  const double start = Now();
  while (s.run.veltra.Output().find("running silent") == std::string::npos && SecondsSince(start) < 10.0) Sleep(0.05);
  EXPECT_NE(s.run.veltra.Output().find("no audio device: running silent"), std::string::npos) << s.run.veltra.Output();
  EXPECT_NE(s.run.veltra.Output().find("no MIDI system found: MIDI is off"), std::string::npos);
  std::string error;
  ASSERT_TRUE(s.run.server.Start(&error)) << error;
  ASSERT_TRUE(s.run.recorder.Open(s.run.server.Name(), &error)) << error;
  const unsigned long dialog = OpenPreferences(s);
  ASSERT_NE(dialog, 0u);
  Press(s, dialog, kOK);
  ASSERT_TRUE(s.xserver.WaitForWindowGone(dialog, 10.0));
  MidiSender midi;
  ASSERT_TRUE(midi.ConnectTo("To VELTRA", 20.0)) << s.run.veltra.Output() << s.run.veltra.Errors();
  EXPECT_TRUE(Sounds(s, midi, {0x90, 69, 120})) << s.run.veltra.Output() << s.run.veltra.Errors();
  const std::string console = s.run.veltra.Output() + s.run.veltra.Errors();
  for (const char* theirs : {"MidiInJack", "MidiOutJack", "RtApiJack", "server not running"})
    EXPECT_EQ(console.find(theirs), std::string::npos) << console;
}

// ALSA without sound cards offers no device: OK leaves VELTRA silent but
// running, and the dialog can bring the sound back.
TEST(Preferences, ADriverWithoutDevicesLeavesVeltraSilentAndTheDialogUsable)
{
  VeltraOnScreen s;
  ASSERT_EQ(s.Start(), "");
  unsigned long dialog = OpenPreferences(s);
  ASSERT_NE(dialog, 0u);
  ChooseInCombo(s, dialog, kDriver, 3); // Default -> Jack -> Pulse -> ALSA
  EXPECT_FALSE(s.run.recorder.PortsExist("VELTRA:")) << "a driver change replaces the audio object at once";
  Press(s, dialog, kOK);
  ASSERT_TRUE(s.xserver.WaitForWindowGone(dialog, 10.0));
  Sleep(1.0);
  EXPECT_TRUE(s.run.veltra.Running());
  EXPECT_FALSE(s.run.recorder.PortsExist("VELTRA:"));
  const std::string out = s.run.veltra.Output();
  EXPECT_EQ(out.find("went away"), std::string::npos) << "nothing went away: " << out;
  EXPECT_NE(out.find("no audio device: running silent"), std::string::npos) << out;

  dialog = OpenPreferences(s);
  ASSERT_NE(dialog, 0u) << "the dialog opens again";
  ChooseInCombo(s, dialog, kDriver, -2); // back to Jack, its first devices
  Press(s, dialog, kApply);
  EXPECT_TRUE(s.run.recorder.ConnectTo("VELTRA:outport ", 20.0)) << "the stream runs again";
  Press(s, dialog, kOK);
  EXPECT_TRUE(s.xserver.WaitForWindowGone(dialog, 10.0));
  EXPECT_TRUE(s.run.veltra.Running());
}

// MIDI on JACK (no ALSA sequencer here): the server dies while VELTRA plays.
// Its MIDI ports are dropped without a call into the dead client, so the
// dialog can change them; once the server is back, Apply restarts the
// sound and publishes "To VELTRA" again.
TEST(Preferences, MidiOfADeadServerIsDroppedAndComesBackWithTheSound)
{
  VeltraOnScreen s;
  ASSERT_EQ(s.Start("[midi]\nindev=virtual input\n"), "");
  ASSERT_TRUE(s.run.recorder.WaitForFrames(kRate, 20.0));
  s.run.recorder.Close();
  s.run.server.Kill();
  const double start = Now();
  while (s.run.veltra.Output().find("VELTRA runs on silent") == std::string::npos && SecondsSince(start) < 10.0)
    Sleep(0.05);
  EXPECT_NE(s.run.veltra.Output().find("audio stream stopped: the JACK server went away; VELTRA runs on silent"),
            std::string::npos)
      << s.run.veltra.Output();
  EXPECT_EQ(s.run.veltra.Errors().find("shutting down this client"), std::string::npos) << "only VELTRA's own line\n"
                                                                                        << s.run.veltra.Errors();

  unsigned long dialog = OpenPreferences(s);
  ASSERT_NE(dialog, 0u);
  ChooseInCombo(s, dialog, kMidiIn, -1); // virtual input -> off
  Sleep(0.5);
  ASSERT_TRUE(s.run.veltra.Running()) << s.run.veltra.Errors();
  ChooseInCombo(s, dialog, kMidiIn, 1); // and back

  std::string error;
  ASSERT_TRUE(s.run.server.Start(&error)) << error;
  ASSERT_TRUE(s.run.recorder.Open(s.run.server.Name(), &error)) << error;
  Press(s, dialog, kApply);
  MidiSender midi;
  ASSERT_TRUE(midi.ConnectTo("To VELTRA", 20.0)) << "the virtual port is published again\n" << s.run.veltra.Output();
  EXPECT_TRUE(Sounds(s, midi, {0x90, 69, 120})) << s.run.veltra.Output() << s.run.veltra.Errors();
  Press(s, dialog, kOK);
  EXPECT_TRUE(s.xserver.WaitForWindowGone(dialog, 10.0));
  const int status = s.run.veltra.StopWith(SIGTERM, 15.0);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << s.run.veltra.Errors();
}

// One VELTRA through twenty-five deaths of its JACK server (ended as
// `killall jackd` ends it), and another through twenty-five more, each at
// another moment: while a note is held, in
// the middle of a knob's drag, while Preferences restarts the sound, while
// the MIDI port is being closed. After each the server comes back and OK (or
// Cancel, which reopens the port) brings the sound back. VELTRA never ends,
// never aborts, says why its sound stopped, and ends cleanly at the last
// SIGTERM, which the second half sends as the server dies (as a session's
// end takes both down at once: VELTRA must not wait for the stream).
class ServerDeaths : public ::testing::TestWithParam<int>
{
};

TEST_P(ServerDeaths, AtEveryMomentLeaveVeltraRunning)
{
  VeltraOnScreen s(600.0);
  ASSERT_EQ(s.Start("[midi]\nindev=virtual input\n"), "");
  // The test's own JACK clients would die with the server: none stays open.
  s.run.recorder.Close();
  std::mt19937 random(44 + GetParam());
  for (int k = 25 * GetParam(); k < 25 * (GetParam() + 1); ++k)
  {
    SCOPED_TRACE("death " + std::to_string(k));
    const int moment = k % 4;
    const double delay = (double)(random() % 300) / 1000.0;
    unsigned long dialog = 0;
    if (moment == 0)
    {
      {
        MidiSender midi;
        if (midi.ConnectTo("To VELTRA", 5.0)) midi.Send({0x90, (unsigned char)(60 + k % 12), 100});
        Sleep(0.05);
      }
      Sleep(delay);
      s.run.server.Terminate();
    }
    else if (moment == 1)
    {
      std::thread drag([&] { s.DragPanel({{588, 68}, {588, 90}, {588, 110}, {588, 80}}); });
      Sleep(delay);
      s.run.server.Terminate();
      drag.join();
    }
    else
    {
      dialog = OpenPreferences(s);
      ASSERT_NE(dialog, 0u);
      if (moment == 2)
        Press(s, dialog, kApply);
      else
        ChooseInCombo(s, dialog, kMidiIn, -1); // virtual input -> off
      Sleep(delay);
      s.run.server.Terminate();
    }
    Sleep(0.3);
    ASSERT_TRUE(s.run.veltra.Running()) << s.run.veltra.Errors();
    std::string error;
    ASSERT_TRUE(s.run.server.Start(&error)) << error;
    if (!dialog) dialog = OpenPreferences(s);
    ASSERT_NE(dialog, 0u);
    Press(s, dialog, moment == 3 ? kCancel : kOK);
    ASSERT_TRUE(s.xserver.WaitForWindowGone(dialog, 10.0));
  }
  if (GetParam()) s.run.server.Terminate();
  const int status = s.run.veltra.StopWith(SIGTERM, 15.0);
  const std::string errors = s.run.veltra.Errors();
  EXPECT_TRUE(status != -1 && WIFEXITED(status) && WEXITSTATUS(status) == 0) << errors;
  EXPECT_NE(s.run.veltra.Output().find("audio stream stopped: the JACK server went away"), std::string::npos)
      << s.run.veltra.Output();
  EXPECT_EQ(errors.find("terminate called"), std::string::npos) << errors;
  EXPECT_EQ(errors.find("ERROR: AddressSanitizer"), std::string::npos) << errors;
}

INSTANTIATE_TEST_SUITE_P(Halves, ServerDeaths, ::testing::Values(0, 1));
