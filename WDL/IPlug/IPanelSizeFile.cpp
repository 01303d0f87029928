#include "IPanelSizeFile.h"

#include "IPanelScale.h"

#include "../replacefile.h"

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <sys/stat.h>

namespace
{
constexpr long kMostBytes = 65536;

std::string Trimmed(const std::string& s)
{
  const size_t a = s.find_first_not_of(" \t\r"), b = s.find_last_not_of(" \t\r");
  return a == std::string::npos ? "" : s.substr(a, b - a + 1);
}

// "[name]" as name; empty for any other line.
std::string SectionOf(const std::string& line)
{
  const std::string t = Trimmed(line);
  return t.size() > 2 && t.front() == '[' && t.back() == ']' ? Trimmed(t.substr(1, t.size() - 2)) : "";
}

// The key of a "key = value" line, empty for any other.
std::string KeyOf(const std::string& line)
{
  const size_t eq = line.find('=');
  return eq == std::string::npos ? "" : Trimmed(line.substr(0, eq));
}

bool MakeFolderOf(const std::string& path)
{
  for (size_t at = path.find('/', 1); at != std::string::npos; at = path.find('/', at + 1))
    if (mkdir(path.substr(0, at).c_str(), 0777) && errno != EEXIST) return false;
  return true;
}
} // namespace

std::string UserSettingsFolder()
{
  const char* xdg = getenv("XDG_CONFIG_HOME");
  if (xdg && xdg[0] == '/') return std::string(xdg) + "/VELTRA/";
  const char* home = getenv("HOME");
  struct stat st;
  if (home && home[0] == '/' && !stat(home, &st) && S_ISDIR(st.st_mode)) return std::string(home) + "/.config/VELTRA/";
  return "";
}

std::string UserOptionsPath()
{
  const std::string folder = UserSettingsFolder();
  return folder.empty() ? "" : folder + "options.ini";
}

void ForEachOption(const std::string& text, const std::function<void(const std::string& section, const std::string& key,
                                                                     const std::string& value, int line)>& each)
{
  std::istringstream lines(text);
  std::string line, section;
  for (int n = 1; std::getline(lines, line); ++n)
  {
    if (!SectionOf(line).empty())
      section = SectionOf(line);
    else if (!KeyOf(line).empty())
      each(section, KeyOf(line), Trimmed(line.substr(line.find('=') + 1, line.find(';') - line.find('=') - 1)), n);
  }
}

int PanelSizeInText(const std::string& text, std::string* complaint)
{
  int size = 0;
  ForEachOption(text,
                [&](const std::string& section, const std::string& key, const std::string& value, int n)
                {
                  if (section != "view" || key != "size") return;
                  char* end = nullptr;
                  const long percent = strtol(value.c_str(), &end, 10);
                  const bool number = end != value.c_str() && (Trimmed(end).empty() || Trimmed(end) == "%");
                  if (number && IsPanelSize((int)percent))
                    size = (int)percent;
                  else if (complaint)
                    *complaint += "line " + std::to_string(n) + ": \"" + value +
                                  "\" is not a size of the panel (100 %, 125 %, 150 % or 200 %)\n";
                });
  return size;
}

std::string WithOption(const std::string& text, const std::string& section, const std::string& key,
                       const std::string& value)
{
  // Every line of the key in a section of that name goes; the one line
  // that sets it comes at the end of the first such section.
  const std::string set = key + " = " + value + "\n";
  std::istringstream lines(text);
  std::string line, out;
  bool done = false, inSection = false;
  while (std::getline(lines, line))
  {
    const std::string name = SectionOf(line);
    if (!name.empty())
    {
      if (inSection && !done)
      {
        out += set;
        done = true;
      }
      inSection = name == section;
    }
    else if (inSection && KeyOf(line) == key)
      continue;
    out += line + "\n";
  }
  if (!done) out += (inSection ? "" : (out.empty() ? "" : "\n") + std::string("[") + section + "]\n") + set;
  return out;
}

bool ReadOptionsFile(const std::string& path, std::string* text)
{
  text->clear();
  struct stat st;
  if (path.empty()) return true;
  if (stat(path.c_str(), &st)) return errno == ENOENT;
  if (!S_ISREG(st.st_mode) || st.st_size > kMostBytes) return false;
  std::ifstream f(path, std::ios::binary);
  std::stringstream all;
  all << f.rdbuf();
  *text = all.str();
  return true;
}

int ReadChosenPanelSize(const std::string& path)
{
  std::string text;
  ReadOptionsFile(path, &text);
  return PanelSizeInText(text);
}

bool WriteChosenPanelSize(const std::string& path, int percent)
{
  std::string text;
  if (path.empty() || !IsPanelSize(percent))
  {
    errno = EINVAL;
    return false;
  }
  // A file that is not an options file is not written over.
  if (!ReadOptionsFile(path, &text))
  {
    errno = EEXIST;
    return false;
  }
  if (!MakeFolderOf(path)) return false;
  const std::string updated = WithOption(text, "view", "size", std::to_string(percent) + " %");
  return WDL_ReplaceFile(path.c_str(), updated.data(), updated.size());
}
