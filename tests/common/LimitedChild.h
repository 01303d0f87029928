#pragma once
// Writes that fail as they do for a user: a child process runs the work
// under a file-size limit (as a full disk would stop it) or, when the tests
// run as root, as the unprivileged "nobody" (so that a read-only folder
// holds). The child's answer comes back as its exit status.

#include <csignal>
#include <functional>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

struct ChildLimits
{
  rlim_t maxFileSize = RLIM_INFINITY;
  bool unprivileged = false;
};

// work's result in a child under the limits; false if the child failed.
inline bool InLimitedChild(const ChildLimits& limits, const std::function<bool()>& work)
{
  const pid_t pid = fork();
  if (pid == 0)
  {
    signal(SIGXFSZ, SIG_IGN); // the write fails with EFBIG instead
    const rlimit fsize = {limits.maxFileSize, limits.maxFileSize};
    if (setrlimit(RLIMIT_FSIZE, &fsize)) _exit(3);
    if (limits.unprivileged && geteuid() == 0 && (setgid(65534) || setuid(65534))) _exit(4);
    _exit(work() ? 0 : 1);
  }
  int status = 0;
  return pid > 0 && waitpid(pid, &status, 0) == pid && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}
