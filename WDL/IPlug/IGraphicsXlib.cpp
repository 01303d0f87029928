#include "IGraphicsXlib.h"

#include <X11/Xlib.h>
#include <X11/keysym.h>
#include <cstdlib>
#include <ctime>

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
