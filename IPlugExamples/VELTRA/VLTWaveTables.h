#pragma once
// The nine single-cycle wave tables of the operators, 256 samples each.
// Constant data; index k covers phase units 256k to 256k+255.99.

enum
{
  kNumWaveforms = 9,
  kWaveTableSize = 256
};

extern const double vlt_sine[256];
extern const double vlt_tri[256];
extern const double vlt_sqr[256];
extern const double vlt_pulse[256];
extern const double vlt_saw[256];
extern const double vlt_noise[256];
extern const double vlt_hammond[256];
extern const double vlt_yamrect[256];
extern const double vlt_yamsaw[256];

// Indexed by the operator's waveform parameter, 0 to 8.
extern const double* const waveforms[kNumWaveforms];
