#pragma once
// The NSM protocol over OSC, as a client speaks it, knowing nothing of what
// the client does: the announce, the messages a session manager sends, and
// the answers and notices it expects. A Handler says what each message
// means to the program. The client's UDP socket is connected to the manager,
// so that nothing another sender sends is ever read, and bound to the
// loopback address when the manager runs on this machine. Main thread: the
// messages are read on the GLib main loop (or while Announce waits), and
// the handler runs there.

#include <cstdint>
#include <string>
#include <vector>

class NsmClient
{
public:
  class Handler
  {
  public:
    virtual ~Handler() {}
    // /nsm/client/open: the session's folder (absolute, with a closing
    // slash), its name and this client's id. The handler answers with
    // AnswerOpen or Fail, now or later.
    virtual void Open(const std::string& folder, const std::string& name, const std::string& clientId) = 0;
    // /nsm/client/save: the handler answers with AnswerSave or Fail.
    virtual void Save() = 0;
    // /nsm/client/show_optional_gui and hide_optional_gui.
    virtual void ShowGui(bool show) = 0;
  };

  // The protocol's error codes that a client answers with.
  enum EError
  {
    kErrGeneral = -1,
    kErrNoSessionOpen = -6,
    kErrCreateFailed = -10
  };

  explicit NsmClient(Handler* handler);
  ~NsmClient();
  NsmClient(const NsmClient&) = delete;
  NsmClient& operator=(const NsmClient&) = delete;

  // Announces the client to the manager at url (osc.udp://HOST:PORT/) and
  // waits up to waitMs for its open, handling it as it comes. False when
  // url is no OSC address this client can reach.
  bool Announce(const char* url, const char* appName, const char* capabilities, const char* executable, int waitMs);
  bool Refused() const { return mRefused; }
  bool OpenSeen() const { return mOpenSeen; }
  // From now on, messages are handled as they arrive on the main loop.
  void Listen();

  void AnswerOpen(const char* message) { Reply("/nsm/client/open", message); }
  void AnswerSave(const char* message) { Reply("/nsm/client/save", message); }
  // An error answer to path, also said on the console.
  void Fail(const char* path, EError code, const std::string& message);
  // A notice without arguments: is_dirty, is_clean, gui_is_shown, ...
  void Tell(const char* path);

  // One OSC message with string and 32-bit integer arguments, the only
  // kinds the protocol uses.
  struct Arg
  {
    Arg(const std::string& text = "") : s(text) {}
    Arg(const char* text) : s(text) {}
    Arg(int32_t v) : i(v), isInt(true) {}
    std::string s;
    int32_t i = 0;
    bool isInt = false;
  };
  struct Message
  {
    std::string path;
    std::vector<Arg> args;
    std::string Serialise() const;
    // False for bytes that are no whole message of strings and integers.
    static bool Parse(const char* data, size_t size, Message* m);
    // The arguments' types: "sss", "sis", "".
    std::string Signature() const;
  };

private:
  bool Open(const char* url);
  void Send(const Message& m);
  void Reply(const char* path, const char* message);
  void Receive();
  void Handle(const Message& m);
  static int OnReady(int, unsigned int, void* self);

  Handler* mHandler;
  std::string mAppName;
  int mSocket = -1;
  unsigned int mWatch = 0;
  bool mRefused = false;
  bool mOpenSeen = false; // an open came, whether or not it worked
};
