#pragma once
// The application's own options, kept in "options.ini" in the settings
// folder beside the controllers' file (settings.ini keeps the design's keys
// alone):
//   [sound]
//   same sound at every rate = on    ; or off
// On (the default), at a stream rate other than 44100 Hz the instrument
// plays at 44100 Hz and its output is converted, so that it sounds the same
// at every rate; off, it plays at the stream's rate. Read leniently: a
// missing or unreadable file, or a line not understood, leaves the default.
// Main thread.

// Reads the file, once at the start.
void LoadOptions();
bool SameSoundAtEveryRate();
// Changes the option and writes the file at once; false, with errno, when
// it could not be written (the option holds for this run all the same).
bool SetSameSoundAtEveryRate(bool on);
