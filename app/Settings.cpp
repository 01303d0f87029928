#include "Settings.h"

#include "AppState.h"
#include "Console.h"
#include "IPanelSizeFile.h"
#include "regularfile.h"
#include "swell-ini.h"
#include "threadrole.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
// Room for any real path: the folder plus "settings.ini" must fit, or the
// application runs on defaults.
constexpr int kINIPathSize = 4096;
const char* const kFileName = "settings.ini";

char* MakeINIPath()
{
  char* p = new char[kINIPathSize];
  p[0] = 0;
  return p;
}

bool FolderExists(const std::string& path)
{
  struct stat st;
  return !stat(path.c_str(), &st) && S_ISDIR(st.st_mode);
}

// What the file of this run is: a session's folder, when a session manager
// gave one; and whether a write failed, with errno of the first failure.
struct SettingsFile
{
  std::string sessionFolder;
  bool writeFailed = false;
  int writeError = 0;
};
SettingsFile sFile;

// The settings folder with a closing slash: a session's folder, else the
// user's (IPanelSizeFile.h). Empty without a usable home folder: a HOME that
// does not exist is not made.
std::string SettingsFolder() { return sFile.sessionFolder.empty() ? UserSettingsFolder() : sFile.sessionFolder; }

} // namespace

bool MakeFolders(const std::string& path)
{
  for (size_t at = 1; at != std::string::npos && at < path.size(); at = path.find('/', at + 1))
  {
    const std::string part = path.substr(0, at);
    if (part.empty() || part == "/") continue;
    if (mkdir(part.c_str(), 0777) && errno != EEXIST) return false;
  }
  return FolderExists(path);
}

std::string KeepCopyAsBad(const std::string& path)
{
  FILE* in = WDL_OpenRegularFile(path.c_str());
  if (!in) return std::string();
  std::string name;
  FILE* out = nullptr;
  for (int k = 0; k < 1000 && !out; ++k)
  {
    name = path + ".bad" + (k ? "." + std::to_string(k) : "");
    const int fd = open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL, 0666);
    if (fd >= 0)
      out = fdopen(fd, "wb");
    else if (errno != EEXIST)
      break;
  }
  bool ok = out != nullptr;
  char buf[65536];
  for (size_t n; ok && (n = fread(buf, 1, sizeof(buf), in)) > 0;) ok = fwrite(buf, 1, n, out) == n;
  if (out) ok = (fclose(out) == 0) && ok;
  fclose(in);
  return ok ? name : std::string();
}

namespace
{
bool HaveFile()
{
  return gINIPath[0] && strlen(gINIPath) >= strlen(kFileName) &&
         !strcmp(gINIPath + strlen(gINIPath) - strlen(kFileName), kFileName);
}

template<size_t N>
void ReadText(const char* section, const char* key, const char* def, char (&out)[N])
{
  GetPrivateProfileString(section, key, def, out, (int)N, gINIPath);
}

uint16_t ReadNumber(const char* section, const char* key, uint16_t def)
{
  return (uint16_t)GetPrivateProfileInt(section, key, def, gINIPath); // narrowed to 16 bits
}

void ReadNumber(const char* section, const char* key, uint16_t def, uint16_t* out)
{
  *out = ReadNumber(section, key, def);
}

// A word that another thread reads: stored whole.
void ReadNumber(const char* section, const char* key, uint16_t def, WDL_SharedWord<uint16_t>* out)
{
  *out = ReadNumber(section, key, def);
}

void WriteText(const char* section, const char* key, const char* value)
{
  if (WritePrivateProfileString(section, key, value, gINIPath) || sFile.writeFailed) return;
  sFile.writeFailed = true;
  sFile.writeError = errno;
}

void WriteNumber(const char* section, const char* key, unsigned int value)
{
  char buf[32];
  snprintf(buf, sizeof(buf), "%u", value);
  WriteText(section, key, buf);
}

// A file with content but neither section cannot be settings: before the
// defaults are written over it, it is kept beside, as settings.ini.bad (or
// the next free .bad.N).
void KeepUnreadableFile(long long size)
{
  if (size <= 0) return;
  char probe[8];
  const bool audio = GetPrivateProfileString("audio", nullptr, "", probe, sizeof(probe), gINIPath) > 0;
  const bool midi = GetPrivateProfileString("midi", nullptr, "", probe, sizeof(probe), gINIPath) > 0;
  if (audio || midi) return;
  const std::string bad = KeepCopyAsBad(gINIPath);
  if (!bad.empty())
    Say("%s could not be read as settings; kept as %s, starting with defaults\n", gINIPath, bad.c_str());
}
// Fifteen keys take a few hundred bytes, and a person's notes no more than a
// few kilobytes: a file beyond this is not VELTRA's settings, and reading it
// would cost memory and time at every start, and a rewrite at every save.
constexpr long long kMaxSettingsBytes = 64 * 1024;

// An oversized file is kept beside as .bad and goes, in one console line;
// true when the settings' file can then be read and written. When no copy
// can be made, it stays untouched and unread (false).
bool SetAsideOversizedFile(long long size)
{
  if (size <= kMaxSettingsBytes) return true;
  const std::string bad = KeepCopyAsBad(gINIPath);
  if (bad.empty())
  {
    Say("%s is too large to be VELTRA's settings (%lld bytes) and could not be kept aside: VELTRA starts with "
        "defaults and saves no settings\n",
        gINIPath, size);
    return false;
  }
  unlink(gINIPath);
  Say("%s is too large to be VELTRA's settings (%lld bytes); kept as %s, starting with defaults\n", gINIPath, size,
      bad.c_str());
  return true;
}

void ReadAllKeys();
} // namespace

char* gINIPath = MakeINIPath();

int LoadSettings()
{
  WDL_ASSERT_MAIN_THREAD();
  if (!gINIPath) gINIPath = MakeINIPath();
  gINIPath[0] = 0;
  const std::string folder = SettingsFolder();
  if (folder.empty() || folder.size() + strlen(kFileName) >= (size_t)kINIPathSize) return 0;
  snprintf(gINIPath, kINIPathSize, "%s", folder.c_str());

  if (!FolderExists(folder))
  {
    if (!MakeFolders(folder)) return 1; // defaults; gINIPath names only the folder
    strcat(gINIPath, kFileName);
    UpdateINI(); // the first run: the file holds the defaults
    return 0;
  }
  strcat(gINIPath, kFileName);
  struct stat st;
  if (stat(gINIPath, &st))
  {
    UpdateINI();
    return 0;
  }
  if (!S_ISREG(st.st_mode))
  {
    // A folder (or anything but a file) under the settings' name is not
    // ours to replace: it is left alone, and nothing is saved this run.
    Say("%s is not a file: VELTRA starts with defaults and saves no settings\n", gINIPath);
    gINIPath[folder.size()] = 0;
    return 0;
  }

  if (!SetAsideOversizedFile(st.st_size))
  {
    gINIPath[folder.size()] = 0;
    return 0;
  }
  KeepUnreadableFile(st.st_size);
  ReadAllKeys();
  UpdateINI(); // completes a file with missing keys at once
  return 0;
}

namespace
{
void ReadAllKeys()
{
  AppState* s = gState;
  ReadNumber("audio", "driver", 0, &s->mAudioDriverType);
  ReadText("audio", "indev", "Built-in Input", s->mAudioInDev);
  ReadText("audio", "outdev", "Built-in Output", s->mAudioOutDev);
  ReadNumber("audio", "in1", 1, &s->mAudioInChanL);
  ReadNumber("audio", "in2", 2, &s->mAudioInChanR);
  ReadNumber("audio", "out1", 1, &s->mAudioOutChanL);
  ReadNumber("audio", "out2", 2, &s->mAudioOutChanR);
  ReadNumber("audio", "monoinput", 0, &s->mAudioInIsMono);
  ReadText("audio", "iovs", "512", s->mAudioIOVS);
  ReadText("audio", "sigvs", "32", s->mAudioSigVS);
  ReadText("audio", "sr", "44100", s->mAudioSR);
  ReadText("midi", "indev", "no input", s->mMidiInDev);
  ReadText("midi", "outdev", "no output", s->mMidiOutDev);
  ReadNumber("midi", "inchan", 0, &s->mMidiInChan);
  ReadNumber("midi", "outchan", 0, &s->mMidiOutChan);
}
} // namespace

void UpdateINI()
{
  WDL_ASSERT_MAIN_THREAD();
  // Without a settings file (no home folder, or a folder that could not be
  // made) nothing is written anywhere.
  if (!gINIPath || !HaveFile() || !gState) return;
  const AppState* s = gState;
  sFile.writeFailed = false;
  WriteNumber("audio", "driver", s->mAudioDriverType);
  WriteText("audio", "indev", s->mAudioInDev);
  WriteText("audio", "outdev", s->mAudioOutDev);
  WriteNumber("audio", "in1", s->mAudioInChanL);
  WriteNumber("audio", "in2", s->mAudioInChanR);
  WriteNumber("audio", "out1", s->mAudioOutChanL);
  WriteNumber("audio", "out2", s->mAudioOutChanR);
  WriteNumber("audio", "monoinput", s->mAudioInIsMono);
  WriteText("audio", "iovs", s->mAudioIOVS);
  WriteText("audio", "sigvs", s->mAudioSigVS);
  WriteText("audio", "sr", s->mAudioSR);
  WriteText("midi", "indev", s->mMidiInDev);
  WriteText("midi", "outdev", s->mMidiOutDev);
  WriteNumber("midi", "inchan", s->mMidiInChan);
  WriteNumber("midi", "outchan", s->mMidiOutChan);
  // The old file stays as it was; the user learns why it did not change.
  if (sFile.writeFailed) Say("could not save settings to %s: %s\n", gINIPath, strerror(sFile.writeError));
}

bool SaveSettings()
{
  if (!gINIPath || !HaveFile())
  {
    errno = ENOENT;
    return false;
  }
  UpdateINI();
  if (sFile.writeFailed) errno = sFile.writeError;
  return !sFile.writeFailed;
}

void SetSettingsFolder(const std::string& folder) { sFile.sessionFolder = folder; }

void FreeSettingsPath()
{
  delete[] gINIPath;
  gINIPath = nullptr;
}

std::string SettingsFolderFile(const char* name)
{
  if (!gINIPath || !gINIPath[0]) return "";
  const std::string ini = gINIPath;
  return ini.substr(0, ini.rfind('/') + 1) + name;
}

void SetAsideBadProgram(const std::string& path)
{
  const std::string bad = KeepCopyAsBad(path);
  const std::string kept = bad.empty() ? "" : "kept as " + bad + ", ";
  if (!bad.empty()) unlink(path.c_str());
  Say("%s could not be read as a VELTRA program; %sstarting with the default program\n", path.c_str(), kept.c_str());
}
