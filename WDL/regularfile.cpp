#include "regularfile.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

FILE* WDL_OpenRegularFile(const char* path, const char* mode)
{
  if (!path || !*path)
  {
    errno = ENOENT;
    return nullptr;
  }
  // Without O_NONBLOCK, opening a FIFO waits for a writer.
  const int fd = open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  if (fd < 0) return nullptr;
  struct stat st;
  if (fstat(fd, &st) != 0 || !S_ISREG(st.st_mode))
  {
    const int error = S_ISDIR(st.st_mode) ? EISDIR : EINVAL;
    close(fd);
    errno = error;
    return nullptr;
  }
  fcntl(fd, F_SETFL, fcntl(fd, F_GETFL) & ~O_NONBLOCK);
  FILE* f = fdopen(fd, mode);
  if (!f) close(fd);
  return f;
}
