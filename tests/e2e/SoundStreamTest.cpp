#include "JackSession.h"

#include <csignal>
#include <gtest/gtest.h>
#include <sys/wait.h>

TEST(SoundStream, RunsSilentOnJackAndEndsInOrder)
{
  PlayingVeltra run;
  ASSERT_EQ(run.Start(), "");
  JackRecorder& recorder = run.recorder;
  VeltraProcess& veltra = run.veltra;
  ASSERT_EQ(recorder.SampleRate(), 44100);

  // Two seconds of the stream, well past the 51 silent buffers.
  ASSERT_TRUE(recorder.WaitForFrames(2 * 44100, 20.0)) << "frames: " << recorder.Frames();
  EXPECT_TRUE(recorder.WriteWav(run.home.File("out.wav")));
  size_t loud = 0;
  for (size_t i = 0; i < recorder.Frames(); ++i) loud += recorder.Left()[i] != 0.0f || recorder.Right()[i] != 0.0f;
  EXPECT_EQ(loud, 0u) << "no note was played: the output is silence";

  const int status = veltra.StopWith(SIGTERM, 15.0);
  ASSERT_NE(status, -1) << "VELTRA did not end after SIGTERM";
  EXPECT_TRUE(WIFEXITED(status)) << "ended by signal " << (WIFSIGNALED(status) ? WTERMSIG(status) : 0);
  EXPECT_EQ(WEXITSTATUS(status), 0) << veltra.Errors();
  EXPECT_FALSE(recorder.PortsExist("VELTRA:")) << "the stream's client closed at cleanup";

  const std::string out = veltra.Output();
  EXPECT_NE(out.find("\ntrying to start audio stream @ 44100 sr, 512 iovs, 32 sigvs\nindev = 0:system\n"
                     "outdev = 0:system\n"),
            std::string::npos)
      << out;
}
