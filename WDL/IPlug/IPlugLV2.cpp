#include "IPlugLV2.h"

#include "IPlugLV2Ports.h"

#include <lv2/atom/util.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <thread>

IPlugLV2::IPlugLV2(IPlugStandalone* plug, const IPlugLV2Setup& setup)
    : mPlug(plug), mKeys(dynamic_cast<IKeyTable*>(plug)), mInfo(setup),
      mControlPorts(new float*[(size_t)plug->NParams()]()), mPortShadow(new float[(size_t)plug->NParams()]()),
      mMeterValues(new double[(size_t)plug->NParams()]()),
      mPublished(new WDL_SharedWord<double>[(size_t)plug->NParams()])
{
  mPlug->HostIn(this, kAPILV2);
  // LV2 gives no host's name: the host stays unknown.
  mPlug->SetHost("", 0);
  mForge = LV2_Atom_Forge();
  if (mInfo.mMap) lv2_atom_forge_init(&mForge, mInfo.mMap);
  // The instrument's blocks stay within the framework's largest, whatever
  // the host's runs may bring (run splits longer ones): a host's option of
  // a billion frames costs no more than one of 8192.
  mBlock = std::max(1, std::min(mInfo.mMaxBlockSize, kMaxSignalVectorSize));
  for (std::unique_ptr<double[]>& s : mScratch) s.reset(new double[(size_t)mBlock]());
  mPlug->RestorePreset(0);
  mPlug->SetBlockSize(mBlock);
  mConverting = mRate.Setup(mInfo.mSampleRate);
  mPlug->SetSampleRate(mConverting ? IRateAdapter::kInstrumentRate : mInfo.mSampleRate);
  mPlug->Reset();
  ResetPortShadow();
  PublishValues();
}

IPlugLV2::~IPlugLV2() = default;

void IPlugLV2::Activate(bool active)
{
  mPlug->OnActivate(active);
  mInput.Reset(); // no key, pedal or wheel outlives the silence
  mRate.Reset();
}

void IPlugLV2::ResetPortShadow()
{
  for (int i = 0; i < NParams(); ++i) mPortShadow[(size_t)i] = (float)mPlug->GetParam(i)->Value();
}

void IPlugLV2::ConnectPort(uint32_t port, void* data)
{
  if (port == (uint32_t)kLV2MidiInPort)
  {
    mMidiIn = data;
    return;
  }
  const int nOut = mPlug->NOutChannels();
  const int out = (int)port - kLV2FirstAudioOutPort;
  if (out >= 0 && out < nOut && out < 2)
  {
    mAudioOut[out] = (float*)data;
    return;
  }
  const int param = (int)port - LV2ParamPort(0, nOut);
  if (param >= 0 && param < NParams()) mControlPorts[(size_t)param] = (float*)data;
  if ((int)port == LV2NotifyPort(NParams(), nOut)) mNotify = data;
  if ((int)port == LV2LatencyPort(NParams(), nOut)) mLatencyPort = (float*)data;
  if ((int)port == LV2SameSoundPort(NParams(), nOut)) mSameSoundPort = (const float*)data;
}

void IPlugLV2::SetMeterForHost(int paramIdx, double value)
{
  if (paramIdx >= 0 && paramIdx < NParams()) mMeterValues[(size_t)paramIdx] = value;
}

void IPlugLV2::PublishValues()
{
  // A sequence lock with one writer at a time (the mutex holder): an odd
  // count says a write is under way.
  const uint32_t seq = mPublishedSeq.Get();
  mPublishedSeq.Set(seq + 1);
  std::atomic_thread_fence(std::memory_order_release);
  for (int i = 0; i < NParams(); ++i) mPublished[(size_t)i] = mPlug->GetParam(i)->Value();
  mPublishedSeq.SetRelease(seq + 2);
}

namespace
{

// Whether a port says the same setting as a value: within a millionth of
// the range, in normalised units. That is far finer than any knob step, and
// coarser than the error of a port's single float, which cannot hold every
// value of a program file exactly, over any of the ranges.
bool SameSetting(const IParam* param, float port, double value)
{
  return std::fabs(param->GetNormalized((double)port) - param->GetNormalized(value)) < 1.0 / (1 << 20);
}
} // namespace

void IPlugLV2::ApplyChangedControlPorts()
{
  bool changed = false;
  for (int i = 0; i < NParams(); ++i)
  {
    const float* port = mControlPorts[(size_t)i];
    IParam* param = mPlug->GetParam(i);
    if (!port || LV2IsMeter(param)) continue;
    const float v = *port;
    if (std::isnan(v)) continue;
    if (mCheckAllPorts)
    {
      // A port that says the program's setting stands for the program:
      // nothing is put in force again.
      mPortShadow[(size_t)i] = v;
      if (SameSetting(param, v, param->Value())) continue;
    }
    else if (v == mPortShadow[(size_t)i])
      continue;
    mPortShadow[(size_t)i] = v;
    // A host may send anything: the parameter keeps to its range.
    double lo, hi;
    param->GetBounds(&lo, &hi);
    param->Set(std::min(hi, std::max(lo, (double)v)));
    mPlug->OnParamChange(i);
    changed = true;
  }
  mCheckAllPorts = false;
  if (changed) PublishValues();
}

void IPlugLV2::RenderFrames(uint32_t start, uint32_t end)
{
  double* scratch[2] = {mScratch[0].get(), mScratch[1].get()};
  RenderForHost(mPlug.get(), scratch, mBlock, mAudioOut, (int)start, (int)end, mConverting ? &mRate : nullptr);
}

void IPlugLV2::FollowSameSoundPort()
{
  // The setting changes between two runs: the instrument takes its new
  // rate, as after a change of the host's, and the converter starts anew.
  const bool want = mRate.Active() && !(mSameSoundPort && *mSameSoundPort < 0.5f);
  if (want == mConverting) return;
  mConverting = want;
  mPlug->SetSampleRate(want ? IRateAdapter::kInstrumentRate : mInfo.mSampleRate);
  mPlug->Reset();
  mRate.Reset();
}

void IPlugLV2::RunLV2(uint32_t nFrames)
{
  IPlugBase::IMutexLock lock(mPlug.get());
  ApplyChangedControlPorts();
  FollowSameSoundPort();
  const uint32_t nInst = mConverting ? (uint32_t)mRate.Begin((int)nFrames) : nFrames;

  // Every MIDI event reaches the input stage at its frame, and through it
  // the instrument.
  struct Pieces : IMidiInput::IBlockSink
  {
    IPlugLV2* mOwner;
    Pieces(IPlugLV2* owner) : IBlockSink(owner->mPlug.get()), mOwner(owner) {}
    void Render(int from, int to) override { mOwner->RenderFrames((uint32_t)from, (uint32_t)to); }
  } pieces(this);
  uint32_t last = 0;
  const LV2_Atom_Sequence* midiIn = (const LV2_Atom_Sequence*)mMidiIn;
  if (midiIn && midiIn->atom.type == mInfo.mSequenceURID)
  {
    // Events are read with copies, not through the event struct: some hosts
    // hand over sequences aligned to 4 bytes only.
    const uint8_t* ev = (const uint8_t*)(midiIn + 1);
    const uint8_t* end = (const uint8_t*)&midiIn->body + midiIn->atom.size;
    while (ev + sizeof(LV2_Atom_Event) <= end)
    {
      int64_t time;
      LV2_Atom body;
      memcpy(&time, ev, sizeof(time));
      memcpy(&body, ev + sizeof(time), sizeof(body));
      const uint8_t* bytes = ev + sizeof(LV2_Atom_Event);
      ev += sizeof(LV2_Atom_Event) + lv2_atom_pad_size(body.size);
      if (bytes + body.size > end) break;
      if (body.type != mInfo.mMidiEventURID || body.size == 0 || body.size > 3) continue;
      if (bytes[0] < 0x80 || bytes[0] >= 0xF0) continue; // channel messages only
      // Frames out of order or beyond the block are taken as late as allowed.
      last = (uint32_t)std::clamp<int64_t>(time, last, nFrames ? nFrames - 1 : 0);
      const IMidiMsg msg(0, bytes[0], body.size > 1 ? bytes[1] : 0, body.size > 2 ? bytes[2] : 0);
      mInput.Input(mConverting ? mRate.InstrumentFrame((int)last) : (int)last, msg, &pieces);
    }
  }
  // A run of nothing leaves its events waiting in the queue for the next.
  pieces.Finish(&mInput, (int)nInst);
  if (mConverting)
  {
    IRateAdapter::IFloatChannels ports(mAudioOut);
    mRate.End(&ports);
  }
  if (mLatencyPort) *mLatencyPort = mConverting ? (float)mRate.Latency() : 0.0f;

  for (int i = 0; i < NParams(); ++i)
    if (float* port = mControlPorts[(size_t)i])
      if (LV2IsMeter(mPlug->GetParam(i))) *port = (float)mMeterValues[(size_t)i];
  WriteNotifications(nFrames);
}

void IPlugLV2::WriteNotifications(uint32_t nFrames)
{
  LV2_Atom_Sequence* seq = (LV2_Atom_Sequence*)mNotify;
  if (!seq) return;
  const uint32_t capacity = seq->atom.size;
  // An empty sequence unless there is news and room for it.
  seq->atom.type = mInfo.mSequenceURID;
  seq->atom.size = sizeof(LV2_Atom_Sequence_Body);
  seq->body.unit = 0;
  seq->body.pad = 0;
  if (!mInfo.mMap || capacity < 128) return;
  uint8_t notes[kKeyTableBytes] = {};
  if (mKeys) mKeys->GetHeldNotes(notes);
  mFramesSinceNotify += nFrames;
  if (!memcmp(notes, mSentNotes, sizeof(notes)) && mProgramNameSent &&
      mFramesSinceNotify < (uint32_t)(mInfo.mSampleRate / 4.0))
    return;
  memcpy(mSentNotes, notes, sizeof(notes));
  mFramesSinceNotify = 0;
  mProgramNameSent = true;
  lv2_atom_forge_set_buffer(&mForge, (uint8_t*)seq, capacity);
  LV2_Atom_Forge_Frame sequence, object;
  lv2_atom_forge_sequence_head(&mForge, &sequence, 0);
  lv2_atom_forge_frame_time(&mForge, 0);
  lv2_atom_forge_object(&mForge, &object, 0, mInfo.mKeyStateURID);
  lv2_atom_forge_key(&mForge, mInfo.mKeysURID);
  lv2_atom_forge_atom(&mForge, sizeof(notes), mForge.Chunk);
  lv2_atom_forge_write(&mForge, notes, sizeof(notes));
  // The restored program's name goes along each time, so that a panel
  // opened later shows it too.
  const uint32_t nameLength = (uint32_t)strlen(mProgramName);
  if (nameLength && capacity >= 256)
  {
    lv2_atom_forge_key(&mForge, mInfo.mProgramNameURID);
    lv2_atom_forge_string(&mForge, mProgramName, nameLength);
  }
  lv2_atom_forge_pop(&mForge, &object);
  lv2_atom_forge_pop(&mForge, &sequence);
}

void IPlugLV2::SaveProgramChunk(ByteChunk* chunk)
{
  std::unique_ptr<double[]> values(new double[(size_t)NParams()]);
  for (;;)
  {
    const uint32_t before = mPublishedSeq.GetAcquire();
    if (before & 1)
    {
      std::this_thread::yield();
      continue;
    }
    for (int i = 0; i < NParams(); ++i) values[(size_t)i] = mPublished[(size_t)i];
    std::atomic_thread_fence(std::memory_order_acquire);
    if (mPublishedSeq.Get() == before) break;
  }
  // What the ports say now is what the host shows and saves beside the state:
  // a port moved since the last run (or while the instance is deactivated)
  // is saved as the port says, not as the sound last had it. A port that
  // says the setting in force keeps the value in force, whole.
  for (int i = 0; i < NParams(); ++i)
  {
    const float* port = mControlPorts[(size_t)i];
    const IParam* param = mPlug->GetParam(i);
    if (!port || LV2IsMeter(param) || std::isnan(*port) || SameSetting(param, *port, values[(size_t)i])) continue;
    double lo, hi;
    param->GetBounds(&lo, &hi);
    values[(size_t)i] = std::min(hi, std::max(lo, (double)*port));
  }
  mPlug->MakeProgramFXP(chunk, mPlug->GetPresetName(mPlug->GetCurrentPresetIdx()), values.get());
}

bool IPlugLV2::RestoreProgramChunk(const unsigned char* data, int size)
{
  ByteChunk c;
  if (size < 0 || c.PutBytes(data, size) != size) return false;
  IPlugBase::IMutexLock lock(mPlug.get());
  if (!mPlug->LoadProgramFromChunk(&c)) return false;
  // The ports are the host's record of every parameter: the next run puts
  // every port that says another setting in force over the restored program,
  // so the sound is what the host shows, whether it set its ports before the
  // restore or after.
  mCheckAllPorts = true;
  PublishValues();
  snprintf(mProgramName, sizeof(mProgramName), "%s", mPlug->GetPresetName(mPlug->GetCurrentPresetIdx()));
  mProgramNameSent = false;
  return true;
}
