#include "VELTRA.h"

namespace
{
constexpr int kNumParams = 44;
constexpr int kNumPrograms = 8;
constexpr int FourCC(char a, char b, char c, char d)
{
  return (int)(((unsigned)(unsigned char)a << 24) | ((unsigned)(unsigned char)b << 16) |
               ((unsigned)(unsigned char)c << 8) | (unsigned)(unsigned char)d);
}
} // namespace

VELTRA::VELTRA(IPlugInstanceInfo instanceInfo)
    : IPlugStandalone(instanceInfo, kNumParams, "0-1 0-2", kNumPrograms, "VELTRA", "", "QuillmoorInstruments", 0x10103,
                      FourCC('V', 'L', 'T', '1'), FourCC('Q', 'l', 'm', 'r'), 0, true, false, true, 0)
{
}

VELTRA::~VELTRA() {}

void VELTRA::Reset()
{
  IMutexLock lock(this);
  mSampleRate = GetSampleRate();
}

void VELTRA::ProcessDoubleReplacing(double**, double** outputs, int nFrames)
{
  double* outL = outputs[0];
  double* outR = outputs[1];
  for (int s = 0; s < nFrames; ++s)
  {
    double sum = 0.0;
    for (VLTOscillator& osc : mOsc) sum += osc.Step();
    outL[s] = outR[s] = sum;
  }
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
