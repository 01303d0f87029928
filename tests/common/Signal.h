#pragma once
// Measurements on rendered sound, shared by the tests that listen.

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
