// The GUI's typical raster work on a 920 x 400 surface, each operation beside
// the same one done by Cairo (pixman) in the same run: full-surface copy,
// alpha blit of one frame of a 60-frame knob strip, bilinear scaling, a burst
// of anti-aliased lines, and text. Reports megapixels a second and the ratio.

#include "lice.h"
#include "lice_text.h"
#include "swell-gdi.h"

#include <benchmark/benchmark.h>
#include <cairo.h>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <map>
#include <pango/pangocairo.h>
#include <string>

namespace
{
constexpr int kW = 920, kH = 400, kKnob = 48, kFrames = 60;
std::map<std::string, double> sMegapixels; // per second, by benchmark name

// Runs body for each iteration and reports pixels touched per second.
template<class Body>
void Measure(benchmark::State& state, const char* name, double pixelsPerIteration, Body&& body)
{
  const auto start = std::chrono::steady_clock::now();
  for (auto _ : state) body();
  const double secs = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  const double mps = pixelsPerIteration * (double)state.iterations() / secs / 1e6;
  state.counters["MP/s"] = mps;
  sMegapixels[name] = mps;
}

void Fill(LICE_IBitmap& bm)
{
  for (int y = 0; y < bm.getHeight(); ++y)
    for (int x = 0; x < bm.getWidth(); ++x)
      bm.getBits()[y * bm.getRowSpan() + x] = LICE_RGBA(x * 7, y * 3, (x ^ y) & 255, (x * y) & 255);
}

cairo_surface_t* CairoImage(int w, int h)
{
  cairo_surface_t* s = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, w, h);
  cairo_t* cr = cairo_create(s);
  cairo_pattern_t* g = cairo_pattern_create_linear(0, 0, w, h);
  cairo_pattern_add_color_stop_rgba(g, 0, 1, 0, 0, 0.2);
  cairo_pattern_add_color_stop_rgba(g, 1, 0, 0, 1, 1);
  cairo_set_source(cr, g);
  cairo_paint(cr);
  cairo_pattern_destroy(g);
  cairo_destroy(cr);
  return s;
}

struct Surfaces
{
  LICE_MemBitmap src{kW, kH}, dest{kW, kH}, strip{kKnob, kKnob*kFrames}, small{kW / 2, kH / 2};
  cairo_surface_t* csrc = CairoImage(kW, kH);
  cairo_surface_t* cdest = CairoImage(kW, kH);
  cairo_surface_t* cstrip = CairoImage(kKnob, kKnob* kFrames);
  cairo_surface_t* csmall = CairoImage(kW / 2, kH / 2);
  Surfaces()
  {
    Fill(src);
    Fill(strip);
    Fill(small);
    LICE_Clear(&dest, 0);
  }
  ~Surfaces()
  {
    for (cairo_surface_t* s : {csrc, cdest, cstrip, csmall}) cairo_surface_destroy(s);
  }
};
Surfaces& S()
{
  static Surfaces s;
  return s;
}

void BM_Lice_CopyBlit(benchmark::State& state)
{
  Measure(state, "copy/lice", kW * kH, [] { LICE_Blit(&S().dest, &S().src, 0, 0, nullptr, 1.0f, 0); });
}
void BM_Cairo_CopyBlit(benchmark::State& state)
{
  cairo_t* cr = cairo_create(S().cdest);
  cairo_set_operator(cr, CAIRO_OPERATOR_SOURCE);
  Measure(state, "copy/cairo", kW * kH,
          [&]
          {
            cairo_set_source_surface(cr, S().csrc, 0, 0);
            cairo_paint(cr);
            cairo_surface_flush(S().cdest);
          });
  cairo_destroy(cr);
}

void BM_Lice_KnobFrame(benchmark::State& state)
{
  int frame = 0;
  Measure(state, "knob/lice", kKnob * kKnob,
          [&]
          {
            LICE_Blit(&S().dest, &S().strip, 100, 100, 0, kKnob * (frame++ % kFrames), kKnob, kKnob, 1.0f,
                      LICE_BLIT_USE_ALPHA);
          });
}
void BM_Cairo_KnobFrame(benchmark::State& state)
{
  cairo_t* cr = cairo_create(S().cdest);
  int frame = 0;
  Measure(state, "knob/cairo", kKnob * kKnob,
          [&]
          {
            cairo_save(cr);
            cairo_rectangle(cr, 100, 100, kKnob, kKnob);
            cairo_clip(cr);
            cairo_set_source_surface(cr, S().cstrip, 100, 100 - kKnob * (frame++ % kFrames));
            cairo_paint(cr);
            cairo_restore(cr);
            cairo_surface_flush(S().cdest);
          });
  cairo_destroy(cr);
}

void BM_Lice_ScaleBilinear(benchmark::State& state)
{
  Measure(state, "scale/lice", kW * kH,
          []
          {
            LICE_ScaledBlit(&S().dest, &S().small, 0, 0, kW, kH, 0, 0, kW / 2, kH / 2, 1.0f - 1.0f / 512,
                            LICE_BLIT_FILTER_BILINEAR);
          });
}
void BM_Cairo_ScaleBilinear(benchmark::State& state)
{
  cairo_t* cr = cairo_create(S().cdest);
  Measure(state, "scale/cairo", kW * kH,
          [&]
          {
            cairo_save(cr);
            cairo_scale(cr, 2.0, 2.0);
            cairo_set_source_surface(cr, S().csmall, 0, 0);
            cairo_pattern_set_filter(cairo_get_source(cr), CAIRO_FILTER_BILINEAR);
            cairo_paint(cr);
            cairo_restore(cr);
            cairo_surface_flush(S().cdest);
          });
  cairo_destroy(cr);
}

// 100 lines across the panel, of about 500 pixels each.
void BM_Lice_Lines(benchmark::State& state)
{
  Measure(state, "lines/lice", 100 * 500,
          []
          {
            for (int i = 0; i < 100; ++i)
              LICE_Line(&S().dest, i * 9, 0, kW - 1 - i * 4, kH - 1, LICE_RGBA(255, 200, 0, 255), 1.0f, 0, true);
          });
}
void BM_Cairo_Lines(benchmark::State& state)
{
  cairo_t* cr = cairo_create(S().cdest);
  cairo_set_line_width(cr, 1.0);
  cairo_set_source_rgb(cr, 1, 0.8, 0);
  Measure(state, "lines/cairo", 100 * 500,
          [&]
          {
            for (int i = 0; i < 100; ++i)
            {
              cairo_move_to(cr, i * 9 + 0.5, 0.5);
              cairo_line_to(cr, kW - 1 - i * 4 + 0.5, kH - 0.5);
            }
            cairo_stroke(cr);
            cairo_surface_flush(S().cdest);
          });
  cairo_destroy(cr);
}

const char* kLabel = "Filter Cutoff 0.500";
constexpr int kTextPixels = 160 * 16; // the label's box

void BM_Lice_Text(benchmark::State& state)
{
  SWELL_InstallGfxBackend();
  LICE_CachedFont font;
  font.SetFromHFont(CreateFont(-12, 0, 0, 0, 400, 0, 0, 0, 0, 0, 0, 0, 0, "Monospace"), LICE_FONT_FLAG_OWNS_HFONT);
  font.SetTextColor(LICE_RGBA(255, 255, 255, 255));
  RECT r = {10, 10, 300, 40};
  Measure(state, "text/lice", kTextPixels, [&] { font.DrawText(&S().dest, kLabel, -1, &r, DT_SINGLELINE); });
}
void BM_Cairo_Text(benchmark::State& state)
{
  cairo_t* cr = cairo_create(S().cdest);
  PangoLayout* layout = pango_cairo_create_layout(cr);
  PangoFontDescription* desc = pango_font_description_from_string("Monospace 12px");
  pango_layout_set_font_description(layout, desc);
  pango_layout_set_text(layout, kLabel, -1);
  cairo_set_source_rgb(cr, 1, 1, 1);
  Measure(state, "text/cairo", kTextPixels,
          [&]
          {
            cairo_move_to(cr, 10, 10);
            pango_cairo_show_layout(cr, layout);
            cairo_surface_flush(S().cdest);
          });
  pango_font_description_free(desc);
  g_object_unref(layout);
  cairo_destroy(cr);
}
} // namespace

BENCHMARK(BM_Lice_CopyBlit);
BENCHMARK(BM_Cairo_CopyBlit);
BENCHMARK(BM_Lice_KnobFrame);
BENCHMARK(BM_Cairo_KnobFrame);
BENCHMARK(BM_Lice_ScaleBilinear);
BENCHMARK(BM_Cairo_ScaleBilinear);
BENCHMARK(BM_Lice_Lines);
BENCHMARK(BM_Cairo_Lines);
BENCHMARK(BM_Lice_Text);
BENCHMARK(BM_Cairo_Text);

int main(int argc, char** argv)
{
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  printf("\nraster library against Cairo, same run (ratio above 1: ours is faster)\n");
  for (const char* op : {"copy", "knob", "scale", "lines", "text"})
  {
    const double ours = sMegapixels[std::string(op) + "/lice"], theirs = sMegapixels[std::string(op) + "/cairo"];
    if (ours > 0 && theirs > 0)
      printf("  %-6s %9.1f MP/s vs %9.1f MP/s   ratio %.2f\n", op, ours, theirs, ours / theirs);
  }
  return 0;
}
