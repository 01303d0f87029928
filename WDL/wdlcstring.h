#pragma once
// Small text helpers for paths and byte order.

#include <cstdint>
#include <cstring>

// The address of the last "." in the last path component, or the end of the
// text when that component has none.
inline const char* WDL_get_fileext(const char* path)
{
  const char* p = path + strlen(path);
  const char* end = p;
  while (p > path && p[-1] != '/' && p[-1] != '\\')
  {
    --p;
    if (*p == '.') return p;
  }
  return end;
}

// Cuts the text at the last separator, or to empty when there is none.
inline void WDL_remove_filepart(char* path)
{
  char* p = path + strlen(path);
  while (p > path && p[-1] != '/' && p[-1] != '\\') --p;
  if (p > path) --p;
  *p = 0;
}

inline uint32_t WDL_bswap_if_le(uint32_t v)
{
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
  return __builtin_bswap32(v);
#else
  return v;
#endif
}
