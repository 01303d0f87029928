#pragma once
// A byte queue on one heap block of granularity 4096, with a read position.
// Not thread-safe; owners lock.

#include "heapbuf.h"

class WDL_Queue
{
public:
  WDL_Queue() : m_hb(4096), m_pos(0) {}

  // Appends len bytes (copied from buf unless it is null) and returns their
  // address, or null when the memory ran out. A queue read to its end starts
  // again at the front of its block.
  void* Add(const void* buf, int len)
  {
    if (len < 0) return nullptr;
    if (m_pos >= m_hb.GetSize())
    {
      m_pos = 0;
      m_hb.Resize(0, false);
    }
    const int olen = m_hb.GetSize();
    if ((int64_t)olen + len > INT_MAX) return nullptr;
    char* p = (char*)m_hb.ResizeOK(olen + len, false);
    if (!p) return nullptr;
    if (buf && len) memcpy(p + olen, buf, (size_t)len);
    return p + olen;
  }

  void* Get() const
  {
    char* p = (char*)m_hb.Get();
    return p && m_pos < m_hb.GetSize() ? p + m_pos : nullptr;
  }

  int GetSize() const { return m_hb.GetSize() - m_pos; }

  // Moves the read position on by bytecnt, within what is queued.
  void Advance(int bytecnt)
  {
    m_pos += bytecnt;
    if (m_pos < 0) m_pos = 0;
    if (m_pos > m_hb.GetSize()) m_pos = m_hb.GetSize();
  }

  void Clear()
  {
    m_pos = 0;
    m_hb.Resize(0, false);
  }

private:
  WDL_HeapBuf m_hb;
  int m_pos;
};
