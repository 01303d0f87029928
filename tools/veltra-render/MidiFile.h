#pragma once
// A Standard MIDI File reader: formats 0 and 1, all tracks merged in time,
// tempo changes honoured, running status. Refuses malformed files with a
// reason instead of guessing.

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

struct MidiFileEvent
{
  double mSeconds; // from the start of the file
  uint8_t mStatus; // a channel message: 0x80 to 0xEF
  uint8_t mData1;
  uint8_t mData2;
};

// Fills events with every channel message, in time order (file order for
// equal times: track by track). False with a reason on a malformed file.
bool ReadMidiFile(const unsigned char* data, size_t size, std::vector<MidiFileEvent>* events, std::string* error);

// The sample at which an event sounds: its time at the sample rate, rounded
// half up. The renderer and every host of the plug-in in the tests use it.
inline long long MidiEventSample(const MidiFileEvent& e, double rate)
{
  return (long long)std::floor(e.mSeconds * rate + 0.5);
}
