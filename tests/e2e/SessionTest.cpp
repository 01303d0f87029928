// VELTRA under a session manager: a small NSM server of the test's own, on
// a loopback UDP port, opens sessions, asks for saves and shows and hides
// the window, while the sound is recorded on JACK and the panel is used
// through the X server.

#include "MidiSender.h"
#include "ScreenSession.h"
#include "Signal.h"

#include <algorithm>
#include <condition_variable>
#include <csignal>
#include <dirent.h>
#include <fstream>
#include <gtest/gtest.h>
#include <lo/lo.h>
#include <map>
#include <mutex>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{
constexpr size_t kRate = 44100;

// The server's half of the protocol: each announcing client is answered and
// opened on the next session offered; every message both ways is logged.
class NsmServer
{
public:
  ~NsmServer() { Stop(); }
  bool Start()
  {
    mThread = lo_server_thread_new_with_proto(nullptr, LO_UDP, nullptr);
    if (!mThread) return false;
    lo_server_thread_add_method(mThread, nullptr, nullptr, OnMessage, this);
    return lo_server_thread_start(mThread) == 0;
  }
  // The server goes away at once, as a crashed session manager does.
  void Stop()
  {
    if (mThread) lo_server_thread_free(mThread);
    mThread = nullptr;
    for (auto& c : mClients) lo_address_free(c.second);
    mClients.clear();
  }
  std::string Url() const { return "osc.udp://127.0.0.1:" + std::to_string(lo_server_thread_get_port(mThread)) + "/"; }
  // The port a client announced from.
  std::string PortOf(const std::string& id)
  {
    std::lock_guard<std::mutex> lock(mMutex);
    return mClients.count(id) ? lo_address_get_port(mClients[id]) : "";
  }
  // How many log lines after the mark hold the text.
  size_t Count(const std::string& text, size_t after) const
  {
    std::lock_guard<std::mutex> lock(mMutex);
    return (size_t)std::count_if(mLog.begin() + (long)after, mLog.end(),
                                 [&](const std::string& l) { return l.find(text) != std::string::npos; });
  }
  // The folder and client id that the next client to announce is given.
  void Offer(const std::string& folder, const std::string& id)
  {
    std::lock_guard<std::mutex> lock(mMutex);
    mOffers.push_back({folder, id});
  }
  // A message to a client; strings as its arguments.
  void Send(const std::string& id, const std::string& path, const std::vector<std::string>& args = {})
  {
    std::lock_guard<std::mutex> lock(mMutex);
    lo_message m = lo_message_new();
    for (const std::string& text : args) lo_message_add_string(m, text.c_str());
    SendLocked(id, path, m);
  }
  size_t Mark() const
  {
    std::lock_guard<std::mutex> lock(mMutex);
    return mLog.size();
  }
  // Waits for a log line after the mark that holds the text.
  bool WaitFor(const std::string& text, size_t after = 0, double timeoutSec = 20.0)
  {
    std::unique_lock<std::mutex> lock(mMutex);
    return mChanged.wait_for(lock, std::chrono::duration<double>(timeoutSec),
                             [&]
                             {
                               for (size_t i = after; i < mLog.size(); ++i)
                                 if (mLog[i].find(text) != std::string::npos) return true;
                               return false;
                             });
  }
  std::string Log() const
  {
    std::lock_guard<std::mutex> lock(mMutex);
    std::string all;
    for (const std::string& line : mLog) all += line + "\n";
    return all;
  }

private:
  static std::string Describe(const char* path, lo_message m)
  {
    std::string text = path;
    const char* types = lo_message_get_types(m);
    lo_arg** argv = lo_message_get_argv(m);
    for (int i = 0; types && types[i]; ++i)
    {
      // liblo packs arguments at four-byte steps: they are read as bytes.
      int32_t n = 0;
      if (types[i] == 'i') memcpy(&n, argv[i], sizeof(n));
      text += types[i] == 's'   ? " \"" + std::string((const char*)(void*)argv[i]) + "\""
              : types[i] == 'i' ? " " + std::to_string(n)
                                : " ?";
    }
    return text;
  }
  void SendLocked(const std::string& id, const std::string& path, lo_message m)
  {
    mLog.push_back("-> " + id + " " + Describe(path.c_str(), m));
    if (mThread && mClients.count(id))
      lo_send_message_from(mClients[id], lo_server_thread_get_server(mThread), path.c_str(), m);
    lo_message_free(m);
    mChanged.notify_all();
  }
  static int OnMessage(const char* path, const char*, lo_arg**, int, lo_message m, void* self)
  {
    NsmServer& s = *(NsmServer*)self;
    std::lock_guard<std::mutex> lock(s.mMutex);
    lo_address from = lo_message_get_source(m);
    const std::string port = lo_address_get_port(from);
    const bool announce = !strcmp(path, "/nsm/server/announce");
    std::pair<std::string, std::string> offer;
    if (announce && !s.mOffers.empty())
    {
      offer = s.mOffers.front();
      s.mOffers.erase(s.mOffers.begin());
      s.mIdOfPort[port] = offer.second;
      if (s.mClients.count(offer.second)) lo_address_free(s.mClients[offer.second]);
      s.mClients[offer.second] = lo_address_new(lo_address_get_hostname(from), port.c_str());
    }
    const std::string id = s.mIdOfPort.count(port) ? s.mIdOfPort[port] : "?";
    s.mLog.push_back("<- " + id + " " + Describe(path, m));
    s.mChanged.notify_all();
    if (!announce || offer.second.empty()) return 0;
    lo_message reply = lo_message_new();
    for (const char* text : {"/nsm/server/announce", "welcome", "veltra-test-nsm", ":server-control:"})
      lo_message_add_string(reply, text);
    s.SendLocked(id, "/reply", reply);
    lo_message open = lo_message_new();
    for (const std::string& text : {offer.first, std::string("test session"), id})
      lo_message_add_string(open, text.c_str());
    s.SendLocked(id, "/nsm/client/open", open);
    return 0;
  }

  lo_server_thread mThread = nullptr;
  mutable std::mutex mMutex;
  std::condition_variable mChanged;
  std::vector<std::pair<std::string, std::string>> mOffers;
  std::map<std::string, std::string> mIdOfPort;
  std::map<std::string, lo_address> mClients;
  std::vector<std::string> mLog;
};

std::string ReadAll(const std::string& path) { return ReadWholeFile(path); }

} // namespace

// Opened on a new folder, a knob turned on the panel, saved, ended by the
// session manager and started again on the same folder: the program and the
// settings come back as saved, under the session's JACK name; the window
// shows and hides on request, and closing it only hides it.
TEST(Session, PanelChangeIsSavedAndComesBackUnderTheSessionsName)
{
  NsmServer nsm;
  ASSERT_TRUE(nsm.Start());
  TempDir sessions;
  const std::string folder = sessions.Path() + "/My Song/VELTRA.nVeltraA";
  const std::string program = folder + "/program.fxp", settings = folder + "/settings.ini";
  const std::string controllers = folder + "/controllers.ini";
  std::string saved, savedSettings, savedControllers;
  for (int run = 0; run < 2; ++run)
  {
    nsm.Offer(folder, "nVeltraA");
    VeltraOnScreen s;
    s.run.client = "nVeltraA";
    s.run.env = {"NSM_URL=" + nsm.Url()};
    ASSERT_EQ(s.Start(), "") << nsm.Log();
    const std::string pid = std::to_string(s.run.veltra.Pid());
    EXPECT_TRUE(nsm.WaitFor(
        "<- nVeltraA /nsm/server/announce \"VELTRA\" \":switch:optional-gui:dirty:\" \"veltra\" 1 2 " + pid))
        << nsm.Log();
    ASSERT_TRUE(nsm.WaitFor("<- nVeltraA /reply \"/nsm/client/open\"")) << nsm.Log() << s.run.veltra.Output();
    ASSERT_TRUE(nsm.WaitFor("<- nVeltraA /nsm/client/gui_is_shown")) << nsm.Log();
    size_t mark = nsm.Mark();
    if (run == 0)
    {
      // A new folder starts on the defaults, and is made.
      EXPECT_FALSE(std::ifstream(program).good());
      nsm.Send("nVeltraA", "/nsm/client/save");
      ASSERT_TRUE(nsm.WaitFor("<- nVeltraA /reply \"/nsm/client/save\"", mark)) << nsm.Log();
      const std::string defaults = ReadAll(program);
      mark = nsm.Mark();
      s.DragPanel({{588, 68}, {588, 104}}); // Filter Cutoff
      ASSERT_TRUE(nsm.WaitFor("<- nVeltraA /nsm/client/is_dirty", mark)) << nsm.Log();
      mark = nsm.Mark();
      nsm.Send("nVeltraA", "/nsm/client/save");
      ASSERT_TRUE(nsm.WaitFor("<- nVeltraA /nsm/client/is_clean", mark)) << nsm.Log();
      saved = ReadAll(program);
      savedSettings = ReadAll(settings);
      EXPECT_NE(saved, defaults) << "the turned knob was not saved";
      EXPECT_NE(savedSettings.find("[audio]"), std::string::npos);
      EXPECT_NE(ReadAll(controllers).find("CC 74 = Filter Cutoff"), std::string::npos) << "the default controllers";
      // The controllers are the session's too: forgetting them is a change.
      mark = nsm.Mark();
      s.ChooseMenuItem("MIDI", 2); // Forget All Controllers
      ASSERT_TRUE(nsm.WaitFor("<- nVeltraA /nsm/client/is_dirty", mark)) << nsm.Log();
      nsm.Send("nVeltraA", "/nsm/client/save");
      ASSERT_TRUE(nsm.WaitFor("<- nVeltraA /nsm/client/is_clean", mark)) << nsm.Log();
      savedControllers = ReadAll(controllers);
      EXPECT_EQ(savedControllers.find("\nCC "), std::string::npos) << savedControllers;

      mark = nsm.Mark();
      nsm.Send("nVeltraA", "/nsm/client/hide_optional_gui");
      EXPECT_TRUE(s.xserver.WaitForWindowGone(s.window, 10.0));
      EXPECT_TRUE(nsm.WaitFor("<- nVeltraA /nsm/client/gui_is_hidden", mark)) << nsm.Log();
      mark = nsm.Mark();
      nsm.Send("nVeltraA", "/nsm/client/show_optional_gui");
      EXPECT_TRUE(nsm.WaitFor("<- nVeltraA /nsm/client/gui_is_shown", mark)) << nsm.Log();
      const unsigned long shown = s.xserver.WaitForWindow("^VELTRA$", 10.0);
      ASSERT_NE(shown, 0u);
      mark = nsm.Mark();
      s.xserver.CloseWindow(shown);
      EXPECT_TRUE(s.xserver.WaitForWindowGone(shown, 10.0));
      EXPECT_TRUE(nsm.WaitFor("<- nVeltraA /nsm/client/gui_is_hidden", mark)) << nsm.Log();
      EXPECT_TRUE(s.run.veltra.Running()) << "closing the window under a session ended VELTRA";
    }
    else
    {
      // Nothing changed since the open: a save writes what was loaded.
      EXPECT_FALSE(nsm.WaitFor("/nsm/client/is_dirty", mark, 1.0));
      nsm.Send("nVeltraA", "/nsm/client/save");
      ASSERT_TRUE(nsm.WaitFor("<- nVeltraA /reply \"/nsm/client/save\"", mark)) << nsm.Log();
      EXPECT_EQ(ReadAll(program), saved) << "the program did not come back as saved";
      EXPECT_EQ(ReadAll(settings), savedSettings);
      EXPECT_EQ(ReadAll(controllers), savedControllers);
    }
    ASSERT_EQ(s.run.veltra.StopWith(SIGTERM, 15.0), 0) << s.run.veltra.Errors();
  }
  EXPECT_EQ(FilesIn(folder), (std::vector<std::string>{"controllers.ini", "program.fxp", "settings.ini"}));
  printf("%s", nsm.Log().c_str());
}

// Two VELTRAs of one session sound under their own names; saves while a
// chord plays leave no gap in it; and when the session manager goes away the
// sound plays on and the saved files stay whole.
TEST(Session, TwoClientsPlayAndSavesNeverInterruptTheSound)
{
  NsmServer nsm;
  ASSERT_TRUE(nsm.Start());
  TempDir sessions;
  const std::vector<std::string> ids = {"nOne", "nTwo"};
  for (const std::string& id : ids)
  {
    mkdir((sessions.Path() + "/" + id).c_str(), 0755);
    std::ofstream(sessions.Path() + "/" + id + "/settings.ini") << "[midi]\nindev=virtual input\n";
    nsm.Offer(sessions.Path() + "/" + id, id);
  }
  std::ofstream(sessions.Path() + "/nTwo/program.fxp") << "CcnK, but no program";
  PlayingVeltra one;
  one.client = "nOne";
  one.env = {"NSM_URL=" + nsm.Url()};
  ASSERT_EQ(one.Start(), "") << nsm.Log();
  TempDir home;
  JackRecorder twoRecorder;
  VeltraProcess two;
  std::string error;
  ASSERT_TRUE(twoRecorder.Open(one.server.Name(), &error)) << error;
  ASSERT_TRUE(two.Start(VELTRA_EXE, one.server.Name(), home.Path(), {"NSM_URL=" + nsm.Url()}));
  ASSERT_TRUE(twoRecorder.ConnectTo("nTwo:outport ", 20.0)) << two.Output() << nsm.Log();
  for (const std::string& id : ids) ASSERT_TRUE(nsm.WaitFor("<- " + id + " /reply \"/nsm/client/open\"")) << nsm.Log();

  MidiSender toOne, toTwo;
  ASSERT_TRUE(toOne.ConnectTo("nOne MIDI In:To VELTRA", 20.0));
  ASSERT_TRUE(toTwo.ConnectTo("nTwo MIDI In:To VELTRA", 20.0));
  ASSERT_TRUE(one.recorder.WaitForFrames(2 * kRate, 20.0)); // past the silent start
  for (unsigned char note : {60, 64, 67}) toOne.Send({0x90, note, 100});
  toTwo.Send({0x90, 69, 100});
  const size_t from = one.recorder.Frames() + kRate / 2;
  ASSERT_TRUE(one.recorder.WaitForFrames(from, 10.0));
  for (int i = 0; i < 5; ++i)
  {
    const size_t mark = nsm.Mark();
    nsm.Send("nOne", "/nsm/client/save");
    ASSERT_TRUE(nsm.WaitFor("<- nOne /reply \"/nsm/client/save\"", mark)) << nsm.Log();
  }
  const std::string saved = ReadAll(sessions.Path() + "/nOne/program.fxp");
  const size_t twoHeard = twoRecorder.Frames();
  EXPECT_GT(Rms(twoRecorder.Left(), twoHeard - kRate / 2, twoHeard), 0.02) << "nTwo did not sound";
  EXPECT_EQ(FilesIn(sessions.Path() + "/nTwo"), (std::vector<std::string>{"program.fxp.bad", "settings.ini"}));

  // A stranger on this machine who sends the session's messages to VELTRA's
  // port is not heard: no folder is made, nothing is saved.
  {
    lo_server stranger = lo_server_new(nullptr, nullptr);
    lo_address veltra = lo_address_new("127.0.0.1", nsm.PortOf("nOne").c_str());
    const size_t mark = nsm.Mark();
    lo_send_from(veltra, stranger, LO_TT_IMMEDIATE, "/nsm/client/open", "sss", (sessions.Path() + "/intruder").c_str(),
                 "not a session", "nIntruder");
    lo_send_from(veltra, stranger, LO_TT_IMMEDIATE, "/nsm/client/save", "");
    EXPECT_FALSE(nsm.WaitFor("<- nOne /reply", mark, 1.5)) << nsm.Log();
    EXPECT_NE(access((sessions.Path() + "/intruder").c_str(), F_OK), 0) << "a stranger opened a session";
    lo_address_free(veltra);
    lo_server_free(stranger);
  }
  // A hundred opens at once from the manager: VELTRA serves the last one
  // that waits rather than restarting its sound for each, and answers a save
  // soon after.
  {
    const size_t mark = nsm.Mark();
    for (int i = 0; i < 100; ++i)
      nsm.Send("nTwo", "/nsm/client/open", {sessions.Path() + "/nTwo", "test session", "nTwo"});
    nsm.Send("nTwo", "/nsm/client/save");
    ASSERT_TRUE(nsm.WaitFor("<- nTwo /reply \"/nsm/client/save\"", mark, 30.0)) << nsm.Log();
    EXPECT_LT(nsm.Count("<- nTwo /reply \"/nsm/client/open\"", mark), 10u);
  }

  // A session switched to while running: the engines start again under the
  // new name.
  nsm.Send("nTwo", "/nsm/client/open", {sessions.Path() + "/nThree", "other session", "nThree"});
  ASSERT_TRUE(nsm.WaitFor("<- nTwo /reply \"/nsm/client/open\"", nsm.Mark())) << nsm.Log() << two.Output();
  EXPECT_TRUE(one.recorder.PortsExist("nThree:outport ")) << two.Output();
  EXPECT_FALSE(one.recorder.PortsExist("nTwo:outport "));

  nsm.Stop();
  const size_t gone = one.recorder.Frames();
  ASSERT_TRUE(one.recorder.WaitForFrames(gone + kRate, 10.0));
  const size_t to = one.recorder.Frames();
  EXPECT_TRUE(one.veltra.Running() && two.Running()) << "a session manager that went away ended VELTRA";

  // The held chord in 10 ms steps, through the saves and after the manager
  // went: none falls far below the chord's level.
  const std::vector<float>& out = one.recorder.Left();
  const double level = Rms(out, from, to);
  ASSERT_GT(level, 0.02) << "nOne did not sound";
  double quietest = level;
  for (size_t at = from; at + kRate / 100 <= to; at += kRate / 100)
    quietest = std::min(quietest, Rms(out, at, at + kRate / 100));
  EXPECT_GT(quietest, level * 0.5) << "the sound dipped while saving";

  ASSERT_EQ(one.veltra.StopWith(SIGTERM, 15.0), 0) << one.veltra.Errors();
  ASSERT_EQ(two.StopWith(SIGTERM, 15.0), 0) << two.Errors();
  EXPECT_EQ(FilesIn(sessions.Path() + "/nOne"),
            (std::vector<std::string>{"controllers.ini", "program.fxp", "settings.ini"}));
  EXPECT_EQ(ReadAll(sessions.Path() + "/nOne/program.fxp"), saved);
  EXPECT_NE(one.veltra.Output().find("session 'test session'"), std::string::npos) << one.veltra.Output();
}
