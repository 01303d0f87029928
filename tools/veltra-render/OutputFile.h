#pragma once
// Where a render goes, without losing anything the user owns. The output is
// checked before any rendering (not the input, a folder that exists and can
// be written, not a folder itself); the sound goes through the program's one
// safe replace (replacefile.h), which puts it in place only when the render
// is complete. A failure or SIGINT/SIGTERM removes the unfinished file.

#include "replacefile.h"

#include <cstdint>
#include <memory>
#include <string>

struct sf_private_tag;

// What the output name resolves to, after every check.
struct OutputTarget
{
  std::string path; // the file that will be replaced or made
  int container;    // SF_FORMAT_WAV or SF_FORMAT_FLAC
};

// Fails (status 2) on an output that cannot be written as asked.
OutputTarget CheckOutput(const std::string& output, const std::string& input);

// The sample format for a container: "" follows it (float for WAV, pcm24
// for FLAC); fails on one the container cannot hold.
int SampleFormat(const std::string& format, int container);

// Every signal that would end the program (SIGINT, SIGTERM, SIGHUP, SIGQUIT,
// SIGXFSZ, ...) ends a render instead: the loop asks StopRequested() between
// blocks, and the exit status is 128 + the signal.
void CatchStopSignals();
int StopRequested();

// Removes the temporary file of an unfinished render; safe to call always.
void RemovePartialOutput();

// Writes the two channels of a render. Integer formats are rounded to
// nearest with clipping here, the same for WAV and FLAC; clipped samples
// are counted. WAV files are written here, their length known beforehand:
// float and double ones with the full format chunk that every reader takes
// without a warning, and beyond 4 GiB as RF64. FLAC goes through libsndfile.
class SoundOutput
{
public:
  SoundOutput(const OutputTarget& target, int rate, int format, long long frames);
  ~SoundOutput();
  SoundOutput(const SoundOutput&) = delete;
  SoundOutput& operator=(const SoundOutput&) = delete;

  // Interleaved stereo frames.
  void Write(const double* frames, int n);
  // Makes the render the target; fails if it cannot.
  void Commit();

  double Peak() const { return mPeak; }
  long long Clipped() const { return mClipped; }
  const char* FormatName() const;

private:
  void WriteWavHeader(int rate, long long frames);
  void WriteWavSamples(const double* frames, int n);

  const OutputTarget mTarget;
  std::unique_ptr<WDL_FileReplacer> mReplacer;
  int mFormat;
  sf_private_tag* mFile = nullptr; // FLAC only
  std::unique_ptr<int[]> mInts;
  int mIntCapacity = 0;
  std::unique_ptr<unsigned char[]> mBytes; // a block of WAV samples
  size_t mByteCapacity = 0;
  double mPeak = 0.0;
  long long mClipped = 0;
};
