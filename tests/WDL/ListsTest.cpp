#include "ptrlist.h"

#include <gtest/gtest.h>
#include <vector>

namespace
{
struct Tracked
{
  static std::vector<int> sDestroyed;
  static WDL_PtrList<Tracked>* sOwner;
  static int sDeadSeen;
  int mId;
  explicit Tracked(int id) : mId(id) {}
  ~Tracked()
  {
    sDestroyed.push_back(mId);
    // Every entry still in the owning list must be alive.
    if (sOwner)
      for (int i = 0; i < sOwner->GetSize(); ++i)
        if (sOwner->Get(i) == this) ++sDeadSeen;
  }
};
std::vector<int> Tracked::sDestroyed;
WDL_PtrList<Tracked>* Tracked::sOwner = nullptr;
int Tracked::sDeadSeen = 0;
} // namespace

TEST(PtrList, EmptyDeletesFromLastToFirstWithoutShowingDeadEntries)
{
  Tracked::sDestroyed.clear();
  Tracked::sDeadSeen = 0;
  WDL_PtrList<Tracked> l;
  for (int i = 0; i < 5; ++i) l.Add(i == 2 ? nullptr : new Tracked(i));
  Tracked::sOwner = &l;
  l.Empty(true);
  Tracked::sOwner = nullptr;
  EXPECT_EQ(Tracked::sDestroyed, (std::vector<int>{4, 3, 1, 0}));
  EXPECT_EQ(Tracked::sDeadSeen, 0);
  EXPECT_EQ(l.GetSize(), 0);
}
