#pragma once
// The instrument at its own rate, the host's rate at the edge. An
// instrument whose sound is made to be heard at one rate (every time in it
// counts samples and ticks) renders at that rate whatever the host's, and
// this converts its output to the host's rate: a host's call of N frames at
// frame H of the host's time (counted from the activation) renders the
// instrument's samples T(H) to T(H + N), T(M) = round(M * 44100 / rate) with
// halves rounded up, and an event at host frame f acts at the instrument's
// sample T(f). The conversion is zita-resampler's: made for real-time audio,
// it takes any number of samples at a time down to one, keeps no block of
// its own and allocates nothing after its setup, delays by a fixed, known
// time with a linear phase, and starts at any phase, so that the delay is
// a whole number of the host's frames.
//
// The output lags the instrument by Latency() host frames: the filter's
// half length and the samples it looks ahead. Silence fills that time after
// each Reset.
//
// Threads: Setup on the main thread (it allocates); the rest on the audio
// thread, allocating nothing.

#include <cstdint>
#include <memory>

class IPlugBase;

class IRateAdapter
{
public:
  static constexpr int kInstrumentRate = 44100;
  // The filter's half length in the instrument's samples. 32 keeps the band
  // up to 20 kHz flat and more than 100 dB of rejection beyond it, for 0.75
  // ms of delay: a shorter filter would darken the top octave, a longer one
  // would add delay and hear no better.
  static constexpr int kHalfLength = 32;

  // Where the output goes: n interleaved stereo frames for the call's host
  // frames from hostFrame on.
  class IOutput
  {
  public:
    virtual ~IOutput() = default;
    virtual void Write(int hostFrame, const float* frames, int n) = 0;
  };

  // The frames into a host's two channels of floats, either of which may be
  // missing.
  class IFloatChannels : public IOutput
  {
  public:
    explicit IFloatChannels(float* const* channels) : mChannels(channels) {}
    void Write(int hostFrame, const float* frames, int n) override
    {
      for (int c = 0; c < 2; ++c)
        if (float* out = mChannels ? mChannels[c] : nullptr)
          for (int i = 0; i < n; ++i) out[hostFrame + i] = frames[2 * i + c];
    }

  private:
    float* const* mChannels;
  };

  IRateAdapter();
  ~IRateAdapter();
  IRateAdapter(const IRateAdapter&) = delete;
  IRateAdapter& operator=(const IRateAdapter&) = delete;

  // Main thread: converts to hostRate (whole hertz) from now on, after a
  // Reset. false, and no conversion, at the instrument's own rate or one
  // the resampler cannot take; the host then runs the instrument directly.
  bool Setup(double hostRate);
  bool Active() const { return mActive; }
  // In host frames: how much later the output sounds than the instrument.
  int Latency() const { return mLatency; }
  // Silence in the filter, the host's time back at 0.
  void Reset();
  // The most instrument samples that a call of hostFrames may render, for
  // the instrument's block and its buffers.
  int MostInstrumentFrames(int hostFrames) const { return (int)((int64_t)hostFrames * kInstrumentRate / mRate) + 2; }

  // Audio thread, once per host call of nHostFrames: the instrument's
  // samples that the call renders.
  int Begin(int nHostFrames);
  // Where an event at the call's host frame acts: an instrument frame of
  // the call from 0 up to and including Begin's answer (an event at that
  // last one acts at the next call's first sample).
  int InstrumentFrame(int hostFrame) const;
  // The call's instrument samples, in order and in pieces of any size, each
  // multiplied by gain; the output goes out as it is ready.
  void Push(const double* left, const double* right, int n, double gain, IOutput* out);
  // The call's host frames are all written.
  void End(IOutput* out);

private:
  int64_t InstrumentTime(int64_t hostFrame) const;
  void Drain(IOutput* out);
  void Convert(const float* in, int n, IOutput* out);

  struct Filter;
  std::unique_ptr<Filter> mFilter;
  bool mActive = false;
  int64_t mRate = kInstrumentRate;
  int mLatency = 0;
  int mLead = 0;       // silent samples ahead of the instrument's first
  double mPhase = 0.0; // where the filter starts, between two of them
  int64_t mHostTime = 0;
  int mCallFrames = 0, mCallWritten = 0;
  // Converted frames not yet written: a few of them may belong to the next
  // call.
  std::unique_ptr<float[]> mOut;
  int mOutCount = 0;
  std::unique_ptr<float[]> mIn; // a piece of the instrument's output, interleaved
};

// What a plug-in does with the instrument's frames from..to of a call (the
// host's frames, or the instrument's when converting): renders them in
// blocks of at most `block` into scratch (two buffers that long) and writes
// them to the host's float channels (either may be missing) with the fixed
// gain of every host adapter, directly, or through the converter when one is
// given. Audio thread, under the instrument's mutex.
void RenderForHost(IPlugBase* plug, double* const* scratch, int block, float* const* outs, int from, int to,
                   IRateAdapter* converter);
