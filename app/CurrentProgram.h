#pragma once
// The program VELTRA plays: chosen by MIDI program changes, and kept as
// current.fxp in the settings folder, so that the next start plays it again
// (not under a session manager, whose program.fxp rules). Main thread, but
// where said.

// After the default program is restored at launch: current.fxp, when there
// is one. A file that cannot be loaded is set aside as .bad and the defaults
// stay.
void LoadCurrentProgram();
// On the status timer: writes current.fxp when a program was loaded since
// the last write; at the end (force), writes it in any case.
void SaveCurrentProgram(bool force);
// MIDI thread: a program change, and the bank select (CC 0) that the program
// changes after it count in. The program is found and its file read on the
// main thread, which takes the newest change when it comes to it: a change
// that another overtook is dropped, and neither the MIDI nor the audio
// thread waits for a file. A change to a program that does not exist is
// ignored.
void PostProgramChange(int program);
void PostBankSelect(int bank);

// The name to show on the panel's display for the program loaded at start,
// empty when none was.
const char* StartProgramName();
