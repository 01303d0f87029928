#include "IPlugLV2Ports.h"

#include <cctype>

std::string LV2PortSymbol(const char* name)
{
  std::string symbol;
  bool gap = false;
  for (const char* c = name; *c; ++c)
  {
    const unsigned char ch = (unsigned char)*c;
    if (isalnum(ch) && ch < 128)
    {
      if (gap && !symbol.empty()) symbol += '_';
      symbol += (char)tolower(ch);
      gap = false;
    }
    else
    {
      gap = true;
    }
  }
  // A symbol may not begin with a digit.
  if (!symbol.empty() && isdigit((unsigned char)symbol[0])) symbol.insert(0, "p");
  return symbol;
}
