#include "VELTRAPrograms.h"

#include "IPlugBase.h"
#include "lice.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <dirent.h>
#include <fstream>
#include <strings.h>
#include <sys/stat.h>

namespace
{
// Far beyond any real collection: a menu of more would not be usable.
constexpr size_t kMaxPrograms = 2000;
constexpr int kMaxDepth = 4;

bool IsProgramFile(const std::string& name)
{
  return name.size() > 4 && !strcasecmp(name.c_str() + name.size() - 4, ".fxp");
}

// The folder's visible files and sub-folders, each in name order, any case.
void ReadFolder(const std::string& folder, std::vector<std::string>* files, std::vector<std::string>* folders)
{
  DIR* d = opendir(folder.c_str());
  if (!d) return;
  while (const dirent* e = readdir(d))
  {
    const std::string name = e->d_name;
    if (name.empty() || name[0] == '.') continue;
    struct stat st;
    if (stat((folder + "/" + name).c_str(), &st)) continue;
    if (S_ISDIR(st.st_mode))
      folders->push_back(name);
    else if (S_ISREG(st.st_mode) && IsProgramFile(name))
      files->push_back(name);
  }
  closedir(d);
  auto byName = [](const std::string& a, const std::string& b) { return strcasecmp(a.c_str(), b.c_str()) < 0; };
  std::sort(files->begin(), files->end(), byName);
  std::sort(folders->begin(), folders->end(), byName);
}

void AddFolder(const std::string& folder, std::vector<std::string> where, bool factory, int depth,
               std::vector<VELTRAProgramEntry>* list)
{
  std::vector<std::string> files, folders;
  ReadFolder(folder, &files, &folders);
  for (const std::string& f : files)
  {
    if (list->size() >= kMaxPrograms) return;
    list->push_back({folder + "/" + f, f.substr(0, f.size() - 4), where, factory});
  }
  if (depth >= kMaxDepth) return;
  for (const std::string& sub : folders)
  {
    where.push_back(sub);
    AddFolder(folder + "/" + sub, where, factory, depth + 1, list);
    where.pop_back();
  }
}
} // namespace

std::string VeltraFactoryProgramFolder(const std::string& resourceFolder)
{
  std::string root = resourceFolder.empty() ? LICE_GetResourceRoot() : resourceFolder;
  if (!root.empty() && root.back() == '/') root.pop_back();
  return root + "/programs";
}

std::string VeltraUserProgramFolder()
{
  const char* data = getenv("XDG_DATA_HOME");
  if (data && *data == '/') return std::string(data) + "/veltra/programs";
  const char* home = getenv("HOME");
  return std::string(home ? home : "") + "/.local/share/veltra/programs";
}

std::vector<VELTRAProgramEntry> ListVeltraPrograms(const std::string& factoryFolder, const std::string& userFolder)
{
  std::vector<VELTRAProgramEntry> list;
  // The factory's programs lie one folder deep, a folder per category.
  std::vector<std::string> files, categories;
  ReadFolder(factoryFolder, &files, &categories);
  for (const std::string& c : categories) AddFolder(factoryFolder + "/" + c, {c}, true, kMaxDepth, &list);
  AddFolder(userFolder, {}, false, 0, &list);
  return list;
}

int StepVeltraProgram(const std::vector<VELTRAProgramEntry>& list, const std::string& path, int step)
{
  const int n = (int)list.size();
  if (!n) return -1;
  for (int i = 0; i < n; ++i)
    if (list[(size_t)i].mPath == path) return ((i + step) % n + n) % n;
  return step >= 0 ? 0 : n - 1;
}

int VeltraProgramForChange(const std::vector<VELTRAProgramEntry>& list, int bank, int program)
{
  if (bank < 0) return program >= 0 && program < (int)list.size() ? program : -1;
  int banks = -1, inBank = -1;
  for (size_t i = 0; i < list.size(); ++i)
  {
    // A new bank at each factory category, and one for all of the player's.
    const bool starts = i == 0 || list[i].mFactory != list[i - 1].mFactory ||
                        (list[i].mFactory && list[i].mFolders != list[i - 1].mFolders);
    if (starts) ++banks, inBank = -1;
    ++inBank;
    if (banks == bank && inBank == program) return (int)i;
  }
  return -1;
}

bool LoadProgramFileInOneStep(IPlugBase* plug, const std::string& path)
{
  // Far beyond any program file of this instrument.
  constexpr std::streamsize kMaxBytes = 1 << 20;
  errno = 0;
  std::ifstream f(path, std::ios::binary);
  std::vector<char> bytes((size_t)kMaxBytes);
  f.read(bytes.data(), kMaxBytes);
  if (f.bad() || (!f.eof() && f.fail()) || !f.is_open())
  {
    if (!errno) errno = EIO;
    return false;
  }
  ByteChunk program;
  program.PutBytes(bytes.data(), (int)f.gcount());
  IPlugBase::IMutexLock lock(plug);
  return plug->LoadProgramFromChunk(&program);
}

bool MakeProgramFolder(const std::string& folder)
{
  for (size_t at = 1; at <= folder.size(); ++at)
    if (at == folder.size() || folder[at] == '/') mkdir(folder.substr(0, at).c_str(), 0777);
  struct stat st;
  return !stat(folder.c_str(), &st) && S_ISDIR(st.st_mode);
}

bool PathIsInside(const std::string& path, const std::string& folder)
{
  return !folder.empty() && path.size() > folder.size() && !path.compare(0, folder.size(), folder) &&
         path[folder.size()] == '/';
}
