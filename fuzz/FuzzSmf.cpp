// The Standard MIDI File reader of veltra-render.

#include "MidiFile.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
  std::vector<MidiFileEvent> events;
  std::string why;
  ReadMidiFile(data, size, &events, &why);
  return 0;
}
