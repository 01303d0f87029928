#pragma once
// Memory contexts and text drawing of the window layer, on Cairo and Pango.
// A memory context's frame buffer is in the raster library's pixel layout
// (alpha in the low byte); text is drawn through a Cairo surface and the
// pixels are converted at the boundary. Text drawing leaves the alpha bytes
// alone, as a screen context would. Main thread.

#include "wdltypes.h"

HDC SWELL_CreateMemContext(HDC hdc, int w, int h);
void SWELL_DeleteGfxContext(HDC ctx);
void* SWELL_GetCtxFrameBuffer(HDC ctx);

// The Win32 arguments; height below 0 is the character height in pixels,
// above 0 the cell height. An unknown face falls back to a monospace one.
HFONT CreateFont(int height, int width, int escapement, int orientation, int weight, char italic, char underline,
                 char strikeout, char charset, char outprec, char clipprec, char quality, char pitch, const char* face);
HGDIOBJ SelectObject(HDC ctx, HGDIOBJ obj);
void DeleteObject(HGDIOBJ obj);
void SetTextColor(HDC ctx, int color);
void SetBkColor(HDC ctx, int color);
void SetBkMode(HDC ctx, int mode);
bool GetTextMetrics(HDC ctx, TEXTMETRIC* tm);
// Draws or (with DT_CALCRECT) measures text in r; returns the text height.
int SWELL_DrawText(HDC ctx, const char* buf, int len, RECT* r, int flags);
void SWELL_PushClipRegion(HDC ctx);
void SWELL_PopClipRegion(HDC ctx);
void SWELL_SetClipRegion(HDC ctx, const RECT* r);

// The family name that a face resolves to ("Monaco" on a machine without it:
// a monospace family).
const char* SWELL_ResolvedFontFamily(HFONT font);

// Lends these to the raster library (memory bitmaps with contexts, native
// text). Called once at start; tests call it too.
void SWELL_InstallGfxBackend();
