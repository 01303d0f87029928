// Program and bank files from arbitrary bytes: the first byte picks the
// loader, the rest is the file. Loading must never crash or read past the
// data, and the instrument must stay usable.

#include "VELTRA.h"

#include <cstdio>
#include <memory>
#include <string>
#include <unistd.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
  static std::unique_ptr<VELTRA> plug((VELTRA*)MakePlug(nullptr, nullptr));
  static const std::string path = "/tmp/veltra-fuzz-program-" + std::to_string(getpid());
  if (!size) return 0;
  FILE* f = fopen(path.c_str(), "wb");
  if (!f) return 0;
  fwrite(data + 1, 1, size - 1, f);
  fclose(f);
  WDL_String name(path.c_str());
  if (data[0] & 1)
    plug->LoadBankFromFXB(&name);
  else
    plug->LoadProgramFromFXP(&name);
  double out[2][16];
  double* outs[2] = {out[0], out[1]};
  plug->LockMutexAndProcessDoubleReplacing(nullptr, outs, 16);
  return 0;
}
