#pragma once
// A sorted array of key and value pairs, with optional duplication and
// disposal of keys and disposal of values. Look-ups are binary searches.
// Not thread-safe; owners lock.

#include "heapbuf.h"

#include <strings.h>
#include <type_traits>

template<class KEY, class VAL>
class WDL_AssocArrayImpl
{
public:
  typedef int (*KeyCmpFunc)(KEY* k1, KEY* k2);
  typedef KEY (*KeyDupFunc)(KEY in);
  typedef void (*KeyDispFunc)(KEY in);
  typedef void (*ValDispFunc)(VAL in);

  explicit WDL_AssocArrayImpl(KeyCmpFunc keycmp, KeyDupFunc keydup = nullptr, KeyDispFunc keydisp = nullptr,
                              ValDispFunc valdisp = nullptr)
      : m_data(4096), m_keycmp(keycmp), m_keydup(keydup), m_keydispose(keydisp), m_valdispose(valdisp)
  {
  }
  ~WDL_AssocArrayImpl() { DeleteAll(); }
  WDL_AssocArrayImpl(const WDL_AssocArrayImpl&) = delete;
  WDL_AssocArrayImpl& operator=(const WDL_AssocArrayImpl&) = delete;

  VAL* GetPtr(KEY key, KEY* keyPtrOut = nullptr) const
  {
    bool found = false;
    const int i = LowerBound(key, &found);
    if (!found) return nullptr;
    KeyVal* kv = m_data.Get() + i;
    if (keyPtrOut) *keyPtrOut = kv->key;
    return &kv->val;
  }

  bool Exists(KEY key) const { return GetPtr(key) != nullptr; }

  // Stores value under key and returns its index, or -1 when the memory ran
  // out (the value is then disposed of, as it would have been owned).
  int Insert(KEY key, VAL val)
  {
    bool found = false;
    const int i = LowerBound(key, &found);
    if (found)
    {
      KeyVal* kv = m_data.Get() + i;
      if (m_valdispose) m_valdispose(kv->val);
      kv->val = val;
      return i;
    }
    KEY k;
    const int n = m_data.GetSize();
    KeyVal* kv = DupKey(key, &k) ? m_data.ResizeOK(n + 1, false) : nullptr;
    if (!kv)
    {
      DropPair(k, val);
      return -1;
    }
    memmove(kv + i + 1, kv + i, (size_t)(n - i) * sizeof(KeyVal));
    kv[i].key = k;
    kv[i].val = val;
    return i;
  }

  void Delete(KEY key)
  {
    bool found = false;
    const int i = LowerBound(key, &found);
    if (found) DeleteByIndex(i);
  }

  void DeleteByIndex(int idx)
  {
    const int n = m_data.GetSize();
    if (idx < 0 || idx >= n) return;
    KeyVal* kv = m_data.Get();
    Dispose(kv + idx);
    memmove(kv + idx, kv + idx + 1, (size_t)(n - idx - 1) * sizeof(KeyVal));
    m_data.Resize(n - 1, false);
  }

  void DeleteAll(bool resizedown = false)
  {
    KeyVal* kv = m_data.Get();
    const int n = m_data.GetSize();
    for (int i = 0; i < n; ++i) Dispose(kv + i);
    m_data.Resize(0, resizedown);
  }

  int GetSize() const { return m_data.GetSize(); }

  VAL* EnumeratePtr(int i, KEY* key = nullptr) const
  {
    if (i < 0 || i >= m_data.GetSize()) return nullptr;
    KeyVal* kv = m_data.Get() + i;
    if (key) *key = kv->key;
    return &kv->val;
  }

  // Appends without searching: the array is unusable for look-ups until
  // Resort().
  void AddUnsorted(KEY key, VAL val)
  {
    KEY k;
    const int n = m_data.GetSize();
    KeyVal* kv = DupKey(key, &k) ? m_data.ResizeOK(n + 1, false) : nullptr;
    if (!kv)
    {
      DropPair(k, val);
      return;
    }
    kv[n].key = k;
    kv[n].val = val;
  }

  // Sorts, then keeps one entry per key: of two equal neighbours the first
  // goes, so the one added last wins.
  void Resort()
  {
    if (m_data.GetSize() < 2) return;
    // qsort is not stable; sort by key and then by the order of addition so
    // that "the one added last" is well defined.
    const int n = m_data.GetSize();
    KeyVal* kv = m_data.Get();
    for (int i = 0; i < n; ++i) kv[i].order = i;
    s_sortcmp = m_keycmp;
    qsort(kv, (size_t)n, sizeof(KeyVal), SortCompare);
    for (int i = 0; i < m_data.GetSize() - 1;)
    {
      kv = m_data.Get();
      if (!m_keycmp(&kv[i].key, &kv[i + 1].key))
        DeleteByIndex(i);
      else
        ++i;
    }
  }

protected:
  struct KeyVal
  {
    KEY key;
    VAL val;
    int order;
  };

  int LowerBound(KEY key, bool* found) const
  {
    int a = 0, c = m_data.GetSize();
    const KeyVal* kv = m_data.Get();
    while (a != c)
    {
      const int b = (a + c) / 2;
      const int cmp = m_keycmp(&key, (KEY*)&kv[b].key);
      if (cmp > 0)
        a = b + 1;
      else if (cmp < 0)
        c = b;
      else
      {
        *found = true;
        return b;
      }
    }
    *found = false;
    return a;
  }

  // Duplicates a key for storing; false when the copy could not be made.
  bool DupKey(KEY key, KEY* out) const
  {
    *out = m_keydup ? m_keydup(key) : key;
    if constexpr (std::is_pointer<KEY>::value) return !m_keydup || *out != nullptr;
    return true;
  }

  // A pair that could not be stored: the copy of its key and its value are
  // disposed of, as the array would have owned them.
  void DropPair(KEY k, VAL val)
  {
    bool keyMade = m_keydup != nullptr;
    if constexpr (std::is_pointer<KEY>::value) keyMade = keyMade && k != nullptr;
    if (keyMade && m_keydispose) m_keydispose(k);
    if (m_valdispose) m_valdispose(val);
  }

  void Dispose(KeyVal* kv)
  {
    if (m_keydispose) m_keydispose(kv->key);
    if (m_valdispose) m_valdispose(kv->val);
  }

  static int SortCompare(const void* a, const void* b)
  {
    KeyVal* x = (KeyVal*)a;
    KeyVal* y = (KeyVal*)b;
    const int c = s_sortcmp(&x->key, &y->key);
    if (c) return c;
    return x->order < y->order ? -1 : x->order > y->order;
  }
  // Resort runs on one thread at a time per comparison function in practice;
  // qsort has no context argument.
  static thread_local KeyCmpFunc s_sortcmp;

  WDL_TypedBuf<KeyVal> m_data;
  KeyCmpFunc m_keycmp;
  KeyDupFunc m_keydup;
  KeyDispFunc m_keydispose;
  ValDispFunc m_valdispose;
};

template<class KEY, class VAL>
thread_local typename WDL_AssocArrayImpl<KEY, VAL>::KeyCmpFunc WDL_AssocArrayImpl<KEY, VAL>::s_sortcmp;

template<class KEY, class VAL>
class WDL_AssocArray : public WDL_AssocArrayImpl<KEY, VAL>
{
public:
  using typename WDL_AssocArrayImpl<KEY, VAL>::KeyCmpFunc;
  using typename WDL_AssocArrayImpl<KEY, VAL>::KeyDupFunc;
  using typename WDL_AssocArrayImpl<KEY, VAL>::KeyDispFunc;
  using typename WDL_AssocArrayImpl<KEY, VAL>::ValDispFunc;

  explicit WDL_AssocArray(KeyCmpFunc keycmp, KeyDupFunc keydup = nullptr, KeyDispFunc keydisp = nullptr,
                          ValDispFunc valdisp = nullptr)
      : WDL_AssocArrayImpl<KEY, VAL>(keycmp, keydup, keydisp, valdisp)
  {
  }

  VAL Get(KEY key, VAL notfound = 0) const
  {
    VAL* p = this->GetPtr(key);
    return p ? *p : notfound;
  }

  VAL Enumerate(int i, KEY* key = nullptr, VAL notfound = 0) const
  {
    VAL* p = this->EnumeratePtr(i, key);
    return p ? *p : notfound;
  }
};

template<class VAL>
class WDL_StringKeyedArray : public WDL_AssocArray<const char*, VAL>
{
public:
  explicit WDL_StringKeyedArray(bool caseSensitive = true, void (*valdispose)(VAL) = nullptr)
      : WDL_AssocArray<const char*, VAL>(caseSensitive ? cmpstr : cmpistr, dupstr, freestr, valdispose)
  {
  }

  static const char* dupstr(const char* s) { return strdup(s); }
  static int cmpstr(const char** s1, const char** s2) { return strcmp(*s1, *s2); }
  static int cmpistr(const char** s1, const char** s2) { return strcasecmp(*s1, *s2); }
  static void freestr(const char* s) { free((void*)s); }
  static void freecharptr(char* p) { free(p); }
};
