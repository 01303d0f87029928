#include "replacefile.h"

#include "sharedword.h"

#include <cerrno>
#include <climits>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
WDL_SharedWord<unsigned> sCounter = 0;

std::string FolderOf(const std::string& path)
{
  const size_t slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

// Opens a fresh temporary file beside target; its name in *temp. The name
// keeps within a file name's 255 bytes whatever the target's name is.
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
  const std::string name = (slash == std::string::npos ? target : target.substr(slash + 1)).substr(0, 200);
  for (int tries = 0; tries < 100; ++tries)
  {
    *temp = dir + "." + name + "." + std::to_string(getpid()) + "." + std::to_string(sCounter.FetchAdd(1)) + ".tmp";
    const int fd = open(temp->c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (fd >= 0 || errno != EEXIST) return fd;
  }
  return -1;
}
} // namespace

std::string WDL_ResolveLinks(const std::string& path)
{
  std::string at = path;
  for (int depth = 0; depth < 40; ++depth)
  {
    struct stat st;
    if (lstat(at.c_str(), &st) || !S_ISLNK(st.st_mode)) return at;
    std::string link(PATH_MAX, '\0');
    const ssize_t n = readlink(at.c_str(), &link[0], link.size());
    if (n <= 0 || (size_t)n >= link.size()) return at;
    link.resize((size_t)n);
    at = link[0] == '/' ? link : FolderOf(at) + "/" + link;
  }
  errno = ELOOP;
  return std::string();
}

WDL_FileReplacer::WDL_FileReplacer(const char* path, const char* tempPath)
{
  if (!path || !*path)
  {
    errno = ENOENT;
    return;
  }
  m_target = WDL_ResolveLinks(path);
  if (m_target.empty()) return;
  struct stat old;
  m_exists = stat(m_target.c_str(), &old) == 0;
  if (m_exists && !S_ISREG(old.st_mode))
  {
    errno = S_ISDIR(old.st_mode) ? EISDIR : EINVAL;
    return;
  }
  m_mode = m_exists ? old.st_mode & 07777 : 0;
  m_fd = OpenTemp(m_target, tempPath, &m_temp);
  if (m_fd >= 0 && m_exists && fchmod(m_fd, m_mode) != 0)
  {
    const int error = errno;
    Abort();
    errno = error;
  }
}

WDL_FileReplacer::~WDL_FileReplacer()
{
  const int error = errno;
  Abort();
  errno = error;
}

bool WDL_FileReplacer::Write(const void* data, size_t size)
{
  if (m_fd < 0)
  {
    errno = EBADF;
    return false;
  }
  const char* p = (const char*)data;
  while (size > 0)
  {
    const ssize_t n = write(m_fd, p, size);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) return false;
    if (n == 0)
    {
      errno = EIO;
      return false;
    }
    p += n;
    size -= (size_t)n;
  }
  return true;
}

bool WDL_FileReplacer::Commit()
{
  if (m_fd < 0)
  {
    errno = EBADF;
    return false;
  }
  bool ok = fsync(m_fd) == 0;
  int error = ok ? 0 : errno;
  if (close(m_fd) != 0 && ok)
  {
    ok = false;
    error = errno;
  }
  m_fd = -1;
  if (ok && rename(m_temp.c_str(), m_target.c_str()) != 0)
  {
    ok = false;
    error = errno;
  }
  if (!ok)
  {
    unlink(m_temp.c_str());
    errno = error;
  }
  m_temp.clear();
  return ok;
}

void WDL_FileReplacer::Abort()
{
  if (m_fd >= 0) close(m_fd);
  m_fd = -1;
  if (!m_temp.empty()) unlink(m_temp.c_str());
  m_temp.clear();
}

bool WDL_ReplaceFile(const char* path, const void* data, size_t size, const char* tempPath)
{
  WDL_FileReplacer file(path, tempPath);
  return file.Ok() && file.Write(data, size) && file.Commit();
}
