#pragma once
// While a QuietProbe lives, RtAudio and RtMidi keep to themselves what they
// say while VELTRA only looks around (servers that do not answer, back-ends
// without devices): they write their warnings to std::cerr, which goes
// nowhere meanwhile. Errors of real use (a stream that will not open) are
// printed as always. Main thread.

class QuietProbe
{
public:
  QuietProbe();
  ~QuietProbe();
  QuietProbe(const QuietProbe&) = delete;
  QuietProbe& operator=(const QuietProbe&) = delete;
};

// Called once at start. alsa-lib's own error printing, which names every
// configuration step that fails on a machine without sound cards, is
// silenced for the whole run: VELTRA says itself what it found. std::cerr,
// where RtAudio and RtMidi write, goes through a filter from now on, which
// holds back what a QuietProbe asks and the notices VELTRA replaces.
void QuietSoundLibraries();
