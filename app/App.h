#pragma once
// The application's spine: the handler of application messages, and the
// start-up and shut-down order. All of it runs on the main thread, but for
// Init at launch with a display: Init then runs on a thread of its own while
// the main thread readies GTK, touching nothing of Init's, and waits for it.
// What the engines, the settings and the session call "main thread" means
// whichever of the two runs them: never both at once.

#include "swell-appmain.h"
#include "swell-wnd.h"

// The main window; null while none is open.
extern HWND gHWND;

INT_PTR SWELLAppMain(int msg, INT_PTR parm1, INT_PTR parm2);

// Launch: audio driver and device lists, the instrument, then the stream.
void Init();
// Terminate: stops the stream before the instrument goes, and the instrument
// before the settings it points into. Safe whatever failed to start.
void Cleanup();
