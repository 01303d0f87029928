#include "cnumbers.h"

#include <clocale>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <locale.h>

namespace
{
// Made once, on first use, and kept for the life of the process.
locale_t CLocale()
{
  static const locale_t c = newlocale(LC_ALL_MASK, "C", (locale_t)0);
  return c;
}
} // namespace

int WDL_snprintf_c(char* buf, size_t size, const char* fmt, ...)
{
  const locale_t c = CLocale();
  const locale_t was = c ? uselocale(c) : (locale_t)0;
  va_list args;
  va_start(args, fmt);
  const int n = vsnprintf(buf, size, fmt, args);
  va_end(args);
  if (c) uselocale(was);
  return n;
}

double WDL_strtod_c(const char* text, char** end)
{
  const locale_t c = CLocale();
  return c ? strtod_l(text, end, c) : strtod(text, end);
}
