#pragma once
// The GUI engine of one plug-in: the controls in drawing order, one
// off-screen surface as large as the window, the mouse state, and the
// drawing primitives. Controls, their rectangles, the primitives' arguments
// and the mouse are in panel units; the surface is drawn at the panel's
// size (IPanelScale.h), 100 % by default, where a unit is a pixel. Redraw is polled: a timer of the platform view asks
// IsDirty at the frame rate, invalidates the one rectangle it reports, and
// the repaint runs Draw. A platform view derives from this class and
// supplies the pure operations.
//
// Everything runs on the GUI thread and takes no lock of the engine's own,
// apart from the process-wide bitmap and font caches, which have theirs;
// but SetControlFromPlug and SetAllControlsDirty, which the thread that
// pushes a value runs (IPlugGUI.h), touching shared words only.
// SetParameterFromGUI of the plug-in takes the plug-in's mutex.

#include "IControl.h"
#include "IPanelScale.h"
#include "IPlugGUI.h"
#include "IPopupMenu.h"

#include "../ptrlist.h"
#include "../wdlstring.h"

#include <string>

class IParam;
class IPlugBase;
class LICE_IFont;

class IGraphics : public IPlugGUI
{
public:
  // fps below 1 runs the panel at 25 frames a second.
  IGraphics(IPlugBase* plug, int w, int h, int fps = 0);
  // Deletes the key catcher, the controls, then the surfaces.
  ~IGraphics() override;
  IGraphics(const IGraphics&) = delete;
  IGraphics& operator=(const IGraphics&) = delete;

  // --- Operations of the platform view, in slot order. ---

  // Copies the surface to the window; false without a drawing context. The
  // rectangle is in the surface's pixels.
  virtual bool DrawScreen(IRECT* rect) = 0;
  virtual bool MeasureIText(IText* text, const char* str, IRECT* rect) { return DrawIText(text, str, rect, true); }
  // Closes an open text entry, dropping its text.
  virtual void ForceEndUserEdit() = 0;
  // Deletes every control (the caller attaches them again) and remakes the
  // surfaces at the new size.
  virtual void Resize(int w, int h);
  virtual bool WindowIsOpen() { return GetWindow() != nullptr; }
  virtual const char* GetGUIAPI() { return ""; }
  // A modal alert; 1 for the default button, 7 for the second, 2 for the
  // third.
  virtual int ShowMessageBox(const char* text, const char* caption, int type) = 0;
  // Runs the menu modally; the menu (or submenu) an item was chosen from,
  // with its index in GetChosenItemIdx(), or null.
  virtual IPopupMenu* CreateIPopupMenu(IPopupMenu* menu, IRECT* rect) = 0;
  // Opens a one-line field over rect and returns at once; the text arrives
  // through SetFromStringAfterPrompt or the control's TextFromTextEntry.
  virtual void CreateTextEntry(IControl* control, IText* text, IRECT* rect, const char* str = "",
                               IParam* param = nullptr) = 0;
  virtual void HostPath(WDL_String* path) = 0;
  virtual void PluginPath(WDL_String* path) = 0;
  virtual void DesktopPath(WDL_String* path) = 0;
  virtual void AppSupportPath(WDL_String* path, bool isSystem = false) = 0;
  virtual void SandboxSafeAppSupportPath(WDL_String* path) = 0;
  // The folder that the panel's files (its images, and beside them what else
  // it reads) are found in, with a closing slash; empty when unknown.
  virtual std::string ResourceFolder() const;
  // Blocks until the dialog ends. fileName: the proposed name in, the chosen
  // path out ("" when cancelled). dir: the starting folder in ("" means
  // "~/Desktop", which it is then set to), the chosen file's folder out.
  virtual void PromptForFile(WDL_String* fileName, EFileAction action = kFileOpen, WDL_String* dir = nullptr,
                             const char* extensions = "") = 0;
  // Whether PromptForFile can offer a dialog here; when not, why, in words
  // for the user.
  virtual bool CanPromptForFile(WDL_String*) { return true; }
  virtual bool PromptForColor(IColor* color, const char* prompt = "") = 0;
  virtual bool OpenURL(const char* url, const char* windowTitle = nullptr, const char* confirmMsg = nullptr,
                       const char* errMsgOnFailure = nullptr) = 0;
  virtual void* OpenWindow(void* parent) = 0;
  virtual void* OpenWindow(void*, void*, int = 0, int = 0) { return nullptr; }
  virtual void AttachSubWindow(void*) {}
  virtual void RemoveSubWindow() {}
  virtual void CloseWindow() = 0;
  virtual void* GetWindow() = 0;
  virtual bool GetTextFromClipboard(WDL_String* str) = 0;
  virtual void HideMouseCursor() {}
  virtual void ShowMouseCursor() {}
  virtual void UpdateTooltips() = 0;
  // The platform's image loader: null when the image can't be had.
  virtual LICE_IBitmap* OSLoadBitmap(int id, const char* name) = 0;

  // --- The panel's size. ---

  // Shows the panel at one of kPanelSizes (anything else is ignored): the
  // surfaces are made again at the new size and everything is redrawn. A
  // view with a window overrides it to resize the window as well.
  virtual void SetPanelSize(int percent);
  int PanelSize() const { return mMap.Percent(); }
  const IPanelScale& Map() const { return mMap; }
  int PixelWidth() const { return mMap.Px(mWidth); }
  int PixelHeight() const { return mMap.Px(mHeight); }

  // --- Controls and redraw. ---

  // Makes the surfaces. The plug-in calls it once it has pushed every
  // parameter's value to the controls.
  void PrepDraw() override;
  // Appends; returns the new index. Later controls lie on top.
  int AttachControl(IControl* control);
  // A one-frame bitmap at (0, 0), copied, inserted below everything.
  void AttachBackground(int id, const char* name);
  void AttachPanelBackground(const IColor* color);
  // Owned; gets keys that no control takes.
  void AttachKeyCatcher(IControl* control);
  IControl* GetControl(int idx) const { return mControls.Get(idx); }
  int GetNControls() const { return mControls.GetSize(); }

  // Fan-outs, in index order through all controls.
  void SetParameterFromPlug(int paramIdx, double value, bool normalized) override;
  void SetControlFromPlug(int controlIdx, double normalizedValue) override;
  void SetParameterFromGUI(int paramIdx, double normalizedValue);
  void HideControl(int paramIdx, bool hide);
  void GrayOutControl(int paramIdx, bool gray);
  void ClampControl(int paramIdx, double lo, double hi, bool normalized);
  void SetAllControlsDirty() override;
  void AssignParamNameToolTips();
  void SetStrictDrawing(bool strict);
  void OnGUIIdle();
  void ShowControlBounds(bool show) { mShowControlBounds = show; }
  void EnableTooltips(bool enable) { mEnableTooltips = enable; }
  bool TooltipsEnabled() const { return mEnableTooltips; }

  // The one rectangle around every dirty control (hidden ones too); false
  // when nothing is dirty.
  bool IsDirty(IRECT* rect);
  // Draws what rect touches (strict) or each dirty control over its stack,
  // then copies to the screen through DrawScreen.
  bool Draw(IRECT* rect);

  // --- Input: coordinates in panel units (the views map pixels through
  // Map().Unit). ---

  void OnMouseDown(int x, int y, IMouseMod* mod);
  void OnMouseUp(int x, int y, IMouseMod* mod);
  void OnMouseDrag(int x, int y, IMouseMod* mod);
  // True when the control now holds the capture.
  bool OnMouseDblClick(int x, int y, IMouseMod* mod);
  bool OnMouseOver(int x, int y, IMouseMod* mod);
  void OnMouseOut();
  // d in whole notches, positive upward.
  void OnMouseWheel(int x, int y, IMouseMod* mod, int d);
  // key: 0 space, 1-4 arrows up, down, left, right, 5-14 digits, 15-40
  // letters. True when a control took it.
  bool OnKeyDown(int x, int y, int key);
  // The topmost control that takes the mouse at (x, y), or the one holding
  // the capture; -1 for none. mo: for mouse-over, which may reach grayed
  // controls that ask for it.
  int GetMouseControlIdx(int x, int y, bool mo = false);
  void ReleaseMouseCapture();
  int GetParamIdxForPTAutomation(int x, int y);
  int GetLastClickedParamForPTAutomation();
  void PromptUserInput(IControl* control, IParam* param, IRECT* rect);
  void SetFromStringAfterPrompt(IControl* control, IParam* param, const char* text);
  // A closed text entry's text to where it belongs: the parameter, or the
  // control when the entry had none.
  void CommitTextEntry(IControl* control, IParam* param, const char* text);
  // The filter that a text entry runs on every edit, over the whole proposed
  // text: with a parameter, only the characters of a number of its kind and
  // at most the control's entry length; without one, anything.
  static bool TextEntryAccepts(IControl* control, IParam* param, const char* text);
  void HandleMouseOver(bool handle) { mHandleMouseOver = handle; }
  int GetMouseOver() const { return mMouseOver; }
  int GetMouseX() const { return mMouseX; }
  int GetMouseY() const { return mMouseY; }
  int GetMouseCapture() const { return mMouseCapture; }

  // --- Bitmaps, fonts and drawing, into the surface. ---

  // Cached by id for the whole process: the same id gives the first image,
  // whatever the name. A missing image gives a bitmap with no pixels, which
  // draws nothing. The image at twice the size ("name@2x.png") is loaded
  // beside it the first time the panel is drawn larger than 100 %; without
  // it the panel is drawn from this one, enlarged.
  IBitmap LoadIBitmap(int id, const char* name, int nFrames = 1, bool framesAreHorizontal = false);
  // One line on standard error naming the folder searched and every image
  // that could not be loaded since the last report; nothing when none is
  // missing. The views call it as the panel opens.
  void ReportMissingImages(const char* folder);
  void RetainBitmap(IBitmap* bitmap);
  void ReleaseBitmap(IBitmap* bitmap);
  // In the image's own pixels, at 100 %.
  IBitmap ScaleBitmap(IBitmap* bitmap, int destW, int destH);
  IBitmap CropBitmap(IBitmap* bitmap, IRECT* rect);

  // Frame bmpState of a strip (1-based; 0 counts as 1), cut to the clip.
  bool DrawBitmap(IBitmap* bitmap, IRECT* dest, int bmpState = 1, const IChannelBlend* blend = nullptr);
  // The strip from (srcX, srcY), cut to the clip.
  bool DrawBitmap(IBitmap* bitmap, IRECT* dest, int srcX, int srcY, const IChannelBlend* blend = nullptr);
  bool DrawRotatedBitmap(IBitmap* bitmap, int destCtrX, int destCtrY, double angle, int yOffsetZeroDeg = 0,
                         const IChannelBlend* blend = nullptr);
  bool DrawRotatedMask(IBitmap* base, IBitmap* mask, IBitmap* top, int x, int y, double angle,
                       const IChannelBlend* blend = nullptr);
  bool DrawPoint(const IColor* color, float x, float y, const IChannelBlend* blend = nullptr, bool antiAlias = false);
  bool ForcePixel(const IColor* color, int x, int y);
  IColor GetPoint(int x, int y);
  bool DrawLine(const IColor* color, float x1, float y1, float x2, float y2, const IChannelBlend* blend = nullptr,
                bool antiAlias = false);
  bool DrawVerticalLine(const IColor* color, int xi, int yLo, int yHi);
  bool DrawHorizontalLine(const IColor* color, int yi, int xLo, int xHi);
  bool DrawVerticalLine(const IColor* color, IRECT* rect, float x);
  bool DrawHorizontalLine(const IColor* color, IRECT* rect, float y);
  bool DrawRect(const IColor* color, IRECT* rect);
  bool DrawRadialLine(const IColor* color, float cx, float cy, float angle, float rMin, float rMax,
                      const IChannelBlend* blend = nullptr, bool antiAlias = false);
  bool DrawArc(const IColor* color, float cx, float cy, float r, float minAngle, float maxAngle,
               const IChannelBlend* blend = nullptr, bool antiAlias = false);
  bool DrawCircle(const IColor* color, float cx, float cy, float r, const IChannelBlend* blend = nullptr,
                  bool antiAlias = false);
  bool RoundRect(const IColor* color, IRECT* rect, const IChannelBlend* blend, int cornerRadius, bool antiAlias);
  bool FillRoundRect(const IColor* color, IRECT* rect, const IChannelBlend* blend, int cornerRadius, bool antiAlias);
  bool FillIRect(const IColor* color, IRECT* rect, const IChannelBlend* blend = nullptr);
  bool FillCircle(const IColor* color, int cx, int cy, float r, const IChannelBlend* blend = nullptr,
                  bool antiAlias = false);
  bool FillTriangle(const IColor* color, int x1, int y1, int x2, int y2, int x3, int y3,
                    const IChannelBlend* blend = nullptr);
  bool FillIConvexPolygon(const IColor* color, int* x, int* y, int npoints, const IChannelBlend* blend = nullptr);

  // The raster font of a text style, made once per size, orientation, style
  // and face; null when no font can be made.
  LICE_IFont* CacheFont(IText* text);
  // Draws str from rect's top, aligned across it; with measure, sets rect
  // to the text's box by the alignment instead. False when no font can be
  // made.
  bool DrawIText(IText* text, const char* str, IRECT* rect, bool measure = false);

  // --- Reads. ---
  IPlugBase* GetPlug() const { return mPlug; }
  // The panel's size in units.
  int Width() const { return mWidth; }
  int Height() const { return mHeight; }
  int FPS() const { return mFPS; }
  // The surface, PixelWidth() x PixelHeight().
  LICE_IBitmap* GetDrawBitmap() const { return mDrawBitmap; }
  LICE_pixel* GetBits();
  const IRECT& GetDrawRECT() const { return mDrawRECT; }

protected:
  WDL_PtrList<IControl> mControls;
  WDL_String mMissingImages; // names, ", " between them
  int mNumMissingImages = 0;
  IPlugBase* mPlug;
  IRECT mDrawRECT;
  bool mCursorHidden = false;
  int mHiddenCursorX = -1, mHiddenCursorY = -1;
  LICE_IBitmap* mDrawBitmap = nullptr; // a LICE_SysBitmap
  LICE_IBitmap* mTmpBitmap = nullptr;  // a LICE_MemBitmap
  int mWidth, mHeight;
  int mFPS;
  int mMouseCapture = -1;
  int mMouseOver = -1;
  int mMouseX = 0, mMouseY = 0;
  int mLastClickedParam = -1;
  bool mHandleMouseOver = false;
  bool mStrict = true;
  bool mEnableTooltips = false;
  bool mShowControlBounds = false;
  IControl* mKeyCatcher = nullptr;
  IPanelScale mMap;

private:
  void DeleteSurfaces();
  bool DrawControlBounds();
  // The part of a bitmap at (srcX, srcY) in units, drawn over dest at the
  // panel's size, cut to the clip.
  void DrawBitmapAtScale(IBitmap* bitmap, const IRECT& dest, int srcX, int srcY, const IChannelBlend* blend);
  // A bitmap's whole strip at the panel's size; null without pixels.
  LICE_IBitmap* WholeAtScale(IBitmap* bitmap);
  // The pixels of a unit rectangle of an image, resized to w x h pixels,
  // made once per panel size: *x and *y give the rectangle's place in the
  // image returned.
  LICE_IBitmap* Resized(LICE_IBitmap* lowRes, const IRECT& units, int w, int h, int* x, int* y);
  // A horizontal or vertical run of whole units, filled at the panel's size.
  void FillUnits(const IColor* color, int l, int t, int r, int b, float weight, int mode);
  // The number of parallel pixel lines that draw a line one unit wide.
  int LinePixels() const { return mMap.Px(1) > 1 ? mMap.Px(1) : 1; }
  // Forgets every resized image (the size changed, or an image went).
  void DropResizedImages();
  struct ResizedImages;
  ResizedImages* mResized = nullptr; // owned
};

// Characters out of a frame strip: frame k is the character of code k + 31.
// Excess characters are dropped unless multiLine wraps them.
void DrawBitmapedText(IGraphics* graphics, IBitmap* bitmap, IRECT* rect, IText* text, const IChannelBlend* blend,
                      const char* str, bool vCenter = true, bool multiline = false, int charWidth = 6,
                      int charHeight = 12, int charOffset = 0);
