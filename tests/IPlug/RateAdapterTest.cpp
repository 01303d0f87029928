// The rate adapter on its own: where events land in the instrument's time,
// the delay it reports against an impulse's and a tone's, and the tone's
// purity at the host's rate. (That any host calls give the same bytes, the
// plug-ins' tests check against veltra-render.)

#include "IRateAdapter.h"

#include <cmath>
#include <functional>
#include <gtest/gtest.h>
#include <vector>

namespace
{
struct Collect : IRateAdapter::IOutput
{
  std::vector<float> left, right;
  size_t callStart = 0;
  void Write(int hostFrame, const float* frames, int n) override
  {
    const size_t at = callStart + (size_t)hostFrame;
    if (left.size() < at + (size_t)n) left.resize(at + (size_t)n), right.resize(at + (size_t)n);
    for (int i = 0; i < n; ++i) left[at + (size_t)i] = frames[2 * i], right[at + (size_t)i] = frames[2 * i + 1];
  }
};

// The instrument's samples through the adapter, in host calls whose sizes
// next() gives, each call's instrument samples pushed in pieces of 1 to 50.
std::vector<float> Convert(IRateAdapter* a, const std::vector<double>& signal, long long hostFrames,
                           const std::function<int()>& next)
{
  a->Reset();
  Collect out;
  size_t used = 0;
  unsigned pieces = 3;
  for (long long done = 0; done < hostFrames;)
  {
    const int n = (int)std::min<long long>(next(), hostFrames - done);
    out.callStart = (size_t)done;
    const int inst = a->Begin(n);
    for (int k = 0; k < inst;)
    {
      pieces = pieces * 1103515245u + 12345u;
      const int m = std::min(inst - k, (int)(pieces >> 16) % 50 + 1);
      std::vector<double> l(m), r(m);
      for (int i = 0; i < m; ++i) l[i] = r[i] = used + i < signal.size() ? signal[used + i] : 0.0;
      a->Push(l.data(), r.data(), m, 0.5, &out);
      used += (size_t)m, k += m;
    }
    a->End(&out);
    done += n;
  }
  EXPECT_EQ(out.left, out.right);
  return out.left;
}

TEST(RateAdapter, EventsLandAtTheRoundedInstrumentSample)
{
  IRateAdapter a;
  EXPECT_FALSE(a.Setup(44100.0)) << "no conversion at the instrument's own rate";
  ASSERT_TRUE(a.Setup(96000.0));
  a.Reset();
  long long host = 0, inst = 0;
  for (int n : {1, 7, 0, 64, 333, 1, 1, 2})
  {
    const int samples = a.Begin(n);
    for (int f = 0; f < n; ++f)
    {
      // round(f * 44100 / 96000), halves up, from the host's start.
      const long long at = (long long)std::floor((host + f) * 44100.0 / 96000.0 + 0.5);
      EXPECT_EQ(inst + a.InstrumentFrame(f), at) << "host frame " << host + f;
      EXPECT_LE(a.InstrumentFrame(f), samples);
    }
    std::vector<double> silence((size_t)samples);
    Collect out;
    a.Push(silence.data(), silence.data(), samples, 1.0, &out);
    a.End(&out);
    EXPECT_EQ(out.left.size(), (size_t)n) << "a call of " << n << " gets its frames";
    host += n, inst += samples;
  }
  EXPECT_EQ(inst, (long long)std::floor(host * 44100.0 / 96000.0 + 0.5));
}

TEST(RateAdapter, DelaysByItsLatencyAndKeepsATonePure)
{
  for (double rate : {48000.0, 96000.0, 88200.0, 192000.0, 32000.0, 47999.0})
  {
    IRateAdapter a;
    ASSERT_TRUE(a.Setup(rate)) << rate;
    EXPECT_LE(a.Latency() / rate, 0.0015) << rate;
    EXPECT_GT(a.Latency(), 0) << rate;
    // An impulse at the instrument's sample 1000 comes out loudest at its
    // host frame plus the latency.
    std::vector<double> impulse(4000, 0.0);
    impulse[1000] = 1.0;
    const std::vector<float> out = Convert(&a, impulse, (long long)(4000 * rate / 44100), [] { return 256; });
    size_t loudest = 0;
    for (size_t i = 0; i < out.size(); ++i)
      if (std::fabs(out[i]) > std::fabs(out[loudest])) loudest = i;
    EXPECT_NEAR((double)loudest, 1000 * rate / 44100 + a.Latency(), 1.0) << rate;

    // 1 kHz at half scale: at the host's rate, what is not that tone (at
    // whatever phase) lies 90 dB down.
    std::vector<double> tone(44100);
    for (size_t i = 0; i < tone.size(); ++i) tone[i] = std::sin(2 * M_PI * 1000.0 * (double)i / 44100.0);
    const std::vector<float> t = Convert(&a, tone, (long long)rate, [] { return 512; });
    double ss = 0, sc = 0, ts = 0, tc = 0;
    const size_t from = (size_t)(0.1 * rate), to = from + (size_t)(0.5 * rate);
    for (size_t i = from; i < to; ++i)
    {
      const double s = std::sin(2 * M_PI * 1000.0 * (double)i / rate),
                   c = std::cos(2 * M_PI * 1000.0 * (double)i / rate);
      ss += s * s, sc += c * c, ts += t[i] * s, tc += t[i] * c;
    }
    double residual = 0, power = 0;
    for (size_t i = from; i < to; ++i)
    {
      const double fit = ts / ss * std::sin(2 * M_PI * 1000.0 * (double)i / rate) +
                         tc / sc * std::cos(2 * M_PI * 1000.0 * (double)i / rate);
      residual += (t[i] - fit) * (t[i] - fit);
      power += fit * fit;
    }
    EXPECT_NEAR(std::sqrt(2 * power / (double)(to - from)), 0.5, 0.001) << rate;
    // The delay is the latency exactly, not a fraction of a frame off it.
    const double period = rate / 1000.0, delay = -std::atan2(tc / sc, ts / ss) * period / (2 * M_PI);
    EXPECT_NEAR(std::remainder(delay - a.Latency(), period), 0.0, 0.01) << rate;
    EXPECT_LT(10 * std::log10(residual / power), -90.0) << rate;
  }
}

} // namespace
