// Runs a fuzz target over every file of the folders given, for builds
// without libFuzzer: the regression inputs replay under the sanitizers of
// the test build.

#include <cstdint>
#include <cstdio>
#include <dirent.h>
#include <fstream>
#include <iterator>
#include <string>
#include <sys/stat.h>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

static int RunFile(const std::string& path)
{
  std::ifstream f(path, std::ios::binary);
  const std::vector<char> bytes((std::istreambuf_iterator<char>(f)), {});
  LLVMFuzzerTestOneInput((const uint8_t*)bytes.data(), bytes.size());
  return 1;
}

int main(int argc, char** argv)
{
  int n = 0;
  for (int i = 1; i < argc; ++i)
  {
    struct stat st;
    if (stat(argv[i], &st)) continue;
    if (!S_ISDIR(st.st_mode))
    {
      n += RunFile(argv[i]);
      continue;
    }
    DIR* d = opendir(argv[i]);
    while (dirent* e = d ? readdir(d) : nullptr)
      if (e->d_name[0] != '.') n += RunFile(std::string(argv[i]) + "/" + e->d_name);
    if (d) closedir(d);
  }
  printf("replayed %d inputs\n", n);
  return 0;
}
