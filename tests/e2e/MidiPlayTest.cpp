#include "JackSession.h"
#include "MidiSender.h"
#include "Signal.h"

#include <cmath>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

TEST(MidiPlay, NoteThroughTheVirtualPortSoundsAndOtherChannelsAreIgnored)
{
  PlayingVeltra run;
  ASSERT_EQ(run.Start("[midi]\nindev=virtual input\ninchan=2\n"), "");
  JackRecorder& recorder = run.recorder;
  VeltraProcess& veltra = run.veltra;
  MidiSender sender;
  ASSERT_TRUE(sender.ConnectTo("To VELTRA", 20.0)) << "no \"To VELTRA\" port";

  const size_t rate = 44100;
  ASSERT_TRUE(recorder.WaitForFrames(rate, 20.0)); // well past the silent start
  const size_t wrongAt = recorder.Frames();
  sender.Send({0x90, 69, 127}); // channel 1: filtered out
  ASSERT_TRUE(recorder.WaitForFrames(wrongAt + rate / 2, 10.0));
  const size_t onAt = recorder.Frames();
  sender.Send({0x91, 69, 127});
  ASSERT_TRUE(recorder.WaitForFrames(onAt + rate, 10.0));
  const size_t offAt = recorder.Frames();
  sender.Send({0x81, 69, 0});
  ASSERT_TRUE(recorder.WaitForFrames(offAt + rate, 10.0));
  const size_t end = recorder.Frames();
  ASSERT_EQ(WEXITSTATUS(veltra.StopWith(SIGTERM, 15.0)), 0) << veltra.Errors();

  const std::vector<float>& out = recorder.Left();
  const size_t onset = FirstSound(out, 0, end);
  EXPECT_GE(onset, onAt) << "the note on channel 1 made a sound";
  EXPECT_LT(onset, onAt + rate / 5) << "the note on channel 2 did not start";
  EXPECT_GE(onset, 51u * 512u) << "sound before the 51 silent buffers had passed";

  const double hz = Fundamental(out, onset + rate / 10, offAt, (double)rate);
  EXPECT_NEAR(hz, 44100.0 / 101.0, 44100.0 / 101.0 * 0.002) << "the 101-sample cycle of note 69";
  const double level = Rms(out, onset + rate / 10, offAt);
  EXPECT_GT(level, 0.05) << "a full-velocity note at the fixed gain of 0.25";
  EXPECT_LT(Rms(out, end - rate / 4, end), level * 1e-3) << "the release dies away";
  printf("note: onset %.3f s after the send, fundamental %.2f Hz, rms %.4f\n", (double)(onset - onAt) / (double)rate,
         hz, level);
}
