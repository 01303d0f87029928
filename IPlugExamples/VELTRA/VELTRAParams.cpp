// How each real value of the 44 parameter slots is put in force in the
// fields that the render loop reads.

#include "VELTRA.h"

#include <cmath>
#include <cstdlib>

namespace
{
// Read as IParam::Bool() and IParam::Int() read: on from half way, and
// truncated toward zero.
bool AsBool(double v) { return v >= 0.5; }
int AsInt(double v) { return (int)v; }

// The chorus bound is drawn anew at every change: a draw % 10 - 5 lies in
// -5..+4. The draws are the C library's unseeded rand() sequence, as they
// always were, from the instrument's own generator.
int ChorusBound(double speed, VLTRandom* random) { return (int)(speed + (double)(random->Next() % 10 - 5)); }

// Parameters whose real value, or the falling per-tick step that mapRate
// makes of it, goes into one field as it is.
struct DirectParam
{
  int param;
  double VELTRA::*field;
  bool asRate;
};
const DirectParam kDirectParams[] = {
    {kFilterCutoff, &VELTRA::mCutoff, false},
    {kFilterResonance, &VELTRA::mResonance, false},
    {kFilterFeedback, &VELTRA::mFilterFeedback, false},
    {kARAttack, &VELTRA::mARAttack, true},
    {kARRelease, &VELTRA::mARRelease, true},
    {kARDepth, &VELTRA::mARDepth, false},
    {kLFORate, &VELTRA::mLFORate, false},
    {kLFOShape, &VELTRA::mLFOShape, false},
    {kLFODepth, &VELTRA::mLFODepth, false},
    {kMasterVolume, &VELTRA::mMasterVolume, false},
    {kCrusherDestruction, &VELTRA::mCrushDestruction, false},
    {kCrusherMix, &VELTRA::mCrushMix, false},
    {kPWMRate, &VELTRA::mPWMRate, false},
    {kPWMDepth, &VELTRA::mPWMDepth, false},
    {kPortamento, &VELTRA::mPortamentoRate, false},
};

// The switches: on from half way.
struct SwitchParam
{
  int param;
  bool VELTRA::*field;
};
const SwitchParam kSwitchParams[] = {
    {kSynthMode, &VELTRA::mFMMode},
    {kPWMOn, &VELTRA::mPWMOn},
    {kCrusherBeforeVCF, &VELTRA::mCrushBeforeFilter},
    {kPortamentoOn, &VELTRA::mPortamentoOn},
    {kSmoothingOn, &VELTRA::mSmoothingOn},
};

} // namespace

double mapRate(double v) { return 1.0 - tanh(3.0 * v); }

void VELTRA::OnParamChange(int paramIdx)
{
  IMutexLock lock(this);
  if (IParam* param = GetParam(paramIdx)) ApplyParam(paramIdx, param->Value());
}

void VELTRA::ApplyOperatorParam(int op, int row, double value)
{
  for (int n = op; n < kNumOscillators; n += 2)
  {
    VLTOscillator& o = mOsc[n];
    switch (row)
    {
    case kOpWaveform:
    {
      const int w = AsInt(value);
      o.mWave = waveforms[w < 0 ? 0 : w >= kNumWaveforms ? kNumWaveforms - 1 : w];
      break;
    }
    case kOpOctave:
    case kOpTune:
      (row == kOpOctave ? o.mOctave : o.mCents) = AsInt(value);
      o.mTune = pow(2.0, o.mCents / 1200.0 + o.mOctave);
      break;
    case kOpAttack:
      o.mAttack = mapRate(value);
      break;
    case kOpDecay:
      o.mDecay = mapRate(value);
      break;
    case kOpSustain:
      o.mSustain = value;
      break;
    case kOpRelease:
      o.mRelease = mapRate(value);
      break;
    case kOpVolume:
      o.mVelocityGain = value; // sounding notes too
      break;
    }
  }
}

void VELTRA::ApplyParam(int paramIdx, double value)
{
  if (paramIdx >= kOP1Waveform && paramIdx <= kOP2Volume)
  {
    const int op = (paramIdx - kOP1Waveform) / kNumOperatorParams;
    ApplyOperatorParam(op, (paramIdx - kOP1Waveform) % kNumOperatorParams, value);
    return;
  }
  for (const DirectParam& d : kDirectParams)
    if (d.param == paramIdx)
    {
      this->*d.field = d.asRate ? mapRate(value) : value;
      return;
    }
  for (const SwitchParam& s : kSwitchParams)
    if (s.param == paramIdx)
    {
      this->*s.field = AsBool(value);
      return;
    }
  switch (paramIdx)
  {
  case kChorusDepth:
    mChorusL.mDepth = mChorusR.mDepth = value;
    break;
  case kChorusSpeed:
    mChorusL.mMaxLength = ChorusBound(value, &mRandom);
    mChorusR.mMaxLength = ChorusBound(value, &mRandom);
    break;
  case kReverbDepth:
    mReverbL.mMix = mReverbR.mMix = value;
    break;
  case kReverbLength:
    mReverbL.mFeedback = mReverbR.mFeedback = value;
    break;
  case kPitchBend:
    mPitchBend = value;
    SetBendOnAllOscillators();
    break;
  default:
    break; // the meter slots, and anything out of range
  }
}
