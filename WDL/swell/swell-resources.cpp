#include "swell-resources.h"

#include "lice.h"

#include <cstdio>
#include <cstdlib>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
bool IsFolder(const std::string& path)
{
  struct stat st;
  return !stat(path.c_str(), &st) && S_ISDIR(st.st_mode);
}

bool HoldsImages(const std::string& root) { return !root.empty() && IsFolder(root + "/resources/img"); }

// The running program's folder, from /proc/self/exe.
std::string ExeFolder()
{
  char exe[4096];
  const ssize_t n = readlink("/proc/self/exe", exe, sizeof(exe) - 1);
  if (n <= 0) return std::string();
  exe[n] = 0;
  std::string dir(exe);
  const size_t slash = dir.rfind('/');
  return slash == std::string::npos ? std::string() : dir.substr(0, slash);
}
} // namespace

std::string SWELL_FindResourceRoot(std::string* note)
{
  note->clear();
  const char* env = getenv("VELTRA_RESOURCES");
  const std::string chosen = env ? env : "";
  if (HoldsImages(chosen)) return chosen;

  const std::string exe = ExeFolder();
  const std::string installed[2] = {exe.empty() ? "" : exe + "/../share/veltra", exe};
  std::string root;
  for (const std::string& c : installed)
    if (root.empty() && HoldsImages(c)) root = c;
  if (root.empty()) root = IsFolder(installed[0]) ? installed[0] : installed[1];
  if (!chosen.empty())
    *note = "VELTRA_RESOURCES=" + chosen + " holds no resources/img folder; using the images in " + root;
  return root;
}

void SWELL_InitResourceRoot()
{
  std::string note;
  const std::string root = SWELL_FindResourceRoot(&note);
  if (!note.empty()) fprintf(stderr, "%s\n", note.c_str());
  LICE_SetResourceRoot(root.c_str());
}
