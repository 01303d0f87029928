// Parameter lists and preset banks from arbitrary chunks.

#include "VELTRA.h"

#include <memory>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
  static std::unique_ptr<VELTRA> plug((VELTRA*)MakePlug(nullptr, nullptr));
  if (!size) return 0;
  ByteChunk chunk;
  chunk.PutBytes(data + 1, (int)(size - 1));
  if (data[0] & 1)
    plug->UnserializePresets(&chunk, 0);
  else
    plug->UnserializeParams(&chunk, 0);
  WDL_String s;
  chunk.GetStr(&s, data[0] >> 1);
  double out[2][16];
  double* outs[2] = {out[0], out[1]};
  plug->LockMutexAndProcessDoubleReplacing(nullptr, outs, 16);
  return 0;
}
