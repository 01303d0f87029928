// The LV2 plug-in in a real host on a real JACK server, as a musician runs
// it: jalv loads the bundle of this build, a JACK MIDI client plays a note
// into its MIDI input, and its outputs are recorded. The note sounds at its
// pitch and as loud as the offline render of the same note.

#include "Lv2Host.h"
#include "JackSession.h"
#include "Signal.h"
#include "VELTRA.h"

#include <atomic>
#include <cmath>
#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
constexpr size_t kRate = 44100;
} // namespace

TEST(LV2Host, JalvPlaysANoteAtItsPitchAsTheOfflineRender)
{
  JackServer server;
  std::string error;
  ASSERT_TRUE(server.Start(&error)) << error;
  setenv("JACK_DEFAULT_SERVER", server.Name().c_str(), 1);
  TempDir dir;
  std::vector<std::string> env = {"LV2_PATH=" VELTRA_LV2_DIR, "JACK_DEFAULT_SERVER=" + server.Name(),
                                  "JACK_NO_START_SERVER=1", "HOME=" + dir.Path()};
  // A plug-in built with AddressSanitizer needs its runtime first in the host.
  if (*VELTRA_ASAN_LIB) env.insert(env.end(), {"LD_PRELOAD=" VELTRA_ASAN_LIB, "ASAN_OPTIONS=detect_leaks=0"});
  // jalv reads commands from its standard input and ends at its end: it gets
  // a pipe that stays open while the test runs.
  const std::string fifo = dir.File("stdin");
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  const int keepOpen = open(fifo.c_str(), O_RDWR);
  ASSERT_GE(keepOpen, 0);
  const pid_t jalv =
      Spawn({"/bin/sh", "-c", std::string("exec /usr/bin/jalv -x -n veltra-lv2 ") + kVeltraLV2URI + " < " + fifo},
            MakeEnv({"DISPLAY", "LD_PRELOAD", "ASAN_OPTIONS"}, env), dir.File("out"), dir.File("err"));
  ASSERT_GT(jalv, 0);
  JackRecorder recorder(10.0);
  ASSERT_TRUE(recorder.Open(server.Name(), &error)) << error;
  ASSERT_TRUE(recorder.ConnectTo("veltra-lv2:", 20.0, "out_l", "out_r"))
      << ReadWholeFile(dir.File("out")) << ReadWholeFile(dir.File("err"));
  JackMidiPlayer midi;
  ASSERT_TRUE(midi.Open("veltra-lv2:midi_in", 20.0));

  ASSERT_TRUE(recorder.WaitForFrames(kRate / 2, 20.0));
  const size_t pressed = recorder.Frames();
  midi.Send(0x90, 69, 100);
  ASSERT_TRUE(recorder.WaitForFrames(pressed + kRate * 3 / 2, 20.0));
  midi.Send(0x80, 69, 0);
  const size_t released = recorder.Frames();
  ASSERT_TRUE(recorder.WaitForFrames(released + kRate * 2, 20.0));
  EXPECT_NE(StopProcess(jalv, SIGTERM, 10.0), -1) << "jalv did not end on SIGTERM";
  close(keepOpen);

  const std::vector<float>& out = recorder.Left();
  const size_t onset = FirstSound(out, pressed, released);
  ASSERT_LT(onset, released) << "the note made no sound";
  // Note 69 lasts 101 whole samples a cycle: 436.6 Hz.
  const size_t from = onset + kRate / 10, to = onset + kRate;
  EXPECT_NEAR(Fundamental(out, from, to, (double)kRate), 44100.0 / 101.0, 1.0);

  // The same note offline, from its first sound on: equally loud.
  setenv("LV2_PATH", VELTRA_LV2_DIR, 1);
  Lv2Host host(kVeltraLV2URI);
  std::unique_ptr<Lv2Host::Instance> offline = host.Instantiate((double)kRate);
  const StereoRender r = offline->Render({{0, {0x90, 69, 100}, 3}}, (long long)kRate * 2, [] { return 512; });
  const size_t offOnset = FirstSound(r.mLeft, 0, r.mLeft.size());
  const double live = Rms(out, from, to), reference = Rms(r.mLeft, offOnset + kRate / 10, offOnset + kRate);
  EXPECT_GT(live, 0.01);
  EXPECT_NEAR(20.0 * std::log10(live / reference), 0.0, 0.1) << "live " << live << ", offline " << reference;
  EXPECT_NEAR(Fundamental(r.mLeft, offOnset + kRate / 10, offOnset + kRate, (double)kRate),
              Fundamental(out, from, to, (double)kRate), 0.01);
  EXPECT_LT(Rms(out, released + kRate * 3 / 2, released + kRate * 2), live * 1e-3) << "the note-off ends it";
}
