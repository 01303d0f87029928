#pragma once
// The C library's rand() sequence, unseeded (that is, seeded with 1), in a
// state that belongs to one object: the draws are the ones the instrument
// always made, but no process-wide lock is taken and no other instrument or
// library call moves the sequence. Any thread that holds the owner's lock;
// no allocation.

#include <cstdlib>

class VLTRandom
{
public:
  VLTRandom()
  {
    // 128 bytes of state select the C library's default generator, the
    // additive feedback one that rand() uses.
    initstate_r(1, mState, sizeof(mState), &mData);
  }
  VLTRandom(const VLTRandom&) = delete;
  VLTRandom& operator=(const VLTRandom&) = delete;

  // 0 to RAND_MAX, as rand() gives it.
  int Next()
  {
    int32_t r = 0;
    random_r(&mData, &r);
    return (int)r;
  }

private:
  char mState[128] = {};
  random_data mData = {};
};
