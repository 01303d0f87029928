#include "Process.h"

#include <fstream>
#include <iterator>

#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

extern char** environ;

double Now()
{
  timespec ts;
  clock_gettime(CLOCK_MONOTONIC, &ts);
  return ts.tv_sec + ts.tv_nsec * 1e-9;
}

double SecondsSince(double start) { return Now() - start; }

void Sleep(double seconds) { usleep((useconds_t)(seconds * 1e6)); }

// The current environment without the names given, plus the settings given.
std::vector<std::string> MakeEnv(const std::vector<std::string>& drop, const std::vector<std::string>& add)
{
  std::vector<std::string> env;
  for (char** e = environ; *e; ++e)
  {
    bool keep = true;
    for (const std::string& d : drop)
      if (!strncmp(*e, (d + "=").c_str(), d.size() + 1)) keep = false;
    if (keep) env.push_back(*e);
  }
  env.insert(env.end(), add.begin(), add.end());
  return env;
}

pid_t Spawn(const std::vector<std::string>& args, const std::vector<std::string>& env, const std::string& out,
            const std::string& err)
{
  std::vector<char*> argv, envp;
  for (const std::string& a : args) argv.push_back((char*)a.c_str());
  argv.push_back(nullptr);
  for (const std::string& e : env) envp.push_back((char*)e.c_str());
  envp.push_back(nullptr);
  const pid_t pid = fork();
  if (pid == 0)
  {
    const int o = open(out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    const int e = open(err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    const int nul = open("/dev/null", O_RDONLY);
    if (o >= 0) dup2(o, 1);
    if (e >= 0) dup2(e, 2);
    if (nul >= 0) dup2(nul, 0);
    execve(argv[0], argv.data(), envp.data());
    _exit(127);
  }
  return pid;
}

// Waits up to timeoutSec for pid; the wait status, or -1 on time-out.
int WaitFor(pid_t pid, double timeoutSec)
{
  const double start = Now();
  for (;;)
  {
    int status = 0;
    const pid_t r = waitpid(pid, &status, WNOHANG);
    if (r == pid) return status;
    if (r < 0) return -1;
    if (SecondsSince(start) > timeoutSec) return -1;
    Sleep(0.01);
  }
}

int StopProcess(pid_t pid, int sig, double timeoutSec)
{
  kill(pid, sig);
  const int status = WaitFor(pid, timeoutSec);
  if (status == -1)
  {
    kill(pid, SIGKILL);
    WaitFor(pid, 5.0);
  }
  return status;
}

std::string Capture(const std::vector<std::string>& args, const std::string& folder)
{
  const std::string out = folder + "/captured.out", err = folder + "/captured.err";
  WaitFor(Spawn(args, MakeEnv({}, {}), out, err), 60.0);
  std::ifstream o(out), e(err);
  return std::string(std::istreambuf_iterator<char>(o), {}) + std::string(std::istreambuf_iterator<char>(e), {});
}
