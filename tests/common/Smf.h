#pragma once
// Standard MIDI Files built byte by byte, for the tests that render them.

#include <vector>

typedef std::vector<unsigned char> Bytes;

inline Bytes SmfChunk(const char* id, const Bytes& body)
{
  Bytes c(id, id + 4);
  const size_t n = body.size();
  for (int shift : {24, 16, 8, 0}) c.push_back((unsigned char)(n >> shift));
  c.insert(c.end(), body.begin(), body.end());
  return c;
}

// A Standard MIDI File: tracks of raw (delta, bytes) data.
inline Bytes Smf(int format, int division, const std::vector<Bytes>& tracks)
{
  Bytes f = SmfChunk("MThd", {0, (unsigned char)format, 0, (unsigned char)tracks.size(), (unsigned char)(division >> 8),
                              (unsigned char)division});
  for (const Bytes& t : tracks)
  {
    const Bytes c = SmfChunk("MTrk", t);
    f.insert(f.end(), c.begin(), c.end());
  }
  return f;
}
