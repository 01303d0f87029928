#pragma once
// Application start and end on GTK: the platform's application main, which
// raises the application messages in their order, and the quit request.

#include <cstdint>

typedef intptr_t INT_PTR;

enum
{
  APPMSG_LOAD = 1,
  APPMSG_LAUNCHED = 2,
  APPMSG_TERMINATING = 3,
  APPMSG_SHOULD_TERMINATE = 4,
  APPMSG_OPEN_FILE = 80,
  APPMSG_OPEN_UNTITLED = 81,
  APPMSG_SHOULD_OPEN_UNTITLED = 82,
  APPMSG_SYS_MENU_COMMAND = 153,
  APPMSG_KEY_EVENT = 256,
  APPMSG_ACTIVATE = 4096
};

// The application's handler of application-level messages.
typedef INT_PTR (*SWELLAppMainProc)(int msg, INT_PTR parm1, INT_PTR parm2);

// Main thread. Initialises GTK (window-less on the GLib main loop when no
// display can be opened), raises APPMSG_LOAD and APPMSG_LAUNCHED, runs the
// main loop until the application is asked to end, then raises
// APPMSG_TERMINATING. SIGINT and SIGTERM ask it to end as the platform would.
// Returns the process's exit status.
int SWELL_ApplicationMain(int argc, char** argv, SWELLAppMainProc appMain);

// True when GTK could open a display; false while running window-less.
bool SWELL_HasDisplay();

// Main thread. Has GTK load its theme, and Pango its fonts, in a window that
// is never on screen, so that the first real window opens without that cost
// (about 20 ms). Nothing without a display. Meant to run while other threads
// wait on something else.
void SWELL_PrepareFirstWindow();

// Main thread. Sets g_swell_terminating and asks the application to end: the
// main loop returns once APPMSG_SHOULD_TERMINATE lets the quit go on.
void SWELL_PostQuitMessage(void* obj);

extern bool g_swell_terminating;

// Main thread. A loop nested in the application's own (a modal dialog, a
// popup menu, a file chooser) lives inside one of these. When the
// application is to end (a quit granted, SIGTERM or SIGINT), every nested
// loop still running is ended through its end(data), innermost first, as if
// the user had cancelled it, so that the application ends in its usual order
// instead of waiting for the user to close the dialog.
class SWELL_ModalLoop
{
public:
  SWELL_ModalLoop(void (*end)(void* data), void* data);
  ~SWELL_ModalLoop();
  SWELL_ModalLoop(const SWELL_ModalLoop&) = delete;
  SWELL_ModalLoop& operator=(const SWELL_ModalLoop&) = delete;

private:
  void (*mEnd)(void*);
  void* mData;
  SWELL_ModalLoop* mOuter;
  friend void SWELL_EndModalLoops();
};

// Ends every nested loop that is running.
void SWELL_EndModalLoops();

// True once the application is to end: a new nested loop is not started
// (its caller gets the answer of a cancel).
bool SWELL_IsEnding();

// Runs a GtkDialog (passed as a pointer to keep this header free of GTK)
// as gtk_dialog_run does, inside a SWELL_ModalLoop; the response, or
// GTK_RESPONSE_CANCEL when the application is ending.
int SWELL_RunGtkDialog(void* gtkDialog);
