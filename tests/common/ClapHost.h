#pragma once
// A small CLAP host of the tests' own, as a DAW loads a plug-in: the module
// opened with dlopen, its entry and factory, an instance initialised and
// activated, audio in blocks of any size with MIDI and parameter events at
// their frames, the parameters and the state through the extensions, and
// the host's side of params (flush requests, rescans), state and timers.

#include "Render.h"

#include <clap/plugin.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

// A parameter's value event at a frame of the whole render.
struct ParamAt
{
  long long mSample;
  uint32_t mId;
  double mValue;
};

class ClapHost
{
public:
  // Opens the module and runs its entry's init; Found() says whether it
  // offers a factory.
  explicit ClapHost(const std::string& modulePath);
  ~ClapHost();
  ClapHost(const ClapHost&) = delete;
  ClapHost& operator=(const ClapHost&) = delete;

  bool Found() const;
  const clap_plugin_descriptor_t* Descriptor() const;

  class Instance;
  // A new instance made, initialised and activated at the rate.
  std::unique_ptr<Instance> Instantiate(double rate, uint32_t maxBlock = 8192);

private:
  void* mModule = nullptr;
  const void* mEntry = nullptr;
  const void* mFactory = nullptr;
};

class ClapHost::Instance
{
public:
  ~Instance();
  const clap_plugin_t* Plugin() const;
  // The extension of the plug-in under the id.
  const void* Extension(const char* id) const;
  // Runs total frames in blocks whose sizes nextBlock gives (0 is a call of
  // nothing), feeding the MIDI and parameter events at their frames.
  StereoRender Render(const std::vector<MidiAt>& events, long long total, const std::function<int()>& nextBlock,
                      const std::vector<ParamAt>& params = {});
  // One process of nFrames with the events given (frames from blockStart).
  void ProcessOnce(uint32_t nFrames, const std::vector<MidiAt>& events, long long blockStart,
                   const std::vector<ParamAt>& params = {});
  // The loudest sample of the last process, either channel.
  float LastPeak() const;
  // Through the params extension: flush with these values in; what the
  // plug-in sent out of this flush and of every process before it since the
  // last call, as "begin ID", "value ID V", "end ID".
  void Flush(const std::vector<ParamAt>& params = {});
  std::vector<std::string> TakeOutEvents();
  bool SaveState(std::vector<uint8_t>* bytes);
  bool RestoreState(const std::vector<uint8_t>& bytes);
  void Activate();
  void Deactivate();
  // Notes as CLAP's own note events rather than MIDI messages (velocity
  // v/127).
  void UseNoteDialect(bool on);
  // The flag is true exactly while the plug-in's process runs.
  void WatchProcess(std::atomic<bool>* flag);

  // The host's side: how often the plug-in asked for a flush, a rescan or a
  // restart,
  // and the timer it registered (0 when none).
  int FlushRequests() const;
  int Rescans() const;
  int Restarts() const;
  bool HasTimer() const;

  struct Impl;

private:
  friend class ClapHost;
  Instance() = default;
  std::unique_ptr<Impl> mImpl;
};
