#include "IMidiInput.h"

#include "IControllerMap.h"
#include "IPlugBase.h"

namespace
{
enum
{
  kAllSoundOff = 120,
  kResetAllControllers = 121,
  kAllNotesOff = 123, // 124-127, the mode messages, release the notes too
};
} // namespace

void IMidiInput::SetControllers(IControllerMap* map, IPlugBase* plug)
{
  mMap = map;
  mPlug = plug;
}

void IMidiInput::Reset()
{
  for (Channel& c : mChannels) c = Channel();
}

void IMidiInput::Input(int frame, const IMidiMsg& msg, ISink* sink)
{
  DeliverDue(frame, sink);
  const int ch = msg.Channel();
  switch (msg.StatusMsg())
  {
  case IMidiMsg::kNoteOn:
    if (msg.mData2)
      NoteOn(frame, ch, msg, sink);
    else
      NoteOff(frame, ch, msg, sink);
    return;
  case IMidiMsg::kNoteOff:
    NoteOff(frame, ch, msg, sink);
    return;
  case IMidiMsg::kControlChange:
    ControlChange(frame, ch, msg, sink);
    return;
  case IMidiMsg::kPitchWheel:
    mChannels[ch].mWheelLSB = msg.mData1;
    mChannels[ch].mWheelMSB = msg.mData2;
    break;
  default:
    break;
  }
  IMidiMsg copy = msg;
  sink->Deliver(frame, &copy);
}

void IMidiInput::NoteOn(int frame, int ch, const IMidiMsg& msg, ISink* sink)
{
  Channel& c = mChannels[ch];
  const int key = msg.mData1 & 0x7F;
  // A key that still sounds, by its own note or by the pedal, is released
  // first, so that one note-off always ends one note.
  if (msg.mData1 < 128 && c.mKeys[key] != kKeyOff)
  {
    IMidiMsg off(0, (uint8_t)(0x80 | ch), (uint8_t)key, 0);
    sink->Deliver(frame, &off);
  }
  if (msg.mData1 < 128) c.mKeys[key] = kKeyOn;
  IMidiMsg copy = msg;
  sink->Deliver(frame, &copy);
  // The instrument starts a note at the wheel's centre; a bent wheel is
  // given again on the next frame, once the note has started.
  if (!c.WheelCentred() && c.mRepeatAt < 0) c.mRepeatAt = frame + 1;
}

void IMidiInput::NoteOff(int frame, int ch, const IMidiMsg& msg, ISink* sink)
{
  Channel& c = mChannels[ch];
  if (msg.mData1 < 128)
  {
    uint8_t& key = c.mKeys[msg.mData1];
    if (key == kKeyHeld) return; // the pedal still holds it
    if (key == kKeyOn && c.mPedal)
    {
      key = kKeyHeld;
      return;
    }
    key = kKeyOff;
  }
  IMidiMsg copy = msg;
  sink->Deliver(frame, &copy);
}

void IMidiInput::ReleaseKeys(int frame, int ch, bool heldOnly, ISink* sink)
{
  Channel& c = mChannels[ch];
  for (int key = 0; key < 128; ++key)
  {
    if (c.mKeys[key] == kKeyOff || (heldOnly && c.mKeys[key] != kKeyHeld)) continue;
    c.mKeys[key] = kKeyOff;
    IMidiMsg off(0, (uint8_t)(0x80 | ch), (uint8_t)key, 0);
    sink->Deliver(frame, &off);
  }
}

void IMidiInput::ControlChange(int frame, int ch, const IMidiMsg& msg, ISink* sink)
{
  Channel& c = mChannels[ch];
  const int cc = msg.mData1;
  if (cc == IControllerMap::kPedal || cc == kResetAllControllers)
  {
    const bool down = cc == IControllerMap::kPedal && msg.mData2 >= 64;
    if (c.mPedal && !down) ReleaseKeys(frame, ch, true, sink);
    c.mPedal = down;
    return;
  }
  if (cc == kAllSoundOff || cc >= kAllNotesOff)
  {
    ReleaseKeys(frame, ch, false, sink);
    if (cc != kAllSoundOff) return;
  }
  else if (mMap && mPlug && mMap->ParamFor(cc) >= 0)
  {
    Learned(frame, cc, msg.mData2 & 0x7F, sink);
    return;
  }
  IMidiMsg copy = msg;
  sink->Deliver(frame, &copy);
}

void IMidiInput::Learned(int frame, int cc, int value, ISink* sink)
{
  // The map is the caller's, changed only under the same lock as this call.
  IControllerMap* map = mMap;
  const int idx = map->ParamFor(cc);
  IParam* param = mPlug->GetParam(idx);
  if (!param || !map->Takes(cc, value, param->GetNormalized())) return;
  sink->SetLearned(frame, idx, value / 127.0);
  map->Took(cc, value, param->GetNormalized());
}

int IMidiInput::NextDue() const
{
  int due = -1;
  for (const Channel& c : mChannels)
    if (c.mRepeatAt >= 0 && (due < 0 || c.mRepeatAt < due)) due = c.mRepeatAt;
  return due;
}

void IMidiInput::DeliverDue(int frame, ISink* sink)
{
  for (int due = NextDue(); due >= 0 && due <= frame; due = NextDue())
    for (int ch = 0; ch < 16; ++ch)
    {
      Channel& c = mChannels[ch];
      if (c.mRepeatAt != due) continue;
      c.mRepeatAt = -1;
      if (c.WheelCentred()) continue; // centred again since the note
      IMidiMsg wheel(0, (uint8_t)(0xE0 | ch), c.mWheelLSB, c.mWheelMSB);
      sink->Deliver(due, &wheel);
    }
}

void IMidiInput::EndBlock(int nFrames)
{
  for (Channel& c : mChannels)
    if (c.mRepeatAt >= 0) c.mRepeatAt = c.mRepeatAt > nFrames ? c.mRepeatAt - nFrames : 0;
}

void IMidiInput::IBlockSink::RenderUpTo(int frame)
{
  if (frame <= mPos) return;
  Render(mPos, frame);
  mPos = frame;
}

void IMidiInput::IBlockSink::Deliver(int frame, IMidiMsg* msg)
{
  if (msg->StatusMsg() == IMidiMsg::kPitchWheel) RenderUpTo(frame);
  msg->mOffset = frame - mPos;
  mPlug->ProcessMidiMsg(msg);
}

void IMidiInput::IBlockSink::SetLearned(int frame, int paramIdx, double normalized)
{
  RenderUpTo(frame);
  mPlug->SetParameterFromController(paramIdx, normalized);
}

void IMidiInput::IBlockSink::CatchUp(IMidiInput* input, int frame)
{
  input->DeliverDue(frame, this);
  RenderUpTo(frame);
}

void IMidiInput::IBlockSink::Finish(IMidiInput* input, int nFrames)
{
  input->DeliverDue(nFrames - 1, this);
  RenderUpTo(nFrames);
  input->EndBlock(nFrames);
  mPos = 0;
}
