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
    mMix = 0.0;
  }

  // Returns only the wet signal; the caller adds the dry one.
  double feed(double x)
  {
    Run run = Begin();
    const double wet = run.feed(x);
    End(run);
    return wet;
  }

  // The comb over a span of samples, with its position, settings and the
  // two samples it wrote last in registers: the read point's index is
  // always one before the write position (the read offset is below one
  // sample), so the newest two points are those just written, and only the
  // two old ones come from memory. The same values in the same arithmetic
  // as one feed at a time.
  // The read point i is writePos - 1 (4095 at 0): the two points after it
  // are writePos and this, i + 2, which wraps to 0 at 4097, not to 1.
  static int SecondAfter(int writePos) { return writePos == 0 || writePos == kSize - 1 ? 0 : writePos + 1; }

  // The four-point Hermite value at fraction f between y1 and y2, for one
  // comb (double) or both sides (a two-lane vector).
  template<typename T>
  static T Interpolate(T y0, T y1, T y2, T y3, double f)
  {
    const T c1 = 0.5 * (y2 - y0);
    const T c2 = y0 - 2.5 * y1 + 2.0 * y2 - 0.5 * y3;
    const T c3 = 0.5 * (y3 - y0) + 1.5 * (y1 - y2);
    return ((c3 * f + c2) * f + c1) * f + y1;
  }

  struct Run
  {
    double* buffer;
    int writePos;
    double feedback, mix;
    double y0, y1; // what buffer[im1] and buffer[i] hold

    double feed(double x)
    {
      const int ip2 = SecondAfter(writePos);
      const double out = Interpolate(y0, y1, buffer[writePos], buffer[ip2], kFraction.at[writePos]);
      const double written = x + out * feedback;
      buffer[writePos] = written;
      if (++writePos >= kSize) writePos = 0;
      y0 = y1;
      y1 = written;
      return out * mix;
    }
  };

  // Both sides' combs in the two lanes of one register, for spans in which
  // their write positions agree (they always do: both start at 0 and take
  // one sample a sample): each lane's packed operations are the single
  // ones of Run, in the same order.
  typedef double V2 __attribute__((vector_size(16)));
  struct PairRun
  {
    double* left;
    double* right;
    int writePos;
    V2 feedback, mix;
    V2 y0, y1;

    V2 feed(V2 x)
    {
      const int ip1 = writePos, ip2 = SecondAfter(writePos);
      const V2 out = Interpolate(y0, y1, V2{left[ip1], right[ip1]}, V2{left[ip2], right[ip2]}, kFraction.at[writePos]);
      const V2 written = x + out * feedback;
      left[writePos] = written[0];
      right[writePos] = written[1];
      if (++writePos >= kSize) writePos = 0;
      y0 = y1;
      y1 = written;
      return out * mix;
    }
  };

  static bool CanPair(const VLTReverb& l, const VLTReverb& r) { return l.mWritePos == r.mWritePos; }
  static PairRun BeginPair(VLTReverb& l, VLTReverb& r)
  {
    const Run a = l.Begin(), b = r.Begin();
    return PairRun{l.mBuffer,        r.mBuffer,      a.writePos,    V2{a.feedback, b.feedback},
                   V2{a.mix, b.mix}, V2{a.y0, b.y0}, V2{a.y1, b.y1}};
  }
  static void EndPair(VLTReverb& l, VLTReverb& r, const PairRun& run) { l.mWritePos = r.mWritePos = run.writePos; }

  // The interpolation's fraction at each write position: the read point
  // minus its index, taken in single precision, so it varies a little with
  // the write position (part of this reverb's sound). Computed once.
  struct Fractions
  {
    double at[4096];
    Fractions()
    {
      for (int w = 0; w < kSize; ++w)
      {
        double r = w - kReadOffset;
        if (r < 0.0) r += kSize;
        const int i = (int)r; // r >= 0: truncation is floor
        at[w] = (double)((float)r - (float)i);
      }
    }
  };
  static const Fractions kFraction;

  Run Begin()
  {
    double r = mWritePos - kReadOffset;
    if (r < 0.0) r += kSize;
    const int i = (int)r;
    const int im1 = i - 1 < 0 ? kSize - 1 : i - 1;
    return Run{mBuffer, mWritePos, mFeedback, mMix, mBuffer[im1], mBuffer[i]};
  }
  void End(const Run& run) { mWritePos = run.writePos; }

  static constexpr int kSize = 4096;
  // The read point trails the write point by this much: below one sample.
  static constexpr double kReadOffset = 0.01;

  double mBuffer[kSize];
  int mWritePos;
  double mFeedback;
  double mMix;
};
