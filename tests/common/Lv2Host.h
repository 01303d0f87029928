#pragma once
// A small offline LV2 host on lilv, as a DAW loads a plug-in: the world from
// LV2_PATH, the features a host offers (URID map, options with the block
// bounds, a log), ports connected to its own buffers, MIDI as an atom
// sequence, state through the plug-in's state interface, presets through
// lilv.

#include "Render.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

class Lv2Host
{
public:
  // Loads the world (LV2_PATH as it is set) and finds the plug-in by URI.
  explicit Lv2Host(const char* pluginURI);
  ~Lv2Host();
  Lv2Host(const Lv2Host&) = delete;
  Lv2Host& operator=(const Lv2Host&) = delete;

  bool Found() const;
  int NumPorts() const;
  std::string PortSymbol(int index) const;
  std::string PortName(int index) const;
  // Default, minimum and maximum; false for a port without them.
  bool PortRange(int index, float* def, float* min, float* max) const;
  std::vector<std::string> PresetURIs() const;

  class Instance;
  // A new instance at the rate, with maxBlock in its options (none when 0),
  // activated, its control ports at their defaults; the log collects what the
  // plug-in logs.
  std::unique_ptr<Instance> Instantiate(double rate, int maxBlock = 8192);

  struct World;

private:
  std::unique_ptr<World> mWorld;
};

class Lv2Host::Instance
{
public:
  ~Instance();
  // A control port by symbol.
  void SetControl(const std::string& symbol, float value);
  float Control(const std::string& symbol) const;
  // Runs total frames in blocks whose sizes nextBlock gives (0 is a run of
  // nothing), feeding the events at their frames.
  StereoRender Render(const std::vector<MidiAt>& events, long long total, const std::function<int()>& nextBlock);
  // The plug-in's state, as the state interface stores it: key, type, bytes.
  bool SaveState(std::vector<uint8_t>* bytes);
  // Through the state interface; false when the plug-in refuses.
  bool RestoreState(const std::vector<uint8_t>& bytes);
  // A preset of the world, ports and state, as lilv restores it.
  bool ApplyPreset(const std::string& uri);
  // MIDI events that one run can carry, at most.
  static constexpr size_t kAtomBufferBytes = 1 << 20;
  const std::string& Log() const { return mLog; }
  void Activate();
  void Deactivate();
  // Runs once, nFrames, with the events given (frame offsets in the block).
  void RunOnce(uint32_t nFrames, const std::vector<MidiAt>& events, long long blockStart);

private:
  friend class Lv2Host;
  Instance() = default;
  struct Impl;
  std::unique_ptr<Impl> mImpl;
  std::string mLog;
};
