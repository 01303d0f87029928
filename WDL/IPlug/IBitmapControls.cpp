// The stock controls that show a value with a bitmap or a drawn line:
// switches, radio buttons, faders and knobs. Every gesture ends in
// SetDirty(true), which bounds the value and sends it to the plug-in.

#include "IControl.h"

#include "IGraphics.h"

#include <cmath>

namespace
{
// The frame (1-based) nearest to a value in 0..1.
int FrameOf(double value, int n)
{
  int state = 1 + (int)(0.5 + value * (double)(n - 1));
  return state < 1 ? 1 : state > n ? n : state;
}
} // namespace

IBitmapControl::IBitmapControl(IPlugBase* plug, int x, int y, int paramIdx, const IBitmap& bitmap,
                               IChannelBlend::EBlendMethod blendMethod)
    : IControl(plug, IRECT(x, y, bitmap), paramIdx, IChannelBlend(blendMethod)), mBitmap(bitmap)
{
}

bool IBitmapControl::Draw(IGraphics* graphics)
{
  const int state = mBitmap.N < 2 ? 1 : FrameOf(mValue, mBitmap.N);
  return graphics->DrawBitmap(&mBitmap, &mRECT, state, &mBlend);
}

void ISwitchControl::OnMouseDown(int, int, IMouseMod*)
{
  // The limit is 1.001, so that the last step's rounding still reaches 1.
  const double step = mBitmap.N > 1 ? 1.0 / (double)(mBitmap.N - 1) : 1.0;
  mValue += step;
  if (mValue > 1.001) mValue = 0.0;
  SetDirty(true);
}

void ISwitchControl::OnMouseDblClick(int x, int y, IMouseMod* mod) { OnMouseDown(x, y, mod); }

void ISwitchPopUpControl::OnMouseDown(int, int, IMouseMod*)
{
  PromptUserInput();
  SetDirty(true);
}

ISwitchFramesControl::ISwitchFramesControl(IPlugBase* plug, int x, int y, int paramIdx, const IBitmap& bitmap,
                                           bool imagesAreHorizontal, IChannelBlend::EBlendMethod blendMethod)
    : ISwitchControl(plug, x, y, paramIdx, bitmap, blendMethod), mRECTs(4096)
{
  mDisablePrompt = false;
  for (int i = 0; i < mBitmap.N; ++i)
    mRECTs.Add(imagesAreHorizontal ? mRECT.SubRectHorizontal(mBitmap.N, i) : mRECT.SubRectVertical(mBitmap.N, i));
}

namespace
{
// The first of n rectangles holding the point sets value = i / (n - 1);
// none leaves it.
void PickSlice(const IRECT* rects, int n, int x, int y, WDL_SharedWord<double>& value)
{
  for (int i = 0; i < n; ++i)
    if (rects[i].Contains(x, y))
    {
      value = n > 1 ? (double)i / (double)(n - 1) : 0.0;
      return;
    }
}
} // namespace

void ISwitchFramesControl::OnMouseDown(int x, int y, IMouseMod*)
{
  PickSlice(mRECTs.Get(), mRECTs.GetSize(), x, y, mValue);
  SetDirty(true);
}

void IContactControl::OnMouseUp(int, int, IMouseMod*)
{
  mValue = 0.0;
  SetDirty(true);
}

IBitmapOverlayControl::IBitmapOverlayControl(IPlugBase* plug, int x, int y, int paramIdx, const IBitmap& bitmap,
                                             IRECT targetArea)
    : ISwitchControl(plug, x, y, paramIdx, bitmap), mTargetArea(targetArea)
{
}

bool IBitmapOverlayControl::Draw(IGraphics* graphics)
{
  // The hit area follows the last frame drawn.
  if (mValue < 0.5)
  {
    mTargetRECT = mTargetArea;
    return true;
  }
  mTargetRECT = mRECT;
  return IBitmapControl::Draw(graphics);
}

IInvisibleSwitchControl::IInvisibleSwitchControl(IPlugBase* plug, IRECT rect, int paramIdx)
    : IControl(plug, rect, paramIdx, IChannelBlend(IChannelBlend::kBlendCopy))
{
  mDisablePrompt = true;
}

void IInvisibleSwitchControl::OnMouseDown(int, int, IMouseMod*)
{
  mValue = mValue < 0.5 ? 1.0 : 0.0;
  SetDirty(true);
}

IRadioButtonsControl::IRadioButtonsControl(IPlugBase* plug, IRECT rect, int paramIdx, int nButtons,
                                           const IBitmap& bitmap, EDirection direction, bool reverse)
    : IControl(plug, rect, paramIdx), mRECTs(4096), mBitmap(bitmap)
{
  const int n = nButtons, bw = bitmap.W;
  const int h = (int)((double)bitmap.H / (double)bitmap.N);
  const int gaps = n > 1 ? n - 1 : 1;
  // A reversed row starts one gap away from the far edge, not at it.
  if (direction == kHorizontal)
  {
    const int gap = (int)((double)(rect.W() - n * bw) / (double)gaps);
    int x = reverse ? rect.R - bw - gap : rect.L;
    for (int i = 0; i < n; ++i)
    {
      mRECTs.Add(IRECT(x, rect.T, x + bw, rect.T + h));
      x += reverse ? -(bw + gap) : bw + gap;
    }
  }
  else
  {
    const int gap = (int)((double)(rect.H() - n * h) / (double)gaps);
    int y = reverse ? rect.B - h - gap : rect.T;
    for (int i = 0; i < n; ++i)
    {
      mRECTs.Add(IRECT(rect.L, y, rect.L + bw, y + h));
      y += reverse ? -(h + gap) : h + gap;
    }
  }
}

void IRadioButtonsControl::OnMouseDown(int x, int y, IMouseMod* mod)
{
  if (mod->R)
  {
    PromptUserInput();
    return;
  }
  PickSlice(mRECTs.Get(), mRECTs.GetSize(), x, y, mValue);
  SetDirty(true);
}

bool IRadioButtonsControl::Draw(IGraphics* graphics)
{
  const int n = mRECTs.GetSize();
  int active = (int)(0.5 + mValue * (double)(n - 1));
  active = active < 0 ? 0 : active > n - 1 ? n - 1 : active;
  for (int i = 0; i < n; ++i) graphics->DrawBitmap(&mBitmap, mRECTs.Get() + i, i == active ? 2 : 1, &mBlend);
  return true;
}

IFaderControl::IFaderControl(IPlugBase* plug, int x, int y, int len, int paramIdx, const IBitmap& bitmap,
                             EDirection direction, bool onlyHandle)
    : IControl(plug, IRECT(), paramIdx), mLen(len), mBitmap(bitmap), mDirection(direction), mOnlyHandle(onlyHandle)
{
  if (direction == kHorizontal)
  {
    mHandleHeadroom = bitmap.W;
    mRECT = mTargetRECT = IRECT(x, y, x + len, y + bitmap.H);
  }
  else
  {
    mHandleHeadroom = bitmap.H;
    mRECT = mTargetRECT = IRECT(x, y, x + bitmap.W, y + len);
  }
}

IRECT IFaderControl::GetHandleRECT(double value) const
{
  if (value < 0.0) value = mValue;
  IRECT r(mRECT.L, mRECT.T, mRECT.L + mBitmap.W, mRECT.T + mBitmap.H);
  if (mDirection == kHorizontal)
  {
    const int offs = (int)(value * (double)(mLen - mHandleHeadroom));
    r.L += offs;
    r.R += offs;
  }
  else
  {
    // Value 1 is at the top.
    const int offs = (int)((1.0 - value) * (double)(mLen - mHandleHeadroom));
    r.T += offs;
    r.B += offs;
  }
  return r;
}

void IFaderControl::OnMouseDown(int x, int y, IMouseMod* mod)
{
  if (mod->R)
    PromptUserInput();
  else
    SnapToMouse(x, y);
}

void IFaderControl::OnMouseDrag(int x, int y, int, int, IMouseMod*) { SnapToMouse(x, y); }

void IFaderControl::SnapToMouse(int x, int y)
{
  const double travel = (double)(mLen - mHandleHeadroom);
  if (mDirection == kHorizontal)
    mValue = (double)(x - mRECT.L - mHandleHeadroom / 2) / travel;
  else
    mValue = 1.0 - (double)(y - mRECT.T - mHandleHeadroom / 2) / travel;
  SetDirty(true);
}

void IFaderControl::OnMouseWheel(int, int, IMouseMod* mod, int d)
{
  mValue += (mod->C || mod->S ? 0.001 : 0.01) * d;
  SetDirty(true);
}

bool IFaderControl::Draw(IGraphics* graphics)
{
  IRECT r = GetHandleRECT();
  return graphics->DrawBitmap(&mBitmap, &r, 1, &mBlend);
}

bool IFaderControl::IsHit(int x, int y)
{
  return mOnlyHandle ? GetHandleRECT().Contains(x, y) : mTargetRECT.Contains(x, y);
}

IKnobControl::IKnobControl(IPlugBase* plug, IRECT rect, int paramIdx, EDirection direction, double gearing)
    : IControl(plug, rect, paramIdx), mDirection(direction), mGearing(gearing)
{
}

void IKnobControl::OnMouseDrag(int, int, int dX, int dY, IMouseMod* mod)
{
  double gearing = mGearing;
  if (mod->C || mod->S) gearing *= 10.0;
  // The vertical divisor is negative: dragging up raises the value.
  if (mDirection == kVertical)
    mValue += (double)dY / (double)(mRECT.T - mRECT.B) / gearing;
  else
    mValue += (double)dX / (double)(mRECT.R - mRECT.L) / gearing;
  SetDirty(true);
}

void IKnobControl::OnMouseWheel(int, int, IMouseMod* mod, int d)
{
  mValue += (mod->C || mod->S ? 0.001 : 0.01) * d;
  SetDirty(true);
}

IKnobLineControl::IKnobLineControl(IPlugBase* plug, IRECT rect, int paramIdx, const IColor* color, double innerRadius,
                                   double outerRadius, double minAngle, double maxAngle, EDirection direction,
                                   double gearing)
    : IKnobControl(plug, rect, paramIdx, direction, gearing), mColor(*color), mMinAngle((float)minAngle),
      mMaxAngle((float)maxAngle), mInnerRadius((float)innerRadius), mOuterRadius((float)outerRadius)
{
  if (mOuterRadius == 0.0f) mOuterRadius = 0.5f * (float)rect.W();
  mBlend = IChannelBlend(IChannelBlend::kBlendCopy);
}

bool IKnobLineControl::Draw(IGraphics* graphics)
{
  const double v = mMinAngle + mValue * (mMaxAngle - mMinAngle);
  const float sinV = (float)sin(v), cosV = (float)cos(v);
  const float cx = mRECT.MW(), cy = mRECT.MH();
  return graphics->DrawLine(&mColor, cx + mInnerRadius * sinV, cy - mInnerRadius * cosV, cx + mOuterRadius * sinV,
                            cy - mOuterRadius * cosV, &mBlend, true);
}

IKnobRotaterControl::IKnobRotaterControl(IPlugBase* plug, int x, int y, int paramIdx, const IBitmap& bitmap,
                                         double minAngle, double maxAngle, int yOffsetZeroDeg, EDirection direction,
                                         double gearing)
    : IKnobControl(plug, IRECT(x, y, bitmap), paramIdx, direction, gearing), mBitmap(bitmap), mMinAngle(minAngle),
      mMaxAngle(maxAngle), mYOffsetZeroDeg(yOffsetZeroDeg)
{
}

bool IKnobRotaterControl::Draw(IGraphics* graphics)
{
  const int cx = (mRECT.L + mRECT.R) / 2, cy = (mRECT.T + mRECT.B) / 2;
  const double angle = mMinAngle + mValue * (mMaxAngle - mMinAngle);
  return graphics->DrawRotatedBitmap(&mBitmap, cx, cy, angle, mYOffsetZeroDeg, &mBlend);
}

IKnobMultiControl::IKnobMultiControl(IPlugBase* plug, int x, int y, int paramIdx, const IBitmap& bitmap,
                                     EDirection direction, double gearing)
    : IKnobControl(plug, IRECT(x, y, bitmap), paramIdx, direction, gearing), mBitmap(bitmap)
{
}

bool IKnobMultiControl::Draw(IGraphics* graphics)
{
  return graphics->DrawBitmap(&mBitmap, &mRECT, FrameOf(mValue, mBitmap.N), &mBlend);
}

IKnobRotatingMaskControl::IKnobRotatingMaskControl(IPlugBase* plug, int x, int y, int paramIdx, const IBitmap& base,
                                                   const IBitmap& mask, const IBitmap& top, double minAngle,
                                                   double maxAngle, EDirection direction, double gearing)
    : IKnobControl(plug, IRECT(x, y, base), paramIdx, direction, gearing), mBase(base), mMask(mask), mTop(top),
      mMinAngle(minAngle), mMaxAngle(maxAngle)
{
}

bool IKnobRotatingMaskControl::Draw(IGraphics* graphics)
{
  const double angle = mMinAngle + mValue * (mMaxAngle - mMinAngle);
  return graphics->DrawRotatedMask(&mBase, &mMask, &mTop, mRECT.L, mRECT.T, angle, &mBlend);
}
