#pragma once
// A private X server (Xvfb) on a free display for each GUI test, and the
// user's hands on it: xdotool for the mouse and keyboard, import for
// screenshots, and the close message that a window manager would send
// (there is none under Xvfb). Each piece cleans up after itself.

#include <string>
#include <vector>

class LICE_IBitmap;

class XServer
{
public:
  ~XServer();
  bool Start(std::string* error);
  // The screen's size, "1280x800x24" unless set before Start.
  std::string screen = "1280x800x24";
  void Stop();
  const std::string& Display() const { return mDisplay; }
  // The environment settings that put a program on this display.
  std::vector<std::string> Env() const;

  // Runs a program against this display and answers its standard output.
  std::string Run(const std::vector<std::string>& args, int* status = nullptr) const;
  // Visible windows whose name matches the pattern, in stacking order.
  std::vector<unsigned long> Windows(const std::string& nameRegex) const;
  // Waits for a visible window of that name other than those given; 0 on
  // time-out.
  unsigned long WaitForWindow(const std::string& nameRegex, double timeoutSec,
                              const std::vector<unsigned long>& except = {}) const;
  bool WaitForWindowGone(unsigned long win, double timeoutSec) const;
  // Screen position and size.
  bool Geometry(unsigned long win, int* x, int* y, int* w, int* h) const;

  // Screen coordinates.
  void Move(int x, int y) const;
  void Click(int x, int y, int button = 1) const;
  // Presses at the first point, moves through the others in small steps and
  // releases at the last.
  void Drag(const std::vector<std::pair<int, int>>& points, int button = 1) const;
  void Key(const std::string& keys) const;
  // Gives a window the keyboard, as a click on it would.
  void Focus(unsigned long win) const;
  void Type(const std::string& text) const;
  // The window as a bitmap; null on failure.
  LICE_IBitmap* Screenshot(unsigned long win, const std::string& path) const;
  // WM_DELETE_WINDOW, as a window manager sends when the user closes it.
  bool CloseWindow(unsigned long win) const;

private:
  std::string mDisplay;
  pid_t mPid = -1;
};
