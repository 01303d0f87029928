#pragma once
// The mono sample's way from the oscillators' sum to the two outputs:
// smoothing, the crusher and the filter (the crusher first when its switch
// says so), then chorus and reverb on each side and the master volume. Its
// state and settings are copied in for a span of samples in which only the
// sample changes (between control ticks, MIDI events and block ends) and
// copied back after it, so that they live in registers. Audio thread; no
// allocation.

#include "VLTChorus.h"
#include "VLTFilter.h"
#include "VLTReverb.h"

struct VLTChain
{
  double sample, velocity, position;
  double cutoff, resonance, volume, destruction, mix;
  bool smoothing, crushFirst;
  // With the crusher's mix at zero (and a finite destruction), its step
  // mix * crushform[index] + (1.0 - mix) * x is x plus a zero whose sign
  // only matters for x == -0.0, whose index is always 127: x + dryZero,
  // with dryZero = mix * crushform[127], is the same double in every case
  // (NaNs and infinities included).
  bool crushDry;
  double dryZero;
  VLTChorus::Run chorusL, chorusR;
  VLTReverb::Run reverbL, reverbR;
  bool paired; // the reverbs' positions agree: both in one register
  VLTReverb::PairRun reverbs;

  // acc: the oscillators' sum, already halved; returns the mono sample.
  inline double Mono(double acc)
  {
    if (smoothing)
      sample += (acc - sample) * 0.1;
    else
      sample = acc;
    if (crushFirst) sample = Crush(sample);
    sample = VLTFilterStep(sample, cutoff, resonance, velocity, position);
    if (!crushFirst) sample = Crush(sample);
    return sample;
  }

  inline double Crush(double x) { return crushDry ? x + dryZero : VLTCrushStep(x, destruction, mix); }

  // The span's summed oscillators through the chain to the outputs.
  inline void Run(const double* acc, double* __restrict outL, double* __restrict outR, int n)
  {
    if (paired)
    {
      for (int i = 0; i < n; ++i)
      {
        const double mono = Mono(acc[i]);
        VLTReverb::V2 sides = {chorusL.feed(mono), chorusR.feed(mono)};
        sides += reverbs.feed(sides);
        sides *= volume;
        outL[i] = sides[0];
        outR[i] = sides[1];
      }
      return;
    }
    for (int i = 0; i < n; ++i)
    {
      const double mono = Mono(acc[i]);
      double left = chorusL.feed(mono);
      double right = chorusR.feed(mono);
      left += reverbL.feed(left);
      right += reverbR.feed(right);
      outL[i] = left * volume;
      outR[i] = right * volume;
    }
  }
};
