#pragma once
// A Standard MIDI File reader: formats 0 and 1, all tracks merged in time,
// tempo changes honoured, running status. Refuses malformed files with a
// reason instead of guessing.

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
  uint64_t mTime;      // mSeconds exactly, in units of 1 / mTimeUnits seconds
  uint64_t mTimeUnits; // units a second (the same for every event of a file)
};

// Which channel messages a reader keeps, by status byte; null keeps all.
typedef bool (*MidiStatusFilter)(uint8_t status);

// Fills events with the channel messages that keep takes (all without it),
// in time order (file order for equal times: track by track), and with the
// file's last channel message of any kind, so that the file lasts as long
// as its events do. What keep drops is never stored. False with a reason on
// a malformed file.
bool ReadMidiFile(const unsigned char* data, size_t size, std::vector<MidiFileEvent>* events, std::string* error,
                  MidiStatusFilter keep = nullptr);

// The sample at which an event sounds: its exact time at the sample rate,
// rounded half up (an event half-way between two samples sounds at the
// later one). The renderer and every host of the plug-in in the tests use it.
inline long long MidiEventSample(const MidiFileEvent& e, long long rate)
{
  const unsigned __int128 units = e.mTimeUnits ? e.mTimeUnits : 1;
  return (long long)(((unsigned __int128)e.mTime * (unsigned long long)rate * 2 + units) / (units * 2));
}
