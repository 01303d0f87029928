#include "lice.h"

#include "TempDir.h"
#include <cstdio>
#include <cstdlib>
#include <fstream>

#include <gtest/gtest.h>
#include <png.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace
{
// Writes a PNG with libpng: rows of raw samples in the given format, two
// pixels wide unless said otherwise.
std::string WritePng(const std::string& path, int colorType, int bitDepth,
                     const std::vector<std::vector<uint8_t>>& rows, const std::vector<png_color>& palette = {},
                     const std::vector<uint8_t>& trns = {}, int width = 2)
{
  FILE* fp = fopen(path.c_str(), "wb");
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
  png_infop info = png_create_info_struct(png);
  png_init_io(png, fp);
  png_set_IHDR(png, info, width, (int)rows.size(), bitDepth, colorType, PNG_INTERLACE_NONE,
               PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  if (!palette.empty()) png_set_PLTE(png, info, palette.data(), (int)palette.size());
  if (!trns.empty()) png_set_tRNS(png, info, trns.data(), (int)trns.size(), nullptr);
  png_write_info(png, info);
  for (const auto& row : rows) png_write_row(png, row.data());
  png_write_end(png, info);
  png_destroy_write_struct(&png, &info);
  fclose(fp);
  return path;
}

class Png : public ::testing::Test
{
protected:
  TempDir mTemp;
  const std::string mDir = mTemp.Path();
};
} // namespace

TEST_F(Png, EveryFormatComesOutAsAlphaRedGreenBlue)
{
  const std::string grey = WritePng(mDir + "/g.png", PNG_COLOR_TYPE_GRAY, 1, {{0x80}, {0x40}});
  const std::string pal =
      WritePng(mDir + "/p.png", PNG_COLOR_TYPE_PALETTE, 8, {{0, 1}, {1, 0}}, {{255, 0, 0}, {0, 0, 255}}, {128});
  const std::string rgba16 =
      WritePng(mDir + "/r16.png", PNG_COLOR_TYPE_RGB_ALPHA, 16,
               {{0xFF, 0xFF, 0, 0, 0x12, 0x34, 0x80, 0x00, 0, 0, 0, 0, 0, 0, 0, 0}, std::vector<uint8_t>(16, 0xFF)});
  const std::string rgb =
      WritePng(mDir + "/rgb.png", PNG_COLOR_TYPE_RGB, 8, {{10, 20, 30, 40, 50, 60}, {1, 2, 3, 4, 5, 6}});

  LICE_IBitmap* g = LICE_LoadPNG(grey.c_str());
  ASSERT_NE(g, nullptr);
  EXPECT_EQ(g->getRowSpan(), 4) << "a new bitmap rounds rows up to 4 pixels";
  EXPECT_EQ(LICE_GetPixel(g, 0, 0), LICE_RGBA(255, 255, 255, 255));
  EXPECT_EQ(LICE_GetPixel(g, 1, 0), LICE_RGBA(0, 0, 0, 255));
  EXPECT_EQ(LICE_GetPixel(g, 0, 1), LICE_RGBA(0, 0, 0, 255));
  delete g;

  LICE_MemBitmap mine(1, 1);
  ASSERT_EQ(LICE_LoadPNG(pal.c_str(), &mine), &mine) << "the caller's bitmap is resized and returned";
  EXPECT_EQ(mine.getWidth(), 2);
  EXPECT_EQ(LICE_GetPixel(&mine, 0, 0), LICE_RGBA(255, 0, 0, 128)) << "tRNS became alpha";
  EXPECT_EQ(LICE_GetPixel(&mine, 1, 0), LICE_RGBA(0, 0, 255, 255));

  LICE_IBitmap* r16 = LICE_LoadPNG(rgba16.c_str());
  ASSERT_NE(r16, nullptr);
  EXPECT_EQ(LICE_GetPixel(r16, 0, 0), LICE_RGBA(255, 0, 0x12, 0x80));
  EXPECT_EQ(LICE_GetPixel(r16, 1, 0), LICE_RGBA(0, 0, 0, 0));
  delete r16;

  const std::string bytes = ReadWholeFile(rgb);
  LICE_IBitmap* fromMemory = LICE_LoadPNGFromMemory(bytes.data(), (int)bytes.size());
  ASSERT_NE(fromMemory, nullptr);
  EXPECT_EQ(LICE_GetPixel(fromMemory, 1, 0), LICE_RGBA(40, 50, 60, 255)) << "opaque RGB gets alpha 255";
  delete fromMemory;

  // Cut before the image data is complete (the closing chunk is never read).
  for (size_t n : {(size_t)0, (size_t)7, (size_t)8, (size_t)40, bytes.size() / 2})
    EXPECT_EQ(LICE_LoadPNGFromMemory(bytes.data(), (int)n), nullptr) << "cut at " << n;
  std::ofstream(mDir + "/cut.png", std::ios::binary).write(bytes.data(), (std::streamsize)bytes.size() / 2);
  EXPECT_EQ(LICE_LoadPNG((mDir + "/cut.png").c_str()), nullptr);

  const std::string wide =
      WritePng(mDir + "/wide.png", PNG_COLOR_TYPE_GRAY, 8, {std::vector<uint8_t>(20000, 9)}, {}, {}, 20000);
  EXPECT_EQ(LICE_LoadPNG(wide.c_str()), nullptr) << "beyond 16384 pixels a side is refused";
}

TEST_F(Png, NamesLoaderAndResources)
{
  WritePng(mDir + "/a.PNG", PNG_COLOR_TYPE_RGB, 8, {{1, 2, 3, 4, 5, 6}, {1, 2, 3, 4, 5, 6}});
  rename((mDir + "/a.PNG").c_str(), (mDir + "/a.png.txt").c_str());
  WritePng(mDir + "/a.PNG", PNG_COLOR_TYPE_RGB, 8, {{1, 2, 3, 4, 5, 6}, {1, 2, 3, 4, 5, 6}});
  ASSERT_NE(LICE_ImageLoader_list, nullptr);
  EXPECT_STREQ(LICE_ImageLoader_list->get_extlist(), "PNG files (*.PNG)");
  LICE_IBitmap* ok = LICE_ImageLoader_list->loadfunc((mDir + "/a.PNG").c_str(), true, nullptr);
  EXPECT_NE(ok, nullptr);
  delete ok;
  EXPECT_EQ(LICE_ImageLoader_list->loadfunc((mDir + "/a.png.txt").c_str(), true, nullptr), nullptr);

  LICE_SetResourceRoot(mDir.c_str());
  std::string name400(396, 'n');
  name400 += ".png";
  WritePng(mDir + "/" + name400.substr(0, 250), PNG_COLOR_TYPE_RGB, 8, {{1, 2, 3, 4, 5, 6}, {1, 2, 3, 4, 5, 6}});
  // A 400-character name is tried (and, naming no file, fails to open); one
  // of 401 is refused before any look-up.
  EXPECT_EQ(LICE_LoadPNGFromNamedResource(name400.c_str()), nullptr);
  LICE_IBitmap* named = LICE_LoadPNGFromNamedResource("a.PNG");
  EXPECT_NE(named, nullptr);
  delete named;
  // A FIFO in an image's place is no image: neither a load nor a decode
  // ahead waits on it.
  ASSERT_EQ(mkfifo((mDir + "/fifo.png").c_str(), 0600), 0);
  const char* ahead[] = {"fifo.png", "a.PNG"};
  LICE_DecodeNamedPNGsAhead(ahead, 2);
  EXPECT_EQ(LICE_LoadPNGFromNamedResource("fifo.png"), nullptr);
  named = LICE_LoadPNGFromNamedResource("a.PNG");
  EXPECT_NE(named, nullptr);
  delete named;
  LICE_SetResourceRoot("");
  EXPECT_EQ(LICE_LoadPNGFromNamedResource("a.PNG"), nullptr) << "no root, no named resources";
}
