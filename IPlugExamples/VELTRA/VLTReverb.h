#pragma once
// One feedback comb of 4096 samples, read with a four-point Hermite
// interpolator just behind the write point. Audio thread, one feed a
// sample; no allocation.

class VLTReverb
{
public:
  VLTReverb() { clear(); }
  virtual ~VLTReverb() {}

  void clear()
  {
    for (double& s : mBuffer) s = 0.0;
    mWritePos = 0;
    mFeedback = 0.85;
    mReadOffset = 0.01;
    mMix = 0.0;
  }

  // Returns only the wet signal; the caller adds the dry one.
  double feed(double x)
  {
    double r = mWritePos - mReadOffset;
    if (r < 0.0) r += kSize;
    const int i = (int)r; // r >= 0: truncation is floor
    const int im1 = i - 1 < 0 ? kSize - 1 : i - 1;
    const int ip1 = i + 1 >= kSize ? 0 : i + 1;
    const int ip2 = i + 2 >= kSize ? 0 : i + 2; // 4097 gives 0, not 1
    const double y0 = mBuffer[im1], y1 = mBuffer[i], y2 = mBuffer[ip1], y3 = mBuffer[ip2];
    // The fraction is taken in single precision, so it varies a little with
    // the write position: part of this reverb's sound.
    const double f = (double)((float)r - (float)i);
    const double c0 = y1;
    const double c1 = 0.5 * (y2 - y0);
    const double c2 = y0 - 2.5 * y1 + 2.0 * y2 - 0.5 * y3;
    const double c3 = 0.5 * (y3 - y0) + 1.5 * (y1 - y2);
    const double out = ((c3 * f + c2) * f + c1) * f + c0;
    mBuffer[mWritePos] = x + out * mFeedback;
    if (++mWritePos >= kSize) mWritePos = 0;
    return out * mMix;
  }

  static constexpr int kSize = 4096;

  double mBuffer[kSize];
  int mWritePos;
  double mFeedback;
  double mReadOffset;
  double mMix;
};
