#include "assocarray.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace
{
int sIntCmp(int* a, int* b) { return *a < *b ? -1 : *a > *b; }
} // namespace

TEST(AssocArray, KeepsKeysSortedWhateverTheInsertionOrder)
{
  WDL_AssocArray<int, int> a(sIntCmp);
  unsigned seed = 12345;
  std::vector<int> keys;
  for (int i = 0; i < 500; ++i)
  {
    seed = seed * 1103515245u + 12345u;
    const int k = (int)(seed >> 8) % 10000;
    a.Insert(k, k * 2);
    keys.push_back(k);
  }
  int prev = -1;
  for (int i = 0; i < a.GetSize(); ++i)
  {
    int k = -1;
    const int v = a.Enumerate(i, &k);
    EXPECT_LT(prev, k) << "enumeration in strictly ascending order";
    EXPECT_EQ(v, k * 2);
    prev = k;
  }
  for (int k : keys) EXPECT_EQ(a.Get(k, -1), k * 2);
  EXPECT_EQ(a.Get(10001, -1), -1);
  EXPECT_EQ(a.GetPtr(-5), nullptr);
}

TEST(AssocArray, CaseRulesAndResortKeepingTheLastOfEachKey)
{
  WDL_StringKeyedArray<char*> sections(false, WDL_StringKeyedArray<char*>::freecharptr);
  sections.AddUnsorted("midi", strdup("first midi"));
  sections.AddUnsorted("Audio", strdup("first audio"));
  sections.AddUnsorted("MIDI", strdup("second midi"));
  sections.AddUnsorted("audio", strdup("second audio"));
  sections.AddUnsorted("zeta", strdup("z"));
  sections.Resort();
  ASSERT_EQ(sections.GetSize(), 3);
  EXPECT_STREQ(sections.Get("AUDIO"), "second audio");
  EXPECT_STREQ(sections.Get("midi"), "second midi");
  const char* k = nullptr;
  sections.Enumerate(2, &k);
  EXPECT_STREQ(k, "zeta");

  WDL_StringKeyedArray<int> sensitive(true);
  sensitive.Insert("Key", 1);
  sensitive.Insert("key", 2);
  EXPECT_EQ(sensitive.GetSize(), 2);
  EXPECT_EQ(sensitive.Get("KEY", -1), -1);
}
