#include "IGraphicsX11.h"

#include "IControl.h"
#include "IPanelSizeFile.h"
#include "IPlugBase.h"

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/XShm.h>
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <poll.h>
#include <set>
#include <strings.h>
#include <sys/ipc.h>
#include <sys/shm.h>

namespace
{
// X errors on our own connections (the host may destroy its window, and ours
// with it, before it closes the view) are noted and dropped; anyone else's
// go to the handler that was there before. Installed while a view is open.
// Where an error is expected (the window may be gone, a server may refuse
// shared memory) it is only counted; anywhere else it is also reported.
std::set<Display*> sOurDisplays;
XErrorHandler sPreviousHandler = nullptr;
int sErrors = 0;
bool sErrorsExpected = false;

int OnXError(Display* display, XErrorEvent* ev)
{
  if (sOurDisplays.count(display))
  {
    ++sErrors;
    if (!sErrorsExpected)
      fprintf(stderr, "VELTRA: X error %d on request %d of the panel's window\n", ev->error_code, ev->request_code);
    return 0;
  }
  return sPreviousHandler ? sPreviousHandler(display, ev) : 0;
}

void Adopt(Display* display)
{
  if (sOurDisplays.empty()) sPreviousHandler = XSetErrorHandler(OnXError);
  sOurDisplays.insert(display);
}

void Release(Display* display)
{
  sOurDisplays.erase(display);
  if (!sOurDisplays.empty()) return;
  // Put back what was there, unless someone has replaced ours meanwhile.
  XErrorHandler current = XSetErrorHandler(sPreviousHandler);
  if (current != OnXError) XSetErrorHandler(current);
  sPreviousHandler = nullptr;
}

} // namespace

IGraphicsX11::IGraphicsX11(IPlugBase* plug, int w, int h, int fps) : IGraphics(plug, w, h, fps) {}

IGraphicsX11::~IGraphicsX11() { CloseWindow(); }

void IGraphicsX11::SetResourceRoot(const char* folder)
{
  mResourceRoot = folder ? folder : "";
  if (!mResourceRoot.empty() && mResourceRoot.back() != '/') mResourceRoot += '/';
}

LICE_IBitmap* IGraphicsX11::OSLoadBitmap(int, const char* name)
{
  const char* dot = name ? strrchr(name, '.') : nullptr;
  if (!dot || strcasecmp(dot + 1, "png")) return nullptr;
  return LICE_LoadPNG((mResourceRoot + name).c_str());
}

void* IGraphicsX11::OpenWindow(void* parent)
{
  CloseWindow();
  ReportMissingImages(mResourceRoot.c_str());
  mDisplay = XOpenDisplay(nullptr);
  if (!mDisplay) return nullptr;
  Adopt(mDisplay);
  const int screen = DefaultScreen(mDisplay);
  Visual* visual = DefaultVisual(mDisplay, screen);
  mDepth = DefaultDepth(mDisplay, screen);
  // The screen image holds 0x00RRGGBB words: a true-colour screen of that
  // layout shows them as they are.
  if ((mDepth != 24 && mDepth != 32) || visual->red_mask != 0xff0000 || visual->green_mask != 0xff00 ||
      visual->blue_mask != 0xff)
  {
    fprintf(stderr, "VELTRA: the panel needs a 24-bit true-colour screen\n");
    CloseWindow();
    return nullptr;
  }
  mVisual = visual;
  const Window within = parent ? (Window)parent : RootWindow(mDisplay, screen);
  XSetWindowAttributes attributes = {};
  attributes.colormap = DefaultColormap(mDisplay, screen);
  attributes.border_pixel = 0;
  attributes.background_pixmap = None; // the panel paints every pixel
  attributes.event_mask = ExposureMask | ButtonPressMask | ButtonReleaseMask | PointerMotionMask | KeyPressMask |
                          FocusChangeMask | LeaveWindowMask | StructureNotifyMask;
  mWindow = XCreateWindow(mDisplay, within, 0, 0, (unsigned)PixelWidth(), (unsigned)PixelHeight(), 0, mDepth,
                          InputOutput, visual, CWColormap | CWBorderPixel | CWBackPixmap | CWEventMask, &attributes);
  SetSizeHints();
  XStoreName(mDisplay, mWindow, mPlug ? mPlug->GetEffectName() : "");
  if (!parent)
  {
    mDeleteAtom = XInternAtom(mDisplay, "WM_DELETE_WINDOW", False);
    XSetWMProtocols(mDisplay, mWindow, (Atom*)&mDeleteAtom, 1);
  }
  mGC = XCreateGC(mDisplay, mWindow, 0, nullptr);
  char none = 0;
  Pixmap empty = XCreateBitmapFromData(mDisplay, mWindow, &none, 1, 1);
  XColor black = {};
  mBlankCursor = XCreatePixmapCursor(mDisplay, empty, empty, &black, &black, 0, 0);
  XFreePixmap(mDisplay, empty);
  if (!MakeScreenImage())
  {
    CloseWindow();
    return nullptr;
  }
  // The whole panel into the screen image before the window first shows.
  SetAllControlsDirty();
  IRECT all(0, 0, Width(), Height());
  mDrawRECT = all;
  Draw(&all);
  mClosedByUser = false;
  mLastFrame = XNowMs();
  if (parent) XMapWindow(mDisplay, mWindow);
  Flush();
  return (void*)mWindow;
}

void IGraphicsX11::ShowWindow(bool show)
{
  if (!mWindow) return;
  if (show)
  {
    mClosedByUser = false;
    XMapRaised(mDisplay, mWindow);
  }
  else
    XUnmapWindow(mDisplay, mWindow);
  Flush();
}

void IGraphicsX11::CloseWindow()
{
  if (!mDisplay) return;
  ForceEndUserEdit();
  sErrorsExpected = true;
  if (mCursorHidden) ShowMouseCursor();
  // A drag cut short by the host: the host hears that the touch ended.
  if (IControl* dragged = GetControl(GetMouseCapture()))
    if (dragged->ParamIdx() >= 0 && mPlug) mPlug->EndInformHostOfParamChange(dragged->ParamIdx());
  ReleaseMouseCapture();
  DropScreenImage();
  if (mGC) XFreeGC(mDisplay, (GC)mGC);
  if (mBlankCursor) XFreeCursor(mDisplay, mBlankCursor);
  // Gone already when the host destroyed its window first: the error that
  // would bring is dropped.
  if (mWindow) XDestroyWindow(mDisplay, mWindow);
  XSync(mDisplay, False);
  sErrorsExpected = false;
  Release(mDisplay);
  XCloseDisplay(mDisplay);
  mDisplay = nullptr;
  mWindow = 0;
  mGC = nullptr;
  mBlankCursor = 0;
  mCursorHidden = false;
}

void IGraphicsX11::SetSizeHints()
{
  // A fixed size: the panel's at its size.
  XSizeHints* hints = XAllocSizeHints();
  hints->flags = PSize | PMinSize | PMaxSize;
  hints->width = hints->min_width = hints->max_width = PixelWidth();
  hints->height = hints->min_height = hints->max_height = PixelHeight();
  XSetWMNormalHints(mDisplay, mWindow, hints);
  XFree(hints);
}

void IGraphicsX11::Resize(int w, int h)
{
  if (w == Width() && h == Height()) return;
  IGraphics::Resize(w, h);
  ResizeWindow();
}

void IGraphicsX11::SetPanelSize(int percent)
{
  if (!IsPanelSize(percent) || percent == PanelSize()) return;
  ForceEndUserEdit();
  IGraphics::SetPanelSize(percent);
  ResizeWindow();
}

void IGraphicsX11::ResizeWindow()
{
  if (!mWindow) return;
  DropScreenImage();
  MakeScreenImage();
  SetSizeHints();
  XResizeWindow(mDisplay, mWindow, (unsigned)PixelWidth(), (unsigned)PixelHeight());
  SetAllControlsDirty();
}

void IGraphicsX11::ChoosePanelSize(int percent, bool askHost)
{
  if (!IsPanelSize(percent)) return;
  if (!WriteChosenPanelSize(UserOptionsPath(), percent))
    fprintf(stderr, "VELTRA: the panel's size could not be kept in %s: %s\n", UserOptionsPath().c_str(),
            strerror(errno));
  if (percent == PanelSize()) return;
  SetPanelSize(percent);
  if (askHost && mOnResize) mOnResize(PixelWidth(), PixelHeight());
}

int IGraphicsX11::StartPanelSize(double hostFactor)
{
  if (const int chosen = ReadChosenPanelSize(UserOptionsPath())) return chosen;
  return hostFactor > 0.0 ? NearestPanelSize(hostFactor) : XDesktopPanelSize();
}

bool IGraphicsX11::MakeScreenImage()
{
  const int w = PixelWidth(), h = PixelHeight();
  Display* d = mDisplay;
  if (XShmQueryExtension(d))
  {
    XShmSegmentInfo* shm = new XShmSegmentInfo();
    XImage* image =
        XShmCreateImage(d, (Visual*)mVisual, (unsigned)mDepth, ZPixmap, nullptr, shm, (unsigned)w, (unsigned)h);
    if (image && image->bits_per_pixel == 32)
    {
      shm->shmid = shmget(IPC_PRIVATE, (size_t)image->bytes_per_line * (size_t)h, IPC_CREAT | 0600);
      shm->shmaddr = shm->shmid < 0 ? (char*)-1 : (char*)shmat(shm->shmid, nullptr, 0);
      if (shm->shmaddr != (char*)-1)
      {
        image->data = shm->shmaddr;
        shm->readOnly = True;
        const int before = sErrors;
        sErrorsExpected = true;
        XShmAttach(d, shm);
        XSync(d, False);
        sErrorsExpected = false;
        // Marked for removal at once: it goes when both sides let go.
        shmctl(shm->shmid, IPC_RMID, nullptr);
        if (sErrors == before)
        {
          mImage = image;
          mShm = shm;
          mShmCompletion = XShmGetEventBase(d) + ShmCompletion;
          return true;
        }
        shmdt(shm->shmaddr); // a server on another machine
      }
      else if (shm->shmid >= 0)
        shmctl(shm->shmid, IPC_RMID, nullptr);
    }
    if (image)
    {
      image->data = nullptr;
      XDestroyImage(image);
    }
    delete shm;
  }
  mImageBits.assign((size_t)w * (size_t)h, 0);
  XImage* image = new XImage;
  if (!XInitScreenImage(image, (char*)mImageBits.data(), w, h, w * 4, mDepth))
  {
    delete image;
    return false;
  }
  mImage = image;
  return true;
}

void IGraphicsX11::DropScreenImage()
{
  if (!mImage) return;
  if (mShm)
  {
    XShmSegmentInfo* shm = (XShmSegmentInfo*)mShm;
    XShmDetach(mDisplay, shm);
    XSync(mDisplay, False);
    shmdt(shm->shmaddr);
    mImage->data = nullptr;
    XDestroyImage(mImage);
    delete shm;
    mShm = nullptr;
  }
  else
    delete mImage; // its pixels are mImageBits
  mImage = nullptr;
  mImageBits.clear();
  mShmPending = 0;
}

void IGraphicsX11::WaitForServer()
{
  // The server may still be reading a shared image that is about to change:
  // its reports of finished puts are awaited (at the frame rate they have
  // long arrived, and this costs nothing).
  XEvent ev;
  while (mShmPending > 0 && XCheckTypedEvent(mDisplay, mShmCompletion, &ev)) --mShmPending;
  // A report not yet in, or taken by a loop that waits for something else:
  // one round trip makes sure.
  if (mShmPending > 0) XSync(mDisplay, False);
  mShmPending = 0;
}

void IGraphicsX11::PutImage(int x, int y, int w, int h)
{
  if (mShm)
  {
    XShmPutImage(mDisplay, mWindow, (GC)mGC, mImage, x, y, x, y, (unsigned)w, (unsigned)h, True);
    ++mShmPending;
  }
  else
    XPutImage(mDisplay, mWindow, (GC)mGC, mImage, x, y, x, y, (unsigned)w, (unsigned)h);
}

void IGraphicsX11::PutExposed()
{
  // What is on the window was lost there: the screen image has it.
  const IRECT r = mExposed.Intersect(IRECT(0, 0, PixelWidth(), PixelHeight()));
  mExposed = IRECT();
  if (!mWindow || r.Empty()) return;
  WaitForServer();
  PutImage(r.L, r.T, r.W(), r.H());
}

void IGraphicsX11::Flush()
{
  if (mDisplay) XFlush(mDisplay);
}

void IGraphicsX11::PutRegion(const IRECT& rect, bool onlyChanges)
{
  const IRECT r = rect.Intersect(IRECT(0, 0, PixelWidth(), PixelHeight()));
  if (!mImage || !mDrawBitmap || r.Empty()) return;
  WaitForServer();
  LICE_CopyToScreenFormat((uint32_t*)mImage->data, mImage->bytes_per_line / 4, mDrawBitmap, r.L, r.T, r.W(), r.H(),
                          onlyChanges ? &mChanges : nullptr);
  if (!mWindow) return;
  if (onlyChanges)
    ForEachChangedBlock(mChanges, r, [&](int x, int y, int w, int h) { PutImage(x, y, w, h); });
  else
    PutImage(r.L, r.T, r.W(), r.H());
}

bool IGraphicsX11::DrawScreen(IRECT* rect)
{
  if (!mImage) return false;
  IRECT r = *rect;
  if (mEntry.open)
  {
    DrawTextEntry();
    r = r.Union(Map().Px(mEntry.rect));
  }
  PutRegion(r, true);
  return true;
}

bool IGraphicsX11::Idle()
{
  if (!mDisplay) return false;
  while (mDisplay && XPending(mDisplay))
  {
    XEvent ev;
    XNextEvent(mDisplay, &ev);
    if (ev.type == mShmCompletion)
    {
      if (mShmPending > 0) --mShmPending;
      continue;
    }
    HandleEvent(&ev);
    // The plug-in sees each input as it happens: a click shorter than an
    // idle period still plays its key.
    if (mPlug) mPlug->OnIdle();
  }
  if (!mWindow) return !mClosedByUser;
  PutExposed();
  const double now = XNowMs();
  if (now - mLastFrame >= 1000.0 / std::max(1, FPS()))
  {
    mLastFrame = now;
    OnGUIIdle();
    IRECT r;
    // One pixel wider and taller: DrawRect draws on R and B themselves.
    if (IsDirty(&r))
    {
      IRECT wide(r.L, r.T, r.R + 1, r.B + 1);
      Draw(&wide);
    }
  }
  if (mPlug) mPlug->OnIdle();
  Flush();
  return !mClosedByUser;
}
