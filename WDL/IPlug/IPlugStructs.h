#pragma once
// Short MIDI messages with a time inside the current audio block, and
// system-exclusive messages.

#include <cstdint>

struct IMidiMsg
{
  enum EStatusMsg
  {
    kNone = 0,
    kNoteOff = 8,
    kNoteOn = 9,
    kPolyAftertouch = 10,
    kControlChange = 11,
    kProgramChange = 12,
    kChannelAftertouch = 13,
    kPitchWheel = 14
  };

  // The MIDI controller number.
  enum EControlChangeMsg
  {
    kModWheel = 1,
    kBreathController = 2,
    kFootController = 4,
    kPortamentoTime = 5,
    kChannelVolume = 7,
    kBalance = 8,
    kPan = 10,
    kExpressionController = 11,
    kSustainOnOff = 64,
    kPortamentoOnOff = 65,
    kSustenutoOnOff = 66,
    kSoftPedalOnOff = 67,
    kAllNotesOff = 123
  };

  int32_t mOffset; // samples from the start of the current block
  uint8_t mStatus; // kind in the high nibble, channel in the low one
  uint8_t mData1;
  uint8_t mData2;

  IMidiMsg(int offs = 0, uint8_t s = 0, uint8_t d1 = 0, uint8_t d2 = 0)
      : mOffset(offs), mStatus(s), mData1(d1), mData2(d2)
  {
  }

  void Clear() { mOffset = mStatus = mData1 = mData2 = 0; }
  void MakeNoteOnMsg(int noteNumber, int velocity, int offset, int channel = 0);
  void MakeNoteOffMsg(int noteNumber, int offset, int channel = 0);
  // value runs from -1.0 to 1.0; +1.0 is the top of the 14-bit range.
  void MakePitchWheelMsg(double value, int channel = 0);
  // value runs from 0.0 to 1.0.
  void MakeControlChangeMsg(EControlChangeMsg idx, double value, int channel = 0);

  int Channel() const { return mStatus & 0x0F; }
  EStatusMsg StatusMsg() const;
  int NoteNumber() const;
  int Velocity() const;
  int PolyAfterTouch() const;
  int ChannelAfterTouch() const;
  int Program() const;
  double PitchWheel() const;
  EControlChangeMsg ControlChangeIdx() const { return (EControlChangeMsg)mData1; }
  double ControlChange(EControlChangeMsg idx) const;
  void LogMsg() {}
};

struct ISysEx
{
  int32_t mOffset;
  int32_t mSize;
  const unsigned char* mData; // owned by the caller

  ISysEx(int offs = 0, const unsigned char* pData = nullptr, int size = 0) : mOffset(offs), mSize(size), mData(pData) {}
  void Clear()
  {
    mOffset = mSize = 0;
    mData = nullptr;
  }
  void LogMsg() {}
};

const char* StatusMsgStr(IMidiMsg::EStatusMsg msg);
// The hexadecimal text of a message, "F0 01 02", cut at whole bytes to fit
// maxlen (at least 3) characters with the terminator.
char* SysExStr(char* str, int maxlen, const unsigned char* pData, int size);

#include "ByteChunk.h"

// Transport information a host may give; nothing in the standalone reads it.
struct ITimeInfo
{
};

// One program slot: a name and a serialised state. A slot never filled has
// no state, and takes the plug-in's state the first time it is selected.
struct IPreset
{
  bool mInitialized = false;
  char mName[256];
  ByteChunk mChunk;

  explicit IPreset(int idx);
};

// A delay of mDTSamples samples over channels stored one after the other in
// one buffer, for latency compensation of pass-through audio.
class NChanDelayLine
{
public:
  NChanDelayLine(int nInputChans = 2, int nOutputChans = 2);
  void SetDelayTime(int samples);
  void ClearBuffer();
  void ProcessBlock(double** inputs, double** outputs, int nFrames);

private:
  WDL_TypedBuf<double> mBuffer;
  int mWriteAddress = 0;
  int mNumInChans, mNumOutChans;
  int mDTSamples = 0;
};
