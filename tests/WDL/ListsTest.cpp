#include "ptrlist.h"
#include "queue.h"

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

int sFreed = 0;
void CountingFree(void* p)
{
  ++sFreed;
  delete (Tracked*)p;
}
} // namespace

TEST(PtrList, IndexingInsertionAndFind)
{
  WDL_PtrList<int> l;
  int a = 1, b = 2, c = 3;
  EXPECT_EQ(l.Get(-1), nullptr);
  EXPECT_EQ(l.Get(0), nullptr);
  EXPECT_EQ(l.Find(nullptr), -1);
  l.Add(&a);
  l.Insert(-5, &b);  // clamped to the front
  l.Insert(100, &c); // clamped to the end
  ASSERT_EQ(l.GetSize(), 3);
  EXPECT_EQ(l.Get(0), &b);
  EXPECT_EQ(l.Get(1), &a);
  EXPECT_EQ(l.Get(2), &c);
  EXPECT_EQ(l.Find(&c), 2);
  EXPECT_EQ(l.Set(3, &a), nullptr);
  EXPECT_EQ(l.Get(3), nullptr);
  l.Add(nullptr);
  EXPECT_EQ(l.Find(nullptr), -1) << "a null item is never found, even when stored";
}

TEST(PtrList, DeletionOwnsOnlyWhenAsked)
{
  Tracked::sDestroyed.clear();
  WDL_PtrList<Tracked> l;
  Tracked keep(7);
  l.Add(&keep);
  l.Add(new Tracked(8));
  l.Add(new Tracked(9));
  l.Delete(0); // not owned: only unlinked
  EXPECT_TRUE(Tracked::sDestroyed.empty());
  l.Delete(0, true);
  EXPECT_EQ(Tracked::sDestroyed, std::vector<int>{8});
  sFreed = 0;
  l.Delete(0, true, CountingFree);
  EXPECT_EQ(sFreed, 1);
  EXPECT_EQ(l.GetSize(), 0);
  l.Delete(0, true); // out of range: nothing
}

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

TEST(Queue, ReadsInOrderAndRestartsWhenDrained)
{
  WDL_Queue q;
  EXPECT_EQ(q.Get(), nullptr);
  q.Add("abc", 3);
  q.Add("def", 3);
  ASSERT_EQ(q.GetSize(), 6);
  EXPECT_EQ(memcmp(q.Get(), "abcdef", 6), 0);
  q.Advance(4);
  EXPECT_EQ(q.GetSize(), 2);
  EXPECT_EQ(memcmp(q.Get(), "ef", 2), 0);
  q.Advance(2);
  EXPECT_EQ(q.Get(), nullptr);
  char* p = (char*)q.Add(nullptr, 2); // room only
  ASSERT_NE(p, nullptr);
  p[0] = 'x';
  p[1] = 'y';
  EXPECT_EQ(q.GetSize(), 2) << "a drained queue starts again at the front";
  EXPECT_EQ(memcmp(q.Get(), "xy", 2), 0);
}
