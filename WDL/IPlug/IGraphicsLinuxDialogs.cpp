// The GTK view's dialogs: popup menus, message boxes, file choosers, the
// paths the engine asks for and links. Each runs as a nested loop that an
// end of the application closes.

#include "IGraphicsLinux.h"

#include "IPlugBase.h"
#include "lice.h"
#include "swell-appmain.h"
#include "swell-wnd.h"

#include <algorithm>
#include <cstring>
#include <gtk/gtk.h>
#include <string>
#include <vector>

namespace
{
struct MenuRun
{
  GMainLoop* loop = nullptr;
  GtkWidget* shell = nullptr;
  IPopupMenu* chosen = nullptr;
  bool cancelled = false;
};

void OnMenuItem(GtkMenuItem* item, gpointer data)
{
  MenuRun* run = (MenuRun*)data;
  IPopupMenu* menu = (IPopupMenu*)g_object_get_data(G_OBJECT(item), "ipopup");
  if (!menu) return;
  menu->SetChosenItemIdx(GPOINTER_TO_INT(g_object_get_data(G_OBJECT(item), "ipopup-idx")));
  run->chosen = menu;
}

gboolean QuitLoop(gpointer loop)
{
  g_main_loop_quit((GMainLoop*)loop);
  return G_SOURCE_REMOVE;
}

// GTK deactivates the menu before the chosen item's activation: the loop
// ends once both have been handled.
void OnMenuDone(GtkMenuShell*, gpointer data) { g_idle_add(QuitLoop, ((MenuRun*)data)->loop); }

GtkWidget* MakeGtkMenu(IPopupMenu* menu, MenuRun* run)
{
  GtkWidget* shell = gtk_menu_new();
  for (int i = 0; i < menu->GetNItems(); ++i)
  {
    IPopupMenuItem* item = menu->GetItem(i);
    WDL_String text;
    menu->GetDisplayText(i, &text);
    if (item->GetIsTitle()) text.Set((std::string("    ") + text.Get()).c_str());
    GtkWidget* w;
    if (item->GetSubmenu())
    {
      w = gtk_menu_item_new_with_label(text.Get());
      gtk_menu_item_set_submenu(GTK_MENU_ITEM(w), MakeGtkMenu(item->GetSubmenu(), run));
    }
    else if (item->GetIsSeparator())
      w = gtk_separator_menu_item_new();
    else
    {
      if (item->GetChecked())
      {
        w = gtk_check_menu_item_new_with_label(text.Get());
        gtk_check_menu_item_set_active(GTK_CHECK_MENU_ITEM(w), TRUE);
      }
      else
        w = gtk_menu_item_new_with_label(text.Get());
      gtk_widget_set_sensitive(w, item->GetEnabled());
      g_object_set_data(G_OBJECT(w), "ipopup", menu);
      g_object_set_data(G_OBJECT(w), "ipopup-idx", GINT_TO_POINTER(i));
      g_signal_connect(w, "activate", G_CALLBACK(OnMenuItem), run);
    }
    gtk_menu_shell_append(GTK_MENU_SHELL(shell), w);
  }
  gtk_widget_show_all(shell);
  return shell;
}
// 760 x 520 where the screen's work area allows, else what it allows.
void FitChooserToScreen(GtkWidget* dlg, gpointer)
{
  GdkDisplay* display = gtk_widget_get_display(dlg);
  GdkWindow* window = gtk_widget_get_window(dlg);
  GdkMonitor* monitor = window ? gdk_display_get_monitor_at_window(display, window) : nullptr;
  if (!monitor) monitor = gdk_display_get_primary_monitor(display);
  if (!monitor) return;
  GdkRectangle area;
  gdk_monitor_get_workarea(monitor, &area);
  const int w = std::min(760, area.width - 40), h = std::min(520, area.height - 60);
  gtk_window_resize(GTK_WINDOW(dlg), std::max(w, 300), std::max(h, 240));
  gtk_window_move(GTK_WINDOW(dlg), area.x + (area.width - w) / 2, area.y + (area.height - h) / 2);
}
} // namespace

int IGraphicsLinux::ShowMessageBox(const char* text, const char* caption, int type)
{
  // The design's answers: 1 for the default button, 7 for the second, 2 for
  // the third.
  HWND owner = mView ? SWELL_WindowFromNative(mView) : nullptr;
  switch (type)
  {
  case 1:
    return MessageBox(owner, text, caption, MB_OKCANCEL) == IDOK ? 1 : 7;
  case 3:
  {
    const int r = MessageBox(owner, text, caption, MB_YESNOCANCEL);
    return r == IDYES ? 1 : r == IDNO ? 7 : 2;
  }
  case 4:
    return MessageBox(owner, text, caption, MB_YESNO) == IDYES ? 1 : 7;
  default:
    MessageBox(owner, text, caption, MB_OK);
    return 1;
  }
}

IPopupMenu* IGraphicsLinux::CreateIPopupMenu(IPopupMenu* menu, IRECT* rect)
{
  ReleaseMouseCapture();
  if (!mView || !menu || !gtk_widget_get_window(mView)) return nullptr;
  MenuRun run;
  GtkWidget* shell = MakeGtkMenu(menu, &run);
  run.shell = shell;
  gtk_menu_attach_to_widget(GTK_MENU(shell), mView, nullptr);
  g_signal_connect(shell, "deactivate", G_CALLBACK(OnMenuDone), &run);
  const IRECT place = ToView(*rect);
  GdkRectangle at = {place.L, place.B + 5, 1, 1};
  GdkEvent* trigger = gtk_get_current_event();
  gtk_menu_popup_at_rect(GTK_MENU(shell), gtk_widget_get_window(mView), &at, GDK_GRAVITY_NORTH_WEST,
                         GDK_GRAVITY_NORTH_WEST, trigger);
  if (trigger) gdk_event_free(trigger);
  // The choice comes back to the caller: a loop of our own runs until the
  // menu closes.
  if (gtk_widget_get_visible(shell) && !SWELL_IsEnding())
  {
    run.loop = g_main_loop_new(nullptr, FALSE);
    // An end of the application closes the menu with nothing chosen.
    SWELL_ModalLoop modal(
        [](void* r)
        {
          MenuRun* menuRun = (MenuRun*)r;
          menuRun->cancelled = true;
          gtk_menu_shell_cancel(GTK_MENU_SHELL(menuRun->shell));
        },
        &run);
    g_main_loop_run(run.loop);
    g_main_loop_unref(run.loop);
  }
  gtk_widget_destroy(shell);
  return run.cancelled ? nullptr : run.chosen;
}

void IGraphicsLinux::HostPath(WDL_String* path) { XHostPath(path); }

void IGraphicsLinux::PluginPath(WDL_String* path)
{
  WDL_String host;
  HostPath(&host);
  std::string p = host.Get();
  const size_t slash = p.rfind('/');
  if (slash == std::string::npos) return;
  path->Set(p.substr(0, slash + 1).c_str());
}

void IGraphicsLinux::DesktopPath(WDL_String* path)
{
  const char* desktop = g_get_user_special_dir(G_USER_DIRECTORY_DESKTOP);
  path->Set(desktop ? desktop : (XUserHome() + "/Desktop").c_str());
}

void IGraphicsLinux::AppSupportPath(WDL_String* path, bool isSystem)
{
  const std::string base = isSystem ? "/etc/xdg" : g_get_user_config_dir();
  path->Set((base + "/" + (mPlug ? mPlug->GetEffectName() : "")).c_str());
}

void IGraphicsLinux::SandboxSafeAppSupportPath(WDL_String* path) { path->Set((XUserHome() + "/Music").c_str()); }

void IGraphicsLinux::PromptForFile(WDL_String* fileName, EFileAction action, WDL_String* dir, const char* extensions)
{
  if (!WindowIsOpen())
  {
    fileName->Set("");
    return;
  }
  const XFilePrompt prompt = XBeginFilePrompt(fileName, dir, extensions);
  const std::string &proposed = prompt.proposed, &folder = prompt.folder;
  const std::vector<std::string>& types = prompt.types;

  const bool save = action == kFileSave;
  GtkWindow* owner = GTK_WINDOW(gtk_widget_get_toplevel(mView));
  GtkWidget* dlg = gtk_file_chooser_dialog_new(
      save ? "Save" : "Open", owner, save ? GTK_FILE_CHOOSER_ACTION_SAVE : GTK_FILE_CHOOSER_ACTION_OPEN, "_Cancel",
      GTK_RESPONSE_CANCEL, save ? "_Save" : "_Open", GTK_RESPONSE_ACCEPT, nullptr);
  GtkFileChooser* chooser = GTK_FILE_CHOOSER(dlg);
  // The chooser sizes itself from its font when it maps, which can exceed a
  // small screen; it is sized again then, to fit the screen's work area.
  g_signal_connect_after(dlg, "map", G_CALLBACK(FitChooserToScreen), nullptr);
  gtk_dialog_set_default_response(GTK_DIALOG(dlg), GTK_RESPONSE_ACCEPT);
  gtk_file_chooser_set_current_folder(chooser, folder.c_str());
  gtk_file_chooser_set_local_only(chooser, TRUE);
  // The factory programs stand in the side bar, one click away; the dialog
  // itself still starts where the program menu's rule puts it.
  const std::string factory = std::string(LICE_GetResourceRoot()) + "/programs";
  if (*LICE_GetResourceRoot() && g_file_test(factory.c_str(), G_FILE_TEST_IS_DIR))
    gtk_file_chooser_add_shortcut_folder(chooser, factory.c_str(), nullptr);
  if (save)
  {
    gtk_file_chooser_set_current_name(chooser, proposed.c_str());
    gtk_file_chooser_set_do_overwrite_confirmation(chooser, TRUE);
  }
  if (!types.empty())
  {
    GtkFileFilter* filter = gtk_file_filter_new();
    std::string name;
    for (const std::string& t : types)
    {
      // "*.[fF][xX][pP]": any case of the extension.
      std::string pattern = "*.";
      for (char c : t)
        pattern += std::string("[") + (char)tolower((unsigned char)c) + (char)toupper((unsigned char)c) + "]";
      gtk_file_filter_add_pattern(filter, pattern.c_str());
      name += (name.empty() ? "*." : ", *.") + t;
    }
    gtk_file_filter_set_name(filter, name.c_str());
    gtk_file_chooser_add_filter(chooser, filter);
  }

  std::string chosen;
  while (SWELL_RunGtkDialog(dlg) == GTK_RESPONSE_ACCEPT)
  {
    gchar* path = gtk_file_chooser_get_filename(chooser);
    chosen = path ? path : "";
    g_free(path);
    if (chosen.empty()) continue;
    // A file already there under the name with its type added is only
    // replaced on request.
    const std::string question = save ? XKeepSaveType(&chosen, types) : "";
    if (!question.empty() &&
        MessageBox(SWELL_WindowFromNative(mView), question.c_str(), "Replace file?", MB_YESNO) != IDYES)
    {
      chosen.clear();
      continue;
    }
    break;
  }
  gtk_widget_destroy(dlg);
  if (!chosen.empty()) XEndFilePrompt(chosen, fileName, dir);
}

bool IGraphicsLinux::OpenURL(const char* url, const char*, const char*, const char*)
{
  if (!url || !*url) return true;
  const std::string uri = XLinkFor(url);
  GError* error = nullptr;
  GtkWindow* owner = mView ? GTK_WINDOW(gtk_widget_get_toplevel(mView)) : nullptr;
  const bool ok = gtk_show_uri_on_window(owner, uri.c_str(), GDK_CURRENT_TIME, &error);
  if (error) g_error_free(error);
  return ok;
}
