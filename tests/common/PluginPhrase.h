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
#include <memory>
#include <random>
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

// Block sizes of a seeded mix, with calls of nothing between.
inline std::function<int()> MixedBlocks(unsigned seed)
{
  auto random = std::make_shared<std::mt19937>(seed);
  return [random]
  {
    std::uniform_int_distribution<int> size(0, 700);
    return size(*random) < 40 ? 0 : size(*random) % 600 + 1;
  };
}

// A host's render from its latency on: what veltra-render writes.
inline StereoRender AfterLatency(StereoRender r, int latency)
{
  r.mLeft.erase(r.mLeft.begin(), r.mLeft.begin() + latency);
  r.mRight.erase(r.mRight.begin(), r.mRight.begin() + latency);
  return r;
}

// The test files, each with settings (exact in a float, as a port holds
// them) and whether a CLAP host sends its notes in CLAP's own dialect.
struct PhraseCase
{
  const char* midi;
  std::vector<std::pair<const char*, double>> sets;
  bool noteDialect;
};
inline const std::vector<PhraseCase>& PhraseCases()
{
  static const std::vector<PhraseCase> cases = {
      {"voices.mid",
       {{"Synth Mode", 0}, {"PWM on off", 1}, {"PWM Depth", 0.75}, {"Chorus Depth", 0.25}, {"Chorus Speed", 400}},
       true},
      {"bends.mid", {{"Portamento on off", 1}, {"Portamento", 0.0625}, {"Reverb Depth", 0.5}}, false},
      {"tempo.mid", {{"Crusher Destruction", 0.5}, {"Crusher Mix", 0.75}, {"Smoothing on off", 1}}, true},
      // The input stage: pedal, channel-mode messages, keys struck again.
      {"pedal.mid", {{"Reverb Depth", 0.375}, {"Synth Mode", 0}}, false},
  };
  return cases;
}

// Every case rendered by a host in blocks of each size given and in a
// seeded mix with calls of nothing between (render(case, size or 0 for the
// mix, next block)), bit for bit as veltra-render renders it.
template<class Render>
void ExpectEveryBlockingAsVeltraRender(const TempDir& dir, const std::vector<int>& sizes, Render render)
{
  for (const PhraseCase& c : PhraseCases())
  {
    std::vector<std::string> options;
    for (const auto& s : c.sets)
    {
      char v[32];
      snprintf(v, sizeof(v), "%.17g", s.second);
      options.insert(options.end(), {"-s", std::string(s.first) + "=" + v});
    }
    const StereoRender reference = Reference(dir, c.midi, options);
    ASSERT_GT(Peak(reference), 0.01) << c.midi;
    std::vector<int> all = sizes;
    all.push_back(0);
    for (int n : all)
    {
      const std::function<int()> next = n ? Fixed(n) : MixedBlocks(7);
      const long long diff = FirstDifference(render(c, n, next), reference);
      EXPECT_EQ(diff, -1) << c.midi << " in blocks of " << (n ? std::to_string(n) : "a mix") << " differs from frame "
                          << diff;
    }
  }
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
