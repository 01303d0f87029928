#pragma once
// The MIDI input stage that every host of an instrument puts ahead of its
// ProcessMidiMsg: the sustain pedal, the channel-mode messages, keys struck
// again while they sound, the pitch wheel repeated after a new note, and
// controllers learned for parameters. What none of these concern passes
// through unchanged, so that plain notes play exactly as without the stage.
//
// The stage keeps per channel which keys it has let on, which the pedal
// holds, the pedal and the wheel, all in fixed arrays: it allocates nothing
// and locks nothing; the caller runs it under the instrument's mutex.

#include "IPlugStructs.h"

#include <cstdint>

class IControllerMap;
class IPlugBase;

class IMidiInput
{
public:
  // Where the stage's output goes. Frames are those of the caller's block,
  // never decreasing within it.
  class ISink
  {
  public:
    virtual ~ISink() = default;
    virtual void Deliver(int frame, IMidiMsg* msg) = 0;
    // A learned controller moved parameter paramIdx to a normalised value.
    virtual void SetLearned(int frame, int paramIdx, double normalized) = 0;
  };

  class IBlockSink;

  // The controllers learned for the parameters of plug; null for none. Both
  // outlive the stage's use of them.
  void SetControllers(IControllerMap* map, IPlugBase* plug);

  // One message at a frame of the current block. Wheel repeats due at or
  // before the frame go out first.
  void Input(int frame, const IMidiMsg& msg, ISink* sink);
  // Delivers the wheel repeats due at or before the frame.
  void DeliverDue(int frame, ISink* sink);
  // The first frame at which a repeat is due, or -1.
  int NextDue() const;
  // The block of nFrames has been rendered: repeats still waiting move to
  // the next block's frames.
  void EndBlock(int nFrames);
  // Everything forgotten, as at a new start: no keys, no pedal, wheels
  // centred.
  void Reset();

private:
  enum EKey : uint8_t
  {
    kKeyOff = 0,
    kKeyOn,  // struck, its note-off not yet come
    kKeyHeld // released while the pedal was down: its note-off waits
  };
  struct Channel
  {
    uint8_t mKeys[128] = {};
    bool mPedal = false;
    uint8_t mWheelLSB = 0;
    uint8_t mWheelMSB = 64;
    int mRepeatAt = -1; // the frame of a wheel repeat still to go, or -1
    bool WheelCentred() const { return mWheelLSB == 0 && mWheelMSB == 64; }
  };

  void NoteOn(int frame, int ch, const IMidiMsg& msg, ISink* sink);
  void NoteOff(int frame, int ch, const IMidiMsg& msg, ISink* sink);
  void ControlChange(int frame, int ch, const IMidiMsg& msg, ISink* sink);
  void ReleaseKeys(int frame, int ch, bool heldOnly, ISink* sink);
  void Learned(int frame, int cc, int value, ISink* sink);

  Channel mChannels[16];
  IControllerMap* mMap = nullptr;
  IPlugBase* mPlug = nullptr;
};

// The sink of a host that renders a block in pieces (the plug-ins, the
// offline renderer): messages go to the instrument's queue at their frame,
// but the instrument retunes at a wheel message as it arrives and a learned
// controller changes a parameter at once, so the piece ends before either,
// and the sound is the same whatever blocks the host runs.
class IMidiInput::IBlockSink : public IMidiInput::ISink
{
public:
  explicit IBlockSink(IPlugBase* plug) : mPlug(plug) {}
  void Deliver(int frame, IMidiMsg* msg) override;
  void SetLearned(int frame, int paramIdx, double normalized) override;
  // The block's end: the wheel repeats due within it, its last frames, and
  // the repeats left for the next block.
  void Finish(IMidiInput* input, int nFrames);
  // Renders up to the frame, the wheel repeats due by then delivered, so
  // that a change the host makes next (a parameter's automation) acts at
  // exactly that frame.
  void CatchUp(IMidiInput* input, int frame);

protected:
  // Renders the block's frames from..to, to not included.
  virtual void Render(int from, int to) = 0;

private:
  void RenderUpTo(int frame);
  IPlugBase* mPlug;
  int mPos = 0;
};
