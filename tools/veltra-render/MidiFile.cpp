#include "MidiFile.h"

#include <algorithm>
#include <cstring>

namespace
{
struct RawEvent
{
  uint64_t mTick;
  int mTempo; // microseconds a quarter note, or -1: not a tempo change
  MidiFileEvent mEvent;
};

class Reader
{
public:
  Reader(const unsigned char* data, size_t size) : mData(data), mEnd(data + size), mAt(data) {}

  size_t Left() const { return (size_t)(mEnd - mAt); }
  bool Byte(uint8_t* b)
  {
    if (mAt >= mEnd) return false;
    *b = *mAt++;
    return true;
  }
  bool Peek(uint8_t* b) const
  {
    if (mAt >= mEnd) return false;
    *b = *mAt;
    return true;
  }
  bool BE(int bytes, uint32_t* v)
  {
    *v = 0;
    for (int i = 0; i < bytes; ++i)
    {
      uint8_t b;
      if (!Byte(&b)) return false;
      *v = (*v << 8) | b;
    }
    return true;
  }
  // A variable-length quantity: at most four bytes.
  bool VLQ(uint32_t* v)
  {
    *v = 0;
    for (int i = 0; i < 4; ++i)
    {
      uint8_t b;
      if (!Byte(&b)) return false;
      *v = (*v << 7) | (b & 0x7F);
      if (!(b & 0x80)) return true;
    }
    return false;
  }
  bool Skip(size_t n)
  {
    if (n > Left()) return false;
    mAt += n;
    return true;
  }
  const unsigned char* Here() const { return mAt; }

private:
  const unsigned char* mData;
  const unsigned char* mEnd;
  const unsigned char* mAt;
};

bool Fail(std::string* error, const std::string& why)
{
  *error = why;
  return false;
}

bool ReadTrackEvents(Reader r, int track, std::vector<RawEvent>* out, MidiStatusFilter keep, RawEvent* lastDropped,
                     std::string* error)
{
  uint64_t tick = 0;
  uint8_t running = 0;
  const std::string where = "track " + std::to_string(track) + ": ";
  while (r.Left())
  {
    uint32_t delta;
    if (!r.VLQ(&delta)) return Fail(error, where + "bad or truncated delta time");
    tick += delta;
    uint8_t status;
    if (!r.Peek(&status)) return Fail(error, where + "truncated event");
    if (status & 0x80)
      r.Byte(&status);
    else if (running)
      status = running; // running status: this byte is the first data byte
    else
      return Fail(error, where + "data byte without a status");

    if (status == 0xFF)
    {
      uint8_t type;
      uint32_t len;
      if (!r.Byte(&type) || !r.VLQ(&len)) return Fail(error, where + "truncated meta event");
      const unsigned char* data = r.Here();
      if (!r.Skip(len)) return Fail(error, where + "meta event runs past the track");
      if (type == 0x2F) return true; // end of track
      if (type == 0x51)
      {
        if (len != 3) return Fail(error, where + "tempo event of the wrong length");
        const int tempo = (data[0] << 16) | (data[1] << 8) | data[2];
        if (tempo == 0) return Fail(error, where + "tempo of 0 microseconds a quarter note");
        out->push_back({tick, tempo, {0, 0, 0, 0, 0, 0}});
      }
      continue;
    }
    if (status == 0xF0 || status == 0xF7)
    {
      uint32_t len;
      if (!r.VLQ(&len) || !r.Skip(len)) return Fail(error, where + "truncated system-exclusive event");
      running = 0;
      continue;
    }
    if (status >= 0xF0) return Fail(error, where + "system message not allowed in a file");

    running = status;
    const int nData = (status & 0xF0) == 0xC0 || (status & 0xF0) == 0xD0 ? 1 : 2;
    uint8_t d[2] = {0, 0};
    for (int i = 0; i < nData; ++i)
    {
      if (!r.Byte(&d[i])) return Fail(error, where + "truncated channel message");
      if (d[i] & 0x80) return Fail(error, where + "data byte above 127");
    }
    const RawEvent e = {tick, -1, {0, status, d[0], d[1], 0, 0}};
    if (!keep || keep(status))
      out->push_back(e);
    else
      *lastDropped = e;
  }
  return true; // a track without its end marker ends with its data
}

// A track's events, and its last channel message when keep dropped it, so
// that the file's end in time stays.
bool ReadTrack(Reader r, int track, std::vector<RawEvent>* out, MidiStatusFilter keep, std::string* error)
{
  const size_t first = out->size();
  RawEvent lastDropped = {0, -2, {}};
  if (!ReadTrackEvents(r, track, out, keep, &lastDropped, error)) return false;
  uint64_t lastKept = 0;
  for (size_t i = first; i < out->size(); ++i)
    if ((*out)[i].mTempo == -1) lastKept = (*out)[i].mTick;
  if (lastDropped.mTempo == -1 && (out->size() == first || lastDropped.mTick > lastKept)) out->push_back(lastDropped);
  return true;
}
} // namespace

namespace
{
// An RMID file is a Standard MIDI File in a RIFF chunk named "data": the
// file inside it, or the bytes as they are.
void UnwrapRmid(const unsigned char** data, size_t* size)
{
  if (*size < 12 || memcmp(*data, "RIFF", 4) || memcmp(*data + 8, "RMID", 4)) return;
  size_t at = 12;
  while (at + 8 <= *size)
  {
    const size_t len = (size_t)(*data)[at + 4] | (size_t)(*data)[at + 5] << 8 | (size_t)(*data)[at + 6] << 16 |
                       (size_t)(*data)[at + 7] << 24;
    if (!memcmp(*data + at, "data", 4))
    {
      *data += at + 8;
      *size = std::min(len, *size - at - 8);
      return;
    }
    if (len > *size - at - 8) return;
    at += 8 + len + (len & 1); // chunks are padded to even lengths
  }
}
} // namespace

bool ReadMidiFile(const unsigned char* data, size_t size, std::vector<MidiFileEvent>* events, std::string* error,
                  MidiStatusFilter keep)
{
  events->clear();
  UnwrapRmid(&data, &size);
  Reader r(data, size);
  uint32_t magic, len, format, ntrks, division;
  if (!r.BE(4, &magic) || magic != 0x4D546864) return Fail(error, "not a Standard MIDI File (no MThd header)");
  if (!r.BE(4, &len) || len < 6 || !r.BE(2, &format) || !r.BE(2, &ntrks) || !r.BE(2, &division))
    return Fail(error, "truncated header");
  if (!r.Skip(len - 6)) return Fail(error, "truncated header");
  if (format > 1) return Fail(error, "format " + std::to_string(format) + " is not supported (only 0 and 1)");
  if (division == 0) return Fail(error, "division of 0 ticks");

  std::vector<RawEvent> raw;
  int track = 0;
  while (r.Left() && track < (int)ntrks)
  {
    uint32_t type, chunkLen;
    if (!r.BE(4, &type) || !r.BE(4, &chunkLen)) return Fail(error, "truncated chunk header");
    if (chunkLen > r.Left()) return Fail(error, "chunk runs past the end of the file");
    if (type == 0x4D54726B) // "MTrk"
    {
      if (!ReadTrack(Reader(r.Here(), chunkLen), track, &raw, keep, error)) return false;
      ++track;
    }
    r.Skip(chunkLen); // other chunk types are skipped
  }
  if (track < (int)ntrks)
    return Fail(error, "file ends after " + std::to_string(track) + " of " + std::to_string(ntrks) + " tracks");

  // Tracks are merged by time; equal times keep file order.
  std::stable_sort(raw.begin(), raw.end(), [](const RawEvent& a, const RawEvent& b) { return a.mTick < b.mTick; });

  // Times are kept exact: a tick lasts num / den seconds, and each event's
  // time is a whole number of 1 / den seconds, so that rounding to samples
  // never depends on how floating-point errors add up over a long file.
  uint64_t tickNum, den;
  const bool smpte = division & 0x8000;
  if (smpte)
  {
    const int fps = -(int)(int8_t)(division >> 8);
    const int perFrame = (int)(division & 0xFF);
    if (fps != 24 && fps != 25 && fps != 29 && fps != 30)
      return Fail(error,
                  "SMPTE division of " + std::to_string(fps) + " frames a second (only 24, 25, 29 and 30 exist)");
    if (!perFrame) return Fail(error, "SMPTE division of 0 ticks a frame");
    // 29 stands for 29.97 frames a second: 100 / 2997 seconds a frame.
    tickNum = fps == 29 ? 100 : 1;
    den = (uint64_t)(fps == 29 ? 2997 : fps) * (uint64_t)perFrame;
  }
  else
  {
    tickNum = 500000; // microseconds a quarter note: 120 beats a minute until a tempo event
    den = (uint64_t)division * 1000000;
  }
  uint64_t lastTick = 0;
  unsigned __int128 time = 0;
  for (const RawEvent& e : raw)
  {
    time += (unsigned __int128)(e.mTick - lastTick) * tickNum;
    if (time >> 63) return Fail(error, "events too far apart in time to render");
    lastTick = e.mTick;
    if (e.mTempo >= 0)
    {
      if (!smpte) tickNum = (uint64_t)e.mTempo;
      continue;
    }
    MidiFileEvent ev = e.mEvent;
    ev.mTime = (uint64_t)time;
    ev.mTimeUnits = den;
    ev.mSeconds = (double)ev.mTime / (double)den;
    events->push_back(ev);
  }
  return true;
}
