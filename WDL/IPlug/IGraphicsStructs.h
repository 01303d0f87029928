#pragma once
// The small value types of the GUI: rectangles in whole pixels, colours,
// text styles, blend settings, mouse modifiers and frame-strip bitmaps, and
// their conversions to the raster library. Copied by value; an IBitmap and
// an IText only borrow what the engine's caches own.

#include "lice.h"

#include <cstring>

class LICE_IFont;

// Key codes beyond space (0), the arrows (1-4), digits (5-14) and letters
// (15-40): the two page keys.
enum EVirtualKey
{
  kVirtualKeyPageUp = 41,
  kVirtualKeyPageDown = 42
};

enum EDirection
{
  kVertical = 0,
  kHorizontal = 1
};

struct IColor
{
  int A, R, G, B;
  IColor(int a = 255, int r = 0, int g = 0, int b = 0) : A(a), R(r), G(g), B(b) {}
  bool operator==(const IColor& o) const { return A == o.A && R == o.R && G == o.G && B == o.B; }
  bool operator!=(const IColor& o) const { return !(*this == o); }
};

const IColor COLOR_TRANSPARENT(0, 0, 0, 0);
const IColor COLOR_BLACK(255, 0, 0, 0);
const IColor COLOR_GRAY(255, 127, 127, 127);
const IColor COLOR_WHITE(255, 255, 255, 255);
const IColor COLOR_RED(255, 255, 0, 0);
const IColor COLOR_GREEN(255, 0, 255, 0);
const IColor COLOR_BLUE(255, 0, 0, 255);
const IColor COLOR_YELLOW(255, 255, 255, 0);
const IColor COLOR_ORANGE(255, 255, 127, 0);

const IColor DEFAULT_TEXT_COLOR = COLOR_BLACK;
const IColor DEFAULT_TEXT_ENTRY_BGCOLOR = COLOR_WHITE;
const IColor DEFAULT_TEXT_ENTRY_FGCOLOR = COLOR_BLACK;
#define DEFAULT_FONT "Monaco"
#define DEFAULT_TEXT_SIZE 10

struct IText
{
  enum EStyle
  {
    kStylePlain = 0,
    kStyleBold = 1,
    kStyleItalic = 2
  };
  enum EAlign
  {
    kAlignLeft = 0,
    kAlignCentre = 1,
    kAlignRight = 2
  };
  enum EQuality
  {
    kQualitySystem = 0,
    kQualityPlain = 1,
    kQualitySmooth = 2,
    kQualitySmoothLcd = 3
  };

  char mFont[32];
  int mSize;
  IColor mColor;
  IColor mTextEntryBGColor;
  IColor mTextEntryFGColor;
  EStyle mStyle;
  EAlign mAlign;
  int mOrientation;
  EQuality mQuality;
  LICE_IFont* mCached = nullptr; // borrowed from the font cache

  // A null colour or font name takes the default. The name is copied
  // unchecked: callers keep it under 32 characters.
  IText(int size = DEFAULT_TEXT_SIZE, const IColor* color = nullptr, const char* font = nullptr,
        EStyle style = kStylePlain, EAlign align = kAlignCentre, int orientation = 0, EQuality quality = kQualitySystem,
        const IColor* textEntryBG = nullptr, const IColor* textEntryFG = nullptr)
      : mSize(size), mColor(color ? *color : DEFAULT_TEXT_COLOR),
        mTextEntryBGColor(textEntryBG ? *textEntryBG : DEFAULT_TEXT_ENTRY_BGCOLOR),
        mTextEntryFGColor(textEntryFG ? *textEntryFG : DEFAULT_TEXT_ENTRY_FGCOLOR), mStyle(style), mAlign(align),
        mOrientation(orientation), mQuality(quality)
  {
    strcpy(mFont, font ? font : DEFAULT_FONT);
  }
};

struct IChannelBlend
{
  enum EBlendMethod : int
  {
    kBlendOver = 0,
    kBlendCopy = 1,
    kBlendAdd = 2,
    kBlendDodge = 3
  };
  EBlendMethod mMethod;
  float mWeight;

  IChannelBlend(EBlendMethod method = kBlendOver, float weight = 1.0f) : mMethod(method), mWeight(weight) {}
};

struct IMouseMod
{
  bool L, R, S, C, A;
  IMouseMod(bool l = false, bool r = false, bool s = false, bool c = false, bool a = false)
      : L(l), R(r), S(s), C(c), A(a)
  {
  }
};

// A frame strip: W and H are the whole strip, N its frames (at least 1),
// stacked downward unless mFramesAreHorizontal.
struct IBitmap
{
  void* mData;
  int W, H, N;
  bool mFramesAreHorizontal;

  IBitmap(void* data = nullptr, int w = 0, int h = 0, int n = 1, bool framesAreHorizontal = false)
      : mData(data), W(w), H(h), N(n), mFramesAreHorizontal(framesAreHorizontal)
  {
  }
  LICE_IBitmap* Lice() const { return (LICE_IBitmap*)mData; }
};

// Right and bottom are exclusive. All four zero is the empty rectangle; one
// without area but with a non-zero edge is not empty.
struct IRECT
{
  int L, T, R, B;

  IRECT() : L(0), T(0), R(0), B(0) {}
  IRECT(int l, int t, int r, int b) : L(l), T(t), R(r), B(b) {}
  // One frame of the strip at (x, y); the height is divided by N also for
  // horizontal frames.
  IRECT(int x, int y, const IBitmap& bitmap) : L(x), T(y), R(x + bitmap.W), B(y + bitmap.H / bitmap.N) {}

  bool Empty() const { return !L && !T && !R && !B; }
  int W() const { return R - L; }
  int H() const { return B - T; }
  float MW() const { return 0.5f * (float)(L + R); }
  float MH() const { return 0.5f * (float)(T + B); }
  bool operator==(const IRECT& o) const { return L == o.L && T == o.T && R == o.R && B == o.B; }
  bool operator!=(const IRECT& o) const { return !(*this == o); }

  bool Contains(int x, int y) const { return !Empty() && x >= L && x < R && y >= T && y < B; }
  bool Contains(const IRECT& o) const { return !Empty() && o.L >= L && o.R <= R && o.T >= T && o.B <= B; }
  // Lopsided on purpose: this rectangle's right or bottom edge touching the
  // other's left or top counts, the mirror case does not.
  bool Intersects(const IRECT& o) const { return !Empty() && !o.Empty() && R >= o.L && L < o.R && B >= o.T && T < o.B; }
  IRECT Intersect(const IRECT& o) const
  {
    if (!Intersects(o)) return IRECT();
    return IRECT(L > o.L ? L : o.L, T > o.T ? T : o.T, R < o.R ? R : o.R, B < o.B ? B : o.B);
  }
  IRECT Union(const IRECT& o) const
  {
    if (Empty()) return o;
    if (o.Empty()) return *this;
    return IRECT(L < o.L ? L : o.L, T < o.T ? T : o.T, R > o.R ? R : o.R, B > o.B ? B : o.B);
  }
  // Slice edges are truncated from float sums, so slices can differ by one.
  IRECT SubRectHorizontal(int numSlices, int sliceIdx) const
  {
    const float w = (float)W() / (float)numSlices;
    const int l = L + (int)(w * (float)sliceIdx);
    return IRECT(l, T, (int)((float)l + w), B);
  }
  IRECT SubRectVertical(int numSlices, int sliceIdx) const
  {
    const float h = (float)H() / (float)numSlices;
    const int t = T + (int)(h * (float)sliceIdx);
    return IRECT(L, t, R, (int)((float)t + h));
  }
  RECT ToRECT() const { return RECT{L, T, R, B}; }
};

// A colour as the surface's pixel word: alpha in bits 0-7, then red, green,
// blue.
inline LICE_pixel LiceColor(const IColor& c) { return LICE_RGBA(c.R, c.G, c.B, c.A); }
inline float LiceWeight(const IChannelBlend* blend) { return blend ? blend->mWeight : 1.0f; }
// Over is a copy through source alpha; unknown methods and no blend count as
// over.
inline int LiceBlendMode(const IChannelBlend* blend)
{
  if (!blend) return LICE_BLIT_MODE_COPY | LICE_BLIT_USE_ALPHA;
  switch (blend->mMethod)
  {
  case IChannelBlend::kBlendCopy:
    return LICE_BLIT_MODE_COPY;
  case IChannelBlend::kBlendAdd:
    return LICE_BLIT_MODE_ADD | LICE_BLIT_USE_ALPHA;
  case IChannelBlend::kBlendDodge:
    return LICE_BLIT_MODE_DODGE | LICE_BLIT_USE_ALPHA;
  case IChannelBlend::kBlendOver:
  default:
    return LICE_BLIT_MODE_COPY | LICE_BLIT_USE_ALPHA;
  }
}
