#pragma once
// The program VELTRA plays, kept as current.fxp in the settings folder, so
// that the next start plays it again. Not under a session manager, whose
// program.fxp rules. Main thread.

// After the default program is restored at launch: current.fxp, when there
// is one. A file that cannot be loaded is set aside as .bad and the defaults
// stay.
void LoadCurrentProgram();
// On the status timer: writes current.fxp when a program was loaded since
// the last write; at the end (force), writes it in any case.
void SaveCurrentProgram(bool force);
// The name to show on the panel's display for the program loaded at start,
// empty when none was.
const char* StartProgramName();
