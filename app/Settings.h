#pragma once
// settings.ini: where it lies, its 15 keys, and when it is read and written.
// Main thread only.

#include <string>

// The settings file's path; empty while the application has no usable
// settings folder (it then runs on defaults and writes nothing).
extern char* gINIPath;

// The load stage: finds the settings folder, creates it and the file on a
// first run, or reads every key and completes missing ones. Returns 1 when
// the folder could not be made, else 0.
int LoadSettings();

// Writes all 15 fields of gState; the file store rewrites the file only
// when a value changed.
void UpdateINI();

// UpdateINI for a save that must be known to have worked: false, with
// errno, when the file could not be written or there is none.
bool SaveSettings();

// The folder (with a closing slash) that the next LoadSettings uses instead
// of the user's settings folder: a session's.
void SetSettingsFolder(const std::string& folder);

// Creates the folder and any missing parents with mode 0777 under the
// user's umask, so that it is never world-writable; true when it exists.
bool MakeFolders(const std::string& path);

// The path of a file of that name in the settings folder (the session's,
// under a session manager); empty while there is no settings folder.
std::string SettingsFolderFile(const char* name);

// A program file that cannot be loaded is kept beside it as .bad and goes,
// so that the next start does not meet it again; the console says so.
void SetAsideBadProgram(const std::string& path);

// Keeps a copy of a file that could not be read beside it, under the first
// free name of path.bad, path.bad.1, ... (never overwriting a kept one);
// the copy's name, or empty when none could be made.
std::string KeepCopyAsBad(const std::string& path);

// Releases gINIPath at the end of the run.
void FreeSettingsPath();
