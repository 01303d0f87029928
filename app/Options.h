#pragma once
// The application's own options, kept in "options.ini" in the settings
// folder beside the controllers' file (settings.ini keeps the design's keys
// alone):
//   [sound]
//   same sound at every rate = on    ; or off
//   [view]
//   size = 150 %                     ; the panel's, as chosen in the View
//                                    ; menu (IPanelSizeFile.h)
// On (the default), at a stream rate other than 44100 Hz the instrument
// plays at 44100 Hz and its output is converted, so that it sounds the same
// at every rate; off, it plays at the stream's rate. Read leniently: a
// missing or unreadable file, or a line not understood, leaves the default.
// Main thread.

#include <string>

// Reads the file, once at the start.
void LoadOptions();
// The file's text read into *sameSound (left as it is where the text says
// nothing usable), each line not understood a line of complaints ("line 3:
// ..."); and the text of a file that says on or off.
void ReadOptionsText(const std::string& text, bool* sameSound, std::string* complaints);
std::string OptionsText(bool sameSound);
bool SameSoundAtEveryRate();
// Changes the option and writes the file at once; false, with errno, when
// it could not be written (the option holds for this run all the same).
bool SetSameSoundAtEveryRate(bool on);
// The panel size chosen in the View menu; 0 while none has been chosen (the
// panel then follows the desktop).
int ChosenPanelSize();
// Keeps the choice in the file at once; false, with errno, when it could
// not be written.
bool SetChosenPanelSize(int percent);
