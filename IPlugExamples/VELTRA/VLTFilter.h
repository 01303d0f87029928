#pragma once
// The two stages on the mono sample: a two-pole resonant low-pass with a soft
// saturator on its output, and the table-driven crusher. Audio thread, once
// a sample each: no allocation, no transcendental call.

// Close to tanh near zero, and unbounded: for large x it grows as x / 9.
inline double fast_tanh(double x)
{
  const double x2 = x * x;
  return x * (x2 + 27.0) / (9.0 * x2 + 27.0);
}

// The crusher's curve: rises from -0.1 to 1.0 over the lower half, jumps to
// -1.0 at index 128 and rises again to 0.0. Index 256 is never read.
extern const double crushform[257];

// One sample through the filter, c the cutoff coefficient and r the feedback
// ("resonance") coefficient. The states stay unsaturated; only the output
// passes the saturator, which is nearly the identity up to several units.
inline double VLTFilterStep(double x, double c, double r, double& velocity, double& position)
{
  velocity += (x - position) * c;
  velocity *= r;
  position += velocity;
  return fast_tanh(position * 0.01) * 100.0;
}

// One sample through the crusher. The truncated index is taken as an
// unsigned 32-bit value, so u at or below -1.0 reads index 255 like u of
// 256.0 or more; a NaN sample reads index 255 too.
inline double VLTCrushStep(double x, double destruction, double mix)
{
  const double u = destruction * x * 127.0 + 127.0;
  unsigned int index = 255;
  if (u > -2147483648.0 && u < 2147483648.0) index = (unsigned int)(int)u;
  if (index > 255) index = 255;
  return mix * crushform[index] + (1.0 - mix) * x;
}
