#pragma once
// Writes a raster bitmap as an 8-bit RGBA PNG file with libpng, so that
// tests can hand real image files to the loaders.

#include "lice.h"

#include <cstdio>
#include <png.h>
#include <string>
#include <vector>

inline bool WritePngFile(const std::string& path, LICE_IBitmap* bm)
{
  FILE* fp = fopen(path.c_str(), "wb");
  if (!fp) return false;
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
  png_infop info = png_create_info_struct(png);
  png_init_io(png, fp);
  png_set_IHDR(png, info, bm->getWidth(), bm->getHeight(), 8, PNG_COLOR_TYPE_RGB_ALPHA, PNG_INTERLACE_NONE,
               PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  png_write_info(png, info);
  std::vector<png_byte> row((size_t)bm->getWidth() * 4);
  for (int y = 0; y < bm->getHeight(); ++y)
  {
    for (int x = 0; x < bm->getWidth(); ++x)
    {
      const LICE_pixel p = LICE_GetPixel(bm, x, y);
      row[x * 4 + 0] = (png_byte)LICE_GETR(p);
      row[x * 4 + 1] = (png_byte)LICE_GETG(p);
      row[x * 4 + 2] = (png_byte)LICE_GETB(p);
      row[x * 4 + 3] = (png_byte)LICE_GETA(p);
    }
    png_write_row(png, row.data());
  }
  png_write_end(png, info);
  png_destroy_write_struct(&png, &info);
  return fclose(fp) == 0;
}
