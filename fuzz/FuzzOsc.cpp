// The session client's OSC parser on arbitrary datagrams: a parsed message
// serialises back to bytes that parse to the same message.

#include "NsmClient.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
  NsmClient::Message m, again;
  if (!NsmClient::Message::Parse((const char*)data, size, &m)) return 0;
  const std::string bytes = m.Serialise();
  if (!NsmClient::Message::Parse(bytes.data(), bytes.size(), &again) || again.path != m.path ||
      again.Signature() != m.Signature())
    abort();
  return 0;
}
