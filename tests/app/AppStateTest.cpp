#include "AppState.h"

#include <cstring>
#include <gtest/gtest.h>

TEST(AppState, AudioAndMidiHalvesCompareApart)
{
  AppState a;
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
