#pragma once
// One wavetable operator: phase accumulator, table pointer, pulse threshold
// and the state of one ADSR envelope. A plain record; the render loop advances
// the envelope fields. The steps run on the audio thread up to 16 times a
// sample: they allocate nothing, lock nothing and read the table once.

#include "VLTWaveTables.h"

struct VLTOscillator
{
  double mTargetIncrement = 0.0;  // increment the note asks for, bend excluded
  double mIncrement = 0.0;        // increment in use, in phase units a sample
  double mPhase = 0.0;            // 0.0 to 65535.0; 65536 units make a cycle
  double mPulseWidth = 32767.0;   // pulse threshold in phase units
  const double* mWave = vlt_sine; // never owned, never null
  double mLevel = 0.0;            // mEnvelope x mVelocityGain, set each control tick
  double mAttack = 0.4;
  double mDecay = 0.4;
  double mSustain = 1.0;
  double mRelease = 0.4;
  double mVelocityGain = 0.0;
  bool mDecaying = false; // false: attack stage; true: decay and sustain
  double mEnvelope = 0.0;
  bool mGate = false;
  int mKey = 0;
  double mTune = 1.0; // 2^(mOctave + mCents/1200)
  int mCents = 0;
  int mOctave = 0;

  double Step()
  {
    Advance(mIncrement);
    return TableOut();
  }

  // The modulation moves the phase for this sample only: 4096 units, a
  // sixteenth of a cycle, for a modulator sample of 1.0.
  double FMStep(double mod)
  {
    AdvanceBothWays(mIncrement + mod * 4096.0);
    return TableOut();
  }

  double PWMStep()
  {
    Advance(mIncrement);
    return PulseOut();
  }

  double FMPWMStep(double mod)
  {
    AdvanceBothWays(mIncrement + mod * 4096.0);
    return PulseOut();
  }

private:
  // The overshoot is dropped, not wrapped: a cycle lasts a whole number of
  // samples, so the pitch of high notes is quantised to divisions of the
  // sample rate. This is the instrument's sound; keep it.
  // Written as selects rather than branches: under frequency modulation the
  // resets come at no predictable sample. A NaN phase also goes to 0.
  void Advance(double inc)
  {
    const double p = mPhase + inc;
    mPhase = p <= 65535.0 ? p : 0.0;
  }

  void AdvanceBothWays(double inc)
  {
    const double p = mPhase + inc;
    mPhase = (p <= 65535.0 && p >= 0.0) ? p : 0.0;
  }

  double TableOut() const { return mWave[(int)(mPhase * 0.00390625)] * mLevel; }

  // +mLevel while the phase is below the width, else -mLevel. Picked from a
  // pair rather than branched on: under frequency modulation the crossing
  // comes at no predictable sample, and a mispredicted branch a sample costs
  // more than the whole step.
  double PulseOut() const
  {
    const double out[2] = {-mLevel, mLevel};
    return out[mPulseWidth > mPhase];
  }
};
