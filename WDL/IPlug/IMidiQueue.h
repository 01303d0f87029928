#pragma once
// A queue of MIDI messages sorted by sample offset, holding them until the
// sample at which they are due. It has no lock: the instrument's mutex keeps
// the MIDI thread's Add apart from the audio thread's reading.

#include "IPlugStructs.h"

class IMidiQueue
{
public:
  explicit IMidiQueue(int size = 1024);
  ~IMidiQueue();
  IMidiQueue(const IMidiQueue&) = delete;
  IMidiQueue& operator=(const IMidiQueue&) = delete;

  // Copies the message in after every message of equal or earlier offset.
  // When the memory runs out the message is dropped.
  void Add(const IMidiMsg* msg);
  bool Empty() const { return mFront == mBack; }
  // The first live message; only when not Empty().
  IMidiMsg* Peek() const { return mBuf + mFront; }
  // Drops the first live message; only when not Empty().
  void Remove() { ++mFront; }
  // Ends a block of nFrames samples: what is left moves to the next block,
  // its offsets shifted down (they may go negative).
  void Flush(int nFrames);
  // Sets the capacity, never below what the live messages need; returns the
  // capacity in force afterwards.
  int Resize(int size);

  int GetSize() const { return mBack - mFront; }
  int GetCapacity() const { return mSize; }
  int GetGrow() const { return mGrow; }

private:
  // Capacity goes in steps of 4096 bytes, that is, of 512 messages.
  static int Granulize(int size);
  void Compact();
  bool Expand();

  IMidiMsg* mBuf = nullptr;
  int mSize = 0;
  int mGrow = 0;
  int mFront = 0;
  int mBack = 0;
};
