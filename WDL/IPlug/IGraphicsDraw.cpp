// The engine's drawing side: the process-wide bitmap and font caches, bitmap
// loading, and every primitive that paints the off-screen surface through
// the raster library. Arguments are in panel units; at 100 % each primitive
// draws exactly as the raster library does, at any other size its units go
// through the panel's one mapping to pixels. GUI thread; the caches take
// their own locks.

#include "IGraphics.h"

#include "lice_text.h"

#include "../mutex.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

namespace
{
// Images, each decoded once per process and shared by every window.
class BitmapStorage
{
public:
  struct BitmapKey
  {
    int id;
    LICE_IBitmap* bitmap;          // owned
    std::string name;              // the file it came from; empty for made ones
    LICE_IBitmap* twice = nullptr; // owned: the image at twice the size
    bool triedTwice = false;
  };

  ~BitmapStorage()
  {
    WDL_MutexLock lock(&mMutex);
    for (int i = 0; i < mBitmaps.GetSize(); ++i)
    {
      delete mBitmaps.Get(i)->bitmap;
      delete mBitmaps.Get(i)->twice;
    }
    mBitmaps.Empty(true);
  }
  LICE_IBitmap* Find(int id)
  {
    WDL_MutexLock lock(&mMutex);
    for (int i = 0; i < mBitmaps.GetSize(); ++i)
      if (mBitmaps.Get(i)->id == id) return mBitmaps.Get(i)->bitmap;
    return nullptr;
  }
  void Add(LICE_IBitmap* bitmap, int id = -1, const char* name = nullptr)
  {
    WDL_MutexLock lock(&mMutex);
    mBitmaps.Add(new BitmapKey{id, bitmap, name ? name : ""});
    if (name && *name) ++mUntried;
  }
  // The image at twice the size beside a loaded one; null when there is
  // none, or its size is not exactly twice. The first ask loads them all,
  // one thread each, so that the first frame at a larger size waits for the
  // largest alone; an image added later is loaded when it is asked for.
  template<class Load>
  LICE_IBitmap* Twice(LICE_IBitmap* bitmap, Load load)
  {
    // What each load needs, copied: the cache may change while they run.
    struct Job
    {
      LICE_IBitmap* bitmap;
      int id, w, h;
      std::string name;
      LICE_IBitmap* twice = nullptr;
    };
    std::vector<Job> jobs;
    {
      WDL_MutexLock lock(&mMutex);
      for (int i = 0; mUntried && i < mBitmaps.GetSize(); ++i)
      {
        BitmapKey* k = mBitmaps.Get(i);
        if (k->triedTwice || k->name.empty()) continue;
        k->triedTwice = true;
        jobs.push_back({k->bitmap, k->id, k->bitmap->getWidth(), k->bitmap->getHeight(), k->name});
      }
      mUntried = 0;
    }
    std::vector<std::thread> loaders;
    for (Job& j : jobs) loaders.emplace_back([&j, &load] { j.twice = LoadTwice(j.id, j.name, j.w, j.h, load); });
    for (std::thread& t : loaders) t.join();
    WDL_MutexLock lock(&mMutex);
    LICE_IBitmap* found = nullptr;
    for (Job& j : jobs)
    {
      BitmapKey* k = nullptr;
      for (int i = 0; i < mBitmaps.GetSize() && !k; ++i)
        if (mBitmaps.Get(i)->bitmap == j.bitmap) k = mBitmaps.Get(i);
      if (k)
        k->twice = j.twice;
      else
        delete j.twice; // its image went meanwhile
    }
    for (int i = 0; i < mBitmaps.GetSize() && !found; ++i)
      if (mBitmaps.Get(i)->bitmap == bitmap) found = mBitmaps.Get(i)->twice;
    return found;
  }
  void Remove(LICE_IBitmap* bitmap)
  {
    WDL_MutexLock lock(&mMutex);
    for (int i = 0; i < mBitmaps.GetSize(); ++i)
    {
      if (mBitmaps.Get(i)->bitmap != bitmap) continue;
      delete mBitmaps.Get(i)->twice;
      mBitmaps.Delete(i, true);
      delete bitmap;
      return;
    }
  }

private:
  // "name@2x.png" beside "name.png", kept when it is exactly twice the size.
  template<class Load>
  static LICE_IBitmap* LoadTwice(int id, const std::string& of, int w, int h, Load& load)
  {
    const size_t dot = of.rfind('.');
    const std::string name = dot == std::string::npos ? of + "@2x" : of.substr(0, dot) + "@2x" + of.substr(dot);
    LICE_IBitmap* twice = load(id, name.c_str());
    if (twice && (twice->getWidth() != 2 * w || twice->getHeight() != 2 * h))
    {
      fprintf(stderr, "%s is not twice the size of %s; the panel is drawn from the smaller\n", name.c_str(),
              of.c_str());
      delete twice;
      twice = nullptr;
    }
    return twice;
  }

  WDL_PtrList<BitmapKey> mBitmaps{4096};
  int mUntried = 0; // images of files whose twice-size version was not yet asked for
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

// Resizes the pixels of rect in src to the whole of dest. Smaller: each
// pixel is the average of the source area it covers (a box filter), its
// colour weighted by alpha, so that transparent pixels lend no colour to an
// edge. Larger (an image without its twice-size version): bilinear.
void ResizeInto(LICE_IBitmap* dest, LICE_IBitmap* src, const IRECT& rect)
{
  const int dw = dest->getWidth(), dh = dest->getHeight();
  if (rect.W() < dw || rect.H() < dh)
  {
    LICE_Clear(dest, 0);
    LICE_ScaledBlit(dest, src, 0, 0, dw, dh, (float)rect.L, (float)rect.T, (float)rect.W(), (float)rect.H(), 1.0f,
                    LICE_BLIT_FILTER_BILINEAR | LICE_BLIT_MODE_COPY);
    return;
  }
  // The source pixels under each destination column or row: the first,
  // and the share of each of the next few; outside the image counts as
  // transparent (a share of 0).
  struct Taps
  {
    int most;                 // shares kept per output
    std::vector<int> first;   // per output
    std::vector<float> share; // most per output
  };
  auto taps = [](int from, int size, int out, int limit)
  {
    const double step = (double)size / out;
    // Every output reads `most` pixels inside the image, those it does not
    // cover with a share of 0: no branch in the inner loops.
    Taps t{std::min((int)std::ceil(step) + 1, limit), std::vector<int>((size_t)out), {}};
    t.share.assign((size_t)out * (size_t)t.most, 0.0f);
    for (int i = 0; i < out; ++i)
    {
      const double a = from + i * step, b = a + step;
      const int p0 = std::max(0, (int)std::floor(a)), first = std::max(0, std::min(p0, limit - t.most));
      t.first[(size_t)i] = first;
      for (int p = p0; p < b && p < limit && p - first < t.most; ++p)
        t.share[(size_t)(i * t.most + p - first)] = (float)(std::min(b, p + 1.0) - std::max(a, (double)p));
    }
    return t;
  };
  const Taps cols = taps(rect.L, rect.W(), dw, src->getWidth());
  const Taps rows = taps(rect.T, rect.H(), dh, src->getHeight());
  const int inSpan = src->getRowSpan(), outSpan = dest->getRowSpan();

  // Across first, each source row as the rows' taps come to it: red, green
  // and blue times alpha, and alpha, per destination column. The rows of
  // one destination row are neighbours, and each destination row starts at
  // or below the last one's: a few rows in turn hold them.
  const int held = rows.most;
  std::vector<float> across((size_t)held * (size_t)dw * 4);
  std::vector<int> rowIn((size_t)held, -1);
  auto acrossRow = [&](int y) -> const float*
  {
    float* o = &across[(size_t)(y % held) * (size_t)dw * 4];
    if (rowIn[(size_t)(y % held)] == y) return o;
    rowIn[(size_t)(y % held)] = y;
    const LICE_pixel* in = src->getBits() + (size_t)y * (size_t)inSpan;
    float* at = o;
    for (int x = 0; x < dw; ++x, at += 4)
    {
      const LICE_pixel* p = in + cols.first[(size_t)x];
      const float* w = &cols.share[(size_t)x * (size_t)cols.most];
      float r = 0.0f, g = 0.0f, b = 0.0f, a = 0.0f;
      for (int k = 0; k < cols.most; ++k)
      {
        const float wa = w[k] * (float)LICE_GETA(p[k]);
        r += wa * (float)LICE_GETR(p[k]);
        g += wa * (float)LICE_GETG(p[k]);
        b += wa * (float)LICE_GETB(p[k]);
        a += wa;
      }
      at[0] = r, at[1] = g, at[2] = b, at[3] = a;
    }
    return o;
  };

  // Then down, and back to straight alpha.
  const float area = (float)rect.W() / dw * (float)rect.H() / dh;
  std::vector<float> sum((size_t)dw * 4);
  auto byte = [](float v) { return (int)std::min(255.0f, v + 0.5f); };
  for (int y = 0; y < dh; ++y)
  {
    std::fill(sum.begin(), sum.end(), 0.0f);
    const float* w = &rows.share[(size_t)y * (size_t)rows.most];
    for (int k = 0; k < rows.most; ++k)
    {
      if (w[k] == 0.0f) continue;
      const float* row = acrossRow(rows.first[(size_t)y] + k);
      for (size_t i = 0; i < sum.size(); ++i) sum[i] += w[k] * row[i];
    }
    LICE_pixel* out = dest->getBits() + (size_t)y * (size_t)outSpan;
    for (int x = 0; x < dw; ++x)
    {
      const float* v = &sum[(size_t)x * 4];
      out[x] = v[3] > 0.0f ? LICE_RGBA(byte(v[0] / v[3]), byte(v[1] / v[3]), byte(v[2] / v[3]), byte(v[3] / area)) : 0;
    }
  }
}
} // namespace

// Images resized for the panel's size, each made once: keyed by the source
// image, the rectangle of it and the size in pixels.
struct IGraphics::ResizedImages
{
  std::map<std::tuple<const void*, int, int, int, int, int, int>, std::unique_ptr<LICE_MemBitmap>> images;
};

void IGraphics::DropResizedImages()
{
  delete mResized;
  mResized = nullptr;
}

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
    s_bitmapCache.Add(lb, id, name);
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
  if (!bitmap || !bitmap->mData) return;
  DropResizedImages();
  s_bitmapCache.Remove(LiceOf(bitmap));
}

LICE_IBitmap* IGraphics::Resized(LICE_IBitmap* lowRes, const IRECT& units, int w, int h, int* x, int* y)
{
  // From the twice-size image where there is one: exact at 200 %, reduced
  // below it.
  LICE_IBitmap* twice =
      s_bitmapCache.Twice(lowRes, [this](int id, const char* name) { return OSLoadBitmap(id, name); });
  LICE_IBitmap* src = twice ? twice : lowRes;
  const IRECT rect = twice ? IRECT(2 * units.L, 2 * units.T, 2 * units.R, 2 * units.B) : units;
  if (rect.W() == w && rect.H() == h)
  {
    *x = rect.L;
    *y = rect.T;
    return src;
  }
  *x = *y = 0;
  if (!mResized) mResized = new ResizedImages;
  std::unique_ptr<LICE_MemBitmap>& image =
      mResized->images[std::make_tuple((const void*)src, rect.L, rect.T, rect.W(), rect.H(), w, h)];
  if (!image)
  {
    image.reset(new LICE_MemBitmap(w, h, 4));
    ResizeInto(image.get(), src, rect);
  }
  return image.get();
}

void IGraphics::DrawBitmapAtScale(IBitmap* bitmap, const IRECT& dest, int srcX, int srcY, const IChannelBlend* blend)
{
  const IRECT to = mMap.Px(dest);
  const IRECT clipped = to.Intersect(mMap.Px(mDrawRECT));
  if (clipped.W() <= 0 || clipped.H() <= 0) return;
  int x = 0, y = 0;
  LICE_IBitmap* image =
      Resized(LiceOf(bitmap), IRECT(srcX, srcY, srcX + dest.W(), srcY + dest.H()), to.W(), to.H(), &x, &y);
  LICE_Blit(mDrawBitmap, image, clipped.L, clipped.T, x + clipped.L - to.L, y + clipped.T - to.T, clipped.W(),
            clipped.H(), LiceWeight(blend), LiceBlendMode(blend));
}

LICE_IBitmap* IGraphics::WholeAtScale(IBitmap* bitmap)
{
  LICE_IBitmap* src = LiceOf(bitmap);
  if (!src || mMap.Identity()) return src;
  int x = 0, y = 0;
  const IRECT all(0, 0, bitmap->W, bitmap->H);
  // The whole rectangle: the image returned starts at (0, 0) either way.
  return Resized(src, all, mMap.Px(bitmap->W), mMap.Px(bitmap->H), &x, &y);
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
  if (!mMap.Identity())
  {
    DrawBitmapAtScale(bitmap, *dest, srcX, srcY, blend);
    return true;
  }
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
  LICE_IBitmap* src = WholeAtScale(bitmap);
  if (!src || !mDrawBitmap) return true;
  const int W = src->getWidth(), H = src->getHeight();
  const int destX = mMap.Px(destCtrX) - W / 2, destY = mMap.Px(destCtrY) - H / 2;
  yOffsetZeroDeg = mMap.Px(yOffsetZeroDeg);
  LICE_RotatedBlit(mDrawBitmap, src, destX, destY, W, H, 0.0f, 0.0f, (float)W, (float)H, (float)angle, false,
                   LiceWeight(blend), LiceBlendMode(blend) | LICE_BLIT_FILTER_BILINEAR, 0.0f, (float)yOffsetZeroDeg);
  return true;
}

bool IGraphics::DrawRotatedMask(IBitmap* base, IBitmap* mask, IBitmap* top, int x, int y, double angle,
                                const IChannelBlend* blend)
{
  LICE_IBitmap* baseImage = WholeAtScale(base);
  LICE_IBitmap* maskImage = WholeAtScale(mask);
  LICE_IBitmap* topImage = WholeAtScale(top);
  if (!baseImage || !maskImage || !topImage || !mDrawBitmap) return true;
  const float a = (float)(angle * M_PI / 180.0);
  const int W = baseImage->getWidth(), H = baseImage->getHeight();
  const float yOffset = (W % 2) ? -0.5f : 0.0f;
  x = mMap.Px(x);
  y = mMap.Px(y);
  if (!mTmpBitmap) mTmpBitmap = new LICE_MemBitmap(0, 0, 4);
  LICE_Copy(mTmpBitmap, baseImage);
  // Clears the alpha byte of the copy; the rotated mask then supplies it.
  LICE_ClearRect(mTmpBitmap, 0, 0, W, H, 0xFFFFFF00, 0);
  LICE_RotatedBlit(mTmpBitmap, maskImage, 0, 0, W, H, 0.0f, 0.0f, (float)W, (float)H, a, true, 1.0f,
                   LICE_BLIT_MODE_ADD | LICE_BLIT_USE_ALPHA | LICE_BLIT_FILTER_BILINEAR, 0.0f, yOffset);
  LICE_RotatedBlit(mTmpBitmap, topImage, 0, 0, W, H, 0.0f, 0.0f, (float)W, (float)H, a, true, 1.0f,
                   LICE_BLIT_MODE_COPY | LICE_BLIT_USE_ALPHA | LICE_BLIT_FILTER_BILINEAR, 0.0f, yOffset);
  const IRECT r = IRECT(x, y, x + W, y + H).Intersect(mMap.Px(mDrawRECT));
  LICE_Blit(mDrawBitmap, mTmpBitmap, r.L, r.T, r.L - x, r.T - y, r.W(), r.H(), LiceWeight(blend), LiceBlendMode(blend));
  return true;
}

// ---------------------------------------------------------------------------
// Primitives. Only the bitmap operations above clip to the draw rectangle;
// these draw over the whole surface. Away from 100 %, a line one unit wide
// covers the pixels of that unit (LinePixels() of them), shapes take their
// corners' pixel places, and radii grow by the scale.

void IGraphics::FillUnits(const IColor* color, int l, int t, int r, int b, float weight, int mode)
{
  const IRECT p = mMap.Px(IRECT(l, t, r, b));
  LICE_FillRect(mDrawBitmap, p.L, p.T, p.W(), p.H(), LiceColor(*color), weight, mode);
}

bool IGraphics::DrawPoint(const IColor* color, float x, float y, const IChannelBlend* blend, bool)
{
  const int xi = (int)(x + 0.5f), yi = (int)(y + 0.5f);
  if (!mMap.Identity())
  {
    FillUnits(color, xi, yi, xi + 1, yi + 1, LiceWeight(blend), LiceBlendMode(blend));
    return true;
  }
  LICE_PutPixel(mDrawBitmap, xi, yi, LiceColor(*color), LiceWeight(blend), LiceBlendMode(blend));
  return true;
}

bool IGraphics::ForcePixel(const IColor* color, int x, int y)
{
  if (!mMap.Identity())
  {
    FillUnits(color, x, y, x + 1, y + 1, 1.0f, LICE_BLIT_MODE_COPY);
    return true;
  }
  // Unchecked: the caller stays inside the surface.
  LICE_pixel* bits = GetBits();
  bits[x + y * mDrawBitmap->getRowSpan()] = LiceColor(*color);
  return true;
}

IColor IGraphics::GetPoint(int x, int y)
{
  const LICE_pixel p = LICE_GetPixel(mDrawBitmap, mMap.Px(x), mMap.Px(y));
  return IColor((int)LICE_GETA(p), (int)LICE_GETR(p), (int)LICE_GETG(p), (int)LICE_GETB(p));
}

bool IGraphics::DrawLine(const IColor* color, float x1, float y1, float x2, float y2, const IChannelBlend* blend,
                         bool antiAlias)
{
  if (mMap.Identity())
  {
    LICE_Line(mDrawBitmap, (int)x1, (int)y1, (int)x2, (int)y2, LiceColor(*color), LiceWeight(blend),
              LiceBlendMode(blend), antiAlias);
    return true;
  }
  // As many pixel lines side by side as a unit has pixels, across the
  // line's run.
  const int ax = mMap.Px((int)x1), ay = mMap.Px((int)y1), bx = mMap.Px((int)x2), by = mMap.Px((int)y2);
  const bool flat = std::abs(bx - ax) >= std::abs(by - ay);
  for (int k = 0; k < LinePixels(); ++k)
    LICE_Line(mDrawBitmap, ax + (flat ? 0 : k), ay + (flat ? k : 0), bx + (flat ? 0 : k), by + (flat ? k : 0),
              LiceColor(*color), LiceWeight(blend), LiceBlendMode(blend), antiAlias);
  return true;
}

bool IGraphics::DrawVerticalLine(const IColor* color, int xi, int yLo, int yHi)
{
  if (!mMap.Identity())
  {
    FillUnits(color, xi, std::min(yLo, yHi), xi + 1, std::max(yLo, yHi) + 1, 1.0f, LICE_BLIT_MODE_COPY);
    return true;
  }
  LICE_Line(mDrawBitmap, xi, yLo, xi, yHi, LiceColor(*color), 1.0f, LICE_BLIT_MODE_COPY, false);
  return true;
}

bool IGraphics::DrawHorizontalLine(const IColor* color, int yi, int xLo, int xHi)
{
  if (!mMap.Identity())
  {
    FillUnits(color, std::min(xLo, xHi), yi, std::max(xLo, xHi) + 1, yi + 1, 1.0f, LICE_BLIT_MODE_COPY);
    return true;
  }
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

// A point's place in pixels: the middle of a unit pixel stays the middle of
// the unit's pixels.
namespace
{
inline float Centre(const IPanelScale& map, float u) { return map.Pxf(u + 0.5f) - 0.5f; }
} // namespace

bool IGraphics::DrawArc(const IColor* color, float cx, float cy, float r, float minAngle, float maxAngle,
                        const IChannelBlend* blend, bool antiAlias)
{
  if (!mMap.Identity())
  {
    for (int k = 0; k < LinePixels(); ++k)
      LICE_Arc(mDrawBitmap, Centre(mMap, cx), Centre(mMap, cy), mMap.Pxf(r) - (float)k, minAngle, maxAngle,
               LiceColor(*color), LiceWeight(blend), LiceBlendMode(blend), antiAlias);
    return true;
  }
  LICE_Arc(mDrawBitmap, cx, cy, r, minAngle, maxAngle, LiceColor(*color), LiceWeight(blend), LiceBlendMode(blend),
           antiAlias);
  return true;
}

bool IGraphics::DrawCircle(const IColor* color, float cx, float cy, float r, const IChannelBlend* blend, bool antiAlias)
{
  if (!mMap.Identity())
  {
    for (int k = 0; k < LinePixels(); ++k)
      LICE_Circle(mDrawBitmap, Centre(mMap, cx), Centre(mMap, cy), mMap.Pxf(r) - (float)k, LiceColor(*color),
                  LiceWeight(blend), LiceBlendMode(blend), antiAlias);
    return true;
  }
  LICE_Circle(mDrawBitmap, cx, cy, r, LiceColor(*color), LiceWeight(blend), LiceBlendMode(blend), antiAlias);
  return true;
}

bool IGraphics::RoundRect(const IColor* color, IRECT* rect, const IChannelBlend* blend, int cornerRadius,
                          bool antiAlias)
{
  if (!mMap.Identity())
  {
    // Nested outlines, inward, one per pixel of a unit.
    const IRECT p = mMap.Px(*rect);
    for (int k = 0; k < LinePixels(); ++k)
      LICE_RoundRect(mDrawBitmap, (float)(p.L + k), (float)(p.T + k), (float)(p.W() - 2 * k), (float)(p.H() - 2 * k),
                     std::max(0, mMap.Px(cornerRadius) - k), LiceColor(*color), LiceWeight(blend), LiceBlendMode(blend),
                     antiAlias);
    return true;
  }
  LICE_RoundRect(mDrawBitmap, (float)rect->L, (float)rect->T, (float)rect->W(), (float)rect->H(), cornerRadius,
                 LiceColor(*color), LiceWeight(blend), LiceBlendMode(blend), antiAlias);
  return true;
}

bool IGraphics::FillRoundRect(const IColor* color, IRECT* rect, const IChannelBlend* blend, int cornerRadius,
                              bool antiAlias)
{
  const IRECT p = mMap.Px(*rect);
  const int x = p.L, y = p.T, w = p.W(), h = p.H(), r = mMap.Px(cornerRadius);
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
  const IRECT p = mMap.Px(*rect);
  LICE_FillRect(mDrawBitmap, p.L, p.T, p.W(), p.H(), LiceColor(*color), LiceWeight(blend), LiceBlendMode(blend));
  return true;
}

bool IGraphics::FillCircle(const IColor* color, int cx, int cy, float r, const IChannelBlend* blend, bool antiAlias)
{
  const float x = mMap.Identity() ? (float)cx : Centre(mMap, (float)cx);
  const float y = mMap.Identity() ? (float)cy : Centre(mMap, (float)cy);
  LICE_FillCircle(mDrawBitmap, x, y, mMap.Pxf(r), LiceColor(*color), LiceWeight(blend), LiceBlendMode(blend),
                  antiAlias);
  return true;
}

bool IGraphics::FillTriangle(const IColor* color, int x1, int y1, int x2, int y2, int x3, int y3,
                             const IChannelBlend* blend)
{
  const IPanelScale& m = mMap;
  LICE_FillTriangle(mDrawBitmap, m.Px(x1), m.Px(y1), m.Px(x2), m.Px(y2), m.Px(x3), m.Px(y3), LiceColor(*color),
                    LiceWeight(blend), LiceBlendMode(blend));
  return true;
}

bool IGraphics::FillIConvexPolygon(const IColor* color, int* x, int* y, int npoints, const IChannelBlend* blend)
{
  if (!mMap.Identity() && npoints > 0)
  {
    std::vector<int> px((size_t)npoints), py((size_t)npoints);
    for (int i = 0; i < npoints; ++i)
    {
      px[(size_t)i] = mMap.Px(x[i]);
      py[(size_t)i] = mMap.Px(y[i]);
    }
    LICE_FillConvexPolygon(mDrawBitmap, px.data(), py.data(), npoints, LiceColor(*color), LiceWeight(blend),
                           LiceBlendMode(blend));
    return true;
  }
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
  // Away from 100 % the text is set at the scaled size, from the font cache
  // (the style's own cached font is its 100 % one).
  IText scaled = *text;
  if (!mMap.Identity())
  {
    scaled.mSize = mMap.Px(text->mSize);
    scaled.mCached = nullptr;
    text = &scaled;
  }
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
    RECT r = mMap.Px(*rect).ToRECT();
    font->DrawText(mDrawBitmap, str, -1, &r, flags);
    return true;
  }
  RECT r = {0, 0, 0, 0};
  font->DrawText(mDrawBitmap, str, -1, &r, flags | DT_CALCRECT);
  // Back in units, whole ones that hold the pixels.
  const int w = mMap.Unit(r.right - 1) + 1, h = mMap.Unit(r.bottom - 1) + 1;
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
