#pragma once
// The on-screen keyboard as the instrument sees it: the key held with the
// mouse (-1 for none) and its velocity. The GUI thread writes them and the
// audio thread reads them at the start of each block, one word at a time and
// without a lock.

class IKeyboardControl
{
public:
  virtual ~IKeyboardControl() {}

  // Audio thread.
  int GetKey() const { return __atomic_load_n(&mKey, __ATOMIC_RELAXED); }
  int GetVelocity() const { return __atomic_load_n(&mVelocity, __ATOMIC_RELAXED); }

  // GUI thread: the mouse pressed key (0 upward) with a velocity, or
  // released it (key -1).
  void SetKey(int key, int velocity)
  {
    __atomic_store_n(&mVelocity, velocity, __ATOMIC_RELAXED);
    __atomic_store_n(&mKey, key, __ATOMIC_RELAXED);
  }

  // MIDI thread, under the instrument's mutex: the key table changed and the
  // keyboard must repaint.
  void SetDirty(bool dirty) { __atomic_store_n(&mDirty, dirty, __ATOMIC_RELAXED); }
  bool IsDirty() const { return __atomic_load_n(&mDirty, __ATOMIC_RELAXED); }

protected:
  int mKey = -1;
  int mVelocity = 0;
  bool mDirty = false;
};
