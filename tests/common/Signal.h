#pragma once
// Measurements on rendered sound, shared by the tests that listen.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

// The fundamental in Hz, from the lag of strongest autocorrelation between
// 60 and 200 samples (220 to 735 Hz at 44100), refined by a parabola. Zero
// crossings would not do: an FM tone may cross zero twice a cycle.
template<class T>
double Fundamental(const std::vector<T>& v, size_t from, size_t to, double rate, size_t step = 1)
{
  auto corr = [&](size_t lag)
  {
    double xy = 0.0, xx = 0.0, yy = 0.0;
    for (size_t i = from; i + lag < to; ++i)
    {
      const double a = v[i * step], b = v[(i + lag) * step];
      xy += a * b;
      xx += a * a;
      yy += b * b;
    }
    return xx > 0.0 && yy > 0.0 ? xy / std::sqrt(xx * yy) : 0.0;
  };
  size_t best = 60;
  double bestCorr = corr(best);
  for (size_t lag = 61; lag <= 200; ++lag)
  {
    const double c = corr(lag);
    if (c > bestCorr) best = lag, bestCorr = c;
  }
  const double a = corr(best - 1), b = bestCorr, c = corr(best + 1);
  const double shift = (a - 2.0 * b + c) != 0.0 ? 0.5 * (a - c) / (a - 2.0 * b + c) : 0.0;
  return rate / ((double)best + shift);
}

template<class T>
double Rms(const std::vector<T>& v, size_t from, size_t to, size_t step = 1)
{
  double sum = 0.0;
  for (size_t i = from; i < to; ++i) sum += (double)v[i * step] * v[i * step];
  return to > from ? std::sqrt(sum / (double)(to - from)) : 0.0;
}

// The first sample from `from` on that is not silent, or `to`.
template<class T>
size_t FirstSound(const std::vector<T>& v, size_t from, size_t to)
{
  for (size_t i = from; i < to; ++i)
    if (std::fabs((double)v[i]) > 1e-6) return i;
  return to;
}

// The level each millisecond: the RMS of the 20 ms from there, long enough
// for a low note's cycles; step 2 reads the left channel of stereo frames.
inline std::vector<double> Envelope(const std::vector<float>& s, int rate, size_t step = 1)
{
  std::vector<double> e;
  const size_t ms = (size_t)rate / 1000;
  for (size_t frame = 0; step * (frame + 20 * ms) <= s.size(); frame += ms)
    e.push_back(Rms(s, frame, frame + 20 * ms, step));
  return e;
}

// The lag, in ms between lo and hi, at which the envelope's stretch from
// `from` ms resembles itself most (a range below twice the period: its
// multiples score as well).
inline int Period(std::vector<double> e, size_t from, int lo, int hi)
{
  double mean = 0;
  for (size_t i = from; i < e.size(); ++i) mean += e[i] / (double)(e.size() - from);
  for (double& v : e) v -= mean;
  int best = lo;
  double bestScore = -1e300;
  for (int lag = lo; lag <= hi && from + (size_t)lag < e.size(); ++lag)
  {
    double score = 0;
    for (size_t i = from; i + (size_t)lag < e.size(); ++i) score += e[i] * e[i + (size_t)lag];
    score /= (double)(e.size() - from - (size_t)lag);
    if (score > bestScore) bestScore = score, best = lag;
  }
  return best;
}
