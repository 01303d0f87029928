// The engine's control list, value fan-out, polled redraw and input routing.
// Drawing primitives and the caches live in IGraphicsDraw.cpp.

#include "IGraphics.h"

#include "IParam.h"
#include "IPlugBase.h"
#include "cnumbers.h"
#include "lice.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

IGraphics::IGraphics(IPlugBase* plug, int w, int h, int fps)
    : mControls(4096), mPlug(plug), mWidth(w), mHeight(h), mFPS(fps < 1 ? 25 : fps)
{
}

IGraphics::~IGraphics()
{
  delete mKeyCatcher;
  mKeyCatcher = nullptr;
  mControls.Empty(true);
  DeleteSurfaces();
  DropResizedImages();
}

void IGraphics::DeleteSurfaces()
{
  delete mDrawBitmap;
  delete mTmpBitmap;
  mDrawBitmap = mTmpBitmap = nullptr;
}

void IGraphics::PrepDraw()
{
  DeleteSurfaces();
  mDrawBitmap = new LICE_SysBitmap(PixelWidth(), PixelHeight());
  mTmpBitmap = new LICE_MemBitmap(0, 0, 4);
}

void IGraphics::SetPanelSize(int percent)
{
  if (!IsPanelSize(percent) || percent == mMap.Percent()) return;
  mMap = IPanelScale(percent);
  DropResizedImages();
  if (mDrawBitmap) PrepDraw();
  SetAllControlsDirty();
}

LICE_pixel* IGraphics::GetBits() { return mDrawBitmap ? mDrawBitmap->getBits() : nullptr; }

void IGraphics::Resize(int w, int h)
{
  mWidth = w;
  mHeight = h;
  ReleaseMouseCapture();
  mControls.Empty(true);
  PrepDraw();
  if (mPlug) mPlug->ResizeGraphics(w, h);
}

int IGraphics::AttachControl(IControl* control)
{
  mControls.Add(control);
  return mControls.GetSize() - 1;
}

void IGraphics::AttachBackground(int id, const char* name)
{
  IBitmap bg = LoadIBitmap(id, name, 1);
  mControls.Insert(0, new IBitmapControl(mPlug, 0, 0, -1, bg, IChannelBlend::kBlendCopy));
}

void IGraphics::AttachPanelBackground(const IColor* color)
{
  mControls.Insert(0, new IPanelControl(mPlug, IRECT(0, 0, mWidth, mHeight), color));
}

void IGraphics::AttachKeyCatcher(IControl* control) { mKeyCatcher = control; }

// ---------------------------------------------------------------------------
// Fan-out. One parameter may drive several controls, so every pass goes
// through all of them.

void IGraphics::SetParameterFromPlug(int paramIdx, double value, bool normalized)
{
  if (!normalized)
  {
    IParam* param = mPlug ? mPlug->GetParam(paramIdx) : nullptr;
    if (!param) return;
    value = param->GetNormalized(value);
  }
  for (int i = 0; i < mControls.GetSize(); ++i)
  {
    IControl* c = mControls.Get(i);
    if (c->ParamIdx() == paramIdx) c->SetValueFromPlug(value);
    const int aux = c->AuxParamIdx(paramIdx);
    if (aux > -1) c->SetAuxParamValueFromPlug(aux, value);
  }
}

void IGraphics::SetControlFromPlug(int controlIdx, double normalizedValue)
{
  if (IControl* c = mControls.Get(controlIdx)) c->SetValueFromPlug(normalizedValue);
}

void IGraphics::SetParameterFromGUI(int paramIdx, double normalizedValue)
{
  for (int i = 0; i < mControls.GetSize(); ++i)
    if (mControls.Get(i)->ParamIdx() == paramIdx) mControls.Get(i)->SetValueFromUserInput(normalizedValue);
}

void IGraphics::HideControl(int paramIdx, bool hide)
{
  for (int i = 0; i < mControls.GetSize(); ++i)
    if (mControls.Get(i)->ParamIdx() == paramIdx) mControls.Get(i)->Hide(hide);
}

void IGraphics::GrayOutControl(int paramIdx, bool gray)
{
  for (int i = 0; i < mControls.GetSize(); ++i)
    if (mControls.Get(i)->ParamIdx() == paramIdx) mControls.Get(i)->GrayOut(gray);
}

void IGraphics::ClampControl(int paramIdx, double lo, double hi, bool normalized)
{
  if (!normalized)
  {
    IParam* param = mPlug ? mPlug->GetParam(paramIdx) : nullptr;
    if (!param) return;
    lo = param->GetNormalized(lo);
    hi = param->GetNormalized(hi);
  }
  for (int i = 0; i < mControls.GetSize(); ++i)
    if (mControls.Get(i)->ParamIdx() == paramIdx) mControls.Get(i)->Clamp(lo, hi);
}

void IGraphics::SetAllControlsDirty()
{
  for (int i = 0; i < mControls.GetSize(); ++i) mControls.Get(i)->SetDirty(false);
}

void IGraphics::AssignParamNameToolTips()
{
  for (int i = 0; i < mControls.GetSize(); ++i)
  {
    IControl* c = mControls.Get(i);
    if (c->ParamIdx() > -1)
      if (IParam* param = mPlug->GetParam(c->ParamIdx())) c->SetTooltip(param->GetNameForHost());
  }
}

void IGraphics::SetStrictDrawing(bool strict)
{
  mStrict = strict;
  SetAllControlsDirty();
}

std::string IGraphics::ResourceFolder() const
{
  const std::string root = LICE_GetResourceRoot();
  return root.empty() || root.back() == '/' ? root : root + "/";
}

void IGraphics::OnGUIIdle()
{
  for (int i = 0; i < mControls.GetSize(); ++i) mControls.Get(i)->OnGUIIdle();
}

// ---------------------------------------------------------------------------
// Redraw.

bool IGraphics::IsDirty(IRECT* rect)
{
  if (mShowControlBounds)
  {
    *rect = mDrawRECT;
    return true;
  }
  bool dirty = false;
  for (int i = 0; i < mControls.GetSize(); ++i)
  {
    IControl* c = mControls.Get(i);
    if (c->IsDirty())
    {
      *rect = rect->Union(c->GetRECT());
      dirty = true;
    }
  }
  return dirty;
}

bool IGraphics::Draw(IRECT* rect)
{
  const int n = mControls.GetSize();
  if (!n) return true;

  // A control's dirty flag is taken before it is drawn, so that a change
  // made meanwhile by the MIDI or audio thread keeps it dirty for the next
  // frame. Only controls that lie wholly in the rectangle going to the
  // screen are taken; any other stays dirty until a frame covers it.
  if (mStrict)
  {
    mDrawRECT = *rect;
    for (int i = 0; i < n; ++i)
    {
      IControl* c = mControls.Get(i);
      if (rect->Contains(c->GetRECT())) c->SetClean();
      if (!c->IsHidden() && rect->Intersects(c->GetRECT())) c->Draw(this);
    }
  }
  else
  {
    IControl* bg = mControls.Get(0);
    if (bg->IsDirty() && rect->Contains(bg->GetRECT()))
    {
      // Everything over the background: hidden controls other than the
      // background are skipped and stay dirty.
      mDrawRECT = bg->GetRECT();
      for (int i = 0; i < n; ++i)
      {
        IControl* c = mControls.Get(i);
        if (i && c->IsHidden()) continue;
        c->SetClean();
        c->Draw(this);
      }
    }
    else
    {
      // Each dirty control composed over the whole stack it lies in.
      for (int i = 1; i < n; ++i)
      {
        IControl* dirty = mControls.Get(i);
        if (!dirty->IsDirty() || !rect->Contains(dirty->GetRECT())) continue;
        dirty->SetClean();
        mDrawRECT = dirty->GetRECT();
        for (int j = 0; j < n; ++j)
        {
          IControl* c = mControls.Get(j);
          if (c->IsHidden()) continue;
          if (j == i || c->GetRECT().Intersects(mDrawRECT)) c->Draw(this);
        }
      }
    }
  }

  if (mShowControlBounds) DrawControlBounds();
  IRECT pixels = mMap.Px(*rect);
  return DrawScreen(&pixels);
}

bool IGraphics::DrawControlBounds()
{
  for (int i = 1; i < mControls.GetSize(); ++i)
  {
    IRECT r = mControls.Get(i)->GetRECT();
    DrawRect(&COLOR_GREEN, &r);
  }
  char str[32];
  snprintf(str, sizeof(str), "x: %i, y: %i", mMouseX, mMouseY);
  IText text(20, &COLOR_GREEN);
  IRECT r(Width() - 150, Height() - 20, Width(), Height());
  return DrawIText(&text, str, &r);
}

// ---------------------------------------------------------------------------
// Input.

int IGraphics::GetMouseControlIdx(int x, int y, bool mo)
{
  if (mMouseCapture >= 0) return mMouseCapture;
  for (int i = mControls.GetSize() - 1; i >= 0; --i)
  {
    IControl* c = mControls.Get(i);
    if (c->IsHidden()) continue;
    if (c->IsGrayed() && !(mo && c->GetMOWhenGrayed())) continue;
    if (c->IsHit(x, y)) return i;
  }
  return -1;
}

void IGraphics::ReleaseMouseCapture() { mMouseCapture = mMouseX = mMouseY = -1; }

void IGraphics::OnMouseDown(int x, int y, IMouseMod* mod)
{
  ReleaseMouseCapture();
  const int c = GetMouseControlIdx(x, y);
  if (c < 0) return;
  mMouseCapture = c;
  mMouseX = x;
  mMouseY = y;
  IControl* control = mControls.Get(c);
  const int paramIdx = control->ParamIdx();
  if (paramIdx >= 0 && mPlug) mPlug->BeginInformHostOfParamChange(paramIdx);
  control->OnMouseDown(x, y, mod);
}

void IGraphics::OnMouseUp(int x, int y, IMouseMod* mod)
{
  const int c = GetMouseControlIdx(x, y);
  mMouseCapture = mMouseX = mMouseY = -1;
  if (c < 0) return;
  IControl* control = mControls.Get(c);
  control->OnMouseUp(x, y, mod);
  // The control may have been deleted by what its release did.
  if (mControls.Get(c) != control) return;
  const int paramIdx = control->ParamIdx();
  if (paramIdx >= 0 && mPlug) mPlug->EndInformHostOfParamChange(paramIdx);
}

void IGraphics::OnMouseDrag(int x, int y, IMouseMod* mod)
{
  if (mMouseCapture < 0) return;
  const int dX = x - mMouseX, dY = y - mMouseY;
  if (!dX && !dY) return;
  mMouseX = x;
  mMouseY = y;
  if (IControl* c = mControls.Get(mMouseCapture)) c->OnMouseDrag(x, y, dX, dY, mod);
}

bool IGraphics::OnMouseDblClick(int x, int y, IMouseMod* mod)
{
  ReleaseMouseCapture();
  const int c = GetMouseControlIdx(x, y);
  if (c < 0) return false;
  IControl* control = mControls.Get(c);
  if (control->MouseDblAsSingleClick())
  {
    mMouseCapture = c;
    mMouseX = x;
    mMouseY = y;
    control->OnMouseDown(x, y, mod);
    return true;
  }
  control->OnMouseDblClick(x, y, mod);
  return false;
}

bool IGraphics::OnMouseOver(int x, int y, IMouseMod* mod)
{
  if (!mHandleMouseOver) return false;
  const int c = GetMouseControlIdx(x, y, true);
  if (c >= 0)
  {
    mMouseX = x;
    mMouseY = y;
    mControls.Get(c)->OnMouseOver(x, y, mod);
    if (mMouseOver >= 0 && mMouseOver != c)
      if (IControl* old = mControls.Get(mMouseOver)) old->OnMouseOut();
    mMouseOver = c;
  }
  return mHandleMouseOver;
}

void IGraphics::OnMouseOut()
{
  for (int i = 0; i < mControls.GetSize(); ++i) mControls.Get(i)->OnMouseOut();
  mMouseOver = -1;
}

void IGraphics::OnMouseWheel(int x, int y, IMouseMod* mod, int d)
{
  const int c = GetMouseControlIdx(x, y);
  if (c >= 0) mControls.Get(c)->OnMouseWheel(x, y, mod, d);
}

bool IGraphics::OnKeyDown(int x, int y, int key)
{
  // The page keys, beyond the letters, are the key catcher's alone.
  if (key >= kVirtualKeyPageUp) return mKeyCatcher && mKeyCatcher->OnKeyDown(x, y, key);
  // The background at index 0 never takes a key.
  const int c = GetMouseControlIdx(x, y);
  if (c >= 1) return mControls.Get(c)->OnKeyDown(x, y, key);
  if (mKeyCatcher) return mKeyCatcher->OnKeyDown(x, y, key);
  return false;
}

int IGraphics::GetParamIdxForPTAutomation(int x, int y)
{
  const int c = GetMouseControlIdx(x, y);
  mLastClickedParam = c > 0 ? mControls.Get(c)->ParamIdx() : -1;
  return mLastClickedParam;
}

int IGraphics::GetLastClickedParamForPTAutomation()
{
  const int p = mLastClickedParam;
  mLastClickedParam = -1;
  return p;
}

void IGraphics::PromptUserInput(IControl* control, IParam* param, IRECT* rect)
{
  if (!control || !param || !rect) return;
  const IParam::EParamType type = param->Type();
  const int nTexts = param->GetNDisplayTexts();
  if (type == IParam::kTypeEnum || (type == IParam::kTypeBool && nTexts))
  {
    char current[32];
    param->GetDisplayForHost(current);
    IPopupMenu menu;
    for (int i = 0; i < nTexts; ++i)
    {
      const char* text = param->GetDisplayText(i);
      menu.AddItem(text, -1, !strcmp(text, current) ? IPopupMenuItem::kChecked : IPopupMenuItem::kNoFlags);
    }
    if (!CreateIPopupMenu(&menu, rect)) return;
    control->SetValueFromUserInput(param->GetNormalized((double)menu.GetChosenItemIdx()));
    return;
  }
  // Numbers, also those with display texts, are typed as plain numbers.
  char current[32];
  param->GetDisplayForHostNoDisplayText(current);
  CreateTextEntry(control, control->GetText(), rect, current, param);
}

void IGraphics::CommitTextEntry(IControl* control, IParam* param, const char* text)
{
  if (param)
    SetFromStringAfterPrompt(control, param, text);
  else if (control)
    control->TextFromTextEntry(text);
}

void IGraphics::SetFromStringAfterPrompt(IControl* control, IParam* param, const char* text)
{
  if (!param || !control) return;
  double value;
  const IParam::EParamType type = param->Type();
  if (type == IParam::kTypeEnum || type == IParam::kTypeBool)
  {
    int v = 0;
    param->MapDisplayText(text, &v);
    value = (double)v;
  }
  else
  {
    value = WDL_strtod_c(text);
    if (param->DisplayIsNegated()) value = -value;
  }
  control->SetValueFromUserInput(param->GetNormalized(value));
}

bool IGraphics::TextEntryAccepts(IControl* control, IParam* param, const char* text)
{
  if (!param) return true;
  const char* accepted = param->Type() == IParam::kTypeDouble ? "0123456789.-+" : "0123456789-+";
  for (const char* p = text; *p; ++p)
    if (!strchr(accepted, *p)) return false;
  const int maxLen = control ? control->GetTextEntryLength() : 0;
  return !maxLen || (int)strlen(text) <= maxLen;
}
