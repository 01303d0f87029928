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
  sigaction(SIGINT, &sa, nullptr);
  sigaction(SIGTERM, &sa, nullptr);
}

int StopRequested() { return sStopSignal; }

void RemovePartialOutput()
{
  if (sUnfinished) sUnfinished->Abort();
}

SoundOutput::SoundOutput(const OutputTarget& target, int rate, int format)
    : mTarget(target), mReplacer(new WDL_FileReplacer(target.path.c_str())), mFormat(format)
{
  if (!mReplacer->Ok()) Fail("%s: cannot write: %s", target.path.c_str(), strerror(errno));
  sUnfinished = mReplacer.get();
  SF_INFO info = {};
  info.samplerate = rate;
  info.channels = 2;
  info.format = target.container | format;
  // The descriptor stays the replacer's: the sound file only writes to it.
  mFile = sf_open_fd(mReplacer->Fd(), SFM_WRITE, &info, SF_FALSE);
  if (!mFile) Fail("%s: cannot write: %s", target.path.c_str(), sf_strerror(nullptr));
  // The peak chunk carries a time stamp; without it two renders of the same
  // input are identical files.
  sf_command(mFile, SFC_SET_ADD_PEAK_CHUNK, nullptr, SF_FALSE);
}

SoundOutput::~SoundOutput()
{
  if (mFile) sf_close(mFile);
  if (sUnfinished == mReplacer.get()) sUnfinished = nullptr;
  delete[] mInts;
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
  sf_count_t written;
  if (mFormat == SF_FORMAT_PCM_16 || mFormat == SF_FORMAT_PCM_24)
  {
    // Nearest step, clipped: the same integers go to WAV and FLAC, which
    // take the top 16 or 24 bits of each word.
    const bool wide = mFormat == SF_FORMAT_PCM_24;
    const long top = wide ? 8388607 : 32767;
    const int shift = wide ? 8 : 16;
    if (mIntCapacity < samples)
    {
      delete[] mInts;
      mInts = new int[(size_t)samples];
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
    written = sf_writef_int(mFile, mInts, n);
  }
  else
  {
    written = sf_writef_double(mFile, frames, n);
  }
  if (written != n) Fail("%s: cannot write: %s", mTarget.path.c_str(), sf_strerror(mFile));
}

void SoundOutput::Commit()
{
  sf_write_sync(mFile);
  const int err = sf_close(mFile);
  mFile = nullptr;
  if (err) Fail("%s: cannot write: %s", mTarget.path.c_str(), sf_error_number(err));
  if (!mReplacer->Commit()) Fail("%s: cannot write: %s", mTarget.path.c_str(), strerror(errno));
}
