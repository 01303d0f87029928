#include "AppState.h"
#include "AudioEngine.h"
#include "Console.h"
#include "IGraphicsXlib.h"
#include "IPanelSizeFile.h"
#include "IPlugStandalone.h"
#include "MidiEngine.h"
#include "Options.h"
#include "Settings.h"
#include "TempDir.h"

#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <sys/stat.h>
#include <vector>

namespace
{
class MidiRecorder : public IPlugStandalone
{
public:
  MidiRecorder()
      : IPlugStandalone(IPlugInstanceInfo(), 0, "0-1 0-2", 0, "rec", "", "", 0x10000, 1, 1, 0, true, false, true, 0)
  {
  }
  void ProcessMidiMsg(IMidiMsg* msg) override { mGot.push_back(*msg); }
  std::vector<IMidiMsg> mGot;
};

void Deliver(std::vector<unsigned char> bytes) { MIDICallback(0.0, &bytes, nullptr); }

} // namespace

TEST(MidiCallback, SizeRuleAndChannelFilter)
{
  AppState state;
  gState = &state;
  MidiRecorder plug;
  gPluginInstance = &plug;

  Deliver({0xD0, 5}); // a two-byte channel pressure
  Deliver({0xF8});
  Deliver({});
  testing::internal::CaptureStdout();
  Deliver({0x90, 60, 100, 0});
  Deliver({0x90, 60, 100, 0, 1});
  FlushConsole(5.0);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "") << "the MIDI thread prints nothing";
  testing::internal::CaptureStdout();
  ReportMidiStatus(); // on the main thread, once for both
  FlushConsole(5.0);
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "NOT EXPECTING 5 midi callback msg len\n"
            "(2 messages of a length other than 1, 2 or 3 ignored since the last report)\n");
  ASSERT_EQ(plug.mGot.size(), 2u) << "channel 0 passes everything";
  EXPECT_EQ(plug.mGot[0].mData2, 0);
  EXPECT_EQ(plug.mGot[0].mOffset, 0);
  EXPECT_EQ(plug.mGot[1].mStatus, 0xF8);

  plug.mGot.clear();
  state.mMidiInChan = 3;
  Deliver({0x92, 60, 100});
  Deliver({0x91, 60, 100});
  Deliver({0xF2, 1, 2}); // system messages are filtered on their low nibble too
  ASSERT_EQ(plug.mGot.size(), 2u);
  EXPECT_EQ(plug.mGot[0].mStatus, 0x92);
  EXPECT_EQ(plug.mGot[1].mStatus, 0xF2);

  gPluginInstance = nullptr;
  gState = nullptr;
}

TEST(Settings, MissingKeysAreCompletedAndTextKept)
{
  TempDir temp;
  const std::string dir = temp.Path();
  system(("mkdir -p '" + dir + "/VELTRA'").c_str());
  std::ofstream(dir + "/VELTRA/settings.ini") << "[audio]\nsr=48000\niovs=1024\nin1=70000\n";
  setenv("XDG_CONFIG_HOME", dir.c_str(), 1);
  AppState state;
  gState = &state;

  EXPECT_EQ(LoadSettings(), 0);
  EXPECT_STREQ(state.mAudioSR, "48000");
  EXPECT_STREQ(state.mAudioIOVS, "1024");
  EXPECT_EQ(state.mAudioInChanL, (uint16_t)70000) << "numbers are narrowed to 16 bits";
  EXPECT_STREQ(state.mMidiInDev, "no input") << "until the MIDI stage corrects it";
  const std::string text = ReadWholeFile(dir + "/VELTRA/settings.ini");
  for (const char* key : {"driver=0", "sigvs=32", "outdev=no output", "inchan=0", "indev=Built-in Input"})
    EXPECT_NE(text.find(key), std::string::npos) << key;

  // Without any usable home the application runs on defaults and writes
  // nothing.
  setenv("XDG_CONFIG_HOME", "relative/path", 1);
  const char* home = getenv("HOME");
  const std::string savedHome = home ? home : "";
  unsetenv("HOME");
  AppState fresh;
  gState = &fresh;
  EXPECT_EQ(LoadSettings(), 0);
  UpdateINI();
  EXPECT_STREQ(gINIPath, "");
  EXPECT_STREQ(fresh.mAudioSR, "44100");

  // Nor with a home folder that does not exist: it is not made.
  setenv("HOME", (dir + "/gone").c_str(), 1);
  unsetenv("XDG_CONFIG_HOME");
  EXPECT_EQ(LoadSettings(), 0);
  EXPECT_STREQ(gINIPath, "");
  struct stat st;
  EXPECT_NE(stat((dir + "/gone").c_str(), &st), 0);

  if (!savedHome.empty()) setenv("HOME", savedHome.c_str(), 1);
  gState = nullptr;
}

TEST(Settings, UnreadableFilesAreKeptWithoutOverwritingEarlierOnes)
{
  TempDir temp;
  const std::string path = temp.Path() + "/VELTRA/settings.ini";
  system(("mkdir -p '" + temp.Path() + "/VELTRA'").c_str());
  setenv("XDG_CONFIG_HOME", temp.Path().c_str(), 1);
  AppState state;
  gState = &state;
  for (const char* junk : {"first junk", "second junk", "third junk"})
  {
    std::ofstream(path) << junk;
    EXPECT_EQ(LoadSettings(), 0);
  }
  EXPECT_EQ(ReadWholeFile(path + ".bad"), "first junk");
  EXPECT_EQ(ReadWholeFile(path + ".bad.1"), "second junk");
  EXPECT_EQ(ReadWholeFile(path + ".bad.2"), "third junk");
  EXPECT_NE(ReadWholeFile(path).find("[midi]"), std::string::npos);

  // 200000 sections of settings nobody knows: never read, kept whole beside,
  // and a file of the fifteen keys in their place.
  std::string huge = "[audio]\nsr=48000\n";
  for (int i = 0; i < 200000; ++i) huge += "[s" + std::to_string(i) + "]\nk=v\n";
  std::ofstream(path) << huge;
  EXPECT_EQ(LoadSettings(), 0);
  EXPECT_TRUE(ReadWholeFile(path + ".bad.3") == huge);
  EXPECT_LT(ReadWholeFile(path).size(), 1000u);
  EXPECT_STREQ(state.mAudioSR, "44100") << "the defaults, not the oversized file's";

  // A folder under the file's name is reported and left alone: nothing is
  // kept beside it, no temporary file, no write later.
  system(("rm -rf '" + temp.Path() + "/VELTRA' && mkdir -p '" + path + "'").c_str());
  EXPECT_EQ(LoadSettings(), 0);
  UpdateINI();
  struct stat st;
  EXPECT_TRUE(stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode));
  EXPECT_NE(stat((path + ".bad").c_str(), &st), 0);
  EXPECT_NE(stat((temp.Path() + "/VELTRA/.settings.ini.new").c_str(), &st), 0);
  unsetenv("XDG_CONFIG_HOME");
  gState = nullptr;
}

// The panel's size at the start: the desktop's scale factor or its fonts'
// dpi, to the nearest size; once chosen, kept in options.ini beside the
// sound's option, which stays, and a size not offered is named.
TEST(Options, ThePanelSizeFollowsTheDesktopAndSitsBesideTheSoundsOption)
{
  const int sizes[][3] = {{1, 0, 100},   {1, 96, 100},  {1, 110, 125}, {1, 120, 125}, {1, 144, 150},
                          {1, 192, 200}, {1, 400, 200}, {2, 0, 200},   {2, 96, 200},  {1, 60, 100}};
  for (const auto& s : sizes) EXPECT_EQ(PanelSizeForDesktop(s[0], s[1]), s[2]) << s[0] << " " << s[1];

  const std::string text = WithOption(OptionsText(false), "view", "size", "150 %");
  bool sameSound = true;
  std::string complaints;
  ReadOptionsText(text, &sameSound, &complaints);
  EXPECT_FALSE(sameSound);
  EXPECT_EQ(PanelSizeInText(text, &complaints), 150);
  const std::string again = WithOption(text, "view", "size", "125 %");
  EXPECT_EQ(PanelSizeInText(again), 125);
  EXPECT_EQ(again.find("size ="), again.rfind("size =")) << "set again, not added: " << again;
  EXPECT_EQ(PanelSizeInText("[view]\nsize = 90 %\n", &complaints), 0);
  EXPECT_EQ(complaints, "line 2: \"90 %\" is not a size of the panel (100 %, 125 %, 150 % or 200 %)\n");
}
