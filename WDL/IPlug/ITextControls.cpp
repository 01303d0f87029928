// Controls that show text, a colour or an action area rather than a value in
// a bitmap: panel, text, caption, bitmap text, link and file selector.

#include "IControl.h"

#include "IGraphics.h"
#include "IParam.h"

#include <cstring>

namespace
{
// A text equal to the current one changes nothing; another marks the
// control for redrawing without sending anything back to the plug-in.
void SetChangedText(IControl* control, WDL_String* current, const char* str)
{
  if (!strcmp(current->Get(), str ? str : "")) return;
  control->SetDirty(false);
  current->Set(str);
}
} // namespace

IPanelControl::IPanelControl(IPlugBase* plug, IRECT rect, const IColor* color)
    : IControl(plug, rect, -1), mColor(*color)
{
}

bool IPanelControl::Draw(IGraphics* graphics) { return graphics->FillIRect(&mColor, &mRECT, &mBlend); }

ITextControl::ITextControl(IPlugBase* plug, IRECT rect, const IText* text, const char* str)
    : IControl(plug, rect, -1), mStr(str)
{
  if (text) mText = *text;
}

void ITextControl::SetTextFromPlug(const char* str) { SetChangedText(this, &mStr, str); }

bool ITextControl::Draw(IGraphics* graphics)
{
  if (!mStr.GetLength()) return true;
  return graphics->DrawIText(&mText, mStr.Get(), &mRECT);
}

ICaptionControl::ICaptionControl(IPlugBase* plug, IRECT rect, int paramIdx, const IText* text, bool showParamLabel)
    : ITextControl(plug, rect, text, ""), mShowParamLabel(showParamLabel)
{
  mParamIdx = paramIdx;
}

void ICaptionControl::OnMouseDown(int, int, IMouseMod* mod)
{
  if (mod->L || mod->R) PromptUserInput();
}

void ICaptionControl::OnMouseDblClick(int, int, IMouseMod*) { PromptUserInput(); }

bool ICaptionControl::Draw(IGraphics* graphics)
{
  // The text is read from the plug-in at each draw; the value only serves
  // to make the caption dirty.
  if (IParam* param = GetParam())
  {
    char display[32];
    param->GetDisplayForHost(display);
    mStr.Set(display);
    if (mShowParamLabel)
    {
      mStr.Append(" ");
      mStr.Append(param->GetLabelForHost());
    }
  }
  return ITextControl::Draw(graphics);
}

IBitmapTextControl::IBitmapTextControl(IPlugBase* plug, IRECT rect, const IBitmap& bitmap, const char* str,
                                       const IText* text, int charWidth, int charHeight, int charOffset, bool multiLine,
                                       bool vCenter)
    : IControl(plug, rect, -1), mStr(str), mCharWidth(charWidth), mCharHeight(charHeight), mCharOffset(charOffset),
      mTextBitmap(bitmap), mMultiLine(multiLine), mVCentre(vCenter)
{
  if (text) mText = *text;
}

void IBitmapTextControl::SetTextFromPlug(const char* str) { SetChangedText(this, &mStr, str); }

bool IBitmapTextControl::Draw(IGraphics* graphics)
{
  if (!mStr.GetLength()) return true;
  DrawBitmapedText(graphics, &mTextBitmap, &mRECT, &mText, &mBlend, mStr.Get(), mVCentre, mMultiLine, mCharWidth,
                   mCharHeight, mCharOffset);
  return true;
}

namespace
{
// Copies into a fixed array, cut to fit.
template<size_t N>
void CopyInto(char (&dest)[N], const char* src)
{
  dest[0] = 0;
  if (src) strncat(dest, src, N - 1);
}
} // namespace

IURLControl::IURLControl(IPlugBase* plug, IRECT rect, const char* url, const char* backupURL,
                         const char* errMsgOnFailure)
    : IControl(plug, rect, -1)
{
  CopyInto(mURL, url);
  CopyInto(mBackupURL, backupURL);
  CopyInto(mErrMsg, errMsgOnFailure);
}

void IURLControl::OnMouseDown(int, int, IMouseMod*)
{
  IGraphics* gui = GetGUI();
  if (!gui) return;
  bool opened = false;
  if (mURL[0]) opened = gui->OpenURL(mURL, mErrMsg, nullptr, nullptr);
  if (!opened && mBackupURL[0]) gui->OpenURL(mBackupURL, mErrMsg, nullptr, nullptr);
}

IFileSelectorControl::IFileSelectorControl(IPlugBase* plug, IRECT rect, int paramIdx, const IBitmap& bitmap,
                                           EFileAction action, const char* dir, const char* extensions)
    : IControl(plug, rect, paramIdx), mBitmap(bitmap), mDir(dir), mExtensions(extensions), mFileAction(action)
{
}

void IFileSelectorControl::OnMouseDown(int, int, IMouseMod*)
{
  IGraphics* gui = GetGUI();
  if (!mPlug || !gui) return;
  mState = kFSSelecting;
  SetDirty(false);
  gui->PromptForFile(&mFile, mFileAction, &mDir, mExtensions.Get());
  // Flips 0, 1, 0 with each selection so that listeners see a change.
  mValue += 1.0;
  if (mValue > 1.0) mValue = 0.0;
  mState = kFSDone;
  SetDirty(true);
}

bool IFileSelectorControl::Draw(IGraphics* graphics)
{
  if (mState == kFSSelecting) graphics->DrawBitmap(&mBitmap, &mRECT, 0, 0, nullptr);
  return true;
}

bool IFileSelectorControl::IsDirty()
{
  if (mDirty) return true;
  // One more frame after the dialog, to wipe the bitmap.
  if (mState == kFSDone)
  {
    mState = kFSNone;
    return true;
  }
  return false;
}
