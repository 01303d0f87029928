// The plug-in view's input: the window's events turned into the engine's
// mouse and key calls, the text entry drawn inside the panel, the hidden
// cursor of fine drags, and the clipboard.

#include "IGraphicsX11.h"

#include "IControl.h"
#include "IPlugBase.h"

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/keysym.h>
#include <poll.h>

void IGraphicsX11::HandleEvent(XEvent* ev)
{
  if (ev->xany.window != mWindow) return;
  switch (ev->type)
  {
  case Expose:
  {
    const IRECT r(ev->xexpose.x, ev->xexpose.y, ev->xexpose.x + ev->xexpose.width, ev->xexpose.y + ev->xexpose.height);
    mExposed = mExposed.Empty() ? r : mExposed.Union(r);
    break;
  }
  case ButtonPress:
    return HandleButtonPress(ev);
  case ButtonRelease:
  {
    const XButtonEvent& b = ev->xbutton;
    if (b.button != 1 && b.button != 3) break;
    mPrevX = Map().Unit(b.x);
    mPrevY = Map().Unit(b.y);
    IMouseMod mod = XModsOf(b.state, b.button == 3);
    OnMouseUp(mPrevX, mPrevY, &mod);
    break;
  }
  case MotionNotify:
    return HandleMotion(ev);
  case LeaveNotify:
    if (ev->xcrossing.mode == NotifyNormal) OnMouseOut();
    break;
  case KeyPress:
    return HandleKeyPress(ev);
  case FocusOut:
    if (mEntry.open && ev->xfocus.mode == NotifyNormal) EndTextEntry(true);
    break;
  case ClientMessage:
  case DestroyNotify:
    return HandleWindowGone(ev);
  default:
    break;
  }
}

void IGraphicsX11::HandleButtonPress(XEvent* ev)
{
  const XButtonEvent& b = ev->xbutton;
  // The engine's units from the window's pixels.
  const int x = Map().Unit(b.x), y = Map().Unit(b.y);
  mPrevX = x;
  mPrevY = y;
  if (b.button >= 4 && b.button <= 5)
  {
    if (mEntry.open) ForceEndUserEdit();
    IMouseMod mod = XModsOf(b.state, false);
    OnMouseWheel(x, y, &mod, b.button == 4 ? 1 : -1);
    return;
  }
  if (b.button != 1 && b.button != 3) return;
  if (mEntry.open && !mEntry.rect.Contains(x, y)) EndTextEntry(true);
  // Keys go to the panel once it has been clicked, as in a window of its own.
  XSetInputFocus(mDisplay, mWindow, RevertToParent, b.time);
  const int clicks = mClicks.Count((int)b.button, b.time, b.x, b.y);
  IMouseMod mod = XModsOf(b.state, b.button == 3);
  if (b.button == 1 && clicks >= 2)
    OnMouseDblClick(x, y, &mod);
  else
    OnMouseDown(x, y, &mod);
}

void IGraphicsX11::HandleMotion(XEvent* ev)
{
  // Only the latest place of a run of moves matters; but a move never jumps
  // over a press or a release queued before it (a host that idles seldom
  // hands over a whole drag at once).
  while (XPending(mDisplay))
  {
    XEvent next;
    XPeekEvent(mDisplay, &next);
    if (next.type != MotionNotify || next.xany.window != mWindow) break;
    XNextEvent(mDisplay, ev);
  }
  const XMotionEvent& m = ev->xmotion;
  mPrevX = Map().Unit(m.x);
  mPrevY = Map().Unit(m.y);
  const bool left = m.state & Button1Mask, right = m.state & Button3Mask;
  IMouseMod mod = XModsOf(m.state, right && !left);
  if (left || right)
  {
    if (!mEntry.open) OnMouseDrag(mPrevX, mPrevY, &mod);
  }
  else
    OnMouseOver(mPrevX, mPrevY, &mod);
}

void IGraphicsX11::HandleKeyPress(XEvent* ev)
{
  if (mEntry.open)
  {
    TextEntryKey(ev);
    return;
  }
  // Keys with control or alt belong to the host.
  if (ev->xkey.state & (ControlMask | Mod1Mask)) return;
  const int key = XVirtualKeyOf(XLookupKeysym(&ev->xkey, 0));
  if (key >= 0) OnKeyDown(mPrevX, mPrevY, key);
}

void IGraphicsX11::HandleWindowGone(XEvent* ev)
{
  if (ev->type == ClientMessage && (unsigned long)ev->xclient.data.l[0] == mDeleteAtom && mDeleteAtom)
  {
    // The user closed a top-level window: hidden, and the host is told.
    mClosedByUser = true;
    ReleaseMouseCapture();
    XUnmapWindow(mDisplay, mWindow);
  }
  // The host's window went, and ours with it.
  if (ev->type == DestroyNotify && ev->xdestroywindow.window == mWindow)
  {
    DropScreenImage();
    mWindow = 0;
  }
}

void IGraphicsX11::HideMouseCursor()
{
  if (mCursorHidden || !mWindow) return;
  Window root, child;
  int wx, wy;
  unsigned int mask;
  XQueryPointer(mDisplay, mWindow, &root, &child, &mHiddenCursorX, &mHiddenCursorY, &wx, &wy, &mask);
  XDefineCursor(mDisplay, mWindow, mBlankCursor);
  mCursorHidden = true;
}

void IGraphicsX11::ShowMouseCursor()
{
  if (!mCursorHidden || !mWindow) return;
  // The pointer comes back where the drag began.
  XWarpPointer(mDisplay, None, DefaultRootWindow(mDisplay), 0, 0, 0, 0, mHiddenCursorX, mHiddenCursorY);
  XUndefineCursor(mDisplay, mWindow);
  mCursorHidden = false;
}

bool IGraphicsX11::GetTextFromClipboard(WDL_String* str)
{
  str->Set("");
  if (!mWindow) return false;
  const Atom clipboard = XInternAtom(mDisplay, "CLIPBOARD", False);
  const Atom utf8 = XInternAtom(mDisplay, "UTF8_STRING", False);
  const Atom target = XInternAtom(mDisplay, "VELTRA_CLIPBOARD", False);
  if (XGetSelectionOwner(mDisplay, clipboard) == None) return false;
  XConvertSelection(mDisplay, clipboard, utf8, target, mWindow, CurrentTime);
  XFlush(mDisplay);
  // The owner answers through the server; a second at most.
  const double until = XNowMs() + 1000.0;
  XEvent ev;
  while (!XCheckTypedWindowEvent(mDisplay, mWindow, SelectionNotify, &ev))
  {
    if (XNowMs() > until) return false;
    pollfd p = {ConnectionNumber(mDisplay), POLLIN, 0};
    poll(&p, 1, 20);
  }
  if (ev.xselection.property == None) return false;
  Atom type;
  int format;
  unsigned long n, after;
  unsigned char* data = nullptr;
  XGetWindowProperty(mDisplay, mWindow, target, 0, 1 << 16, True, AnyPropertyType, &type, &format, &n, &after, &data);
  const bool ok = data && format == 8;
  if (ok) str->Set((const char*)data, (int)n);
  if (data) XFree(data);
  return ok;
}

void IGraphicsX11::CreateTextEntry(IControl* control, IText* text, IRECT* rect, const char* str, IParam* param)
{
  if (!control || !text || !rect || mEntry.open || !mWindow) return;
  mEntry.open = true;
  mEntry.control = control;
  mEntry.param = param;
  mEntry.text = *text;
  mEntry.text.mSize = (int)(0.9 * text->mSize);
  mEntry.rect = *rect;
  mEntry.value = str ? str : "";
  mEntry.caret = mEntry.value.size();
  XSetInputFocus(mDisplay, mWindow, RevertToParent, CurrentTime);
  DrawTextEntry();
  PutRegion(Map().Px(mEntry.rect), false);
}

void IGraphicsX11::DrawTextEntry()
{
  const IRECT savedClip = mDrawRECT;
  mDrawRECT = IRECT(0, 0, Width(), Height());
  IText& t = mEntry.text;
  FillIRect(&t.mTextEntryBGColor, &mEntry.rect);
  IText style = t;
  style.mColor = t.mTextEntryFGColor;
  IRECT place = mEntry.rect;
  DrawIText(&style, mEntry.value.c_str(), &place);
  // The caret after the text before it, placed as the text is aligned.
  IRECT whole = mEntry.rect, before = mEntry.rect;
  MeasureIText(&style, mEntry.value.c_str(), &whole);
  const std::string head = mEntry.value.substr(0, mEntry.caret);
  int x = whole.L;
  if (!head.empty())
  {
    IText left = style;
    left.mAlign = IText::kAlignLeft;
    MeasureIText(&left, head.c_str(), &before);
    x = whole.L + before.W();
  }
  if (mEntry.value.empty()) x = style.mAlign == IText::kAlignCentre ? (int)mEntry.rect.MW() : x;
  DrawVerticalLine(&style.mColor, x, mEntry.rect.T + 2, mEntry.rect.B - 2);
  mDrawRECT = savedClip;
}

void IGraphicsX11::TextEntryKey(XEvent* ev)
{
  char typed[32] = {};
  KeySym key = 0;
  const int n = XLookupString(&ev->xkey, typed, sizeof(typed) - 1, &key, nullptr);
  std::string& v = mEntry.value;
  size_t& caret = mEntry.caret;
  switch (key)
  {
  case XK_Return:
  case XK_KP_Enter:
    EndTextEntry(true);
    return;
  case XK_Escape:
    ForceEndUserEdit();
    return;
  case XK_BackSpace:
    if (caret > 0) v.erase(--caret, 1);
    break;
  case XK_Delete:
    if (caret < v.size()) v.erase(caret, 1);
    break;
  case XK_Left:
    if (caret > 0) --caret;
    break;
  case XK_Right:
    if (caret < v.size()) ++caret;
    break;
  case XK_Home:
    caret = 0;
    break;
  case XK_End:
    caret = v.size();
    break;
  default:
  {
    if (n <= 0 || (unsigned char)typed[0] < 32 || typed[0] == 127) return;
    std::string proposed = v;
    proposed.insert(caret, typed, (size_t)n);
    // The same filter as the standalone's entry: only what can be a value.
    if (!TextEntryAccepts(mEntry.control, mEntry.param, proposed.c_str())) return;
    v = proposed;
    caret += (size_t)n;
    break;
  }
  }
  // The panel under the field first, so that a shorter text leaves nothing.
  SetAllControlsDirty();
  IRECT r;
  if (IsDirty(&r))
  {
    IRECT wide(r.L, r.T, r.R + 1, r.B + 1);
    Draw(&wide);
  }
}

void IGraphicsX11::EndTextEntry(bool accept)
{
  if (!mEntry.open) return;
  const std::string typed = mEntry.value;
  IControl* control = mEntry.control;
  IParam* param = mEntry.param;
  ForceEndUserEdit();
  if (!accept) return;
  CommitTextEntry(control, param, typed.c_str());
}

void IGraphicsX11::ForceEndUserEdit()
{
  if (!mEntry.open) return;
  mEntry = TextEntry();
  // The controls under the field show again at the next frame.
  SetAllControlsDirty();
}
