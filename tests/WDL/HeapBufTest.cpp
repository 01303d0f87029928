#include "heapbuf.h"

#include <climits>
#include <gtest/gtest.h>

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
