#pragma once
// Text drawing of the window layer, on Cairo and Pango, into the raster
// library's memory contexts (lice_memctx.h): text is drawn through a Cairo
// surface and the pixels are converted at the boundary, leaving the alpha
// bytes alone, as a screen context would. Main thread.

#include "wdltypes.h"

// The Win32 arguments; height below 0 is the character height in pixels,
// above 0 the cell height. An unknown face falls back to a monospace one.
HFONT CreateFont(int height, int width, int escapement, int orientation, int weight, char italic, char underline,
                 char strikeout, char charset, char outprec, char clipprec, char quality, char pitch, const char* face);
void DeleteObject(HGDIOBJ obj);
bool GetTextMetrics(HDC ctx, TEXTMETRIC* tm);
// Draws or (with DT_CALCRECT) measures text in r; returns the text height.
int SWELL_DrawText(HDC ctx, const char* buf, int len, RECT* r, int flags);

// The family name that a face resolves to ("Monaco" on a machine without it:
// a monospace family).
const char* SWELL_ResolvedFontFamily(HFONT font);

// Lends these to the raster library (memory bitmaps with contexts, native
// text). Called once at start; tests call it too.
void SWELL_InstallGfxBackend();
