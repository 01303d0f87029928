#include "JackSession.h"

#include <csignal>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

TEST(SoundStream, RunsSilentOnJackWritesTheDefaultSettingsAndEndsInOrder)
{
  PlayingVeltra run;
  ASSERT_EQ(run.Start(), "");
  JackRecorder& recorder = run.recorder;
  VeltraProcess& veltra = run.veltra;
  ASSERT_EQ(recorder.SampleRate(), 44100);

  // Two seconds of the stream, well past the 51 silent buffers.
  ASSERT_TRUE(recorder.WaitForFrames(2 * 44100, 20.0)) << "frames: " << recorder.Frames();
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

  const std::string folder = run.home.Path() + "/.config/VELTRA";
  struct stat st;
  ASSERT_EQ(stat(folder.c_str(), &st), 0) << "the settings folder and its parents are made";
  EXPECT_EQ(st.st_mode & 0002, 0u) << "never world-writable";
  EXPECT_EQ(ReadWholeFile(folder + "/settings.ini"), "[audio]\n"
                                                     "driver=0\n"
                                                     "in1=1\n"
                                                     "in2=2\n"
                                                     "indev=Built-in Input\n"
                                                     "iovs=512\n"
                                                     "monoinput=0\n"
                                                     "out1=1\n"
                                                     "out2=2\n"
                                                     "outdev=Built-in Output\n"
                                                     "sigvs=32\n"
                                                     "sr=44100\n"
                                                     "\n"
                                                     "[midi]\n"
                                                     "inchan=0\n"
                                                     "indev=off\n"
                                                     "outchan=0\n"
                                                     "outdev=off\n"
                                                     "\n");
  EXPECT_NE(access((folder + "/.settings.ini.new").c_str(), F_OK), 0) << "no temporary file left";
}
