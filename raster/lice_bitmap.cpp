// Bitmaps, the graphics back-end, pixel combining of single words, and the
// HSV conversions of the adjust mode.

#include "lice_combine.h"
#include "lice_simd.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace
{
const LICE_GfxBackend* s_backend = nullptr;
} // namespace

void LICE_SetGfxBackend(const LICE_GfxBackend* backend) { s_backend = backend; }

const LICE_GfxBackend* LICE_GetGfxBackend() { return s_backend; }

LICE_MemBitmap::LICE_MemBitmap(int w, int h, unsigned int linealign)
{
  if (linealign >= 2)
  {
    // The lowest set bit, less one: 4 gives the mask 3; at most 16.
    const int mask = (int)(linealign & (0u - linealign)) - 1;
    m_linealign = mask > 16 ? 16 : mask;
  }
  if (w >= 1 && h >= 1) __resize(w, h);
}

LICE_MemBitmap::~LICE_MemBitmap() { free(m_fb); }

bool LICE_MemBitmap::__resize(int w, int h)
{
  if (w == m_width && h == m_height) return false;
  m_width = w;
  m_height = h;
  const long long span = (w + m_linealign) & ~m_linealign;
  const long long bytes = span * h * 4;
  if (bytes < 1 || w < 1 || h < 1 || bytes > 0x7fffffffLL - 64)
  {
    free(m_fb);
    m_fb = nullptr;
    m_allocsize = 0;
  }
  else if (!m_fb)
  {
    m_allocsize = (int)bytes;
    m_fb = malloc((size_t)bytes + 63);
  }
  else if (bytes > m_allocsize)
  {
    // Growing leaves a quarter to spare; shrinking keeps the block.
    const long long grown = bytes + bytes / 4;
    void* nb = grown <= 0x7fffffffLL - 64 ? realloc(m_fb, (size_t)grown + 63) : nullptr;
    if (nb)
    {
      m_fb = nb;
      m_allocsize = (int)grown;
    }
    else
    {
      free(m_fb);
      m_allocsize = (int)bytes;
      m_fb = malloc((size_t)bytes + 63);
    }
  }
  if (!m_fb) m_width = m_height = 0;
  return true;
}

LICE_SysBitmap::LICE_SysBitmap(int w, int h) { __resize(w, h); }

LICE_SysBitmap::~LICE_SysBitmap() { Release(); }

void LICE_SysBitmap::Release()
{
  if (m_dc && s_backend) s_backend->DeleteGfxContext(m_dc);
  free(m_ownbits);
  m_dc = nullptr;
  m_ownbits = nullptr;
  m_bits = nullptr;
}

bool LICE_SysBitmap::__resize(int w, int h)
{
  if (w == m_width && h == m_height) return false;
  m_width = w;
  m_height = h;
  if (w && h && w <= m_allocw && h <= m_alloch && m_bits) return true;

  m_allocw = (w + 3) & ~3;
  m_alloch = h;
  Release();
  if (m_allocw < 1 || h < 1) return false;

  if (s_backend)
  {
    m_dc = s_backend->CreateMemContext(nullptr, m_allocw, h);
    if (m_dc) m_bits = (LICE_pixel*)s_backend->GetCtxFrameBuffer(m_dc);
  }
  else if ((long long)m_allocw * h <= 0x7fffffffLL / 4)
  {
    m_ownbits = (LICE_pixel*)calloc((size_t)m_allocw * (size_t)h, sizeof(LICE_pixel));
    m_bits = m_ownbits;
  }
  if (!m_bits)
  {
    Release();
    m_width = m_height = 0;
    m_allocw = m_alloch = 0;
  }
  return true;
}

void LICE_Copy(LICE_IBitmap* dest, LICE_IBitmap* src)
{
  if (!dest || !src) return;
  dest->resize(src->getWidth(), src->getHeight());
  LICE_Blit(dest, src, 0, 0, nullptr, 1.0f, LICE_BLIT_MODE_COPY);
}

void LICE_CopyToScreenFormat(uint32_t* dst, int dstSpan, LICE_IBitmap* src, int x, int y, int w, int h,
                             LICE_ScreenChanges* changes)
{
  if (changes)
  {
    const int columns = src ? (src->getWidth() + LICE_ScreenChanges::kColumn - 1) / LICE_ScreenChanges::kColumn : 0;
    changes->top.assign(columns, 0);
    changes->bottom.assign(columns, 0);
  }
  if (!dst || !src || !src->getBits()) return;
  const int sw = src->getWidth(), sh = src->getHeight(), span = src->getRowSpan();
  if (x < 0) w += x, x = 0;
  if (y < 0) h += y, y = 0;
  if (x + w > sw) w = sw - x;
  if (y + h > sh) h = sh - y;
  if (w < 1 || h < 1) return;
  const LICE_SpanKernels& k = LICE_Kernels();
  constexpr int kColumn = LICE_ScreenChanges::kColumn;
  for (int row = y; row < y + h; ++row)
  {
    const LICE_pixel* s = src->getBits() + (long)(src->isFlipped() ? sh - 1 - row : row) * span;
    uint32_t* d = dst + (long)row * dstSpan;
    if (!changes)
    {
      k.toScreen(d + x, s + x, w);
      continue;
    }
    // A column's piece of the row at a time, noting the rows it changed.
    for (int from = x; from < x + w;)
    {
      const int column = from / kColumn, to = std::min(x + w, (column + 1) * kColumn);
      if (k.toScreen(d + from, s + from, to - from))
      {
        int& top = changes->top[column];
        int& bottom = changes->bottom[column];
        if (top >= bottom) top = row;
        bottom = row + 1;
      }
      from = to;
    }
  }
}

void LICE_Clear(LICE_IBitmap* dest, LICE_pixel color)
{
  if (!dest) return;
  LICE_pixel* p = dest->getBits();
  const int w = dest->getWidth(), h = dest->getHeight(), span = dest->getRowSpan();
  if (!p || w < 1 || h < 1) return;
  for (int y = 0; y < h; ++y, p += span)
    for (int x = 0; x < w; ++x) p[x] = color;
}

LICE_pixel LICE_GetPixel(LICE_IBitmap* bm, int x, int y)
{
  if (!bm) return 0;
  LICE_pixel* p = bm->getBits();
  const int w = bm->getWidth(), h = bm->getHeight();
  if (!p || x < 0 || y < 0 || x >= w || y >= h) return 0;
  if (bm->isFlipped()) y = h - 1 - y;
  return p[(long)y * bm->getRowSpan() + x];
}

namespace
{
// tab[i] = 65536 / i - 1, tab[0] = 0.
struct ReciprocalTable
{
  unsigned short v[256];
  ReciprocalTable()
  {
    v[0] = 0;
    for (int i = 1; i < 256; ++i) v[i] = (unsigned short)(65536 / i - 1);
  }
};
const ReciprocalTable s_tab;
} // namespace

// Hue in 384 steps, 64 a sextant.
void __LICE_RGB2HSV(int r, int g, int b, int* h, int* s, int* v)
{
  int delta, base, diff;
  if (b >= r && b >= g) // a tie with blue goes to blue
  {
    *v = b;
    delta = b - (r < g ? r : g);
    base = 256;
    diff = r - g;
  }
  else if (r >= g) // a tie between red and green goes to red
  {
    *v = r;
    if (g >= b)
    {
      delta = r - b;
      base = 0;
    }
    else
    {
      delta = r - g;
      base = 383;
    }
    diff = g - b;
  }
  else
  {
    *v = g;
    delta = g - (r < b ? r : b);
    base = 128;
    diff = b - r;
  }
  *h = diff * (s_tab.v[delta] + 1) / 1024 + base;
  *s = delta * s_tab.v[*v] / 256;
}

LICE_pixel __LICE_HSV2Pix(int h, int s, int v, int alpha)
{
  const int p = v * (256 - s) / 256;
  auto q = [&](int k) { return v * (16384 - k * s) / 16384; };
  if (h < 64) return LICE_RGBA(v, q(64 - h), p, alpha);
  if (h < 128) return LICE_RGBA(q(h - 64), v, p, alpha);
  if (h < 192) return LICE_RGBA(p, v, q(192 - h), alpha);
  if (h < 256) return LICE_RGBA(p, q(h - 192), v, alpha);
  if (h < 320) return LICE_RGBA(q(320 - h), p, v, alpha);
  return LICE_RGBA(v, p, q(h - 320), alpha);
}

void LICE_CombinePixels2(LICE_pixel* dest, int r, int g, int b, int a, int ia, int mode)
{
  if (ia <= 0) return;
  LICE_WithFunctor(mode, ia, [&](auto f) { decltype(f)::doPix((LICE_pixel_chan*)dest, r, g, b, a, ia); });
}

void LICE_CombinePixels2Clamp(LICE_pixel* dest, int r, int g, int b, int a, int ia, int mode)
{
  if (ia <= 0) return;
  LICE_pixel_chan* d = (LICE_pixel_chan*)dest;
  switch (mode & 0x100FF)
  {
  case LICE_BLIT_MODE_COPY:
    if (ia == 256)
      _LICE_CombinePixelsClobberClamp::doPix(d, r, g, b, a, ia);
    else
      _LICE_CombinePixelsCopyClamp::doPix(d, r, g, b, a, ia);
    break;
  case LICE_BLIT_MODE_MUL:
    _LICE_CombinePixelsMulClamp::doPix(d, r, g, b, a, ia);
    break;
  case LICE_BLIT_MODE_COPY | LICE_BLIT_USE_ALPHA:
    if (ia == 256)
      _LICE_CombinePixelsCopySourceAlphaIgnoreAlphaParmClamp::doPix(d, r, g, b, a, ia);
    else
      _LICE_CombinePixelsCopySourceAlphaClamp::doPix(d, r, g, b, a, ia);
    break;
  case LICE_BLIT_MODE_MUL | LICE_BLIT_USE_ALPHA:
    _LICE_CombinePixelsMulSourceAlphaClamp::doPix(d, r, g, b, a, ia);
    break;
  default:
    LICE_CombinePixels2(dest, r, g, b, a, ia, mode);
    break; // the others clamp already
  }
}

LICE_pixel LICE_CombinePixels(LICE_pixel dest, LICE_pixel src, float alpha, int mode)
{
  const int ia = (int)(alpha * 256.0);
  if (!ia) return dest;
  LICE_CombinePixels2(&dest, LICE_GETR(src), LICE_GETG(src), LICE_GETB(src), LICE_GETA(src), ia, mode);
  return dest;
}
