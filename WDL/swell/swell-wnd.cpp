// Windows, dialogs and controls of the layer on GTK 3. A dialog resource
// becomes a GtkWindow holding a GtkFixed; each control is placed at its
// dialog units taken as pixels. Signals of the controls come back to the
// dialog's procedure as WM_COMMAND, as they would on Win32; changes the
// program makes itself (CB_SETCURSEL, BM_SETCHECK) send nothing.

#include "swell-internal.h"

#include "lice.h"
#include "swell-appmain.h"

#include <cstdio>
#include <cstring>

SWELL_DialogResourceIndex* SWELL_curmodule_dialogresource_head = nullptr;

SWELL_DialogRegHelper::SWELL_DialogRegHelper(SWELL_DialogResourceIndex** head, void (*createFunc)(HWND, int), int resid,
                                             int flags, const char* title, int width, int height, double scale)
{
  m_rec = {resid, title, flags, createFunc, (int)(width * scale), (int)(height * scale), nullptr};
  if (resid && head)
  {
    m_rec._next = *head;
    *head = &m_rec;
  }
}

namespace
{
struct GenParms
{
  float xscale = 1.0f, yscale = 1.0f, xtrans = 0.0f, ytrans = 0.0f;
  HWND parent = nullptr;
  bool sizeToFit = false;
} sGen;

const char* const kHwndKey = "swell-hwnd";

SWELL_DialogResourceIndex* FindDialog(SWELL_DialogResourceIndex* head, int resid)
{
  for (SWELL_DialogResourceIndex* r = head; r; r = r->_next)
    if (r->resid == resid) return r;
  return nullptr;
}

bool HaveDisplay() { return gdk_display_get_default() != nullptr; }

// Resources place their controls in pixels for a compact system font; the
// desktop theme's larger font and padding would make them overlap. Dialogs
// made from resources take a compact style of their own.
void AddCompactStyle(GtkWidget* window)
{
  static GtkCssProvider* sProvider = nullptr;
  if (!sProvider)
  {
    sProvider = gtk_css_provider_new();
    gtk_css_provider_load_from_data(sProvider,
                                    ".swell-dialog button, .swell-dialog combobox, .swell-dialog checkbutton, "
                                    ".swell-dialog frame > label { font-size: 12px; }"
                                    ".swell-dialog label { font-size: 11px; }"
                                    ".swell-dialog button { min-height: 0; padding: 1px 6px; }"
                                    ".swell-dialog combobox button { min-height: 0; padding: 1px 4px; }"
                                    ".swell-dialog checkbutton { min-height: 0; padding: 0; }",
                                    -1, nullptr);
    gtk_style_context_add_provider_for_screen(gdk_screen_get_default(), GTK_STYLE_PROVIDER(sProvider),
                                              GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);
  }
  gtk_style_context_add_class(gtk_widget_get_style_context(window), "swell-dialog");
}

void Notify(HWND control, int code)
{
  if (!control || control->suppress || !control->parent) return;
  SendMessage(control->parent, WM_COMMAND, (WPARAM)((code << 16) | (control->id & 0xFFFF)), (LPARAM)control);
}

void OnClicked(GtkWidget*, gpointer data) { Notify((HWND)data, BN_CLICKED); }
void OnComboChanged(GtkComboBox*, gpointer data) { Notify((HWND)data, CBN_SELCHANGE); }

HWND DefaultButton(HWND dlg)
{
  for (HWND c : dlg->children)
    if (c->isDefault) return c;
  return nullptr;
}

// Return presses the default button, unless the focus is on another push
// button; Escape is Cancel. Only for dialogs that have buttons to press.
gboolean OnDialogKey(GtkWidget* window, GdkEventKey* ev, gpointer data)
{
  HWND dlg = (HWND)data;
  if (ev->keyval == GDK_KEY_Escape)
  {
    SendMessage(dlg, WM_COMMAND, IDCANCEL, 0);
    return TRUE;
  }
  if (ev->keyval == GDK_KEY_Return || ev->keyval == GDK_KEY_KP_Enter)
  {
    GtkWidget* focus = gtk_window_get_focus(GTK_WINDOW(window));
    if (focus && GTK_IS_BUTTON(focus) && !GTK_IS_TOGGLE_BUTTON(focus)) return FALSE;
    if (HWND def = DefaultButton(dlg))
    {
      SendMessage(dlg, WM_COMMAND, (WPARAM)(def->id & 0xFFFF), (LPARAM)def);
      return TRUE;
    }
  }
  return FALSE;
}

// The window manager's close: Cancel for a modal dialog, WM_CLOSE for other
// windows, which decide themselves.
gboolean OnDeleteEvent(GtkWidget*, GdkEvent*, gpointer data)
{
  HWND hwnd = (HWND)data;
  if (hwnd->modal)
    SendMessage(hwnd, WM_COMMAND, IDCANCEL, 0);
  else
    SendMessage(hwnd, WM_CLOSE, 0, 0);
  return TRUE;
}

void OnWidgetDestroyed(GtkWidget*, gpointer data) { ((HWND)data)->widget = nullptr; }

HWND MakeWindow(SWELL_DialogResourceIndex* res, HWND parent, DLGPROC proc, LPARAM param, bool modal)
{
  HWND hwnd = new HWND__;
  hwnd->proc = proc;
  hwnd->param = param;
  hwnd->kind = kWndWindow;
  hwnd->modal = modal;
  hwnd->widget = gtk_window_new(GTK_WINDOW_TOPLEVEL);
  g_object_set_data(G_OBJECT(hwnd->widget), kHwndKey, hwnd);
  GtkWindow* win = GTK_WINDOW(hwnd->widget);
  gtk_window_set_title(win, res->title ? res->title : "");
  gtk_window_set_resizable(win, FALSE);
  AddCompactStyle(hwnd->widget);
  hwnd->box = gtk_box_new(GTK_ORIENTATION_VERTICAL, 0);
  hwnd->content = gtk_fixed_new();
  gtk_widget_set_size_request(hwnd->content, res->width, res->height);
  gtk_box_pack_end(GTK_BOX(hwnd->box), hwnd->content, TRUE, TRUE, 0);
  gtk_container_add(GTK_CONTAINER(hwnd->widget), hwnd->box);
  if (parent && parent->widget)
  {
    gtk_window_set_transient_for(win, GTK_WINDOW(parent->widget));
    gtk_window_set_position(win, GTK_WIN_POS_CENTER_ON_PARENT);
  }
  if (modal)
  {
    gtk_window_set_modal(win, TRUE);
    gtk_window_set_type_hint(win, GDK_WINDOW_TYPE_HINT_DIALOG);
  }
  g_signal_connect(hwnd->widget, "delete-event", G_CALLBACK(OnDeleteEvent), hwnd);
  g_signal_connect(hwnd->widget, "destroy", G_CALLBACK(OnWidgetDestroyed), hwnd);

  if (res->createFunc) res->createFunc(hwnd, res->windowTypeFlags);
  if (DefaultButton(hwnd) || modal) g_signal_connect(hwnd->widget, "key-press-event", G_CALLBACK(OnDialogKey), hwnd);
  gtk_widget_show_all(hwnd->box);
  return hwnd;
}

HWND MakeControl(HWND parent, const SWELL_DlgResourceEntry& e)
{
  HWND c = new HWND__;
  c->parent = parent;
  c->id = e.id;
  const char* text = e.text ? e.text : "";
  const std::string cls = e.className ? e.className : "";
  int w = (int)(e.w * sGen.xscale), h = (int)(e.h * sGen.yscale);
  if (cls == "__SWELL_BUTTON")
  {
    c->kind = kWndButton;
    c->widget = gtk_button_new_with_label(text);
    c->isDefault = e.p1 == 1;
    if (e.h >= 30)
    {
      // A button of two lines' height wraps its caption rather than grow.
      GtkWidget* label = gtk_bin_get_child(GTK_BIN(c->widget));
      gtk_label_set_line_wrap(GTK_LABEL(label), TRUE);
      gtk_label_set_justify(GTK_LABEL(label), GTK_JUSTIFY_CENTER);
      gtk_label_set_max_width_chars(GTK_LABEL(label), 12);
    }
    g_signal_connect(c->widget, "clicked", G_CALLBACK(OnClicked), c);
  }
  else if (cls == "__SWELL_CHECKBOX")
  {
    c->kind = kWndCheck;
    c->widget = gtk_check_button_new_with_label(text);
    h = -1; // the design's height is a hit area, not the look
    g_signal_connect(c->widget, "toggled", G_CALLBACK(OnClicked), c);
  }
  else if (cls == "__SWELL_COMBO")
  {
    c->kind = kWndCombo;
    c->widget = gtk_combo_box_text_new();
    h = 22; // the resource's height is the open list's; closed, a line
    g_signal_connect(c->widget, "changed", G_CALLBACK(OnComboChanged), c);
  }
  else if (cls == "__SWELL_LABEL")
  {
    c->kind = kWndLabel;
    c->widget = gtk_label_new(text);
    gtk_label_set_xalign(GTK_LABEL(c->widget), e.p1 == 1 ? 0.5f : e.p1 == 2 ? 1.0f : 0.0f);
    gtk_label_set_yalign(GTK_LABEL(c->widget), 0.0f);
    w = h = -1; // labels take the room their text needs
  }
  else if (cls == "__SWELL_GROUP")
  {
    c->kind = kWndGroup;
    c->widget = gtk_frame_new(text);
  }
  else if (cls == "__SWELL_EDIT")
  {
    c->kind = kWndEdit;
    c->widget = gtk_entry_new();
    gtk_entry_set_text(GTK_ENTRY(c->widget), text);
  }
  else if (*text)
  {
    c->kind = kWndOther; // a custom class: an empty area of its size
    c->widget = gtk_drawing_area_new();
  }
  else
  {
    delete c;
    return nullptr;
  }
  g_object_set_data(G_OBJECT(c->widget), kHwndKey, c);
  g_signal_connect(c->widget, "destroy", G_CALLBACK(OnWidgetDestroyed), c);
  gtk_widget_set_size_request(c->widget, w, h);
  gtk_fixed_put(GTK_FIXED(parent->content), c->widget, (int)(e.x * sGen.xscale + sGen.xtrans),
                (int)(e.y * sGen.yscale + sGen.ytrans));
  return c;
}

int ComboFind(HWND c, int after, const char* text)
{
  for (size_t i = after < 0 ? 0 : (size_t)after + 1; i < c->comboTexts.size(); ++i)
    if (c->comboTexts[i] == text) return (int)i;
  return -1;
}

LRESULT ControlMessage(HWND c, unsigned int msg, WPARAM wParam, LPARAM lParam)
{
  if (!c->widget) return 0;
  switch (msg)
  {
  case BM_GETCHECK:
    return GTK_IS_TOGGLE_BUTTON(c->widget) && gtk_toggle_button_get_active(GTK_TOGGLE_BUTTON(c->widget)) ? 1 : 0;
  case BM_SETCHECK:
    if (!GTK_IS_TOGGLE_BUTTON(c->widget)) return 0;
    ++c->suppress;
    gtk_toggle_button_set_active(GTK_TOGGLE_BUTTON(c->widget), wParam == 1);
    --c->suppress;
    return 0;
  default:
    break;
  }
  if (c->kind != kWndCombo) return 0;
  GtkComboBox* combo = GTK_COMBO_BOX(c->widget);
  switch (msg)
  {
  case CB_ADDSTRING:
    ++c->suppress;
    gtk_combo_box_text_append_text(GTK_COMBO_BOX_TEXT(combo), lParam ? (const char*)lParam : "");
    c->comboTexts.push_back(lParam ? (const char*)lParam : "");
    --c->suppress;
    return (LRESULT)c->comboTexts.size() - 1;
  case CB_GETCOUNT:
    return (LRESULT)c->comboTexts.size();
  case CB_GETCURSEL:
    return gtk_combo_box_get_active(combo);
  case CB_GETLBTEXTLEN:
    if (wParam < 0 || (size_t)wParam >= c->comboTexts.size()) return -1;
    return (LRESULT)c->comboTexts[(size_t)wParam].size();
  case CB_GETLBTEXT:
  {
    // As on Windows, lParam holds CB_GETLBTEXTLEN + 1 bytes.
    if (wParam < 0 || (size_t)wParam >= c->comboTexts.size() || !lParam) return -1;
    const std::string& t = c->comboTexts[(size_t)wParam];
    memcpy((char*)lParam, t.c_str(), t.size() + 1);
    return (LRESULT)t.size();
  }
  case CB_RESETCONTENT:
    ++c->suppress;
    gtk_combo_box_text_remove_all(GTK_COMBO_BOX_TEXT(combo));
    c->comboTexts.clear();
    --c->suppress;
    return 0;
  case CB_SETCURSEL:
  {
    const bool valid = wParam >= 0 && (size_t)wParam < c->comboTexts.size();
    ++c->suppress;
    gtk_combo_box_set_active(combo, valid ? (int)wParam : -1);
    --c->suppress;
    return valid ? wParam : -1;
  }
  case CB_FINDSTRINGEXACT:
    return ComboFind(c, (int)wParam, lParam ? (const char*)lParam : "");
  default:
    return 0;
  }
}
} // namespace

void SWELL_MakeSetCurParms(float xscale, float yscale, float xtrans, float ytrans, HWND parent, bool, bool sizetofit)
{
  sGen.xscale = xscale;
  sGen.yscale = yscale;
  sGen.xtrans = xtrans;
  sGen.ytrans = ytrans;
  sGen.parent = parent;
  sGen.sizeToFit = sizetofit;
}

void SWELL_GenerateDialogFromList(const SWELL_DlgResourceEntry* list, int count)
{
  HWND parent = sGen.parent;
  if (!parent || !parent->content) return;
  for (int i = 0; i < count; ++i)
    if (HWND c = MakeControl(parent, list[i])) parent->children.push_back(c);
}

HWND SWELL_CreateDialog(SWELL_DialogResourceIndex* head, int resid, HWND parent, DLGPROC proc, LPARAM param)
{
  SWELL_DialogResourceIndex* res = FindDialog(head, resid);
  if (!res || !HaveDisplay()) return nullptr;
  HWND hwnd = MakeWindow(res, parent, proc, param, false);
  SendMessage(hwnd, WM_INITDIALOG, 0, param);
  return hwnd;
}

INT_PTR SWELL_DialogBox(SWELL_DialogResourceIndex* head, int resid, HWND parent, DLGPROC proc, LPARAM param)
{
  SWELL_DialogResourceIndex* res = FindDialog(head, resid);
  if (!res || (res->windowTypeFlags & 1) || !HaveDisplay()) return -1;
  if (SWELL_IsEnding()) return IDCANCEL;
  HWND hwnd = MakeWindow(res, parent, proc, param, true);
  SendMessage(hwnd, WM_INITDIALOG, 0, param);
  if (!hwnd->ended)
  {
    gtk_widget_show(hwnd->widget);
    // A loop of its own: the application's loop, with its timers, audio
    // status and panel, goes on underneath.
    hwnd->loop = g_main_loop_new(nullptr, FALSE);
    SWELL_ModalLoop modal([](void* h) { EndDialog((HWND)h, IDCANCEL); }, hwnd);
    g_main_loop_run(hwnd->loop);
    g_main_loop_unref(hwnd->loop);
    hwnd->loop = nullptr;
  }
  const INT_PTR result = hwnd->result;
  DestroyWindow(hwnd);
  return result;
}

void EndDialog(HWND hwnd, int result)
{
  if (!hwnd) return;
  hwnd->result = result;
  hwnd->ended = true;
  if (hwnd->loop) g_main_loop_quit(hwnd->loop);
}

HWND SWELL_CreateProcWindow(DLGPROC proc, LPARAM param)
{
  HWND hwnd = new HWND__;
  hwnd->proc = proc;
  hwnd->param = param;
  return hwnd;
}

void DestroyWindow(HWND hwnd)
{
  if (!hwnd || hwnd->inDestroyMessage) return;
  if (!hwnd->destroying)
  {
    hwnd->destroying = true;
    hwnd->inDestroyMessage = true;
    SendMessage(hwnd, WM_DESTROY, 0, 0);
    hwnd->inDestroyMessage = false;
  }
  if (hwnd->loop)
  {
    // A modal dialog is disposed of by its own call once the loop returns.
    EndDialog(hwnd, (int)hwnd->result);
    return;
  }
  for (HWND c : hwnd->children)
  {
    if (c->widget) g_signal_handlers_disconnect_by_data(c->widget, c);
    delete c;
  }
  hwnd->children.clear();
  if (hwnd->showSource) g_source_remove(hwnd->showSource);
  if (hwnd->widget)
  {
    g_signal_handlers_disconnect_by_data(hwnd->widget, hwnd);
    gtk_widget_destroy(hwnd->widget);
  }
  if (hwnd->accels) g_object_unref(hwnd->accels);
  delete hwnd->menu;
  delete hwnd;
}

LRESULT SendMessage(HWND hwnd, unsigned int msg, WPARAM wParam, LPARAM lParam)
{
  if (!hwnd) return 0;
  if (hwnd->proc) return hwnd->proc(hwnd, msg, wParam, lParam);
  return hwnd->kind == kWndProc || hwnd->kind == kWndWindow ? 0 : ControlMessage(hwnd, msg, wParam, lParam);
}

HWND GetDlgItem(HWND hwnd, int id)
{
  if (!hwnd) return nullptr;
  for (HWND c : hwnd->children)
    if (c->id == id) return c;
  return nullptr;
}

namespace
{
gboolean ShowPendingWindow(gpointer data)
{
  HWND hwnd = (HWND)data;
  hwnd->showSource = 0;
  gtk_widget_show(hwnd->widget);
  return G_SOURCE_REMOVE;
}
} // namespace

void ShowWindow(HWND hwnd, int cmd)
{
  if (!hwnd || !hwnd->widget) return;
  if (hwnd->showSource)
  {
    g_source_remove(hwnd->showSource);
    hwnd->showSource = 0;
  }
  // A window's first showing waits until its creator's code has run to the
  // loop: a menu bar set right after is then part of the first frame, and
  // the window appears once, at its final size and place.
  if (cmd && hwnd->kind == kWndWindow && !gtk_widget_get_realized(hwnd->widget))
    hwnd->showSource = g_idle_add_full(G_PRIORITY_HIGH_IDLE, ShowPendingWindow, hwnd, nullptr);
  else if (cmd)
    gtk_widget_show(hwnd->widget);
  else
    gtk_widget_hide(hwnd->widget);
}

void SetWindowText(HWND hwnd, const char* text)
{
  if (!hwnd || !hwnd->widget) return;
  text = text ? text : "";
  switch (hwnd->kind)
  {
  case kWndWindow:
    gtk_window_set_title(GTK_WINDOW(hwnd->widget), text);
    break;
  case kWndButton:
  case kWndCheck:
    gtk_button_set_label(GTK_BUTTON(hwnd->widget), text);
    break;
  case kWndLabel:
    gtk_label_set_text(GTK_LABEL(hwnd->widget), text);
    break;
  case kWndGroup:
    gtk_frame_set_label(GTK_FRAME(hwnd->widget), text);
    break;
  case kWndEdit:
    gtk_entry_set_text(GTK_ENTRY(hwnd->widget), text);
    break;
  default:
    break;
  }
}

int GetWindowText(HWND hwnd, char* buf, int len)
{
  if (!buf || len < 1) return 0;
  buf[0] = 0;
  if (!hwnd || !hwnd->widget) return 0;
  const char* t = "";
  switch (hwnd->kind)
  {
  case kWndWindow:
    t = gtk_window_get_title(GTK_WINDOW(hwnd->widget));
    break;
  case kWndButton:
  case kWndCheck:
    t = gtk_button_get_label(GTK_BUTTON(hwnd->widget));
    break;
  case kWndLabel:
    t = gtk_label_get_text(GTK_LABEL(hwnd->widget));
    break;
  case kWndEdit:
    t = gtk_entry_get_text(GTK_ENTRY(hwnd->widget));
    break;
  default:
    break;
  }
  snprintf(buf, (size_t)len, "%s", t ? t : "");
  return (int)strlen(buf);
}

void EnableWindow(HWND hwnd, bool enable)
{
  if (hwnd && hwnd->widget) gtk_widget_set_sensitive(hwnd->widget, enable);
}

bool IsWindowEnabled(HWND hwnd) { return hwnd && hwnd->widget && gtk_widget_get_sensitive(hwnd->widget); }

bool GetWindowRect(HWND hwnd, RECT* r)
{
  if (!hwnd || !hwnd->widget || !r || hwnd->kind != kWndWindow) return false;
  int x, y, w, h;
  gtk_window_get_position(GTK_WINDOW(hwnd->widget), &x, &y);
  gtk_window_get_size(GTK_WINDOW(hwnd->widget), &w, &h);
  *r = RECT{x, y, x + w, y + h};
  return true;
}

void SetWindowPos(HWND hwnd, HWND, int x, int y, int w, int h, int)
{
  if (!hwnd || !hwnd->widget || hwnd->kind != kWndWindow) return;
  gtk_window_move(GTK_WINDOW(hwnd->widget), x, y);
  gtk_window_resize(GTK_WINDOW(hwnd->widget), w, h);
}

void SWELL_CenterWindow(HWND hwnd)
{
  if (!hwnd || !hwnd->widget || hwnd->kind != kWndWindow) return;
  GtkWindow* win = GTK_WINDOW(hwnd->widget);
  gtk_window_set_position(win, GTK_WIN_POS_CENTER);
  if (!gtk_widget_get_realized(hwnd->widget)) return;
  // Already on screen: move it there ourselves.
  GdkDisplay* display = gtk_widget_get_display(hwnd->widget);
  GdkMonitor* monitor = gdk_display_get_monitor_at_window(display, gtk_widget_get_window(hwnd->widget));
  if (!monitor) return;
  GdkRectangle area;
  gdk_monitor_get_workarea(monitor, &area);
  int w, h;
  gtk_window_get_size(win, &w, &h);
  gtk_window_move(win, area.x + (area.width - w) / 2, area.y + (area.height - h) / 2);
}

int MessageBox(HWND parent, const char* text, const char* caption, int type)
{
  const bool yesNo = type == MB_YESNO || type == MB_YESNOCANCEL;
  const bool cancel = type == MB_OKCANCEL || type == MB_YESNOCANCEL;
  if (!HaveDisplay())
  {
    // Without a screen the text still reaches the user.
    fprintf(stderr, "%s: %s\n", caption ? caption : "", text ? text : "");
    return cancel ? IDCANCEL : yesNo ? IDNO : IDOK;
  }
  GtkWindow* owner = parent && parent->widget ? GTK_WINDOW(parent->widget) : nullptr;
  GtkWidget* dlg = gtk_message_dialog_new(owner, GTK_DIALOG_MODAL, GTK_MESSAGE_OTHER, GTK_BUTTONS_NONE, "%s",
                                          caption ? caption : "");
  gtk_message_dialog_format_secondary_text(GTK_MESSAGE_DIALOG(dlg), "%s", text ? text : "");
  gtk_window_set_title(GTK_WINDOW(dlg), caption ? caption : "");
  if (cancel) gtk_dialog_add_button(GTK_DIALOG(dlg), "_Cancel", GTK_RESPONSE_CANCEL);
  if (yesNo)
  {
    gtk_dialog_add_button(GTK_DIALOG(dlg), "_No", GTK_RESPONSE_NO);
    gtk_dialog_add_button(GTK_DIALOG(dlg), "_Yes", GTK_RESPONSE_YES);
    gtk_dialog_set_default_response(GTK_DIALOG(dlg), GTK_RESPONSE_YES);
  }
  else
  {
    gtk_dialog_add_button(GTK_DIALOG(dlg), "_OK", GTK_RESPONSE_OK);
    gtk_dialog_set_default_response(GTK_DIALOG(dlg), GTK_RESPONSE_OK);
  }
  const int response = SWELL_RunGtkDialog(dlg);
  gtk_widget_destroy(dlg);
  switch (response)
  {
  case GTK_RESPONSE_OK:
    return IDOK;
  case GTK_RESPONSE_YES:
    return IDYES;
  case GTK_RESPONSE_NO:
    return IDNO;
  case GTK_RESPONSE_CANCEL:
    return IDCANCEL;
  default: // closed by the window manager: the safe answer
    return cancel ? IDCANCEL : yesNo ? IDNO : IDOK;
  }
}

void* SWELL_GetViewContainer(HWND hwnd) { return hwnd ? hwnd->content : nullptr; }

void* SWELL_GetNativeWindow(HWND hwnd) { return hwnd && hwnd->kind == kWndWindow ? hwnd->widget : nullptr; }

HWND SWELL_WindowFromNative(void* gtkWidget)
{
  for (GtkWidget* w = (GtkWidget*)gtkWidget; w; w = gtk_widget_get_parent(w))
  {
    HWND h = (HWND)g_object_get_data(G_OBJECT(w), kHwndKey);
    if (h && h->kind == kWndWindow) return h;
  }
  return nullptr;
}

void SWELL_SetWindowClass(const char* name, const char* iconName)
{
  // GDK makes the class from the program name, its first letter in capital.
  // (Setting the class itself would leak it: GDK drops it at the display's
  // opening.)
  if (name) g_set_prgname(name);
  if (iconName) gtk_window_set_default_icon_name(iconName);
}

void SWELL_SetDefaultWindowIcon(LICE_IBitmap* image)
{
  if (!image || !image->getBits() || !SWELL_HasDisplay()) return;
  const int w = image->getWidth(), h = image->getHeight();
  GdkPixbuf* pixbuf = gdk_pixbuf_new(GDK_COLORSPACE_RGB, TRUE, 8, w, h);
  if (!pixbuf) return;
  guchar* data = gdk_pixbuf_get_pixels(pixbuf);
  const int stride = gdk_pixbuf_get_rowstride(pixbuf);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x)
    {
      const LICE_pixel p = LICE_GetPixel(image, x, y);
      guchar* out = data + (long)y * stride + 4 * x;
      out[0] = (guchar)LICE_GETR(p);
      out[1] = (guchar)LICE_GETG(p);
      out[2] = (guchar)LICE_GETB(p);
      out[3] = (guchar)LICE_GETA(p);
    }
  gtk_window_set_default_icon(pixbuf);
  g_object_unref(pixbuf);
}
