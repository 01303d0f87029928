#include "IRateAdapter.h"

#include "IPlugBase.h"

#include <zita-resampler/vresampler.h>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace
{
// Frames converted at once, and the most the output may hold.
constexpr int kPiece = 1024;
constexpr int kOutFrames = 4096;
} // namespace

// zita-resampler's variable-ratio resampler, at a fixed ratio: unlike the
// fixed-ratio one it starts at any phase, which makes the delay a whole
// number of the host's frames.
struct IRateAdapter::Filter
{
  VResampler r;
  // Takes as much of in as outRoom allows; answers the frames taken and put.
  void Run(const float* in, int inCount, float* out, int outRoom, int* taken, int* put)
  {
    r.inp_data = const_cast<float*>(in);
    r.inp_count = (unsigned)inCount;
    r.out_data = out;
    r.out_count = (unsigned)outRoom;
    r.process();
    *taken = inCount - (int)r.inp_count;
    *put = outRoom - (int)r.out_count;
  }
};

IRateAdapter::IRateAdapter() : mFilter(new Filter), mOut(new float[2 * kOutFrames]), mIn(new float[2 * kPiece]) {}

IRateAdapter::~IRateAdapter() = default;

bool IRateAdapter::Setup(double hostRate)
{
  mActive = false;
  mLatency = 0;
  mRate = std::llround(hostRate);
  if (mRate == kInstrumentRate || mRate < 8000 || mRate > 768000) return false;
  const double ratio = (double)mRate / kInstrumentRate;
  if (mFilter->r.setup(ratio, 2, kHalfLength)) return false;
  // The output's frame n stands at the filter's input position
  // centre - phase + n / ratio, centre half its length less one. Ahead of
  // the instrument's first sample go as many silent ones (mLead) as the
  // filter looks ahead, at least, so that each call's samples always give
  // its frames; the start phase then puts that first sample exactly on a
  // frame, mLatency frames late: the least whole number with
  // mLead - centre - phase = mLatency / ratio, phase in [0, 1).
  const int leastLead = mFilter->r.inpsize() + 2, centre = mFilter->r.inpsize() / 2 - 1;
  int64_t latency = (int64_t)std::floor((leastLead - centre - 1) * ratio);
  while ((int64_t)std::ceil(latency / ratio - 1e-9) + centre < leastLead) ++latency;
  const int64_t lead = (int64_t)std::ceil(latency / ratio - 1e-9) + centre;
  mLatency = (int)latency;
  mLead = (int)lead;
  mPhase = std::clamp((double)(lead - centre) - latency / ratio, 0.0, 0.999999);
  mActive = true;
  Reset();
  return true;
}

void IRateAdapter::Reset()
{
  mHostTime = 0;
  mCallFrames = mCallWritten = 0;
  mOutCount = 0;
  if (!mActive) return;
  mFilter->r.reset();
  mFilter->r.set_phase(mPhase);
  // The silent lead goes in now; the little it gives out is the output's
  // first silence.
  std::fill(mIn.get(), mIn.get() + 2 * kPiece, 0.0f);
  for (int left = mLead; left > 0;)
  {
    const int n = std::min(left, kPiece);
    int taken = 0, put = 0;
    mFilter->Run(mIn.get(), n, mOut.get() + 2 * (size_t)mOutCount, kOutFrames - mOutCount, &taken, &put);
    mOutCount += put;
    left -= n;
  }
}

int64_t IRateAdapter::InstrumentTime(int64_t hostFrame) const
{
  // round(hostFrame * 44100 / rate), halves up, in whole numbers: exact for
  // any length of play.
  return (2 * hostFrame * kInstrumentRate + mRate) / (2 * mRate);
}

int IRateAdapter::Begin(int nHostFrames)
{
  mCallFrames = std::max(0, nHostFrames);
  mCallWritten = 0;
  return (int)(InstrumentTime(mHostTime + mCallFrames) - InstrumentTime(mHostTime));
}

int IRateAdapter::InstrumentFrame(int hostFrame) const
{
  const int64_t f = std::clamp<int64_t>(hostFrame, 0, mCallFrames);
  return (int)(InstrumentTime(mHostTime + f) - InstrumentTime(mHostTime));
}

void IRateAdapter::Drain(IOutput* out)
{
  const int n = std::min(mOutCount, mCallFrames - mCallWritten);
  if (n <= 0) return;
  out->Write(mCallWritten, mOut.get(), n);
  mCallWritten += n;
  mOutCount -= n;
  std::memmove(mOut.get(), mOut.get() + 2 * (size_t)n, 2 * (size_t)mOutCount * sizeof(float));
}

void IRateAdapter::Convert(const float* in, int n, IOutput* out)
{
  while (n > 0)
  {
    Drain(out);
    int taken = 0, put = 0;
    mFilter->Run(in, n, mOut.get() + 2 * (size_t)mOutCount, kOutFrames - mOutCount, &taken, &put);
    mOutCount += put;
    in += 2 * (size_t)taken;
    n -= taken;
    // The output full with frames of later calls: never with the lead's
    // bound on what a call gives; the rest of the piece is dropped rather
    // than the call stalled.
    if (taken == 0 && mOutCount == kOutFrames && mCallWritten == mCallFrames) break;
  }
  Drain(out);
}

void IRateAdapter::Push(const double* left, const double* right, int n, double gain, IOutput* out)
{
  for (int done = 0; done < n;)
  {
    const int m = std::min(kPiece, n - done);
    float* in = mIn.get();
    for (int i = 0; i < m; ++i)
    {
      in[2 * i] = (float)(left[done + i] * gain);
      in[2 * i + 1] = (float)(right[done + i] * gain);
    }
    Convert(in, m, out);
    done += m;
  }
}

void IRateAdapter::End(IOutput* out)
{
  Drain(out);
  // The lead makes every call's samples enough for its frames: silence here
  // would only ever stand for a fault.
  if (mCallWritten < mCallFrames)
  {
    static const float kSilence[2 * 64] = {};
    while (mCallWritten < mCallFrames)
    {
      const int n = std::min(64, mCallFrames - mCallWritten);
      out->Write(mCallWritten, kSilence, n);
      mCallWritten += n;
    }
  }
  mHostTime += mCallFrames;
  mCallFrames = 0;
}

void RenderForHost(IPlugBase* plug, double* const* scratch, int block, float* const* outs, int from, int to,
                   IRateAdapter* converter)
{
  IRateAdapter::IFloatChannels channels(outs);
  for (int pos = from; pos < to;)
  {
    const int n = std::min(to - pos, block);
    double* buffers[2] = {scratch[0], scratch[1]};
    plug->ProcessDoubleReplacing(nullptr, buffers, n);
    if (converter)
      converter->Push(scratch[0], scratch[1], n, kStandaloneOutputGain, &channels);
    else
      for (int c = 0; c < 2; ++c)
        if (float* out = outs ? outs[c] : nullptr)
          for (int i = 0; i < n; ++i) out[pos + i] = (float)(scratch[c][i] * kStandaloneOutputGain);
    pos += n;
  }
}
