// PNG decoding from memory.

#include "lice.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
  if (size > (1 << 20)) return 0;
  LICE_IBitmap* bm = LICE_LoadPNGFromMemory(data, (int)size);
  if (bm) LICE_GetPixel(bm, bm->getWidth() - 1, bm->getHeight() - 1);
  delete bm;
  return 0;
}
