#include "JackSession.h"

#include "Process.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <sstream>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

namespace
{
std::string ReadFile(const std::string& path) { return ReadWholeFile(path); }

void SilentJackErrors(const char*) {}
} // namespace

JackServer::JackServer() {}

JackServer::~JackServer() { Stop(); }

// JACK keeps its servers in a shared registry of eight places, and a place
// whose server died is given back only to a server of the same name. So the
// tests use a small pool of names, each held through a lock file for as long
// as its server runs: a server killed on purpose leaves a place that the next
// server of that name takes over.
bool JackServer::Start(std::string* error)
{
  if (!Reserve(error)) return false;
  // Two servers that start at the same moment race for the registry and one
  // of them ends at once: starts go one after the other.
  const int lock = open("/tmp/veltra-e2e-jackd.lock", O_RDWR | O_CREAT | O_CLOEXEC, 0666);
  if (lock >= 0) flock(lock, LOCK_EX);
  bool ok = false;
  for (int attempt = 0; attempt < 3 && !ok; ++attempt) ok = StartOnce(error);
  if (lock >= 0) close(lock);
  if (!ok) ReleaseName();
  return ok;
}

bool JackServer::Reserve(std::string* error)
{
  const double start = Now();
  while (mSlotLock < 0)
  {
    for (int k = 0; k < 4 && mSlotLock < 0; ++k)
    {
      const int fd = open(("/tmp/veltra-e2e-jack-" + std::to_string(k) + ".lock").c_str(), O_RDWR | O_CREAT, 0666);
      if (fd >= 0 && flock(fd, LOCK_EX | LOCK_NB) == 0)
      {
        mSlotLock = fd;
        mName = "veltra-e2e-" + std::to_string(k);
      }
      else if (fd >= 0)
      {
        close(fd);
      }
    }
    if (mSlotLock < 0)
    {
      if (SecondsSince(start) > 120.0)
      {
        *error = "no free JACK server name";
        return false;
      }
      Sleep(0.1);
    }
  }
  return true;
}

void JackServer::ReleaseName()
{
  if (mSlotLock >= 0) close(mSlotLock);
  mSlotLock = -1;
}

bool JackServer::StartOnce(std::string* error)
{
  jack_set_error_function(SilentJackErrors);
  const std::string log = "/tmp/" + mName + ".log";
  mPid = Spawn({"/usr/bin/jackd", "--no-realtime", "-n", mName, "-d", "dummy", "-r", std::to_string(rate), "-p", "512"},
               MakeEnv({}, {"JACK_NO_AUDIO_RESERVATION=1"}), log, log);
  if (mPid < 0)
  {
    *error = "could not start jackd";
    return false;
  }
  // Ready when a client can connect.
  const double start = Now();
  while (SecondsSince(start) < 15.0)
  {
    jack_status_t status;
    jack_client_t* c =
        jack_client_open("probe", (jack_options_t)(JackNoStartServer | JackServerName), &status, mName.c_str());
    if (c)
    {
      jack_client_close(c);
      unlink(log.c_str());
      return true;
    }
    int st;
    if (waitpid(mPid, &st, WNOHANG) == mPid)
    {
      mPid = -1;
      // A silent end with status 255 is what a full server registry gives:
      // eight places held by servers that died under other names.
      *error = "jackd ended at start (status " + std::to_string(st) +
               "; a full /dev/shm/jack-shm-registry looks like this): " + ReadFile(log);
      unlink(log.c_str());
      return false;
    }
    Sleep(0.05);
  }
  *error = "jackd did not come up in time: " + ReadFile(log);
  StopProcess(mPid, SIGKILL, 5.0);
  mPid = -1;
  return false;
}

void JackServer::Stop()
{
  if (mPid > 0) StopProcess(mPid, SIGTERM, 10.0);
  mPid = -1;
  ReleaseName();
}

void JackServer::Kill()
{
  if (mPid <= 0) return;
  StopProcess(mPid, SIGKILL, 5.0);
  mPid = -1;
  // The name stays held until Stop: the dead server's place is reclaimed by
  // the next server of this name.
}

void JackServer::Terminate()
{
  if (mPid <= 0) return;
  StopProcess(mPid, SIGTERM, 10.0);
  mPid = -1;
}

void JackServer::Signal(int sig)
{
  if (mPid > 0) kill(mPid, sig);
}

VeltraProcess::~VeltraProcess()
{
  if (mPid > 0) StopWith(SIGKILL, 5.0);
  if (mHeldOutput >= 0) close(mHeldOutput);
}

bool VeltraProcess::Start(const std::string& exe, const std::string& jackServer, const std::string& home,
                          const std::vector<std::string>& displayEnv)
{
  mOutPath = home + "/veltra.out";
  mErrPath = home + "/veltra.err";
  if (mUnread)
  {
    unlink(mOutPath.c_str());
    if (mkfifo(mOutPath.c_str(), 0600) != 0) return false;
    mHeldOutput = open(mOutPath.c_str(), O_RDWR | O_NONBLOCK);
  }
  std::vector<std::string> env = {"HOME=" + home, "XDG_CONFIG_HOME=" + home + "/.config",
                                  "JACK_DEFAULT_SERVER=" + jackServer, "JACK_NO_AUDIO_RESERVATION=1",
                                  "LSAN_OPTIONS=suppressions=" VELTRA_LSAN_SUPPRESSIONS};
  env.insert(env.end(), displayEnv.begin(), displayEnv.end());
  mPid = Spawn({exe},
               MakeEnv({"DISPLAY", "WAYLAND_DISPLAY", "GDK_BACKEND", "HOME", "XDG_CONFIG_HOME", "JACK_DEFAULT_SERVER",
                        "LSAN_OPTIONS"},
                       env),
               mOutPath, mErrPath);
  return mPid > 0;
}

int VeltraProcess::StopWith(int sig, double timeoutSec)
{
  if (mPid <= 0) return -1;
  const int status = StopProcess(mPid, sig, timeoutSec);
  mPid = -1;
  return status;
}

bool VeltraProcess::Running() const
{
  int status;
  return mPid > 0 && waitpid(mPid, &status, WNOHANG) == 0;
}

long VeltraProcess::PeakKiB() const
{
  std::ifstream f("/proc/" + std::to_string(mPid) + "/status");
  std::string line;
  while (std::getline(f, line))
    if (line.rfind("VmHWM:", 0) == 0) return atol(line.c_str() + 6);
  return 0;
}

std::string VeltraProcess::Output() const { return mUnread ? std::string() : ReadFile(mOutPath); }

std::string VeltraProcess::Errors() const { return ReadFile(mErrPath); }

JackRecorder::JackRecorder(double maxSeconds)
{
  const size_t cap = (size_t)(maxSeconds * 192000);
  mLeft.resize(cap);
  mRight.resize(cap);
}

JackRecorder::~JackRecorder() { Close(); }

bool JackRecorder::Open(const std::string& server, std::string* error)
{
  jack_status_t status;
  mClient = jack_client_open("veltra-recorder", (jack_options_t)(JackNoStartServer | JackServerName), &status,
                             server.c_str());
  if (!mClient)
  {
    *error = "recorder could not connect to " + server;
    return false;
  }
  jack_set_process_callback(mClient, Process, this);
  if (jack_activate(mClient))
  {
    *error = "recorder could not activate";
    return false;
  }
  return true;
}

bool JackRecorder::PortsExist(const std::string& prefix) const
{
  const char** ports = jack_get_ports(mClient, ("^" + prefix).c_str(), nullptr, 0);
  const bool any = ports && ports[0];
  if (ports) jack_free(ports);
  return any;
}

bool JackRecorder::ConnectTo(const std::string& prefix, double timeoutSec, const std::string& left,
                             const std::string& right)
{
  const std::string names[2] = {prefix + left, prefix + right};
  const double start = Now();
  while (!(PortsExist(names[0]) && PortsExist(names[1])))
  {
    if (SecondsSince(start) > timeoutSec) return false;
    Sleep(0.02);
  }
  // Our ports are made only now, so that they never look like a device to
  // the program under test while it probes.
  if (!mIn[0]) mIn[0] = jack_port_register(mClient, "in_0", JACK_DEFAULT_AUDIO_TYPE, JackPortIsInput, 0);
  if (!mIn[1]) mIn[1] = jack_port_register(mClient, "in_1", JACK_DEFAULT_AUDIO_TYPE, JackPortIsInput, 0);
  if (!mIn[0] || !mIn[1]) return false;
  // The other client's ports exist before it is active, and JACK refuses to
  // connect an inactive client: try until it takes.
  bool connected[2] = {false, false};
  while (!(connected[0] && connected[1]))
  {
    for (int ch = 0; ch < 2; ++ch)
    {
      if (connected[ch]) continue;
      const char** ports = jack_get_ports(mClient, ("^" + names[ch]).c_str(), nullptr, 0);
      if (ports && ports[0])
      {
        const int r = jack_connect(mClient, ports[0], jack_port_name(mIn[ch]));
        connected[ch] = r == 0 || r == EEXIST;
      }
      if (ports) jack_free(ports);
    }
    if (SecondsSince(start) > timeoutSec) return false;
    if (!(connected[0] && connected[1])) Sleep(0.02);
  }
  return true;
}

int JackRecorder::Process(jack_nframes_t n, void* arg)
{
  JackRecorder* r = (JackRecorder*)arg;
  if (!r->mIn[0] || !r->mIn[1]) return 0;
  const float* l = (const float*)jack_port_get_buffer(r->mIn[0], n);
  const float* rt = (const float*)jack_port_get_buffer(r->mIn[1], n);
  size_t at = r->mFrames.load();
  for (jack_nframes_t i = 0; i < n && at < r->mLeft.size(); ++i, ++at)
  {
    r->mLeft[at] = l[i];
    r->mRight[at] = rt[i];
  }
  r->mFrames.store(at);
  return 0;
}

bool JackRecorder::WaitForFrames(size_t n, double timeoutSec) const
{
  const double start = Now();
  while (mFrames.load() < n)
  {
    if (SecondsSince(start) > timeoutSec) return false;
    Sleep(0.02);
  }
  return true;
}

int JackRecorder::SampleRate() const { return mClient ? (int)jack_get_sample_rate(mClient) : 0; }

void JackRecorder::Close()
{
  if (mClient)
  {
    jack_deactivate(mClient);
    jack_client_close(mClient);
    mClient = nullptr;
    mIn[0] = mIn[1] = nullptr; // gone with the client; a reopened one makes its own
  }
}

std::string PlayingVeltra::Start(const std::string& settings, const std::vector<std::string>& displayEnv)
{
  std::string error;
  if (!(serverLater ? server.Reserve(&error) : server.Start(&error))) return error;
  setenv("JACK_DEFAULT_SERVER", server.Name().c_str(), 1); // for the tests' own MIDI client
  if (!settings.empty())
  {
    mkdir((home.Path() + "/.config").c_str(), 0755);
    mkdir((home.Path() + "/.config/VELTRA").c_str(), 0755);
    std::ofstream(SettingsPath()) << settings;
  }
  if (!serverLater && !recorder.Open(server.Name(), &error)) return error;
  std::vector<std::string> all = env;
  all.insert(all.end(), displayEnv.begin(), displayEnv.end());
  if (!veltra.Start(VELTRA_EXE, server.Name(), home.Path(), all)) return "VELTRA did not start";
  if (serverLater) return std::string();
  if (!recorder.ConnectTo(client + ":outport ", 20.0)) return "no VELTRA ports: " + veltra.Output() + veltra.Errors();
  return std::string();
}
