#pragma once
// Growable heap blocks. Nothing here throws: a failed allocation leaves the
// object as it was and shows as a null result. Not thread-safe; owners lock.

#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>

class WDL_HeapBuf
{
public:
  explicit WDL_HeapBuf(int granul = 4096) : m_buf(nullptr), m_alloc(0), m_size(0), m_granul(granul) {}
  ~WDL_HeapBuf() { free(m_buf); }
  WDL_HeapBuf(const WDL_HeapBuf&) = delete;
  WDL_HeapBuf& operator=(const WDL_HeapBuf&) = delete;

  void* Get() const { return m_size ? m_buf : nullptr; }
  int GetSize() const { return m_size; }
  int GetAlloc() const { return m_alloc; }

  void* Resize(int newsize, bool resizedown = true)
  {
    if (newsize < 0) newsize = 0;
    if (newsize == m_size && (!resizedown || newsize >= m_alloc / 2)) return Get();

    int lower = 0;
    if (resizedown && newsize < m_size)
    {
      lower = m_alloc - 4 * m_granul;
      if (lower > m_alloc / 2) lower = m_alloc / 2;
      if (lower < 1) lower = 1;
    }
    if (newsize >= lower && newsize <= m_alloc)
    {
      m_size = newsize;
      return Get();
    }

    const int64_t newalloc = AllocationFor(newsize);
    // The sizes are ints; a request whose allocation would not fit one is a
    // failed allocation, not a wrap-around.
    if (newalloc > INT_MAX) return Get();
    if (newalloc == m_alloc)
    {
      m_size = newsize;
      return Get();
    }
    if (newalloc <= 0)
    {
      free(m_buf);
      m_buf = nullptr;
      m_alloc = m_size = 0;
      return nullptr;
    }

    void* nb = realloc(m_buf, (size_t)newalloc);
    if (!nb)
    {
      nb = malloc((size_t)newalloc);
      if (!nb) return Get();
      if (m_buf) memcpy(nb, m_buf, (size_t)(newsize < m_size ? newsize : m_size));
      free(m_buf);
    }
    m_buf = nb;
    m_alloc = (int)newalloc;
    m_size = newsize;
    return Get();
  }

  void* ResizeOK(int newsize, bool resizedown = true)
  {
    void* p = Resize(newsize, resizedown);
    return GetSize() == newsize ? p : nullptr;
  }

private:
  // Growth is by half the request, at least one granule; large granularities
  // grow in whole pages, less 96 bytes left for the allocator's own header.
  int64_t AllocationFor(int newsize) const
  {
    if (newsize < 1) return 0;
    int64_t g = newsize / 2;
    if (g < m_granul) g = m_granul;
    if (m_granul < 4096) return (int64_t)newsize + g;
    g &= ~(int64_t)4095;
    if (g < 4096) g = 4096;
    if (g > 4194304) g = 4194304;
    return (((int64_t)newsize + g + 96) & ~(int64_t)4095) - 96;
  }

  void* m_buf;
  int m_alloc;
  int m_size;
  int m_granul;
};

template<class T>
class WDL_TypedBuf
{
public:
  explicit WDL_TypedBuf(int granul = 4096) : m_hb(granul) {}

  T* Get() const { return (T*)m_hb.Get(); }
  int GetSize() const { return m_hb.GetSize() / (int)sizeof(T); }

  T* Resize(int count, bool resizedown = true)
  {
    if (count > INT_MAX / (int)sizeof(T)) return Get();
    return (T*)m_hb.Resize(count * (int)sizeof(T), resizedown);
  }
  T* ResizeOK(int count, bool resizedown = true)
  {
    if (count > INT_MAX / (int)sizeof(T)) return nullptr;
    return (T*)m_hb.ResizeOK(count * (int)sizeof(T), resizedown);
  }

  T* Add(const T& value)
  {
    const int n = GetSize();
    T* p = ResizeOK(n + 1, false);
    if (!p) return nullptr;
    p[n] = value;
    return p + n;
  }

  void Delete(int index)
  {
    const int n = GetSize();
    if (index < 0 || index >= n) return;
    T* p = Get();
    memmove(p + index, p + index + 1, (size_t)(n - index - 1) * sizeof(T));
    Resize(n - 1, false);
  }

private:
  WDL_HeapBuf m_hb;
};
