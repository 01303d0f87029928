// An options file: any text read leniently; the option it leaves written
// and read back the same, without a complaint; and a panel size set in it
// read back as set, the sound's option untouched.

#include "IPanelSizeFile.h"
#include "Options.h"

#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
  const std::string text((const char*)data, size);
  bool on = true;
  std::string complaints;
  ReadOptionsText(text, &on, &complaints);
  PanelSizeInText(text, &complaints);
  bool again = !on;
  std::string more;
  ReadOptionsText(OptionsText(on), &again, &more);
  if (again != on || !more.empty()) abort();

  const std::string sized = WithOption(text, "view", "size", "125 %");
  bool after = on;
  ReadOptionsText(sized, &after, &more);
  if (PanelSizeInText(sized) != 125 || after != on) abort();
  return 0;
}
