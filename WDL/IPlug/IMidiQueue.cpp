#include "IMidiQueue.h"

#include <climits>
#include <cstdlib>
#include <cstring>

static_assert(sizeof(IMidiMsg) == 8, "a queued message takes 8 bytes");

int IMidiQueue::Granulize(int size)
{
  if (size < 0) size = 0;
  if (size > INT_MAX / 8 - 512) size = INT_MAX / 8 - 512;
  const int bytes = size * (int)sizeof(IMidiMsg);
  if (bytes % 4096 == 0) return size;
  return ((bytes / 4096 + 1) * 4096) / (int)sizeof(IMidiMsg);
}

IMidiQueue::IMidiQueue(int size) : mGrow(Granulize(size < 1 ? 1 : size)) { Expand(); }

IMidiQueue::~IMidiQueue() { free(mBuf); }

void IMidiQueue::Compact()
{
  mBack -= mFront;
  if (mBack > 0) memmove(mBuf, mBuf + mFront, (size_t)mBack * sizeof(IMidiMsg));
  mFront = 0;
}

bool IMidiQueue::Expand()
{
  if (!mGrow) return false;
  const long long size = ((long long)mSize / mGrow + 1) * mGrow;
  if (size > INT_MAX / (int)sizeof(IMidiMsg)) return false;
  IMidiMsg* buf = (IMidiMsg*)realloc(mBuf, (size_t)size * sizeof(IMidiMsg));
  if (!buf) return false;
  mBuf = buf;
  mSize = (int)size;
  return true;
}

void IMidiQueue::Add(const IMidiMsg* msg)
{
  if (mBack >= mSize)
  {
    if (mFront > 0)
      Compact();
    else if (!Expand())
      return;
  }

  if (!Empty() && msg->mOffset < mBuf[mBack - 1].mOffset)
  {
    int i = mBack - 2;
    while (i >= mFront && msg->mOffset < mBuf[i].mOffset) --i;
    ++i;
    memmove(mBuf + i + 1, mBuf + i, (size_t)(mBack - i) * sizeof(IMidiMsg));
    mBuf[i] = IMidiMsg(msg->mOffset, msg->mStatus, msg->mData1, msg->mData2);
  }
  else
  {
    mBuf[mBack] = IMidiMsg(msg->mOffset, msg->mStatus, msg->mData1, msg->mData2);
  }
  ++mBack;
}

void IMidiQueue::Flush(int nFrames)
{
  if (mFront > 0) Compact();
  for (int i = mFront; i < mBack; ++i) mBuf[i].mOffset -= nFrames;
}

int IMidiQueue::Resize(int size)
{
  if (mFront > 0) Compact();
  // A capacity of 0 would leave the queue unable to grow: the least is one
  // step of 512 messages.
  mGrow = Granulize(size < 1 ? 1 : size);
  const int capacity = mGrow < mBack ? Granulize(mBack) : mGrow;
  if (capacity == mSize) return mSize;
  IMidiMsg* buf = (IMidiMsg*)realloc(mBuf, (size_t)capacity * sizeof(IMidiMsg));
  if (!buf) return mSize;
  mBuf = buf;
  mSize = capacity;
  return mSize;
}
