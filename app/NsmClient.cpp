#include "NsmClient.h"

#include "Console.h"

#include <glib-unix.h>
#include <glib.h>

#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <netdb.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace
{
// OSC strings and type tags end with a zero byte and fill whole four-byte
// words; integers are 32-bit big-endian.
void PutString(std::string* out, const std::string& s)
{
  *out += s;
  out->append(4 - s.size() % 4, '\0');
}

void PutInt(std::string* out, int32_t v)
{
  const uint32_t u = (uint32_t)v;
  for (int shift = 24; shift >= 0; shift -= 8) *out += (char)(u >> shift & 0xFF);
}

// A string at *at, within size bytes; false when it runs past the end.
bool GetString(const char* data, size_t size, size_t* at, std::string* s)
{
  const void* end = *at < size ? memchr(data + *at, 0, size - *at) : nullptr;
  if (!end) return false;
  s->assign(data + *at, (const char*)end - (data + *at));
  *at += (s->size() / 4 + 1) * 4;
  return *at <= size;
}

// The manager's host is this machine: 127.0.0.0/8 or ::1 (also as an
// IPv4-mapped address).
bool IsLoopback(const sockaddr* a)
{
  if (a->sa_family == AF_INET) return (ntohl(((const sockaddr_in*)a)->sin_addr.s_addr) >> 24) == 127;
  if (a->sa_family != AF_INET6) return false;
  const in6_addr& six = ((const sockaddr_in6*)a)->sin6_addr;
  return IN6_IS_ADDR_LOOPBACK(&six) || (IN6_IS_ADDR_V4MAPPED(&six) && six.s6_addr[12] == 127);
}
} // namespace

std::string NsmClient::Message::Serialise() const
{
  std::string out;
  PutString(&out, path);
  std::string tags = ",";
  for (const Arg& a : args) tags += a.isInt ? 'i' : 's';
  PutString(&out, tags);
  for (const Arg& a : args) a.isInt ? PutInt(&out, a.i) : PutString(&out, a.s);
  return out;
}

bool NsmClient::Message::Parse(const char* data, size_t size, Message* m)
{
  size_t at = 0;
  std::string tags;
  if (!GetString(data, size, &at, &m->path) || m->path.empty() || m->path[0] != '/') return false;
  if (!GetString(data, size, &at, &tags) || tags.empty() || tags[0] != ',') return false;
  m->args.clear();
  for (size_t k = 1; k < tags.size(); ++k)
  {
    Arg a;
    if (tags[k] == 's')
    {
      if (!GetString(data, size, &at, &a.s)) return false;
    }
    else if (tags[k] == 'i')
    {
      if (at + 4 > size) return false;
      const unsigned char* b = (const unsigned char*)data + at;
      a.i = (int32_t)((uint32_t)b[0] << 24 | (uint32_t)b[1] << 16 | (uint32_t)b[2] << 8 | b[3]);
      a.isInt = true;
      at += 4;
    }
    else
      return false; // no message of the protocol carries another type
    m->args.push_back(a);
  }
  return true;
}

std::string NsmClient::Message::Signature() const
{
  std::string s;
  for (const Arg& a : args) s += a.isInt ? 'i' : 's';
  return s;
}

NsmClient::NsmClient(Handler* handler) : mHandler(handler) {}

NsmClient::~NsmClient()
{
  if (mWatch) g_source_remove(mWatch);
  if (mSocket >= 0) close(mSocket);
}

void NsmClient::Send(const Message& m)
{
  // A manager that went away is no reason to stop: the send fails quietly
  // and the program plays on.
  const std::string bytes = m.Serialise();
  if (mSocket >= 0) send(mSocket, bytes.data(), bytes.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
}

void NsmClient::Reply(const char* to, const char* message) { Send({"/reply", {Arg(to), Arg(message)}}); }

void NsmClient::Fail(const char* to, EError code, const std::string& message)
{
  Say("session: %s\n", message.c_str());
  Send({"/error", {Arg(to), Arg((int32_t)code), Arg(message)}});
}

void NsmClient::Tell(const char* path) { Send({path, {}}); }

bool NsmClient::Open(const char* url)
{
  // osc.udp://HOST:PORT/, the host as a name, an IPv4 address or an IPv6
  // one in brackets.
  const std::string u = url;
  const std::string scheme = "osc.udp://";
  if (u.compare(0, scheme.size(), scheme)) return false;
  const size_t hostStart = scheme.size(), colon = u.rfind(':');
  if (colon == std::string::npos || colon < hostStart) return false;
  std::string host = u.substr(hostStart, colon - hostStart);
  if (host.size() >= 2 && host.front() == '[' && host.back() == ']') host = host.substr(1, host.size() - 2);
  const std::string port = u.substr(colon + 1, u.find('/', colon) - colon - 1);
  addrinfo hints = {}, *found = nullptr;
  hints.ai_socktype = SOCK_DGRAM;
  if (host.empty() || port.empty() || getaddrinfo(host.c_str(), port.c_str(), &hints, &found) || !found) return false;
  for (addrinfo* a = found; a && mSocket < 0; a = a->ai_next)
  {
    const int fd = socket(a->ai_family, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (fd < 0) continue;
    // A manager on this machine is heard on the loopback address alone; and
    // the socket is connected to the manager, so that the system delivers
    // what the manager sends and nothing that any other sender does.
    sockaddr_storage local = {};
    local.ss_family = (sa_family_t)a->ai_family;
    if (IsLoopback(a->ai_addr))
    {
      if (a->ai_family == AF_INET)
        ((sockaddr_in*)&local)->sin_addr.s_addr = htonl(INADDR_LOOPBACK);
      else
        ((sockaddr_in6*)&local)->sin6_addr = in6addr_loopback;
    }
    const socklen_t localSize = a->ai_family == AF_INET ? sizeof(sockaddr_in) : sizeof(sockaddr_in6);
    if (bind(fd, (sockaddr*)&local, localSize) == 0 && connect(fd, a->ai_addr, a->ai_addrlen) == 0)
      mSocket = fd;
    else
      close(fd);
  }
  freeaddrinfo(found);
  return mSocket >= 0;
}

bool NsmClient::Announce(const char* url, const char* appName, const char* capabilities, const char* executable,
                         int waitMs)
{
  mAppName = appName;
  if (!Open(url)) return false;
  Send({"/nsm/server/announce",
        {Arg(appName), Arg(capabilities), Arg(executable), Arg(1), Arg(2), Arg((int32_t)getpid())}});
  // The protocol's version is 1.2.
  const gint64 until = g_get_monotonic_time() + waitMs * 1000LL;
  while (!mOpenSeen && !mRefused && g_get_monotonic_time() < until)
  {
    pollfd p = {mSocket, POLLIN, 0};
    if (poll(&p, 1, 50) > 0) Receive();
  }
  return true;
}

void NsmClient::Receive()
{
  // Everything that waits is read first: of several opens, which a manager
  // never sends before its answer, only the last is served, each being a
  // restart of the sound.
  std::vector<Message> batch;
  char buf[65536];
  for (;;)
  {
    const ssize_t n = recv(mSocket, buf, sizeof(buf), MSG_DONTWAIT);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) break;
    Message m;
    if (Message::Parse(buf, (size_t)n, &m)) batch.push_back(m);
  }
  size_t lastOpen = batch.size();
  for (size_t k = 0; k < batch.size(); ++k)
    if (batch[k].path == "/nsm/client/open") lastOpen = k;
  for (size_t k = 0; k < batch.size(); ++k)
    if (batch[k].path != "/nsm/client/open" || k == lastOpen) Handle(batch[k]);
}

void NsmClient::Handle(const Message& m)
{
  const std::string sig = m.Signature();
  if (m.path == "/nsm/client/open" && sig == "sss")
  {
    mOpenSeen = true;
    std::string folder = m.args[0].s;
    if (folder.empty() || folder[0] != '/')
      return Fail("/nsm/client/open", kErrCreateFailed, "the session's path '" + folder + "' is not absolute");
    if (folder.back() != '/') folder += '/';
    return mHandler->Open(folder, m.args[1].s, m.args[2].s);
  }
  if (m.path == "/nsm/client/save" && sig.empty()) return mHandler->Save();
  if ((m.path == "/nsm/client/show_optional_gui" || m.path == "/nsm/client/hide_optional_gui") && sig.empty())
    return mHandler->ShowGui(m.path == "/nsm/client/show_optional_gui");
  if (m.path == "/reply" && sig.size() >= 2 && sig.compare(0, 2, "ss") == 0 && m.args[0].s == "/nsm/server/announce")
    return Say("session manager: %s\n", m.args[1].s.c_str());
  if (m.path == "/error" && sig == "sis" && m.args[0].s == "/nsm/server/announce")
  {
    mRefused = true;
    Say("the session manager refused %s: %s\n", mAppName.c_str(), m.args[2].s.c_str());
  }
}

int NsmClient::OnReady(int, unsigned int, void* self)
{
  ((NsmClient*)self)->Receive();
  return G_SOURCE_CONTINUE;
}

void NsmClient::Listen()
{
  if (mSocket >= 0 && !mWatch) mWatch = g_unix_fd_add(mSocket, G_IO_IN, (GUnixFDSourceFunc)OnReady, this);
}
