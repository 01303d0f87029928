#include "AudioEngine.h"

#include "AppState.h"
#include "Console.h"
#include "Controllers.h"
#include "IPlugStandalone.h"
#include "IRateAdapter.h"
#include "JackProbe.h"
#include "Options.h"
#include "QuietProbe.h"
#include "Session.h"
#include "sharedword.h"
#include "threadrole.h"

#include <rtaudio/RtAudio.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>

RtAudio* gDAC = nullptr;
unsigned int gIOVS = 512;
unsigned int gSigVS = 32;
unsigned int gBufIndex = 0;
unsigned int gVecElapsed = 0;
double gFadeMult = 0.0;
std::vector<unsigned int> gAudioInputDevs;
std::vector<unsigned int> gAudioOutputDevs;
std::vector<std::string> gAudioIDDevNames;
IPlugStandalone* gPluginInstance = nullptr;

namespace
{
// The stream's life, and what the audio thread tells the main thread about
// it. The state and the defaults belong to the main thread; the audio thread
// touches only the shared words, which say so.
class AudioStream
{
public:
  enum EState
  {
    kClosed,         // none open: at start, after a close or a change of driver
    kStarting,       // opened, not started yet
    kRunning,        // started, and not yet seen stopped
    kStoppedOutside, // it stopped by itself: its device or server went away
    kFailed          // it would not open or start
  };

  EState State() const { return mState; }
  void Closed() { mState = kClosed; }
  // A new stream: its callbacks reach the instrument again, also after a
  // stop at a session switch.
  void Starting()
  {
    mState = kStarting;
    mEverStarted = false;
    mGateClosed.SetOrdered(false);
  }
  void Started()
  {
    mState = kRunning;
    mEverStarted = true;
  }
  void Failed() { mState = kFailed; }
  // Main thread: a running stream that its sound library no longer runs
  // stopped from the outside. True at the moment that is first seen.
  bool SeenStopped(bool running)
  {
    if (mState != kRunning || running) return false;
    mState = kStoppedOutside;
    return true;
  }
  // Whether the open stream ever started: one that did is closed by RtAudio
  // itself when its JACK server goes away.
  bool EverStarted() const { return mEverStarted; }

  // The exit's gate: once closed, callbacks no longer reach the instrument.
  // Callbacks count themselves in and out around their check of the gate, so
  // that the main thread sees the last one through it leave.
  class Inside
  {
  public:
    explicit Inside(AudioStream* s) : mStream(s)
    {
      mStream->mCallbacksSeen += 1; // the audio thread's own count
      mStream->mCallbacksInside.FetchAdd(1);
    }
    ~Inside() { mStream->mCallbacksInside.FetchSub(1); }
    bool GateOpen() const { return !mStream->mGateClosed.GetOrdered(); }

  private:
    AudioStream* mStream;
  };
  void CloseGate()
  {
    mGateClosed.SetOrdered(true);
    while (mCallbacksInside.GetOrdered() != 0) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  // Whether the stream still calls back: waits up to half a second (longer
  // than the largest device buffer) for one call.
  bool CallbacksFlowing() const
  {
    const unsigned int before = mCallbacksSeen;
    for (int i = 0; i < 100; ++i)
    {
      if (mCallbacksSeen != before) return true;
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return false;
  }

  // Audio thread: a callback came with a status flag. Main thread: how many
  // came since the last report.
  void Flagged() { mFlagged += 1; }
  unsigned int TakeFlagged()
  {
    const unsigned int flagged = mFlagged, n = flagged - mReported;
    mReported = flagged;
    return n;
  }

  // At exit, a stream that its sound library may be closing on a thread of
  // its own: VELTRA leaves it alone to the end of the process.
  bool mLeftToLibrary = false;
  // Audio objects whose JACK server went away: RtAudio closes their stream
  // on a thread of its own, and any call of ours into them would race it.
  // Kept, never touched again, never deleted.
  void Bury(RtAudio* dead)
  {
    if (dead && mDeadCount < sizeof(mDead) / sizeof(mDead[0])) mDead[mDeadCount++] = dead;
  }
  // The API's default devices as the last probe found them: the first
  // device whose information says it is the default of that direction, else
  // 0, as the sound library itself answers on Linux, without asking the
  // sound server for every device once more (two JACK clients each).
  unsigned int mDefaultIn = 0, mDefaultOut = 0;

private:
  EState mState = kClosed;
  bool mEverStarted = false;
  WDL_SharedWord<bool> mGateClosed = false;
  WDL_SharedWord<int> mCallbacksInside = 0;
  WDL_SharedWord<unsigned int> mCallbacksSeen = 0;
  WDL_SharedWord<unsigned int> mFlagged = 0;
  unsigned int mReported = 0;
  RtAudio* mDead[64];
  size_t mDeadCount = 0;
};
AudioStream sStream;

// The converter between the instrument's rate and the stream's, with the
// instrument's block, when the two differ and the option asks for it. Set
// up while no stream runs, read by the audio thread.
IRateAdapter sConverter;
bool sConverting = false;
std::vector<double> sScratch[2];
double* sScratchData[2] = {nullptr, nullptr};

// The largest plug-in block we run (a hand-edited settings file may ask for
// anything; the scratch buffers and queues are sized from this).
constexpr unsigned int kMaxSigVS = kMaxSignalVectorSize;

std::vector<RtAudio::Api> CompiledApis()
{
  std::vector<RtAudio::Api> apis;
  RtAudio::getCompiledApi(apis);
  return apis;
}

// Driver type 0 ("Default") takes the first API that has devices. An index
// outside the list counts as 0, so that a hand-edited settings file still
// gets a working audio object. When JACK comes first and a server with
// devices answers VELTRA's own probe, JACK is named outright: RtAudio would
// otherwise open a client of the server once more only to count them.
RtAudio::Api ApiForDriverType(unsigned int type)
{
  const std::vector<RtAudio::Api> apis = CompiledApis();
  if (type > 0 && type <= apis.size()) return apis[type - 1];
  if (!apis.empty() && apis.front() == RtAudio::UNIX_JACK && JackHasAudioDevices()) return RtAudio::UNIX_JACK;
  return RtAudio::UNSPECIFIED;
}

// Every device of the driver in force with its details; JACK's through the
// probe's one client (see JackProbe.h).
std::vector<RtAudio::DeviceInfo> DeviceInfos()
{
  if (gDAC->getCurrentApi() == RtAudio::UNIX_JACK) return ProbeJackDevices();
  std::vector<RtAudio::DeviceInfo> infos(gDAC->getDeviceCount());
  for (unsigned int i = 0; i < infos.size(); ++i)
  {
    try
    {
      infos[i] = gDAC->getDeviceInfo(i);
    }
    catch (RtAudioError& e)
    {
      e.printMessage();
      infos[i].probed = false;
    }
  }
  return infos;
}

bool IsListed(const std::vector<unsigned int>& list, unsigned int id)
{
  for (unsigned int d : list)
    if (d == id) return true;
  return false;
}

unsigned int ParseSigVS(const char* text)
{
  const long v = strtol(text, nullptr, 10);
  if (v < 1) return 32; // not a size: the default
  return v > (long)kMaxSigVS ? kMaxSigVS : (unsigned int)v;
}

// The stream open now, if any, ends: aborted, not played out.
void CloseOpenStream()
{
  if (!gDAC->isStreamOpen()) return;
  if (gDAC->isStreamRunning())
  {
    try
    {
      gDAC->abortStream();
    }
    catch (RtAudioError& e)
    {
      e.printMessage();
    }
  }
  gDAC->closeStream();
}

// A 16-bit 1-based channel number from the settings; 0 is taken as 1.
unsigned int FirstChannel(unsigned int oneBased) { return oneBased ? oneBased - 1 : 0; }
} // namespace

std::vector<std::string> GetAudioDriverNames()
{
  std::vector<std::string> names{"Default"};
  for (RtAudio::Api api : CompiledApis()) names.push_back(RtAudio::getApiDisplayName(api));
  return names;
}

bool TryToChangeAudioDriverType()
{
  WDL_ASSERT_MAIN_THREAD();
  ReleaseJackProbe(); // the server is asked afresh
  if (JackServerWentAway())
  {
    sStream.Bury(gDAC);
    gDAC = nullptr;
  }
  sStream.Closed(); // closed here, not gone away
  if (gDAC)
  {
    if (gDAC->isStreamOpen()) gDAC->closeStream();
    delete gDAC;
    gDAC = nullptr;
  }
  try
  {
    QuietProbe quiet; // "Default" asks every back-end whether it has devices
    gDAC = new RtAudio(ApiForDriverType(gState->mAudioDriverType));
  }
  catch (RtAudioError& e)
  {
    e.printMessage();
    gDAC = nullptr;
  }
  return gDAC != nullptr;
}

void ProbeAudioIO()
{
  WDL_ASSERT_MAIN_THREAD();
  gAudioInputDevs.clear();
  gAudioOutputDevs.clear();
  gAudioIDDevNames.clear();
  sStream.mDefaultIn = sStream.mDefaultOut = 0;
  if (!gDAC) return;
  bool haveIn = false, haveOut = false;

  QuietProbe quiet;
  const std::vector<RtAudio::DeviceInfo> infos = DeviceInfos();
  for (unsigned int i = 0; i < infos.size(); ++i)
  {
    const RtAudio::DeviceInfo& info = infos[i];
    // The display name is what follows the last ": ".
    std::string name = info.name;
    const size_t sep = name.rfind(": ");
    if (sep != std::string::npos && name.size() >= 2) name = name.substr(sep + 2);
    gAudioIDDevNames.push_back(name);

    if (!haveIn && info.isDefaultInput) haveIn = true, sStream.mDefaultIn = i;
    if (!haveOut && info.isDefaultOutput) haveOut = true, sStream.mDefaultOut = i;

    if (!info.probed || name == "Generic Low Latency ASIO Driver")
    {
      Say("%s: Probe Status = Unsuccessful\n", name.c_str());
      continue;
    }
    if (info.inputChannels > 0) gAudioInputDevs.push_back(i);
    if (info.outputChannels > 0) gAudioOutputDevs.push_back(i);
  }
}

std::string GetAudioDeviceName(int id)
{
  if (id < 0 || id >= (int)gAudioIDDevNames.size()) return std::string();
  return gAudioIDDevNames[id];
}

int GetAudioDeviceID(const char* name)
{
  for (size_t i = 0; i < gAudioIDDevNames.size(); ++i)
    if (gAudioIDDevNames[i] == name) return (int)i;
  return -1;
}

// A device by display name. The defaults "Built-in Input" and "Built-in
// Output" name no Linux device; when no device carries that exact name they
// stand for the API's default device (or, if that one cannot be used in that
// direction, the first usable one).
int GetAudioDeviceIDForSettings(const char* name, bool input)
{
  const int id = GetAudioDeviceID(name);
  if (id >= 0 || !gDAC) return id;
  if (strcmp(name, input ? "Built-in Input" : "Built-in Output") != 0) return -1;
  const std::vector<unsigned int>& usable = input ? gAudioInputDevs : gAudioOutputDevs;
  if (usable.empty()) return -1;
  const unsigned int def = input ? sStream.mDefaultIn : sStream.mDefaultOut;
  return (int)(IsListed(usable, def) ? def : usable.front());
}

bool RestartAudio()
{
  if (TryToChangeAudio()) return true;
  // In VELTRA's own words rather than the sound libraries'.
  Say(gAudioOutputDevs.empty() ? "no audio device: running silent\n"
                               : "audio did not start: running silent; choose a device in File > Preferences...\n");
  return false;
}

bool TryToChangeAudio()
{
  const int inId = GetAudioDeviceIDForSettings(gState->mAudioInDev, true);
  const int outId = GetAudioDeviceIDForSettings(gState->mAudioOutDev, false);
  if (inId < 0 || outId < 0) return false;
  const unsigned int sr = (unsigned int)strtoul(gState->mAudioSR, nullptr, 10);
  const unsigned int iovs = (unsigned int)strtoul(gState->mAudioIOVS, nullptr, 10);
  return InitialiseAudio(inId, outId, sr, iovs, 2, FirstChannel(gState->mAudioInChanL),
                         FirstChannel(gState->mAudioOutChanL));
}

bool InitialiseAudio(unsigned int inId, unsigned int outId, unsigned int sr, unsigned int iovs, unsigned int chnls,
                     unsigned int inChanL, unsigned int outChanL)
{
  WDL_ASSERT_MAIN_THREAD();
  if (!gDAC || !gPluginInstance) return false;

  sStream.Starting();
  CloseOpenStream();

  RtAudio::StreamParameters iParams, oParams;
  iParams.deviceId = inId;
  iParams.nChannels = chnls;
  iParams.firstChannel = inChanL;
  oParams.deviceId = outId;
  oParams.nChannels = chnls;
  oParams.firstChannel = outChanL;

  gIOVS = iovs;
  gSigVS = ParseSigVS(gState->mAudioSigVS);

  Say("\ntrying to start audio stream @ %i sr, %i iovs, %i sigvs\nindev = %i:%s\noutdev = %i:%s\n", (int)sr, (int)iovs,
      (int)gSigVS, (int)inId, GetAudioDeviceName(inId).c_str(), (int)outId, GetAudioDeviceName(outId).c_str());

  RtAudio::StreamOptions options;
  options.flags = RTAUDIO_NONINTERLEAVED;
  // The client name that JACK and PipeWire show: a session's own name.
  options.streamName = SessionClientName().empty() ? "VELTRA" : SessionClientName();

  gBufIndex = 0;
  gVecElapsed = 0;
  gFadeMult = 0.0;

  // At another rate than its own the instrument plays at its own, as the
  // option asks, and its output is converted: a block of the stream's
  // frames may take a few more of its samples. No stream runs here.
  sConverting = SameSoundAtEveryRate() && sConverter.Setup((double)sr);
  const unsigned int instBlock = sConverting ? (unsigned int)sConverter.MostInstrumentFrames((int)gSigVS) : gSigVS;
  for (int c = 0; c < 2; ++c)
  {
    sScratch[c].assign(std::max(instBlock, gSigVS), 0.0);
    sScratchData[c] = sScratch[c].data();
  }
  gPluginInstance->SetBlockSize((int)std::max(instBlock, gSigVS));
  gPluginInstance->SetSampleRate(sConverting ? (double)IRateAdapter::kInstrumentRate : (double)sr);
  gPluginInstance->Reset();

  try
  {
    gDAC->openStream(&oParams, &iParams, RTAUDIO_FLOAT64, sr, &gIOVS, &AudioCallback, nullptr, &options);
    gDAC->startStream();
    *gActiveState = *gState;
    sStream.Started();
    return true;
  }
  catch (RtAudioError& e)
  {
    e.printMessage();
    sStream.Failed();
    return false;
  }
}

int AudioCallback(void* outputBuffer, void* inputBuffer, unsigned int nFrames, double, unsigned int status, void*)
{
  const AudioStream::Inside inside(&sStream);
  if (!inside.GateOpen())
  {
    memset(outputBuffer, 0, sizeof(double) * 2 * nFrames);
    return 0;
  }
  if (status) sStream.Flagged();

  double* out = (double*)outputBuffer;
  double* in = (double*)inputBuffer;
  const bool mono = gState->mAudioInIsMono != 0;
  const unsigned int rightInOffset = mono ? 0 : nFrames;

  if (gVecElapsed <= 50)
  {
    memset(out, 0, sizeof(double) * 2 * nFrames);
  }
  else
  {
    for (unsigned int i = 0; i < nFrames; ++i)
    {
      gBufIndex %= gSigVS;
      if (gBufIndex == 0)
      {
        // A block must lie wholly inside the device buffer. Should the device
        // hand us a buffer that gSigVS does not divide, the last block is cut
        // short and the next callback starts a fresh block.
        unsigned int frames = gSigVS;
        if (frames > nFrames - i)
        {
          frames = nFrames - i;
          gBufIndex = gSigVS - frames;
        }
        double* inputs[2] = {in + i, in + rightInOffset + i};
        double* outputs[2] = {out + i, out + nFrames + i};
        RenderThroughInputStage(inputs, outputs, (int)frames, sConverting ? &sConverter : nullptr, sScratchData);
      }
      if (gFadeMult < 1.0) gFadeMult += 1.0 / nFrames;
      out[i] *= gFadeMult;
      out[nFrames + i] *= gFadeMult;
      out[i] *= kStandaloneOutputGain;
      out[nFrames + i] *= kStandaloneOutputGain;
      ++gBufIndex;
    }
  }
  ++gVecElapsed;
  return 0;
}

bool AudioRunsOnJack() { return gDAC && gDAC->getCurrentApi() == RtAudio::UNIX_JACK; }

bool StreamRunning() { return gDAC && sStream.State() == AudioStream::kRunning && gDAC->isStreamRunning(); }

bool JackServerWentAway()
{
  if (!AudioRunsOnJack()) return false;
  // Reported already, or stopped from the outside and not reported yet.
  return sStream.State() == AudioStream::kStoppedOutside ||
         (sStream.State() == AudioStream::kRunning && !gDAC->isStreamRunning());
}

void ReportStreamStatus()
{
  WDL_ASSERT_MAIN_THREAD();
  for (unsigned int n = sStream.TakeFlagged(); n > 0; --n) Say("Stream underflow detected!\n");
  // A device unplugged or a sound server gone ends the stream from the
  // outside; say so once, and run on silent.
  if (gDAC && sStream.SeenStopped(gDAC->isStreamRunning()))
    Say("audio stream stopped: %s went away; VELTRA runs on silent\n",
        AudioRunsOnJack() ? "the JACK server" : "the sound device");
}

void StopAudio()
{
  WDL_ASSERT_MAIN_THREAD();
  if (!gDAC) return;
  // First no more calls into the instrument, whatever becomes of the stream.
  sStream.CloseGate();
  if (!gDAC->isStreamOpen()) return;
  if (gDAC->isStreamRunning() && sStream.CallbacksFlowing())
  {
    // Aborted rather than stopped: stopping waits for the stream to play out
    // its last buffers, which a server dying at this moment never plays. At
    // the end the last few milliseconds of silence do not matter.
    try
    {
      gDAC->abortStream();
    }
    catch (RtAudioError& e)
    {
      e.printMessage();
    }
    return;
  }
  // Stopped from the outside, or no longer called: a JACK server that went
  // away has the sound library close the stream on a thread of its own,
  // and closing it here as well would close it twice. Give that thread a
  // moment; a stream still open after it is left to the end of the process.
  // Other APIs close nothing by themselves, nor does a stream never started.
  if (gDAC->getCurrentApi() != RtAudio::UNIX_JACK || !sStream.EverStarted()) return;
  for (int i = 0; i < 200 && gDAC->isStreamOpen(); ++i) std::this_thread::sleep_for(std::chrono::milliseconds(10));
  sStream.mLeftToLibrary = gDAC->isStreamOpen();
}

void CloseAudio()
{
  WDL_ASSERT_MAIN_THREAD();
  if (gDAC && !sStream.mLeftToLibrary && gDAC->isStreamOpen()) gDAC->closeStream();
  sStream.Closed();
}

void DeleteAudioDriver()
{
  WDL_ASSERT_MAIN_THREAD();
  ReleaseJackProbe();
  // A stream left to its sound library keeps its object to the end of the
  // process: the object's destructor would close the stream a second time.
  if (!sStream.mLeftToLibrary) delete gDAC;
  sStream.mLeftToLibrary = false;
  gDAC = nullptr;
}
