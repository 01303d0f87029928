#include "OutputFile.h"

#include "Cli.h"

#include <cerrno>
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <sndfile.h>
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
// The unfinished render, removed on every way out.
WDL_FileReplacer* sUnfinished = nullptr;
volatile sig_atomic_t sStopSignal = 0;

void OnStopSignal(int sig) { sStopSignal = sig; }

std::string FolderOf(const std::string& path)
{
  const size_t slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}
} // namespace

OutputTarget CheckOutput(const std::string& output, const std::string& input)
{
  OutputTarget t;
  const size_t dot = output.rfind('.'), slash = output.rfind('/');
  const std::string ext =
      dot != std::string::npos && (slash == std::string::npos || dot > slash) ? output.substr(dot + 1) : "";
  if (!strcasecmp(ext.c_str(), "wav"))
    t.container = SF_FORMAT_WAV;
  else if (!strcasecmp(ext.c_str(), "flac"))
    t.container = SF_FORMAT_FLAC;
  else
    Fail("%s: the name ends in neither .wav nor .flac", output.c_str());

  t.path = WDL_ResolveLinks(output);
  if (t.path.empty()) Fail("%s: too many levels of symbolic links", output.c_str());
  struct stat st;
  if (!stat(t.path.c_str(), &st))
  {
    if (S_ISDIR(st.st_mode)) Fail("%s is a folder", output.c_str());
    if (!S_ISREG(st.st_mode)) Fail("%s is a pipe or a device, not a file to write", output.c_str());
    struct stat in;
    if (!stat(input.c_str(), &in) && in.st_dev == st.st_dev && in.st_ino == st.st_ino)
      Fail("%s is the input file: it would be lost (choose another output)", output.c_str());
  }

  const std::string folder = FolderOf(t.path);
  struct stat fst;
  if (stat(folder.c_str(), &fst)) Fail("%s: the folder %s does not exist", output.c_str(), folder.c_str());
  if (!S_ISDIR(fst.st_mode)) Fail("%s: %s is not a folder", output.c_str(), folder.c_str());
  if (access(folder.c_str(), W_OK | X_OK))
    Fail("%s: cannot write in the folder %s (%s)", output.c_str(), folder.c_str(), strerror(errno));
  return t;
}

int SampleFormat(const std::string& format, int container)
{
  if (format.empty()) return container == SF_FORMAT_FLAC ? SF_FORMAT_PCM_24 : SF_FORMAT_FLOAT;
  int sub;
  if (format == "float")
    sub = SF_FORMAT_FLOAT;
  else if (format == "double")
    sub = SF_FORMAT_DOUBLE;
  else if (format == "pcm16")
    sub = SF_FORMAT_PCM_16;
  else if (format == "pcm24")
    sub = SF_FORMAT_PCM_24;
  else
    Fail("--format: '%s' is not float, double, pcm16 or pcm24", format.c_str());
  if (container == SF_FORMAT_FLAC && (sub == SF_FORMAT_FLOAT || sub == SF_FORMAT_DOUBLE))
    Fail("--format %s: FLAC holds pcm16 or pcm24 only", format.c_str());
  return sub;
}

void CatchStopSignals()
{
  struct sigaction sa = {};
  sa.sa_handler = OnStopSignal;
  sigemptyset(&sa.sa_mask);
  // A write beyond the file-size limit then fails with an error instead of
  // ending the program, and the render stops as for the others.
  for (int sig :
       {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGXFSZ, SIGXCPU, SIGALRM, SIGVTALRM, SIGPROF, SIGUSR1, SIGUSR2, SIGPIPE})
    sigaction(sig, &sa, nullptr);
}

int StopRequested() { return sStopSignal; }

void RemovePartialOutput()
{
  if (sUnfinished) sUnfinished->Abort();
}

SoundOutput::SoundOutput(const OutputTarget& target, int rate, int format, long long frames)
    : mTarget(target), mReplacer(new WDL_FileReplacer(target.path.c_str())), mFormat(format)
{
  if (!mReplacer->Ok()) Fail("%s: cannot write: %s", target.path.c_str(), strerror(errno));
  sUnfinished = mReplacer.get();
  if (target.container == SF_FORMAT_WAV)
  {
    WriteWavHeader(rate, frames);
    return;
  }
  SF_INFO info = {};
  info.samplerate = rate;
  info.channels = 2;
  info.format = target.container | format;
  // The descriptor stays the replacer's: the sound file only writes to it.
  mFile = sf_open_fd(mReplacer->Fd(), SFM_WRITE, &info, SF_FALSE);
  if (!mFile) Fail("%s: cannot write: %s", target.path.c_str(), sf_strerror(nullptr));
}

SoundOutput::~SoundOutput()
{
  if (mFile) sf_close(mFile);
  if (sUnfinished == mReplacer.get()) sUnfinished = nullptr;
}

namespace
{
// Little-endian fields of a RIFF header.
struct Header
{
  std::string bytes;
  void Tag(const char* t) { bytes.append(t, 4); }
  void U16(unsigned v) { bytes.append({(char)(v & 255), (char)(v >> 8 & 255)}); }
  void U32(unsigned long long v)
  {
    for (int i = 0; i < 4; ++i) bytes += (char)(v >> (8 * i) & 255);
  }
  void U64(unsigned long long v)
  {
    for (int i = 0; i < 8; ++i) bytes += (char)(v >> (8 * i) & 255);
  }
};

int BytesPerSample(int format)
{
  switch (format)
  {
  case SF_FORMAT_PCM_16:
    return 2;
  case SF_FORMAT_PCM_24:
    return 3;
  case SF_FORMAT_DOUBLE:
    return 8;
  default:
    return 4;
  }
}
} // namespace

// RIFF, "WAVE", then the format chunk (16 bytes for PCM; 18 for floating
// point, whose format needs the extension size, 0, and a fact chunk with the
// frame count), then the data. Sizes that do not fit 32 bits make the file
// RF64 (EBU Tech 3306): its ds64 chunk holds them, and the 32-bit fields
// hold all ones.
void SoundOutput::WriteWavHeader(int rate, long long frames)
{
  const bool floating = mFormat == SF_FORMAT_FLOAT || mFormat == SF_FORMAT_DOUBLE;
  const unsigned block = 2 * (unsigned)BytesPerSample(mFormat);
  const unsigned long long data = (unsigned long long)frames * block;
  const unsigned long long fmtChunk = 8 + (floating ? 18 : 16), factChunk = floating ? 12 : 0;
  const unsigned long long riff = 4 + fmtChunk + factChunk + 8 + data;
  const bool rf64 = riff > 0xFFFFFFFFull;
  const unsigned long long none = 0xFFFFFFFFull;
  Header h;
  h.Tag(rf64 ? "RF64" : "RIFF");
  h.U32(rf64 ? none : riff);
  h.Tag("WAVE");
  if (rf64)
  {
    h.Tag("ds64");
    h.U32(28);
    h.U64(riff + 36);
    h.U64(data);
    h.U64((unsigned long long)frames);
    h.U32(0); // no table of other chunks' sizes
  }
  h.Tag("fmt ");
  h.U32(floating ? 18 : 16);
  h.U16(floating ? 3 : 1); // WAVE_FORMAT_IEEE_FLOAT, WAVE_FORMAT_PCM
  h.U16(2);
  h.U32((unsigned)rate);
  h.U32((unsigned)rate * block);
  h.U16(block);
  h.U16(block * 4);
  if (floating)
  {
    h.U16(0);
    h.Tag("fact");
    h.U32(4);
    h.U32(frames > (long long)none ? none : (unsigned long long)frames);
  }
  h.Tag("data");
  h.U32(rf64 ? none : data);
  if (!mReplacer->Write(h.bytes.data(), h.bytes.size()))
    Fail("%s: cannot write: %s", mTarget.path.c_str(), strerror(errno));
}

void SoundOutput::WriteWavSamples(const double* frames, int n)
{
  const size_t samples = 2 * (size_t)n, bytes = samples * (size_t)BytesPerSample(mFormat);
  if (mByteCapacity < bytes)
  {
    mBytes.reset(new unsigned char[bytes]);
    mByteCapacity = bytes;
  }
  unsigned char* p = mBytes.get();
#if __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
  // The file's byte order is this machine's: floats go as they are.
  if (mFormat == SF_FORMAT_FLOAT || mFormat == SF_FORMAT_DOUBLE)
  {
    if (mFormat == SF_FORMAT_DOUBLE)
      memcpy(p, frames, bytes);
    else
      for (size_t i = 0; i < samples; ++i)
      {
        const float f = (float)frames[i];
        memcpy(p + 4 * i, &f, 4);
      }
    if (!mReplacer->Write(p, bytes)) Fail("%s: cannot write: %s", mTarget.path.c_str(), strerror(errno));
    return;
  }
#endif
  for (size_t i = 0; i < samples; ++i)
  {
    uint64_t word;
    int width = BytesPerSample(mFormat);
    if (mFormat == SF_FORMAT_DOUBLE)
      memcpy(&word, &frames[i], 8);
    else if (mFormat == SF_FORMAT_FLOAT)
    {
      const float f = (float)frames[i];
      uint32_t u;
      memcpy(&u, &f, 4);
      word = u;
    }
    else
      word = (uint64_t)(uint32_t)mInts[i] >> (mFormat == SF_FORMAT_PCM_24 ? 8 : 16); // the word's top bits
    for (int b = 0; b < width; ++b) *p++ = (unsigned char)(word >> (8 * b));
  }
  if (!mReplacer->Write(mBytes.get(), bytes)) Fail("%s: cannot write: %s", mTarget.path.c_str(), strerror(errno));
}

const char* SoundOutput::FormatName() const
{
  switch (mFormat)
  {
  case SF_FORMAT_PCM_16:
    return "pcm16";
  case SF_FORMAT_PCM_24:
    return "pcm24";
  case SF_FORMAT_DOUBLE:
    return "double";
  default:
    return "float";
  }
}

void SoundOutput::Write(const double* frames, int n)
{
  const int samples = 2 * n;
  for (int i = 0; i < samples; ++i) mPeak = std::max(mPeak, std::fabs(frames[i]));
  if (mFormat == SF_FORMAT_PCM_16 || mFormat == SF_FORMAT_PCM_24)
  {
    // Nearest step, clipped: the same integers go to WAV and FLAC, which
    // take the top 16 or 24 bits of each word.
    const bool wide = mFormat == SF_FORMAT_PCM_24;
    const long top = wide ? 8388607 : 32767;
    const int shift = wide ? 8 : 16;
    if (mIntCapacity < samples)
    {
      mInts.reset(new int[(size_t)samples]);
      mIntCapacity = samples;
    }
    for (int i = 0; i < samples; ++i)
    {
      long v = lrint(frames[i] * (double)top);
      if (v > top || v < -top - 1)
      {
        v = v > top ? top : -top - 1;
        ++mClipped;
      }
      mInts[i] = (int)((unsigned long)v << shift);
    }
  }
  if (!mFile) return WriteWavSamples(frames, n);
  const sf_count_t written = mInts ? sf_writef_int(mFile, mInts.get(), n) : sf_writef_double(mFile, frames, n);
  if (written != n) Fail("%s: cannot write: %s", mTarget.path.c_str(), sf_strerror(mFile));
}

void SoundOutput::Commit()
{
  if (mFile)
  {
    sf_write_sync(mFile);
    const int err = sf_close(mFile);
    mFile = nullptr;
    if (err) Fail("%s: cannot write: %s", mTarget.path.c_str(), sf_error_number(err));
  }
  if (!mReplacer->Commit()) Fail("%s: cannot write: %s", mTarget.path.c_str(), strerror(errno));
}
