#include "AppState.h"

#include <cstdio>
#include <cstring>

AppState* gState = nullptr;
AppState* gTempState = nullptr;
AppState* gActiveState = nullptr;

namespace
{
template<size_t N>
void SetText(char (&dest)[N], const char* text)
{
  snprintf(dest, N, "%s", text);
}
} // namespace

AppState::AppState()
{
  memset(static_cast<void*>(this), 0, sizeof(*this)); // no padding byte left undefined
  mAudioDriverType = 0;
  SetText(mAudioInDev, "Built-in Input");
  SetText(mAudioOutDev, "Built-in Output");
  SetText(mAudioSR, "44100");
  SetText(mAudioIOVS, "512");
  SetText(mAudioSigVS, "32");
  mAudioInChanL = 1;
  mAudioInChanR = 2;
  mAudioOutChanL = 1;
  mAudioOutChanR = 2;
  mAudioInIsMono = 0;
  SetText(mMidiInDev, "off");
  SetText(mMidiOutDev, "off");
  mMidiInChan = 0;
  mMidiOutChan = 0;
}

AppState::AppState(const AppState& o) : AppState() { *this = o; }

AppState& AppState::operator=(const AppState& o)
{
  if (this == &o) return *this;
  mAudioDriverType = o.mAudioDriverType;
  memcpy(mAudioInDev, o.mAudioInDev, sizeof(mAudioInDev));
  memcpy(mAudioOutDev, o.mAudioOutDev, sizeof(mAudioOutDev));
  memcpy(mAudioSR, o.mAudioSR, sizeof(mAudioSR));
  memcpy(mAudioIOVS, o.mAudioIOVS, sizeof(mAudioIOVS));
  memcpy(mAudioSigVS, o.mAudioSigVS, sizeof(mAudioSigVS));
  mAudioInChanL = o.mAudioInChanL;
  mAudioInChanR = o.mAudioInChanR;
  mAudioOutChanL = o.mAudioOutChanL;
  mAudioOutChanR = o.mAudioOutChanR;
  mAudioInIsMono = o.mAudioInIsMono;
  memcpy(mMidiInDev, o.mMidiInDev, sizeof(mMidiInDev));
  memcpy(mMidiOutDev, o.mMidiOutDev, sizeof(mMidiOutDev));
  mMidiInChan = o.mMidiInChan;
  mMidiOutChan = o.mMidiOutChan;
  return *this;
}

bool AudioSettingsInStateAreEqual(const AppState* a, const AppState* b)
{
  return a->mAudioDriverType == b->mAudioDriverType && !strcmp(a->mAudioInDev, b->mAudioInDev) &&
         !strcmp(a->mAudioOutDev, b->mAudioOutDev) && !strcmp(a->mAudioSR, b->mAudioSR) &&
         !strcmp(a->mAudioIOVS, b->mAudioIOVS) && !strcmp(a->mAudioSigVS, b->mAudioSigVS) &&
         a->mAudioInChanL == b->mAudioInChanL && a->mAudioInChanR == b->mAudioInChanR &&
         a->mAudioOutChanL == b->mAudioOutChanL && a->mAudioOutChanR == b->mAudioOutChanR &&
         a->mAudioInIsMono == b->mAudioInIsMono;
}

bool MIDISettingsInStateAreEqual(const AppState* a, const AppState* b)
{
  return !strcmp(a->mMidiInDev, b->mMidiInDev) && !strcmp(a->mMidiOutDev, b->mMidiOutDev) &&
         a->mMidiInChan == b->mMidiInChan && a->mMidiOutChan == b->mMidiOutChan;
}
