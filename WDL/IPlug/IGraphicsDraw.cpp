// The engine's drawing side: the process-wide bitmap and font caches, bitmap
// loading, and every primitive that paints the off-screen surface through
// the raster library. GUI thread; the caches take their own locks.

#include "IGraphics.h"

#include "lice_text.h"

#include "../mutex.h"

#include <cmath>
#include <cstdio>
#include <cstring>

namespace
{
// Images, each decoded once per process and shared by every window.
class BitmapStorage
{
public:
  struct BitmapKey
  {
    int id;
    LICE_IBitmap* bitmap; // owned
  };

  ~BitmapStorage()
  {
    WDL_MutexLock lock(&mMutex);
    for (int i = 0; i < mBitmaps.GetSize(); ++i) delete mBitmaps.Get(i)->bitmap;
    mBitmaps.Empty(true);
  }
  LICE_IBitmap* Find(int id)
  {
    WDL_MutexLock lock(&mMutex);
    for (int i = 0; i < mBitmaps.GetSize(); ++i)
      if (mBitmaps.Get(i)->id == id) return mBitmaps.Get(i)->bitmap;
    return nullptr;
  }
  void Add(LICE_IBitmap* bitmap, int id = -1)
  {
    WDL_MutexLock lock(&mMutex);
    mBitmaps.Add(new BitmapKey{id, bitmap});
  }
  void Remove(LICE_IBitmap* bitmap)
  {
    WDL_MutexLock lock(&mMutex);
    for (int i = 0; i < mBitmaps.GetSize(); ++i)
    {
      if (mBitmaps.Get(i)->bitmap != bitmap) continue;
      mBitmaps.Delete(i, true);
      delete bitmap;
      return;
    }
  }

private:
  WDL_PtrList<BitmapKey> mBitmaps{4096};
  WDL_Mutex mMutex;
};

// Fonts keyed by size, orientation, style and face (case-sensitive):
// colour, alignment and quality are not part of the key.
class FontStorage
{
public:
  struct FontKey
  {
    int size, orientation, style;
    char face[32];
    LICE_IFont* font; // owned
  };

  ~FontStorage()
  {
    WDL_MutexLock lock(&mMutex);
    for (int i = 0; i < mFonts.GetSize(); ++i) delete mFonts.Get(i)->font;
    mFonts.Empty(true);
  }
  LICE_IFont* Find(const IText* text)
  {
    WDL_MutexLock lock(&mMutex);
    for (int i = 0; i < mFonts.GetSize(); ++i)
    {
      const FontKey* k = mFonts.Get(i);
      if (k->size == text->mSize && k->orientation == text->mOrientation && k->style == text->mStyle &&
          !strcmp(k->face, text->mFont))
        return k->font;
    }
    return nullptr;
  }
  void Add(LICE_IFont* font, const IText* text)
  {
    WDL_MutexLock lock(&mMutex);
    FontKey* k = new FontKey{text->mSize, text->mOrientation, text->mStyle, {}, font};
    snprintf(k->face, sizeof(k->face), "%s", text->mFont);
    mFonts.Add(k);
  }

private:
  WDL_PtrList<FontKey> mFonts{4096};
  WDL_Mutex mMutex;
};

BitmapStorage s_bitmapCache;
FontStorage s_fontCache;

inline LICE_IBitmap* LiceOf(const IBitmap* bitmap) { return bitmap ? (LICE_IBitmap*)bitmap->mData : nullptr; }
} // namespace

// ---------------------------------------------------------------------------
// Bitmaps.

IBitmap IGraphics::LoadIBitmap(int id, const char* name, int nFrames, bool framesAreHorizontal)
{
  LICE_IBitmap* lb = s_bitmapCache.Find(id);
  if (!lb)
  {
    lb = OSLoadBitmap(id, name);
    if (!lb)
    {
      // Broken resources: the panel shows what it has rather than failing,
      // and says once what is missing.
      if (mNumMissingImages++) mMissingImages.Append(", ");
      mMissingImages.Append(name ? name : "(no name)");
      return IBitmap(nullptr, 0, 0, nFrames < 1 ? 1 : nFrames, framesAreHorizontal);
    }
    s_bitmapCache.Add(lb, id);
  }
  return IBitmap(lb, lb->getWidth(), lb->getHeight(), nFrames < 1 ? 1 : nFrames, framesAreHorizontal);
}

void IGraphics::ReportMissingImages(const char* folder)
{
  if (!mNumMissingImages) return;
  fprintf(stderr, "%d image%s missing from %s, not drawn: %s\n", mNumMissingImages, mNumMissingImages == 1 ? "" : "s",
          folder && *folder ? folder : "(no resource folder)", mMissingImages.Get());
  mMissingImages.Set("");
  mNumMissingImages = 0;
}

void IGraphics::RetainBitmap(IBitmap* bitmap)
{
  if (bitmap && bitmap->mData) s_bitmapCache.Add(LiceOf(bitmap), -1);
}

void IGraphics::ReleaseBitmap(IBitmap* bitmap)
{
  if (bitmap && bitmap->mData) s_bitmapCache.Remove(LiceOf(bitmap));
}

IBitmap IGraphics::ScaleBitmap(IBitmap* bitmap, int destW, int destH)
{
  LICE_MemBitmap* dest = new LICE_MemBitmap(destW, destH, 4);
  LICE_ScaledBlit(dest, LiceOf(bitmap), 0, 0, destW, destH, 0.0f, 0.0f, (float)bitmap->W, (float)bitmap->H, 1.0f,
                  LICE_BLIT_FILTER_BILINEAR | LICE_BLIT_MODE_COPY);
  IBitmap out(dest, destW, destH, bitmap->N, false);
  RetainBitmap(&out);
  return out;
}

IBitmap IGraphics::CropBitmap(IBitmap* bitmap, IRECT* rect)
{
  LICE_MemBitmap* dest = new LICE_MemBitmap(rect->W(), rect->H());
  LICE_Blit(dest, LiceOf(bitmap), 0, 0, rect->L, rect->T, rect->W(), rect->H(), 1.0f, LICE_BLIT_MODE_COPY);
  IBitmap out(dest, rect->W(), rect->H(), bitmap->N, false);
  RetainBitmap(&out);
  return out;
}

bool IGraphics::DrawBitmap(IBitmap* bitmap, IRECT* dest, int srcX, int srcY, const IChannelBlend* blend)
{
  LICE_IBitmap* src = LiceOf(bitmap);
  if (!src || !mDrawBitmap) return true;
  const IRECT clipped = dest->Intersect(mDrawRECT);
  srcX += clipped.L - dest->L;
  srcY += clipped.T - dest->T;
  LICE_Blit(mDrawBitmap, src, clipped.L, clipped.T, srcX, srcY, clipped.W(), clipped.H(), LiceWeight(blend),
            LiceBlendMode(blend));
  return true;
}

bool IGraphics::DrawBitmap(IBitmap* bitmap, IRECT* dest, int bmpState, const IChannelBlend* blend)
{
  int srcX = 0, srcY = 0;
  if (bitmap->N >= 2 && bmpState >= 2)
  {
    // Frame starts rounded from double arithmetic: state N of a strip of N
    // starts at H * (N - 1) / N, rounded.
    if (bitmap->mFramesAreHorizontal)
      srcX = (int)(0.5 + (double)bitmap->W * (double)(bmpState - 1) / (double)bitmap->N);
    else
      srcY = (int)(0.5 + (double)bitmap->H * (double)(bmpState - 1) / (double)bitmap->N);
  }
  return DrawBitmap(bitmap, dest, srcX, srcY, blend);
}

bool IGraphics::DrawRotatedBitmap(IBitmap* bitmap, int destCtrX, int destCtrY, double angle, int yOffsetZeroDeg,
                                  const IChannelBlend* blend)
{
  LICE_IBitmap* src = LiceOf(bitmap);
  if (!src || !mDrawBitmap) return true;
  const int W = bitmap->W, H = bitmap->H;
  const int destX = destCtrX - W / 2, destY = destCtrY - H / 2;
  LICE_RotatedBlit(mDrawBitmap, src, destX, destY, W, H, 0.0f, 0.0f, (float)W, (float)H, (float)angle, false,
                   LiceWeight(blend), LiceBlendMode(blend) | LICE_BLIT_FILTER_BILINEAR, 0.0f, (float)yOffsetZeroDeg);
  return true;
}

bool IGraphics::DrawRotatedMask(IBitmap* base, IBitmap* mask, IBitmap* top, int x, int y, double angle,
                                const IChannelBlend* blend)
{
  if (!LiceOf(base) || !LiceOf(mask) || !LiceOf(top) || !mDrawBitmap) return true;
  const float a = (float)(angle * M_PI / 180.0);
  const int W = base->W, H = base->H;
  const float yOffset = (W % 2) ? -0.5f : 0.0f;
  if (!mTmpBitmap) mTmpBitmap = new LICE_MemBitmap(0, 0, 4);
  LICE_Copy(mTmpBitmap, LiceOf(base));
  // Clears the alpha byte of the copy; the rotated mask then supplies it.
  LICE_ClearRect(mTmpBitmap, 0, 0, W, H, 0xFFFFFF00, 0);
  LICE_RotatedBlit(mTmpBitmap, LiceOf(mask), 0, 0, W, H, 0.0f, 0.0f, (float)W, (float)H, a, true, 1.0f,
                   LICE_BLIT_MODE_ADD | LICE_BLIT_USE_ALPHA | LICE_BLIT_FILTER_BILINEAR, 0.0f, yOffset);
  LICE_RotatedBlit(mTmpBitmap, LiceOf(top), 0, 0, W, H, 0.0f, 0.0f, (float)W, (float)H, a, true, 1.0f,
                   LICE_BLIT_MODE_COPY | LICE_BLIT_USE_ALPHA | LICE_BLIT_FILTER_BILINEAR, 0.0f, yOffset);
  const IRECT r = IRECT(x, y, x + W, y + H).Intersect(mDrawRECT);
  LICE_Blit(mDrawBitmap, mTmpBitmap, r.L, r.T, r.L - x, r.T - y, r.W(), r.H(), LiceWeight(blend), LiceBlendMode(blend));
  return true;
}

// ---------------------------------------------------------------------------
// Primitives. Only the bitmap operations above clip to the draw rectangle;
// these draw over the whole surface.

bool IGraphics::DrawPoint(const IColor* color, float x, float y, const IChannelBlend* blend, bool)
{
  LICE_PutPixel(mDrawBitmap, (int)(x + 0.5f), (int)(y + 0.5f), LiceColor(*color), LiceWeight(blend),
                LiceBlendMode(blend));
  return true;
}

bool IGraphics::ForcePixel(const IColor* color, int x, int y)
{
  // Unchecked: the caller stays inside the surface.
  LICE_pixel* bits = GetBits();
  bits[x + y * mDrawBitmap->getRowSpan()] = LiceColor(*color);
  return true;
}

IColor IGraphics::GetPoint(int x, int y)
{
  const LICE_pixel p = LICE_GetPixel(mDrawBitmap, x, y);
  return IColor((int)LICE_GETA(p), (int)LICE_GETR(p), (int)LICE_GETG(p), (int)LICE_GETB(p));
}

bool IGraphics::DrawLine(const IColor* color, float x1, float y1, float x2, float y2, const IChannelBlend* blend,
                         bool antiAlias)
{
  LICE_Line(mDrawBitmap, (int)x1, (int)y1, (int)x2, (int)y2, LiceColor(*color), LiceWeight(blend), LiceBlendMode(blend),
            antiAlias);
  return true;
}

bool IGraphics::DrawVerticalLine(const IColor* color, int xi, int yLo, int yHi)
{
  LICE_Line(mDrawBitmap, xi, yLo, xi, yHi, LiceColor(*color), 1.0f, LICE_BLIT_MODE_COPY, false);
  return true;
}

bool IGraphics::DrawHorizontalLine(const IColor* color, int yi, int xLo, int xHi)
{
  LICE_Line(mDrawBitmap, xLo, yi, xHi, yi, LiceColor(*color), 1.0f, LICE_BLIT_MODE_COPY, false);
  return true;
}

bool IGraphics::DrawVerticalLine(const IColor* color, IRECT* rect, float x)
{
  x = x < 0.0f ? 0.0f : x > 1.0f ? 1.0f : x;
  const int xi = rect->L + (int)(x * (float)rect->W());
  return DrawVerticalLine(color, xi, rect->T, rect->B);
}

bool IGraphics::DrawHorizontalLine(const IColor* color, IRECT* rect, float y)
{
  // y = 1 is the top.
  y = y < 0.0f ? 0.0f : y > 1.0f ? 1.0f : y;
  const int yi = rect->B - (int)(y * (float)rect->H());
  return DrawHorizontalLine(color, yi, rect->L, rect->R);
}

bool IGraphics::DrawRect(const IColor* color, IRECT* rect)
{
  // The lines lie on R and B themselves: one pixel wider and taller than the
  // rectangle's area.
  bool ok = DrawHorizontalLine(color, rect->T, rect->L, rect->R);
  ok &= DrawHorizontalLine(color, rect->B, rect->L, rect->R);
  ok &= DrawVerticalLine(color, rect->L, rect->T, rect->B);
  ok &= DrawVerticalLine(color, rect->R, rect->T, rect->B);
  return ok;
}

bool IGraphics::DrawRadialLine(const IColor* color, float cx, float cy, float angle, float rMin, float rMax,
                               const IChannelBlend* blend, bool antiAlias)
{
  const float s = sinf(angle), c = cosf(angle);
  return DrawLine(color, cx + rMin * s, cy - rMin * c, cx + rMax * s, cy - rMax * c, blend, antiAlias);
}

bool IGraphics::DrawArc(const IColor* color, float cx, float cy, float r, float minAngle, float maxAngle,
                        const IChannelBlend* blend, bool antiAlias)
{
  LICE_Arc(mDrawBitmap, cx, cy, r, minAngle, maxAngle, LiceColor(*color), LiceWeight(blend), LiceBlendMode(blend),
           antiAlias);
  return true;
}

bool IGraphics::DrawCircle(const IColor* color, float cx, float cy, float r, const IChannelBlend* blend, bool antiAlias)
{
  LICE_Circle(mDrawBitmap, cx, cy, r, LiceColor(*color), LiceWeight(blend), LiceBlendMode(blend), antiAlias);
  return true;
}

bool IGraphics::RoundRect(const IColor* color, IRECT* rect, const IChannelBlend* blend, int cornerRadius,
                          bool antiAlias)
{
  LICE_RoundRect(mDrawBitmap, (float)rect->L, (float)rect->T, (float)rect->W(), (float)rect->H(), cornerRadius,
                 LiceColor(*color), LiceWeight(blend), LiceBlendMode(blend), antiAlias);
  return true;
}

bool IGraphics::FillRoundRect(const IColor* color, IRECT* rect, const IChannelBlend* blend, int cornerRadius,
                              bool antiAlias)
{
  const int x = rect->L, y = rect->T, w = rect->W(), h = rect->H(), r = cornerRadius;
  const LICE_pixel c = LiceColor(*color);
  const float weight = LiceWeight(blend);
  const int mode = LiceBlendMode(blend);
  LICE_FillRect(mDrawBitmap, x + r, y, w - 2 * r, h, c, weight, mode);
  LICE_FillRect(mDrawBitmap, x, y + r, r, h - 2 * r, c, weight, mode);
  LICE_FillRect(mDrawBitmap, x + w - r, y + r, r, h - 2 * r, c, weight, mode);
  LICE_FillCircle(mDrawBitmap, (float)(x + r), (float)(y + r), (float)r, c, weight, mode, antiAlias);
  LICE_FillCircle(mDrawBitmap, (float)(x + w - r - 1), (float)(y + h - r - 1), (float)r, c, weight, mode, antiAlias);
  LICE_FillCircle(mDrawBitmap, (float)(x + w - r - 1), (float)(y + r), (float)r, c, weight, mode, antiAlias);
  LICE_FillCircle(mDrawBitmap, (float)(x + r), (float)(y + h - r - 1), (float)r, c, weight, mode, antiAlias);
  return true;
}

bool IGraphics::FillIRect(const IColor* color, IRECT* rect, const IChannelBlend* blend)
{
  LICE_FillRect(mDrawBitmap, rect->L, rect->T, rect->W(), rect->H(), LiceColor(*color), LiceWeight(blend),
                LiceBlendMode(blend));
  return true;
}

bool IGraphics::FillCircle(const IColor* color, int cx, int cy, float r, const IChannelBlend* blend, bool antiAlias)
{
  LICE_FillCircle(mDrawBitmap, (float)cx, (float)cy, r, LiceColor(*color), LiceWeight(blend), LiceBlendMode(blend),
                  antiAlias);
  return true;
}

bool IGraphics::FillTriangle(const IColor* color, int x1, int y1, int x2, int y2, int x3, int y3,
                             const IChannelBlend* blend)
{
  LICE_FillTriangle(mDrawBitmap, x1, y1, x2, y2, x3, y3, LiceColor(*color), LiceWeight(blend), LiceBlendMode(blend));
  return true;
}

bool IGraphics::FillIConvexPolygon(const IColor* color, int* x, int* y, int npoints, const IChannelBlend* blend)
{
  LICE_FillConvexPolygon(mDrawBitmap, x, y, npoints, LiceColor(*color), LiceWeight(blend), LiceBlendMode(blend));
  return true;
}

// ---------------------------------------------------------------------------
// Text.

LICE_IFont* IGraphics::CacheFont(IText* text)
{
  // Fonts render through the window layer's text drawing; without it (a
  // program that never shows text) no font can be made.
  if (!LICE_GetGfxBackend()) return nullptr;
  if (LICE_IFont* found = s_fontCache.Find(text))
  {
    text->mCached = found;
    return found;
  }
  LICE_CachedFont* font = new LICE_CachedFont;
  int height = text->mSize;
  const int weight = text->mStyle == IText::kStyleBold ? 700 : 400;
  const char italic = text->mStyle == IText::kStyleItalic;
  // A second pass corrects the height once, so that the line height comes
  // close to the size asked for.
  for (int pass = 0; pass < 2; ++pass)
  {
    if (height < 2) height = 2;
    HFONT hf = LICE_GetGfxBackend()->CreateFont(height, weight, italic, text->mFont);
    if (!hf)
    {
      delete font;
      return nullptr;
    }
    // The raster font owns the handle and draws through the window layer.
    font->SetFromHFont(hf, LICE_FONT_FLAG_OWNS_HFONT | LICE_FONT_FLAG_FORCE_NATIVE);
    if (pass == 1) break;
    const int h = font->GetLineHeight();
    if (h == height || h <= 0) break;
    height = (int)((double)height * height / h + 0.5);
  }
  s_fontCache.Add(font, text);
  text->mCached = font;
  return font;
}

bool IGraphics::DrawIText(IText* text, const char* str, IRECT* rect, bool measure)
{
  if (!str || !*str) return true;
  LICE_IFont* font = text->mCached;
  if (!font) font = CacheFont(text);
  if (!font) return false;

  font->SetTextColor(LiceColor(text->mColor));
  unsigned int flags = DT_NOCLIP;
  if (text->mColor.A < 255) flags |= LICE_DT_USEFGALPHA;
  if (text->mAlign == IText::kAlignCentre) flags |= DT_CENTER;
  if (text->mAlign == IText::kAlignRight) flags |= DT_RIGHT;

  if (!measure)
  {
    RECT r = rect->ToRECT();
    font->DrawText(mDrawBitmap, str, -1, &r, flags);
    return true;
  }
  RECT r = {0, 0, 0, 0};
  font->DrawText(mDrawBitmap, str, -1, &r, flags | DT_CALCRECT);
  const int w = r.right, h = r.bottom;
  switch (text->mAlign)
  {
  case IText::kAlignLeft:
    rect->R = w;
    break;
  case IText::kAlignCentre:
    rect->L = (int)rect->MW() - w / 2;
    rect->R = rect->L + w;
    break;
  case IText::kAlignRight:
    rect->L = rect->R - w;
    rect->R = rect->L + w;
    break;
  }
  rect->B = rect->T + h;
  return true;
}

void DrawBitmapedText(IGraphics* graphics, IBitmap* bitmap, IRECT* rect, IText* text, const IChannelBlend* blend,
                      const char* str, bool vCenter, bool multiline, int charWidth, int charHeight, int charOffset)
{
  if (!str || !*str || charWidth < 1 || charHeight < 1) return;
  const int len = (int)strlen(str);
  const int top = vCenter ? rect->T + (rect->H() - charHeight) / 2 : rect->T;
  int left = rect->L;
  if (text->mAlign == IText::kAlignCentre)
    left = rect->L + (rect->W() - len * charWidth) / 2;
  else if (text->mAlign == IText::kAlignRight)
    left = rect->R - len * charWidth;

  const int lineWidth = charWidth * len;
  int perLine = rect->W() / charWidth, lines = 1;
  if (multiline && lineWidth <= rect->W())
    perLine = len;
  else if (multiline)
    lines = lineWidth / (rect->W() > 0 ? rect->W() : 1) + 1;

  int i = 0;
  for (int line = 0; line < lines; ++line)
    for (int p = 0; p < perLine; ++p, ++i)
    {
      if (i >= len) return;
      const int frame = (unsigned char)str[i] - 31;
      const int x = left + p * (charWidth + charOffset), y = top + line * charHeight;
      IRECT r(x, y, x + charWidth, y + charHeight);
      graphics->DrawBitmap(bitmap, &r, frame, blend);
    }
}
