#include "QuietProbe.h"

#include <alsa/asoundlib.h>
#include <iostream>

namespace
{
// A stream buffer that takes everything and keeps nothing.
class NullBuffer : public std::streambuf
{
protected:
  int overflow(int c) override { return c == EOF ? 0 : c; }
  std::streamsize xsputn(const char*, std::streamsize n) override { return n; }
};
NullBuffer sNull;

void SilentAlsa(const char*, int, const char*, int, const char*, ...) {}
} // namespace

QuietProbe::QuietProbe() : mSaved(std::cerr.rdbuf(&sNull)) {}

QuietProbe::~QuietProbe() { std::cerr.rdbuf(mSaved); }

void SilenceAlsaLib() { snd_lib_error_set_handler(SilentAlsa); }
