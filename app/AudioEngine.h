#pragma once
// The sound device: one RtAudio object, the device lists, one full-duplex
// stream of two 64-bit float channels each way, non-interleaved, and the
// callback that cuts device buffers into instrument blocks. Everything but
// AudioCallback runs on the main thread.

#include <string>
#include <vector>

class RtAudio;
class IPlugStandalone;

extern RtAudio* gDAC;
extern unsigned int gIOVS;
extern unsigned int gSigVS;
extern unsigned int gBufIndex;
extern unsigned int gVecElapsed;
extern double gFadeMult;
extern std::vector<unsigned int> gAudioInputDevs;
extern std::vector<unsigned int> gAudioOutputDevs;
extern std::vector<std::string> gAudioIDDevNames;
extern IPlugStandalone* gPluginInstance;

// The driver list: "Default", then each audio API of this RtAudio build by its
// display name. The settings hold an index into it.
std::vector<std::string> GetAudioDriverNames();

bool TryToChangeAudioDriverType();
void ProbeAudioIO();
std::string GetAudioDeviceName(int id);
int GetAudioDeviceID(const char* name);
// The device a setting names: by its display name, or for the defaults
// "Built-in Input" and "Built-in Output", which name no Linux device, the
// API's default device of that direction; -1 for none.
int GetAudioDeviceIDForSettings(const char* name, bool input);
bool TryToChangeAudio();
// TryToChangeAudio, with one console line of VELTRA's own when the stream
// did not start (no device, or one that would not open).
bool RestartAudio();
bool InitialiseAudio(unsigned int inId, unsigned int outId, unsigned int sr, unsigned int iovs, unsigned int chnls,
                     unsigned int inChanL, unsigned int outChanL);

// Audio thread. Never allocates, never prints, and locks nothing but the
// instrument's mutex, once per block.
int AudioCallback(void* outputBuffer, void* inputBuffer, unsigned int nFrames, double streamTime, unsigned int status,
                  void* userData);

// Main thread: prints the console line for each callback that the device
// flagged since the last call. The callback itself never prints.
void ReportStreamStatus();
// Main thread: whether the JACK server of the last stream went away (the
// stream stopped from the outside), until a stream starts again.
bool JackServerWentAway();
// Whether the sound's driver is JACK.
bool AudioRunsOnJack();
// Whether a stream runs now.
bool StreamRunning();

// Main thread (see Engines.h): no callback reaches the instrument after
// StopAudio; the stream is stopped, closed and deleted unless its sound
// library is closing it itself (a JACK server gone), which is left to
// finish alone.
void StopAudio();
void CloseAudio();
void DeleteAudioDriver();
