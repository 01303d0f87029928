#pragma once
// A temporary folder for a test, removed with everything in it at the end,
// and whole-file reading.

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

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
