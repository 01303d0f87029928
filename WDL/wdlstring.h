#pragma once
// A NUL-terminated text on a heap block of granularity 128. Get() never
// yields null. Not thread-safe; owners lock.

#include "heapbuf.h"

class WDL_String
{
public:
  explicit WDL_String(const char* initial = nullptr, int maxlen = 0);
  WDL_String(const WDL_String& s);
  WDL_String& operator=(const WDL_String& s);

  void Set(const char* str, int maxlen = 0);
  void Set(const WDL_String* str, int maxlen = 0);
  void Append(const char* str, int maxlen = 0);
  void SetFormatted(int maxlen, const char* fmt, ...)
#ifdef __GNUC__
      __attribute__((format(printf, 3, 4)))
#endif
      ;
  bool SetLen(int len, bool resizedown = false);
  void DeleteSub(int position, int len);

  char* Get() const;
  int GetLength() const;
  // The text after the last "/" or "\\", or the whole text.
  char* get_filepart() const;

private:
  void DoSet(int offs, const char* src, int len, int trail);

  WDL_HeapBuf m_hb;
};
