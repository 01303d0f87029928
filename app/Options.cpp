#include "Options.h"

#include "Console.h"
#include "IPanelSizeFile.h"
#include "Settings.h"
#include "replacefile.h"

#include <cerrno>
#include <cstring>
#include <sstream>
#include <string>

namespace
{
constexpr const char* kFileName = "options.ini";
bool sSameSound = true;
int sPanelSize = 0;
} // namespace

void LoadOptions()
{
  const std::string path = SettingsFolderFile(kFileName);
  std::string text;
  // A few lines are ours: anything else, or larger, is not read.
  if (!ReadOptionsFile(path, &text))
  {
    Say("%s is not an options file; the sound stays the same at every rate\n", path.c_str());
    return;
  }
  std::string complaints, line;
  ReadOptionsText(text, &sSameSound, &complaints);
  sPanelSize = PanelSizeInText(text, &complaints);
  for (std::istringstream each(complaints); std::getline(each, line);) Say("%s %s\n", path.c_str(), line.c_str());
}

void ReadOptionsText(const std::string& text, bool* sameSound, std::string* complaints)
{
  // Its key is the option, in whatever section.
  ForEachOption(text,
                [&](const std::string&, const std::string& key, const std::string& value, int n)
                {
                  if (key != "same sound at every rate") return;
                  if (value == "on" || value == "off")
                    *sameSound = value == "on";
                  else
                    *complaints += "line " + std::to_string(n) + ": \"" + value +
                                   "\" is neither on nor off; the sound stays the same at every rate\n";
                });
}

std::string OptionsText(bool sameSound)
{
  return std::string("[sound]\nsame sound at every rate = ") + (sameSound ? "on" : "off") + "\n";
}

bool SameSoundAtEveryRate() { return sSameSound; }

bool SetSameSoundAtEveryRate(bool on)
{
  sSameSound = on;
  const std::string path = SettingsFolderFile(kFileName);
  if (path.empty())
  {
    errno = ENOENT;
    return false;
  }
  // The file's other lines stay.
  std::string text;
  if (!ReadOptionsFile(path, &text))
  {
    errno = EEXIST;
    return false;
  }
  text = text.empty() ? OptionsText(on) : WithOption(text, "sound", "same sound at every rate", on ? "on" : "off");
  return WDL_ReplaceFile(path.c_str(), text.data(), text.size());
}

int ChosenPanelSize() { return sPanelSize; }

bool SetChosenPanelSize(int percent)
{
  sPanelSize = percent;
  return WriteChosenPanelSize(SettingsFolderFile(kFileName), percent);
}
