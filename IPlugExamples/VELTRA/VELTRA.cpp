// The instrument object: how it is made, its state as a host sees it, and
// its reset. Parameters, voices, the render loop and the panel each have a
// file of their own.

#include "VELTRA.h"

#include <initializer_list>

VELTRA::VELTRA(IPlugInstanceInfo instanceInfo)
    : IPlugStandalone(instanceInfo, kNumParams, "0-1 0-2", kVeltraPrograms, kVeltraName, "", kVeltraMfrName,
                      kVeltraVersion, kVeltraUniqueID, kVeltraMfrID, 0, true, false, true, 0),
      mMidiQueue(1024)
{
  // The panel comes only when a program asks for it (MakePlugGUI): the sound
  // needs none. Restoring a program, which every host does before its sound
  // starts, puts the parameters in force.
  InitVeltraParams(this);
}

VELTRA::~VELTRA() {}

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

void VELTRA::OnActivate(bool active)
{
  IMutexLock lock(this);
  if (!active) return;
  for (int n = 0; n < kNumOscillators; ++n)
  {
    // What the parameters put in the oscillators stays; the rest is as a
    // new object has it. A voice's gain is its volume until a note comes.
    VLTOscillator& o = mOsc[n];
    o.mTargetIncrement = o.mIncrement = o.mPhase = 0.0;
    o.mPulseWidth = 32767.0;
    o.mLevel = o.mEnvelope = 0.0;
    o.mDecaying = o.mGate = false;
    o.mKey = 0;
    o.mVelocityGain = GetParam(n % 2 ? kOP2Volume : kOP1Volume)->Value();
  }
  // The rings empty; their parameters (feedback, mix, depth, the drawn
  // chorus bounds) stay in force.
  for (VLTReverb* r : {&mReverbL, &mReverbR})
  {
    const double feedback = r->mFeedback, mix = r->mMix;
    r->clear();
    r->mFeedback = feedback;
    r->mMix = mix;
  }
  for (VLTChorus* c : {&mChorusL, &mChorusR})
  {
    const int maxLength = c->mMaxLength;
    c->clear();
    c->mMaxLength = maxLength;
  }
  mTickCounter = 0;
  mCutoffNow = mFilterVelocity = mFilterPosition = 0.0;
  mAREnvelope = mLFOLevel = mPWMPosition = 0.0;
  mLFORising = mPWMRising = true;
  mScreenKey = -1;
  mNumKeys = 0;
  for (bool& k : mKeyStatus) k = false;
  mPitchBend = GetParam(kPitchBend)->Value();
  mSample = 0.0;
  while (!mMidiQueue.Empty()) mMidiQueue.Remove();
  mMidiQueue.Flush(0);
}

void VELTRA::Reset()
{
  IMutexLock lock(this);
  mSampleRate = GetSampleRate();
  // In a plug-in MIDI arrives on the audio thread, where the queue must not
  // grow: it takes its full size here, and beyond it messages are dropped.
  mMidiQueue.Resize(GetAPI() != kAPISA ? kMaxQueuedMidiMessages : GetBlockSize());
}

void* MakePlug(void* midiOut, const WDL_SharedWord<uint16_t>* midiOutChan)
{
  static WDL_Mutex sMutex;
  WDL_MutexLock lock(&sMutex);
  IPlugInstanceInfo info;
  info.mBundleID.Set(kVeltraBundleID);
  info.mMidiOut = (IMidiOutPort*)midiOut;
  info.mMidiOutChan = midiOutChan;
  return new VELTRA(info);
}
