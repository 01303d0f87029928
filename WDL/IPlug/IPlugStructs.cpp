#include "IPlugStructs.h"

#include <cassert>
#include <cstddef>
#include <cstring>

void IMidiMsg::MakeNoteOnMsg(int noteNumber, int velocity, int offset, int channel)
{
  Clear();
  mStatus = (uint8_t)(channel | (kNoteOn << 4));
  mData1 = (uint8_t)noteNumber;
  mData2 = (uint8_t)velocity;
  mOffset = offset;
}

void IMidiMsg::MakeNoteOffMsg(int noteNumber, int offset, int channel)
{
  Clear();
  mStatus = (uint8_t)(channel | (kNoteOff << 4));
  mData1 = (uint8_t)noteNumber;
  mOffset = offset;
}

void IMidiMsg::MakePitchWheelMsg(double value, int channel)
{
  Clear();
  mStatus = (uint8_t)(channel | (kPitchWheel << 4));
  int i = (int)(value * 8192.0) + 8192;
  if (i < 0) i = 0;
  if (i > 16383) i = 16383;
  mData1 = (uint8_t)(i & 127);
  mData2 = (uint8_t)(i >> 7);
}

void IMidiMsg::MakeControlChangeMsg(EControlChangeMsg idx, double value, int channel)
{
  Clear();
  mStatus = (uint8_t)(channel | (kControlChange << 4));
  mData1 = (uint8_t)idx;
  mData2 = (uint8_t)(int)(value * 127.0);
}

IMidiMsg::EStatusMsg IMidiMsg::StatusMsg() const
{
  const unsigned int s = mStatus >> 4;
  return (s >= kNoteOff && s <= kPitchWheel) ? (EStatusMsg)s : kNone;
}

int IMidiMsg::NoteNumber() const
{
  const EStatusMsg s = StatusMsg();
  return (s == kNoteOff || s == kNoteOn || s == kPolyAftertouch) ? mData1 : -1;
}

int IMidiMsg::Velocity() const
{
  const EStatusMsg s = StatusMsg();
  return (s == kNoteOff || s == kNoteOn) ? mData2 : -1;
}

int IMidiMsg::PolyAfterTouch() const { return StatusMsg() == kPolyAftertouch ? mData2 : -1; }

int IMidiMsg::ChannelAfterTouch() const { return StatusMsg() == kChannelAftertouch ? mData1 : -1; }

int IMidiMsg::Program() const { return StatusMsg() == kProgramChange ? mData1 : -1; }

double IMidiMsg::PitchWheel() const
{
  if (StatusMsg() != kPitchWheel) return 0.0;
  return (mData2 * 128 + mData1 - 8192) / 8192.0;
}

double IMidiMsg::ControlChange(EControlChangeMsg idx) const
{
  if (StatusMsg() == kControlChange && ControlChangeIdx() == idx) return (double)mData2 / 127.0;
  return -1.0;
}

const char* StatusMsgStr(IMidiMsg::EStatusMsg msg)
{
  switch (msg)
  {
  case IMidiMsg::kNone:
    return "none";
  case IMidiMsg::kNoteOff:
    return "noteoff";
  case IMidiMsg::kNoteOn:
    return "noteon";
  case IMidiMsg::kPolyAftertouch:
    return "aftertouch";
  case IMidiMsg::kControlChange:
    return "controlchange";
  case IMidiMsg::kProgramChange:
    return "programchange";
  case IMidiMsg::kChannelAftertouch:
    return "channelaftertouch";
  case IMidiMsg::kPitchWheel:
    return "pitchwheel";
  default:
    return "unknown";
  }
}

char* SysExStr(char* str, int maxlen, const unsigned char* pData, int size)
{
  assert(str != NULL && maxlen >= 3);
  if (!pData || size <= 0)
  {
    str[0] = 0;
    return str;
  }
  static const char hex[] = "0123456789ABCDEF";
  const int n = maxlen / 3 < size ? maxlen / 3 : size;
  char* p = str;
  for (int i = 0; i < n; ++i, p += 3)
  {
    p[0] = hex[pData[i] >> 4];
    p[1] = hex[pData[i] & 15];
    p[2] = ' ';
  }
  p[-1] = 0; // the last blank becomes the terminator
  return str;
}

IPreset::IPreset(int) { strcpy(mName, "empty"); }

NChanDelayLine::NChanDelayLine(int nInputChans, int nOutputChans)
    : mBuffer(4096), mNumInChans(nInputChans), mNumOutChans(nOutputChans)
{
}

void NChanDelayLine::SetDelayTime(int samples)
{
  mDTSamples = samples > 0 ? samples : 0;
  mBuffer.Resize(mNumInChans * mDTSamples);
  mWriteAddress = 0;
  ClearBuffer();
}

void NChanDelayLine::ClearBuffer()
{
  if (mBuffer.Get()) memset(mBuffer.Get(), 0, (size_t)mBuffer.GetSize() * sizeof(double));
}

void NChanDelayLine::ProcessBlock(double** inputs, double** outputs, int nFrames)
{
  const int nChans = mNumInChans < mNumOutChans ? mNumInChans : mNumOutChans;
  double* buf = mBuffer.Get();
  if (!mDTSamples || !buf)
  {
    for (int c = 0; c < nChans; ++c) memcpy(outputs[c], inputs[c], (size_t)nFrames * sizeof(double));
    return;
  }
  for (int s = 0; s < nFrames; ++s)
  {
    for (int c = 0; c < nChans; ++c)
    {
      double* slot = buf + c * mDTSamples + mWriteAddress;
      const double in = inputs[c][s];
      outputs[c][s] = *slot;
      *slot = in;
    }
    mWriteAddress = (mWriteAddress + 1) % mDTSamples;
  }
}
