// The MIDI road: arbitrary byte messages through the MIDI callback's size
// rule, channel filter and input stage into the instrument, interleaved with
// rendered blocks. Each message is a length byte (0..4) and that many bytes; a length
// byte of 0xFF renders a block instead.

#include "AppState.h"
#include "AudioEngine.h"
#include "Controllers.h"
#include "MidiEngine.h"
#include "VELTRA.h"

#include <memory>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
  static AppState state;
  static std::unique_ptr<VELTRA> plug;
  if (!plug)
  {
    plug.reset((VELTRA*)MakePlug(nullptr, &state.mMidiOutChan));
    plug->RestorePreset(0);
    plug->SetBlockSize(32);
    plug->Reset();
  }
  gState = &state;
  gPluginInstance = plug.get();
  state.mMidiInChan = size ? data[0] % 17 : 0;
  double out[2][32];
  double* outs[2] = {out[0], out[1]};
  for (size_t i = 1; i < size;)
  {
    const uint8_t len = data[i++];
    if (len == 0xFF)
    {
      RenderThroughInputStage(nullptr, outs, 32);
      continue;
    }
    const size_t n = len % 5 < size - i ? len % 5 : size - i;
    std::vector<unsigned char> msg(data + i, data + i + n);
    i += n;
    MIDICallback(0.0, &msg, nullptr);
  }
  RenderThroughInputStage(nullptr, outs, 32);
  gPluginInstance = nullptr;
  return 0;
}
