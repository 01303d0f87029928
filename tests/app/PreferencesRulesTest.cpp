#include "PreferencesDialog.h"
#include "TempDir.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/stat.h>

// The preferences dialog's rules, apart from its controls.
TEST(PreferencesRules, ListsOfRatesAndChannels)
{
  EXPECT_EQ(CommonSampleRates({44100, 48000, 96000}, {96000, 48000, 22050}), (std::vector<unsigned int>{48000, 96000}))
      << "in the input device's order";
  EXPECT_TRUE(CommonSampleRates({44100}, {48000}).empty());
  EXPECT_EQ(LeftChannelOptions(2), (std::vector<std::string>{"1"})) << "the right channel is the left plus one";
  EXPECT_EQ(RightChannelOptions(2), (std::vector<std::string>{"1", "2"}));
  EXPECT_TRUE(LeftChannelOptions(1).empty());
  EXPECT_TRUE(LeftChannelOptions(0).empty());
}

TEST(PreferencesRules, VectorSizesMapToSettingsAndTheSignalVectorFallsToTheSmallest)
{
  AppState s;
  ASSERT_EQ(kIOVSOptions[0], "32");
  ASSERT_EQ(kSIGVSOptions[2], "64");
  EXPECT_TRUE(ApplyVectorSizes(&s, 0, 2)) << "IO 32 under signal 64: the signal combo shows nothing";
  EXPECT_STREQ(s.mAudioIOVS, "32");
  EXPECT_STREQ(s.mAudioSigVS, "16");
  EXPECT_FALSE(ApplyVectorSizes(&s, 1, 2)) << "equal sizes pass";
  EXPECT_STREQ(s.mAudioIOVS, "64");
  EXPECT_STREQ(s.mAudioSigVS, "64");
  EXPECT_FALSE(ApplyVectorSizes(&s, 8, -1)) << "no signal choice keeps the setting";
  EXPECT_STREQ(s.mAudioIOVS, "8192");
  EXPECT_STREQ(s.mAudioSigVS, "64");
  EXPECT_FALSE(ApplyVectorSizes(&s, -1, 6)) << "no IO choice: the IO size of the settings is compared";
  EXPECT_STREQ(s.mAudioSigVS, "1024");
  snprintf(s.mAudioIOVS, sizeof(s.mAudioIOVS), "32");
  EXPECT_TRUE(ApplyVectorSizes(&s, -1, 2));
  EXPECT_STREQ(s.mAudioSigVS, "16");
  EXPECT_FALSE(ApplyVectorSizes(&s, -1, 99)) << "an index outside the list is no choice";
  EXPECT_STREQ(s.mAudioSigVS, "16");
}

TEST(PreferencesRules, AudioSetupPrefersPavucontrolThenQjackctl)
{
  TempDir bin;
  const std::string oldPath = getenv("PATH") ? getenv("PATH") : "";
  setenv("PATH", bin.Path().c_str(), 1);
  EXPECT_EQ(FindAudioSetupProgram(), "") << "neither: the dialog says what it looked for";
  for (const char* name : {"qjackctl", "pavucontrol"})
  {
    std::ofstream(bin.File(name)) << "#!/bin/sh\n";
    chmod(bin.File(name).c_str(), 0755);
    EXPECT_EQ(FindAudioSetupProgram(), name);
  }
  setenv("PATH", oldPath.c_str(), 1);
}
