#include "Console.h"

#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <string>
#include <thread>
#include <unistd.h>

namespace
{
constexpr size_t kMaxWaiting = 64 * 1024;

class ConsoleQueue
{
public:
  void Add(int fd, const char* text, size_t n)
  {
    std::lock_guard<std::mutex> lock(mMutex);
    std::string& q = fd == STDERR_FILENO ? mErr : mOut;
    if (q.size() + n > kMaxWaiting)
    {
      ++mDropped;
      return;
    }
    if (mDropped && fd == STDOUT_FILENO)
    {
      q += std::to_string(mDropped) + " console lines were dropped: nothing read them in time\n";
      mDropped = 0;
    }
    q.append(text, n);
    if (!mWriter)
    {
      // Detached and never destroyed: a writer blocked on a full pipe at the
      // end of the program ends with it.
      std::thread(&ConsoleQueue::Run, this).detach();
      mWriter = true;
    }
    mReady.notify_one();
  }

  void Flush(double timeoutSec)
  {
    std::unique_lock<std::mutex> lock(mMutex);
    mDone.wait_for(lock, std::chrono::duration<double>(timeoutSec),
                   [this] { return mOut.empty() && mErr.empty() && !mWriting; });
  }

private:
  void Run()
  {
    std::unique_lock<std::mutex> lock(mMutex);
    for (;;)
    {
      mReady.wait(lock, [this] { return !mOut.empty() || !mErr.empty(); });
      const int fd = mErr.empty() ? STDOUT_FILENO : STDERR_FILENO;
      std::string text;
      text.swap(fd == STDERR_FILENO ? mErr : mOut);
      mWriting = true;
      lock.unlock();
      for (size_t at = 0; at < text.size();)
      {
        const ssize_t n = write(fd, text.data() + at, text.size() - at);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) break; // nobody to tell
        at += (size_t)n;
      }
      lock.lock();
      mWriting = false;
      mDone.notify_all();
    }
  }

  std::mutex mMutex;
  std::condition_variable mReady, mDone;
  std::string mOut, mErr;
  unsigned long mDropped = 0;
  bool mWriter = false, mWriting = false;
};
// Never destroyed: the writer may still hold it at exit.
ConsoleQueue& sConsole = *new ConsoleQueue;
} // namespace

void Say(const char* fmt, ...)
{
  char buf[4096];
  va_list ap;
  va_start(ap, fmt);
  const int n = vsnprintf(buf, sizeof(buf), fmt, ap);
  va_end(ap);
  if (n > 0) sConsole.Add(STDOUT_FILENO, buf, (size_t)n < sizeof(buf) ? (size_t)n : sizeof(buf) - 1);
}

void SayToErrors(const char* text, unsigned long size) { sConsole.Add(STDERR_FILENO, text, size); }

void FlushConsole(double timeoutSec) { sConsole.Flush(timeoutSec); }
