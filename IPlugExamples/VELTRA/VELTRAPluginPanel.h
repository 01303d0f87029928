#pragma once
// The panel's side of VELTRA as a plug-in: the 44 parameters and the key
// table that the sound reports, with the panel on an Xlib view, and no sound
// at all. A plug-in format's adapter owns it and carries its parameter moves
// and its keyboard's notes to the host. Everything runs on the thread of the
// host's UI calls, but for the key table, which takes the mutex.

#include "VELTRA.h"

class ITextControl;

class VELTRAPluginPanel : public IPlugStandalone, public IKeyTable
{
public:
  VELTRAPluginPanel();

  int GetNumKeys() override;
  bool GetKeyStatus(int key) override;
  // The sound's held notes light the keys.
  void SetHeldNotes(const uint8_t* bits) override;
  // The key held with the mouse goes to the sound as MIDI, through the
  // adapter.
  void OnIdle() override;
  // The display shows a program that the host loaded.
  void OnProgramNamedByHost(const char* name) override;

  // Builds the panel on an Xlib view, its images under resourceRoot, and
  // attaches it; false when there is none.
  bool MakePanel(const char* resourceRoot);

private:
  bool mKeyStatus[kNumKeys] = {};
  int mNumKeys = 0;
  IScreenKeyboard* mKeyboard = nullptr;
  ITextControl* mDisplay = nullptr;
  int mSentKey = -1;
};
