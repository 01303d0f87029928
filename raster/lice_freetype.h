#pragma once
// Text for the raster library without a toolkit: fonts found through
// fontconfig, glyphs rendered by FreeType, memory contexts holding a frame
// buffer in the library's pixel layout. For views that live in another
// program's process (a plug-in's panel), where a toolkit must not be loaded.
// Lines are as tall as the font's ascent plus descent in whole pixels and
// text starts at the top of its box, as the toolkit's text does, so that a
// panel places its text the same way on either back end. Main thread.

// Lends the back end to the raster library (LICE_SetGfxBackend).
void LICE_InstallFreeTypeBackend();
