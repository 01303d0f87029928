#include "swell-ini.h"

#include "assocarray.h"
#include "mutex.h"
#include "queue.h"
#include "regularfile.h"
#include "replacefile.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <sys/file.h>
#include <sys/stat.h>

namespace
{
typedef WDL_StringKeyedArray<char*> Section;

void deleteStringKeyedArray(Section* s) { delete s; }

Section* NewSection() { return new Section(false, Section::freecharptr); }

struct iniFileContext
{
  uint64_t m_lastaccesscnt = 0;
  int m_curfn_time = 0;
  int m_curfn_sz = 0;
  char* m_curfn = nullptr;
  WDL_StringKeyedArray<Section*> m_sections{false, deleteStringKeyedArray};
};

iniFileContext s_ctxs[32];
WDL_Mutex m_mutex;
uint64_t acc_cnt = 0;
WDL_TypedBuf<char>* _buf = nullptr;

// Modification time in seconds, and the low 32 bits of the size; 0 when the
// file cannot be seen.
int getfileupdtimesize(const char* fn, int* size)
{
  *size = 0;
  struct stat st;
  if (!fn || !*fn || stat(fn, &st)) return 0;
  *size = (int)(uint32_t)st.st_size;
  return (int)st.st_mtime;
}

// One line of any length up to 32 MiB, in a buffer that grows.
bool fgets_to_typedbuf(WDL_TypedBuf<char>* buf, FILE* fp)
{
  int pos = 0;
  while (pos < 0x2000000)
  {
    if (buf->GetSize() < pos + 8192) buf->Resize(pos + 8192, false);
    if (buf->GetSize() < pos + 4) break;
    char* p = buf->Get() + pos;
    *p = 0;
    if (!fgets(p, buf->GetSize() - pos, fp) || !*p) break;
    const int len = (int)strlen(p);
    if (p[len - 1] == '\r' || p[len - 1] == '\n') break;
    pos += len;
  }
  return buf->Get() && buf->Get()[0];
}

void LoadContext(iniFileContext* ctx, const char* fn)
{
  FILE* fp = WDL_OpenRegularFile(fn, "r");
  if (!fp)
  {
    ctx->m_curfn_time = 0;
    ctx->m_curfn_sz = 0;
    return;
  }
  flock(fileno(fp), LOCK_SH);
  if (!_buf) _buf = new WDL_TypedBuf<char>(4096);

  Section* cur = nullptr;
  bool anySection = false;
  long long bytesBeforeSection = 0;
  while (fgets_to_typedbuf(_buf, fp))
  {
    char* line = _buf->Get();
    if (!anySection)
    {
      // A large file with no section is given up on.
      bytesBeforeSection += (long long)strlen(line);
      if (bytesBeforeSection > 0x40000) break;
    }
    char* end = line + strlen(line);
    while (end > line && (end[-1] == ' ' || end[-1] == '\t' || end[-1] == '\r' || end[-1] == '\n')) *--end = 0;
    while (*line == ' ' || *line == '\t') ++line;

    if (*line == '[')
    {
      char* close = strchr(line, ']');
      if (!close) continue;
      *close = 0;
      const char* name = line + 1;
      if (cur) cur->Resort();
      cur = nullptr;
      if (!*name) continue; // lines up to the next valid header are dropped
      Section* existing = ctx->m_sections.Get(name);
      if (existing)
      {
        existing->DeleteAll(); // the last occurrence of a section wins
        cur = existing;
      }
      else
      {
        cur = NewSection();
        if (ctx->m_sections.Insert(name, cur) < 0) cur = nullptr;
      }
      anySection = anySection || cur;
    }
    else if (cur)
    {
      char* eq = strchr(line, '=');
      if (!eq || eq == line) continue;
      *eq = 0;
      char* value = strdup(eq + 1);
      if (value) cur->AddUnsorted(line, value); // the key keeps blanks before "="
    }
  }
  ctx->m_curfn_time = getfileupdtimesize(fn, &ctx->m_curfn_sz);
  flock(fileno(fp), LOCK_UN);
  fclose(fp);
  if (cur) cur->Resort();
}

// The caller holds m_mutex.
iniFileContext* GetFileContext(const char* fn)
{
  int best = 0;
  uint64_t bestCnt = ~(uint64_t)0;
  int chosen = -1;
  for (int i = 0; i < 32; ++i)
  {
    iniFileContext& c = s_ctxs[i];
    if (!c.m_curfn || !strcasecmp(c.m_curfn, fn))
    {
      chosen = i;
      break;
    }
    if (c.m_lastaccesscnt < bestCnt)
    {
      bestCnt = c.m_lastaccesscnt;
      best = i;
    }
  }
  iniFileContext* ctx = &s_ctxs[chosen >= 0 ? chosen : best];
  ctx->m_lastaccesscnt = ++acc_cnt;

  int sz = 0;
  const int tm = getfileupdtimesize(fn, &sz);
  if (ctx->m_curfn && !strcmp(ctx->m_curfn, fn) && tm == ctx->m_curfn_time && sz == ctx->m_curfn_sz) return ctx;

  ctx->m_sections.DeleteAll();
  if (!ctx->m_curfn || strcmp(ctx->m_curfn, fn))
  {
    free(ctx->m_curfn);
    ctx->m_curfn = strdup(fn);
  }
  LoadContext(ctx, fn);
  return ctx;
}

// The whole file, written beside and renamed over the old one only once it
// is complete and on the disk. False, with errno, when anything failed: the
// old file stays as it was and the change lives in the cache only.
bool WriteBackFile(iniFileContext* ctx)
{
  if (!ctx || !ctx->m_curfn) return false;
  // "/a/b/settings.ini" is rewritten through "/a/b/.settings.ini.new", in
  // the file's own folder whatever the length of its path.
  std::string tmp = ctx->m_curfn;
  const size_t slash = tmp.rfind('/');
  tmp.insert(slash == std::string::npos ? 0 : slash + 1, ".");
  tmp += ".new";

  std::string text;
  for (int i = 0; i < ctx->m_sections.GetSize(); ++i)
  {
    const char* name = nullptr;
    Section* sec = ctx->m_sections.Enumerate(i, &name);
    text += std::string("[") + name + "]\n";
    for (int k = 0; sec && k < sec->GetSize(); ++k)
    {
      const char* key = nullptr;
      const char* value = sec->Enumerate(k, &key);
      if (!key || !*key) continue;
      text += std::string(key) + "=" + (value ? value : "") + "\n";
    }
    text += "\n";
  }
  if (!WDL_ReplaceFile(ctx->m_curfn, text.data(), text.size(), tmp.c_str())) return false;
  ctx->m_curfn_time = getfileupdtimesize(ctx->m_curfn, &ctx->m_curfn_sz);
  return true;
}

bool __readbyte(const char* src, unsigned char* out)
{
  unsigned char v = 0;
  for (int i = 0; i < 2; ++i)
  {
    const char c = src[i];
    v <<= 4;
    if (c >= '0' && c <= '9')
      v |= (unsigned char)(c - '0');
    else if (c >= 'a' && c <= 'f')
      v |= (unsigned char)(c - 'a' + 10);
    else if (c >= 'A' && c <= 'F')
      v |= (unsigned char)(c - 'A' + 10);
    else
      return false;
  }
  *out = v;
  return true;
}
} // namespace

void lstrcpyn_safe(char* dest, const char* src, int n)
{
  if (n < 1) return;
  int i = 0;
  for (; i < n - 1 && src[i]; ++i) dest[i] = src[i];
  dest[i] = 0;
}

void lstrcpyn_trimmed(char* dest, const char* src, int n)
{
  if (n < 1) return;
  while (*src == ' ' || *src == '\t') ++src;
  int len = (int)strlen(src);
  while (len > 0 && (src[len - 1] == ' ' || src[len - 1] == '\t')) --len;
  if (len >= 2 && ((src[0] == '"' && src[len - 1] == '"') || (src[0] == '\'' && src[len - 1] == '\'')))
  {
    ++src;
    len -= 2;
  }
  lstrcpyn_safe(dest, src, len + 1 < n ? len + 1 : n);
}

int GetPrivateProfileString(const char* section, const char* key, const char* def, char* out, int outlen,
                            const char* fn)
{
  WDL_MutexLock lock(&m_mutex);
  iniFileContext* ctx = GetFileContext(fn);
  if (section && key)
  {
    Section* sec = ctx->m_sections.Get(section);
    const char* value = sec ? sec->Get(key) : nullptr;
    if (value)
      lstrcpyn_trimmed(out, value, outlen);
    else
      lstrcpyn_safe(out, def ? def : "", outlen);
    return outlen > 0 ? (int)strlen(out) : 0;
  }

  // A double-NUL-terminated list of section names, or of a section's keys.
  WDL_Queue names;
  if (!section)
  {
    for (int i = 0; i < ctx->m_sections.GetSize(); ++i)
    {
      const char* name = nullptr;
      ctx->m_sections.Enumerate(i, &name);
      if (name && *name) names.Add(name, (int)strlen(name) + 1);
    }
  }
  else if (Section* sec = ctx->m_sections.Get(section))
  {
    for (int i = 0; i < sec->GetSize(); ++i)
    {
      const char* name = nullptr;
      sec->Enumerate(i, &name);
      if (name && *name) names.Add(name, (int)strlen(name) + 1);
    }
  }
  if (outlen < 2)
  {
    if (outlen == 1) out[0] = 0;
    return 0;
  }
  int n = names.GetSize() - 1;
  if (n < 0)
  {
    out[0] = out[1] = 0;
    return 0;
  }
  if (n > outlen - 2) n = outlen - 2;
  memcpy(out, names.Get(), (size_t)n);
  out[n] = out[n + 1] = 0;
  return n;
}

int GetPrivateProfileInt(const char* section, const char* key, int def, const char* fn)
{
  char buf[512];
  GetPrivateProfileString(section, key, "", buf, sizeof(buf), fn);
  if (!buf[0]) return def;
  const int v = atoi(buf);
  if (v) return v;
  return buf[0] == '0' ? 0 : def; // "abc" gives the default, "0x" gives 0
}

int GetPrivateProfileSection(const char* section, char* out, int outlen, const char* fn)
{
  if (!out || outlen < 2)
  {
    if (out && outlen == 1) out[0] = 0;
    return 0;
  }
  WDL_MutexLock lock(&m_mutex);
  iniFileContext* ctx = GetFileContext(fn);
  Section* sec = ctx->m_sections.Get(section);
  int pos = 0;
  for (int i = 0; sec && i < sec->GetSize(); ++i)
  {
    const char* key = nullptr;
    const char* value = sec->Enumerate(i, &key);
    if (outlen - pos < 4) break; // two bytes for key and value, one for the NUL
    lstrcpyn_safe(out + pos, key, outlen - pos - 2);
    pos += (int)strlen(out + pos);
    out[pos++] = '=';
    lstrcpyn_trimmed(out + pos, value ? value : "", outlen - pos - 1);
    pos += (int)strlen(out + pos) + 1;
    if (pos >= outlen - 1)
    {
      out[outlen - 1] = 0;
      return outlen - 2;
    }
  }
  out[pos] = 0;
  if (!pos) out[1] = 0;
  return pos;
}

bool WritePrivateProfileString(const char* section, const char* key, const char* value, const char* fn)
{
  if (!section || !fn || (key && !*key)) return false;
  WDL_MutexLock lock(&m_mutex);
  iniFileContext* ctx = GetFileContext(fn);
  Section* sec = ctx->m_sections.Get(section);
  if (key && value)
  {
    const char* old = sec ? sec->Get(key) : nullptr;
    if (old && !strcmp(old, value)) return true; // unchanged: the file stays as it is
    if (!sec)
    {
      sec = NewSection();
      if (ctx->m_sections.Insert(section, sec) < 0) return true;
    }
    char* copy = strdup(value);
    if (copy) sec->Insert(key, copy);
    return WriteBackFile(ctx);
  }
  if (key)
  {
    if (!sec || !sec->Get(key)) return true;
    sec->Delete(key);
    return WriteBackFile(ctx);
  }
  if (!sec) return true;
  ctx->m_sections.Delete(section);
  return WriteBackFile(ctx);
}

bool WritePrivateProfileSection(const char* section, const char* strings, const char* fn)
{
  if (!section || !fn) return false;
  WDL_MutexLock lock(&m_mutex);
  iniFileContext* ctx = GetFileContext(fn);
  Section* sec = ctx->m_sections.Get(section);
  if (sec)
    sec->DeleteAll();
  else
  {
    if (!strings || !*strings) return true;
    sec = NewSection();
    if (ctx->m_sections.Insert(section, sec) < 0) return true;
  }
  for (const char* s = strings; s && *s; s += strlen(s) + 1)
  {
    char buf[8192];
    lstrcpyn_safe(buf, s, sizeof(buf));
    char* eq = strchr(buf, '=');
    if (!eq) continue;
    *eq = 0;
    char* value = strdup(s + (eq - buf) + 1); // from the full text, not the cut one
    if (value) sec->Insert(buf, value);
  }
  WriteBackFile(ctx);
  return true;
}

bool WritePrivateProfileStruct(const char* section, const char* key, const void* buf, int bufsz, const char* fn)
{
  if (!key || !buf) return WritePrivateProfileString(section, key, (const char*)buf, fn);
  if (bufsz < 0) return false;
  char* text = (char*)malloc((size_t)bufsz * 2 + 3);
  if (!text) return false;
  const unsigned char* p = (const unsigned char*)buf;
  unsigned char sum = 0;
  for (int i = 0; i < bufsz; ++i)
  {
    sprintf(text + 2 * i, "%02X", p[i]);
    sum = (unsigned char)(sum + p[i]);
  }
  sprintf(text + 2 * bufsz, "%02X", sum);
  const bool ok = WritePrivateProfileString(section, key, text, fn);
  free(text);
  return ok;
}

bool GetPrivateProfileStruct(const char* section, const char* key, void* buf, int bufsz, const char* fn)
{
  if (!section || !key || bufsz < 0) return false;
  const int want = 2 * (bufsz + 1);
  char* text = (char*)malloc((size_t)want + 16);
  if (!text) return false;
  GetPrivateProfileString(section, key, "", text, want + 16, fn);
  bool ok = (int)strlen(text) == want;
  unsigned char sum = 0;
  unsigned char* out = (unsigned char*)buf;
  for (int i = 0; ok && i < bufsz; ++i)
  {
    ok = __readbyte(text + 2 * i, out + i);
    if (ok) sum = (unsigned char)(sum + out[i]);
  }
  unsigned char check = 0;
  ok = ok && __readbyte(text + 2 * bufsz, &check) && check == sum;
  free(text);
  return ok;
}
