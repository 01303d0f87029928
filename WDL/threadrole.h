#pragma once
// The program's main thread, as a role: the thread that runs the main loop
// takes it at start, and may hand it to another thread for a while (the
// application's launch starts its engines on a thread of its own while the
// main thread readies the window system; never both at once). Functions that
// only the main thread may run say so with WDL_ASSERT_MAIN_THREAD(), which
// debug builds check and release builds drop. Where no thread ever took the
// role (a plug-in in a host, a unit test), nothing is checked.

// The calling thread holds the role from now on.
void WDL_TakeMainThreadRole();
// Whether the calling thread may act as the main thread.
bool WDL_IsMainThread();
// Prints which function ran on which thread and aborts.
[[noreturn]] void WDL_WrongThread(const char* function, const char* thread);

#ifdef NDEBUG
#define WDL_ASSERT_MAIN_THREAD() ((void)0)
#else
#define WDL_ASSERT_MAIN_THREAD() (WDL_IsMainThread() ? (void)0 : WDL_WrongThread(__func__, "the main thread"))
#endif
