#include "IGraphicsLinux.h"

#include "IGraphicsXlib.h"
#include "cnumbers.h"

#include "IControl.h"
#include "IParam.h"
#include "IPlugBase.h"
#include "swell-appmain.h"
#include "swell-resources.h"
#include "swell-wnd.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <gdk/gdkx.h>
#include <gtk/gtk.h>
#include <string>
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>
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

// The view's signal handlers, with access to the engine.
struct IGraphicsLinux::View
{
  static IGraphicsLinux* Of(gpointer data) { return (IGraphicsLinux*)data; }

  static gboolean OnTimer(gpointer data)
  {
    IGraphicsLinux* g = Of(data);
    IRECT r;
    // One pixel wider and taller: DrawRect draws on R and B themselves.
    if (g->mView && g->IsDirty(&r) && !g->PaintNow(IRECT(r.L, r.T, r.R + 1, r.B + 1)))
      gtk_widget_queue_draw_area(g->mView, r.L, r.T, r.W() + 1, r.H() + 1);
    return G_SOURCE_CONTINUE;
  }

  static void OnUnrealize(GtkWidget*, gpointer data) { Of(data)->DropWindowGC(); }

  static gboolean OnDraw(GtkWidget*, cairo_t* cr, gpointer data)
  {
    IGraphicsLinux* g = Of(data);
    double x1, y1, x2, y2;
    cairo_clip_extents(cr, &x1, &y1, &x2, &y2);
    IRECT r((int)floor(x1), (int)floor(y1), (int)ceil(x2), (int)ceil(y2));
    g->mPaintContext = cr;
    g->Draw(&r);
    g->mPaintContext = nullptr;
    return TRUE;
  }

  static gboolean OnButtonPress(GtkWidget* w, GdkEventButton* ev, gpointer data)
  {
    IGraphicsLinux* g = Of(data);
    // Own counting of double clicks: GTK reports a second press both as a
    // press and as a double press.
    if (ev->type != GDK_BUTTON_PRESS) return TRUE;
    gtk_widget_grab_focus(w);
    const int x = (int)ev->x, y = (int)ev->y;
    g->mPrevX = x;
    g->mPrevY = y;
    const int clicks = g->ClickCount((int)ev->button, ev->time, x, y);
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
    const int x = (int)ev->x, y = (int)ev->y;
    g->mPrevX = x;
    g->mPrevY = y;
    IMouseMod mod = XModsOf(ev->state, ev->button == 3);
    g->OnMouseUp(x, y, &mod);
    return TRUE;
  }

  static gboolean OnMotion(GtkWidget*, GdkEventMotion* ev, gpointer data)
  {
    IGraphicsLinux* g = Of(data);
    const int x = (int)ev->x, y = (int)ev->y;
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
    g->OnMouseWheel((int)ev->x, (int)ev->y, &mod, d);
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

  // The window is going away with the view in it.
  static void OnDestroy(GtkWidget*, gpointer data)
  {
    IGraphicsLinux* g = Of(data);
    g->ForceEndUserEdit();
    g->mView = nullptr;
    g->CloseWindow();
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

IGraphicsLinux::IGraphicsLinux(IPlugBase* plug, int w, int h, int fps) : IGraphics(plug, w, h, fps)
{
  // The application's start has set the root; a panel made without it (a
  // test, a tool) finds it the same way.
  if (!*LICE_GetResourceRoot()) SWELL_InitResourceRoot();
}

IGraphicsLinux::~IGraphicsLinux()
{
  CloseWindow();
  if (mScreen) cairo_surface_destroy(mScreen);
}

int IGraphicsLinux::ClickCount(int button, unsigned int time, int x, int y)
{
  int interval = 400, distance = 5;
  if (GtkSettings* s = gtk_settings_get_default())
    g_object_get(s, "gtk-double-click-time", &interval, "gtk-double-click-distance", &distance, nullptr);
  return mClicks.Count(button, time, x, y, interval, distance);
}

void IGraphicsLinux::MakeScreenImage()
{
  if (mScreen) cairo_surface_destroy(mScreen);
  mScreen = cairo_image_surface_create(CAIRO_FORMAT_RGB24, Width(), Height());
}

void IGraphicsLinux::ConvertToScreen(const IRECT& r, LICE_ScreenChanges* changes)
{
  if (!mDrawBitmap) return;
  if (!mScreen || cairo_image_surface_get_width(mScreen) != Width() ||
      cairo_image_surface_get_height(mScreen) != Height())
    MakeScreenImage();
  cairo_surface_flush(mScreen);
  uint32_t* dst = (uint32_t*)cairo_image_surface_get_data(mScreen);
  const int span = cairo_image_surface_get_stride(mScreen) / 4;
  LICE_CopyToScreenFormat(dst, span, mDrawBitmap, r.L, r.T, r.W(), r.H(), changes);
  cairo_surface_mark_dirty_rectangle(mScreen, r.L, r.T, r.W(), r.H());
}

bool IGraphicsLinux::DrawScreen(IRECT* rect)
{
  cairo_t* cr = mPaintContext;
  if ((!cr && !mDirect) || !mDrawBitmap) return false;
  // Only the invalidated region is converted and painted.
  const IRECT r = rect->Intersect(IRECT(0, 0, Width(), Height()));
  if (r.Empty()) return true;
  ConvertToScreen(r, mDirect ? &mChanges : nullptr);
  if (mDirect)
  {
    XImage image;
    if (!XInitScreenImage(&image, (char*)cairo_image_surface_get_data(mScreen), cairo_image_surface_get_width(mScreen),
                          cairo_image_surface_get_height(mScreen), cairo_image_surface_get_stride(mScreen), 24))
      return false;
    Display* display = (Display*)mDirect->display;
    ForEachChangedBlock(mChanges, r,
                        [&](int x, int y, int w, int h)
                        {
                          XPutImage(display, mDirect->window, (GC)mGC, &image, x, y, mDirect->x + x, mDirect->y + y,
                                    (unsigned)w, (unsigned)h);
                        });
    // No flush: GDK flushes the connection as the main loop comes round,
    // right after this timer returns.
    return true;
  }
  cairo_save(cr);
  cairo_set_source_surface(cr, mScreen, 0, 0);
  // On a screen of twice the density or more, each pixel is doubled rather
  // than smoothed.
  if (mView && gtk_widget_get_scale_factor(mView) >= 2)
    cairo_pattern_set_filter(cairo_get_source(cr), CAIRO_FILTER_NEAREST);
  cairo_rectangle(cr, r.L, r.T, r.W(), r.H());
  cairo_fill(cr);
  cairo_restore(cr);
  return true;
}

// Each frame of a playing panel, 25 a second, goes here rather than through
// an invalidation: GTK's frame cycle around a repaint costs many times the
// drawing itself (layout and paint phases over the whole window, a backing
// store, and without a window manager a round trip to the X server every
// frame). The panel's pixels are opaque and complete, so the rectangle goes
// straight from the screen image to the window in one request, with no
// backing store; GTK's own repaints still go through the draw signal and
// find the same pixels.
bool IGraphicsLinux::PaintNow(const IRECT& rect)
{
  if (!mView || mTextEntry || !gtk_widget_is_drawable(mView)) return false;
  GdkWindow* w = gtk_widget_get_window(mView);
  if (!w || !GDK_IS_X11_DISPLAY(gdk_window_get_display(w))) return false;
  // The view's origin in the native window that holds it; no server round
  // trip: GDK keeps the child windows' places itself.
  double x = 0.0, y = 0.0;
  while (w && !gdk_window_has_native(w))
  {
    gdk_window_coords_to_parent(w, x, y, &x, &y);
    w = gdk_window_get_parent(w);
  }
  if (!w || gdk_window_get_scale_factor(w) != 1) return false;
  // The screen image's pixels as they are: 32 bits, 0x00RRGGBB.
  Visual* visual = gdk_x11_visual_get_xvisual(gdk_window_get_visual(w));
  if (gdk_visual_get_depth(gdk_window_get_visual(w)) != 24 || visual->red_mask != 0xff0000 ||
      visual->green_mask != 0xff00 || visual->blue_mask != 0xff)
    return false;
  Display* display = GDK_WINDOW_XDISPLAY(w);
  const Window xid = GDK_WINDOW_XID(w);
  if (!mGC || mGCWindow != xid || mGCDisplay != display)
  {
    DropWindowGC();
    mGC = XCreateGC(display, xid, 0, nullptr);
    mGCWindow = xid;
    mGCDisplay = display;
  }
  DirectTarget target = {display, xid, (int)x, (int)y};
  mDirect = &target;
  IRECT r = rect;
  Draw(&r);
  mDirect = nullptr;
  return true;
}

void IGraphicsLinux::DropWindowGC()
{
  if (mGC) XFreeGC((Display*)mGCDisplay, (GC)mGC);
  mGC = nullptr;
  mGCWindow = 0;
  mGCDisplay = nullptr;
}

void* IGraphicsLinux::OpenWindow(void* parent)
{
  CloseWindow();
  ReportMissingImages(LICE_GetResourceRoot());
  GtkWidget* container = (GtkWidget*)SWELL_GetViewContainer((HWND)parent);
  if (!gdk_display_get_default() || !container) return nullptr;
  mContainer = container;
  mView = gtk_drawing_area_new();
  gtk_widget_set_size_request(mView, Width(), Height());
  gtk_widget_set_can_focus(mView, TRUE);
  gtk_widget_add_events(mView, GDK_BUTTON_PRESS_MASK | GDK_BUTTON_RELEASE_MASK | GDK_POINTER_MOTION_MASK |
                                   GDK_SCROLL_MASK | GDK_KEY_PRESS_MASK | GDK_LEAVE_NOTIFY_MASK);
  g_signal_connect(mView, "draw", G_CALLBACK(View::OnDraw), this);
  g_signal_connect(mView, "button-press-event", G_CALLBACK(View::OnButtonPress), this);
  g_signal_connect(mView, "button-release-event", G_CALLBACK(View::OnButtonRelease), this);
  g_signal_connect(mView, "motion-notify-event", G_CALLBACK(View::OnMotion), this);
  g_signal_connect(mView, "leave-notify-event", G_CALLBACK(View::OnLeave), this);
  g_signal_connect(mView, "scroll-event", G_CALLBACK(View::OnScroll), this);
  g_signal_connect(mView, "key-press-event", G_CALLBACK(View::OnKey), this);
  g_signal_connect(mView, "destroy", G_CALLBACK(View::OnDestroy), this);
  g_signal_connect(mView, "unrealize", G_CALLBACK(View::OnUnrealize), this);
  g_signal_connect(mView, "query-tooltip", G_CALLBACK(View::OnQueryTooltip), this);
  if (GTK_IS_FIXED(container))
    gtk_fixed_put(GTK_FIXED(container), mView, 0, 0);
  else
    gtk_container_add(GTK_CONTAINER(container), mView);
  gtk_widget_show(mView);
  gtk_widget_grab_focus(mView);
  mTimer = g_timeout_add((guint)(1000 / FPS()), View::OnTimer, this);
  UpdateTooltips();
  return mView;
}

void IGraphicsLinux::CloseWindow()
{
  if (mTimer)
  {
    g_source_remove(mTimer);
    mTimer = 0;
  }
  ForceEndUserEdit();
  DropWindowGC(); // while its X window still exists
  if (mView)
  {
    GtkWidget* view = mView;
    mView = nullptr;
    g_signal_handlers_disconnect_by_data(view, this);
    gtk_widget_destroy(view);
  }
  mContainer = nullptr;
}

void IGraphicsLinux::Resize(int w, int h)
{
  if (w == Width() && h == Height()) return;
  IGraphics::Resize(w, h);
  MakeScreenImage();
  if (mView) gtk_widget_set_size_request(mView, w, h);
}

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
  GdkRectangle at = {rect->L, rect->B + 5, 1, 1};
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

void IGraphicsLinux::CreateTextEntry(IControl* control, IText* text, IRECT* rect, const char* str, IParam* param)
{
  if (!control || mTextEntry || !mView || !mContainer || !GTK_IS_FIXED(mContainer)) return;
  mTextEntry = gtk_entry_new();
  gtk_entry_set_has_frame(GTK_ENTRY(mTextEntry), FALSE);
  gtk_entry_set_alignment(GTK_ENTRY(mTextEntry), text->mAlign == IText::kAlignLeft     ? 0.0f
                                                 : text->mAlign == IText::kAlignCentre ? 0.5f
                                                                                       : 1.0f);
  gtk_entry_set_width_chars(GTK_ENTRY(mTextEntry), 1);
  gtk_widget_set_size_request(mTextEntry, rect->W(), rect->H());
  AddCss(mTextEntry, "entry { font-family: \"" + std::string(text->mFont) + "\", monospace; font-size: " +
                         std::to_string((int)(0.9 * text->mSize)) + "px; color: " + CssColor(text->mTextEntryFGColor) +
                         "; background: " + CssColor(text->mTextEntryBGColor) +
                         "; border: none; box-shadow: none; outline: none; padding: 0; min-height: 0; }");
  gtk_entry_set_text(GTK_ENTRY(mTextEntry), str ? str : "");
  mEdControl = control;
  mEdParam = param;
  g_signal_connect(mTextEntry, "insert-text", G_CALLBACK(View::OnEntryInsert), this);
  g_signal_connect(mTextEntry, "activate", G_CALLBACK(View::OnEntryActivate), this);
  g_signal_connect(mTextEntry, "focus-out-event", G_CALLBACK(View::OnEntryFocusOut), this);
  g_signal_connect(mTextEntry, "key-press-event", G_CALLBACK(View::OnEntryKey), this);
  gtk_fixed_put(GTK_FIXED(mContainer), mTextEntry, rect->L, rect->T);
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
  gtk_window_set_default_size(GTK_WINDOW(dlg), 760, 520);
  gtk_dialog_set_default_response(GTK_DIALOG(dlg), GTK_RESPONSE_ACCEPT);
  gtk_file_chooser_set_current_folder(chooser, folder.c_str());
  gtk_file_chooser_set_local_only(chooser, TRUE);
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

void IGraphicsLinux::HideMouseCursor()
{
  if (mCursorHidden || !mView || !gtk_widget_get_window(mView)) return;
  GdkDisplay* display = gtk_widget_get_display(mView);
  GdkDevice* pointer = gdk_seat_get_pointer(gdk_display_get_default_seat(display));
  gdk_device_get_position(pointer, nullptr, &mHiddenCursorX, &mHiddenCursorY);
  GdkCursor* blank = gdk_cursor_new_for_display(display, GDK_BLANK_CURSOR);
  gdk_window_set_cursor(gtk_widget_get_window(mView), blank);
  g_object_unref(blank);
  mCursorHidden = true;
}

void IGraphicsLinux::ShowMouseCursor()
{
  if (!mCursorHidden || !mView || !gtk_widget_get_window(mView)) return;
  GdkDisplay* display = gtk_widget_get_display(mView);
  GdkDevice* pointer = gdk_seat_get_pointer(gdk_display_get_default_seat(display));
  // The pointer comes back where the drag began.
  gdk_device_warp(pointer, gdk_display_get_default_screen(display), mHiddenCursorX, mHiddenCursorY);
  gdk_window_set_cursor(gtk_widget_get_window(mView), nullptr);
  mCursorHidden = false;
}

void IGraphicsLinux::UpdateTooltips()
{
  if (mView) gtk_widget_set_has_tooltip(mView, TooltipsEnabled());
}

LICE_IBitmap* IGraphicsLinux::OSLoadBitmap(int, const char* name)
{
  const char* dot = name ? strrchr(name, '.') : nullptr;
  if (!dot || strcasecmp(dot + 1, "png")) return nullptr;
  return LICE_LoadPNGFromNamedResource(name);
}
