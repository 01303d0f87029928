#pragma once
// The raster library: 32-bit pixels in memory, drawn by the processor alone.
// A pixel's bytes in memory are alpha, red, green, blue (alpha in bits 0-7 of
// the little-endian word); pixels are not premultiplied. Every operation
// honours flipped bitmaps. A bitmap is used by one thread at a time.

#include "wdltypes.h"

#include <cstdint>
#include <vector>

typedef uint32_t LICE_pixel;
typedef unsigned char LICE_pixel_chan;

#define LICE_PIXEL_A 0
#define LICE_PIXEL_R 1
#define LICE_PIXEL_G 2
#define LICE_PIXEL_B 3

#define LICE_RGBA(r, g, b, a)                                                                                          \
  ((LICE_pixel)(((unsigned int)(a)&0xff) | (((unsigned int)(r)&0xff) << 8) | (((unsigned int)(g)&0xff) << 16) |        \
                (((unsigned int)(b)&0xff) << 24)))
#define LICE_GETA(v) ((v)&0xff)
#define LICE_GETR(v) (((v) >> 8) & 0xff)
#define LICE_GETG(v) (((v) >> 16) & 0xff)
#define LICE_GETB(v) (((v) >> 24) & 0xff)

// The mode word of every drawing operation.
#define LICE_BLIT_MODE_MASK 0xff
#define LICE_BLIT_MODE_COPY 0
#define LICE_BLIT_MODE_ADD 1
#define LICE_BLIT_MODE_DODGE 2
#define LICE_BLIT_MODE_MUL 3
#define LICE_BLIT_MODE_OVERLAY 4
#define LICE_BLIT_MODE_HSVADJ 5
#define LICE_BLIT_MODE_CHANCOPY 0xf0
#define LICE_BLIT_FILTER_MASK 0xff00
#define LICE_BLIT_FILTER_NONE 0
#define LICE_BLIT_FILTER_BILINEAR 0x100
#define LICE_BLIT_USE_ALPHA 0x10000

class LICE_IBitmap
{
public:
  virtual ~LICE_IBitmap() {}
  virtual LICE_pixel* getBits() = 0;
  virtual int getWidth() = 0;
  virtual int getHeight() = 0;
  virtual int getRowSpan() = 0;
  virtual bool isFlipped() { return false; }
  virtual bool resize(int w, int h) = 0;
  virtual HDC getDC() { return nullptr; }
  virtual intptr_t Extended(int, void*) { return 0; }
};

class LICE_MemBitmap : public LICE_IBitmap
{
public:
  LICE_MemBitmap(int w = 0, int h = 0, unsigned int linealign = 4);
  ~LICE_MemBitmap() override;
  LICE_MemBitmap(const LICE_MemBitmap&) = delete;
  LICE_MemBitmap& operator=(const LICE_MemBitmap&) = delete;

  // Pixels start on a 64-byte boundary inside the block.
  LICE_pixel* getBits() override { return (LICE_pixel*)(((uintptr_t)m_fb + 63) & ~(uintptr_t)63); }
  int getWidth() override { return m_width; }
  int getHeight() override { return m_height; }
  int getRowSpan() override { return (m_width + m_linealign) & ~m_linealign; }
  bool resize(int w, int h) override { return __resize(w, h); }

private:
  bool __resize(int w, int h);

  void* m_fb = nullptr;
  int m_width = 0;
  int m_height = 0;
  int m_allocsize = 0;
  int m_linealign = 0;
};

// A bitmap in a memory context of the window-system layer, so that the
// layer can draw text into it and show it. Without a graphics back-end it
// is a plain memory bitmap with no context.
class LICE_SysBitmap : public LICE_IBitmap
{
public:
  LICE_SysBitmap(int w = 0, int h = 0);
  ~LICE_SysBitmap() override;
  LICE_SysBitmap(const LICE_SysBitmap&) = delete;
  LICE_SysBitmap& operator=(const LICE_SysBitmap&) = delete;

  LICE_pixel* getBits() override { return m_bits; }
  int getWidth() override { return m_width; }
  int getHeight() override { return m_height; }
  int getRowSpan() override { return m_allocw; }
  bool resize(int w, int h) override { return __resize(w, h); }
  HDC getDC() override { return m_dc; }

private:
  bool __resize(int w, int h);
  void Release();

  int m_width = 0;
  int m_height = 0;
  HDC m_dc = nullptr;
  LICE_pixel* m_bits = nullptr;
  int m_allocw = 0;
  int m_alloch = 0;
  LICE_pixel* m_ownbits = nullptr; // the frame buffer when there is no context
};

// The text drawing that the window-system layer lends the raster library;
// it registers itself, and tests may too. Main thread.
struct LICE_GfxBackend
{
  // A font by the Win32 rule for height (below 0 the character height in
  // pixels, above 0 the cell height); weight 400 plain, 700 bold. A face
  // the machine lacks falls back to a monospace one.
  HFONT (*CreateFont)(int height, int weight, bool italic, const char* face);
  HDC (*CreateMemContext)(HDC hdc, int w, int h);
  void (*DeleteGfxContext)(HDC ctx);
  void* (*GetCtxFrameBuffer)(HDC ctx);
  HGDIOBJ (*SelectObject)(HDC ctx, HGDIOBJ obj);
  void (*DeleteObject)(HGDIOBJ obj);
  void (*SetTextColor)(HDC ctx, int color);
  void (*SetBkColor)(HDC ctx, int color);
  void (*SetBkMode)(HDC ctx, int mode);
  bool (*GetTextMetrics)(HDC ctx, TEXTMETRIC* tm);
  int (*DrawText)(HDC ctx, const char* buf, int len, RECT* r, int align);
  void (*PushClipRegion)(HDC ctx);
  void (*PopClipRegion)(HDC ctx);
  void (*SetClipRegion)(HDC ctx, const RECT* r);
};
void LICE_SetGfxBackend(const LICE_GfxBackend* backend);
const LICE_GfxBackend* LICE_GetGfxBackend();

void LICE_Copy(LICE_IBitmap* dest, LICE_IBitmap* src);
// What a conversion to the screen's form changed, so that a view sends only
// that: in columns of kColumn pixels from x = 0, rows top[c] to
// bottom[c] - 1 of column c changed (none where top[c] >= bottom[c]).
struct LICE_ScreenChanges
{
  static constexpr int kColumn = 32;
  std::vector<int> top, bottom;
};
// The screen's form of a rectangle of src: 32-bit words 0xAARRGGBB in native
// order (Cairo's RGB24 and ARGB32), which is each pixel with its bytes
// reversed. dst points at the buffer's pixel (0, 0), dstSpan in pixels; the
// rectangle is cut to src. With changes, also says which pixels of dst took
// a new value (and writes only those).
void LICE_CopyToScreenFormat(uint32_t* dst, int dstSpan, LICE_IBitmap* src, int x, int y, int w, int h,
                             LICE_ScreenChanges* changes = nullptr);
void LICE_Clear(LICE_IBitmap* dest, LICE_pixel color);
LICE_pixel LICE_GetPixel(LICE_IBitmap* bm, int x, int y);

LICE_pixel LICE_CombinePixels(LICE_pixel dest, LICE_pixel src, float alpha, int mode);
void LICE_CombinePixels2(LICE_pixel* dest, int r, int g, int b, int a, int ia, int mode);
void LICE_CombinePixels2Clamp(LICE_pixel* dest, int r, int g, int b, int a, int ia, int mode);

void LICE_Blit(LICE_IBitmap* dest, LICE_IBitmap* src, int dstx, int dsty, const RECT* srcrect, float alpha, int mode);
void LICE_Blit(LICE_IBitmap* dest, LICE_IBitmap* src, int dstx, int dsty, int srcx, int srcy, int srcw, int srch,
               float alpha, int mode);
void LICE_ScaledBlit(LICE_IBitmap* dest, LICE_IBitmap* src, int dstx, int dsty, int dstw, int dsth, float srcx,
                     float srcy, float srcw, float srch, float alpha, int mode);
void LICE_RotatedBlit(LICE_IBitmap* dest, LICE_IBitmap* src, int dstx, int dsty, int dstw, int dsth, float srcx,
                      float srcy, float srcw, float srch, float angle, bool cliptosourcerect, float alpha, int mode,
                      float rotxcent, float rotycent);
void LICE_DeltaBlit(LICE_IBitmap* dest, LICE_IBitmap* src, int dstx, int dsty, int dstw, int dsth, float srcx,
                    float srcy, float srcw, float srch, double dsdx, double dtdx, double dsdy, double dtdy,
                    double dsdxdy, double dtdxdy, bool cliptosourcerect, float alpha, int mode);

void LICE_Line(LICE_IBitmap* dest, int x1, int y1, int x2, int y2, LICE_pixel color, float alpha, int mode, bool aa);
bool ClipLine(int* x1, int* y1, int* x2, int* y2, int w, int h);

void LICE_FillRect(LICE_IBitmap* dest, int x, int y, int w, int h, LICE_pixel color, float alpha, int mode);
void LICE_ClearRect(LICE_IBitmap* dest, int x, int y, int w, int h, LICE_pixel mask, LICE_pixel orbits);
void LICE_PutPixel(LICE_IBitmap* dest, int x, int y, LICE_pixel color, float alpha, int mode);
void LICE_Circle(LICE_IBitmap* dest, float cx, float cy, float r, LICE_pixel color, float alpha, int mode, bool aa);
void LICE_FillCircle(LICE_IBitmap* dest, float cx, float cy, float r, LICE_pixel color, float alpha, int mode, bool aa);
void LICE_Arc(LICE_IBitmap* dest, float cx, float cy, float r, float minAngle, float maxAngle, LICE_pixel color,
              float alpha, int mode, bool aa);
void LICE_RoundRect(LICE_IBitmap* dest, float x, float y, float w, float h, int cornerRadius, LICE_pixel color,
                    float alpha, int mode, bool aa);
void LICE_FillTriangle(LICE_IBitmap* dest, int x1, int y1, int x2, int y2, int x3, int y3, LICE_pixel color,
                       float alpha, int mode);
void LICE_FillConvexPolygon(LICE_IBitmap* dest, const int* x, const int* y, int npoints, LICE_pixel color, float alpha,
                            int mode);

// Where a text box of tw x th goes in r by the DT_ alignment flags: centred
// wins over right, vertical centring over bottom.
void LICE_AlignText(const RECT* r, int tw, int th, int flags, int* x, int* y);

// PNG decoding into the pixel layout above. With bmp given the image goes
// into it; otherwise a new LICE_MemBitmap (line alignment 4) that the caller
// owns. Null on any failure.
LICE_IBitmap* LICE_LoadPNG(const char* filename, LICE_IBitmap* bmp = nullptr);
LICE_IBitmap* LICE_LoadPNGFromMemory(const void* data, int buflen, LICE_IBitmap* bmp = nullptr);
// A name relative to the resource root, a folder that the platform layer
// chooses and sets; null while none is set.
LICE_IBitmap* LICE_LoadPNGFromNamedResource(const char* name, LICE_IBitmap* bmp = nullptr);
void LICE_SetResourceRoot(const char* folder);
const char* LICE_GetResourceRoot();
LICE_IBitmap* LICE_LoadPNGFromResource(void* hInst, int resid, LICE_IBitmap* bmp = nullptr);
// Starts decoding these named resources on a thread of its own, so that a
// program can have its images ready by the time it opens a window. The first
// LICE_LoadPNG of one of their paths (without a bitmap given) takes the
// decoded image, waiting for it if need be; a file that did not decode is
// then read again as if never asked for.
void LICE_DecodeNamedPNGsAhead(const char* const* names, int count);

struct LICE_ImageLoaderRec
{
  LICE_IBitmap* (*loadfunc)(const char* filename, bool checkFileName, LICE_IBitmap* bmp);
  const char* (*get_extlist)();
  LICE_ImageLoaderRec* _next;
};
extern LICE_ImageLoaderRec* LICE_ImageLoader_list;
