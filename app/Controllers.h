#pragma once
// MIDI controllers in the application: the input stage that every MIDI
// message passes on its way to the instrument (pedal, all notes off, keys
// struck again, the wheel after a new note), the controllers learned for
// the panel's parameters, kept in controllers.ini beside settings.ini, and
// the learning itself, from the "MIDI" menu.
//
// The map and the stage live under the instrument's mutex: the MIDI thread
// feeds the stage, the audio thread renders through it, the main thread
// learns, forgets, reads and writes the file.

#include "IPlugStructs.h"

class IRateAdapter;

#include <string>

// MIDI thread: one message from the input port, after the channel filter.
void ControllersMidiIn(const IMidiMsg& msg);
// Audio thread: renders nFrames, with the wheel repeats that the stage asks
// for between them. Takes the instrument's mutex. Inputs may be null. With
// a converter, the instrument renders the call's samples at its own rate
// into scratch (two buffers long enough for them) and the converter fills
// the outputs.
void RenderThroughInputStage(double** inputs, double** outputs, int nFrames, IRateAdapter* converter = nullptr,
                             double* const* scratch = nullptr);

// Main thread, once the instrument exists and whenever the settings folder
// changes: reads the folder's controllers.ini, or puts the defaults in place
// (and writes them when the folder has no file yet, outside a session).
// Lines that cannot be used are named on the console and skipped.
void LoadControllers();
// Main thread: writes controllers.ini through the safe replace; false, with
// errno, when it could not be written.
bool SaveControllers();
// The map as its file would say it, to tell a session's unsaved changes.
std::string ControllersText();

// Main thread: "Learn Controller" starts learning, or ends it when on.
// While learning, the control moved last on the panel takes the next
// control change that comes in; Escape ends it too.
void ToggleLearning();
void StopLearning();
bool IsLearning();
// The control moved last on the panel loses its controller; or all do.
void ForgetController();
void ForgetAllControllers();
// Main thread, on a timer: shows what learning did and saves a changed map.
void ControllersIdle();
