#include "threadrole.h"

#include "sharedword.h"

#include <cstdio>
#include <cstdlib>
#include <pthread.h>

namespace
{
// Set once a thread takes the role; 0 (no thread) until then.
WDL_SharedWord<pthread_t> sMainThread = 0;
} // namespace

void WDL_TakeMainThreadRole() { sMainThread.SetOrdered(pthread_self()); }

bool WDL_IsMainThread()
{
  const pthread_t main = sMainThread.GetOrdered();
  return !main || pthread_equal(main, pthread_self());
}

void WDL_WrongThread(const char* function, const char* thread)
{
  fprintf(stderr, "%s must run on %s, and ran on another thread\n", function, thread);
  abort();
}
