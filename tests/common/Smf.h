#pragma once
// Standard MIDI Files built byte by byte, for the tests that render them.

#include <algorithm>
#include <utility>
#include <vector>

typedef std::vector<unsigned char> Bytes;

// A track of messages at ticks (sorted by tick, those of one tick in list
// order), after head, with the end-of-track message.
inline Bytes SmfTrack(std::vector<std::pair<int, Bytes>> events, Bytes head = {})
{
  std::stable_sort(events.begin(), events.end(), [](auto& a, auto& b) { return a.first < b.first; });
  int at = 0;
  for (const auto& e : events)
  {
    Bytes delta;
    for (int d = e.first - at; delta.empty() || d; d >>= 7) delta.insert(delta.begin(), (unsigned char)(d & 0x7F));
    for (size_t i = 0; i + 1 < delta.size(); ++i) delta[i] |= 0x80;
    head.insert(head.end(), delta.begin(), delta.end());
    head.insert(head.end(), e.second.begin(), e.second.end());
    at = e.first;
  }
  head.insert(head.end(), {0, 0xFF, 0x2F, 0});
  return head;
}

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
