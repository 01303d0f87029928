#include "VELTRA.h"

#include "IGraphics.h"
#include "IKeyboardControl.h"
#include "VLTFilter.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace
{
constexpr int kNumPrograms = 8;
constexpr int FourCC(char a, char b, char c, char d)
{
  return (int)(((unsigned)(unsigned char)a << 24) | ((unsigned)(unsigned char)b << 16) |
               ((unsigned)(unsigned char)c << 8) | (unsigned)(unsigned char)d);
}

// Read as IParam::Bool() and IParam::Int() read: on from half way, and
// truncated toward zero.
bool AsBool(double v) { return v >= 0.5; }
int AsInt(double v) { return (int)v; }

void InitOperatorParams(IPlugBase* plug, int first, const char* op)
{
  char name[32];
  auto named = [&](const char* what)
  {
    snprintf(name, sizeof(name), "%s %s", op, what);
    return name;
  };
  plug->GetParam(first + 0)->InitInt(named("Waveform"), 0, 0, 8, "");
  plug->GetParam(first + 1)->InitInt(named("Octave"), 2, 0, 4, "");
  plug->GetParam(first + 2)->InitDouble(named("Tune"), 0.0, -1200.0, 1200.0, 1.0, "");
  plug->GetParam(first + 3)->InitDouble(named("Attack"), 0.4, 0.4, 1.5, 0.01, "");
  plug->GetParam(first + 4)->InitDouble(named("Decay"), 0.4, 0.4, 1.5, 0.01, "");
  plug->GetParam(first + 5)->InitDouble(named("Sustain"), 1.0, 0.0, 1.0, 0.001, "");
  plug->GetParam(first + 6)->InitDouble(named("Release"), 0.4, 0.4, 1.5, 0.01, "");
  plug->GetParam(first + 7)->InitDouble(named("Volume"), 1.0, 0.0, 1.0, 0.001, "");
}

// The chorus bound is drawn anew at every change: rand() % 10 - 5 lies in
// -5..+4. The generator is the C library's, unseeded, as it always was.
int ChorusBound(double speed) { return (int)(speed + (double)(rand() % 10 - 5)); }
} // namespace

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
} // namespace

double midi2CPS(double note) { return 440.0 * pow(2.0, (note + 3.0) / 12.0); }

double mapRate(double v) { return 1.0 - tanh(3.0 * v); }

VELTRA::VELTRA(IPlugInstanceInfo instanceInfo)
    : IPlugStandalone(instanceInfo, kNumParams, "0-1 0-2", kNumPrograms, "VELTRA", "", "QuillmoorInstruments", 0x10103,
                      FourCC('V', 'L', 'T', '1'), FourCC('Q', 'l', 'm', 'r'), 0, true, false, true, 0),
      mMidiQueue(1024)
{
  InitOperatorParams(this, kOP1Waveform, "OP1");
  InitOperatorParams(this, kOP2Waveform, "OP2");
  GetParam(kFilterCutoff)->InitDouble("Filter Cutoff", 0.99, 0.01, 0.99, 0.001, "");
  GetParam(kFilterResonance)->InitDouble("Filter Resonance", 0.25, 0.25, 0.998, 0.01, "");
  GetParam(kFilterFeedback)->InitDouble("Filter Feedback", 1.0, 1.0, 2.0, 0.001, "");
  GetParam(kARAttack)->InitDouble("AR Env. Attack", 0.7, 0.7, 1.5, 0.01, "");
  GetParam(kARRelease)->InitDouble("AR Env. Release", 0.7, 0.7, 1.5, 0.01, "");
  GetParam(kARDepth)->InitDouble("AR Env. Depth", 0.0, 0.0, 1.0, 0.001, "");
  GetParam(kLFORate)->InitDouble("LFO Rate", 0.0002, 0.0002, 0.01, 0.0001, "");
  GetParam(kLFOShape)->InitDouble("LFO Shape", 2.0, 2.0, 10.0, 0.01, "");
  GetParam(kLFODepth)->InitDouble("LFO Depth", 0.0, 0.0, 1.0, 0.001, "");
  GetParam(kSynthMode)->InitBool("Synth Mode", true, "");
  GetParam(kMasterVolume)->InitDouble("Master Volume", 1.0, 0.0, 1.0, 0.01, "");
  GetParam(kCrusherDestruction)->InitDouble("Crusher Destruction", 0.0, 0.0, 1.0, 0.01, "");
  GetParam(kCrusherMix)->InitDouble("Crusher Mix", 0.0, 0.0, 1.0, 0.01, "");
  GetParam(kPWMRate)->InitDouble("PWM Rate", 10.0, 10.0, 1000.0, 0.01, "");
  GetParam(kPWMDepth)->InitDouble("PWM Depth", 0.0, 0.0, 1.0, 0.01, "");
  GetParam(kPWMOn)->InitBool("PWM on off", false, "");
  GetParam(kCrusherBeforeVCF)->InitBool("Crusher Before VCF", false, "");
  GetParam(kChorusDepth)->InitDouble("Chorus Depth", 0.0, 0.0, 0.5, 0.01, "");
  GetParam(kChorusSpeed)->InitInt("Chorus Speed", 250, 250, 650, "");
  GetParam(kReverbDepth)->InitDouble("Reverb Depth", 0.0, 0.0, 1.0, 0.01, "");
  GetParam(kReverbLength)->InitDouble("Reverb Length", 0.8, 0.4, 0.98, 0.001, "");
  GetParam(kPortamento)->InitDouble("Portamento", 0.001, 0.001, 0.1, 0.001, "");
  GetParam(kPitchBend)->InitDouble("Pitch Bend", 0.0, -1.0, 1.0, 0.01, "");
  GetParam(kPortamentoOn)->InitBool("Portamento on off", false, "");
  GetParam(kSmoothingOn)->InitBool("Smoothing on off", false, "");
  // The three meter slots keep the blank parameter's kind and range.

  // The start values above are not the parameters': restoring a program,
  // which the application does before its stream starts, puts these in
  // force through OnParamChange.
  MakeDefaultPreset("-", kNumPrograms);
}

VELTRA::~VELTRA() {}

void VELTRA::OnParamChange(int paramIdx)
{
  IMutexLock lock(this);
  if (IParam* param = GetParam(paramIdx)) ApplyParam(paramIdx, param->Value());
}

bool VELTRA::SerializeState(ByteChunk* chunk)
{
  IMutexLock lock(this);
  return SerializeParams(chunk);
}

int VELTRA::UnserializeState(ByteChunk* chunk, int startPos)
{
  IMutexLock lock(this);
  return UnserializeParams(chunk, startPos);
}

bool VELTRA::CompareState(const unsigned char*, int) { return true; }

void VELTRA::PresetsChangedByHost()
{
  IMutexLock lock(this);
  if (GetGUI()) GetGUI()->SetAllControlsDirty();
}

void VELTRA::Reset()
{
  IMutexLock lock(this);
  mSampleRate = GetSampleRate();
  mMidiQueue.Resize(GetBlockSize());
}

void VELTRA::SetKeyboard(IKeyboardControl* keyboard)
{
  IMutexLock lock(this);
  mKeyboard = keyboard;
  mScreenKey = -1;
}

void VELTRA::ApplyParam(int paramIdx, double value)
{
  if (paramIdx >= kOP1Waveform && paramIdx <= kOP2Volume)
  {
    const int op = paramIdx >= kOP2Waveform ? 1 : 0;
    const int row = paramIdx - (op ? kOP2Waveform : kOP1Waveform);
    for (int n = op; n < kNumOscillators; n += 2)
    {
      VLTOscillator& o = mOsc[n];
      switch (row)
      {
      case kOP1Waveform:
      {
        const int w = AsInt(value);
        o.mWave = waveforms[w < 0 ? 0 : w >= kNumWaveforms ? kNumWaveforms - 1 : w];
        break;
      }
      case kOP1Octave:
        o.mOctave = AsInt(value);
        o.mTune = pow(2.0, o.mCents / 1200.0 + o.mOctave);
        break;
      case kOP1Tune:
        o.mCents = AsInt(value);
        o.mTune = pow(2.0, o.mCents / 1200.0 + o.mOctave);
        break;
      case kOP1Attack:
        o.mAttack = mapRate(value);
        break;
      case kOP1Decay:
        o.mDecay = mapRate(value);
        break;
      case kOP1Sustain:
        o.mSustain = value;
        break;
      case kOP1Release:
        o.mRelease = mapRate(value);
        break;
      case kOP1Volume:
        o.mVelocityGain = value;
        break; // sounding notes too
      }
    }
    return;
  }

  switch (paramIdx)
  {
  case kFilterCutoff:
    mCutoff = value;
    break;
  case kFilterResonance:
    mResonance = value;
    break;
  case kFilterFeedback:
    mFilterFeedback = value;
    break;
  case kARAttack:
    mARAttack = mapRate(value);
    break;
  case kARRelease:
    mARRelease = mapRate(value);
    break;
  case kARDepth:
    mARDepth = value;
    break;
  case kLFORate:
    mLFORate = value;
    break;
  case kLFOShape:
    mLFOShape = value;
    break;
  case kLFODepth:
    mLFODepth = value;
    break;
  case kSynthMode:
    mFMMode = AsBool(value);
    break;
  case kMasterVolume:
    mMasterVolume = value;
    break;
  case kCrusherDestruction:
    mCrushDestruction = value;
    break;
  case kCrusherMix:
    mCrushMix = value;
    break;
  case kPWMRate:
    mPWMRate = value;
    break;
  case kPWMDepth:
    mPWMDepth = value;
    break;
  case kPWMOn:
    mPWMOn = AsBool(value);
    break;
  case kCrusherBeforeVCF:
    mCrushBeforeFilter = AsBool(value);
    break;
  case kChorusDepth:
    mChorusL.mDepth = mChorusR.mDepth = value;
    break;
  case kChorusSpeed:
    mChorusL.mMaxLength = ChorusBound(value);
    mChorusR.mMaxLength = ChorusBound(value);
    break;
  case kReverbDepth:
    mReverbL.mMix = mReverbR.mMix = value;
    break;
  case kReverbLength:
    mReverbL.mFeedback = mReverbR.mFeedback = value;
    break;
  case kPortamento:
    mPortamentoRate = value;
    break;
  case kPitchBend:
    mPitchBend = value;
    SetBendOnAllOscillators();
    break;
  case kPortamentoOn:
    mPortamentoOn = AsBool(value);
    break;
  case kSmoothingOn:
    mSmoothingOn = AsBool(value);
    break;
  default:
    break; // the meter slots, and anything out of range
  }
}

void VELTRA::SetBendOnAllOscillators()
{
  const double bend = pow(2.0, mPitchBend);
  for (VLTOscillator& o : mOsc) o.mIncrement = o.mTargetIncrement * bend;
}

void VELTRA::ProcessMidiMsg(IMidiMsg* msg)
{
  IMutexLock lock(this);
  // With no audio running nothing empties the queue, and a flood would grow
  // it without end: beyond this many waiting messages new ones are dropped
  // whole, key table included, so that the table matches what will play.
  if (mMidiQueue.GetSize() >= kMaxQueuedMidiMessages) return;
  const IMidiMsg::EStatusMsg status = msg->StatusMsg();
  const int velocity = msg->Velocity();
  switch (status)
  {
  case IMidiMsg::kNoteOn:
  case IMidiMsg::kNoteOff:
  {
    // A note number above 127 is malformed: the message is refused, so that
    // neither the key table nor the voices see it.
    const int note = msg->NoteNumber();
    if (note < 0 || note >= kNumKeys) return;
    const bool on = status == IMidiMsg::kNoteOn && velocity != 0;
    mKeyStatus[note] = on;
    mNumKeys += on ? 1 : -1;
    break;
  }
  case IMidiMsg::kPitchWheel:
    mPitchBend = msg->PitchWheel();
    SetBendOnAllOscillators();
    break;
  default:
    return;
  }
  if (mKeyboard) mKeyboard->SetDirty(true);
  mMidiQueue.Add(msg);
}

int VELTRA::GetNumKeys()
{
  IMutexLock lock(this);
  return mNumKeys;
}

bool VELTRA::GetKeyStatus(int key)
{
  IMutexLock lock(this);
  return key >= 0 && key < kNumKeys && mKeyStatus[key];
}

void VELTRA::NoteOnOff(IMidiMsg* msg)
{
  const int note = msg->mData1;
  const int velocity = msg->Velocity();
  const bool on = msg->StatusMsg() == IMidiMsg::kNoteOn && velocity != 0;

  if (on)
  {
    // The first voice whose OP1 is free; OP2 is not looked at, and there is
    // no voice stealing.
    int n = 0;
    while (n < kNumVoices && (mOsc[2 * n].mGate || mOsc[2 * n].mLevel >= 0.01)) ++n;
    if (n == kNumVoices) return;
    const double cps = midi2CPS(note);
    for (int op = 0; op < 2; ++op)
    {
      VLTOscillator& o = mOsc[2 * n + op];
      o.mTargetIncrement = 256.0 * (1.0 / mSampleRate) * cps * o.mTune;
      // With portamento the tick glides from this voice's last pitch.
      if (!mPortamentoOn) o.mIncrement = o.mTargetIncrement;
      o.mPhase = 0.0;
      o.mGate = true;
      o.mKey = note;
      o.mVelocityGain = velocity * 0.007874015748031496 * GetParam(op ? kOP2Volume : kOP1Volume)->Value();
    }
    return;
  }

  for (int n = 0; n < kNumVoices; ++n)
  {
    VLTOscillator& op1 = mOsc[2 * n];
    if (op1.mKey == note && op1.mGate)
    {
      for (int op = 0; op < 2; ++op)
      {
        mOsc[2 * n + op].mGate = false;
        mOsc[2 * n + op].mDecaying = false;
      }
      return; // one note-off releases one voice
    }
  }
}

void VELTRA::PollScreenKeyboard()
{
  if (!mKeyboard) return;
  const int key = mKeyboard->GetKey();
  if (key == mScreenKey) return;
  IMidiMsg msg;
  if (mScreenKey >= 0)
  {
    msg.MakeNoteOffMsg(mScreenKey + 48, 0, 0);
    mMidiQueue.Add(&msg);
  }
  mScreenKey = key;
  if (mScreenKey >= 0)
  {
    msg.MakeNoteOnMsg(mScreenKey + 48, mKeyboard->GetVelocity(), 0, 0);
    mMidiQueue.Add(&msg);
  }
}

void VELTRA::SetMeter(int, double)
{
  // The panel and its meter controls arrive with the GUI toolkit; until one
  // is attached there is nothing to show.
  if (!mPanel) return;
}

void VELTRA::ControlTick()
{
  mTickCounter = 0;
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
      if (o.mDecaying)
      {
        if (o.mEnvelope > o.mSustain)
          o.mEnvelope -= o.mDecay;
        else
          o.mEnvelope = o.mSustain;
      }
    }
    else
    {
      if (o.mEnvelope > 0.0)
        o.mEnvelope -= o.mRelease;
      else
        o.mEnvelope = 0.0;
    }
    o.mLevel = o.mEnvelope * o.mVelocityGain;
  }

  if (anyGate)
  {
    if (mAREnvelope < 1.0)
      mAREnvelope += mARAttack;
    else
      mAREnvelope = 1.0;
  }
  else
  {
    if (mAREnvelope > 0.0)
      mAREnvelope -= mARRelease;
    else
      mAREnvelope = 0.0;
  }
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

void VELTRA::ProcessDoubleReplacing(double**, double** outputs, int nFrames)
{
  PollScreenKeyboard();
  // The outputs never overlap the instrument's own state: saying so lets the
  // compiler keep that state in registers across the stores.
  double* __restrict outL = outputs[0];
  double* __restrict outR = outputs[1];
  for (int s = 0; s < nFrames; ++s)
  {
    while (!mMidiQueue.Empty())
    {
      IMidiMsg* msg = mMidiQueue.Peek();
      if (msg->mOffset > s) break;
      const IMidiMsg::EStatusMsg status = msg->StatusMsg();
      if (status == IMidiMsg::kNoteOn || status == IMidiMsg::kNoteOff) NoteOnOff(msg);
      mMidiQueue.Remove();
    }

    if (++mTickCounter > kControlTickSamples - 1) ControlTick();

    double acc = 0.0;
    if (mFMMode)
    {
      if (mPWMOn)
        for (int n = 0; n < kNumOscillators; n += 2) acc += mOsc[n + 1].FMPWMStep(mOsc[n].Step());
      else
        for (int n = 0; n < kNumOscillators; n += 2) acc += mOsc[n + 1].FMStep(mOsc[n].Step());
    }
    else
    {
      if (mPWMOn)
        for (int n = 0; n < kNumOscillators; n += 2) acc += mOsc[n].Step(), acc += mOsc[n + 1].PWMStep();
      else
        for (int n = 0; n < kNumOscillators; n += 2) acc += mOsc[n].Step(), acc += mOsc[n + 1].Step();
    }
    acc *= 0.5;

    if (mSmoothingOn)
      mSample += (acc - mSample) * 0.1;
    else
      mSample = acc;

    if (mCrushBeforeFilter) mSample = VLTCrushStep(mSample, mCrushDestruction, mCrushMix);
    mSample = VLTFilterStep(mSample, mCutoffNow, mResonance, mFilterVelocity, mFilterPosition);
    if (!mCrushBeforeFilter) mSample = VLTCrushStep(mSample, mCrushDestruction, mCrushMix);

    double left = mChorusL.feed(mSample);
    double right = mChorusR.feed(mSample);
    left += mReverbL.feed(left);
    right += mReverbR.feed(right);
    outL[s] = left * mMasterVolume;
    outR[s] = right * mMasterVolume;
  }
  mMidiQueue.Flush(nFrames);
}

void* MakePlug(void* midiOut, unsigned short* midiOutChan)
{
  static WDL_Mutex sMutex;
  WDL_MutexLock lock(&sMutex);
  IPlugInstanceInfo info;
  info.mBundleID.Set(kVeltraBundleID);
  info.mRTMidiOut = (RtMidiOut*)midiOut;
  info.mMidiOutChan = midiOutChan;
  return new VELTRA(info);
}
