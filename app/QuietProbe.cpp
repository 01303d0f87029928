#include "QuietProbe.h"

#include "Console.h"

#include "sharedword.h"

#include <alsa/asoundlib.h>
#include <cstring>
#include <iostream>
#include <mutex>
#include <string>
#include <unistd.h>

namespace
{
// What the sound libraries write to std::cerr, line by line: nothing while a
// probe runs, never the notices that VELTRA replaces with a line of its own,
// never the blank lines around their messages; everything else to standard
// error as written. Lines may come from the libraries' own threads.
class FilterBuffer : public std::streambuf
{
public:
  WDL_SharedWord<int> mQuiet = 0;

protected:
  int overflow(int c) override
  {
    if (c == EOF) return 0;
    const char ch = (char)c;
    xsputn(&ch, 1);
    return c;
  }
  std::streamsize xsputn(const char* s, std::streamsize n) override
  {
    std::lock_guard<std::mutex> lock(mMutex);
    for (std::streamsize i = 0; i < n; ++i)
    {
      if (s[i] != '\n')
      {
        mLine += s[i];
        continue;
      }
      if (!mLine.empty() && mQuiet.GetOrdered() == 0 && !Replaced(mLine))
      {
        mLine += '\n';
        SayToErrors(mLine.data(), mLine.size());
      }
      mLine.clear();
    }
    return n;
  }

private:
  // RtAudio's notice when a JACK server shuts VELTRA's client down: VELTRA
  // says itself that the server went away.
  static bool Replaced(const std::string& line)
  {
    return line.rfind("RtApiJack: the Jack server is shutting down this client", 0) == 0;
  }

  std::mutex mMutex;
  std::string mLine;
};
// Never destroyed: std::cerr is flushed after static destructors have run.
FilterBuffer& sFilter = *new FilterBuffer;

void SilentAlsa(const char*, int, const char*, int, const char*, ...) {}
} // namespace

QuietProbe::QuietProbe() { sFilter.mQuiet.FetchAdd(1); }

QuietProbe::~QuietProbe() { sFilter.mQuiet.FetchSub(1); }

void QuietSoundLibraries()
{
  snd_lib_error_set_handler(SilentAlsa);
  std::cerr.rdbuf(&sFilter);
}
