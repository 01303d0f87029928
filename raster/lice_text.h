#pragma once
// Text in bitmaps: a font draws from a cache of 8-bit glyph coverage images
// rendered once through the window layer's text drawing, or, for fonts that
// ask for it, through that text drawing directly (the native road).

#include "heapbuf.h"
#include "lice.h"

// Font flags.
#define LICE_FONT_FLAG_VERTICAL 1
#define LICE_FONT_FLAG_VERTICAL_BOTTOMUP 2
#define LICE_FONT_FLAG_PRECALCALL 4
#define LICE_FONT_FLAG_FX_MONO 64
#define LICE_FONT_FLAG_FX_SHADOW 128
#define LICE_FONT_FLAG_FX_OUTLINE 256
#define LICE_FONT_FLAG_OWNS_HFONT 0x200
#define LICE_FONT_FLAG_FORCE_NATIVE 0x400

// DrawText flags beyond the DT_ ones.
#define LICE_DT_USEFGALPHA 0x40000000
#define LICE_DT_NEEDALPHA 0x80000000

class LICE_IFont
{
public:
  virtual ~LICE_IFont() {}
  virtual void SetFromHFont(HFONT font, int flags = 0) = 0;
  virtual LICE_pixel SetTextColor(LICE_pixel color) = 0;
  virtual LICE_pixel SetBkColor(LICE_pixel color) = 0;
  virtual LICE_pixel SetEffectColor(LICE_pixel color) = 0;
  virtual int SetBkMode(int mode) = 0; // 1: the background colour is drawn behind the text
  virtual void SetCombineMode(int combine, float alpha = 1.0f) = 0;
  virtual int DrawText(LICE_IBitmap* bm, const char* str, int strcnt, RECT* rect, unsigned int dtFlags) = 0;
  virtual LICE_pixel GetTextColor() = 0;
  virtual HFONT GetHFont() = 0;
  virtual int GetLineHeight() = 0;
  virtual void SetLineSpacing(int spacing) = 0;
};

// UTF-8: one character decoded (codes are 16 bits; 4-byte characters read
// as a blank); a null c only measures. And one written, in 1 to 3 bytes.
int utf8char(const char* str, unsigned short* c);
int utf8makechar(char* dest, unsigned short c);

class LICE_CachedFont : public LICE_IFont
{
public:
  LICE_CachedFont();
  ~LICE_CachedFont() override;
  LICE_CachedFont(const LICE_CachedFont&) = delete;
  LICE_CachedFont& operator=(const LICE_CachedFont&) = delete;

  void SetFromHFont(HFONT font, int flags = 0) override;
  LICE_pixel SetTextColor(LICE_pixel color) override;
  LICE_pixel SetBkColor(LICE_pixel color) override;
  LICE_pixel SetEffectColor(LICE_pixel color) override;
  int SetBkMode(int mode) override;
  void SetCombineMode(int combine, float alpha = 1.0f) override;
  int DrawText(LICE_IBitmap* bm, const char* str, int strcnt, RECT* rect, unsigned int dtFlags) override;
  LICE_pixel GetTextColor() override { return m_fg; }
  HFONT GetHFont() override { return m_font; }
  int GetLineHeight() override { return m_line_height; }
  void SetLineSpacing(int spacing) override { m_lineSpacing = spacing; }

  // How many glyphs have been rendered into the cache so far.
  int GetRenderCount() const { return m_renderCount; }

protected:
  struct charEnt
  {
    int base_offset; // in m_cachestore; 0: not rendered yet; -1: blank or impossible
    int width, height, advance, charid, left_extra;
  };

  virtual void DrawGlyph(LICE_IBitmap* bm, unsigned short c, int xpos, int ypos, const RECT* clipR);
  bool RenderGlyph(unsigned short c);
  charEnt* findChar(unsigned short c);
  int DrawTextImpl(LICE_IBitmap* bm, const char* str, int strcnt, RECT* rect, unsigned int dtFlags);
  // The glyph cache's own text: each glyph of str with its position before
  // it (glyph(entry, c, x, y)), moving on by its advance; the measure; and
  // the drawing, aligned and clipped as the flags say.
  template<class Glyph>
  void WalkGlyphs(const char* str, int strcnt, unsigned int dtFlags, Glyph&& glyph);
  int MeasureCached(const char* str, int strcnt, RECT* rect, unsigned int dtFlags);
  int DrawCached(LICE_IBitmap* bm, const char* str, int strcnt, RECT* rect, unsigned int dtFlags, bool needAlpha);
  int DrawTextNative(LICE_IBitmap* bm, const char* str, int strcnt, RECT* rect, unsigned int dtFlags);

  LICE_pixel m_fg = 0;
  LICE_pixel m_bg = 0xffffffff;
  LICE_pixel m_effectcol = 0xffffffff;
  int m_bgmode = 0;
  int m_comb = 0;
  float m_alpha = 1.0f;
  int m_flags = 0;
  int m_line_height = 0;
  int m_lineSpacing = 0;
  charEnt m_lowchars[128];
  WDL_TypedBuf<charEnt> m_extracharlist;
  WDL_TypedBuf<unsigned char> m_cachestore;
  HFONT m_font = nullptr;
  int m_renderCount = 0;
};
