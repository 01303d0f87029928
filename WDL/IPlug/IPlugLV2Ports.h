#pragma once
// How a plug-in's parameter table becomes LV2 ports, shared by the adapter and
// the writer of the bundle's description: the MIDI input first, then the audio
// outputs, then one control port per parameter in the parameter order.
// Parameters of kind none are meters: output ports. A released port's index
// and symbol never change.

#include "IParam.h"

#include <string>

constexpr int kLV2MidiInPort = 0;
constexpr int kLV2FirstAudioOutPort = 1;

inline int LV2ParamPort(int paramIdx, int nOutputs) { return kLV2FirstAudioOutPort + nOutputs + paramIdx; }
// After the parameters: the atom output through which the plug-in tells its
// panel which notes MIDI holds.
inline int LV2NotifyPort(int nParams, int nOutputs) { return LV2ParamPort(nParams, nOutputs); }
// Then the delay of the plug-in's output in frames (an output the host reads
// for its latency compensation), and the setting that plays the instrument
// at its own rate whatever the host's: 1 (the default) converts its output
// to the host's rate, 0 runs it at the host's rate.
inline int LV2LatencyPort(int nParams, int nOutputs) { return LV2NotifyPort(nParams, nOutputs) + 1; }
inline int LV2SameSoundPort(int nParams, int nOutputs) { return LV2NotifyPort(nParams, nOutputs) + 2; }
// The setting's name, also a CLAP plug-in's parameter.
constexpr const char* kSameSoundName = "Same Sound at Every Rate";
inline bool LV2IsMeter(const IParam* param) { return param->Type() == IParam::kTypeNone; }

// A parameter's port symbol: its name in lower case, every run of characters
// other than letters and digits one "_", none at either end ("OP1 Attack"
// is op1_attack, "AR Env. Depth" ar_env_depth).
std::string LV2PortSymbol(const char* name);

// The notification of held notes: an atom:Object of type <plugin>#KeyState
// whose property <plugin>#keys is an atom:Chunk of the key table's 16 bytes
// (IKeyTable.h). Sent when the notes change, and again every quarter second
// for a panel that opens later.
inline std::string LV2KeyStateURI(const char* pluginURI) { return std::string(pluginURI) + "#KeyState"; }
inline std::string LV2KeysURI(const char* pluginURI) { return std::string(pluginURI) + "#keys"; }
// The name of the program that the host restored last, beside the keys.
inline std::string LV2ProgramNameURI(const char* pluginURI) { return std::string(pluginURI) + "#programName"; }
