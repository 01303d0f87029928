#pragma once
// Where a render goes, without losing anything the user owns. The output is
// checked before any rendering (not the input, a folder that exists and can
// be written, not a folder itself); the sound goes to a fresh temporary file
// beside the real target (a symbolic link's target), which replaces the
// target in one rename, with the target's permission bits, only when the
// render is complete. A failure or SIGINT/SIGTERM removes it.

#include <cstdint>
#include <string>

struct sf_private_tag;

// What the output name resolves to, after every check.
struct OutputTarget
{
  std::string path; // the file that will be replaced or made
  int container;    // SF_FORMAT_WAV or SF_FORMAT_FLAC
  bool exists = false;
  unsigned int mode = 0666; // permission bits the result gets
};

// Fails (status 2) on an output that cannot be written as asked.
OutputTarget CheckOutput(const std::string& output, const std::string& input);

// The sample format for a container: "" follows it (float for WAV, pcm24
// for FLAC); fails on one the container cannot hold.
int SampleFormat(const std::string& format, int container);

// SIGINT and SIGTERM end a render: the loop asks StopRequested() between
// blocks, and the exit status is 128 + the signal.
void CatchStopSignals();
int StopRequested();

// Removes the temporary file of an unfinished render; safe to call always.
void RemovePartialOutput();

// Writes the two channels of a render. Integer formats are rounded to
// nearest with clipping here, the same for WAV and FLAC; clipped samples
// are counted.
class SoundOutput
{
public:
  SoundOutput(const OutputTarget& target, int rate, int format);
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
  const OutputTarget mTarget;
  int mFormat;
  sf_private_tag* mFile = nullptr;
  int* mInts = nullptr;
  int mIntCapacity = 0;
  double mPeak = 0.0;
  long long mClipped = 0;
};
