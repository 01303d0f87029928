#include "swell-appmain.h"

#include "swell-gdi.h"
#include "swell-resources.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <glib-unix.h>
#include <gtk/gtk.h>

bool g_swell_terminating = false;

namespace
{
GMainLoop* sLoop = nullptr;
SWELLAppMainProc sAppMain = nullptr;
bool sHasDisplay = false;
bool sQuitGranted = false;
SWELL_ModalLoop* sInnermost = nullptr;

// The platform asks to terminate: the application may refuse with a result
// of 1 or more.
void RequestTermination()
{
  if (sAppMain && sAppMain(APPMSG_SHOULD_TERMINATE, 0, 0) >= 1) return;
  sQuitGranted = true;
  SWELL_EndModalLoops();
  if (sLoop) g_main_loop_quit(sLoop);
}

void EndGtkDialog(void* dialog) { gtk_dialog_response(GTK_DIALOG(dialog), GTK_RESPONSE_CANCEL); }

gboolean OnTerminationSignal(gpointer)
{
  RequestTermination();
  return G_SOURCE_CONTINUE;
}
} // namespace

void SWELL_EndModalLoops()
{
  // Each end only asks its loop to return; the loops unwind afterwards,
  // innermost first, as the stack of calls returns.
  for (SWELL_ModalLoop* m = sInnermost; m; m = m->mOuter) m->mEnd(m->mData);
}

SWELL_ModalLoop::SWELL_ModalLoop(void (*end)(void*), void* data) : mEnd(end), mData(data), mOuter(sInnermost)
{
  sInnermost = this;
}

SWELL_ModalLoop::~SWELL_ModalLoop() { sInnermost = mOuter; }

bool SWELL_IsEnding() { return sQuitGranted; }

int SWELL_RunGtkDialog(void* gtkDialog)
{
  if (sQuitGranted) return GTK_RESPONSE_CANCEL;
  SWELL_ModalLoop modal(EndGtkDialog, gtkDialog);
  const int response = gtk_dialog_run(GTK_DIALOG(gtkDialog));
  return sQuitGranted ? GTK_RESPONSE_CANCEL : response;
}

bool SWELL_HasDisplay() { return sHasDisplay; }

void SWELL_PrepareFirstWindow()
{
  if (!sHasDisplay) return;
  // An offscreen window has no X window: nobody sees it. It holds what the
  // main window starts with, a menu bar with a labelled item, so that the
  // styles of those nodes are computed and the font map is set up.
  GtkWidget* window = gtk_offscreen_window_new();
  GtkWidget* box = gtk_box_new(GTK_ORIENTATION_VERTICAL, 0);
  GtkWidget* bar = gtk_menu_bar_new();
  gtk_menu_shell_append(GTK_MENU_SHELL(bar), gtk_menu_item_new_with_label("File"));
  gtk_container_add(GTK_CONTAINER(box), bar);
  gtk_container_add(GTK_CONTAINER(window), box);
  gtk_widget_show_all(window);
  gtk_widget_destroy(window);
}

void SWELL_PostQuitMessage(void*)
{
  g_swell_terminating = true;
  RequestTermination();
}

int SWELL_ApplicationMain(int argc, char** argv, SWELLAppMainProc appMain)
{
  sAppMain = appMain;
  sQuitGranted = false;
  // Windows here are painted from bitmaps, never through OpenGL. Without
  // this GDK loads the GL libraries and queries the display's GL visuals at
  // start, which costs about 40 ms before the first window can open. GDK
  // reads the variable once, in its set-up; programs VELTRA starts later do
  // not inherit it. A value the user set is kept.
  const bool glChosen = g_getenv("GDK_GL") != nullptr;
  if (!glChosen) g_setenv("GDK_GL", "disable", TRUE);
  sHasDisplay = gtk_init_check(&argc, &argv);
  if (!glChosen) g_unsetenv("GDK_GL");
  // A display that was asked for but could not be opened is worth saying:
  // VELTRA goes on without its window, which is easy to miss.
  const char* display = getenv("WAYLAND_DISPLAY");
  if (!display || !*display) display = getenv("DISPLAY");
  if (!sHasDisplay && display && *display)
    fprintf(stderr, "cannot open display %s: running without a window\n", display);
  SWELL_InstallGfxBackend(); // text in bitmaps, with or without a display
  SWELL_InitResourceRoot();

  // GTK dispatches its events from the default main context, so one GLib
  // loop serves the window-less case and the windowed one alike.
  sLoop = g_main_loop_new(nullptr, FALSE);
  const guint sigint = g_unix_signal_add(SIGINT, OnTerminationSignal, nullptr);
  const guint sigterm = g_unix_signal_add(SIGTERM, OnTerminationSignal, nullptr);

  appMain(APPMSG_LOAD, 0, 0);
  appMain(APPMSG_LAUNCHED, 0, 0);
  // A quit granted during launch would be lost on a loop not yet running.
  if (!sQuitGranted) g_main_loop_run(sLoop);
  appMain(APPMSG_TERMINATING, 0, 0);

  g_source_remove(sigint);
  g_source_remove(sigterm);
  g_main_loop_unref(sLoop);
  sLoop = nullptr;
  sAppMain = nullptr;
  return 0;
}
