// Writes the seed corpora of the fuzz targets: small valid inputs of each
// kind, made by the code under test where it can write them.

#include "Base64.h"
#include "VELTRA.h"
#include "swell-ini.h"

#include <cstdio>
#include <fstream>
#include <memory>
#include <png.h>
#include <string>
#include <sys/stat.h>
#include <vector>

namespace
{
std::string sRoot;

void Put(const std::string& target, const std::string& name, const std::vector<unsigned char>& bytes)
{
  const std::string dir = sRoot + "/" + target;
  mkdir(dir.c_str(), 0755);
  std::ofstream(dir + "/" + name, std::ios::binary).write((const char*)bytes.data(), (std::streamsize)bytes.size());
}

std::vector<unsigned char> Read(const std::string& path)
{
  std::ifstream f(path, std::ios::binary);
  return std::vector<unsigned char>(std::istreambuf_iterator<char>(f), {});
}

std::vector<unsigned char> Png(int colorType)
{
  std::vector<unsigned char> out;
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
  png_infop info = png_create_info_struct(png);
  png_set_write_fn(
      png, &out,
      [](png_structp p, png_bytep d, png_size_t n)
      {
        auto* v = (std::vector<unsigned char>*)png_get_io_ptr(p);
        v->insert(v->end(), d, d + n);
      },
      nullptr);
  png_set_IHDR(png, info, 3, 2, 8, colorType, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
               PNG_FILTER_TYPE_DEFAULT);
  if (colorType == PNG_COLOR_TYPE_PALETTE)
  {
    png_color pal[2] = {{255, 0, 0}, {0, 0, 255}};
    png_set_PLTE(png, info, pal, 2);
    png_byte trns = 128;
    png_set_tRNS(png, info, &trns, 1, nullptr);
  }
  png_write_info(png, info);
  std::vector<unsigned char> row(3 * 4, colorType == PNG_COLOR_TYPE_PALETTE ? 1 : 0x55);
  png_write_row(png, row.data());
  png_write_row(png, row.data());
  png_write_end(png, info);
  png_destroy_write_struct(&png, &info);
  return out;
}
} // namespace

int main(int argc, char** argv)
{
  if (argc != 2) return 2;
  sRoot = argv[1];
  mkdir(sRoot.c_str(), 0755);

  std::unique_ptr<VELTRA> plug((VELTRA*)MakePlug(nullptr, nullptr));
  plug->RestorePreset(0);
  WDL_String fxp((sRoot + "/seed.fxp").c_str()), fxb((sRoot + "/seed.fxb").c_str());
  plug->SaveProgramAsFXP(&fxp);
  plug->SaveBankAsFXB(&fxb);
  std::vector<unsigned char> p = Read(fxp.Get()), b = Read(fxb.Get());
  p.insert(p.begin(), 0);
  b.insert(b.begin(), 1);
  Put("program", "fxp", p);
  Put("program", "fxb", b);

  ByteChunk params, bank;
  plug->SerializeParams(&params);
  plug->SerializePresets(&bank);
  std::vector<unsigned char> c1(params.GetBytes(), params.GetBytes() + params.Size());
  std::vector<unsigned char> c2(bank.GetBytes(), bank.GetBytes() + bank.Size());
  c1.insert(c1.begin(), 0);
  c2.insert(c2.begin(), 1);
  Put("chunk", "params", c1);
  Put("chunk", "presets", c2);

  Put("png", "rgb", Png(PNG_COLOR_TYPE_RGB));
  Put("png", "rgba", Png(PNG_COLOR_TYPE_RGB_ALPHA));
  Put("png", "palette", Png(PNG_COLOR_TYPE_PALETTE));

  const std::string ini = "[audio]\ndriver=0\nindev=Built-in Input\nsr=44100\n[midi]\ninchan=0\ns=12FF11\n";
  Put("ini", "settings", std::vector<unsigned char>(ini.begin(), ini.end()));

  Put("midi", "notes", {0, 3, 0x90, 60, 100, 0xFF, 3, 0x80, 60, 0, 2, 0xC0, 5, 3, 0xE0, 0, 64, 0xFF, 1, 0xF8});
  Put("midi", "pedal",
      {0,  3,    0xB0, 64,   127, 3, 0x90, 60,   100, 3, 0x80, 60,   0,   3, 0xE0, 0, 20,   3,  0x90, 60,
       90, 0xFF, 3,    0xB0, 64,  0, 3,    0xB0, 123, 0, 3,    0xB0, 120, 0, 0xFF, 3, 0xB0, 74, 10});

  const std::string map = "[controllers]\nCC 74 = Filter Cutoff\nCC 1 = lfo depth\n[options]\npick up = off\n"
                          "wheel range = 2\n";
  Put("controllers", "map", std::vector<unsigned char>(map.begin(), map.end()));

  const std::vector<unsigned char> smf = {'M',  'T', 'h',  'd', 0,   0,    0,    6,  0, 0,    0,    1,    1, 0xE0,
                                          'M',  'T', 'r',  'k', 0,   0,    0,    20, 0, 0xFF, 0x51, 3,    7, 0xA1,
                                          0x20, 0,   0x90, 60,  100, 0x83, 0x60, 60, 0, 0,    0xFF, 0x2F, 0};
  Put("smf", "note", smf);

  const std::string b64 = std::string(1, (char)40) + "QUJDRA==";
  Put("base64", "text", std::vector<unsigned char>(b64.begin(), b64.end()));
  remove(fxp.Get());
  remove(fxb.Get());
  return 0;
}
