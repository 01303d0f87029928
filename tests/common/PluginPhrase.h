#pragma once
// What the tests of the plug-ins share: the test phrases as events of a
// render, veltra-render's render of them, comparisons, and the count of the
// allocations that a plug-in makes while it runs.

#include "MidiFile.h"
#include "Render.h"

#include <atomic>
#include <cmath>
#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <vector>

// The sanitizers' allocator calls a hook on every allocation of the process:
// the way to count them without replacing malloc under the sanitizer.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
extern "C" int __sanitizer_install_malloc_and_free_hooks(void (*mallocHook)(const volatile void*, size_t),
                                                         void (*freeHook)(const volatile void*));
#define VELTRA_COUNT_ALLOCATIONS 1
#endif

namespace
{
constexpr double kRate = 44100.0;
constexpr double kTail = 1.0;

struct Phrase
{
  std::vector<MidiAt> events;
  long long total = 0;
};

// The phrase's events at their frames of a host at the rate.
Phrase LoadPhrase(const std::string& name, double rate = kRate)
{
  const std::string path = std::string(VELTRA_SOURCE_DIR) + "/tests/renders/" + name;
  const std::vector<unsigned char> data = ReadBytes(path);
  std::vector<MidiFileEvent> events;
  std::string why;
  EXPECT_TRUE(ReadMidiFile(data.data(), data.size(), &events, &why)) << path << ": " << why;
  Phrase p;
  for (const MidiFileEvent& e : events)
    p.events.push_back({MidiEventSample(e, rate), {e.mStatus, e.mData1, e.mData2}, 3});
  const double last = events.empty() ? 0.0 : events.back().mSeconds;
  p.total = (long long)std::floor((last + kTail) * rate + 0.5);
  return p;
}

// What veltra-render makes of the phrase with the options, as float WAV.
StereoRender Reference(const TempDir& dir, const std::string& midi, std::vector<std::string> options)
{
  const std::string out = dir.File("reference.wav");
  std::vector<std::string> args = {"-q", "-t", "1", "--format", "float"};
  args.insert(args.end(), options.begin(), options.end());
  args.push_back(std::string(VELTRA_SOURCE_DIR) + "/tests/renders/" + midi);
  args.push_back(out);
  const RenderRun run = RunRender(args, dir.Path(), 60.0);
  EXPECT_EQ(run.status, 0) << run.err;
  return ReadStereo(out);
}

// The first frame where two renders differ, or -1.
long long FirstDifference(const StereoRender& a, const StereoRender& b)
{
  if (a.mLeft.size() != b.mLeft.size()) return 0;
  for (size_t i = 0; i < a.mLeft.size(); ++i)
    if (memcmp(&a.mLeft[i], &b.mLeft[i], 4) || memcmp(&a.mRight[i], &b.mRight[i], 4)) return (long long)i;
  return -1;
}

double Peak(const StereoRender& r)
{
  double peak = 0.0;
  for (float v : r.mLeft) peak = std::max(peak, (double)std::fabs(v));
  return peak;
}

std::function<int()> Fixed(int n)
{
  return [n] { return n; };
}

#ifdef VELTRA_COUNT_ALLOCATIONS
// Allocations made while counting is on, by any thread of the process.
std::atomic<bool> sCounting{false};
std::atomic<int> sAllocations{0};
void OnMalloc(const volatile void*, size_t)
{
  if (sCounting) ++sAllocations;
}
void OnFree(const volatile void*) {}
#endif
} // namespace
