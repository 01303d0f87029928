// PNG decoding with libpng straight into a bitmap's rows, as alpha, red,
// green, blue bytes, so that no pass over the pixels follows.

#include "lice.h"

#include "regularfile.h"

#include <climits>
#include <condition_variable>
#include <csetjmp>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <mutex>
#include <new>
#include <png.h>
#include <string>
#include <strings.h>
#include <thread>
#include <utility>
#include <vector>

namespace
{
constexpr uint64_t kMaxPixels = 1u << 24; // 64 MiB of pixels

struct MemReader
{
  const unsigned char* data;
  size_t left;
};

void ReadFromMemory(png_structp png, png_bytep out, png_size_t length)
{
  MemReader* r = (MemReader*)png_get_io_ptr(png);
  memset(out, 0, length);
  const size_t n = length < r->left ? length : r->left;
  memcpy(out, r->data, n);
  r->data += n;
  r->left -= n;
}

// Runs the decoding steps on a reader already set up by setupIO; null on
// any failure, with everything made on the way released.
template<class SetupIO>
LICE_IBitmap* Decode(LICE_IBitmap* given, SetupIO&& setupIO)
{
  LICE_IBitmap* volatile bmp = given;
  png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
  if (!png) return nullptr;
  png_infop info = png_create_info_struct(png);
  if (!info)
  {
    png_destroy_read_struct(&png, nullptr, nullptr);
    return nullptr;
  }
  // Kept out of the registers that longjmp may clobber.
  LICE_IBitmap* volatile made = nullptr;
  png_bytep* volatile rows = nullptr;
  if (setjmp(png_jmpbuf(png)))
  {
    png_destroy_read_struct(&png, &info, nullptr);
    free(rows);
    delete made;
    return nullptr;
  }
  setupIO(png);
  png_read_info(png, info);
  png_uint_32 width, height;
  int bitDepth, colorType;
  png_get_IHDR(png, info, &width, &height, &bitDepth, &colorType, nullptr, nullptr, nullptr);

  if (colorType == PNG_COLOR_TYPE_PALETTE) png_set_palette_to_rgb(png);
  if (colorType == PNG_COLOR_TYPE_GRAY && bitDepth < 8) png_set_expand_gray_1_2_4_to_8(png);
  if (png_get_valid(png, info, PNG_INFO_tRNS))
  {
    png_set_tRNS_to_alpha(png);
    colorType |= 4; // counts as having alpha from here on
  }
  if (bitDepth == 16) png_set_strip_16(png);
  if (bitDepth < 8) png_set_packing(png);
  if (colorType == PNG_COLOR_TYPE_GRAY || colorType == PNG_COLOR_TYPE_GRAY_ALPHA) png_set_gray_to_rgb(png);
  if (!(colorType & 4))
    png_set_filler(png, 255, PNG_FILLER_BEFORE);
  else
    png_set_swap_alpha(png);

  // No panel image comes near this; a tiny file that claims a huge image
  // must not make us allocate gigabytes for it.
  if (width > 16384 || height > 16384 || (uint64_t)width * height > kMaxPixels) png_error(png, "image too large");
  if (bmp)
  {
    bmp->resize((int)width, (int)height);
  }
  else
  {
    made = new (std::nothrow) LICE_MemBitmap((int)width, (int)height, 4);
    bmp = made;
  }
  LICE_IBitmap* out = bmp;
  if (!out || out->getWidth() != (int)width || out->getHeight() != (int)height || !out->getBits())
    png_error(png, "no bitmap");

  rows = (png_bytep*)malloc(sizeof(png_bytep) * height);
  if (!rows) png_error(png, "out of memory");
  const long span = out->getRowSpan();
  LICE_pixel* bits = out->getBits();
  for (png_uint_32 i = 0; i < height; ++i)
    rows[i] = (png_bytep)(bits + span * (long)(out->isFlipped() ? height - 1 - i : i));
  png_read_image(png, rows);
  png_destroy_read_struct(&png, &info, nullptr);
  free(rows);
  return out;
}

// The folder that named resources are relative to; the platform layer
// sets it.
std::string sResourceRoot;

// The path of a named resource; empty without a root or for a name too long.
std::string NamedPath(const char* name)
{
  if (!name || strlen(name) >= 401 || sResourceRoot.empty()) return std::string();
  return sResourceRoot + "/" + name;
}

LICE_IBitmap* DecodeFile(const char* path, LICE_IBitmap* bmp)
{
  // Only a regular file: a FIFO in its place would hold the start for good.
  FILE* fp = WDL_OpenRegularFile(path);
  if (!fp) return nullptr;
  LICE_IBitmap* r = Decode(bmp, [fp](png_structp png) { png_init_io(png, fp); });
  fclose(fp);
  return r;
}

// Files decoded ahead on a thread of their own, by path: each is done once
// decoded, its bitmap null when the file would not decode, and waits there
// for its first LICE_LoadPNG. What no one takes is freed at exit.
struct DecodedAhead
{
  struct Entry
  {
    bool done = false;
    LICE_IBitmap* bmp = nullptr;
  };
  std::mutex mutex;
  std::condition_variable decoded;
  std::map<std::string, Entry> entries;
  std::thread worker;

  ~DecodedAhead()
  {
    if (worker.joinable()) worker.join();
    for (auto& e : entries) delete e.second.bmp;
  }

  void Run(std::vector<std::string> paths)
  {
    for (const std::string& path : paths)
    {
      LICE_IBitmap* bmp = DecodeFile(path.c_str(), nullptr);
      std::lock_guard<std::mutex> lock(mutex);
      entries[path] = {true, bmp};
      decoded.notify_all();
    }
  }

  // The bitmap decoded ahead for this path, waiting while it is still being
  // decoded; false when the path was never asked for or would not decode.
  bool Take(const char* path, LICE_IBitmap** bmp)
  {
    std::unique_lock<std::mutex> lock(mutex);
    auto it = entries.end();
    decoded.wait(lock, [&] { return (it = entries.find(path)) == entries.end() || it->second.done; });
    if (it == entries.end()) return false;
    *bmp = it->second.bmp;
    entries.erase(it);
    return *bmp != nullptr;
  }
};

DecodedAhead& Ahead()
{
  static DecodedAhead ahead;
  return ahead;
}

LICE_IBitmap* LoaderFunc(const char* filename, bool checkFileName, LICE_IBitmap* bmp)
{
  if (checkFileName)
  {
    const char* p = filename + strlen(filename);
    while (p > filename && p[-1] != '.' && p[-1] != '/' && p[-1] != '\\') --p;
    if (p == filename || p[-1] != '.' || strcasecmp(p - 1, ".png")) return nullptr;
  }
  return LICE_LoadPNG(filename, bmp);
}

const char* LoaderExtList() { return "PNG files (*.PNG)"; }

// Registers the PNG loader at the head of the list when the program starts.
struct LICE_PNGLoader
{
  LICE_ImageLoaderRec rec;
  LICE_PNGLoader()
  {
    rec.loadfunc = LoaderFunc;
    rec.get_extlist = LoaderExtList;
    rec._next = LICE_ImageLoader_list;
    LICE_ImageLoader_list = &rec;
  }
};
} // namespace

LICE_ImageLoaderRec* LICE_ImageLoader_list = nullptr;
static LICE_PNGLoader s_pngLoader;

LICE_IBitmap* LICE_LoadPNG(const char* filename, LICE_IBitmap* bmp)
{
  if (!filename) return nullptr;
  LICE_IBitmap* ahead = nullptr;
  if (!bmp && Ahead().Take(filename, &ahead)) return ahead;
  return DecodeFile(filename, bmp);
}

LICE_IBitmap* LICE_LoadPNGFromMemory(const void* data, int buflen, LICE_IBitmap* bmp)
{
  if (!data || buflen < 8 || png_sig_cmp((png_const_bytep)data, 0, 8)) return nullptr;
  MemReader reader = {(const unsigned char*)data, (size_t)buflen};
  return Decode(bmp, [&reader](png_structp png) { png_set_read_fn(png, &reader, ReadFromMemory); });
}

void LICE_SetResourceRoot(const char* folder) { sResourceRoot = folder ? folder : ""; }

const char* LICE_GetResourceRoot() { return sResourceRoot.c_str(); }

LICE_IBitmap* LICE_LoadPNGFromNamedResource(const char* name, LICE_IBitmap* bmp)
{
  const std::string path = NamedPath(name);
  return path.empty() ? nullptr : LICE_LoadPNG(path.c_str(), bmp);
}

LICE_IBitmap* LICE_LoadPNGFromResource(void*, int, LICE_IBitmap*) { return nullptr; }

void LICE_DecodeNamedPNGsAhead(const char* const* names, int count)
{
  if (count <= 0) return;
  DecodedAhead& ahead = Ahead();
  if (ahead.worker.joinable()) ahead.worker.join(); // one batch at a time
  std::vector<std::string> paths;
  for (int i = 0; i < count; ++i)
  {
    std::string path = NamedPath(names[i]);
    if (!path.empty()) paths.push_back(std::move(path));
  }
  {
    std::lock_guard<std::mutex> lock(ahead.mutex);
    for (const std::string& path : paths)
    {
      DecodedAhead::Entry& e = ahead.entries[path];
      delete e.bmp; // an earlier batch's, never taken: decoded afresh
      e = DecodedAhead::Entry();
    }
  }
  ahead.worker = std::thread(&DecodedAhead::Run, &ahead, std::move(paths));
}
