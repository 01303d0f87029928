// Notes: MIDI into the key table and the queue, voices taken and released,
// the pitch wheel, and the on-screen keyboard's key polled into the queue.

#include "VELTRA.h"

#include <cmath>

double midi2CPS(double note) { return 440.0 * pow(2.0, (note + 3.0) / 12.0); }

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
  if (mMidiQueue.GetSize() >= kMaxQueuedMidiMessages)
  {
    ++mDroppedMidiMessages;
    return;
  }
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
    mPitchBend = msg->PitchWheel() * PitchWheelScale();
    SetBendOnAllOscillators();
    // The panel's Pitch Bend fader shows the wheel, without becoming the
    // program's setting.
    if (mGraphics) mGraphics->SetControlFromPlug(kFirstParamControl + kPitchBend, (msg->PitchWheel() + 1.0) * 0.5);
    break;
  case IMidiMsg::kControlChange:
    // All sound off ends the voices at its sample; every other controller
    // is the input stage's, or is dropped.
    if (msg->mData1 != kAllSoundOffController) return;
    mMidiQueue.Add(msg);
    return;
  default:
    return;
  }
  if (mKeyboard) mKeyboard->KeyTableChanged(); // the keyboard shows the key table
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

void VELTRA::GetHeldNotes(uint8_t* bits)
{
  IMutexLock lock(this);
  for (int n = 0; n < kKeyTableNotes; ++n)
    bits[n / 8] =
        (uint8_t)(n < kNumKeys && mKeyStatus[n] ? bits[n / 8] | (1 << (n % 8)) : bits[n / 8] & ~(1 << (n % 8)));
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

void VELTRA::SilenceVoices()
{
  // Gates shut and envelopes at zero: every voice is silent from the next
  // control tick, which sets the levels.
  for (VLTOscillator& o : mOsc)
  {
    o.mGate = false;
    o.mDecaying = false;
    o.mEnvelope = 0.0;
  }
}

void VELTRA::PollScreenKeyboard()
{
  FollowScreenKey(mKeyboard, &mScreenKey, [this](IMidiMsg* msg) { mMidiQueue.Add(msg); });
}
