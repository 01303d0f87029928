#pragma once
// veltra-render as the tests run it, and the sound files it writes.

#include "Process.h"
#include "TempDir.h"

#include <algorithm>
#include <functional>
#include <sndfile.h>
#include <string>
#include <sys/wait.h>
#include <type_traits>
#include <vector>

struct StereoRender
{
  std::vector<float> mLeft, mRight;
};

// A MIDI message for a plug-in host of the tests.
struct MidiAt
{
  long long mSample; // from the start of the render
  uint8_t mBytes[3];
  int mSize;
};

// A host's render in blocks of nextBlock() frames up to total: block(n, pos)
// runs the plug-in over the n frames from pos, which it leaves in left and
// right.
template<class Block>
StereoRender RenderInBlocks(long long total, const std::function<int()>& nextBlock, const std::vector<float>& left,
                            const std::vector<float>& right, Block block)
{
  StereoRender out;
  for (long long pos = 0; pos < total;)
  {
    const long long n = std::min<long long>(nextBlock(), total - pos);
    block(n, pos);
    out.mLeft.insert(out.mLeft.end(), left.begin(), left.begin() + n);
    out.mRight.insert(out.mRight.end(), right.begin(), right.begin() + n);
    pos += n;
  }
  return out;
}

// The events (sorted by mSample) from *next that come before end.
template<class Event>
std::vector<Event> EventsBefore(const std::vector<Event>& events, size_t* next, long long end)
{
  std::vector<Event> block;
  while (*next < events.size() && events[*next].mSample < end) block.push_back(events[(*next)++]);
  return block;
}

struct RenderRun
{
  int status; // the exit status, -1 when it did not exit
  std::string err, out;
};

#ifdef VELTRA_RENDER_EXE
// Runs veltra-render with args, its standard output and error in files of
// folder, env added to the environment.
inline RenderRun RunRender(std::vector<std::string> args, const std::string& folder, double timeoutSec = 600.0,
                           const std::vector<std::string>& env = {})
{
  args.insert(args.begin(), VELTRA_RENDER_EXE);
  const int status = WaitFor(Spawn(args, MakeEnv({}, env), folder + "/stdout", folder + "/stderr"), timeoutSec);
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, ReadWholeFile(folder + "/stderr"),
          ReadWholeFile(folder + "/stdout")};
}
#endif

// Samples as libsndfile reads them, interleaved: floats, doubles, or the
// integers a file holds. Empty when the file cannot be read.
template<typename T>
std::vector<T> ReadSamples(const std::string& path, SF_INFO* info)
{
  *info = SF_INFO();
  SNDFILE* sf = sf_open(path.c_str(), SFM_READ, info);
  if (!sf) return {};
  std::vector<T> v((size_t)(info->frames * info->channels));
  if constexpr (std::is_same<T, int>::value)
    sf_readf_int(sf, v.data(), info->frames);
  else if constexpr (std::is_same<T, double>::value)
    sf_readf_double(sf, v.data(), info->frames);
  else
    sf_readf_float(sf, v.data(), info->frames);
  sf_close(sf);
  return v;
}

// The two channels of a stereo file.
inline StereoRender ReadStereo(const std::string& path)
{
  SF_INFO info;
  const std::vector<float> frames = ReadSamples<float>(path, &info);
  StereoRender r;
  for (size_t i = 0; i + 1 < frames.size(); i += 2) r.mLeft.push_back(frames[i]), r.mRight.push_back(frames[i + 1]);
  return r;
}
