#include "mutex.h"

#include <atomic>
#include <chrono>
#include <gtest/gtest.h>
#include <thread>

TEST(Mutex, ReentersOnOneThreadAndHoldsOffAnother)
{
  WDL_Mutex m;
  std::atomic<int> stage{0};
  std::atomic<bool> otherEntered{false};
  std::thread other;
  {
    WDL_MutexLock outer(&m);
    {
      WDL_MutexLock inner(&m); // same thread: must not block
      other = std::thread(
          [&]
          {
            stage = 1;
            WDL_MutexLock lock(&m);
            otherEntered = true;
          });
      while (stage.load() == 0) std::this_thread::yield();
    }
    // One Leave of two: the other thread still waits.
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_FALSE(otherEntered.load());
  }
  other.join();
  EXPECT_TRUE(otherEntered.load());

  WDL_MutexLock none(nullptr); // a guard on null does nothing at either end
}
