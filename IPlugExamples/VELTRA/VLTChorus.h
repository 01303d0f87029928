#pragma once
// A delay line whose length creeps up and down by one sample per pass
// through its ring, between 200 and mMaxLength samples. Audio thread, one
// feed a sample; no allocation.

class VLTChorus
{
public:
  VLTChorus()
  {
    mMaxLength = 650;
    clear();
  }

  void clear()
  {
    mMaxLength = 650;
    mWritePos = 0;
    mLength = 300;
    mGrowing = true;
  }

  // Returns the mix of x and the sample written mLength samples ago.
  double feed(double x)
  {
    mBuffer[mWritePos] = x;
    if (++mWritePos >= mLength)
    {
      mWritePos = 0;
      if (mGrowing)
      {
        // The slots that the longer ring takes in get the last sample, so
        // that they hold no stale data. The bound keeps a hand-set
        // mMaxLength inside the ring.
        if (mLength + 1 < kRingSize)
        {
          mBuffer[mLength] = mBuffer[mLength - 1];
          mBuffer[mLength + 1] = mBuffer[mLength - 1];
          ++mLength;
        }
        if (mLength >= mMaxLength || mLength + 1 >= kRingSize) mGrowing = false;
      }
      else
      {
        --mLength;
        if (mLength <= 200) mGrowing = true;
      }
    }
    const double d = mBuffer[mWritePos];
    return (1.0 - mDepth) * x + d * mDepth;
  }

  static constexpr int kRingSize = 2600;

  int mMaxLength;
  double mBuffer[kRingSize] = {};
  int mWritePos;
  int mLength;
  bool mGrowing;
  double mDepth = 0.0; // share of the delayed sample, 0.0 to 0.5
};
