#pragma once
// Which MIDI control change moves which parameter, learned by the player and
// kept as a small text file: the map belongs to the player, not to a
// program. Also the pick-up rule, the wheel's range, and per controller the
// state of pick-up.
//
// The file, read leniently (a line that cannot be used is skipped and named,
// the rest is kept):
//
//   [controllers]
//   CC 74 = Filter Cutoff        ; a control change number 1-119 and a
//                                ; parameter's name as the host lists it
//   [options]
//   pick up = on                 ; on or off
//   wheel range = 12             ; semitones each way, 1 to 24
//
// The map is changed on the GUI thread and read by the MIDI input stage, both
// under the instrument's mutex.

#include <string>

class IPlugBase;

class IControllerMap
{
public:
  // Control changes 1-119 can be learned; 120-127 are the channel-mode
  // messages, 64 is the sustain pedal, which the input stage keeps, and 0 and
  // 32 select banks of programs.
  static constexpr int kControllers = 120;
  static constexpr int kPedal = 64;
  static constexpr int kDefaultWheelRange = 12;

  IControllerMap();

  static bool Learnable(int cc) { return cc > 0 && cc < kControllers && cc != kPedal && cc != 32; }

  // The parameter that cc moves, or -1.
  int ParamFor(int cc) const { return Learnable(cc) ? mParam[cc] : -1; }
  // The controller that moves paramIdx, or -1.
  int ControllerFor(int paramIdx) const;
  int Count() const;
  // Binds cc to paramIdx, taking cc from any other parameter and paramIdx's
  // former controller away. False for a controller that cannot be learned.
  bool Bind(int cc, int paramIdx);
  void Forget(int cc);
  void ForgetAll();

  bool PickUp() const { return mPickUp; }
  void SetPickUp(bool on) { mPickUp = on; }
  int WheelRange() const { return mWheelRange; }
  void SetWheelRange(int semitones);

  // Pick-up: whether a controller at value (0-127) may move a parameter that
  // stands at normalized now. A controller takes hold when it meets or
  // crosses the parameter's value, and keeps it while the parameter stays
  // where it last put it; any other change of the parameter lets go.
  bool Takes(int cc, int value, double now);
  // The controller set the parameter, which now stands at normalized.
  void Took(int cc, int value, double normalized);

  // Replaces the map with the file's text. Lines that cannot be used are
  // skipped, each named on its own line in complaints ("line 4: ...").
  void Read(const std::string& text, IPlugBase* plug, std::string* complaints);
  std::string Write(IPlugBase* plug) const;
  bool operator==(const IControllerMap& other) const;

private:
  void ReadLine(const std::string& section, const std::string& key, const std::string& value, IPlugBase* plug,
                std::string* why);

  int mParam[kControllers];
  bool mPickUp = true;
  int mWheelRange = kDefaultWheelRange;
  // Pick-up state per controller: its last value (-1 before any) and the
  // normalised value it last gave its parameter (-1 when it holds none).
  int mLastValue[kControllers];
  double mGave[kControllers];
};
