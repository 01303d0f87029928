#include "AppState.h"

#include <cstring>
#include <gtest/gtest.h>

TEST(AppState, DefaultsAndComparisons)
{
  AppState a;
  EXPECT_STREQ(a.mAudioInDev, "Built-in Input");
  EXPECT_STREQ(a.mAudioOutDev, "Built-in Output");
  EXPECT_STREQ(a.mAudioSR, "44100");
  EXPECT_STREQ(a.mAudioIOVS, "512");
  EXPECT_STREQ(a.mAudioSigVS, "32");
  EXPECT_EQ(a.mAudioOutChanR, 2);
  EXPECT_STREQ(a.mMidiInDev, "off");

  AppState b = a;
  EXPECT_TRUE(AudioSettingsInStateAreEqual(&a, &b));
  EXPECT_TRUE(MIDISettingsInStateAreEqual(&a, &b));
  strcpy(b.mMidiInDev, "virtual input");
  EXPECT_TRUE(AudioSettingsInStateAreEqual(&a, &b));
  EXPECT_FALSE(MIDISettingsInStateAreEqual(&a, &b));

  b = a;
  strcpy(b.mAudioSR, "44100\0garbage"); // compared up to the terminator only
  b.mAudioSR[7] = 'x';
  EXPECT_TRUE(AudioSettingsInStateAreEqual(&a, &b));
  b.mAudioInIsMono = 1;
  EXPECT_FALSE(AudioSettingsInStateAreEqual(&a, &b));
  EXPECT_TRUE(MIDISettingsInStateAreEqual(&a, &b));
}
