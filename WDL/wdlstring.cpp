#include "wdlstring.h"

#include <cstdarg>
#include <cstdio>

namespace
{
int LimitedLength(const char* str, int maxlen)
{
  if (!str) return 0;
  if (maxlen > 0)
  {
    int n = 0;
    while (n < maxlen && str[n]) ++n;
    return n;
  }
  const size_t n = strlen(str);
  return n > (size_t)INT_MAX - 2 ? INT_MAX - 2 : (int)n;
}
} // namespace

WDL_String::WDL_String(const char* initial, int maxlen) : m_hb(128)
{
  if (initial && *initial) Set(initial, maxlen);
}

WDL_String::WDL_String(const WDL_String& s) : m_hb(128) { Set(&s); }

WDL_String& WDL_String::operator=(const WDL_String& s)
{
  if (this != &s) Set(&s);
  return *this;
}

char* WDL_String::Get() const
{
  static char empty[1];
  char* p = (char*)m_hb.Get();
  if (p) return p;
  empty[0] = 0;
  return empty;
}

int WDL_String::GetLength() const
{
  const char* p = (const char*)m_hb.Get();
  return p ? (int)strlen(p) : 0;
}

void WDL_String::Set(const char* str, int maxlen) { DoSet(0, str, LimitedLength(str, maxlen), 0); }

void WDL_String::Set(const WDL_String* str, int maxlen) { Set(str ? str->Get() : nullptr, maxlen); }

void WDL_String::Append(const char* str, int maxlen) { DoSet(GetLength(), str, LimitedLength(str, maxlen), 0); }

// One routine for set and append: writes len bytes of src at offs, keeping
// trail bytes that stood at offs after the new text, and terminates.
void WDL_String::DoSet(int offs, const char* src, int len, int trail)
{
  if (!len && !trail && !offs)
  {
    char* p = (char*)m_hb.Resize(1);
    if (p) p[0] = 0;
    return;
  }
  if (len < 1 || offs < 0) return;

  const int oldsize = m_hb.GetSize();
  const int64_t want = (int64_t)offs + len + trail + 1;
  if (want > INT_MAX) return;
  const int newsize = (int)want;
  if (oldsize < newsize)
  {
    const char* oldbuf = (const char*)m_hb.Get();
    m_hb.Resize(newsize, false);
    const char* newbuf = (const char*)m_hb.Get();
    // A source inside our own block follows the block when it moves.
    if (oldbuf && newbuf != oldbuf && src >= oldbuf && src < oldbuf + oldsize) src = newbuf + (src - oldbuf);
  }

  char* p = (char*)m_hb.Get();
  if (!p || m_hb.GetSize() < newsize) return;
  if (trail) memmove(p + offs + len, p + offs, (size_t)trail);
  memmove(p + offs, src, (size_t)len);
  p[offs + len + trail] = 0;
  if (newsize < oldsize) m_hb.Resize(newsize, false);
}

void WDL_String::SetFormatted(int maxlen, const char* fmt, ...)
{
  if (maxlen < 0) maxlen = 0;
  char* p = (char*)m_hb.ResizeOK(maxlen + 1, false);
  if (!p) return;
  va_list ap;
  va_start(ap, fmt);
  vsnprintf(p, (size_t)maxlen + 1, fmt, ap);
  va_end(ap);
  m_hb.Resize((int)strlen(p) + 1, false);
}

bool WDL_String::SetLen(int len, bool resizedown)
{
  if (len < 0) len = 0;
  if (len >= INT_MAX) return false;
  char* p = (char*)m_hb.ResizeOK(len + 1, resizedown);
  if (!p) return false;
  p[len] = 0;
  return true;
}

void WDL_String::DeleteSub(int position, int len)
{
  const int l = GetLength();
  if (position < 0 || position >= l || len <= 0) return;
  if (len > l - position) len = l - position;
  char* p = (char*)m_hb.Get();
  memmove(p + position, p + position + len, (size_t)(l - position - len) + 1);
  m_hb.Resize(l - len + 1, false);
}

char* WDL_String::get_filepart() const
{
  char* s = Get();
  char* p = s + strlen(s);
  while (p > s && p[-1] != '/' && p[-1] != '\\') --p;
  return p;
}
