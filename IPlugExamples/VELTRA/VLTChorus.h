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
    Run run = Begin();
    const double y = run.feed(x);
    End(run);
    return y;
  }

  // The line over a span of samples, its position, length and mix in
  // registers; the same steps as one feed at a time.
  struct Run
  {
    double* buffer;
    int writePos, length, maxLength;
    bool growing;
    double depth, dry; // dry: 1.0 - depth

    double feed(double x)
    {
      buffer[writePos] = x;
      if (++writePos >= length) Turn();
      const double d = buffer[writePos];
      return dry * x + d * depth;
    }

    // At the end of the ring: the length creeps by one sample.
    void Turn()
    {
      writePos = 0;
      if (growing)
      {
        // The slots that the longer ring takes in get the last sample, so
        // that they hold no stale data. The bound keeps a hand-set
        // maxLength inside the ring.
        if (length + 1 < kRingSize)
        {
          buffer[length] = buffer[length - 1];
          buffer[length + 1] = buffer[length - 1];
          ++length;
        }
        if (length >= maxLength || length + 1 >= kRingSize) growing = false;
      }
      else
      {
        --length;
        if (length <= 200) growing = true;
      }
    }
  };

  Run Begin() { return Run{mBuffer, mWritePos, mLength, mMaxLength, mGrowing, mDepth, 1.0 - mDepth}; }
  void End(const Run& run)
  {
    mWritePos = run.writePos;
    mLength = run.length;
    mGrowing = run.growing;
  }

  static constexpr int kRingSize = 2600;

  int mMaxLength;
  double mBuffer[kRingSize] = {};
  int mWritePos;
  int mLength;
  bool mGrowing;
  double mDepth = 0.0; // share of the delayed sample, 0.0 to 0.5
};
