#include "NsmClient.h"

#include "Console.h"

#include <glib-unix.h>
#include <glib.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <unistd.h>

namespace
{
// liblo packs the arguments at four-byte steps, below the alignment of its
// argument type: a string is read through a plain byte pointer.
const char* Text(lo_arg* a) { return (const char*)(void*)a; }

void OnOscError(int number, const char* message, const char* where)
{
  Say("session: OSC error %d%s%s: %s\n", number, where ? " at " : "", where ? where : "", message ? message : "");
}
} // namespace

NsmClient::NsmClient(Handler* handler) : mHandler(handler) {}

NsmClient::~NsmClient()
{
  if (mWatch) g_source_remove(mWatch);
  if (mServer) lo_server_free(mServer);
  if (mManager) lo_address_free(mManager);
}

void NsmClient::Send(const char* path, lo_message m)
{
  // A manager that went away is no reason to stop: the send fails quietly
  // and the program plays on.
  if (mManager && mServer) lo_send_message_from(mManager, mServer, path, m);
  lo_message_free(m);
}

void NsmClient::Reply(const char* to, const char* message)
{
  lo_message m = lo_message_new();
  lo_message_add_string(m, to);
  lo_message_add_string(m, message);
  Send("/reply", m);
}

void NsmClient::Fail(const char* to, EError code, const std::string& message)
{
  Say("session: %s\n", message.c_str());
  lo_message m = lo_message_new();
  lo_message_add_string(m, to);
  lo_message_add_int32(m, code);
  lo_message_add_string(m, message.c_str());
  Send("/error", m);
}

void NsmClient::Tell(const char* path) { Send(path, lo_message_new()); }

int NsmClient::OnOpen(const char*, const char*, lo_arg** argv, int, lo_message, void* self)
{
  NsmClient* c = (NsmClient*)self;
  c->mOpenSeen = true;
  std::string folder = Text(argv[0]);
  if (folder.empty() || folder[0] != '/')
  {
    c->Fail("/nsm/client/open", kErrCreateFailed, "the session's path '" + folder + "' is not absolute");
    return 0;
  }
  if (folder.back() != '/') folder += '/';
  c->mHandler->Open(folder, Text(argv[1]), Text(argv[2]));
  return 0;
}

int NsmClient::OnSave(const char*, const char*, lo_arg**, int, lo_message, void* self)
{
  ((NsmClient*)self)->mHandler->Save();
  return 0;
}

int NsmClient::OnShowGui(const char* path, const char*, lo_arg**, int, lo_message, void* self)
{
  ((NsmClient*)self)->mHandler->ShowGui(!strcmp(path, "/nsm/client/show_optional_gui"));
  return 0;
}

int NsmClient::OnReply(const char*, const char* types, lo_arg** argv, int argc, lo_message, void*)
{
  if (argc >= 2 && types[0] == 's' && types[1] == 's' && !strcmp(Text(argv[0]), "/nsm/server/announce"))
    Say("session manager: %s\n", Text(argv[1]));
  return 0;
}

int NsmClient::OnError(const char*, const char* types, lo_arg** argv, int argc, lo_message, void* self)
{
  if (argc >= 3 && !strcmp(types, "sis") && !strcmp(Text(argv[0]), "/nsm/server/announce"))
  {
    NsmClient* c = (NsmClient*)self;
    c->mRefused = true;
    Say("the session manager refused %s: %s\n", c->mAppName.c_str(), Text(argv[2]));
  }
  return 0;
}

bool NsmClient::Announce(const char* url, const char* appName, const char* capabilities, const char* executable,
                         int waitMs)
{
  mAppName = appName;
  mManager = lo_address_new_from_url(url);
  if (mManager) mServer = lo_server_new_with_proto(nullptr, lo_address_get_protocol(mManager), OnOscError);
  if (!mServer) return false;
  lo_server_add_method(mServer, "/nsm/client/open", "sss", OnOpen, this);
  lo_server_add_method(mServer, "/nsm/client/save", "", OnSave, this);
  lo_server_add_method(mServer, "/nsm/client/show_optional_gui", "", OnShowGui, this);
  lo_server_add_method(mServer, "/nsm/client/hide_optional_gui", "", OnShowGui, this);
  lo_server_add_method(mServer, "/reply", nullptr, OnReply, this);
  lo_server_add_method(mServer, "/error", nullptr, OnError, this);

  lo_message m = lo_message_new();
  lo_message_add_string(m, appName);
  lo_message_add_string(m, capabilities);
  lo_message_add_string(m, executable);
  lo_message_add_int32(m, 1); // the protocol's version, 1.2
  lo_message_add_int32(m, 2);
  lo_message_add_int32(m, (int)getpid());
  Send("/nsm/server/announce", m);

  const gint64 until = g_get_monotonic_time() + waitMs * 1000LL;
  while (!mOpenSeen && !mRefused && g_get_monotonic_time() < until) lo_server_recv_noblock(mServer, 50);
  return true;
}

int NsmClient::OnReady(int, unsigned int, void* self)
{
  NsmClient* c = (NsmClient*)self;
  while (c->mServer && lo_server_recv_noblock(c->mServer, 0) > 0)
  {
  }
  return G_SOURCE_CONTINUE;
}

void NsmClient::Listen()
{
  if (mServer && !mWatch)
    mWatch = g_unix_fd_add(lo_server_get_socket_fd(mServer), G_IO_IN, (GUnixFDSourceFunc)OnReady, this);
}
