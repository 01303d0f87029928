#pragma once
// A VELTRA made as the application makes it, with helpers to play and render.

#include "IKeyboardControl.h"
#include "VELTRA.h"

#include <memory>
#include <vector>

// The panel's keyboard control, the panel made first.
inline IKeyboardControl* PanelKeyboard(VELTRA* plug)
{
  MakePlugGUI(plug);
  return static_cast<IKeyboardControl*>(plug->mKeyboard);
}

class VeltraRig
{
public:
  explicit VeltraRig(int blockSize = 32, double sampleRate = 44100.0)
      : mPlug((VELTRA*)MakePlug(nullptr, nullptr)), mBlockSize(blockSize)
  {
    mPlug->RestorePreset(0); // as the application does before its stream starts
    mPlug->SetBlockSize(blockSize);
    mPlug->SetSampleRate(sampleRate);
    mPlug->Reset();
  }

  // A real value through the road of a state restore.
  void Set(int param, double value)
  {
    IPlugBase::IMutexLock lock(mPlug.get());
    mPlug->GetParam(param)->Set(value);
    mPlug->OnParamChange(param);
  }
  void Midi(uint8_t status, uint8_t d1, uint8_t d2 = 0, int offset = 0)
  {
    IMidiMsg m(offset, status, d1, d2);
    mPlug->ProcessMidiMsg(&m);
  }
  void NoteOn(int note, int velocity = 127, int offset = 0) { Midi(0x90, (uint8_t)note, (uint8_t)velocity, offset); }
  void NoteOff(int note, int offset = 0) { Midi(0x80, (uint8_t)note, 0, offset); }

  // Renders n samples in blocks of the rig's size; returns the left channel
  // and appends the right one to *right when given.
  std::vector<double> Render(int n, std::vector<double>* right = nullptr)
  {
    std::vector<double> left;
    std::vector<double> l(mBlockSize), r(mBlockSize);
    for (int done = 0; done < n;)
    {
      const int frames = std::min(mBlockSize, n - done);
      double* outs[2] = {l.data(), r.data()};
      {
        IPlugBase::IMutexLock lock(mPlug.get());
        mPlug->ProcessDoubleReplacing(nullptr, outs, frames);
      }
      left.insert(left.end(), l.begin(), l.begin() + frames);
      if (right) right->insert(right->end(), r.begin(), r.begin() + frames);
      done += frames;
    }
    return left;
  }

  // The voices whose OP1 gate is on, by index.
  std::vector<int> GatedVoices() const
  {
    std::vector<int> v;
    for (int n = 0; n < kNumVoices; ++n)
      if (mPlug->mOsc[2 * n].mGate) v.push_back(n);
    return v;
  }

  // Sum mode on the sine table, instant envelopes: a plain test tone.
  void PlainSine()
  {
    Set(kSynthMode, 0.0);
    for (int p : {kOP1Attack, kOP2Attack, kOP1Release, kOP2Release}) Set(p, 0.4);
  }

  std::unique_ptr<VELTRA> mPlug;
  int mBlockSize;
};
