// The render loop: MIDI released at its sample, a control tick every 44
// samples for the envelopes, LFO, pulse-width sweep and portamento, then
// per sample the oscillators and the chain of smoothing, crusher, filter,
// chorus, reverb and master volume. Audio thread, under the plug-in mutex.

#include "VELTRA.h"

#include "VLTFilter.h"

#include <algorithm>
#include <cmath>

namespace
{
// One control-tick step of a triangle between 0 and top: it turns at either
// end, where it stops exactly on the bound.
void StepTriangle(double* pos, bool* rising, double rate, double top)
{
  if (*rising)
  {
    *pos += rate;
    if (*pos > top)
    {
      *pos = top;
      *rising = false;
    }
  }
  else
  {
    *pos -= rate;
    if (*pos < 0.0)
    {
      *pos = 0.0;
      *rising = true;
    }
  }
}

// The envelope segments move by their rate each tick and settle on their
// bound the tick after they pass it, so a value may lie beyond the bound
// for one tick: that is the instrument's sound.
void RiseTo(double* x, double top, double rate)
{
  if (*x < top)
    *x += rate;
  else
    *x = top;
}

void FallTo(double* x, double floor, double rate)
{
  if (*x > floor)
    *x -= rate;
  else
    *x = floor;
}
} // namespace

bool VELTRA::StepVoiceEnvelopes()
{
  bool anyGate = false;
  for (VLTOscillator& o : mOsc)
  {
    if (mPortamentoOn) o.mIncrement += (o.mTargetIncrement - o.mIncrement) * mPortamentoRate;
    if (o.mGate)
    {
      anyGate = true;
      if (!o.mDecaying)
      {
        o.mEnvelope += o.mAttack;
        if (o.mEnvelope > 1.0)
        {
          o.mEnvelope = 1.0;
          o.mDecaying = true;
        }
      }
      if (o.mDecaying) FallTo(&o.mEnvelope, o.mSustain, o.mDecay);
    }
    else
    {
      FallTo(&o.mEnvelope, 0.0, o.mRelease);
    }
    o.mLevel = o.mEnvelope * o.mVelocityGain;
  }
  return anyGate;
}

void VELTRA::ControlTick()
{
  mTickCounter = 0;
  if (StepVoiceEnvelopes())
    RiseTo(&mAREnvelope, 1.0, mARAttack);
  else
    FallTo(&mAREnvelope, 0.0, mARRelease);
  SetMeter(kARMeterControl, mAREnvelope);

  StepTriangle(&mLFOLevel, &mLFORising, mLFORate, 1.0);
  SetMeter(kLFOMeterControl, mLFOLevel);

  mCutoffNow = mCutoff + mAREnvelope * mARDepth + fast_tanh(pow(mLFOLevel, mLFOShape) * mLFOShape) * mLFODepth;
  if (mCutoffNow > 0.99) mCutoffNow = 0.99;

  if (mPWMOn)
  {
    StepTriangle(&mPWMPosition, &mPWMRising, mPWMRate, 32766.0);
    for (int n = 1; n < kNumOscillators; n += 2) mOsc[n].mPulseWidth = 32766.0 - mPWMPosition * mPWMDepth;
    SetMeter(kPWMMeterControl, mPWMPosition / 32766.0);
  }
}

void VELTRA::SetMeter(int controlIdx, double value)
{
  // The value crosses to the GUI thread one word at a time; a host that
  // shows meters gets it too.
  if (mGraphics) mGraphics->SetControlFromPlug(controlIdx, value);
  SetMeterForHost(controlIdx - kFirstParamControl, value);
}

void VELTRA::ProcessDoubleReplacing(double**, double** outputs, int nFrames)
{
  PollScreenKeyboard();
  double* outL = outputs[0];
  double* outR = outputs[1];
  for (int s = 0; s < nFrames;)
  {
    // What is due at this sample: its MIDI, then the control tick.
    while (!mMidiQueue.Empty())
    {
      IMidiMsg* msg = mMidiQueue.Peek();
      if (msg->mOffset > s) break;
      const IMidiMsg::EStatusMsg status = msg->StatusMsg();
      if (status == IMidiMsg::kNoteOn || status == IMidiMsg::kNoteOff)
        NoteOnOff(msg);
      else if (status == IMidiMsg::kControlChange)
        SilenceVoices();
      mMidiQueue.Remove();
    }
    if (++mTickCounter > kControlTickSamples - 1) ControlTick();

    // Up to the next MIDI message, control tick or the block's end, only
    // the oscillators' phases and the chain's state change: the oscillators
    // are stepped together over the span, then the chain runs over it.
    int end = std::min(nFrames, s + kControlTickSamples - mTickCounter);
    if (!mMidiQueue.Empty()) end = std::min(end, std::max(s + 1, mMidiQueue.Peek()->mOffset));
    const int n = end - s;
    mBank.Load(mOsc, mFMMode, mPWMOn);
    alignas(32) double acc[kBankMaxSpan];
    mBankKernel(&mBank, n, acc);
    mBank.Store(mOsc);
    VLTChain chain = BeginChain();
    chain.Run(acc, outL + s, outR + s, n);
    EndChain(chain);
    mTickCounter += n - 1;
    s = end;
  }
  mMidiQueue.Flush(nFrames);
}

VLTChain VELTRA::BeginChain()
{
  VLTChain c;
  c.sample = mSample;
  c.velocity = mFilterVelocity;
  c.position = mFilterPosition;
  c.cutoff = mCutoffNow;
  c.resonance = mResonance;
  c.volume = mMasterVolume;
  c.destruction = mCrushDestruction;
  c.mix = mCrushMix;
  c.smoothing = mSmoothingOn;
  c.crushFirst = mCrushBeforeFilter;
  c.crushDry = mCrushMix == 0.0 && std::isfinite(mCrushDestruction);
  c.dryZero = mCrushMix * crushform[127];
  c.chorusL = mChorusL.Begin();
  c.chorusR = mChorusR.Begin();
  c.paired = VLTReverb::CanPair(mReverbL, mReverbR);
  if (c.paired)
    c.reverbs = VLTReverb::BeginPair(mReverbL, mReverbR);
  else
    c.reverbL = mReverbL.Begin(), c.reverbR = mReverbR.Begin();
  return c;
}

void VELTRA::EndChain(const VLTChain& chain)
{
  mSample = chain.sample;
  mFilterVelocity = chain.velocity;
  mFilterPosition = chain.position;
  mChorusL.End(chain.chorusL);
  mChorusR.End(chain.chorusR);
  if (chain.paired)
    VLTReverb::EndPair(mReverbL, mReverbR, chain.reverbs);
  else
    mReverbL.End(chain.reverbL), mReverbR.End(chain.reverbR);
}
