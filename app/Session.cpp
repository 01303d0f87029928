#include "Session.h"

#include "App.h"
#include "AppState.h"
#include "AudioEngine.h"
#include "Console.h"
#include "Controllers.h"
#include "Engines.h"
#include "IPlugStandalone.h"
#include "NsmClient.h"
#include "Options.h"
#include "Settings.h"
#include "threadrole.h"

#include <glib.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace
{
const char* const kCapabilities = ":switch:optional-gui:dirty:";
const char* const kProgramFile = "program.fxp";
// How long the start waits for the session's folder before it opens audio
// and MIDI on the user's own settings.
constexpr int kOpenWaitMs = 5000;
constexpr guint kDirtyCheckMs = 200;

std::vector<unsigned char> CurrentState()
{
  ByteChunk c;
  if (gPluginInstance) gPluginInstance->SerializeState(&c);
  // The learned controllers belong to the session too.
  const std::string controllers = ControllersText();
  std::vector<unsigned char> state(c.GetBytes(), c.GetBytes() + c.Size());
  state.insert(state.end(), controllers.begin(), controllers.end());
  return state;
}

// What VELTRA does under a session manager: where its files go, when its
// engines restart, what counts as unsaved, and its window.
class VeltraSession : public NsmClient::Handler
{
public:
  VeltraSession() : mClient(this) {}
  ~VeltraSession() override
  {
    if (mDirtyTimer) g_source_remove(mDirtyTimer);
  }

  NsmClient mClient;
  std::string mFolder; // the session's folder, with a closing slash
  std::string mClientId;
  bool mLaunched = false;
  bool mOpenToAnswer = false;
  // The window shows from launch until it is hidden; without a display
  // there is none.
  bool mWindowHidden = false;
  // Program 0 as the instrument starts, for a session without a program of
  // its own: loading a program changes the stored program 0.
  ByteChunk mDefaultProgram;

  void Open(const std::string& folder, const std::string& name, const std::string& clientId) override
  {
    if (!MakeFolders(folder))
    {
      mClient.Fail("/nsm/client/open", NsmClient::kErrCreateFailed, "cannot create " + folder + ": " + strerror(errno));
      return;
    }
    mFolder = folder;
    mClientId = clientId;
    SetSettingsFolder(folder);
    Say("session '%s': settings and program in %s, JACK name %s\n", name.c_str(), folder.c_str(), clientId.c_str());
    mOpenToAnswer = true;
    // Before launch the load and launch stages read the new folder; after it
    // the engines start again.
    if (!mLaunched) return;
    SwitchEngines();
    AnswerOpen();
  }

  void Save() override
  {
    if (mFolder.empty())
    {
      mClient.Fail("/nsm/client/save", NsmClient::kErrNoSessionOpen, "no session is open");
      return;
    }
    WDL_String program((mFolder + kProgramFile).c_str());
    errno = 0;
    if (!gPluginInstance || !gPluginInstance->SaveProgramAsFXP(&program))
    {
      mClient.Fail("/nsm/client/save", NsmClient::kErrGeneral,
                   std::string("could not write ") + program.Get() + ": " + strerror(errno));
      return;
    }
    if (!SaveControllers())
    {
      mClient.Fail("/nsm/client/save", NsmClient::kErrGeneral,
                   "could not write the controllers file in " + mFolder + ": " + strerror(errno));
      return;
    }
    if (!SaveSettings())
    {
      mClient.Fail("/nsm/client/save", NsmClient::kErrGeneral,
                   std::string("could not write ") + gINIPath + ": " + strerror(errno));
      return;
    }
    mClient.AnswerSave("saved");
    MarkClean();
  }

  void ShowGui(bool show) override
  {
    mWindowHidden = !show;
    if (gHWND) ShowWindow(gHWND, show ? SW_SHOW : SW_HIDE);
    mClient.Tell(gHWND && show ? "/nsm/client/gui_is_shown" : "/nsm/client/gui_is_hidden");
  }

  void AnswerOpen()
  {
    mOpenToAnswer = false;
    mClient.AnswerOpen("VELTRA is open");
    MarkClean();
    ShowGui(!mWindowHidden);
    if (!mDirtyTimer) mDirtyTimer = g_timeout_add(kDirtyCheckMs, OnDirtyCheck, this);
  }

  void LoadProgram()
  {
    if (!gPluginInstance) return;
    if (!mDefaultProgram.Size())
      gPluginInstance->MakeProgramFXP(&mDefaultProgram, gPluginInstance->GetPresetName(0));
    else
      gPluginInstance->LoadProgramFromChunk(&mDefaultProgram);
    if (mFolder.empty()) return;
    const std::string path = mFolder + kProgramFile;
    struct stat st;
    if (stat(path.c_str(), &st)) return; // nothing saved yet: the default program
    WDL_String file(path.c_str());
    if (gPluginInstance->LoadProgramFromFXP(&file)) return;
    gPluginInstance->LoadProgramFromChunk(&mDefaultProgram); // undoes a partial load
    SetAsideBadProgram(path);
  }

private:
  guint mDirtyTimer = 0;
  bool mDirty = false;
  std::vector<unsigned char> mSavedState;

  void MarkClean()
  {
    mSavedState = CurrentState();
    mDirty = false;
    mClient.Tell("/nsm/client/is_clean");
  }

  // Any change of a parameter since the last load or save, from the panel,
  // MIDI or a loaded program, makes the session unsaved; undoing it makes it
  // saved again.
  static gboolean OnDirtyCheck(gpointer self)
  {
    VeltraSession* s = (VeltraSession*)self;
    if (s->mFolder.empty()) return G_SOURCE_CONTINUE;
    const bool dirty = CurrentState() != s->mSavedState;
    if (dirty != s->mDirty)
    {
      s->mDirty = dirty;
      s->mClient.Tell(dirty ? "/nsm/client/is_dirty" : "/nsm/client/is_clean");
    }
    return G_SOURCE_CONTINUE;
  }

  // A session opened while VELTRA runs (a switch, or a manager that
  // answered late): the engines restart under the new name with the
  // session's settings, and the program is the session's.
  void SwitchEngines()
  {
    StopEngines();
    CloseEngines();
    *gState = AppState();
    LoadSettings();
    OpenEngines(true);
    LoadProgram();
    LoadControllers();
    LoadOptions();
    StartEngines(true);
  }
};

std::unique_ptr<VeltraSession> sSession;
} // namespace

bool JoinSession()
{
  WDL_ASSERT_MAIN_THREAD();
  const char* url = getenv("NSM_URL");
  if (!url || !*url) return false;
  sSession.reset(new VeltraSession);
  NsmClient& client = sSession->mClient;
  if (!client.Announce(url, "VELTRA", kCapabilities, program_invocation_short_name, kOpenWaitMs))
  {
    Say("NSM_URL '%s' is no OSC address VELTRA can reach: running without a session manager\n", url);
    sSession.reset();
    return false;
  }
  if (!client.OpenSeen() && !client.Refused())
    Say("no session from the session manager at %s yet: starting on VELTRA's own settings\n", url);
  return sSession->mOpenToAnswer;
}

const std::string& SessionClientName()
{
  static const std::string none;
  return sSession ? sSession->mClientId : none;
}

void LoadSessionProgram()
{
  if (sSession) sSession->LoadProgram();
}

void SessionLaunched()
{
  WDL_ASSERT_MAIN_THREAD();
  if (!sSession) return;
  sSession->mLaunched = true;
  sSession->mClient.Listen();
  if (sSession->mOpenToAnswer) sSession->AnswerOpen();
}

bool UnderSessionManager() { return sSession != nullptr; }

bool SessionKeepsWindow() { return sSession && !sSession->mFolder.empty(); }

void HideWindowForSession()
{
  Say("the window is hidden: the session manager shows it again, or ends VELTRA\n");
  if (sSession) sSession->ShowGui(false);
}

void LeaveSession() { sSession.reset(); }
