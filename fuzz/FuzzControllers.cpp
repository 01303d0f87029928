// A controllers file: any text read leniently into a map, which then writes
// a file that reads back to the same map without a complaint.

#include "IControllerMap.h"
#include "VELTRA.h"

#include <cstdlib>
#include <memory>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
  static std::unique_ptr<VELTRA> plug((VELTRA*)MakePlug(nullptr, nullptr));
  IControllerMap map;
  std::string complaints;
  map.Read(std::string((const char*)data, size), plug.get(), &complaints);
  IControllerMap again;
  std::string more;
  again.Read(map.Write(plug.get()), plug.get(), &more);
  if (!more.empty() || !(again == map)) abort();
  return 0;
}
