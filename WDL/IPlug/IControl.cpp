// The control base: the two-way value flow, dirty states, prompts and aux
// parameters. The stock controls are in IBitmapControls.cpp and
// ITextControls.cpp.

#include "IControl.h"

#include "IGraphics.h"
#include "IParam.h"
#include "IPlugBase.h"

IControl::IControl(IPlugBase* plug, IRECT rect, int paramIdx, IChannelBlend blend)
    : mPlug(plug), mRECT(rect), mTargetRECT(rect), mParamIdx(paramIdx), mAuxParams(4096), mBlend(blend)
{
}

// The engine is the only implementation of the plug-in's GUI interface.
IGraphics* IControl::GetGUI() const { return mPlug ? static_cast<IGraphics*>(mPlug->GetGUI()) : nullptr; }

IParam* IControl::GetParam() const { return mPlug ? mPlug->GetParam(mParamIdx) : nullptr; }

void IControl::SetDirty(bool pushParamToPlug)
{
  if (mClampLo > mValue)
    mValue = mClampLo;
  else if (mValue > mClampHi)
    mValue = mClampHi;
  mDirty = true;
  if (!pushParamToPlug || !mPlug || mParamIdx < 0) return;

  mPlug->SetParameterFromGUI(mParamIdx, mValue);
  IParam* param = GetParam();
  if (!param) return;
  if (mValDisplayControl)
  {
    char display[32];
    param->GetDisplayForHost(display);
    WDL_String text(display, 32);
    text.Append(" ", 32);
    text.Append(param->GetLabelForHost(), 32);
    mValDisplayControl->SetTextFromPlug(text.Get());
  }
  if (mNameDisplayControl) mNameDisplayControl->SetTextFromPlug(param->GetNameForHost());
}

void IControl::SetClean() { mDirty.Exchange(mRedraw.Exchange(false)); }

void IControl::SetValueFromPlug(double value)
{
  // The first value the plug-in pushes is also the double-click default.
  if (mDefaultValue < 0.0)
  {
    mDefaultValue = value;
    mValue = value;
  }
  if (mValue == value) return;
  mValue = value;
  SetDirty(false);
  Redraw();
}

void IControl::SetValueFromUserInput(double value)
{
  if (mValue == value) return;
  mValue = value;
  SetDirty(true);
  Redraw();
}

void IControl::SetAuxParamValueFromPlug(int auxParamIdx, double value)
{
  AuxParam* aux = GetAuxParam(auxParamIdx);
  if (aux->mValue == value) return;
  aux->mValue = value;
  SetDirty(false);
  Redraw();
}

void IControl::Hide(bool hide)
{
  mHide = hide;
  mRedraw = true;
  SetDirty(false);
}

void IControl::GrayOut(bool gray)
{
  mGrayed = gray;
  mBlend.mWeight = gray ? 0.25f : 1.0f;
  SetDirty(false);
}

void IControl::OnMouseDown(int, int, IMouseMod* mod)
{
  if (mod->R) PromptUserInput();
}

void IControl::OnMouseDblClick(int, int, IMouseMod*)
{
  // Before the plug-in's first value there is no default.
  if (mDefaultValue < 0.0) return;
  mValue = mDefaultValue.Get();
  SetDirty(true);
}

void IControl::PromptUserInput()
{
  if (mParamIdx < 0 || mDisablePrompt) return;
  IParam* param = GetParam();
  IGraphics* gui = GetGUI();
  if (!param || !gui) return;
  IRECT area = mRECT;
  if (!param->GetNDisplayTexts())
  {
    const int cX = (int)mRECT.MW(), cY = (int)mRECT.MH();
    area = IRECT(cX - 20, cY - 8, cX + 20, cY + 8);
  }
  gui->PromptUserInput(this, param, &area);
  Redraw();
}

void IControl::PromptUserInput(IRECT* rect)
{
  if (mParamIdx < 0 || mDisablePrompt) return;
  IGraphics* gui = GetGUI();
  if (!gui) return;
  gui->PromptUserInput(this, GetParam(), rect);
  Redraw();
}

int IControl::AuxParamIdx(int paramIdx) const
{
  const AuxParam* aux = mAuxParams.Get();
  for (int i = 0; i < mAuxParams.GetSize(); ++i)
    if (aux[i].mParamIdx == paramIdx) return i;
  return -1;
}

void IControl::SetAllAuxParamsFromGUI()
{
  if (!mPlug) return;
  const AuxParam* aux = mAuxParams.Get();
  for (int i = 0; i < mAuxParams.GetSize(); ++i) mPlug->SetParameterFromGUI(aux[i].mParamIdx, aux[i].mValue);
}
