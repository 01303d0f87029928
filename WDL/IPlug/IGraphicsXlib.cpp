#include "IGraphicsXlib.h"

#include "IPanelScale.h"

#include <X11/Xlib.h>
#include <X11/Xresource.h>
#include <X11/keysym.h>
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <pwd.h>
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>

IMouseMod XModsOf(unsigned int state, bool right)
{
  return IMouseMod(!right, right, state & ShiftMask, state & ControlMask, state & Mod1Mask);
}

int XVirtualKeyOf(unsigned long keysym)
{
  switch (keysym)
  {
  case XK_space:
    return 0;
  case XK_Up:
  case XK_KP_Up:
    return 1;
  case XK_Down:
  case XK_KP_Down:
    return 2;
  case XK_Left:
  case XK_KP_Left:
    return 3;
  case XK_Right:
  case XK_KP_Right:
    return 4;
  case XK_Prior:
  case XK_KP_Prior:
    return kVirtualKeyPageUp;
  case XK_Next:
  case XK_KP_Next:
    return kVirtualKeyPageDown;
  default:
    break;
  }
  if (keysym >= XK_0 && keysym <= XK_9) return 5 + (int)(keysym - XK_0);
  if (keysym >= XK_KP_0 && keysym <= XK_KP_9) return 5 + (int)(keysym - XK_KP_0);
  if (keysym >= XK_a && keysym <= XK_z) return 15 + (int)(keysym - XK_a);
  if (keysym >= XK_A && keysym <= XK_Z) return 15 + (int)(keysym - XK_A);
  return -1;
}

double XNowMs()
{
  timespec ts;
  clock_gettime(CLOCK_MONOTONIC, &ts);
  return ts.tv_sec * 1000.0 + ts.tv_nsec / 1e6;
}

int XClickCounter::Count(int button, unsigned long time, int x, int y, int interval, int distance)
{
  const bool again = button == mButton && mCount == 1 && time - mTime <= (unsigned long)interval &&
                     abs(x - mX) <= distance && abs(y - mY) <= distance;
  mButton = button;
  mCount = again ? 2 : 1;
  mTime = time;
  mX = x;
  mY = y;
  return mCount;
}

bool XInitScreenImage(XImage* image, char* data, int w, int h, int bytesPerLine, int depth)
{
  *image = XImage();
  image->width = w;
  image->height = h;
  image->format = ZPixmap;
  image->data = data;
  image->byte_order = __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__ ? MSBFirst : LSBFirst; // native 32-bit words
  image->bitmap_unit = 32;
  image->bitmap_bit_order = LSBFirst;
  image->bitmap_pad = 32;
  image->depth = depth;
  image->bytes_per_line = bytesPerLine;
  image->bits_per_pixel = 32;
  image->red_mask = 0xff0000;
  image->green_mask = 0xff00;
  image->blue_mask = 0xff;
  return XInitImage(image) != 0;
}

void XHostPath(WDL_String* path)
{
  char buf[4096];
  const ssize_t n = readlink("/proc/self/exe", buf, sizeof(buf) - 1);
  if (n <= 0) return; // not found: path stays as it was
  buf[n] = 0;
  path->Set(buf);
}

std::string XUserHome()
{
  const char* home = getenv("HOME");
  if (home && *home) return home;
  const passwd* pw = getpwuid(getuid());
  return pw && pw->pw_dir ? pw->pw_dir : "/";
}

std::string XLinkFor(const char* url)
{
  // A scheme: a letter, then letters, digits, "+", "-" or ".", then ":";
  // two letters at least, so that no one-letter drive name counts.
  size_t n = 0;
  while (isalnum((unsigned char)url[n]) || (n && (url[n] == '+' || url[n] == '-' || url[n] == '.'))) ++n;
  if (n >= 2 && isalpha((unsigned char)url[0]) && url[n] == ':') return url;

  std::string path = url;
  if (path.empty() || path[0] != '/')
  {
    char* here = getcwd(nullptr, 0);
    path = std::string(here ? here : "") + "/" + path;
    free(here);
  }
  std::string link = "file://";
  static const char* const kHex = "0123456789ABCDEF";
  for (unsigned char c : path)
  {
    if (isalnum(c) || strchr("/-._~", c))
      link += (char)c;
    else
      link += std::string("%") + kHex[c >> 4] + kHex[c & 15];
  }
  return link;
}

XFilePrompt XBeginFilePrompt(WDL_String* fileName, WDL_String* dir, const char* extensions)
{
  XFilePrompt p;
  p.proposed = fileName->Get();
  fileName->Set("");
  p.folder = dir ? dir->Get() : "";
  if (p.folder.empty())
  {
    p.folder = "~/Desktop";
    if (dir) dir->Set(p.folder.c_str());
  }
  if (p.folder == "~" || p.folder.compare(0, 2, "~/") == 0) p.folder = XUserHome() + p.folder.substr(1);
  struct stat st;
  if (stat(p.folder.c_str(), &st) || !S_ISDIR(st.st_mode)) p.folder = XUserHome();
  std::string word;
  for (const char* c = extensions ? extensions : "";; ++c)
  {
    if (*c && *c != ' ')
      word += *c;
    else if (!word.empty())
      p.types.push_back(word), word.clear();
    if (!*c) break;
  }
  return p;
}

std::string XKeepSaveType(std::string* chosen, const std::vector<std::string>& types)
{
  if (types.empty()) return "";
  const size_t dot = chosen->rfind('.'), slash = chosen->rfind('/');
  if (dot != std::string::npos && (slash == std::string::npos || dot > slash) &&
      !strcasecmp(chosen->c_str() + dot + 1, types[0].c_str()))
    return "";
  *chosen += "." + types[0];
  struct stat st;
  if (stat(chosen->c_str(), &st)) return "";
  return "A file named \"" + chosen->substr(chosen->rfind('/') + 1) + "\" already exists. Do you want to replace it?";
}

void XEndFilePrompt(const std::string& chosen, WDL_String* fileName, WDL_String* dir)
{
  fileName->Set(chosen.c_str());
  if (dir) dir->Set(chosen.substr(0, chosen.rfind('/') + 1).c_str());
}

int PanelSizeForDesktop(int gdkScale, double xftDpi)
{
  double factor = gdkScale > 1 ? (double)gdkScale : 1.0;
  if (xftDpi > 0.0) factor = std::max(factor, xftDpi / 96.0);
  // Beyond the largest size the largest; below 100 % never.
  return NearestPanelSize(std::min(factor, 2.0));
}

int XDesktopPanelSize(void* display, int gdkScale)
{
  if (gdkScale <= 0)
  {
    const char* env = getenv("GDK_SCALE");
    gdkScale = env ? atoi(env) : 1;
  }
  Display* d = (Display*)display;
  const bool own = !d;
  if (own) d = XOpenDisplay(nullptr);
  double dpi = 0.0;
  if (d)
  {
    // The resources as the desktop set them on the root window (xrdb).
    if (const char* resources = XResourceManagerString(d))
    {
      XrmInitialize();
      if (XrmDatabase db = XrmGetStringDatabase(resources))
      {
        char* type = nullptr;
        XrmValue value;
        if (XrmGetResource(db, "Xft.dpi", "Xft.Dpi", &type, &value) && value.addr) dpi = atof(value.addr);
        XrmDestroyDatabase(db);
      }
    }
    if (own) XCloseDisplay(d);
  }
  return PanelSizeForDesktop(gdkScale, dpi);
}
