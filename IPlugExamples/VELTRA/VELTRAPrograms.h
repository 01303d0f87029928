#pragma once
// The programs a player steps through and picks from the panel's menu: the
// factory programs, one folder per category, then the player's own program
// files, in one ordered list. Read from the folders each time it is asked
// for, so that a program saved a moment ago is in it. GUI thread.

#include <string>
#include <vector>

class IPlugBase;

struct VELTRAProgramEntry
{
  std::string mPath;
  std::string mName;                 // the file's name without ".fxp"
  std::vector<std::string> mFolders; // the category, or the sub-folders of the player's folder
  bool mFactory = false;
};

// The factory programs beside the panel's images ("programs" in the folder
// that holds "resources": the application's, or the plug-in's bundle; by
// default the application's resource root), and the player's own:
// $XDG_DATA_HOME/veltra/programs, by default ~/.local/share/veltra/programs.
std::string VeltraFactoryProgramFolder(const std::string& resourceFolder = "");
std::string VeltraUserProgramFolder();

// The factory's category folders in name order, each program in name order
// (any case), then the player's folder: its files, then its sub-folders (at
// most four deep), each in name order. Only "*.fxp" files, hidden ones left
// out.
std::vector<VELTRAProgramEntry> ListVeltraPrograms(const std::string& factoryFolder, const std::string& userFolder);

// The entry step places after (or, negative, before) the one at path, round
// the list's ends; from a path not in the list, the first or the last. -1
// for an empty list.
int StepVeltraProgram(const std::vector<VELTRAProgramEntry>& list, const std::string& path, int step);

// The entry that a MIDI program change picks: without a bank select (bank
// -1) it counts over the whole list; bank b picks the b-th factory category
// (after them, the player's own programs as one bank) and the program counts
// within it. -1 when there is no such program.
int VeltraProgramForChange(const std::vector<VELTRAProgramEntry>& list, int bank, int program);

// Loads a program file in one step: the file is read first, then the
// program is put in force under the instrument's lock, so that no block is
// rendered with part of it. False, with errno after a read error, when the
// file cannot be read or is no program.
bool LoadProgramFileInOneStep(IPlugBase* plug, const std::string& path);

// Makes the folder and its missing parents (mode 0777 under the umask);
// true when it exists.
bool MakeProgramFolder(const std::string& folder);

// Whether path lies inside folder (both as given, without resolving links).
bool PathIsInside(const std::string& path, const std::string& folder);
