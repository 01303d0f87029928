#include "lice_freetype.h"

#include "lice.h"
#include "lice_memctx.h"
#include "lice_text.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <fontconfig/fontconfig.h>
#include <ft2build.h>
#include FT_FREETYPE_H
#include <string>
#include <strings.h>
#include <unordered_map>
#include <vector>

namespace
{
struct Glyph
{
  int left = 0, top = 0, w = 0, h = 0, advance = 0;
  std::vector<unsigned char> coverage;
};

struct Font
{
  FT_Face face = nullptr;
  FT_Int32 loadFlags = FT_LOAD_DEFAULT;
  int ascent = 0, descent = 0;
  std::unordered_map<unsigned, Glyph> glyphs;
};

Font* FontOf(HDC dc) { return (Font*)dc->font; }

FT_Library Library()
{
  static FT_Library library = []
  {
    FT_Library l = nullptr;
    return FT_Init_FreeType(&l) ? nullptr : l;
  }();
  return library;
}

// The file of the best match for a family; an unknown family is replaced by
// the monospace one, as the toolkit's text does.
bool Match(const char* family, int px, int weight, bool italic, std::string* file, int* index, FT_Int32* flags)
{
  if (!FcInit()) return false;
  FcPattern* pattern = FcPatternCreate();
  FcPatternAddString(pattern, FC_FAMILY, (const FcChar8*)family);
  FcPatternAddInteger(pattern, FC_WEIGHT, weight >= 600 ? FC_WEIGHT_BOLD : FC_WEIGHT_REGULAR);
  FcPatternAddInteger(pattern, FC_SLANT, italic ? FC_SLANT_ITALIC : FC_SLANT_ROMAN);
  FcPatternAddDouble(pattern, FC_PIXEL_SIZE, px);
  FcConfigSubstitute(nullptr, pattern, FcMatchPattern);
  FcDefaultSubstitute(pattern);
  FcResult result;
  FcPattern* match = FcFontMatch(nullptr, pattern, &result);
  FcPatternDestroy(pattern);
  if (!match) return false;
  FcChar8* found = nullptr;
  FcChar8* path = nullptr;
  bool ok = FcPatternGetString(match, FC_FILE, 0, &path) == FcResultMatch;
  if (ok && strcasecmp(family, "monospace") && FcPatternGetString(match, FC_FAMILY, 0, &found) == FcResultMatch &&
      strcasecmp((const char*)found, family))
  {
    FcPatternDestroy(match);
    return Match("monospace", px, weight, italic, file, index, flags);
  }
  if (ok)
  {
    file->assign((const char*)path);
    if (FcPatternGetInteger(match, FC_INDEX, 0, index) != FcResultMatch) *index = 0;
    // The desktop's hinting, as the toolkit's text follows it.
    FcBool hinting = FcTrue;
    int style = FC_HINT_SLIGHT;
    FcPatternGetBool(match, FC_HINTING, 0, &hinting);
    FcPatternGetInteger(match, FC_HINT_STYLE, 0, &style);
    if (!hinting || style == FC_HINT_NONE)
      *flags = FT_LOAD_NO_HINTING;
    else if (style == FC_HINT_SLIGHT)
      *flags = FT_LOAD_TARGET_LIGHT;
    else
      *flags = FT_LOAD_TARGET_NORMAL;
  }
  FcPatternDestroy(match);
  return ok;
}

HFONT CreateFontFn(int height, int weight, bool italic, const char* face)
{
  // A character height (negative) is close to the em size; a cell height
  // holds the internal leading too.
  const int px = height < 0 ? -height : height > 0 ? height * 4 / 5 : 12;
  std::string file;
  int index = 0;
  FT_Int32 flags = FT_LOAD_DEFAULT;
  if (!Library() || !Match(face && *face ? face : "monospace", px, weight, italic, &file, &index, &flags))
    return nullptr;
  Font* font = new Font;
  if (FT_New_Face(Library(), file.c_str(), index, &font->face) || FT_Set_Pixel_Sizes(font->face, 0, (FT_UInt)px))
  {
    if (font->face) FT_Done_Face(font->face);
    delete font;
    return nullptr;
  }
  font->loadFlags = flags;
  const FT_Size_Metrics& m = font->face->size->metrics;
  font->ascent = (int)((m.ascender + 63) >> 6);
  font->descent = (int)((-m.descender + 63) >> 6);
  return (HFONT)font;
}

void DeleteObjectFn(HGDIOBJ obj)
{
  Font* font = (Font*)obj;
  if (!font) return;
  FT_Done_Face(font->face);
  delete font;
}

const Glyph& GlyphOf(Font* font, unsigned c)
{
  auto found = font->glyphs.find(c);
  if (found != font->glyphs.end()) return found->second;
  Glyph& g = font->glyphs[c];
  FT_Face face = font->face;
  if (FT_Load_Char(face, c, font->loadFlags) || FT_Render_Glyph(face->glyph, FT_RENDER_MODE_NORMAL)) return g;
  const FT_Bitmap& bm = face->glyph->bitmap;
  g.advance = (int)((face->glyph->advance.x + 32) >> 6);
  g.left = face->glyph->bitmap_left;
  g.top = face->glyph->bitmap_top;
  if (bm.pixel_mode != FT_PIXEL_MODE_GRAY) return g;
  g.w = (int)bm.width;
  g.h = (int)bm.rows;
  g.coverage.resize((size_t)g.w * (size_t)g.h);
  for (int y = 0; y < g.h; ++y) memcpy(&g.coverage[(size_t)(y * g.w)], bm.buffer + (long)y * bm.pitch, (size_t)g.w);
  return g;
}

// Code points of the text, lines split at '\n' (blanks when single-line).
std::vector<std::vector<unsigned>> Lines(const char* buf, int len, int flags)
{
  std::vector<std::vector<unsigned>> lines(1);
  const char* end = buf + (len < 0 ? (int)strlen(buf) : len);
  for (const char* p = buf; p < end && *p;)
  {
    unsigned short c = 0;
    const int n = utf8char(p, &c);
    p += n > 0 ? n : 1;
    if (c == '\r') continue;
    if (c == '\n' && !(flags & DT_SINGLELINE))
      lines.emplace_back();
    else
      lines.back().push_back(c == '\n' ? ' ' : c);
  }
  return lines;
}

int LineWidth(Font* font, const std::vector<unsigned>& line)
{
  int w = 0;
  for (unsigned c : line) w += GlyphOf(font, c).advance;
  return w;
}

int Mix(int dst, int src, int cov) { return dst + ((src - dst) * cov + 127) / 255; }

int DrawTextFn(HDC dc, const char* buf, int len, RECT* r, int flags)
{
  HDC ctx = dc;
  if (!ctx || !buf || !r || !ctx->font) return 0;
  Font* font = FontOf(ctx);
  const std::vector<std::vector<unsigned>> lines = Lines(buf, len, flags);
  const int lineHeight = font->ascent + font->descent;
  int tw = 0;
  for (const auto& line : lines) tw = std::max(tw, LineWidth(font, line));
  const int th = lineHeight * (int)lines.size();
  int x, y;
  RECT box;
  if (!LICE_PlaceText(ctx, r, flags, tw, th, &x, &y, &box)) return th;
  if (box.right <= box.left || box.bottom <= box.top) return th;
  // Colours are Win32's 0x00BBGGRR; every pixel keeps its alpha byte.
  auto put = [&](int px, int py, int c, int cov)
  {
    if (px < box.left || px >= box.right || py < box.top || py >= box.bottom || cov <= 0) return;
    LICE_pixel& d = ctx->fb[(long)py * ctx->w + px];
    d = LICE_RGBA(Mix(LICE_GETR(d), c & 0xff, cov), Mix(LICE_GETG(d), (c >> 8) & 0xff, cov),
                  Mix(LICE_GETB(d), (c >> 16) & 0xff, cov), LICE_GETA(d));
  };
  if (ctx->bkMode == OPAQUE)
    for (int py = y; py < y + th; ++py)
      for (int px = x; px < x + tw; ++px) put(px, py, ctx->bkColor, 255);
  int baseline = y + font->ascent;
  for (const auto& line : lines)
  {
    int pen = x;
    for (unsigned c : line)
    {
      const Glyph& g = GlyphOf(font, c);
      for (int gy = 0; gy < g.h; ++gy)
        for (int gx = 0; gx < g.w; ++gx)
          put(pen + g.left + gx, baseline - g.top + gy, ctx->textColor, g.coverage[(size_t)(gy * g.w + gx)]);
      pen += g.advance;
    }
    baseline += lineHeight;
  }
  return th;
}

bool GetTextMetricsFn(HDC dc, TEXTMETRIC* tm)
{
  if (!dc || !tm || !dc->font) return false;
  Font* font = FontOf(dc);
  tm->tmAscent = font->ascent;
  tm->tmDescent = font->descent;
  tm->tmHeight = font->ascent + font->descent;
  tm->tmInternalLeading = 0;
  tm->tmAveCharWidth = GlyphOf(font, 'x').advance;
  return true;
}

const LICE_GfxBackend kBackend = {
    CreateFontFn,   LICE_CreateMemContext,    LICE_DeleteMemContext,  LICE_MemContextBits,   LICE_MemContextSelect,
    DeleteObjectFn, LICE_MemContextTextColor, LICE_MemContextBkColor, LICE_MemContextBkMode, GetTextMetricsFn,
    DrawTextFn,     LICE_MemContextPushClip,  LICE_MemContextPopClip, LICE_MemContextSetClip};
} // namespace

void LICE_InstallFreeTypeBackend() { LICE_SetGfxBackend(&kBackend); }
