#pragma once
// VELTRA under a session manager that speaks the NSM protocol over OSC.
// When NSM_URL is set, VELTRA announces itself before it opens audio or
// MIDI, keeps its settings file and its current program in the folder that
// the session gives it, takes the session's client id as its JACK name,
// saves when asked, reports unsaved changes, and shows or hides its window
// on request. Without NSM_URL none of this runs. Main thread only.

#include <string>

// The load stage, before the settings are read: announces VELTRA and waits
// a few seconds for the session's folder, whose settings file then takes
// the place of the user's. False without NSM_URL or without an answer;
// VELTRA then runs on its own settings, and still opens a session that
// arrives later.
bool JoinSession();

// The session's client id, empty outside a session: the name of VELTRA's
// JACK clients, so that two VELTRAs of one session keep apart.
const std::string& SessionClientName();

// After program 0 is restored at launch: the session's program, if it saved
// one.
void LoadSessionProgram();

// The end of launch: answers the session's open and starts listening on the
// main loop.
void SessionLaunched();

// Whether a session manages the window: closing it then hides it, and the
// session manager shows it again or ends VELTRA.
bool SessionKeepsWindow();
void HideWindowForSession();

// Whether VELTRA runs under a session manager (NSM_URL was given), opened
// or not yet: the session's program then rules.
bool UnderSessionManager();

// At cleanup: the OSC server goes; nothing is saved.
void LeaveSession();
