#pragma once
// What the two views of the panel share on X: the standalone window's (on
// GTK, whose key values and state bits are X's own) and the plug-in's (plain
// Xlib in a host's window). Key and modifier translation, double-click
// counting, and putting the changed part of the screen image on a window.

#include "IGraphicsStructs.h"
#include "lice.h"

#include "../wdlstring.h"

#include <algorithm>
#include <string>
#include <vector>

typedef struct _XImage XImage;

// X state bits to the engine's modifiers; a right press is the secondary
// press (this desktop has no command key that would stand for it).
IMouseMod XModsOf(unsigned int state, bool right);

// The engine's key codes: space 0, arrows 1-4 (up, down, left, right),
// digits 5-14, letters 15-40 in either case; -1 for any other key.
int XVirtualKeyOf(unsigned long keysym);

// The running program's path into path; path stays as it was when it
// cannot be found.
void XHostPath(WDL_String* path);
// The user's home folder.
std::string XUserHome();
// What OpenURL hands to the desktop: a text that starts with a scheme
// ("https:", "mailto:", "file:") as it is; anything else is a file path,
// made absolute against the current folder and given as a file:// link.
std::string XLinkFor(const char* url);

// What both views' PromptForFile starts from: the name proposed (taken from
// fileName, which is emptied), the folder to open (dir; "~/Desktop" when dir
// is empty, stored back in dir; "~" is the home folder, which also stands in
// for a folder that does not exist) and the types, split on blanks.
struct XFilePrompt
{
  std::string proposed, folder;
  std::vector<std::string> types;
};
XFilePrompt XBeginFilePrompt(WDL_String* fileName, WDL_String* dir, const char* extensions);
// A save keeps to its type: a chosen name without the first type's extension
// gets it. The answer is the question to ask when that makes it the name of a
// file already there; "" when there is nothing to ask.
std::string XKeepSaveType(std::string* chosen, const std::vector<std::string>& types);
// The choice into fileName, its folder with a trailing "/" into dir.
void XEndFilePrompt(const std::string& chosen, WDL_String* fileName, WDL_String* dir);

// The panel size that suits the desktop, one of kPanelSizes: the larger of
// the screen's scale factor (gdkScale; 0 reads GDK_SCALE) and the X
// resources' Xft.dpi over 96, to the nearest size offered. display: an
// open Display*, or null to open the default one for the question.
int XDesktopPanelSize(void* display = nullptr, int gdkScale = 0);
// The same from the two figures (an Xft.dpi of 0 or less: none given).
int PanelSizeForDesktop(int gdkScale, double xftDpi);

// Milliseconds of the monotonic clock.
double XNowMs();

// Two presses of one button close in time and place make a double click; a
// third starts over.
class XClickCounter
{
public:
  int Count(int button, unsigned long time, int x, int y, int interval = 400, int distance = 5);

private:
  int mButton = 0, mCount = 0, mX = 0, mY = 0;
  unsigned long mTime = 0;
};

// An image header over a buffer of 32-bit words 0x00RRGGBB in native order,
// the screen image's form; false when Xlib refuses it.
bool XInitScreenImage(XImage* image, char* data, int w, int h, int bytesPerLine, int depth);

// What is on the window already equals the screen image, so only what
// changed goes: put(x, y, w, h) for each run of neighbouring changed columns
// within r.
template<class Put>
void ForEachChangedBlock(const LICE_ScreenChanges& changes, const IRECT& r, Put put)
{
  const int columns = (int)changes.top.size(), width = LICE_ScreenChanges::kColumn;
  for (int c = 0; c < columns;)
  {
    if (changes.top[c] >= changes.bottom[c])
    {
      ++c;
      continue;
    }
    int t = changes.top[c], b = changes.bottom[c], last = c;
    while (last + 1 < columns && changes.top[last + 1] < changes.bottom[last + 1])
    {
      ++last;
      t = std::min(t, changes.top[last]);
      b = std::max(b, changes.bottom[last]);
    }
    const int x0 = std::max(r.L, c * width), x1 = std::min(r.R, (last + 1) * width);
    if (x1 > x0) put(x0, t, x1 - x0, b - t);
    c = last + 1;
  }
}
