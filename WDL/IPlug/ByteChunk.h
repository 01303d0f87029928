#pragma once
// The growable byte buffer in which all state travels. Writes append; reads
// take a position and return the next one, or -1 when they would run past
// the end, leaving their target untouched. Values are the machine's raw
// (little-endian) bytes, unaligned and untagged.

#include "../heapbuf.h"
#include "../wdlstring.h"

class ByteChunk
{
public:
  ByteChunk() : mBytes(4096) {}

  template<class T>
  int Put(const T* value)
  {
    return PutBytes(value, (int)sizeof(T));
  }

  int PutBytes(const void* buf, int size)
  {
    const int n = mBytes.GetSize();
    if (size <= 0) return n;
    unsigned char* p = mBytes.ResizeOK(n + size, false);
    if (p) memcpy(p + n, buf, (size_t)size);
    return mBytes.GetSize();
  }

  // A 4-byte signed length, then the characters without a terminator.
  int PutStr(const char* str)
  {
    const int len = (int)strlen(str);
    Put(&len);
    return PutBytes(str, len);
  }

  int PutBool(bool b)
  {
    const unsigned char byte = b ? 1 : 0;
    return PutBytes(&byte, 1);
  }

  int PutChunk(const ByteChunk* rhs) { return PutBytes(rhs->GetBytes(), rhs->Size()); }

  template<class T>
  int Get(T* value, int startPos) const
  {
    return GetBytes(value, (int)sizeof(T), startPos);
  }

  int GetBytes(void* buf, int size, int startPos) const
  {
    if (startPos < 0 || size < 0 || (long long)startPos + size > Size()) return -1;
    if (size) memcpy(buf, GetBytes() + startPos, (size_t)size);
    return startPos + size;
  }

  // An empty stored string leaves str as it was. The position returned may
  // lie beyond the end when the stored length does; the next read fails.
  int GetStr(WDL_String* str, int startPos) const
  {
    int len = 0;
    const int pos = Get(&len, startPos);
    if (pos < 0) return -1;
    const long long end = (long long)pos + len;
    if (end <= Size() && len >= 1) str->Set((const char*)GetBytes() + pos, len);
    if (end < 0 || end > 0x7fffffff) return -1; // a length no chunk can hold
    return (int)end;
  }

  int GetBool(bool* b, int startPos) const
  {
    unsigned char byte = 0;
    const int pos = GetBytes(&byte, 1, startPos);
    if (pos >= 0) *b = byte != 0;
    return pos;
  }

  void Clear() { mBytes.Resize(0, false); }
  int Size() const { return mBytes.GetSize(); }

  // Resizes; added bytes are zeroed. Returns the old size.
  int Resize(int newSize)
  {
    const int n = mBytes.GetSize();
    unsigned char* p = mBytes.Resize(newSize, false);
    if (p && newSize > n) memset(p + n, 0, (size_t)(newSize - n));
    return n;
  }

  unsigned char* GetBytes() const { return mBytes.Get(); }

private:
  WDL_TypedBuf<unsigned char> mBytes;
};
