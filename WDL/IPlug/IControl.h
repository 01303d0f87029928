#pragma once
// Panel elements. IControl owns an area of the window, may stand for one
// parameter through a normalised value, draws itself through the engine and
// answers the events the engine routes to it. A value changed by the user
// goes to the plug-in from SetDirty(true); a value pushed by the plug-in
// arrives in SetValueFromPlug and never echoes back.
//
// Everything here runs on the GUI thread, except SetValueFromPlug and
// SetDirty(false), which run on the thread that pushes a value: the audio
// thread feeds the meters and the MIDI thread marks the keyboard. The fields
// they touch are read and written one word at a time.

#include "IGraphicsStructs.h"

#include "../heapbuf.h"
#include "../sharedword.h"
#include "../wdlstring.h"

class IGraphics;
class IParam;
class IPlugBase;
class ITextControl;

class IControl
{
public:
  // A further parameter that the control follows; its value arrives with the
  // first SetAuxParamValueFromPlug.
  struct AuxParam
  {
    double mValue = 0.0;
    int mParamIdx;
    explicit AuxParam(int idx) : mParamIdx(idx) {}
  };

  IControl(IPlugBase* plug, IRECT rect, int paramIdx = -1, IChannelBlend blend = IChannelBlend());
  virtual ~IControl() {}
  IControl(const IControl&) = delete;
  IControl& operator=(const IControl&) = delete;

  // Events, GUI thread. The base prompts for a value on a right press and
  // restores the default on a double click.
  virtual void OnMouseDown(int x, int y, IMouseMod* mod);
  virtual void OnMouseUp(int, int, IMouseMod*) {}
  virtual void OnMouseDrag(int, int, int, int, IMouseMod*) {}
  virtual void OnMouseDblClick(int x, int y, IMouseMod* mod);
  virtual void OnMouseWheel(int, int, IMouseMod*, int) {}
  virtual bool OnKeyDown(int, int, int) { return false; }
  virtual void OnMouseOver(int, int, IMouseMod*) {}
  virtual void OnMouseOut() {}
  // GUI thread, inside the engine's Draw; the answer is not looked at.
  virtual bool Draw(IGraphics* graphics) = 0;
  // Any thread that pushes a value (GUI, audio for meters). Never calls the
  // plug-in. The first value pushed also becomes the double-click default.
  virtual void SetValueFromPlug(double value);
  // GUI thread: a value the user picked or typed; goes to the plug-in.
  virtual void SetValueFromUserInput(double value);
  // GUI thread: the end of a text entry opened without a parameter.
  virtual void TextFromTextEntry(const char*) {}
  virtual void Hide(bool hide);
  virtual void GrayOut(bool gray);
  virtual bool IsHit(int x, int y) { return mTargetRECT.Contains(x, y); }
  // Bounds the value to the clamps and marks the control; with push, and a
  // parameter, the value goes to the plug-in (which takes its mutex).
  virtual void SetDirty(bool pushParamToPlug = true);
  // GUI thread, just before drawing: takes the dirty flag in one step (it
  // stays set for one more frame after a Redraw), so that a change another
  // thread makes while the control is drawn marks it for the next frame.
  virtual void SetClean();
  virtual bool IsDirty() { return mDirty; }
  virtual void OnGUIIdle() {}
  virtual void SetAuxParamValueFromPlug(int auxParamIdx, double value);

  // Reads.
  IGraphics* GetGUI() const;
  IParam* GetParam() const;
  IPlugBase* GetPlug() const { return mPlug; }
  int ParamIdx() const { return mParamIdx; }
  double GetValue() const { return mValue; }
  double GetDefaultValue() const { return mDefaultValue; }
  const IRECT& GetRECT() const { return mRECT; }
  const IRECT& GetTargetRECT() const { return mTargetRECT; }
  IText* GetText() { return &mText; }
  int GetTextEntryLength() const { return mTextEntryLength; }
  bool IsHidden() const { return mHide; }
  bool IsGrayed() const { return mGrayed; }
  bool MouseDblAsSingleClick() const { return mDblAsSingleClick; }
  bool GetMOWhenGrayed() const { return mMOWhenGrayed; }
  const char* GetTooltip() const { return mTooltip.Get(); }
  const IChannelBlend* GetBlend() const { return &mBlend; }

  // Set-up, GUI thread.
  void SetTargetArea(IRECT rect) { mTargetRECT = rect; }
  void SetText(const IText& text) { mText = text; }
  void SetTextEntryLength(int len) { mTextEntryLength = len; }
  void SetTooltip(const char* text) { mTooltip.Set(text); }
  void SetDisablePrompt(bool disable) { mDisablePrompt = disable; }
  void SetDblAsSingleClick(bool dbl) { mDblAsSingleClick = dbl; }
  void SetMOWhenGrayed(bool mo) { mMOWhenGrayed = mo; }
  void SetValDisplayControl(ITextControl* control) { mValDisplayControl = control; }
  void SetNameDisplayControl(ITextControl* control) { mNameDisplayControl = control; }
  // Bounds for the value; the next SetDirty applies them.
  void Clamp(double lo, double hi)
  {
    mClampLo = lo;
    mClampHi = hi;
  }
  // Stay dirty for one more frame.
  void Redraw() { mRedraw = true; }

  // Asks the engine for a value: a menu for parameters with display texts
  // (over the control), else a small text entry at its centre. Nothing while
  // prompts are disabled or without a parameter.
  void PromptUserInput();
  void PromptUserInput(IRECT* rect);

  // Aux parameters.
  void AddAuxParam(int paramIdx) { mAuxParams.Add(AuxParam(paramIdx)); }
  AuxParam* GetAuxParam(int idx) { return mAuxParams.Get() + idx; }
  int AuxParamIdx(int paramIdx) const;
  int NAuxParams() const { return mAuxParams.GetSize(); }
  void SetAllAuxParamsFromGUI();

protected:
  int mTextEntryLength = 7;
  IText mText;
  IPlugBase* mPlug;
  IRECT mRECT;
  IRECT mTargetRECT;
  int mParamIdx;
  WDL_TypedBuf<AuxParam> mAuxParams;
  WDL_SharedWord<double> mValue = 0.0;
  WDL_SharedWord<double> mDefaultValue = -1.0;
  double mClampLo = 0.0;
  double mClampHi = 1.0;
  WDL_SharedWord<bool> mDirty = true;
  bool mHide = false;
  bool mGrayed = false;
  WDL_SharedWord<bool> mRedraw = false;
  bool mDisablePrompt = true;
  bool mDblAsSingleClick = false;
  bool mMOWhenGrayed = false;
  IChannelBlend mBlend;
  ITextControl* mValDisplayControl = nullptr;  // not owned
  ITextControl* mNameDisplayControl = nullptr; // not owned
  WDL_String mTooltip;
};

// ---------------------------------------------------------------------------
// Bitmap controls.

// Shows the frame of its bitmap nearest to the value.
class IBitmapControl : public IControl
{
public:
  IBitmapControl(IPlugBase* plug, int x, int y, int paramIdx, const IBitmap& bitmap,
                 IChannelBlend::EBlendMethod blendMethod = IChannelBlend::kBlendOver);
  bool Draw(IGraphics* graphics) override;

protected:
  IBitmap mBitmap;
};

// Each press steps to the next frame and wraps after the last.
class ISwitchControl : public IBitmapControl
{
public:
  using IBitmapControl::IBitmapControl;
  void OnMouseDown(int x, int y, IMouseMod* mod) override;
  // A fast double click is two steps.
  void OnMouseDblClick(int x, int y, IMouseMod* mod) override;
};

// A press opens the value prompt; the builder must enable prompts.
class ISwitchPopUpControl : public ISwitchControl
{
public:
  using ISwitchControl::ISwitchControl;
  void OnMouseDown(int x, int y, IMouseMod* mod) override;
};

// Each frame owns a slice of the control; a press picks the slice's frame.
class ISwitchFramesControl : public ISwitchControl
{
public:
  ISwitchFramesControl(IPlugBase* plug, int x, int y, int paramIdx, const IBitmap& bitmap,
                       bool imagesAreHorizontal = false,
                       IChannelBlend::EBlendMethod blendMethod = IChannelBlend::kBlendOver);
  void OnMouseDown(int x, int y, IMouseMod* mod) override;

protected:
  WDL_TypedBuf<IRECT> mRECTs;
};

// On only while the button is held.
class IContactControl : public ISwitchControl
{
public:
  using ISwitchControl::ISwitchControl;
  void OnMouseUp(int x, int y, IMouseMod* mod) override;
};

// Draws nothing while off and takes clicks only in its target area; while
// on it shows its bitmap and takes clicks anywhere in it.
class IBitmapOverlayControl : public ISwitchControl
{
public:
  IBitmapOverlayControl(IPlugBase* plug, int x, int y, int paramIdx, const IBitmap& bitmap, IRECT targetArea);
  bool Draw(IGraphics* graphics) override;

protected:
  IRECT mTargetArea;
};

// An invisible toggle over the background.
class IInvisibleSwitchControl : public IControl
{
public:
  IInvisibleSwitchControl(IPlugBase* plug, IRECT rect, int paramIdx);
  void OnMouseDown(int x, int y, IMouseMod* mod) override;
  bool Draw(IGraphics*) override { return true; }
};

// A row or column of buttons, one of which is on: frame 1 off, frame 2 on.
class IRadioButtonsControl : public IControl
{
public:
  IRadioButtonsControl(IPlugBase* plug, IRECT rect, int paramIdx, int nButtons, const IBitmap& bitmap,
                       EDirection direction = kVertical, bool reverse = false);
  void OnMouseDown(int x, int y, IMouseMod* mod) override;
  bool Draw(IGraphics* graphics) override;
  const IRECT& GetButtonRECT(int i) const { return mRECTs.Get()[i]; }

protected:
  WDL_TypedBuf<IRECT> mRECTs;
  IBitmap mBitmap;
};

// An absolute slider: the handle centres on the pointer. Only the handle is
// drawn; the track belongs to the background.
class IFaderControl : public IControl
{
public:
  IFaderControl(IPlugBase* plug, int x, int y, int len, int paramIdx, const IBitmap& bitmap,
                EDirection direction = kVertical, bool onlyHandle = false);
  void OnMouseDown(int x, int y, IMouseMod* mod) override;
  void OnMouseDrag(int x, int y, int dX, int dY, IMouseMod* mod) override;
  void OnMouseWheel(int x, int y, IMouseMod* mod, int d) override;
  bool Draw(IGraphics* graphics) override;
  bool IsHit(int x, int y) override;
  virtual void SnapToMouse(int x, int y);
  // The handle's rectangle at value, or at the control's value when negative.
  IRECT GetHandleRECT(double value = -1.0) const;

protected:
  int mLen, mHandleHeadroom;
  IBitmap mBitmap;
  EDirection mDirection;
  bool mOnlyHandle;
};

constexpr double DEFAULT_GEARING = 4.0;

// A relative knob: a drag over the control's height turns it by 1 / gearing;
// control or shift make it ten times finer.
class IKnobControl : public IControl
{
public:
  IKnobControl(IPlugBase* plug, IRECT rect, int paramIdx, EDirection direction = kVertical,
               double gearing = DEFAULT_GEARING);
  void OnMouseDrag(int x, int y, int dX, int dY, IMouseMod* mod) override;
  void OnMouseWheel(int x, int y, IMouseMod* mod, int d) override;

protected:
  EDirection mDirection;
  double mGearing;
};

// A knob drawn as one line from the centre, angles in radians, 0 up.
class IKnobLineControl : public IKnobControl
{
public:
  IKnobLineControl(IPlugBase* plug, IRECT rect, int paramIdx, const IColor* color, double innerRadius = 0.0,
                   double outerRadius = 0.0, double minAngle = -0.75 * 3.14159265358979323846,
                   double maxAngle = 0.75 * 3.14159265358979323846, EDirection direction = kVertical,
                   double gearing = DEFAULT_GEARING);
  bool Draw(IGraphics* graphics) override;

protected:
  IColor mColor;
  float mMinAngle, mMaxAngle, mInnerRadius, mOuterRadius;
};

// A knob whose bitmap is turned about its centre, angles in radians.
class IKnobRotaterControl : public IKnobControl
{
public:
  IKnobRotaterControl(IPlugBase* plug, int x, int y, int paramIdx, const IBitmap& bitmap,
                      double minAngle = -0.75 * 3.14159265358979323846, double maxAngle = 0.75 * 3.14159265358979323846,
                      int yOffsetZeroDeg = 0, EDirection direction = kVertical, double gearing = DEFAULT_GEARING);
  bool Draw(IGraphics* graphics) override;

protected:
  IBitmap mBitmap;
  double mMinAngle, mMaxAngle;
  int mYOffsetZeroDeg;
};

// A knob that shows the frame of a strip nearest to its value.
class IKnobMultiControl : public IKnobControl
{
public:
  IKnobMultiControl(IPlugBase* plug, int x, int y, int paramIdx, const IBitmap& bitmap,
                    EDirection direction = kVertical, double gearing = DEFAULT_GEARING);
  bool Draw(IGraphics* graphics) override;

protected:
  IBitmap mBitmap;
};

// A knob composed from a base, a rotated alpha mask and a rotated top
// image, angles in degrees.
class IKnobRotatingMaskControl : public IKnobControl
{
public:
  IKnobRotatingMaskControl(IPlugBase* plug, int x, int y, int paramIdx, const IBitmap& base, const IBitmap& mask,
                           const IBitmap& top, double minAngle = -135.0, double maxAngle = 135.0,
                           EDirection direction = kVertical, double gearing = DEFAULT_GEARING);
  bool Draw(IGraphics* graphics) override;

protected:
  IBitmap mBase, mMask, mTop;
  double mMinAngle, mMaxAngle;
};

// ---------------------------------------------------------------------------
// Text and other controls.

// A filled rectangle.
class IPanelControl : public IControl
{
public:
  IPanelControl(IPlugBase* plug, IRECT rect, const IColor* color);
  bool Draw(IGraphics* graphics) override;

protected:
  IColor mColor;
};

// A text in the control's style; empty text draws nothing.
class ITextControl : public IControl
{
public:
  ITextControl(IPlugBase* plug, IRECT rect, const IText* text, const char* str = "");
  // Any thread the plug-in calls from; a text equal to the current one
  // changes nothing.
  void SetTextFromPlug(const char* str);
  const char* GetTextString() const { return mStr.Get(); }
  bool Draw(IGraphics* graphics) override;

protected:
  WDL_String mStr;
};

// The display text of a parameter (and its label), read at every draw.
class ICaptionControl : public ITextControl
{
public:
  ICaptionControl(IPlugBase* plug, IRECT rect, int paramIdx, const IText* text, bool showParamLabel = true);
  void OnMouseDown(int x, int y, IMouseMod* mod) override;
  void OnMouseDblClick(int x, int y, IMouseMod* mod) override;
  bool Draw(IGraphics* graphics) override;

protected:
  bool mShowParamLabel;
};

// Text drawn with a strip of character images: frame k is the character of
// code k + 31.
class IBitmapTextControl : public IControl
{
public:
  IBitmapTextControl(IPlugBase* plug, IRECT rect, const IBitmap& bitmap, const char* str = "",
                     const IText* text = nullptr, int charWidth = 6, int charHeight = 12, int charOffset = 0,
                     bool multiLine = false, bool vCenter = true);
  void SetTextFromPlug(const char* str);
  bool Draw(IGraphics* graphics) override;

protected:
  WDL_String mStr;
  int mCharWidth, mCharHeight, mCharOffset;
  IBitmap mTextBitmap;
  bool mMultiLine;
  bool mVCentre;
};

// An invisible hot zone that opens a link, or a backup link when the first
// one can't be opened.
class IURLControl : public IControl
{
public:
  IURLControl(IPlugBase* plug, IRECT rect, const char* url, const char* backupURL = nullptr,
              const char* errMsgOnFailure = nullptr);
  void OnMouseDown(int x, int y, IMouseMod* mod) override;
  bool Draw(IGraphics*) override { return true; }

protected:
  char mURL[256];
  char mBackupURL[256];
  char mErrMsg[1024];
};

enum EFileAction
{
  kFileOpen = 0,
  kFileSave = 1
};

// A press opens the file dialog; the value flips with every selection so
// that listeners see a change. The bitmap shows only while the dialog is
// open.
class IFileSelectorControl : public IControl
{
public:
  enum EFileSelectorState
  {
    kFSNone = 0,
    kFSSelecting = 1,
    kFSDone = 2
  };

  IFileSelectorControl(IPlugBase* plug, IRECT rect, int paramIdx, const IBitmap& bitmap, EFileAction action,
                       const char* dir = "", const char* extensions = "");
  void OnMouseDown(int x, int y, IMouseMod* mod) override;
  bool Draw(IGraphics* graphics) override;
  bool IsDirty() override;
  void GetLastSelectedFileForPlug(WDL_String* str) { str->Set(mFile.Get()); }
  void SetLastSelectedFileFromPlug(const char* file) { mFile.Set(file); }
  EFileSelectorState GetState() const { return mState; }

protected:
  IBitmap mBitmap;
  WDL_String mDir, mFile, mExtensions;
  EFileAction mFileAction;
  EFileSelectorState mState = kFSNone;
};
