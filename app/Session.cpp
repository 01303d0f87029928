#include "Session.h"

#include "App.h"
#include "AppState.h"
#include "AudioEngine.h"
#include "IPlugStandalone.h"
#include "MidiEngine.h"
#include "Settings.h"

#include <glib-unix.h>
#include <glib.h>
#include <lo/lo.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace
{
const char* const kCapabilities = ":switch:optional-gui:dirty:";
const char* const kProgramFile = "program.fxp";
// The protocol's error codes that VELTRA answers with.
constexpr int kErrGeneral = -1;
constexpr int kErrNoSessionOpen = -6;
constexpr int kErrCreateFailed = -10;
// How long the start waits for the session's folder before it opens audio
// and MIDI on the user's own settings.
constexpr int kOpenWaitMs = 5000;
constexpr guint kDirtyCheckMs = 200;

lo_server sServer = nullptr;
lo_address sManager = nullptr;
bool sRefused = false;
bool sOpenSeen = false; // an open came, whether or not it worked
bool sLaunched = false;
bool sOpenToAnswer = false;
std::string sFolder; // the session's folder, with a closing slash
std::string sClientId;
guint sOscWatch = 0;
guint sDirtyTimer = 0;
bool sDirty = false;
std::vector<unsigned char> sSavedState;
// Program 0 as the instrument starts, for a session without a program of
// its own: loading a program changes the stored program 0.
ByteChunk sDefaultProgram;

// liblo packs the arguments at four-byte steps, below the alignment of its
// argument type: a string is read through a plain byte pointer.
const char* Text(lo_arg* a) { return (const char*)(void*)a; }

void Send(const char* path, lo_message m)
{
  // A manager that went away is no reason to stop: the send fails quietly
  // and VELTRA plays on.
  if (sManager && sServer) lo_send_message_from(sManager, sServer, path, m);
  lo_message_free(m);
}

void Reply(const char* to, const char* message)
{
  lo_message m = lo_message_new();
  lo_message_add_string(m, to);
  lo_message_add_string(m, message);
  Send("/reply", m);
}

void Error(const char* to, int code, const std::string& message)
{
  printf("session: %s\n", message.c_str());
  lo_message m = lo_message_new();
  lo_message_add_string(m, to);
  lo_message_add_int32(m, code);
  lo_message_add_string(m, message.c_str());
  Send("/error", m);
}

void Tell(const char* path) { Send(path, lo_message_new()); }

std::vector<unsigned char> CurrentState()
{
  ByteChunk c;
  if (gPluginInstance) gPluginInstance->SerializeState(&c);
  return std::vector<unsigned char>(c.GetBytes(), c.GetBytes() + c.Size());
}

void MarkClean()
{
  sSavedState = CurrentState();
  sDirty = false;
  Tell("/nsm/client/is_clean");
}

// Any change of a parameter since the last load or save, from the panel,
// MIDI or a loaded program, makes the session unsaved; undoing it makes it
// saved again.
gboolean OnDirtyCheck(gpointer)
{
  if (sFolder.empty()) return G_SOURCE_CONTINUE;
  const bool dirty = CurrentState() != sSavedState;
  if (dirty != sDirty)
  {
    sDirty = dirty;
    Tell(dirty ? "/nsm/client/is_dirty" : "/nsm/client/is_clean");
  }
  return G_SOURCE_CONTINUE;
}

// The window shows from launch until it is hidden; without a display there
// is none.
bool sWindowHidden = false;

void ShowMainWindow(bool show)
{
  sWindowHidden = !show;
  if (gHWND) ShowWindow(gHWND, show ? SW_SHOW : SW_HIDE);
  Tell(gHWND && show ? "/nsm/client/gui_is_shown" : "/nsm/client/gui_is_hidden");
}

// A program file that cannot be loaded is kept beside it as .bad and goes,
// so that the next start does not meet it again.
void SetAside(const std::string& path)
{
  const std::string bad = KeepCopyAsBad(path);
  const std::string kept = bad.empty() ? "" : "kept as " + bad + ", ";
  if (!bad.empty()) unlink(path.c_str());
  printf("%s could not be read as a VELTRA program; %sstarting with the default program\n", path.c_str(), kept.c_str());
}

// A session opened while VELTRA runs (a switch, or a manager that answered
// late): the engines restart under the new name with the session's
// settings, and the program is the session's.
void SwitchEngines()
{
  StopAudio();
  StopMidi();
  CloseAudio();
  DeleteMidi();
  gMIDIInputDevNames.clear();
  gMIDIOutputDevNames.clear();
  *gState = AppState();
  LoadSettings();
  InitialiseMidi();
  ProbeMidiIO();
  LoadSessionProgram();
  ChooseMidiInput(gState->mMidiInDev);
  ChooseMidiOutput(gState->mMidiOutDev);
  RestartAudio();
  ReportMidiPorts();
}

void AnswerOpen()
{
  sOpenToAnswer = false;
  Reply("/nsm/client/open", "VELTRA is open");
  MarkClean();
  ShowMainWindow(!sWindowHidden);
  if (!sDirtyTimer) sDirtyTimer = g_timeout_add(kDirtyCheckMs, OnDirtyCheck, nullptr);
}

int OnOpen(const char*, const char*, lo_arg** argv, int, lo_message, void*)
{
  sOpenSeen = true;
  std::string folder = Text(argv[0]);
  if (folder.empty() || folder[0] != '/')
  {
    Error("/nsm/client/open", kErrCreateFailed, "the session's path '" + folder + "' is not absolute");
    return 0;
  }
  if (folder.back() != '/') folder += '/';
  if (!MakeFolders(folder))
  {
    Error("/nsm/client/open", kErrCreateFailed, "cannot create " + folder + ": " + strerror(errno));
    return 0;
  }
  sFolder = folder;
  sClientId = Text(argv[2]);
  SetSettingsFolder(folder);
  printf("session '%s': settings and program in %s, JACK name %s\n", Text(argv[1]), folder.c_str(), sClientId.c_str());
  sOpenToAnswer = true;
  // Before launch the load and launch stages read the new folder; after it
  // the engines start again.
  if (!sLaunched) return 0;
  SwitchEngines();
  AnswerOpen();
  return 0;
}

int OnSave(const char*, const char*, lo_arg**, int, lo_message, void*)
{
  if (sFolder.empty())
  {
    Error("/nsm/client/save", kErrNoSessionOpen, "no session is open");
    return 0;
  }
  WDL_String program((sFolder + kProgramFile).c_str());
  errno = 0;
  if (!gPluginInstance || !gPluginInstance->SaveProgramAsFXP(&program))
  {
    Error("/nsm/client/save", kErrGeneral, std::string("could not write ") + program.Get() + ": " + strerror(errno));
    return 0;
  }
  if (!SaveSettings())
  {
    Error("/nsm/client/save", kErrGeneral, std::string("could not write ") + gINIPath + ": " + strerror(errno));
    return 0;
  }
  Reply("/nsm/client/save", "saved");
  MarkClean();
  return 0;
}

int OnShowWindow(const char* path, const char*, lo_arg**, int, lo_message, void*)
{
  ShowMainWindow(!strcmp(path, "/nsm/client/show_optional_gui"));
  return 0;
}

int OnReply(const char*, const char* types, lo_arg** argv, int argc, lo_message, void*)
{
  if (argc >= 2 && types[0] == 's' && types[1] == 's' && !strcmp(Text(argv[0]), "/nsm/server/announce"))
    printf("session manager: %s\n", Text(argv[1]));
  return 0;
}

int OnError(const char*, const char* types, lo_arg** argv, int argc, lo_message, void*)
{
  if (argc >= 3 && !strcmp(types, "sis") && !strcmp(Text(argv[0]), "/nsm/server/announce"))
  {
    sRefused = true;
    printf("the session manager refused VELTRA: %s\n", Text(argv[2]));
  }
  return 0;
}

void OnOscError(int number, const char* message, const char* where)
{
  printf("session: OSC error %d%s%s: %s\n", number, where ? " at " : "", where ? where : "", message ? message : "");
}

gboolean OnOscReady(gint, GIOCondition, gpointer)
{
  while (sServer && lo_server_recv_noblock(sServer, 0) > 0)
  {
  }
  return G_SOURCE_CONTINUE;
}
} // namespace

bool JoinSession()
{
  const char* url = getenv("NSM_URL");
  if (!url || !*url) return false;
  sManager = lo_address_new_from_url(url);
  if (sManager) sServer = lo_server_new_with_proto(nullptr, lo_address_get_protocol(sManager), OnOscError);
  if (!sServer)
  {
    printf("NSM_URL '%s' is no OSC address VELTRA can reach: running without a session manager\n", url);
    LeaveSession();
    return false;
  }
  lo_server_add_method(sServer, "/nsm/client/open", "sss", OnOpen, nullptr);
  lo_server_add_method(sServer, "/nsm/client/save", "", OnSave, nullptr);
  lo_server_add_method(sServer, "/nsm/client/show_optional_gui", "", OnShowWindow, nullptr);
  lo_server_add_method(sServer, "/nsm/client/hide_optional_gui", "", OnShowWindow, nullptr);
  lo_server_add_method(sServer, "/reply", nullptr, OnReply, nullptr);
  lo_server_add_method(sServer, "/error", nullptr, OnError, nullptr);

  lo_message m = lo_message_new();
  lo_message_add_string(m, "VELTRA");
  lo_message_add_string(m, kCapabilities);
  lo_message_add_string(m, program_invocation_short_name);
  lo_message_add_int32(m, 1); // the protocol's version, 1.2
  lo_message_add_int32(m, 2);
  lo_message_add_int32(m, (int)getpid());
  Send("/nsm/server/announce", m);

  const gint64 until = g_get_monotonic_time() + kOpenWaitMs * 1000LL;
  while (!sOpenSeen && !sRefused && g_get_monotonic_time() < until) lo_server_recv_noblock(sServer, 50);
  if (!sOpenSeen && !sRefused)
    printf("no session from the session manager at %s yet: starting on VELTRA's own settings\n", url);
  return sOpenToAnswer;
}

const std::string& SessionClientName() { return sClientId; }

void LoadSessionProgram()
{
  if (!gPluginInstance || !sServer) return;
  if (!sDefaultProgram.Size())
    gPluginInstance->MakeProgramFXP(&sDefaultProgram, gPluginInstance->GetPresetName(0));
  else
    gPluginInstance->LoadProgramFromChunk(&sDefaultProgram);
  if (sFolder.empty()) return;
  const std::string path = sFolder + kProgramFile;
  struct stat st;
  if (stat(path.c_str(), &st)) return; // nothing saved yet: the default program
  WDL_String file(path.c_str());
  if (gPluginInstance->LoadProgramFromFXP(&file)) return;
  gPluginInstance->LoadProgramFromChunk(&sDefaultProgram); // undoes a partial load
  SetAside(path);
}

void SessionLaunched()
{
  if (!sServer) return;
  sLaunched = true;
  sOscWatch = g_unix_fd_add(lo_server_get_socket_fd(sServer), G_IO_IN, OnOscReady, nullptr);
  if (sOpenToAnswer) AnswerOpen();
}

bool SessionKeepsWindow() { return !sFolder.empty(); }

void HideWindowForSession()
{
  printf("the window is hidden: the session manager shows it again, or ends VELTRA\n");
  ShowMainWindow(false);
}

void LeaveSession()
{
  if (sOscWatch) g_source_remove(sOscWatch);
  if (sDirtyTimer) g_source_remove(sDirtyTimer);
  sOscWatch = sDirtyTimer = 0;
  if (sServer) lo_server_free(sServer);
  if (sManager) lo_address_free(sManager);
  sServer = nullptr;
  sManager = nullptr;
}
