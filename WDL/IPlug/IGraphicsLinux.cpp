// The GTK view's window and painting: the drawing area in its window, the
// frame timer, the screen image put on the X window, the cursor, tooltips
// and the panel's images.

#include "IGraphicsLinux.h"

#include "swell-resources.h"
#include "swell-wnd.h"

#include <cmath>
#include <cstring>
#include <gdk/gdkx.h>
#include <gtk/gtk.h>
#include <strings.h>

// The view's signal handlers, with access to the engine.
struct IGraphicsLinux::View
{
  static IGraphicsLinux* Of(gpointer data) { return (IGraphicsLinux*)data; }

  static gboolean OnTimer(gpointer data)
  {
    IGraphicsLinux* g = Of(data);
    g->OnGUIIdle();
    IRECT r;
    // One unit wider and taller: DrawRect draws on R and B themselves.
    if (g->mView && g->IsDirty(&r) && !g->PaintNow(IRECT(r.L, r.T, r.R + 1, r.B + 1)))
    {
      const IRECT v = g->ToView(IRECT(r.L, r.T, r.R + 1, r.B + 1));
      gtk_widget_queue_draw_area(g->mView, v.L, v.T, v.W(), v.H());
    }
    return G_SOURCE_CONTINUE;
  }

  static void OnUnrealize(GtkWidget*, gpointer data) { Of(data)->DropWindowGC(); }

  static gboolean OnDraw(GtkWidget*, cairo_t* cr, gpointer data)
  {
    IGraphicsLinux* g = Of(data);
    double x1, y1, x2, y2;
    cairo_clip_extents(cr, &x1, &y1, &x2, &y2);
    // The units whose pixels the region touches.
    IRECT r(g->ToUnit(x1), g->ToUnit(y1), g->ToUnit(ceil(x2) - 0.5) + 1, g->ToUnit(ceil(y2) - 0.5) + 1);
    g->mPaintContext = cr;
    g->Draw(&r);
    g->mPaintContext = nullptr;
    return TRUE;
  }

  // The window is going away with the view in it.
  static void OnDestroy(GtkWidget*, gpointer data)
  {
    IGraphicsLinux* g = Of(data);
    g->ForceEndUserEdit();
    g->mView = nullptr;
    g->CloseWindow();
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

void IGraphicsLinux::MakeScreenImage()
{
  if (mScreen) cairo_surface_destroy(mScreen);
  mScreen = cairo_image_surface_create(CAIRO_FORMAT_RGB24, PixelWidth(), PixelHeight());
}

int IGraphicsLinux::DesktopPanelSize()
{
  GdkDisplay* display = gdk_display_get_default();
  if (!display) return 100;
  GdkMonitor* monitor = gdk_display_get_primary_monitor(display);
  if (!monitor && gdk_display_get_n_monitors(display) > 0) monitor = gdk_display_get_monitor(display, 0);
  const int scale = monitor ? gdk_monitor_get_scale_factor(monitor) : 1;
  if (GDK_IS_X11_DISPLAY(display)) return XDesktopPanelSize(gdk_x11_display_get_xdisplay(display), scale);
  return PanelSizeForDesktop(scale, 0.0);
}

double IGraphicsLinux::Density() const
{
  // At 100 % a screen of twice the density doubles the panel's pixels;
  // at any other size the surface is made for the screen's own pixels.
  if (PanelSize() == 100 || !mView) return 1.0;
  const int f = gtk_widget_get_scale_factor(mView);
  return f > 1 ? (double)f : 1.0;
}

int IGraphicsLinux::ToUnit(double v) const { return Map().Unit((int)floor(v * Density())); }

IRECT IGraphicsLinux::ToView(const IRECT& units) const
{
  const IRECT p = Map().Px(units);
  const double d = Density();
  return IRECT((int)floor(p.L / d), (int)floor(p.T / d), (int)ceil(p.R / d), (int)ceil(p.B / d));
}

void IGraphicsLinux::SizeView()
{
  if (!mView) return;
  const IRECT v = ToView(IRECT(0, 0, Width(), Height()));
  gtk_widget_set_size_request(mView, v.W(), v.H());
}

void IGraphicsLinux::SetPanelSize(int percent)
{
  if (!IsPanelSize(percent) || percent == PanelSize()) return;
  ForceEndUserEdit();
  IGraphics::SetPanelSize(percent);
  MakeScreenImage();
  SizeView();
  if (mView) gtk_widget_queue_draw(mView);
}

void IGraphicsLinux::ConvertToScreen(const IRECT& r, LICE_ScreenChanges* changes)
{
  if (!mDrawBitmap) return;
  if (!mScreen || cairo_image_surface_get_width(mScreen) != PixelWidth() ||
      cairo_image_surface_get_height(mScreen) != PixelHeight())
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
  const IRECT r = rect->Intersect(IRECT(0, 0, PixelWidth(), PixelHeight()));
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
  const double d = Density();
  cairo_surface_set_device_scale(mScreen, d, d);
  cairo_set_source_surface(cr, mScreen, 0, 0);
  // On a screen of twice the density or more, each pixel of a panel at
  // 100 % is doubled rather than smoothed.
  if (mView && gtk_widget_get_scale_factor(mView) >= 2 && d == 1.0)
    cairo_pattern_set_filter(cairo_get_source(cr), CAIRO_FILTER_NEAREST);
  cairo_rectangle(cr, r.L / d, r.T / d, r.W() / d, r.H() / d);
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
  SizeView();
  gtk_widget_set_can_focus(mView, TRUE);
  gtk_widget_add_events(mView, GDK_BUTTON_PRESS_MASK | GDK_BUTTON_RELEASE_MASK | GDK_POINTER_MOTION_MASK |
                                   GDK_SCROLL_MASK | GDK_KEY_PRESS_MASK | GDK_LEAVE_NOTIFY_MASK);
  g_signal_connect(mView, "draw", G_CALLBACK(View::OnDraw), this);
  ConnectInput();
  g_signal_connect(mView, "destroy", G_CALLBACK(View::OnDestroy), this);
  g_signal_connect(mView, "unrealize", G_CALLBACK(View::OnUnrealize), this);
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
  SizeView();
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
