#pragma once
// The instrument: eight voices of two wavetable operators each, rendered
// block by block under the plug-in mutex.

#include "IPlugStandalone.h"
#include "VLTOscillator.h"

// The application's reverse-domain identifier, shared by the plug-in object
// and its panel.
constexpr const char* kVeltraBundleID = "com.QuillmoorInstruments.standalone.VELTRA";

enum
{
  kNumVoices = 8,
  kNumOscillators = 2 * kNumVoices
};

class VELTRA : public IPlugStandalone
{
public:
  explicit VELTRA(IPlugInstanceInfo instanceInfo);
  ~VELTRA() override;

  // Main thread, while no stream runs; takes the mutex. Only later note-ons
  // see the new sample rate, so sounding notes keep their pitch.
  void Reset() override;
  // Audio thread, with the mutex held by the caller. Writes both outputs.
  void ProcessDoubleReplacing(double** inputs, double** outputs, int nFrames) override;

  // Oscillators 2n and 2n+1 are operator 1 and operator 2 of voice n.
  VLTOscillator mOsc[kNumOscillators];
  double mSampleRate = 44100.0;
};

// The one place where the instrument is made; serialised by a static mutex
// so that two callers cannot make two objects side by side. The caller owns
// the result and deletes it through its virtual destructor.
void* MakePlug(void* midiOut, unsigned short* midiOutChan);
