#pragma once
// A list of pointers on one heap block. It owns its entries only when told so
// at deletion. Not thread-safe; owners lock.

#include "heapbuf.h"

template<class T>
class WDL_PtrList
{
public:
  explicit WDL_PtrList(int granul = 4096) : m_hb(granul) {}
  ~WDL_PtrList() {}
  WDL_PtrList(const WDL_PtrList&) = delete;
  WDL_PtrList& operator=(const WDL_PtrList&) = delete;

  T** GetList() const { return (T**)m_hb.Get(); }
  int GetSize() const { return m_hb.GetSize() / (int)sizeof(T*); }

  T* Get(int index) const
  {
    if (index < 0 || index >= GetSize()) return nullptr;
    return GetList()[index];
  }

  T* Add(T* item)
  {
    const int n = GetSize();
    T** list = (T**)m_hb.ResizeOK((n + 1) * (int)sizeof(T*), false);
    if (!list) return nullptr;
    list[n] = item;
    return item;
  }

  T* Set(int index, T* item)
  {
    if (index < 0 || index >= GetSize()) return nullptr;
    return GetList()[index] = item;
  }

  T* Insert(int index, T* item)
  {
    const int n = GetSize();
    if (index < 0) index = 0;
    if (index > n) index = n;
    T** list = (T**)m_hb.ResizeOK((n + 1) * (int)sizeof(T*), false);
    if (!list) return nullptr;
    memmove(list + index + 1, list + index, (size_t)(n - index) * sizeof(T*));
    list[index] = item;
    return item;
  }

  int Find(const T* item) const
  {
    if (!item) return -1;
    T** list = GetList();
    const int n = GetSize();
    for (int i = 0; i < n; ++i)
      if (list[i] == item) return i;
    return -1;
  }

  void Delete(int index, bool wantDelete = false, void (*delfunc)(void*) = nullptr)
  {
    const int n = GetSize();
    if (index < 0 || index >= n) return;
    T** list = GetList();
    if (wantDelete) Dispose(list[index], delfunc);
    // The disposal may have run code that changed the list; read it again.
    list = GetList();
    const int now = GetSize();
    if (index >= now) return;
    memmove(list + index, list + index + 1, (size_t)(now - index - 1) * sizeof(T*));
    m_hb.Resize((now - 1) * (int)sizeof(T*), false);
  }

  // Entries go from last to first, and the list is shortened after each, so
  // that code run by a destructor never sees a dead entry.
  void Empty(bool wantDelete = false, void (*delfunc)(void*) = nullptr)
  {
    if (wantDelete)
    {
      for (int i = GetSize() - 1; i >= 0; i = GetSize() - 1)
      {
        T* item = GetList()[i];
        m_hb.Resize(i * (int)sizeof(T*), false);
        if (item) Dispose(item, delfunc);
      }
    }
    m_hb.Resize(0, false);
  }

private:
  static void Dispose(T* item, void (*delfunc)(void*))
  {
    if (delfunc)
      delfunc(item);
    else
      delete item;
  }

  WDL_HeapBuf m_hb;
};
