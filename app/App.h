#pragma once
// The application's spine: the handler of application messages, and the
// start-up and shut-down order. All of it runs on the main thread. At launch
// with a display, the main loop's thread hands the main role to a thread of
// its own for Init while it readies GTK, touching nothing of Init's, and
// takes the role back when Init ends (THREADS.md, threadrole.h).

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
