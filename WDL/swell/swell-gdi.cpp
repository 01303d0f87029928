#include "swell-gdi.h"

#include "lice.h"
#include "lice_memctx.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <pango/pangocairo.h>
#include <string>
#include <strings.h>
#include <vector>

struct HGDIOBJ__
{
  PangoFontDescription* desc;
  std::string family;
  unsigned long serial; // never reused, unlike the address
};

namespace
{
PangoFontMap* FontMap() { return pango_cairo_font_map_get_default(); }

bool FamilyExists(const char* face)
{
  PangoFontFamily** families = nullptr;
  int n = 0;
  pango_font_map_list_families(FontMap(), &families, &n);
  bool found = false;
  for (int i = 0; i < n && !found; ++i) found = !strcasecmp(pango_font_family_get_name(families[i]), face);
  g_free(families);
  return found;
}

// Laying text out is most of what drawing it costs, and a panel draws the
// same few texts in the same fonts frame after frame: the layouts last used
// are kept, by font and text.
struct CachedLayout
{
  unsigned long font;
  std::string text;
  PangoLayout* layout;
  unsigned long used;
};
constexpr size_t kCachedLayouts = 32;
// Never destroyed: fonts held by static caches elsewhere are deleted at exit,
// in an order this file does not choose.
std::vector<CachedLayout>& Layouts()
{
  static std::vector<CachedLayout>* layouts = new std::vector<CachedLayout>;
  return *layouts;
}
unsigned long sLayoutClock = 0;
unsigned long sFontSerial = 0;

// Layouts are made for an RGB24 image surface, as every surface drawn on.
cairo_t* LayoutContext()
{
  static cairo_t* cr = []
  {
    cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_RGB24, 1, 1);
    cairo_t* c = cairo_create(surface);
    cairo_surface_destroy(surface);
    return c;
  }();
  return cr;
}

// The layout of a text in the context's font, owned by the cache.
PangoLayout* LayoutFor(HDC ctx, const char* buf, int len, int flags)
{
  std::string text(buf, len < 0 ? strlen(buf) : (size_t)len);
  if (flags & DT_SINGLELINE) std::replace(text.begin(), text.end(), '\n', ' ');
  text.erase(std::remove(text.begin(), text.end(), '\r'), text.end());
  if (!g_utf8_validate(text.c_str(), (gssize)text.size(), nullptr))
    for (char& c : text) // bytes of a broken text show as blanks, not as nothing
      if ((unsigned char)c >= 0x80) c = ' ';
  const unsigned long font = ctx->font ? ctx->font->serial : 0;
  std::vector<CachedLayout>& layouts = Layouts();
  for (CachedLayout& e : layouts)
    if (e.font == font && e.text == text)
    {
      e.used = ++sLayoutClock;
      return e.layout;
    }
  PangoLayout* layout = pango_cairo_create_layout(LayoutContext());
  if (ctx->font) pango_layout_set_font_description(layout, ctx->font->desc);
  pango_layout_set_text(layout, text.c_str(), (int)text.size());
  if (layouts.size() >= kCachedLayouts)
  {
    auto oldest = std::min_element(layouts.begin(), layouts.end(),
                                   [](const CachedLayout& a, const CachedLayout& b) { return a.used < b.used; });
    g_object_unref(oldest->layout);
    layouts.erase(oldest);
  }
  layouts.push_back({font, std::move(text), layout, ++sLayoutClock});
  return layout;
}

// The scratch surface that text is drawn on, grown as needed.
cairo_surface_t* Scratch(int w, int h)
{
  static cairo_surface_t* surface = nullptr;
  if (!surface || cairo_image_surface_get_width(surface) < w || cairo_image_surface_get_height(surface) < h)
  {
    const int sw = surface ? std::max(w, cairo_image_surface_get_width(surface)) : w;
    const int sh = surface ? std::max(h, cairo_image_surface_get_height(surface)) : h;
    if (surface) cairo_surface_destroy(surface);
    surface = cairo_image_surface_create(CAIRO_FORMAT_RGB24, sw, sh);
  }
  return surface;
}
} // namespace

HFONT CreateFont(int height, int, int, int, int weight, char italic, char, char, char, char, char, char, char,
                 const char* face)
{
  HGDIOBJ__* f = new HGDIOBJ__;
  f->serial = ++sFontSerial;
  f->family = face && *face && FamilyExists(face) ? face : "Monospace";
  f->desc = pango_font_description_new();
  pango_font_description_set_family(f->desc, f->family.c_str());
  // A character height (negative) is close to the em size; a cell height
  // holds the internal leading too.
  const int px = height < 0 ? -height : height > 0 ? height * 4 / 5 : 12;
  pango_font_description_set_absolute_size(f->desc, px * PANGO_SCALE);
  if (weight > 0) pango_font_description_set_weight(f->desc, (PangoWeight)std::min(1000, std::max(100, weight)));
  if (italic) pango_font_description_set_style(f->desc, PANGO_STYLE_ITALIC);
  return f;
}

const char* SWELL_ResolvedFontFamily(HFONT font) { return font ? font->family.c_str() : ""; }

void DeleteObject(HGDIOBJ obj)
{
  if (!obj) return;
  std::vector<CachedLayout>& layouts = Layouts();
  for (size_t i = layouts.size(); i-- > 0;)
    if (layouts[i].font == obj->serial)
    {
      g_object_unref(layouts[i].layout);
      layouts.erase(layouts.begin() + (long)i);
    }
  pango_font_description_free(obj->desc);
  delete obj;
}

bool GetTextMetrics(HDC ctx, TEXTMETRIC* tm)
{
  if (!ctx || !tm) return false;
  PangoContext* pc = pango_font_map_create_context(FontMap());
  PangoFontDescription* desc = ctx->font ? ctx->font->desc : pango_font_description_from_string("Monospace 12px");
  PangoFontMetrics* m = pango_context_get_metrics(pc, desc, nullptr);
  tm->tmAscent = PANGO_PIXELS_CEIL(pango_font_metrics_get_ascent(m));
  tm->tmDescent = PANGO_PIXELS_CEIL(pango_font_metrics_get_descent(m));
  tm->tmHeight = tm->tmAscent + tm->tmDescent;
  tm->tmInternalLeading = 0;
  tm->tmAveCharWidth = PANGO_PIXELS(pango_font_metrics_get_approximate_char_width(m));
  pango_font_metrics_unref(m);
  if (!ctx->font) pango_font_description_free(desc);
  g_object_unref(pc);
  return true;
}

int SWELL_DrawText(HDC ctx, const char* buf, int len, RECT* r, int flags)
{
  if (!ctx || !buf || !r) return 0;
  // Measured first; drawn on a scratch surface, of which only the pixels
  // the text may touch are used.
  PangoLayout* layout = LayoutFor(ctx, buf, len, flags);
  PangoRectangle ink, logical;
  pango_layout_get_pixel_extents(layout, &ink, &logical);
  const int tw = logical.width, th = logical.height;

  int x, y;
  RECT box;
  if (!LICE_PlaceText(ctx, r, flags, tw, th, &x, &y, &box)) return th;
  // Only where the ink may fall.
  box.left = std::max(box.left, x + std::min(0, ink.x));
  box.top = std::max(box.top, y + std::min(0, ink.y));
  box.right = std::min(box.right, x + std::max(tw, ink.x + ink.width));
  box.bottom = std::min(box.bottom, y + std::max(th, ink.y + ink.height));
  const int sw = box.right - box.left, sh = box.bottom - box.top;
  if (sw < 1 || sh < 1) return th;

  cairo_surface_t* surface = Scratch(sw, sh);
  cairo_surface_flush(surface);
  unsigned char* data = cairo_image_surface_get_data(surface);
  const int stride = cairo_image_surface_get_stride(surface);
  // Frame buffer to surface: colours only, as on a screen.
  for (int row = 0; row < sh; ++row)
  {
    const LICE_pixel* src = ctx->fb + (long)(box.top + row) * ctx->w + box.left;
    uint32_t* dst = (uint32_t*)(data + (long)row * stride);
    for (int i = 0; i < sw; ++i) dst[i] = (LICE_GETR(src[i]) << 16) | (LICE_GETG(src[i]) << 8) | LICE_GETB(src[i]);
  }
  cairo_surface_mark_dirty(surface);
  cairo_t* cr = cairo_create(surface);
  cairo_rectangle(cr, 0, 0, sw, sh);
  cairo_clip(cr);
  cairo_translate(cr, -box.left, -box.top);
  if (ctx->bkMode == OPAQUE)
  {
    const int c = ctx->bkColor;
    cairo_set_source_rgb(cr, (c & 0xff) / 255.0, ((c >> 8) & 0xff) / 255.0, ((c >> 16) & 0xff) / 255.0);
    cairo_rectangle(cr, x, y, tw, th);
    cairo_fill(cr);
  }
  const int c = ctx->textColor;
  cairo_set_source_rgb(cr, (c & 0xff) / 255.0, ((c >> 8) & 0xff) / 255.0, ((c >> 16) & 0xff) / 255.0);
  cairo_move_to(cr, x, y);
  pango_cairo_show_layout(cr, layout);
  cairo_surface_flush(surface);

  // Back again, keeping each pixel's alpha byte.
  for (int row = 0; row < sh; ++row)
  {
    LICE_pixel* dst = ctx->fb + (long)(box.top + row) * ctx->w + box.left;
    const uint32_t* src = (const uint32_t*)(data + (long)row * stride);
    for (int i = 0; i < sw; ++i)
      dst[i] = LICE_RGBA((src[i] >> 16) & 0xff, (src[i] >> 8) & 0xff, src[i] & 0xff, LICE_GETA(dst[i]));
  }
  cairo_destroy(cr);
  return th;
}

namespace
{
HFONT CreateFontFn(int height, int weight, bool italic, const char* face)
{
  return CreateFont(height, 0, 0, 0, weight, italic, 0, 0, 0, 0, 0, 0, 0, face);
}

const LICE_GfxBackend kBackend = {
    CreateFontFn,   LICE_CreateMemContext,    LICE_DeleteMemContext,  LICE_MemContextBits,   LICE_MemContextSelect,
    DeleteObject,   LICE_MemContextTextColor, LICE_MemContextBkColor, LICE_MemContextBkMode, GetTextMetrics,
    SWELL_DrawText, LICE_MemContextPushClip,  LICE_MemContextPopClip, LICE_MemContextSetClip};
} // namespace

void SWELL_InstallGfxBackend() { LICE_SetGfxBackend(&kBackend); }
