#include "JackSession.h"
#include "MidiSender.h"
#include "Signal.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <random>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{
std::string Settings(const TempDir& home)
{
  mkdir((home.Path() + "/.config").c_str(), 0755);
  mkdir((home.Path() + "/.config/VELTRA").c_str(), 0755);
  return home.Path() + "/.config/VELTRA/settings.ini";
}
} // namespace

// A flood of MIDI messages of a length VELTRA does not take, 20000 a second
// into "To VELTRA" while a note sounds, with VELTRA's console a pipe nobody
// reads: the MIDI thread prints nothing and never blocks, the note sounds on
// at its level, memory stays bounded, and SIGTERM still ends VELTRA at once.
TEST(Faults, AFloodOfLongMessagesWithAnUnreadConsoleStopsNothing)
{
  PlayingVeltra run;
  run.veltra.LeaveOutputUnread();
  ASSERT_EQ(run.Start("[midi]\nindev=virtual input\n"), "");
  JackRecorder& recorder = run.recorder;
  MidiSender sender;
  ASSERT_TRUE(sender.ConnectTo("To VELTRA", 20.0));
  ASSERT_TRUE(recorder.WaitForFrames(44100, 20.0));
  sender.Send({0x90, 69, 100});
  ASSERT_TRUE(recorder.WaitForFrames(recorder.Frames() + 22050, 20.0));
  const size_t floodStart = recorder.Frames();
  const long startKiB = run.veltra.PeakKiB();
  const auto start = std::chrono::steady_clock::now();
  long sent = 0;
  for (double elapsed = 0.0; elapsed < 3.0;
       elapsed = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count())
  {
    for (; sent < 20000 * elapsed; ++sent) sender.Send({0x90, 60, 100, 0, (unsigned char)(sent % 128)});
    Sleep(0.001);
  }
  const size_t floodEnd = recorder.Frames();
  EXPECT_TRUE(run.veltra.Running());
  // The held note's level, in windows of 50 ms, before and through the flood.
  const std::vector<float>& out = recorder.Left();
  const double before = Rms(out, floodStart - 4410, floodStart);
  double lowest = before;
  for (size_t at = floodStart; at + 2205 <= floodEnd; at += 2205) lowest = std::min(lowest, Rms(out, at, at + 2205));
  EXPECT_GT(before, 0.01) << "the held note sounds";
  EXPECT_GT(lowest, before * 0.9) << "the sound faltered during the flood";
  EXPECT_LT(run.veltra.PeakKiB() - startKiB, 64 * 1024);
  const int status = run.veltra.StopWith(SIGTERM, 15.0);
  EXPECT_TRUE(status != -1 && WIFEXITED(status) && WEXITSTATUS(status) == 0) << run.veltra.Errors();
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
    Sleep(1.5);
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
