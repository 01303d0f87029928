#pragma once
// The program's one lock type: a recursive POSIX mutex, and its scope guard.
// The same thread may enter again; each Enter needs its Leave.

#include "sharedword.h"

#include <pthread.h>

class WDL_Mutex
{
public:
  WDL_Mutex() : m_enterCnt(0)
  {
    // Copying the static recursive initializer: construction cannot fail
    // and needs no attribute object.
    static const pthread_mutex_t tmp = PTHREAD_RECURSIVE_MUTEX_INITIALIZER_NP;
    m_mutex = tmp;
  }
  ~WDL_Mutex() { pthread_mutex_destroy(&m_mutex); }
  WDL_Mutex(const WDL_Mutex&) = delete;
  WDL_Mutex& operator=(const WDL_Mutex&) = delete;

  // m_enterCnt changes outside the lock; it is a hint for debugging, not a
  // count that any decision may rest on.
  void Enter()
  {
    m_enterCnt.FetchAdd(1);
    pthread_mutex_lock(&m_mutex);
  }
  void Leave()
  {
    m_enterCnt.FetchSub(1);
    pthread_mutex_unlock(&m_mutex);
  }

private:
  WDL_SharedWord<int> m_enterCnt;
  pthread_mutex_t m_mutex;
};

class WDL_MutexLock
{
public:
  explicit WDL_MutexLock(WDL_Mutex* m) : m_m(m)
  {
    if (m_m) m_m->Enter();
  }
  ~WDL_MutexLock()
  {
    if (m_m) m_m->Leave();
  }
  WDL_MutexLock(const WDL_MutexLock&) = delete;
  WDL_MutexLock& operator=(const WDL_MutexLock&) = delete;

private:
  WDL_Mutex* m_m;
};
