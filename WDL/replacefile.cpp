#include "replacefile.h"

#include "sharedword.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
WDL_SharedWord<unsigned> sCounter = 0;

bool WriteAll(int fd, const char* p, size_t size)
{
  while (size > 0)
  {
    const ssize_t n = write(fd, p, size);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return false;
    p += n;
    size -= (size_t)n;
  }
  return true;
}

// Opens a fresh temporary file beside target; its name in *temp.
int OpenTemp(const std::string& target, const char* tempPath, std::string* temp)
{
  if (tempPath)
  {
    *temp = tempPath;
    unlink(tempPath); // a stale one from a crash; never written through a link
    return open(tempPath, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
  }
  const size_t slash = target.rfind('/');
  const std::string dir = slash == std::string::npos ? "" : target.substr(0, slash + 1);
  const std::string name = slash == std::string::npos ? target : target.substr(slash + 1);
  for (int tries = 0; tries < 100; ++tries)
  {
    *temp = dir + "." + name + "." + std::to_string(getpid()) + "." + std::to_string(sCounter.FetchAdd(1)) + ".tmp";
    const int fd = open(temp->c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (fd >= 0 || errno != EEXIST) return fd;
  }
  return -1;
}
} // namespace

bool WDL_ReplaceFile(const char* path, const void* data, size_t size, const char* tempPath)
{
  if (!path || !*path)
  {
    errno = ENOENT;
    return false;
  }
  // The file a link points at is the one replaced, and keeps its mode.
  std::string target = path;
  struct stat old;
  const bool exists = stat(path, &old) == 0;
  if (exists && !S_ISREG(old.st_mode))
  {
    errno = S_ISDIR(old.st_mode) ? EISDIR : EINVAL;
    return false;
  }
  if (exists)
  {
    char resolved[PATH_MAX];
    if (realpath(path, resolved)) target = resolved;
  }

  std::string temp;
  const int fd = OpenTemp(target, tempPath, &temp);
  if (fd < 0) return false;
  bool ok =
      (!exists || fchmod(fd, old.st_mode & 07777) == 0) && WriteAll(fd, (const char*)data, size) && fsync(fd) == 0;
  int error = ok ? 0 : errno;
  if (close(fd) != 0 && ok)
  {
    ok = false;
    error = errno;
  }
  if (ok && rename(temp.c_str(), target.c_str()) != 0)
  {
    ok = false;
    error = errno;
  }
  if (!ok)
  {
    unlink(temp.c_str());
    errno = error;
  }
  return ok;
}
