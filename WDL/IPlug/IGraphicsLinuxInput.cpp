// The GTK view's input: mouse, wheel and keys into the engine, tooltips,
// the text entry laid over the panel (with its style), the clipboard.

#include "IGraphicsLinux.h"

#include "IControl.h"
#include "IParam.h"
#include "cnumbers.h"

#include <cstring>
#include <gtk/gtk.h>
#include <string>

namespace
{
void AddCss(GtkWidget* w, const std::string& css)
{
  GtkCssProvider* provider = gtk_css_provider_new();
  gtk_css_provider_load_from_data(provider, css.c_str(), -1, nullptr);
  gtk_style_context_add_provider(gtk_widget_get_style_context(w), GTK_STYLE_PROVIDER(provider),
                                 GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);
  g_object_unref(provider);
}

std::string CssColor(const IColor& c)
{
  char buf[64];
  WDL_snprintf_c(buf, sizeof(buf), "rgba(%d,%d,%d,%.3f)", c.R, c.G, c.B, c.A / 255.0);
  return buf;
}
} // namespace

// The view's input signal handlers, with access to the engine.
struct IGraphicsLinux::Input
{
  static IGraphicsLinux* Of(gpointer data) { return (IGraphicsLinux*)data; }

  static gboolean OnButtonPress(GtkWidget* w, GdkEventButton* ev, gpointer data)
  {
    IGraphicsLinux* g = Of(data);
    // Own counting of double clicks: GTK reports a second press both as a
    // press and as a double press.
    if (ev->type != GDK_BUTTON_PRESS) return TRUE;
    gtk_widget_grab_focus(w);
    const int x = g->ToUnit(ev->x), y = g->ToUnit(ev->y);
    g->mPrevX = x;
    g->mPrevY = y;
    const int clicks = g->ClickCount((int)ev->button, ev->time, (int)ev->x, (int)ev->y);
    if (ev->button == 1)
    {
      IMouseMod mod = XModsOf(ev->state, false);
      if (clicks >= 2)
        g->OnMouseDblClick(x, y, &mod);
      else
        g->OnMouseDown(x, y, &mod);
    }
    else if (ev->button == 3)
    {
      IMouseMod mod = XModsOf(ev->state, true);
      g->OnMouseDown(x, y, &mod);
    }
    return TRUE;
  }

  static gboolean OnButtonRelease(GtkWidget*, GdkEventButton* ev, gpointer data)
  {
    IGraphicsLinux* g = Of(data);
    if (ev->button != 1 && ev->button != 3) return TRUE;
    const int x = g->ToUnit(ev->x), y = g->ToUnit(ev->y);
    g->mPrevX = x;
    g->mPrevY = y;
    IMouseMod mod = XModsOf(ev->state, ev->button == 3);
    g->OnMouseUp(x, y, &mod);
    return TRUE;
  }

  static gboolean OnMotion(GtkWidget*, GdkEventMotion* ev, gpointer data)
  {
    IGraphicsLinux* g = Of(data);
    const int x = g->ToUnit(ev->x), y = g->ToUnit(ev->y);
    g->mPrevX = x;
    g->mPrevY = y;
    const bool left = ev->state & GDK_BUTTON1_MASK, right = ev->state & GDK_BUTTON3_MASK;
    IMouseMod mod = XModsOf(ev->state, right && !left);
    if (left || right)
    {
      if (!g->mTextEntry) g->OnMouseDrag(x, y, &mod);
    }
    else
      g->OnMouseOver(x, y, &mod);
    return TRUE;
  }

  static gboolean OnLeave(GtkWidget*, GdkEventCrossing* ev, gpointer data)
  {
    if (ev->mode == GDK_CROSSING_NORMAL) Of(data)->OnMouseOut();
    return FALSE;
  }

  static gboolean OnScroll(GtkWidget*, GdkEventScroll* ev, gpointer data)
  {
    IGraphicsLinux* g = Of(data);
    int d = 0;
    if (ev->direction == GDK_SCROLL_UP)
      d = 1;
    else if (ev->direction == GDK_SCROLL_DOWN)
      d = -1;
    else if (ev->direction == GDK_SCROLL_SMOOTH)
      d = (int)-ev->delta_y; // whole notches, upward positive
    if (g->mTextEntry) g->ForceEndUserEdit();
    if (!d) return TRUE;
    IMouseMod mod = XModsOf(ev->state, false);
    g->OnMouseWheel(g->ToUnit(ev->x), g->ToUnit(ev->y), &mod, d);
    return TRUE;
  }

  static gboolean OnKey(GtkWidget*, GdkEventKey* ev, gpointer data)
  {
    IGraphicsLinux* g = Of(data);
    const int key = XVirtualKeyOf(ev->keyval);
    // Keys with control or alt are the window's (menu accelerators).
    if (key < 0 || (ev->state & (GDK_CONTROL_MASK | GDK_MOD1_MASK))) return FALSE;
    return g->OnKeyDown(g->mPrevX, g->mPrevY, key) ? TRUE : FALSE;
  }

  static gboolean OnQueryTooltip(GtkWidget*, gint, gint, gboolean, GtkTooltip* tip, gpointer data)
  {
    IGraphicsLinux* g = Of(data);
    IControl* c = g->GetControl(g->GetMouseOver());
    const char* text = c ? c->GetTooltip() : "";
    if (!text || !*text) return FALSE;
    gtk_tooltip_set_text(tip, text);
    return TRUE;
  }

  static void OnEntryInsert(GtkEditable* editable, const gchar* text, gint length, gint* position, gpointer data)
  {
    IGraphicsLinux* g = Of(data);
    std::string proposed = gtk_entry_get_text(GTK_ENTRY(editable));
    const size_t at = (size_t)g_utf8_offset_to_pointer(proposed.c_str(), *position) - (size_t)proposed.c_str();
    proposed.insert(at, text, length < 0 ? strlen(text) : (size_t)length);
    if (!TextEntryAccepts(g->mEdControl, g->mEdParam, proposed.c_str()))
      g_signal_stop_emission_by_name(editable, "insert-text");
  }

  static void OnEntryActivate(GtkEntry*, gpointer data) { Of(data)->EndTextEntry(true); }

  static gboolean OnEntryFocusOut(GtkWidget*, GdkEvent*, gpointer data)
  {
    Of(data)->EndTextEntry(true);
    return FALSE;
  }

  static gboolean OnEntryKey(GtkWidget*, GdkEventKey* ev, gpointer data)
  {
    if (ev->keyval != GDK_KEY_Escape) return FALSE;
    Of(data)->ForceEndUserEdit();
    return TRUE;
  }
};

void IGraphicsLinux::ConnectInput()
{
  g_signal_connect(mView, "button-press-event", G_CALLBACK(Input::OnButtonPress), this);
  g_signal_connect(mView, "button-release-event", G_CALLBACK(Input::OnButtonRelease), this);
  g_signal_connect(mView, "motion-notify-event", G_CALLBACK(Input::OnMotion), this);
  g_signal_connect(mView, "leave-notify-event", G_CALLBACK(Input::OnLeave), this);
  g_signal_connect(mView, "scroll-event", G_CALLBACK(Input::OnScroll), this);
  g_signal_connect(mView, "key-press-event", G_CALLBACK(Input::OnKey), this);
  g_signal_connect(mView, "query-tooltip", G_CALLBACK(Input::OnQueryTooltip), this);
}

int IGraphicsLinux::ClickCount(int button, unsigned int time, int x, int y)
{
  int interval = 400, distance = 5;
  if (GtkSettings* s = gtk_settings_get_default())
    g_object_get(s, "gtk-double-click-time", &interval, "gtk-double-click-distance", &distance, nullptr);
  return mClicks.Count(button, time, x, y, interval, distance);
}

void IGraphicsLinux::CreateTextEntry(IControl* control, IText* text, IRECT* rect, const char* str, IParam* param)
{
  if (!control || mTextEntry || !mView || !mContainer || !GTK_IS_FIXED(mContainer)) return;
  mTextEntry = gtk_entry_new();
  gtk_entry_set_has_frame(GTK_ENTRY(mTextEntry), FALSE);
  gtk_entry_set_alignment(GTK_ENTRY(mTextEntry), text->mAlign == IText::kAlignLeft     ? 0.0f
                                                 : text->mAlign == IText::kAlignCentre ? 0.5f
                                                                                       : 1.0f);
  gtk_entry_set_width_chars(GTK_ENTRY(mTextEntry), 1);
  // In the view's pixels, at the panel's size.
  const IRECT place = ToView(*rect);
  gtk_widget_set_size_request(mTextEntry, place.W(), place.H());
  const int fontPixels = (int)(0.9 * Map().Pxf((float)text->mSize) / Density());
  AddCss(mTextEntry, "entry { font-family: \"" + std::string(text->mFont) + "\", monospace; font-size: " +
                         std::to_string(fontPixels) + "px; color: " + CssColor(text->mTextEntryFGColor) +
                         "; background: " + CssColor(text->mTextEntryBGColor) +
                         "; border: none; box-shadow: none; outline: none; padding: 0; min-height: 0; }");
  gtk_entry_set_text(GTK_ENTRY(mTextEntry), str ? str : "");
  mEdControl = control;
  mEdParam = param;
  g_signal_connect(mTextEntry, "insert-text", G_CALLBACK(Input::OnEntryInsert), this);
  g_signal_connect(mTextEntry, "activate", G_CALLBACK(Input::OnEntryActivate), this);
  g_signal_connect(mTextEntry, "focus-out-event", G_CALLBACK(Input::OnEntryFocusOut), this);
  g_signal_connect(mTextEntry, "key-press-event", G_CALLBACK(Input::OnEntryKey), this);
  gtk_fixed_put(GTK_FIXED(mContainer), mTextEntry, place.L, place.T);
  gtk_widget_show(mTextEntry);
  if (GtkWidget* top = gtk_widget_get_toplevel(mView)) gtk_window_present(GTK_WINDOW(top));
  gtk_widget_grab_focus(mTextEntry);
}

void IGraphicsLinux::EndTextEntry(bool accept)
{
  if (!mTextEntry) return;
  const std::string typed = gtk_entry_get_text(GTK_ENTRY(mTextEntry));
  IControl* control = mEdControl;
  IParam* param = mEdParam;
  ForceEndUserEdit();
  if (!accept) return;
  CommitTextEntry(control, param, typed.c_str());
  if (mView) gtk_widget_queue_draw(mView);
}

void IGraphicsLinux::ForceEndUserEdit()
{
  if (!mTextEntry) return;
  GtkWidget* entry = mTextEntry;
  mTextEntry = nullptr;
  mEdControl = nullptr;
  mEdParam = nullptr;
  g_signal_handlers_disconnect_by_data(entry, this);
  gtk_widget_destroy(entry);
  if (mView) gtk_widget_grab_focus(mView);
}

bool IGraphicsLinux::GetTextFromClipboard(WDL_String* str)
{
  str->Set("");
  if (!gdk_display_get_default()) return false;
  gchar* text = gtk_clipboard_wait_for_text(gtk_clipboard_get(GDK_SELECTION_CLIPBOARD));
  if (!text) return false;
  str->Set(text);
  g_free(text);
  return true;
}
