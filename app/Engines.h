#pragma once
// The sound's and MIDI's engines, opened, started, stopped and closed in one
// order for every occasion: the launch, Preferences, a session switch and
// the end. Main thread (see App.h).

// The audio driver with its device lists, and the MIDI objects with their
// port lists, as the settings say. newDriver: the driver is made anew (the
// launch, a changed or restored driver, a session's settings). Otherwise
// only what is missing is made: MIDI of a JACK server that went away or
// never ran, and a driver that has no stream running (under "Default" it
// asks the sound servers again).
void OpenEngines(bool newDriver);

// MIDI ports as the settings say (a port already open as they say stays
// open, and so do its connections), then the stream: restarted when
// restartStream, when none runs, or when its settings changed. Says on the
// console what runs.
void StartEngines(bool restartStream);

// No callback reaches the instrument afterwards: the stream stops, MIDI
// input is cut, the ports and the stream close.
void StopEngines();

// After StopEngines, and after the instrument is gone at the end: the audio
// and MIDI objects go, with their lists.
void CloseEngines();
