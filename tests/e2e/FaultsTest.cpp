#include "JackSession.h"
#include "MidiSender.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <random>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace
{
std::string Settings(const TempDir& home)
{
  mkdir((home.Path() + "/.config").c_str(), 0755);
  mkdir((home.Path() + "/.config/VELTRA").c_str(), 0755);
  return home.Path() + "/.config/VELTRA/settings.ini";
}

void Pause(double seconds) { std::this_thread::sleep_for(std::chrono::milliseconds((int)(seconds * 1000))); }
} // namespace

// The server dies while VELTRA plays: VELTRA plays on silent and says why.
// A session ending takes the server and VELTRA down at once: VELTRA must not
// wait for a stream that no server will ever run again.
TEST(Faults, TheSoundServerDiesWhilePlayingOrAtTheSameMomentAsVeltraEnds)
{
  for (int trial = 0; trial < 3; ++trial)
  {
    SCOPED_TRACE(trial);
    PlayingVeltra run;
    ASSERT_EQ(run.Start(), "");
    VeltraProcess& veltra = run.veltra;
    ASSERT_TRUE(run.recorder.WaitForFrames(44100, 20.0));
    run.recorder.Close();
    if (trial == 0)
    {
      run.server.Kill();
      Pause(1.5);
      EXPECT_TRUE(veltra.Running()) << "VELTRA outlives its sound server";
    }
    else
    {
      run.server.Signal(trial == 1 ? SIGKILL : SIGTERM);
    }
    const int status = veltra.StopWith(SIGTERM, 15.0);
    ASSERT_NE(status, -1) << "VELTRA hung at its end\n" << veltra.Errors();
    EXPECT_TRUE(WIFEXITED(status)) << veltra.Errors();
    if (trial == 0)
    {
      EXPECT_EQ(WEXITSTATUS(status), 0) << veltra.Errors();
      EXPECT_NE(veltra.Output().find("audio stream stopped: the JACK server went away"), std::string::npos)
          << veltra.Output() << veltra.Errors();
    }
  }
}

TEST(Faults, HostileSettingsFilesStartOnDefaultsAndKeepTheFile)
{
  std::mt19937 rng(7);
  std::string random(1 << 20, '\0');
  for (char& c : random) c = (char)(rng() & 0xff);
  std::string noSection(300000, 'x');
  for (size_t i = 100; i < noSection.size(); i += 101) noSection[i] = '\n';
  const std::string junkValues = "[audio]\ndriver=999999\nindev=" + std::string(5000, 'z') +
                                 "\nsr=abc\niovs=-12\nsigvs=0\nin1=x\nmonoinput=\xff\xfe\n[midi]\ninchan=77\n"
                                 "indev=" +
                                 std::string(300, 'q') + "\n";
  for (const std::string* content : {(const std::string*)&random, (const std::string*)&noSection, &junkValues})
  {
    JackServer server;
    std::string error;
    ASSERT_TRUE(server.Start(&error)) << error;
    TempDir home;
    const std::string path = Settings(home);
    std::ofstream(path, std::ios::binary) << *content;
    VeltraProcess veltra;
    ASSERT_TRUE(veltra.Start(VELTRA_EXE, server.Name(), home.Path()));
    Pause(1.5);
    EXPECT_TRUE(veltra.Running()) << veltra.Errors();
    const int status = veltra.StopWith(SIGTERM, 15.0);
    EXPECT_TRUE(status != -1 && WIFEXITED(status) && WEXITSTATUS(status) == 0) << veltra.Errors();
    if (content != &junkValues)
    {
      EXPECT_TRUE(ReadWholeFile(path + ".bad") == *content) << "the unreadable file is kept whole";
      EXPECT_NE(veltra.Output().find("kept as"), std::string::npos) << veltra.Output();
    }
    EXPECT_NE(ReadWholeFile(path).find("[midi]"), std::string::npos) << "a working file replaces it";
  }
}
