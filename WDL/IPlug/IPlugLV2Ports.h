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
inline bool LV2IsMeter(const IParam* param) { return param->Type() == IParam::kTypeNone; }

// A parameter's port symbol: its name in lower case, every run of characters
// other than letters and digits one "_", none at either end ("OP1 Attack"
// is op1_attack, "AR Env. Depth" ar_env_depth).
std::string LV2PortSymbol(const char* name);
