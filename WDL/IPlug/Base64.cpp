#include "Base64.h"

namespace
{
const char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

int Sextet(char c)
{
  if (c >= 'A' && c <= 'Z') return c - 'A';
  if (c >= 'a' && c <= 'z') return c - 'a' + 26;
  if (c >= '0' && c <= '9') return c - '0' + 52;
  if (c == '+') return 62;
  if (c == '/') return 63;
  return -1;
}
} // namespace

int base64decode(const char* src, unsigned char* dest, int destSize)
{
  int written = 0, bits = 0;
  unsigned int acc = 0;
  for (; *src && written < destSize; ++src)
  {
    const int v = Sextet(*src);
    if (v < 0) break;
    acc = (acc << 6) | (unsigned int)v;
    bits += 6;
    if (bits >= 8)
    {
      bits -= 8;
      dest[written++] = (unsigned char)(acc >> bits);
      acc &= (1u << bits) - 1;
    }
  }
  return written;
}

void base64encode(const unsigned char* src, char* dest, int srcSize)
{
  unsigned int acc = 0;
  int bits = 0;
  for (int i = 0; i < srcSize; ++i)
  {
    acc = (acc << 8) | src[i];
    bits += 8;
    while (bits >= 6)
    {
      bits -= 6;
      *dest++ = kAlphabet[(acc >> bits) & 63];
    }
    acc &= (1u << bits) - 1;
  }
  if (bits == 4)
  {
    *dest++ = kAlphabet[(acc << 2) & 63];
    *dest++ = '=';
  }
  else if (bits == 2)
  {
    *dest++ = kAlphabet[(acc << 4) & 63];
    *dest++ = '=';
    *dest++ = '=';
  }
  *dest = 0;
}
