#include "Controllers.h"

#include "AudioEngine.h"
#include "Console.h"
#include "CurrentProgram.h"
#include "IControllerMap.h"
#include "IMidiInput.h"
#include "IPlugStandalone.h"
#include "IRateAdapter.h"
#include "Session.h"
#include "Settings.h"
#include "VELTRA.h"
#include "VELTRAPanel.h"

#include "replacefile.h"
#include "sharedword.h"

#include <cerrno>
#include <fstream>
#include <sstream>
#include <sys/stat.h>

namespace
{
const char* const kFileName = "controllers.ini";
constexpr int kBankSelect = 0;
// Far beyond any real map: a larger file is no controllers file.
constexpr long long kMaxFileSize = 1 << 20;

IMidiInput sInput;
IControllerMap sMap;
WDL_SharedWord<bool> sLearning = false;
WDL_SharedWord<int> sLearnTarget = -1;
// Set by the MIDI thread when learning bound a controller; the main thread
// shows it and saves.
WDL_SharedWord<int> sLearnedCC = -1;
int sLastPanelParam = -1; // main thread

// The stage's output in the application: messages go to the instrument's
// queue for the start of the next block, controllers move parameters at once.
struct Sink : IMidiInput::ISink
{
  void Deliver(int, IMidiMsg* msg) override
  {
    msg->mOffset = 0;
    gPluginInstance->ProcessMidiMsg(msg);
  }
  void SetLearned(int, int idx, double normalized) override
  {
    gPluginInstance->SetParameterFromController(idx, normalized);
  }
};

// What a musician expects of a new instrument: the mod wheel, the volume
// and the two brightness controllers of most keyboards.
void SetDefaults(IControllerMap* map)
{
  *map = IControllerMap();
  map->Bind(1, kLFODepth);
  map->Bind(7, kMasterVolume);
  map->Bind(74, kFilterCutoff);
  map->Bind(71, kFilterResonance);
}

std::string FilePath() { return SettingsFolderFile(kFileName); }

bool InSession() { return !SessionClientName().empty(); }

VELTRADisplay* Display() { return gPluginInstance ? static_cast<VELTRA*>(gPluginInstance)->Display() : nullptr; }

const char* ParamName(int idx)
{
  const IParam* p = gPluginInstance ? gPluginInstance->GetParam(idx) : nullptr;
  return p ? p->GetNameForHost() : "";
}

// "Filter Cutoff <- CC 74", or "<- ?" while it has none.
std::string BindingText(int idx)
{
  int cc;
  {
    IPlugBase::IMutexLock lock(gPluginInstance);
    cc = sMap.ControllerFor(idx);
  }
  return std::string(ParamName(idx)) + " <- " + (cc < 0 ? std::string("?") : "CC " + std::to_string(cc));
}

void Show(const std::string& text, bool hold)
{
  if (VELTRADisplay* d = Display()) d->ShowMessage(text.c_str(), hold);
}

void MapChanged()
{
  // Under a session manager the map is saved with the session, which now
  // has unsaved changes; outside one it is saved at once.
  if (InSession()) return;
  if (!SaveControllers()) Say("could not write %s: %s\n", FilePath().c_str(), strerror(errno));
}
} // namespace

void ControllersMidiIn(const IMidiMsg& msg)
{
  if (!gPluginInstance) return;
  IPlugBase::IMutexLock lock(gPluginInstance);
  const int target = sLearnTarget.Get();
  if (sLearning.Get() && target >= 0 && msg.StatusMsg() == IMidiMsg::kControlChange &&
      IControllerMap::Learnable(msg.mData1) && sMap.ParamFor(msg.mData1) != target)
  {
    // Learning: the controller now moves the chosen control. Its later
    // moves act, so the player hears the binding at once.
    sMap.Bind(msg.mData1, target);
    sLearnedCC.Set(msg.mData1);
    return;
  }
  // Program changes and the bank select choose programs from files, off
  // this thread.
  if (msg.StatusMsg() == IMidiMsg::kProgramChange) return PostProgramChange(msg.mData1);
  if (msg.StatusMsg() == IMidiMsg::kControlChange && msg.mData1 == kBankSelect) return PostBankSelect(msg.mData2);
  Sink sink;
  sInput.Input(0, msg, &sink);
}

namespace
{
// The converter's frames into the stream's block.
struct StreamOutput : IRateAdapter::IOutput
{
  double* const* mOut;
  explicit StreamOutput(double* const* out) : mOut(out) {}
  void Write(int hostFrame, const float* frames, int n) override
  {
    for (int i = 0; i < n; ++i)
    {
      mOut[0][hostFrame + i] = frames[2 * i];
      mOut[1][hostFrame + i] = frames[2 * i + 1];
    }
  }
};
} // namespace

void RenderThroughInputStage(double** inputs, double** outputs, int nFrames, IRateAdapter* converter,
                             double* const* scratch)
{
  IPlugBase::IMutexLock lock(gPluginInstance);
  if (converter)
  {
    // The instrument reads no input.
    double* own[2] = {scratch[0], scratch[1]};
    const int n = converter->Begin(nFrames);
    RenderThroughInputStage(nullptr, own, n);
    StreamOutput out(outputs);
    converter->Push(scratch[0], scratch[1], n, 1.0, &out);
    converter->End(&out);
    return;
  }
  Sink sink;
  // MIDI comes in between blocks, so the stage's frames count from the
  // start of this one; a wheel repeat falls one frame after its note.
  for (int pos = 0; pos < nFrames;)
  {
    const int due = sInput.NextDue();
    if (due >= 0 && due <= pos)
    {
      sInput.DeliverDue(pos, &sink);
      continue;
    }
    const int end = due > pos && due < nFrames ? due : nFrames;
    double* in[2] = {inputs ? inputs[0] + pos : nullptr, inputs ? inputs[1] + pos : nullptr};
    double* out[2] = {outputs[0] + pos, outputs[1] + pos};
    gPluginInstance->LockMutexAndProcessDoubleReplacing(inputs ? in : nullptr, out, end - pos);
    pos = end;
  }
  sInput.EndBlock(nFrames);
}

void LoadControllers()
{
  if (!gPluginInstance) return;
  const std::string path = FilePath();
  IControllerMap map;
  SetDefaults(&map);
  struct stat st;
  const bool exists = !path.empty() && !stat(path.c_str(), &st);
  std::string complaints;
  if (exists && (!S_ISREG(st.st_mode) || st.st_size > kMaxFileSize))
    Say("%s is not a controllers file; the default controllers are used\n", path.c_str());
  else if (exists)
  {
    std::ifstream f(path, std::ios::binary);
    std::stringstream text;
    text << f.rdbuf();
    if (!f)
      Say("%s could not be read: %s; the default controllers are used\n", path.c_str(), strerror(errno));
    else
      map.Read(text.str(), gPluginInstance, &complaints);
  }
  for (size_t at = 0, eol; (eol = complaints.find('\n', at)) != std::string::npos; at = eol + 1)
    Say("%s %s; the line is skipped\n", path.c_str(), complaints.substr(at, eol - at).c_str());
  {
    IPlugBase::IMutexLock lock(gPluginInstance);
    sMap = map;
    sInput.SetControllers(&sMap, gPluginInstance);
    gPluginInstance->SetPitchWheelScale(sMap.WheelRange() / (double)IControllerMap::kDefaultWheelRange);
  }
  // A first start writes the defaults, so that the player finds the file.
  if (!exists && !path.empty() && !InSession()) MapChanged();
}

bool SaveControllers()
{
  const std::string path = FilePath();
  if (path.empty() || !gPluginInstance)
  {
    errno = ENOENT;
    return false;
  }
  const std::string text = ControllersText();
  return WDL_ReplaceFile(path.c_str(), text.data(), text.size());
}

std::string ControllersText()
{
  if (!gPluginInstance) return "";
  IPlugBase::IMutexLock lock(gPluginInstance);
  return sMap.Write(gPluginInstance);
}

bool IsLearning() { return sLearning.Get(); }

void ToggleLearning()
{
  if (sLearning.Get())
  {
    StopLearning();
    return;
  }
  sLearnTarget.Set(-1);
  sLearning.Set(true);
  if (gPluginInstance) gPluginInstance->TakePanelMove(); // only moves from now on count
  Show("Learn: move a control", true);
}

void StopLearning()
{
  if (!sLearning.Exchange(false)) return;
  const int target = sLearnTarget.Exchange(-1);
  // The binding stays on the display for a moment.
  if (target >= 0)
    Show(BindingText(target), false);
  else if (VELTRADisplay* d = Display())
    d->ClearMessage();
}

void ForgetController()
{
  if (!gPluginInstance) return;
  const int idx = sLearnTarget.Get() >= 0 ? sLearnTarget.Get() : sLastPanelParam;
  if (idx < 0)
  {
    Show("Move a control first", false);
    return;
  }
  {
    IPlugBase::IMutexLock lock(gPluginInstance);
    sMap.Forget(sMap.ControllerFor(idx));
  }
  Show(BindingText(idx), sLearning.Get());
  MapChanged();
}

void ForgetAllControllers()
{
  if (!gPluginInstance) return;
  {
    IPlugBase::IMutexLock lock(gPluginInstance);
    sMap.ForgetAll();
  }
  Show("No controllers", sLearning.Get());
  MapChanged();
}

void ControllersIdle()
{
  if (!gPluginInstance) return;
  const int moved = gPluginInstance->TakePanelMove();
  if (moved >= 0)
  {
    sLastPanelParam = moved;
    if (sLearning.Get())
    {
      sLearnTarget.Set(moved);
      Show(BindingText(moved), true);
    }
  }
  const int cc = sLearnedCC.Exchange(-1);
  if (cc < 0) return;
  const int target = sLearnTarget.Get();
  if (target >= 0) Show(BindingText(target), sLearning.Get());
  MapChanged();
}
