#include "heapbuf.h"

#include <climits>
#include <gtest/gtest.h>

TEST(HeapBuf, GrowthFollowsGranularity)
{
  WDL_HeapBuf page(4096);
  ASSERT_NE(page.Resize(1), nullptr);
  EXPECT_EQ(page.GetAlloc(), 4000) << "((1 + 4096 + 96) & ~4095) - 96";
  page.Resize(10000);
  EXPECT_EQ(page.GetAlloc(), ((10000 + 4096 + 96) & ~4095) - 96) << "half the request, cut to whole pages";
  page.Resize(20000000);
  EXPECT_EQ(page.GetAlloc(), ((20000000 + 4194304 + 96) & ~4095) - 96) << "growth clamped to 4 MiB";

  WDL_HeapBuf small(16);
  small.Resize(10);
  EXPECT_EQ(small.GetAlloc(), 10 + 16) << "at least one granule of slack";
  small.Resize(100);
  EXPECT_EQ(small.GetAlloc(), 100 + 50) << "half the request of slack";
  small.Resize(120);
  EXPECT_EQ(small.GetAlloc(), 150) << "within the block: no reallocation";
}

TEST(HeapBuf, ShrinkingKeepsMemoryUnlessMostOfItIsFree)
{
  WDL_HeapBuf b(64);
  b.Resize(1000); // alloc 1500
  const int alloc = b.GetAlloc();
  b.Resize(900);
  EXPECT_EQ(b.GetAlloc(), alloc) << "a small shrink keeps the block";
  b.Resize(0, false);
  EXPECT_EQ(b.GetAlloc(), alloc) << "without resizedown the block stays";
  EXPECT_EQ(b.Get(), nullptr) << "size 0 reads as null though a block exists";
  b.Resize(900, false);
  b.Resize(100);
  EXPECT_LT(b.GetAlloc(), alloc) << "under half in use: memory goes back";
  EXPECT_EQ(b.GetSize(), 100);
  b.Resize(0);
  EXPECT_EQ(b.GetAlloc(), 0);
  EXPECT_EQ(b.Get(), nullptr);
}

TEST(HeapBuf, ContentsSurviveGrowth)
{
  WDL_TypedBuf<int> t;
  for (int i = 0; i < 100000; ++i) ASSERT_NE(t.Add(i), nullptr);
  ASSERT_EQ(t.GetSize(), 100000);
  for (int i = 0; i < 100000; i += 997) EXPECT_EQ(t.Get()[i], i);
  t.Delete(0);
  t.Delete(99998);
  t.Delete(-1);
  t.Delete(5000000);
  ASSERT_EQ(t.GetSize(), 99998);
  EXPECT_EQ(t.Get()[0], 1);
  EXPECT_EQ(t.Get()[99997], 99998);
}

TEST(HeapBuf, SizesBeyondAnIntFailAndChangeNothing)
{
  WDL_HeapBuf b(4096);
  char* p = (char*)b.Resize(10);
  memcpy(p, "123456789", 10);
  EXPECT_EQ(b.ResizeOK(INT_MAX - 10), nullptr);
  EXPECT_EQ(b.Resize(INT_MAX), p) << "failure returns what Get returned before";
  EXPECT_EQ(b.GetSize(), 10);
  EXPECT_STREQ((char*)b.Get(), "123456789");

  WDL_TypedBuf<double> t;
  t.Add(1.5);
  EXPECT_EQ(t.ResizeOK(INT_MAX / 4), nullptr) << "element count times size overflows";
  ASSERT_EQ(t.GetSize(), 1);
  EXPECT_EQ(t.Get()[0], 1.5);
}

#if defined(__SANITIZE_ADDRESS__)
// The test environment caps allocations at 1 GiB, so these requests fail in
// realloc and malloc for real.
TEST(HeapBuf, FailedAllocationLeavesTheBlockAsItWas)
{
  WDL_HeapBuf b(4096);
  char* p = (char*)b.Resize(100);
  strcpy(p, "kept");
  const int alloc = b.GetAlloc();
  EXPECT_EQ(b.ResizeOK(1500000000), nullptr);
  EXPECT_EQ(b.Get(), p);
  EXPECT_EQ(b.GetSize(), 100);
  EXPECT_EQ(b.GetAlloc(), alloc);
  EXPECT_STREQ((char*)b.Get(), "kept");

  WDL_TypedBuf<char> t;
  t.Add('x');
  EXPECT_EQ(t.ResizeOK(1500000000, false), nullptr);
  EXPECT_EQ(t.GetSize(), 1);
  EXPECT_NE(t.Add('y'), nullptr) << "the buffer stays usable";
}
#endif
