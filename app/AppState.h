#pragma once
// All audio and MIDI settings of the application in one plain record: copied
// and compared as a whole, so it holds no pointers. Numbers, sizes and rates
// are decimal text, as the preferences dialog shows them.

#include "sharedword.h"

#include <cstdint>

struct AppState
{
  uint16_t mAudioDriverType;
  char mAudioInDev[100];
  char mAudioOutDev[100];
  char mAudioSR[100];
  char mAudioIOVS[100];
  char mAudioSigVS[100];
  uint16_t mAudioInChanL;
  uint16_t mAudioInChanR;
  uint16_t mAudioOutChanL;
  uint16_t mAudioOutChanR;
  WDL_SharedWord<uint16_t> mAudioInIsMono; // read by the audio thread
  char mMidiInDev[100];
  char mMidiOutDev[100];
  WDL_SharedWord<uint16_t> mMidiInChan;  // read by the MIDI thread
  WDL_SharedWord<uint16_t> mMidiOutChan; // read by the instrument's MIDI output

  AppState();
  AppState(const AppState& o);
  // Field by field; the three shared words are stored whole, so that
  // restoring the settings never races the threads that read them.
  AppState& operator=(const AppState& o);
};

bool AudioSettingsInStateAreEqual(const AppState* a, const AppState* b);
bool MIDISettingsInStateAreEqual(const AppState* a, const AppState* b);

// The settings as they stand; a copy for undoing the preferences dialog; the
// settings of the last stream that started. Made at load, deleted at cleanup.
extern AppState* gState;
extern AppState* gTempState;
extern AppState* gActiveState;
