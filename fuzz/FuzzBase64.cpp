// Base64 decoding into buffers of every size up to the input's.

#include "Base64.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
  if (!size) return 0;
  const std::string text((const char*)data + 1, size - 1);
  std::vector<unsigned char> out(data[0]);
  base64decode(text.c_str(), out.data(), (int)out.size());
  std::vector<char> encoded(4 * ((out.size() + 2) / 3) + 1);
  base64encode(out.data(), encoded.data(), (int)out.size());
  return 0;
}
