// The plug-in view's dialogs and paths. File choosers and alerts run in a
// separate process, the desktop's own (zenity, else kdialog), so that no
// toolkit comes into the host's process; meanwhile the panel stays painted.

#include "IGraphicsX11.h"

#include "IPlugBase.h"

#include <X11/Xlib.h>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <strings.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace
{
// A program on the PATH, or "".
std::string FindProgram(const char* name)
{
  const char* path = getenv("PATH");
  std::string dirs = path ? path : "/usr/bin:/bin";
  size_t start = 0;
  while (start <= dirs.size())
  {
    size_t end = dirs.find(':', start);
    if (end == std::string::npos) end = dirs.size();
    const std::string candidate = dirs.substr(start, end - start) + "/" + name;
    if (end > start && access(candidate.c_str(), X_OK) == 0) return candidate;
    start = end + 1;
  }
  return "";
}

enum EDialogs
{
  kNoDialogs,
  kZenity,
  kKdialog
};

EDialogs Dialogs(std::string* program)
{
  *program = FindProgram("zenity");
  if (!program->empty()) return kZenity;
  *program = FindProgram("kdialog");
  return program->empty() ? kNoDialogs : kKdialog;
}

} // namespace

int IGraphicsX11::RunDialog(const std::vector<std::string>& argv, std::string* output)
{
  output->clear();
  int out[2];
  if (pipe2(out, O_CLOEXEC)) return -1;
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, out[1], 1);
  posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
  std::vector<char*> args;
  for (const std::string& a : argv) args.push_back((char*)a.c_str());
  args.push_back(nullptr);
  pid_t pid = -1;
  const int failed = posix_spawn(&pid, args[0], &actions, nullptr, args.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  close(out[1]);
  if (failed)
  {
    close(out[0]);
    return -1;
  }
  // Until the dialog ends, the panel is repainted where it is uncovered;
  // its input waits, as under any modal dialog.
  for (;;)
  {
    pollfd p[2] = {{out[0], POLLIN, 0}, {mDisplay ? ConnectionNumber(mDisplay) : -1, POLLIN, 0}};
    if (poll(p, mDisplay ? 2 : 1, 200) < 0 && errno != EINTR) break;
    if (mDisplay) HandleExposeOnly();
    if (p[0].revents & (POLLIN | POLLHUP))
    {
      char buf[1024];
      const ssize_t n = read(out[0], buf, sizeof(buf));
      if (n > 0)
        output->append(buf, (size_t)n);
      else if (n == 0 || errno != EINTR)
        break;
    }
  }
  close(out[0]);
  int status = 0;
  while (waitpid(pid, &status, 0) < 0 && errno == EINTR)
  {
  }
  while (!output->empty() && (output->back() == '\n' || output->back() == '\r')) output->pop_back();
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

void IGraphicsX11::HandleExposeOnly()
{
  XEvent ev;
  while (mDisplay && XPending(mDisplay))
  {
    XNextEvent(mDisplay, &ev);
    if (ev.type == Expose || ev.type == DestroyNotify) HandleEvent(&ev);
  }
  PutExposed();
  Flush();
}

bool IGraphicsX11::CanPromptForFile(WDL_String* why)
{
  std::string program;
  if (Dialogs(&program) != kNoDialogs) return true;
  if (why) why->Set("File dialogs need zenity or kdialog");
  return false;
}

void IGraphicsX11::PromptForFile(WDL_String* fileName, EFileAction action, WDL_String* dir, const char* extensions)
{
  if (!WindowIsOpen())
  {
    fileName->Set("");
    return;
  }
  const XFilePrompt prompt = XBeginFilePrompt(fileName, dir, extensions);
  const std::string& proposed = prompt.proposed;
  const std::string folder = prompt.folder + "/";
  const std::vector<std::string>& types = prompt.types;
  const bool save = action == kFileSave;
  std::string program;
  const EDialogs kind = Dialogs(&program);
  std::vector<std::string> argv = {program};
  std::string patterns;
  for (const std::string& t : types)
  {
    // Either case of the extension.
    std::string upper = t;
    for (char& c : upper) c = (char)toupper((unsigned char)c);
    patterns += (patterns.empty() ? "*." : " *.") + t + " *." + upper;
  }
  if (kind == kZenity)
  {
    argv.insert(argv.end(), {"--file-selection", save ? "--title=Save" : "--title=Open",
                             "--filename=" + folder + (save ? proposed : ""),
                             // Small enough for an 800-pixel screen.
                             "--width=760", "--height=520"});
    if (save) argv.push_back("--save");
    if (!patterns.empty()) argv.push_back("--file-filter=" + patterns);
  }
  else if (kind == kKdialog)
  {
    argv.insert(argv.end(), {"--title", save ? "Save" : "Open", save ? "--getsavefilename" : "--getopenfilename",
                             folder + (save ? proposed : ""), patterns});
  }
  else
    return;

  std::string chosen;
  for (;;)
  {
    if (RunDialog(argv, &chosen) != 0 || chosen.empty()) return;
    const std::string question = save ? XKeepSaveType(&chosen, types) : "";
    if (question.empty() || ShowMessageBox(question.c_str(), "Replace file?", 4) == 1) break;
  }
  XEndFilePrompt(chosen, fileName, dir);
}

int IGraphicsX11::ShowMessageBox(const char* text, const char* caption, int type)
{
  // The design's answers: 1 for the default button, 7 for the second, 2 for
  // the third. Without a dialog program the text goes to the console and
  // the default stands.
  std::string program, out;
  const EDialogs kind = Dialogs(&program);
  const std::string title = caption ? caption : "", body = text ? text : "";
  if (kind == kNoDialogs)
  {
    fprintf(stderr, "%s: %s\n", title.c_str(), body.c_str());
    return 1;
  }
  std::vector<std::string> argv = {program};
  if (kind == kZenity)
  {
    argv.insert(argv.end(), {"--title=" + title, "--text=" + body, "--no-markup"});
    if (type == 1)
      argv.insert(argv.end(), {"--question", "--ok-label=OK", "--cancel-label=Cancel"});
    else if (type == 3)
      argv.insert(argv.end(), {"--question", "--ok-label=Yes", "--cancel-label=No", "--extra-button=Cancel"});
    else if (type == 4)
      argv.insert(argv.end(), {"--question", "--ok-label=Yes", "--cancel-label=No"});
    else
      argv.push_back("--info");
    const int status = RunDialog(argv, &out);
    if (type == 3 && out == "Cancel") return 2;
    if (type == 1 || type == 3 || type == 4) return status == 0 ? 1 : 7;
    return 1;
  }
  argv.insert(argv.end(), {"--title", title});
  argv.push_back(type == 3   ? "--yesnocancel"
                 : type == 1 ? "--warningcontinuecancel"
                 : type == 4 ? "--yesno"
                             : "--msgbox");
  argv.push_back(body);
  const int status = RunDialog(argv, &out);
  if (type == 3 && status == 2) return 2;
  if (type == 1 || type == 3 || type == 4) return status == 0 ? 1 : 7;
  return 1;
}

bool IGraphicsX11::OpenURL(const char* url, const char*, const char*, const char*)
{
  if (!url || !*url) return true;
  const std::string opener = FindProgram("xdg-open");
  if (opener.empty()) return false;
  // Through a shell that leaves the opener running on its own, so that no
  // child of the host's process is left to reap.
  const std::string link = XLinkFor(url);
  const char* argv[] = {"/bin/sh", "-c", "\"$0\" \"$1\" >/dev/null 2>&1 &", opener.c_str(), link.c_str(), nullptr};
  pid_t pid;
  if (posix_spawn(&pid, argv[0], nullptr, nullptr, (char**)argv, environ)) return false;
  int status = 0;
  while (waitpid(pid, &status, 0) < 0 && errno == EINTR)
  {
  }
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

void IGraphicsX11::HostPath(WDL_String* path) { XHostPath(path); }

void IGraphicsX11::PluginPath(WDL_String* path) { path->Set(mResourceRoot.c_str()); }

void IGraphicsX11::DesktopPath(WDL_String* path) { path->Set((XUserHome() + "/Desktop").c_str()); }

void IGraphicsX11::AppSupportPath(WDL_String* path, bool isSystem)
{
  const char* config = getenv("XDG_CONFIG_HOME");
  const std::string base = isSystem ? "/etc/xdg" : config && *config ? config : XUserHome() + "/.config";
  path->Set((base + "/" + (mPlug ? mPlug->GetEffectName() : "")).c_str());
}

void IGraphicsX11::SandboxSafeAppSupportPath(WDL_String* path) { path->Set((XUserHome() + "/Music").c_str()); }
