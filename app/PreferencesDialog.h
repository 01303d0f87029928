#pragma once
// The preferences dialog: audio driver and devices, channels, vector sizes
// and sample rate, MIDI ports and channels. It edits gState directly: MIDI
// acts at once, audio at OK or Apply (a driver change at once), and Cancel
// puts everything back. Main thread only.

#include "AppState.h"
#include "swell-wnd.h"

#include <string>
#include <vector>

extern const std::vector<std::string> kIOVSOptions;
extern const std::vector<std::string> kSIGVSOptions;

LRESULT PreferencesDlgProc(HWND hwnd, unsigned int msg, WPARAM wParam, LPARAM lParam);

// The dialog's rules, apart from its controls.

// The rates both devices offer, in the input device's order.
std::vector<unsigned int> CommonSampleRates(const std::vector<unsigned int>& in, const std::vector<unsigned int>& out);
// Channel numbers offered for a device of n channels: the left combo 1 to
// n - 1 (the right one is always the left plus one), the right combo 1 to n.
std::vector<std::string> LeftChannelOptions(unsigned int n);
std::vector<std::string> RightChannelOptions(unsigned int n);
// The vector-size rule: the IO and signal sizes chosen by index (-1: no
// choice, the setting stays); a signal vector larger than the IO vector
// falls to the smallest size. True when the signal combo must then show
// nothing.
bool ApplyVectorSizes(AppState* state, int iovsIdx, int sigvsIdx);
// Cancel: when audio or MIDI settings differ from the snapshot taken at
// opening, they are put back and true is answered (the caller restarts the
// audio). MIDI ports stay as connected.
bool RestoreOnCancel(AppState* state, const AppState* snapshot);
// The program that "Audio Midi Setup..." starts: pavucontrol, else
// qjackctl, whichever is on the PATH first; "" for neither.
std::string FindAudioSetupProgram();
