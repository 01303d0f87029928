#include "lice_text.h"

#include "lice_simd.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace
{
LICE_SysBitmap* s_tempbitmap = nullptr; // shared by all fonts, for rendering glyphs
int s_tempbitmap_refcnt = 0;
LICE_SysBitmap* s_nativebitmap = nullptr; // scratch of the native road

int CharSort(const void* a, const void* b)
{
  return ((const int*)a)[4] - ((const int*)b)[4]; // charid
}

int ColorOf(LICE_pixel p) { return RGB(LICE_GETR(p), LICE_GETG(p), LICE_GETB(p)); }
} // namespace

void LICE_AlignText(const RECT* r, int tw, int th, int flags, int* x, int* y)
{
  *x = r->left;
  *y = r->top;
  if (flags & DT_CENTER)
    *x = r->left + (r->right - r->left - tw) / 2; // "/" truncates
  else if (flags & DT_RIGHT)
    *x = r->right - tw;
  if (flags & DT_VCENTER)
    *y = r->top + (r->bottom - r->top - th) / 2;
  else if (flags & DT_BOTTOM)
    *y = r->bottom - th;
}

int utf8char(const char* str, unsigned short* c)
{
  const unsigned char* s = (const unsigned char*)str;
  const unsigned char lead = s[0];
  auto cont = [&](int i) { return s[i] >= 128 && s[i] <= 192; };
  if (lead >= 194 && lead <= 223 && cont(1))
  {
    if (c) *c = (unsigned short)(((lead & 0x1F) << 6) | (s[1] & 0x3F));
    return 2;
  }
  if (lead >= 224 && lead <= 239 && cont(1) && cont(2))
  {
    if (c) *c = (unsigned short)(((lead & 0x0F) << 12) | ((s[1] & 0x3F) << 6) | (s[2] & 0x3F));
    return 3;
  }
  if (lead >= 240 && lead <= 244 && cont(1) && cont(2) && cont(3))
  {
    if (c) *c = 32; // beyond 16 bits: a blank
    return 4;
  }
  if (c) *c = lead;
  return 1;
}

int utf8makechar(char* dest, unsigned short c)
{
  if (c < 128)
  {
    dest[0] = (char)c;
    return 1;
  }
  if (c < 2048)
  {
    dest[0] = (char)(0xC0 | (c >> 6));
    dest[1] = (char)(0x80 | (c & 0x3F));
    return 2;
  }
  dest[0] = (char)(0xE0 | (c >> 12));
  dest[1] = (char)(0x80 | ((c >> 6) & 0x3F));
  dest[2] = (char)(0x80 | (c & 0x3F));
  return 3;
}

LICE_CachedFont::LICE_CachedFont() : m_extracharlist(4096), m_cachestore(0x10000)
{
  memset(m_lowchars, 0, sizeof(m_lowchars));
  ++s_tempbitmap_refcnt;
}

LICE_CachedFont::~LICE_CachedFont()
{
  const LICE_GfxBackend* gfx = LICE_GetGfxBackend();
  if ((m_flags & LICE_FONT_FLAG_OWNS_HFONT) && m_font && gfx) gfx->DeleteObject(m_font);
  if (--s_tempbitmap_refcnt == 0)
  {
    delete s_tempbitmap;
    s_tempbitmap = nullptr;
    delete s_nativebitmap;
    s_nativebitmap = nullptr;
  }
}

void LICE_CachedFont::SetFromHFont(HFONT font, int flags)
{
  const LICE_GfxBackend* gfx = LICE_GetGfxBackend();
  if ((m_flags & LICE_FONT_FLAG_OWNS_HFONT) && m_font && m_font != font && gfx) gfx->DeleteObject(m_font);
  m_font = font;
  m_flags = flags;
  if (font && gfx)
  {
    if (!s_tempbitmap) s_tempbitmap = new LICE_SysBitmap(0, 0);
    if (s_tempbitmap->getWidth() < 256 || s_tempbitmap->getHeight() < 256)
      s_tempbitmap->resize(std::max(256, s_tempbitmap->getWidth()), std::max(256, s_tempbitmap->getHeight()));
    if (HDC dc = s_tempbitmap->getDC())
    {
      gfx->SetTextColor(dc, 0xFFFFFF);
      gfx->SetBkMode(dc, TRANSPARENT);
      gfx->SetBkColor(dc, 0);
      HGDIOBJ old = gfx->SelectObject(dc, font);
      TEXTMETRIC tm = {};
      gfx->GetTextMetrics(dc, &tm);
      m_line_height = tm.tmHeight;
      gfx->SelectObject(dc, old);
    }
  }
  memset(m_lowchars, 0, sizeof(m_lowchars));
  m_extracharlist.Resize(0, false);
  m_cachestore.Resize(0, false);
  if (flags & LICE_FONT_FLAG_PRECALCALL)
    for (int c = 0; c < 128; ++c) RenderGlyph((unsigned short)c);
}

LICE_pixel LICE_CachedFont::SetTextColor(LICE_pixel color)
{
  const LICE_pixel old = m_fg;
  m_fg = color;
  return old;
}

LICE_pixel LICE_CachedFont::SetBkColor(LICE_pixel color)
{
  const LICE_pixel old = m_bg;
  m_bg = color;
  return old;
}

LICE_pixel LICE_CachedFont::SetEffectColor(LICE_pixel color)
{
  const LICE_pixel old = m_effectcol;
  m_effectcol = color;
  return old;
}

int LICE_CachedFont::SetBkMode(int mode)
{
  const int old = m_bgmode;
  m_bgmode = mode;
  return old;
}

void LICE_CachedFont::SetCombineMode(int combine, float alpha)
{
  m_comb = combine;
  m_alpha = alpha;
}

LICE_CachedFont::charEnt* LICE_CachedFont::findChar(unsigned short c)
{
  if (c < 128) return m_lowchars + c;
  if (!m_extracharlist.GetSize()) return nullptr;
  charEnt key = {};
  key.charid = c;
  return (charEnt*)bsearch(&key, m_extracharlist.Get(), (size_t)m_extracharlist.GetSize(), sizeof(charEnt), CharSort);
}

bool LICE_CachedFont::RenderGlyph(unsigned short c)
{
  if (m_line_height >= 1024) return false;
  charEnt* ent = findChar(c);
  if ((m_flags & LICE_FONT_FLAG_PRECALCALL) && c >= 128 && !ent) return false;
  if (!ent)
  {
    charEnt fresh = {};
    fresh.charid = c;
    if (!m_extracharlist.Add(fresh)) return false;
    qsort(m_extracharlist.Get(), (size_t)m_extracharlist.GetSize(), sizeof(charEnt), CharSort);
    ent = findChar(c);
    if (!ent) return false;
  }
  ent->base_offset = -1; // blank or impossible unless rendered below
  ent->width = ent->height = ent->advance = ent->left_extra = 0;

  const LICE_GfxBackend* gfx = LICE_GetGfxBackend();
  HDC dc = s_tempbitmap ? s_tempbitmap->getDC() : nullptr;
  if (!gfx || !dc || !m_font) return false;
  ++m_renderCount;

  char buf[8];
  const int n = utf8makechar(buf, c);
  HGDIOBJ old = gfx->SelectObject(dc, m_font);
  RECT r = {0, 0, 0, 0};
  gfx->DrawText(dc, buf, n, &r, DT_CALCRECT | DT_SINGLELINE | DT_NOPREFIX);
  const int w = std::min(r.right, s_tempbitmap->getWidth()), h = std::min(r.bottom, s_tempbitmap->getHeight());
  if (w > 0 && h > 0)
  {
    // White on black: the red channel is the glyph's coverage.
    LICE_FillRect(s_tempbitmap, 0, 0, w, h, 0, 1.0f, LICE_BLIT_MODE_COPY);
    gfx->DrawText(dc, buf, n, &r, DT_SINGLELINE | DT_NOPREFIX | DT_NOCLIP);
  }
  gfx->SelectObject(dc, old);
  ent->advance = r.right > 0 ? r.right : 0;
  if (w <= 0 || h <= 0) return true;

  if (!m_cachestore.GetSize()) m_cachestore.Add(0); // offset 0 means "not rendered"
  const int base = m_cachestore.GetSize();
  unsigned char* store = m_cachestore.ResizeOK(base + w * h, false);
  if (!store) return false;
  bool any = false;
  const LICE_pixel* bits = s_tempbitmap->getBits();
  const int span = s_tempbitmap->getRowSpan();
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x)
    {
      const unsigned char v = (unsigned char)LICE_GETR(bits[y * span + x]);
      store[base + y * w + x] = v;
      any = any || v;
    }
  if (!any)
  {
    m_cachestore.Resize(base, false);
    return true;
  }
  ent->base_offset = base;
  ent->width = w;
  ent->height = h;
  return true;
}

void LICE_CachedFont::DrawGlyph(LICE_IBitmap* bm, unsigned short c, int xpos, int ypos, const RECT* clipR)
{
  charEnt* ent = findChar(c);
  if (!ent || ent->base_offset <= 0 || ent->base_offset + ent->width * ent->height > m_cachestore.GetSize()) return;
  LICE_pixel* bits = bm->getBits();
  if (!bits) return;
  const int span = bm->getRowSpan(), bh = bm->getHeight();
  const unsigned char* cov = m_cachestore.Get() + ent->base_offset;
  const int ia = (int)(m_alpha * 256.0);
  const int r = LICE_GETR(m_fg), g = LICE_GETG(m_fg), b = LICE_GETB(m_fg), a = LICE_GETA(m_fg);
  // The common case, a plain copy with no background, goes as one block.
  if ((m_comb & 0x100FF) == LICE_BLIT_MODE_COPY && m_bgmode != 1 && ia > 0 && ia <= 256)
  {
    const int left = xpos - ent->left_extra;
    const int x0 = std::max(0, clipR->left - left), x1 = std::min(ent->width, clipR->right - left);
    const int y0 = std::max(0, clipR->top - ypos), y1 = std::min(ent->height, clipR->bottom - ypos);
    if (x1 <= x0 || y1 <= y0) return;
    const int first = ypos + y0;
    LICE_pixel* row = bits + (long)(bm->isFlipped() ? bh - 1 - first : first) * span + left + x0;
    LICE_Kernels().coverage(row, bm->isFlipped() ? -span : span, cov + y0 * ent->width + x0, ent->width, x1 - x0,
                            y1 - y0, m_fg, ia);
    return;
  }
  for (int y = 0; y < ent->height; ++y)
  {
    const int py = ypos + y;
    if (py < clipR->top || py >= clipR->bottom) continue;
    LICE_pixel* row = bits + (long)(bm->isFlipped() ? bh - 1 - py : py) * span;
    for (int x = 0; x < ent->width; ++x)
    {
      const int px = xpos + x - ent->left_extra;
      if (px < clipR->left || px >= clipR->right) continue;
      if (m_bgmode == 1)
        LICE_CombinePixels2(row + px, LICE_GETR(m_bg), LICE_GETG(m_bg), LICE_GETB(m_bg), LICE_GETA(m_bg), ia, m_comb);
      const int v = cov[y * ent->width + x];
      if (v) LICE_CombinePixels2(row + px, r, g, b, a, ia * v / 255, m_comb);
    }
  }
}

int LICE_CachedFont::DrawText(LICE_IBitmap* bm, const char* str, int strcnt, RECT* rect, unsigned int dtFlags)
{
  return DrawTextImpl(bm, str, strcnt, rect, dtFlags);
}

int LICE_CachedFont::DrawTextNative(LICE_IBitmap* bm, const char* str, int strcnt, RECT* rect, unsigned int dtFlags)
{
  const LICE_GfxBackend* gfx = LICE_GetGfxBackend();
  HDC dc = bm ? bm->getDC() : nullptr;
  const int len = strcnt < 0 ? (int)strlen(str) : strcnt;
  if (dc)
  {
    HGDIOBJ old = gfx->SelectObject(dc, m_font);
    gfx->SetTextColor(dc, ColorOf(m_fg));
    gfx->SetBkMode(dc, m_bgmode == 1 ? OPAQUE : TRANSPARENT);
    if (m_bgmode == 1) gfx->SetBkColor(dc, ColorOf(m_bg));
    const int ret = gfx->DrawText(dc, str, len, rect, (int)dtFlags | DT_NOPREFIX);
    gfx->SelectObject(dc, old);
    return ret;
  }

  // No context of its own: measure and draw in a scratch bitmap, carrying
  // the pixels there and back.
  if (!s_nativebitmap) s_nativebitmap = new LICE_SysBitmap(4, 4);
  HDC sdc = s_nativebitmap->getDC();
  if (!sdc) return 0;
  HGDIOBJ old = gfx->SelectObject(sdc, m_font);
  RECT box = {0, 0, 0, 0};
  const int align = DT_VCENTER | DT_CENTER | DT_BOTTOM | DT_RIGHT;
  const int ret = gfx->DrawText(sdc, str, len, &box, ((int)dtFlags & ~align) | DT_CALCRECT | DT_NOPREFIX);
  if ((dtFlags & DT_CALCRECT) || !bm)
  {
    rect->right = rect->left + box.right;
    rect->bottom = rect->top + box.bottom;
    gfx->SelectObject(sdc, old);
    return ret;
  }
  const int tw = box.right, th = box.bottom;
  int x, y;
  LICE_AlignText(rect, tw, th, (int)dtFlags, &x, &y);
  RECT r = {x - (m_line_height / 16 + 2), y, x + tw, y + th}; // room for overhanging glyphs
  r.left = std::max(r.left, 0);
  r.top = std::max(r.top, 0);
  r.right = std::min(r.right, bm->getWidth());
  r.bottom = std::min(r.bottom, bm->getHeight());
  if (!(dtFlags & DT_NOCLIP))
  {
    r.left = std::max(r.left, rect->left);
    r.top = std::max(r.top, rect->top);
    r.right = std::min(r.right, rect->right);
    r.bottom = std::min(r.bottom, rect->bottom);
  }
  if (r.right <= r.left || r.bottom <= r.top)
  {
    gfx->SelectObject(sdc, old);
    return ret;
  }
  const int w = r.right - r.left, h = r.bottom - r.top;
  if (s_nativebitmap->getWidth() < w || s_nativebitmap->getHeight() < h)
  {
    gfx->SelectObject(sdc, old);
    s_nativebitmap->resize(std::max(w, s_nativebitmap->getWidth()), std::max(h, s_nativebitmap->getHeight()));
    sdc = s_nativebitmap->getDC();
    if (!sdc) return 0;
    old = gfx->SelectObject(sdc, m_font);
  }
  LICE_Blit(s_nativebitmap, bm, 0, 0, r.left, r.top, w, h, 1.0f, LICE_BLIT_MODE_COPY);
  gfx->SetTextColor(sdc, ColorOf(m_fg));
  gfx->SetBkMode(sdc, m_bgmode == 1 ? OPAQUE : TRANSPARENT);
  if (m_bgmode == 1) gfx->SetBkColor(sdc, ColorOf(m_bg));
  RECT at = {x - r.left, y - r.top, x - r.left + tw, y - r.top + th};
  gfx->DrawText(sdc, str, len, &at, ((int)dtFlags & ~align) | DT_NOPREFIX | DT_NOCLIP);
  LICE_Blit(bm, s_nativebitmap, r.left, r.top, 0, 0, w, h, m_alpha, LICE_BLIT_MODE_COPY);
  gfx->SelectObject(sdc, old);
  return ret;
}

template<class Glyph>
void LICE_CachedFont::WalkGlyphs(const char* str, int strcnt, unsigned int dtFlags, Glyph&& glyph)
{
  const bool vertical = m_flags & (LICE_FONT_FLAG_VERTICAL | LICE_FONT_FLAG_VERTICAL_BOTTOMUP);
  int x = 0, y = 0;
  const char* p = str;
  int left = strcnt;
  while (*p && left != 0)
  {
    unsigned short c;
    const int n = utf8char(p, &c);
    p += n;
    if (left > 0) left = left > n ? left - n : 0;
    if (c == '\r') continue;
    if (c == '\n' && !(dtFlags & DT_SINGLELINE))
    {
      // A new line: across for vertical text, down for the rest.
      (vertical ? x : y) += m_line_height + m_lineSpacing;
      (vertical ? y : x) = 0;
      continue;
    }
    if (c == '\n') c = ' ';
    charEnt* ent = findChar(c);
    if (!ent || ent->base_offset == 0)
    {
      const int before = m_extracharlist.GetSize();
      RenderGlyph(c);
      if (!ent || before != m_extracharlist.GetSize()) ent = findChar(c);
    }
    if (!ent || ent->base_offset == 0) continue;
    glyph(*ent, c, x, y);
    (vertical ? y : x) += ent->advance;
  }
}

int LICE_CachedFont::MeasureCached(const char* str, int strcnt, RECT* rect, unsigned int dtFlags)
{
  const bool vertical = m_flags & (LICE_FONT_FLAG_VERTICAL | LICE_FONT_FLAG_VERTICAL_BOTTOMUP);
  int right = 0, bottom = 0;
  WalkGlyphs(str, strcnt, dtFlags,
             [&](charEnt& e, unsigned short, int x, int y)
             {
               if (vertical)
               {
                 right = std::max(right, x + e.width);
                 bottom = std::max(bottom, y + e.advance);
               }
               else
               {
                 right = std::max(right, x + e.advance);
                 bottom = std::max(bottom, y + std::max(e.height, m_line_height));
               }
             });
  rect->right = rect->left + right;
  rect->bottom = rect->top + bottom;
  return vertical ? right : bottom;
}

int LICE_CachedFont::DrawCached(LICE_IBitmap* bm, const char* str, int strcnt, RECT* rect, unsigned int dtFlags,
                                bool needAlpha)
{
  if (m_alpha == 0.0f) return 0;
  const bool vertical = m_flags & (LICE_FONT_FLAG_VERTICAL | LICE_FONT_FLAG_VERTICAL_BOTTOMUP);
  const bool bottomUp = (m_flags & LICE_FONT_FLAG_VERTICAL) && (m_flags & LICE_FONT_FLAG_VERTICAL_BOTTOMUP);
  int xpos = rect->left, ypos = rect->top;
  const unsigned int align = DT_VCENTER | DT_CENTER | DT_BOTTOM | DT_RIGHT;
  if (dtFlags & align)
  {
    RECT m = {0, 0, 0, 0};
    DrawTextImpl(nullptr, str, strcnt, &m,
                 DT_CALCRECT | (dtFlags & DT_SINGLELINE) | (needAlpha ? LICE_DT_NEEDALPHA : 0));
    LICE_AlignText(rect, m.right, m.bottom, (int)dtFlags, &xpos, &ypos);
  }
  RECT clip = {0, 0, bm->getWidth(), bm->getHeight()};
  if (!(dtFlags & DT_NOCLIP))
  {
    clip.left = std::max(clip.left, rect->left);
    clip.top = std::max(clip.top, rect->top);
    clip.right = std::min(clip.right, rect->right);
    clip.bottom = std::min(clip.bottom, rect->bottom);
  }
  if (clip.right <= clip.left || clip.bottom <= clip.top) return 0;
  int extent = 0;
  WalkGlyphs(str, strcnt, dtFlags,
             [&](charEnt& e, unsigned short c, int x, int y)
             {
               if (e.base_offset > 0 && e.base_offset < m_cachestore.GetSize())
                 DrawGlyph(bm, c, xpos + x, bottomUp ? ypos - y - e.height : ypos + y, &clip);
               extent = vertical ? std::max(extent, x + e.width) : std::max(extent, y + e.height);
             });
  return extent;
}

int LICE_CachedFont::DrawTextImpl(LICE_IBitmap* bm, const char* str, int strcnt, RECT* rect, unsigned int dtFlags)
{
  if (!str || !rect) return 0;
  if (!bm && !(dtFlags & DT_CALCRECT)) return 0;
  const bool forceCached = (dtFlags & LICE_DT_NEEDALPHA) || (bm && bm->Extended(0x59555678, nullptr));
  const bool needAlpha = dtFlags & LICE_DT_NEEDALPHA;
  dtFlags &= ~LICE_DT_NEEDALPHA;

  if (!forceCached && LICE_GetGfxBackend() && m_font)
  {
    const bool native =
        ((m_flags & LICE_FONT_FLAG_FORCE_NATIVE) && !(dtFlags & LICE_DT_USEFGALPHA) &&
         !(m_flags & (LICE_FONT_FLAG_PRECALCALL | 0x1F3)) && (m_lineSpacing == 0 || (dtFlags & DT_SINGLELINE))) ||
        m_line_height >= 256;
    if (native) return DrawTextNative(bm, str, strcnt, rect, dtFlags);
  }
  if (dtFlags & DT_CALCRECT) return MeasureCached(str, strcnt, rect, dtFlags);
  // The foreground's alpha scales the whole text for this call only.
  const float savedAlpha = m_alpha;
  if (dtFlags & LICE_DT_USEFGALPHA) m_alpha *= LICE_GETA(m_fg) / 255.0f;
  const int extent = DrawCached(bm, str, strcnt, rect, dtFlags, needAlpha);
  m_alpha = savedAlpha;
  return extent;
}
