#include "MidiEngine.h"

#include "AppState.h"
#include "AudioEngine.h"
#include "Console.h"
#include "Controllers.h"
#include "IPlugStandalone.h"
#include "JackProbe.h"
#include "QuietProbe.h"
#include "Session.h"
#include "Settings.h"
#include "sharedword.h"
#include "threadrole.h"

#include <jack/jack.h>
#include <rtmidi/RtMidi.h>

#include <cstdio>
#include <cstring>
#include <unistd.h>

RtMidiIn* gMidiIn = nullptr;
RtMidiOut* gMidiOut = nullptr;
std::vector<std::string> gMIDIInputDevNames;
std::vector<std::string> gMIDIOutputDevNames;

namespace
{
// The MIDI objects' life. MIDI on JACK lives in clients of the JACK server;
// when the server goes away, every call into those clients (closing a port,
// deleting the object) crashes inside libjack. The sound's stream on the
// same server, or else a client of our own with no ports, hears the
// shutdown; from then on the MIDI objects are dropped, never called again,
// and made afresh once the user restarts the sound. Main thread, but for the
// shutdown's word.
class MidiLinks
{
public:
  // The settings' names of the ports open now, "" for none: a choice of the
  // port already open keeps it open, with its connections.
  std::string mOpenIn, mOpenOut;
  // Objects made since the console last said what MIDI runs on (or, at the
  // launch, that there is none).
  bool mUnreported = true;
  // Messages of a length the callback does not take: counted on the MIDI
  // thread, said on the main thread.
  WDL_SharedWord<unsigned int> mLongMessages = 0;
  WDL_SharedWord<int> mLongLength = 0;
  unsigned int mLongReported = 0;

  // A client of our own that hears the server go.
  void Watch()
  {
    mGone = false;
    Bury(mWatch); // its server is gone too
    mWatch = jack_client_open("VELTRA-watch", JackNoStartServer, nullptr);
    if (!mWatch) return;
    jack_on_info_shutdown(mWatch, OnShutdown, this);
    jack_activate(mWatch);
  }
  bool Watching() const { return mWatch != nullptr; }
  // JACK's thread, or the main thread: the server went away.
  void Gone() { mGone = true; }
  bool IsGone() const { return mGone; }
  // The objects were dropped; until they are made afresh.
  bool mDropped = false;

  // Objects of a server that went away: kept, never touched, so that nothing
  // calls into the dead clients (their destructors would). A plain array, so
  // that it still holds them when static destructors have run.
  void Bury(void* object)
  {
    if (object && mDeadCount < sizeof(mDead) / sizeof(mDead[0])) mDead[mDeadCount++] = object;
  }
  // Drops the watching client with the objects.
  void BuryWatch()
  {
    Bury(mWatch);
    mWatch = nullptr;
  }
  // At exit, with the server still there.
  void CloseWatch()
  {
    if (mWatch) jack_client_close(mWatch);
    mWatch = nullptr;
  }
  // Afresh: the objects live again.
  void Revived()
  {
    mGone = false;
    mDropped = false;
  }

private:
  static void OnShutdown(jack_status_t, const char*, void* self) { ((MidiLinks*)self)->Gone(); }

  WDL_SharedWord<bool> mGone = false;
  jack_client_t* mWatch = nullptr;
  void* mDead[96];
  size_t mDeadCount = 0;
};
MidiLinks sLinks;

// Drops the MIDI objects whose server has gone; true when there are none.
bool MidiGone()
{
  if (sLinks.mDropped) return true;
  // A JACK stream stopped from the outside is the server going away.
  if (!sLinks.Watching() && gMidiIn && gMidiIn->getCurrentApi() == RtMidi::UNIX_JACK && JackServerWentAway())
    sLinks.Gone();
  if (!sLinks.IsGone()) return false;
  sLinks.mDropped = true;
  sLinks.Bury(gMidiIn);
  sLinks.Bury(gMidiOut);
  sLinks.BuryWatch();
  gMidiIn = nullptr;
  gMidiOut = nullptr;
  IPlugStandalone::SetMidiSendFunc(nullptr);
  Say("MIDI stopped: the JACK server went away; restart the sound in File > Preferences...\n");
  return true;
}

// The first back-end whose object can be made, in RtMidi's compiled order:
// the ALSA sequencer where it exists, else JACK MIDI where a server runs;
// null when neither is there. Without a sequencer device ALSA is not even
// tried, so that its failure leaves no noise.
template<class T>
T* MakeMidiObject(const char* clientName)
{
  QuietProbe quiet; // JACK MIDI without a server says so at length
  std::vector<RtMidi::Api> apis;
  RtMidi::getCompiledApi(apis);
  if (access("/dev/snd/seq", F_OK) != 0)
    for (size_t i = apis.size(); i-- > 0;)
      if (apis[i] == RtMidi::LINUX_ALSA) apis.erase(apis.begin() + (long)i);
  // JACK MIDI without a server makes an object that never works and says
  // so at every call: without one there is no MIDI system, until the user
  // starts the sound again once a server runs.
  for (size_t i = apis.size(); i-- > 0;)
    if (apis[i] == RtMidi::UNIX_JACK && !JackServerAnswers()) apis.erase(apis.begin() + (long)i);
  for (size_t i = 0; i < apis.size(); ++i)
  {
    try
    {
      return new T(apis[i], clientName);
    }
    catch (RtMidiError&)
    {
      if (i + 1 == apis.size()) throw; // no back-end left: the caller reports it
    }
  }
  return nullptr; // none to try: the console says so once, in VELTRA's words
}

void SendToPort(IMidiOutPort* port, const unsigned char* bytes, size_t size)
{
  try
  {
    ((RtMidiOut*)port)->sendMessage(bytes, size);
  }
  catch (RtMidiError& e)
  {
    e.printMessage();
  }
}

template<class T>
int PortNumber(T* midi, const char* name, const char* virtualName)
{
  if (!strcmp(name, "off")) return 0;
  if (!strcmp(name, virtualName)) return 1;
  if (!midi || MidiGone()) return -1;
  const unsigned int n = midi->getPortCount();
  for (unsigned int i = 0; i < n; ++i)
    if (midi->getPortName(i) == name) return (int)i + 2;
  return -1;
}

// Connects one object; a port that cannot be opened stays closed, and
// RtMidi says why on the console.
template<class T>
bool Choose(T* midi, int number, const char* virtualPort, const char* portName, const char* setting, std::string* open)
{
  if (!midi || MidiGone()) return false;
  if (number > 0 && *open == setting) return true;
  *open = number > 0 ? setting : "";
  try
  {
    midi->closePort();
    if (number == 1)
      midi->openVirtualPort(virtualPort);
    else if (number >= 2)
      midi->openPort((unsigned int)(number - 2), portName);
  }
  catch (RtMidiError& e)
  {
    e.printMessage();
  }
  return true;
}

// In a session the MIDI clients carry the session's name for VELTRA, so
// that two VELTRAs of one session keep apart.
std::string ClientName(const char* own, const char* inSession)
{
  return SessionClientName().empty() ? own : SessionClientName() + inSession;
}
} // namespace

bool InitialiseMidi()
{
  WDL_ASSERT_MAIN_THREAD();
  try
  {
    gMidiIn = MakeMidiObject<RtMidiIn>(ClientName("RtMidi Input Client", " MIDI In").c_str());
    if (!gMidiIn) return false;
  }
  catch (RtMidiError& e)
  {
    gMidiIn = nullptr;
    e.printMessage();
    return false;
  }
  try
  {
    gMidiOut = MakeMidiObject<RtMidiOut>(ClientName("RtMidi Output Client", " MIDI Out").c_str());
    if (!gMidiOut) return false;
  }
  catch (RtMidiError& e)
  {
    gMidiOut = nullptr;
    e.printMessage();
    return false;
  }
  sLinks.mOpenIn.clear();
  sLinks.mOpenOut.clear();
  sLinks.mUnreported = true;
  gMidiIn->setCallback(MIDICallback, nullptr);
  gMidiIn->ignoreTypes(true, true, true);
  IPlugStandalone::SetMidiSendFunc(SendToPort);
  // With the sound on JACK too, its stream hears the server go (see
  // MidiGone); otherwise a watching client of its own does. Every client
  // costs the server's time at each later client's start.
  if (gMidiIn->getCurrentApi() == RtMidi::UNIX_JACK && !AudioRunsOnJack()) sLinks.Watch();
  return true;
}

void ReportMidiStatus()
{
  MidiGone();
  const unsigned int seen = sLinks.mLongMessages, n = seen - sLinks.mLongReported;
  if (!n) return;
  sLinks.mLongReported = seen;
  Say("NOT EXPECTING %d midi callback msg len\n", sLinks.mLongLength.Get());
  if (n > 1) Say("(%u messages of a length other than 1, 2 or 3 ignored since the last report)\n", n);
}

void OpenMidi()
{
  WDL_ASSERT_MAIN_THREAD();
  const bool gone = MidiGone();
  if (!gone && gMidiIn && gMidiOut) return;
  QuietProbe quiet;
  if (!gone)
  {
    // Half made, or never: what there is goes, and both are made afresh.
    delete gMidiIn;
    delete gMidiOut;
    gMidiIn = nullptr;
    gMidiOut = nullptr;
  }
  if (!InitialiseMidi()) return; // still no MIDI system: tried again at the next start
  sLinks.Revived();
  ProbeMidiIO();
}

void ProbeMidiIO()
{
  WDL_ASSERT_MAIN_THREAD();
  gMIDIInputDevNames.clear();
  gMIDIOutputDevNames.clear();
  if (!gMidiIn || !gMidiOut) return;
  QuietProbe quiet;
  gMIDIInputDevNames.push_back("off");
  gMIDIInputDevNames.push_back("virtual input");
  for (unsigned int i = 0, n = gMidiIn->getPortCount(); i < n; ++i)
    gMIDIInputDevNames.push_back(gMidiIn->getPortName(i));
  gMIDIOutputDevNames.push_back("off");
  gMIDIOutputDevNames.push_back("virtual output");
  for (unsigned int i = 0, n = gMidiOut->getPortCount(); i < n; ++i)
    gMIDIOutputDevNames.push_back(gMidiOut->getPortName(i));
}

int GetMIDIInPortNumber(const char* name) { return PortNumber(gMidiIn, name, "virtual input"); }

int GetMIDIOutPortNumber(const char* name) { return PortNumber(gMidiOut, name, "virtual output"); }

namespace
{
// A name that is no port any more becomes "off", in the settings file too.
template<size_t N>
int NumberOrOff(int number, char (&setting)[N])
{
  if (number != -1) return number;
  snprintf(setting, N, "%s", "off");
  UpdateINI();
  return 0;
}
} // namespace

bool ChooseMidiInput(const char* name)
{
  WDL_ASSERT_MAIN_THREAD();
  if (MidiGone()) return false; // the setting waits for the sound's restart
  const int number = NumberOrOff(GetMIDIInPortNumber(name), gState->mMidiInDev);
  return Choose(gMidiIn, number, "To VELTRA", "RtMidi Input", gState->mMidiInDev, &sLinks.mOpenIn);
}

bool ChooseMidiOutput(const char* name)
{
  WDL_ASSERT_MAIN_THREAD();
  if (MidiGone()) return false;
  const int number = NumberOrOff(GetMIDIOutPortNumber(name), gState->mMidiOutDev);
  return Choose(gMidiOut, number, "From VELTRA", "RtMidi Output", gState->mMidiOutDev, &sLinks.mOpenOut);
}

void ReportMidiPortsIfNew()
{
  if (!sLinks.mUnreported) return;
  sLinks.mUnreported = false;
  ReportMidiPorts();
}

void ReportMidiPorts()
{
  if (!gMidiIn || !gMidiOut)
  {
    Say("no MIDI system found: MIDI is off\n");
    return;
  }
  Say("MIDI on %s: input %s, output %s\n", RtMidi::getApiDisplayName(gMidiIn->getCurrentApi()).c_str(),
      gState->mMidiInDev, gState->mMidiOutDev);
}

void MIDICallback(double, std::vector<unsigned char>* message, void*)
{
  if (!message || message->empty()) return;
  const std::vector<unsigned char>& m = *message;
  IMidiMsg msg;
  switch (m.size())
  {
  case 3:
    msg = IMidiMsg(0, m[0], m[1], m[2]);
    break;
  case 2:
    msg = IMidiMsg(0, m[0], m[1], 0);
    break;
  case 1:
    msg = IMidiMsg(0, m[0], 0, 0);
    break;
  default:
    // Counted here, said on the main thread: the MIDI thread prints nothing.
    sLinks.mLongLength = (int)m.size();
    sLinks.mLongMessages += 1;
    return;
  }
  // Read without a lock, one word: a change in the dialog acts on the next
  // message.
  const unsigned int chan = gState->mMidiInChan;
  if (chan != 0 && chan != (unsigned int)msg.Channel() + 1) return;
  ControllersMidiIn(msg);
}

void StopMidi()
{
  WDL_ASSERT_MAIN_THREAD();
  if (MidiGone()) return;
  if (gMidiIn)
  {
    gMidiIn->cancelCallback();
    gMidiIn->closePort();
  }
  if (gMidiOut) gMidiOut->closePort();
  sLinks.mOpenIn.clear();
  sLinks.mOpenOut.clear();
}

void DeleteMidi()
{
  WDL_ASSERT_MAIN_THREAD();
  IPlugStandalone::SetMidiSendFunc(nullptr);
  gMIDIInputDevNames.clear();
  gMIDIOutputDevNames.clear();
  if (MidiGone()) return;
  delete gMidiIn;
  delete gMidiOut;
  gMidiIn = nullptr;
  gMidiOut = nullptr;
  sLinks.CloseWatch();
}
