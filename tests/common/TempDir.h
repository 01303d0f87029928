#pragma once
// A temporary folder for a test, removed with everything in it at the end;
// whole files read and written; a folder's names.

#include <algorithm>
#include <cstdlib>
#include <dirent.h>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

class TempDir
{
public:
  TempDir()
  {
    char tmpl[] = "/tmp/veltra-test-XXXXXX";
    const char* p = mkdtemp(tmpl);
    mPath = p ? p : "";
  }
  ~TempDir()
  {
    if (mPath.size() > 5) (void)system(("rm -rf '" + mPath + "'").c_str());
  }
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  const std::string& Path() const { return mPath; }
  std::string File(const std::string& name) const { return mPath + "/" + name; }

private:
  std::string mPath;
};

inline std::string ReadWholeFile(const std::string& path)
{
  std::ifstream f(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(f), {});
}

inline std::vector<unsigned char> ReadBytes(const std::string& path)
{
  const std::string s = ReadWholeFile(path);
  return std::vector<unsigned char>(s.begin(), s.end());
}

inline void WriteWholeFile(const std::string& path, const std::vector<unsigned char>& bytes)
{
  std::ofstream(path, std::ios::binary).write((const char*)bytes.data(), (std::streamsize)bytes.size());
}

// Every name in the folder but "." and "..", sorted.
inline std::vector<std::string> FilesIn(const std::string& folder)
{
  std::vector<std::string> names;
  if (DIR* d = opendir(folder.c_str()))
  {
    while (dirent* e = readdir(d))
      if (std::string(e->d_name) != "." && std::string(e->d_name) != "..") names.push_back(e->d_name);
    closedir(d);
  }
  std::sort(names.begin(), names.end());
  return names;
}
