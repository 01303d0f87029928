#pragma once
// The one type for a value that threads share without a lock: a single word
// that one thread writes and others read, each access whole. Get and Set are
// relaxed (plain moves on x86-64): right for a value that stands alone, a
// meter's position or a setting that the next message obeys. Where a value
// must also publish or fence other memory (a gate, a sequence count), the
// ordered operations below say so at the call. THREADS.md lists every place
// that holds one.

#include <atomic>

template<typename T>
class WDL_SharedWord
{
public:
  static_assert(std::atomic<T>::is_always_lock_free, "a shared word must never take a lock");

  WDL_SharedWord(T v = T()) : m_v(v) {}
  WDL_SharedWord(const WDL_SharedWord& o) : m_v(o.Get()) {}
  WDL_SharedWord& operator=(const WDL_SharedWord& o) { return *this = o.Get(); }
  WDL_SharedWord& operator=(T v)
  {
    Set(v);
    return *this;
  }
  operator T() const { return Get(); }

  T Get() const { return m_v.load(std::memory_order_relaxed); }
  void Set(T v) { m_v.store(v, std::memory_order_relaxed); }
  // The owner's read-modify-write, for a word that only one thread writes.
  WDL_SharedWord& operator+=(T d) { return *this = Get() + d; }
  WDL_SharedWord& operator-=(T d) { return *this = Get() - d; }

  // Ordered: what the writer did before SetRelease is seen by a reader after
  // GetAcquire of that value.
  T GetAcquire() const { return m_v.load(std::memory_order_acquire); }
  void SetRelease(T v) { m_v.store(v, std::memory_order_release); }
  // One indivisible step, fully ordered: counts that several threads move,
  // and a swap that loses nothing written between its read and its write.
  T Exchange(T v) { return m_v.exchange(v, std::memory_order_seq_cst); }
  T FetchAdd(T d) { return m_v.fetch_add(d, std::memory_order_seq_cst); }
  T FetchSub(T d) { return m_v.fetch_sub(d, std::memory_order_seq_cst); }
  T FetchOr(T bits) { return m_v.fetch_or(bits, std::memory_order_seq_cst); }
  // Fully ordered load and store, for a handshake between two threads where
  // each writes one word and then reads the other's.
  T GetOrdered() const { return m_v.load(std::memory_order_seq_cst); }
  void SetOrdered(T v) { m_v.store(v, std::memory_order_seq_cst); }

private:
  std::atomic<T> m_v;
};
