// An options file: any text read leniently, and the option it leaves
// written and read back the same, without a complaint.

#include "Options.h"

#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
  bool on = true;
  std::string complaints;
  ReadOptionsText(std::string((const char*)data, size), &on, &complaints);
  bool again = !on;
  std::string more;
  ReadOptionsText(OptionsText(on), &again, &more);
  if (again != on || !more.empty()) abort();
  return 0;
}
