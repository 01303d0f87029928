#include "AppState.h"

#include <cstring>
#include <gtest/gtest.h>

// A copy (as the preferences dialog takes and restores one) carries every
// field, and the halves compare apart, texts up to their terminator only.
TEST(AppState, CopiesEveryFieldAndComparesItsHalvesApart)
{
  AppState a;
  unsigned char* bytes = reinterpret_cast<unsigned char*>(&a);
  for (size_t i = 0; i < sizeof(a); ++i) bytes[i] = (unsigned char)(i * 7 + 1);
  AppState b;
  b = a;
  EXPECT_EQ(memcmp(&a, &b, sizeof(a)), 0) << "a field the copy missed";
  const AppState d(a);
  EXPECT_EQ(memcmp(&a, &d, sizeof(a)), 0);

  b = AppState();
  AppState c = b;
  strcpy(c.mMidiInDev, "virtual input");
  EXPECT_TRUE(AudioSettingsInStateAreEqual(&b, &c));
  EXPECT_FALSE(MIDISettingsInStateAreEqual(&b, &c));
  c = b;
  c.mAudioSR[7] = 'x'; // after the terminator of "44100"
  EXPECT_TRUE(AudioSettingsInStateAreEqual(&b, &c));
  c.mAudioInIsMono = 1;
  EXPECT_FALSE(AudioSettingsInStateAreEqual(&b, &c));
  EXPECT_TRUE(MIDISettingsInStateAreEqual(&b, &c));
}
