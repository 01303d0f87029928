#pragma once
// End-to-end fixtures: a private JACK server on the dummy back-end, VELTRA
// started against it with a private home folder, and a recording client
// that captures VELTRA's outputs. Each piece cleans up after itself.

#include "Process.h"
#include "TempDir.h"

#include <atomic>
#include <cerrno>
#include <jack/jack.h>
#include <jack/midiport.h>
#include <string>
#include <vector>

// A JACK server of its own: unique name, dummy back-end, 44100 Hz, 512-frame
// periods. Stopped by the destructor.
class JackServer
{
public:
  JackServer();
  ~JackServer();
  bool Start(std::string* error);
  // Holds a name for a server that starts later.
  bool Reserve(std::string* error);
  void Stop();
  // Ends the server at once, as a crash would.
  void Kill();
  // Ends it as `killall jackd` does, and waits for it; the name stays held.
  void Terminate();
  // Sends the signal and returns at once, the server still ending.
  void Signal(int sig);
  const std::string& Name() const { return mName; }
  // Set before Start: the server's sample rate.
  int rate = 44100;

private:
  bool StartOnce(std::string* error);
  void ReleaseName();

  std::string mName;
  pid_t mPid = -1;
  int mSlotLock = -1; // holds the name while the server runs
};

// The veltra executable as a child process, its standard output and error
// going to files.
class VeltraProcess
{
public:
  ~VeltraProcess();
  // displayEnv: the settings that put it on an X server; none runs it
  // window-less, as on a headless box.
  bool Start(const std::string& exe, const std::string& jackServer, const std::string& home,
             const std::vector<std::string>& displayEnv = {});
  // Sends the signal and waits up to timeoutSec for the exit; returns the
  // wait status, or -1 when the process did not end in time (it is killed).
  int StopWith(int sig, double timeoutSec);
  // Before Start: standard output goes to a pipe that nobody reads, held
  // open until the end, as a console left alone would be.
  void LeaveOutputUnread() { mUnread = true; }
  // Empty while the output is left unread.
  std::string Output() const;
  std::string Errors() const;
  bool Running() const;
  pid_t Pid() const { return mPid; }
  // The process's peak resident size in KiB (VmHWM), 0 when unknown.
  long PeakKiB() const;

private:
  pid_t mPid = -1;
  std::string mOutPath, mErrPath;
  bool mUnread = false;
  int mHeldOutput = -1;
};

// A JACK client with two input ports that records whatever reaches them
// into memory, up to a fixed capacity allocated beforehand.
class JackRecorder
{
public:
  explicit JackRecorder(double maxSeconds = 60.0);
  ~JackRecorder();
  bool Open(const std::string& server, std::string* error);
  // Waits for ports whose names start with prefix + "0" and prefix + "1" and
  // connects them to the recorder's left and right inputs.
  bool ConnectTo(const std::string& prefix, double timeoutSec, const std::string& left = "0",
                 const std::string& right = "1");
  // Waits until at least n frames were recorded.
  bool WaitForFrames(size_t n, double timeoutSec) const;
  bool PortsExist(const std::string& prefix) const;
  size_t Frames() const { return mFrames.load(); }
  const std::vector<float>& Left() const { return mLeft; }
  const std::vector<float>& Right() const { return mRight; }
  int SampleRate() const;
  void Close();

private:
  static int Process(jack_nframes_t n, void* arg);
  jack_client_t* mClient = nullptr;
  jack_port_t* mIn[2] = {nullptr, nullptr};
  std::vector<float> mLeft, mRight;
  std::atomic<size_t> mFrames{0};
};

// One VELTRA playing on a private JACK server with its outputs recorded:
// the common start of the end-to-end tests.
struct PlayingVeltra
{
  explicit PlayingVeltra(double maxSeconds = 60.0) : recorder(maxSeconds) {}
  // Set before Start: VELTRA starts before its JACK server, whose name is
  // held for it; the test starts the server (and the recorder) later.
  bool serverLater = false;
  // Writes settings (when given) as the user's settings.ini, starts the
  // server and VELTRA, and connects the recorder. Empty on success, else
  // what failed.
  std::string Start(const std::string& settings = "", const std::vector<std::string>& displayEnv = {});
  std::string SettingsPath() const { return home.Path() + "/.config/VELTRA/settings.ini"; }
  // VELTRA's JACK client, whose outputs are recorded, and environment
  // settings beyond the display's.
  std::string client = "VELTRA";
  std::vector<std::string> env;

  JackServer server;
  TempDir home;
  JackRecorder recorder;
  VeltraProcess veltra;
};

// A JACK client with one MIDI output: what Send queues goes out at the start
// of the next cycle.
class JackMidiPlayer
{
public:
  ~JackMidiPlayer()
  {
    if (mClient) jack_client_close(mClient);
  }
  bool Open(const std::string& target, double timeoutSec)
  {
    mClient = jack_client_open("veltra-test-midi", JackNoStartServer, nullptr);
    if (!mClient) return false;
    mPort = jack_port_register(mClient, "out", JACK_DEFAULT_MIDI_TYPE, JackPortIsOutput, 0);
    jack_set_process_callback(mClient, Process, this);
    if (!mPort || jack_activate(mClient)) return false;
    const double start = Now();
    while (SecondsSince(start) < timeoutSec)
    {
      const int r = jack_connect(mClient, jack_port_name(mPort), target.c_str());
      if (r == 0 || r == EEXIST) return true;
      Sleep(0.05);
    }
    return false;
  }
  void Send(uint8_t status, uint8_t d1, uint8_t d2)
  {
    const int n = mQueued.load();
    if (n >= kMax) return;
    mQueue[n][0] = status, mQueue[n][1] = d1, mQueue[n][2] = d2;
    mQueued.store(n + 1);
  }

private:
  static int Process(jack_nframes_t nFrames, void* arg)
  {
    JackMidiPlayer* p = (JackMidiPlayer*)arg;
    void* buf = jack_port_get_buffer(p->mPort, nFrames);
    jack_midi_clear_buffer(buf);
    const int queued = p->mQueued.load();
    for (; p->mSent < queued; ++p->mSent) jack_midi_event_write(buf, 0, p->mQueue[p->mSent], 3);
    return 0;
  }
  static constexpr int kMax = 64;
  jack_client_t* mClient = nullptr;
  jack_port_t* mPort = nullptr;
  uint8_t mQueue[kMax][3] = {};
  std::atomic<int> mQueued{0};
  int mSent = 0;
};
