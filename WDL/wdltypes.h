#pragma once
// Win32-style value types and opaque handles shared by the raster library and
// the window-system layer. Types only: no behaviour lives here.

struct RECT
{
  int left, top, right, bottom;
};

typedef struct HDC__* HDC;
typedef struct HGDIOBJ__* HGDIOBJ;
typedef HGDIOBJ HFONT;

struct TEXTMETRIC
{
  int tmHeight;
  int tmAscent;
  int tmDescent;
  int tmInternalLeading;
  int tmAveCharWidth;
};

// Text drawing flags, shared by the raster library's fonts and the window
// layer's text drawing (one numbering for both, so flags pass through).
enum
{
  DT_TOP = 0,
  DT_LEFT = 0,
  DT_CALCRECT = 1,
  DT_VCENTER = 2,
  DT_CENTER = 4,
  DT_BOTTOM = 16,
  DT_RIGHT = 32,
  DT_SINGLELINE = 64,
  DT_NOPREFIX = 128,
  DT_NOCLIP = 0x100
};

// Background modes of the window layer's text drawing.
enum
{
  TRANSPARENT = 1,
  OPAQUE = 2
};

// A colour of the window layer: red in the low byte, then green, then blue.
#define RGB(r, g, b) ((int)(((r)&0xff) | (((g)&0xff) << 8) | (((b)&0xff) << 16)))
