// The 44 parameter slots: their names, kinds, ranges and defaults, shared
// by the instrument and by the panel of a plug-in, which holds the
// parameters without the sound.

#include "VELTRA.h"

#include <cstdio>

namespace
{
void InitOperatorParams(IPlugBase* plug, int first, const char* op)
{
  char name[32];
  auto named = [&](const char* what)
  {
    snprintf(name, sizeof(name), "%s %s", op, what);
    return name;
  };
  plug->GetParam(first + kOpWaveform)->InitInt(named("Waveform"), 0, 0, 8, "");
  plug->GetParam(first + kOpOctave)->InitInt(named("Octave"), 2, 0, 4, "");
  plug->GetParam(first + kOpTune)->InitDouble(named("Tune"), 0.0, -1200.0, 1200.0, 1.0, "");
  plug->GetParam(first + kOpAttack)->InitDouble(named("Attack"), 0.4, 0.4, 1.5, 0.01, "");
  plug->GetParam(first + kOpDecay)->InitDouble(named("Decay"), 0.4, 0.4, 1.5, 0.01, "");
  plug->GetParam(first + kOpSustain)->InitDouble(named("Sustain"), 1.0, 0.0, 1.0, 0.001, "");
  plug->GetParam(first + kOpRelease)->InitDouble(named("Release"), 0.4, 0.4, 1.5, 0.01, "");
  plug->GetParam(first + kOpVolume)->InitDouble(named("Volume"), 1.0, 0.0, 1.0, 0.001, "");
}
} // namespace

void InitVeltraParams(IPlugBase* plug)
{
  InitOperatorParams(plug, kOP1Waveform, "OP1");
  InitOperatorParams(plug, kOP2Waveform, "OP2");
  plug->GetParam(kFilterCutoff)->InitDouble("Filter Cutoff", 0.99, 0.01, 0.99, 0.001, "");
  plug->GetParam(kFilterResonance)->InitDouble("Filter Resonance", 0.25, 0.25, 0.998, 0.01, "");
  plug->GetParam(kFilterFeedback)->InitDouble("Filter Feedback", 1.0, 1.0, 2.0, 0.001, "");
  plug->GetParam(kARAttack)->InitDouble("AR Env. Attack", 0.7, 0.7, 1.5, 0.01, "");
  plug->GetParam(kARRelease)->InitDouble("AR Env. Release", 0.7, 0.7, 1.5, 0.01, "");
  plug->GetParam(kARDepth)->InitDouble("AR Env. Depth", 0.0, 0.0, 1.0, 0.001, "");
  plug->GetParam(kLFORate)->InitDouble("LFO Rate", 0.0002, 0.0002, 0.01, 0.0001, "");
  plug->GetParam(kLFOShape)->InitDouble("LFO Shape", 2.0, 2.0, 10.0, 0.01, "");
  plug->GetParam(kLFODepth)->InitDouble("LFO Depth", 0.0, 0.0, 1.0, 0.001, "");
  plug->GetParam(kSynthMode)->InitBool("Synth Mode", true, "");
  plug->GetParam(kMasterVolume)->InitDouble("Master Volume", 1.0, 0.0, 1.0, 0.01, "");
  plug->GetParam(kCrusherDestruction)->InitDouble("Crusher Destruction", 0.0, 0.0, 1.0, 0.01, "");
  plug->GetParam(kCrusherMix)->InitDouble("Crusher Mix", 0.0, 0.0, 1.0, 0.01, "");
  plug->GetParam(kPWMRate)->InitDouble("PWM Rate", 10.0, 10.0, 1000.0, 0.01, "");
  plug->GetParam(kPWMDepth)->InitDouble("PWM Depth", 0.0, 0.0, 1.0, 0.01, "");
  plug->GetParam(kPWMOn)->InitBool("PWM on off", false, "");
  plug->GetParam(kCrusherBeforeVCF)->InitBool("Crusher Before VCF", false, "");
  plug->GetParam(kChorusDepth)->InitDouble("Chorus Depth", 0.0, 0.0, 0.5, 0.01, "");
  plug->GetParam(kChorusSpeed)->InitInt("Chorus Speed", 250, 250, 650, "");
  plug->GetParam(kReverbDepth)->InitDouble("Reverb Depth", 0.0, 0.0, 1.0, 0.01, "");
  plug->GetParam(kReverbLength)->InitDouble("Reverb Length", 0.8, 0.4, 0.98, 0.001, "");
  plug->GetParam(kPortamento)->InitDouble("Portamento", 0.001, 0.001, 0.1, 0.001, "");
  plug->GetParam(kPitchBend)->InitDouble("Pitch Bend", 0.0, -1.0, 1.0, 0.01, "");
  plug->GetParam(kPortamentoOn)->InitBool("Portamento on off", false, "");
  plug->GetParam(kSmoothingOn)->InitBool("Smoothing on off", false, "");
  // The three meter slots keep the blank parameter's kind and range.
  // The start values of the members are not the parameters': restoring a
  // program puts these in force through OnParamChange.
  plug->MakeDefaultPreset("-", kVeltraPrograms);
}

VELTRAParamNames VeltraParamNames(int paramIdx)
{
  static const char* const kWaves[] = {"Sine",  "Triangle", "Square",           "Pulse",     "Saw",
                                       "Noise", "Organ",    "Double Rectangle", "Double Saw"};
  // Octave 2 plays a note at its own pitch.
  static const char* const kOctaves[] = {"-2 oct", "-1 oct", "0 oct", "+1 oct", "+2 oct"};
  static const char* const kModes[] = {"SUM (OP1 + OP2)", "FM (OP1 > OP2)"};
  static const char* const kCrusherPlace[] = {"after the filter", "Pre VCF"};
  static const char* const kSwitch[] = {"off", "On"};
  switch (paramIdx)
  {
  case kOP1Waveform:
  case kOP2Waveform:
    return {kWaves, 9, nullptr};
  case kOP1Octave:
  case kOP2Octave:
    return {kOctaves, 5, nullptr};
  case kOP1Tune:
  case kOP2Tune:
    return {nullptr, 0, "cent"};
  case kChorusSpeed:
    return {nullptr, 0, "frame"}; // the longest delay, in samples
  case kSynthMode:
    return {kModes, 2, nullptr};
  case kCrusherBeforeVCF:
    return {kCrusherPlace, 2, nullptr};
  case kPWMOn:
  case kPortamentoOn:
  case kSmoothingOn:
    return {kSwitch, 2, nullptr};
  default:
    return {nullptr, 0, nullptr};
  }
}
