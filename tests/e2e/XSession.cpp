#include "XSession.h"

#include "Process.h"
#include "TempDir.h"
#include "lice.h"

#include <X11/Xlib.h>
#include <csignal>
#include <cstdio>
#include <unistd.h>

namespace
{
std::string Trim(std::string s)
{
  while (!s.empty() && (s.back() == '\n' || s.back() == ' ')) s.pop_back();
  return s;
}
} // namespace

XServer::~XServer() { Stop(); }

bool XServer::Start(std::string* error)
{
  // Xvfb picks a free display itself and writes its number to the pipe.
  int fds[2];
  if (pipe(fds))
  {
    *error = "no pipe";
    return false;
  }
  const std::string log = "/tmp/veltra-e2e-xvfb-" + std::to_string(getpid()) + ".log";
  mPid = Spawn({"/usr/bin/Xvfb", "-displayfd", std::to_string(fds[1]), "-screen", "0", screen, "-nolisten", "tcp"},
               MakeEnv({}, {}), log, log);
  close(fds[1]);
  std::string number;
  char c;
  while (read(fds[0], &c, 1) == 1 && c != '\n') number += c;
  close(fds[0]);
  if (number.empty())
  {
    *error = "Xvfb did not start: " + ReadWholeFile(log);
    unlink(log.c_str());
    Stop();
    return false;
  }
  unlink(log.c_str());
  mDisplay = ":" + number;
  return true;
}

void XServer::Stop()
{
  if (mPid > 0) StopProcess(mPid, SIGTERM, 10.0);
  mPid = -1;
}

std::vector<std::string> XServer::Env() const { return {"DISPLAY=" + mDisplay, "GDK_BACKEND=x11", "NO_AT_BRIDGE=1"}; }

std::string XServer::Run(const std::vector<std::string>& args, int* status) const
{
  TempDir tmp;
  const std::string out = tmp.File("out"), err = tmp.File("err");
  std::vector<std::string> argv = args;
  if (argv[0][0] != '/') argv[0] = "/usr/bin/" + argv[0];
  const pid_t pid = Spawn(argv, MakeEnv({"DISPLAY"}, Env()), out, err);
  const int st = WaitFor(pid, 30.0);
  if (status) *status = st;
  return Trim(ReadWholeFile(out));
}

std::vector<unsigned long> XServer::Windows(const std::string& nameRegex) const
{
  std::vector<unsigned long> ids;
  const std::string list = Run({"xdotool", "search", "--onlyvisible", "--name", nameRegex});
  size_t at = 0;
  while (at < list.size())
  {
    size_t end = list.find('\n', at);
    if (end == std::string::npos) end = list.size();
    const std::string line = list.substr(at, end - at);
    if (!line.empty()) ids.push_back(std::stoul(line));
    at = end + 1;
  }
  return ids;
}

unsigned long XServer::WaitForWindow(const std::string& nameRegex, double timeoutSec,
                                     const std::vector<unsigned long>& except) const
{
  const double start = Now();
  do {
    for (unsigned long w : Windows(nameRegex))
    {
      bool old = false;
      for (unsigned long e : except) old |= e == w;
      if (!old) return w;
    }
    Sleep(0.05);
  } while (SecondsSince(start) < timeoutSec);
  return 0;
}

bool XServer::WaitForWindowGone(unsigned long win, double timeoutSec) const
{
  const double start = Now();
  while (SecondsSince(start) < timeoutSec)
  {
    bool present = false;
    for (unsigned long w : Windows(".*")) present |= w == win;
    if (!present) return true;
    Sleep(0.05);
  }
  return false;
}

bool XServer::Geometry(unsigned long win, int* x, int* y, int* w, int* h) const
{
  ::Display* d = XOpenDisplay(mDisplay.c_str());
  if (!d) return false;
  XWindowAttributes a;
  Window child;
  const bool ok =
      XGetWindowAttributes(d, win, &a) && XTranslateCoordinates(d, win, DefaultRootWindow(d), 0, 0, x, y, &child);
  *w = a.width;
  *h = a.height;
  XCloseDisplay(d);
  return ok;
}

void XServer::Move(int x, int y) const
{
  Run({"xdotool", "mousemove", "--sync", std::to_string(x), std::to_string(y)});
}

void XServer::Click(int x, int y, int button) const
{
  Move(x, y);
  Run({"xdotool", "click", std::to_string(button)});
}

void XServer::Drag(const std::vector<std::pair<int, int>>& points, int button) const
{
  Move(points.front().first, points.front().second);
  Run({"xdotool", "mousedown", std::to_string(button)});
  for (size_t i = 1; i < points.size(); ++i)
  {
    // In steps of a few pixels, as a hand moves.
    const auto a = points[i - 1], b = points[i];
    const int steps = std::max(1, std::max(std::abs(b.first - a.first), std::abs(b.second - a.second)) / 4);
    for (int s = 1; s <= steps; ++s)
      Move(a.first + (b.first - a.first) * s / steps, a.second + (b.second - a.second) * s / steps);
  }
  Run({"xdotool", "mouseup", std::to_string(button)});
}

void XServer::Key(const std::string& keys) const { Run({"xdotool", "key", "--delay", "40", keys}); }

void XServer::Focus(unsigned long win) const
{
  int x, y, w, h;
  if (Geometry(win, &x, &y, &w, &h)) Move(x + w / 2, y + h / 2);
  Run({"xdotool", "windowfocus", "--sync", std::to_string(win)});
}

void XServer::Type(const std::string& text) const { Run({"xdotool", "type", "--delay", "20", text}); }

LICE_IBitmap* XServer::Screenshot(unsigned long win, const std::string& path) const
{
  Run({"import", "-window", std::to_string(win), "png24:" + path});
  return LICE_LoadPNG(path.c_str());
}

bool XServer::CloseWindow(unsigned long win) const
{
  ::Display* d = XOpenDisplay(mDisplay.c_str());
  if (!d) return false;
  XEvent ev = {};
  ev.xclient.type = ClientMessage;
  ev.xclient.window = win;
  ev.xclient.message_type = XInternAtom(d, "WM_PROTOCOLS", False);
  ev.xclient.format = 32;
  ev.xclient.data.l[0] = (long)XInternAtom(d, "WM_DELETE_WINDOW", False);
  ev.xclient.data.l[1] = CurrentTime;
  const bool ok = XSendEvent(d, win, False, NoEventMask, &ev) != 0;
  XFlush(d);
  XCloseDisplay(d);
  return ok;
}
