// The profile store's parser on arbitrary file contents, then reads and a
// write through the cache.

#include "swell-ini.h"

#include <cstdio>
#include <string>
#include <unistd.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
  // 64 names in turn: with a cache of 32 files, each name comes back only
  // after it was evicted, so every input is parsed afresh.
  static int counter = 0;
  const std::string path = "/tmp/veltra-fuzz-ini-" + std::to_string(getpid()) + "-" + std::to_string(counter++ % 64);
  FILE* f = fopen(path.c_str(), "wb");
  if (!f) return 0;
  fwrite(data, 1, size, f);
  fclose(f);
  char sections[4096], keys[4096], value[128];
  GetPrivateProfileString(nullptr, nullptr, "", sections, sizeof(sections), path.c_str());
  for (const char* s = sections; *s; s += std::string(s).size() + 1)
  {
    GetPrivateProfileString(s, nullptr, "", keys, sizeof(keys), path.c_str());
    for (const char* k = keys; *k; k += std::string(k).size() + 1)
    {
      GetPrivateProfileString(s, k, "", value, sizeof(value), path.c_str());
      GetPrivateProfileInt(s, k, 7, path.c_str());
    }
    char section[256];
    GetPrivateProfileSection(s, section, sizeof(section), path.c_str());
  }
  unsigned char st[4];
  GetPrivateProfileStruct("audio", "s", st, sizeof(st), path.c_str());
  WritePrivateProfileString("audio", "sr", "44100", path.c_str());
  return 0;
}
