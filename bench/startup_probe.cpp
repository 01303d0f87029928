// Times a synthesizer's start as a user meets it: starts the program given
// (its arguments follow) and reports, in milliseconds from the exec, when its
// first JACK port appears on the server and when its first top-level window
// is mapped on the X server. One line: "ports <ms> window <ms>", "-" for what
// did not happen within the time-out. The program is ended with SIGTERM.
//   startup_probe PORT_PREFIX TIMEOUT_S PROGRAM [ARGS...]
// JACK_DEFAULT_SERVER and DISPLAY name the servers; either may be absent.

#include <X11/Xlib.h>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <jack/jack.h>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace
{
using Clock = std::chrono::steady_clock;
Clock::time_point sStart;
std::atomic<double> sPortsMs{-1.0};
std::string sPrefix;
jack_client_t* sClient = nullptr;

double SinceStart() { return std::chrono::duration<double, std::milli>(Clock::now() - sStart).count(); }

// JACK's notification thread: the first port whose name starts with the
// prefix.
void OnPort(jack_port_id_t id, int registered, void*)
{
  if (!registered || sPortsMs.load() >= 0.0) return;
  jack_port_t* port = jack_port_by_id(sClient, id);
  const char* name = port ? jack_port_name(port) : nullptr;
  if (name && !strncmp(name, sPrefix.c_str(), sPrefix.size())) sPortsMs.store(SinceStart());
}
} // namespace

int main(int argc, char** argv)
{
  if (argc < 4)
  {
    fprintf(stderr, "usage: startup_probe PORT_PREFIX TIMEOUT_S PROGRAM [ARGS...]\n");
    return 2;
  }
  sPrefix = argv[1];
  const double timeoutMs = atof(argv[2]) * 1000.0;

  sClient = jack_client_open("startup-probe", JackNoStartServer, nullptr);
  if (sClient)
  {
    jack_set_port_registration_callback(sClient, OnPort, nullptr);
    jack_activate(sClient);
  }
  Display* display = getenv("DISPLAY") ? XOpenDisplay(nullptr) : nullptr;
  if (display) XSelectInput(display, DefaultRootWindow(display), SubstructureNotifyMask);

  sStart = Clock::now();
  const pid_t pid = fork();
  if (pid == 0)
  {
    // The program's console stays out of the one line this prints.
    const int null = open("/dev/null", O_WRONLY);
    dup2(null, STDOUT_FILENO);
    dup2(null, STDERR_FILENO);
    execvp(argv[3], argv + 3);
    _exit(127);
  }
  double windowMs = -1.0;
  while (SinceStart() < timeoutMs && ((windowMs < 0.0 && display) || (sPortsMs.load() < 0.0 && sClient)))
  {
    while (display && XPending(display))
    {
      XEvent ev;
      XNextEvent(display, &ev);
      if (ev.type == MapNotify && windowMs < 0.0 && !ev.xmap.override_redirect) windowMs = SinceStart();
    }
    std::this_thread::sleep_for(std::chrono::microseconds(500));
  }
  const double portsMs = sPortsMs.load();
  kill(pid, SIGTERM);
  int status;
  waitpid(pid, &status, 0);
  if (sClient) jack_client_close(sClient);
  if (display) XCloseDisplay(display);
  auto show = [](double ms) { return ms < 0.0 ? std::string("-") : std::to_string((int)(ms + 0.5)); };
  printf("ports %s window %s\n", show(portsMs).c_str(), show(windowMs).c_str());
  return 0;
}
