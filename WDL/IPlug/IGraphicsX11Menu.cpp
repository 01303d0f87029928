// The plug-in view's popup menus, drawn inside the panel by the engine's own
// drawing: a host's process gets no toolkit's widgets.

#include "IGraphicsX11.h"

#include "IPopupMenu.h"

#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/keysym.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <poll.h>

namespace
{
const IColor kMenuBack(255, 36, 36, 40), kMenuFrame(255, 120, 120, 128), kMenuText(255, 230, 230, 230),
    kMenuGrey(255, 120, 120, 120), kMenuHover(255, 85, 174, 255), kMenuLine(255, 80, 80, 86);
constexpr int kItemHeight = 20, kSeparatorHeight = 7, kPad = 8, kCheckWidth = 14, kArrowWidth = 12;

bool Selectable(const IPopupMenuItem* item) { return item && !item->GetIsSeparator() && !item->GetIsTitle(); }

// One open level of a menu: its items' places and the one under the pointer
// or keys.
struct MenuBox
{
  IPopupMenu* menu;
  IRECT rect;
  std::vector<IRECT> items;
  int hover = -1;

  int ItemAt(int x, int y) const
  {
    for (size_t i = 0; i < items.size(); ++i)
      if (items[i].Contains(x, y)) return (int)i;
    return -1;
  }
};

// A loop of its own until the menu closes: the caller gets the choice back.
class MenuRun
{
public:
  MenuRun(IGraphicsX11* gui, IText* text) : mGui(gui), mText(text)
  {
    mSaved.reset(new LICE_MemBitmap(gui->PixelWidth(), gui->PixelHeight()));
    LICE_Copy(mSaved.get(), gui->GetDrawBitmap());
  }

  void Open(IPopupMenu* menu, int x, int y)
  {
    MenuBox box;
    box.menu = menu;
    int w = 60, h = 2;
    for (int i = 0; i < menu->GetNItems(); ++i)
    {
      const IPopupMenuItem* item = menu->GetItem(i);
      WDL_String label;
      menu->GetDisplayText(i, &label);
      IRECT m;
      mGui->MeasureIText(mText, label.Get(), &m);
      w = std::max(w, m.W() + 2 * kPad + kCheckWidth + kArrowWidth);
      h += item->GetIsSeparator() ? kSeparatorHeight : kItemHeight;
    }
    // Inside the panel: moved up or left where it would run out.
    x = std::max(0, std::min(x, mGui->Width() - w));
    y = std::max(0, std::min(y, mGui->Height() - h));
    box.rect = IRECT(x, y, x + w, y + h);
    int top = y + 1;
    for (int i = 0; i < menu->GetNItems(); ++i)
    {
      const int ih = menu->GetItem(i)->GetIsSeparator() ? kSeparatorHeight : kItemHeight;
      box.items.push_back(IRECT(x + 1, top, x + w - 1, top + ih));
      top += ih;
    }
    mBoxes.push_back(box);
  }

  // Everything the boxes covered comes back, then the boxes are drawn.
  void Paint()
  {
    IRECT dirty = mPainted;
    LICE_IBitmap* surface = mGui->GetDrawBitmap();
    const IRECT saved = mGui->Map().Px(mPainted);
    if (!mPainted.Empty())
      LICE_Blit(surface, mSaved.get(), saved.L, saved.T, saved.L, saved.T, saved.W(), saved.H(), 1.0f,
                LICE_BLIT_MODE_COPY);
    mPainted = IRECT();
    for (MenuBox& box : mBoxes)
    {
      DrawBox(box);
      mPainted = mPainted.Union(box.rect);
    }
    mGui->PutRegion(mGui->Map().Px(dirty.Union(mPainted)), false);
  }

  void Close()
  {
    mBoxes.clear();
    Paint();
  }

  // Pointer moves: the item under it lights, and a submenu opens beside it.
  void Hover(int x, int y)
  {
    for (size_t b = mBoxes.size(); b-- > 0;)
    {
      const int i = mBoxes[b].ItemAt(x, y);
      if (i < 0) continue;
      mBoxes.resize(b + 1);
      MenuBox& box = mBoxes[b];
      const IPopupMenuItem* item = box.menu->GetItem(i);
      box.hover = Selectable(item) && item->GetEnabled() ? i : -1;
      if (box.hover >= 0 && item->GetSubmenu()) Open(item->GetSubmenu(), box.rect.R - 2, box.items[i].T - 1);
      Paint();
      return;
    }
  }

  bool Inside(int x, int y) const
  {
    for (const MenuBox& box : mBoxes)
      if (box.rect.Contains(x, y)) return true;
    return false;
  }

  // The lit item of the innermost box, chosen; false when it is none or
  // opens a submenu (which it then does).
  bool Choose()
  {
    if (mBoxes.empty()) return false;
    MenuBox& box = mBoxes.back();
    if (box.hover < 0) return false;
    const IPopupMenuItem* item = box.menu->GetItem(box.hover);
    if (item->GetSubmenu())
    {
      Open(item->GetSubmenu(), box.rect.R - 2, box.items[box.hover].T - 1);
      Step(1);
      return false;
    }
    box.menu->SetChosenItemIdx(box.hover);
    mChosen = box.menu;
    return true;
  }

  // Up or down through the innermost box's enabled items.
  void Step(int d)
  {
    if (mBoxes.empty()) return;
    MenuBox& box = mBoxes.back();
    const int n = box.menu->GetNItems();
    int i = box.hover;
    for (int tries = 0; tries < n; ++tries)
    {
      i = i < 0 ? (d > 0 ? 0 : n - 1) : (i + d + n) % n;
      const IPopupMenuItem* item = box.menu->GetItem(i);
      if (Selectable(item) && item->GetEnabled())
      {
        box.hover = i;
        break;
      }
    }
    Paint();
  }

  // Back out one level; false when that closes the menu.
  bool Back()
  {
    mBoxes.pop_back();
    Paint();
    return !mBoxes.empty();
  }

  IPopupMenu* Chosen() const { return mChosen; }
  size_t Depth() const { return mBoxes.size(); }

private:
  void DrawBox(MenuBox& box)
  {
    IGraphicsX11* g = mGui;
    g->FillIRect(&kMenuBack, &box.rect);
    IRECT frame(box.rect.L, box.rect.T, box.rect.R - 1, box.rect.B - 1);
    g->DrawRect(&kMenuFrame, &frame);
    for (int i = 0; i < box.menu->GetNItems(); ++i)
    {
      const IPopupMenuItem* item = box.menu->GetItem(i);
      IRECT r = box.items[(size_t)i];
      if (item->GetIsSeparator())
      {
        g->DrawHorizontalLine(&kMenuLine, r.MH(), r.L + 4, r.R - 4);
        continue;
      }
      if (i == box.hover) g->FillIRect(&kMenuHover, &r);
      const bool grey = !item->GetEnabled() || item->GetIsTitle();
      IText text = *mText;
      text.mColor = grey ? kMenuGrey : kMenuText;
      if (item->GetChecked()) g->FillCircle(&text.mColor, r.L + kPad + 3, r.MH(), 3.0f, nullptr, true);
      if (item->GetSubmenu()) g->FillTriangle(&text.mColor, r.R - 10, r.T + 6, r.R - 10, r.B - 6, r.R - 5, r.MH());
      WDL_String label;
      box.menu->GetDisplayText(i, &label);
      IRECT place(r.L + kPad + kCheckWidth, r.T + 3, r.R - kArrowWidth, r.B);
      g->DrawIText(&text, label.Get(), &place);
    }
  }

  IGraphicsX11* mGui;
  IText* mText;
  std::unique_ptr<LICE_MemBitmap> mSaved;
  std::vector<MenuBox> mBoxes;
  IRECT mPainted;
  IPopupMenu* mChosen = nullptr;
};
} // namespace

IPopupMenu* IGraphicsX11::CreateIPopupMenu(IPopupMenu* menu, IRECT* rect)
{
  ReleaseMouseCapture();
  if (!mWindow || !menu || !menu->GetNItems() || !rect) return nullptr;
  IText text(13, &kMenuText, nullptr, IText::kStylePlain, IText::kAlignLeft, 0, IText::kQualitySystem);
  const IRECT savedClip = mDrawRECT;
  mDrawRECT = IRECT(0, 0, Width(), Height());
  MenuRun run(this, &text);
  run.Open(menu, rect->L, rect->B + 5);
  run.Paint();
  // Every press and key comes here while the menu is open, also outside it.
  XGrabPointer(mDisplay, mWindow, False, ButtonPressMask | ButtonReleaseMask | PointerMotionMask, GrabModeAsync,
               GrabModeAsync, None, None, CurrentTime);
  XGrabKeyboard(mDisplay, mWindow, False, GrabModeAsync, GrabModeAsync, CurrentTime);
  bool open = true;
  // The release of the click that opened the menu chooses nothing, also when
  // a tall menu opens under the pointer: a release chooses after a press in
  // the menu, or after the pointer moved (a press, a drag, a release).
  bool armed = false;
  int startX = -1, startY = -1;
  while (open && mWindow)
  {
    XFlush(mDisplay);
    if (!XPending(mDisplay))
    {
      pollfd p = {ConnectionNumber(mDisplay), POLLIN, 0};
      poll(&p, 1, 100);
      continue;
    }
    XEvent ev;
    XNextEvent(mDisplay, &ev);
    if (ev.xany.window != mWindow) continue;
    switch (ev.type)
    {
    case Expose:
      PutImage(ev.xexpose.x, ev.xexpose.y, ev.xexpose.width, ev.xexpose.height);
      break;
    case MotionNotify:
      if (startX < 0) startX = ev.xmotion.x, startY = ev.xmotion.y;
      armed = armed || std::abs(ev.xmotion.x - startX) > 3 || std::abs(ev.xmotion.y - startY) > 3;
      run.Hover(Map().Unit(ev.xmotion.x), Map().Unit(ev.xmotion.y));
      break;
    case ButtonPress:
      // A press outside every box closes the menu; inside, the release acts.
      if (!run.Inside(Map().Unit(ev.xbutton.x), Map().Unit(ev.xbutton.y))) open = false;
      armed = true;
      break;
    case ButtonRelease:
    {
      const int x = Map().Unit(ev.xbutton.x), y = Map().Unit(ev.xbutton.y);
      if (armed && run.Inside(x, y))
      {
        run.Hover(x, y);
        if (run.Choose()) open = false;
      }
      break;
    }
    case KeyPress:
    {
      const KeySym key = XLookupKeysym(&ev.xkey, 0);
      if (key == XK_Escape)
        open = run.Back();
      else if (key == XK_Left)
      {
        // Left closes a submenu, never the menu itself.
        if (run.Depth() > 1) run.Back();
      }
      else if (key == XK_Up)
        run.Step(-1);
      else if (key == XK_Down)
        run.Step(1);
      else if (key == XK_Return || key == XK_KP_Enter || key == XK_space || key == XK_Right)
        open = !run.Choose();
      break;
    }
    case DestroyNotify:
      HandleEvent(&ev);
      break;
    default:
      break;
    }
  }
  if (mWindow)
  {
    XUngrabKeyboard(mDisplay, CurrentTime);
    XUngrabPointer(mDisplay, CurrentTime);
    run.Close();
    XFlush(mDisplay);
  }
  mDrawRECT = savedClip;
  return run.Chosen();
}
