#pragma once
// The memory context that a font back end lends the raster library: a frame
// buffer in the library's pixel layout with the text state that drawing
// reads (font, colours, background mode) and a clip region with its stack.
// Each back end draws text its own way into it; the rest is shared here, and
// fills the matching slots of LICE_GfxBackend. Main thread.

#include "lice.h"

#include <utility>
#include <vector>

struct HDC__
{
  int w = 0, h = 0;
  LICE_pixel* fb = nullptr;
  HGDIOBJ font = nullptr;
  int textColor = 0;      // Win32's 0x00BBGGRR
  int bkColor = 0xffffff; // the same
  int bkMode = OPAQUE;
  bool clipped = false;
  RECT clip = {0, 0, 0, 0};
  std::vector<std::pair<bool, RECT>> clipStack;
};

HDC LICE_CreateMemContext(HDC hdc, int w, int h);
void LICE_DeleteMemContext(HDC ctx);
void* LICE_MemContextBits(HDC ctx);
HGDIOBJ LICE_MemContextSelect(HDC ctx, HGDIOBJ obj);
void LICE_MemContextTextColor(HDC ctx, int color);
void LICE_MemContextBkColor(HDC ctx, int color);
void LICE_MemContextBkMode(HDC ctx, int mode);
void LICE_MemContextPushClip(HDC ctx);
void LICE_MemContextPopClip(HDC ctx);
void LICE_MemContextSetClip(HDC ctx, const RECT* r);
// The area that drawing may touch: the context, cut to the clip region.
RECT LICE_MemContextBounds(HDC ctx);
// box cut to r.
void LICE_CutRect(RECT* box, const RECT& r);
// The start that both back ends' DrawText share once the text's size (tw x
// th) is known: with DT_CALCRECT, r takes that size and the result is false;
// otherwise the text's origin aligned in r goes to *x, *y, the area it may
// touch (the context's bounds, cut to r unless DT_NOCLIP) to *box, and the
// result is true.
bool LICE_PlaceText(HDC ctx, RECT* r, int flags, int tw, int th, int* x, int* y, RECT* box);
