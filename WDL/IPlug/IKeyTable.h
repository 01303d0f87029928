#pragma once
// The notes that an instrument's MIDI holds, as its panel shows them: one
// flag for each of the 128 notes. The instrument keeps its own from the MIDI
// it receives; the panel of a plug-in, which runs apart from the sound, takes
// the sound's from the host.

#include <cstdint>

constexpr int kKeyTableNotes = 128;
// The table as bits: bit n % 8 of byte n / 8 is set while note n is held.
constexpr int kKeyTableBytes = kKeyTableNotes / 8;

class IKeyTable
{
public:
  virtual ~IKeyTable() {}
  // Any thread; take the plug-in's mutex.
  virtual int GetNumKeys() = 0;
  virtual bool GetKeyStatus(int key) = 0;
  // The panel's side of a plug-in, on the thread of the host's UI calls: the
  // sound's table, whole. An instrument's own table follows its MIDI instead
  // and ignores it.
  virtual void SetHeldNotes(const uint8_t* /*bits of kKeyTableBytes*/) {}

  // The table as bits, for a host's panel. An instrument whose calls each
  // take its mutex reads the whole table under one lock instead.
  virtual void GetHeldNotes(uint8_t* bits)
  {
    for (int n = 0; n < kKeyTableNotes; ++n)
      bits[n / 8] = (uint8_t)(GetKeyStatus(n) ? bits[n / 8] | (1 << (n % 8)) : bits[n / 8] & ~(1 << (n % 8)));
  }
};
