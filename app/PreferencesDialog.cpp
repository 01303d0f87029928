#include "PreferencesDialog.h"

#include "AudioEngine.h"
#include "Console.h"
#include "Engines.h"
#include "MidiEngine.h"
#include "Options.h"
#include "QuietProbe.h"
#include "Settings.h"
#include "resource.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <glib.h>
#include <rtaudio/RtAudio.h>
#include <unistd.h>

const std::vector<std::string> kIOVSOptions = {"32", "64", "128", "256", "512", "1024", "2048", "4096", "8192"};
const std::vector<std::string> kSIGVSOptions = {"16", "32", "64", "128", "256", "512", "1024"};

namespace
{
enum
{
  IDC_COMBO_AUDIO_DRIVER = 40008,
  IDC_COMBO_AUDIO_IN_DEV = 40009,
  IDC_COMBO_AUDIO_OUT_DEV = 40010,
  IDC_COMBO_AUDIO_IOVS = 40011,
  IDC_COMBO_AUDIO_SIGVS = 40012,
  IDC_COMBO_AUDIO_SR = 40013,
  IDC_COMBO_AUDIO_IN_L = 40014,
  IDC_COMBO_AUDIO_IN_R = 40015,
  IDC_COMBO_AUDIO_OUT_R = 40016,
  IDC_COMBO_AUDIO_OUT_L = 40017,
  IDC_COMBO_MIDI_IN_DEV = 40018,
  IDC_COMBO_MIDI_OUT_DEV = 40019,
  IDC_COMBO_MIDI_IN_CHAN = 40020,
  IDC_COMBO_MIDI_OUT_CHAN = 40021,
  IDC_BUTTON_OS_DEV_SETTINGS = 40022,
  IDC_CB_MONO_INPUT = 40023,
  IDAPPLY = 40024,
  IDC_CB_SAME_SOUND = 40025
};

#define GROUP "__SWELL_GROUP"
#define LABEL "__SWELL_LABEL"
#define COMBO "__SWELL_COMBO"
const SWELL_DlgResourceEntry kPrefControls[] = {
    {GROUP, 0, "Audio Settings", -1, 5, 10, 300, 230, 0},
    {LABEL, -1, "Driver Type", -1, 20, 32, 60, 20, 0},
    {COMBO, 0, "", IDC_COMBO_AUDIO_DRIVER, 20, 50, 150, 100, 3},
    {LABEL, -1, "Input Device", -1, 20, 75, 80, 20, 0},
    {COMBO, 0, "", IDC_COMBO_AUDIO_IN_DEV, 20, 90, 150, 100, 3},
    {LABEL, -1, "Output Device", -1, 20, 115, 80, 20, 0},
    {COMBO, 0, "", IDC_COMBO_AUDIO_OUT_DEV, 20, 130, 150, 100, 3},
    {LABEL, -1, "In 1 (L)", -1, 20, 155, 90, 20, 0},
    {COMBO, 0, "", IDC_COMBO_AUDIO_IN_L, 20, 170, 46, 100, 3},
    {LABEL, -1, "In 2 (R)", -1, 75, 155, 90, 20, 0},
    {COMBO, 0, "", IDC_COMBO_AUDIO_IN_R, 75, 170, 46, 100, 3},
    // Beside the input channels it belongs to: at the y of 128 that it was
    // once given it would cover the output device's list. The right column
    // starts at 190, so that its longest label keeps clear of the frame and
    // the set-up button of the check box.
    {"__SWELL_CHECKBOX", 0, "Mono", IDC_CB_MONO_INPUT, 125, 168, 52, 100, 0},
    {LABEL, -1, "Out 1 (L)", -1, 20, 195, 60, 20, 0},
    {COMBO, 0, "", IDC_COMBO_AUDIO_OUT_L, 20, 210, 46, 100, 3},
    {LABEL, -1, "Out 2 (R)", -1, 75, 195, 60, 20, 0},
    {COMBO, 0, "", IDC_COMBO_AUDIO_OUT_R, 75, 210, 46, 100, 3},
    // The option of the rate, at the foot of the group, where its label
    // has the room that the right column lacks.
    {"__SWELL_CHECKBOX", 0, "Same sound at every rate", IDC_CB_SAME_SOUND, 125, 212, 175, 16, 0},
    {LABEL, -1, "IO Vector Size", -1, 190, 32, 110, 20, 0},
    {COMBO, 0, "", IDC_COMBO_AUDIO_IOVS, 190, 50, 100, 100, 3},
    {LABEL, -1, "Signal Vector Size", -1, 190, 75, 110, 20, 0},
    {COMBO, 0, "", IDC_COMBO_AUDIO_SIGVS, 190, 90, 100, 100, 3},
    {LABEL, -1, "Sampling Rate", -1, 190, 115, 110, 20, 0},
    {COMBO, 0, "", IDC_COMBO_AUDIO_SR, 190, 130, 100, 100, 3},
    {"__SWELL_BUTTON", 0, "Audio Midi Setup...", IDC_BUTTON_OS_DEV_SETTINGS, 190, 170, 100, 40, 0},
    {GROUP, 0, "MIDI Settings", -1, 5, 255, 300, 120, 0},
    {LABEL, -1, "Input Device", -1, 20, 275, 100, 20, 0},
    {COMBO, 0, "", IDC_COMBO_MIDI_IN_DEV, 20, 293, 150, 100, 3},
    {LABEL, -1, "Output Device", -1, 20, 320, 100, 20, 0},
    {COMBO, 0, "", IDC_COMBO_MIDI_OUT_DEV, 20, 338, 150, 100, 3},
    {LABEL, -1, "Input Channel", -1, 190, 275, 110, 20, 0},
    {COMBO, 0, "", IDC_COMBO_MIDI_IN_CHAN, 190, 293, 100, 100, 3},
    {LABEL, -1, "Output Channel", -1, 190, 320, 110, 20, 0},
    {COMBO, 0, "", IDC_COMBO_MIDI_OUT_CHAN, 190, 338, 100, 100, 3},
    {"__SWELL_BUTTON", 1, "OK", IDOK, 192, 383, 50, 20, 0},
    {"__SWELL_BUTTON", 0, "Apply", IDAPPLY, 132, 383, 50, 20, 0},
    {"__SWELL_BUTTON", 0, "Cancel", IDCANCEL, 252, 383, 50, 20, 0},
};
#undef GROUP
#undef LABEL
#undef COMBO

void CreatePrefDialog(HWND hwnd, int flags)
{
  SWELL_MakeSetCurParms(1.0f, 1.0f, 0.0f, 0.0f, hwnd, false, !(flags & 8));
  SWELL_GenerateDialogFromList(kPrefControls, (int)(sizeof(kPrefControls) / sizeof(kPrefControls[0])));
}
SWELL_DialogRegHelper sPrefDialog(&SWELL_curmodule_dialogresource_head, CreatePrefDialog, IDD_DIALOG_PREF, 12,
                                  "Preferences", 320, 420, 1.0);

LRESULT Send(HWND dlg, int id, unsigned int msg, WPARAM w = 0, LPARAM l = 0)
{
  return SendMessage(GetDlgItem(dlg, id), msg, w, l);
}
void Add(HWND dlg, int id, const std::string& text) { Send(dlg, id, CB_ADDSTRING, 0, (LPARAM)text.c_str()); }
void Select(HWND dlg, int id, int index) { Send(dlg, id, CB_SETCURSEL, index); }
int Selection(HWND dlg, int id) { return (int)Send(dlg, id, CB_GETCURSEL); }
int Find(HWND dlg, int id, const char* text) { return (int)Send(dlg, id, CB_FINDSTRINGEXACT, -1, (LPARAM)text); }

template<size_t N>
void SetText(char (&setting)[N], const std::string& text)
{
  snprintf(setting, N, "%s", text.c_str());
}

// The selected entry's text into a setting; nothing without a selection.
template<size_t N>
bool SelectedText(HWND dlg, int id, char (&setting)[N])
{
  const int sel = Selection(dlg, id);
  char buf[1024] = "";
  const LRESULT len = sel < 0 ? -1 : Send(dlg, id, CB_GETLBTEXTLEN, sel);
  if (len < 0 || len >= (LRESULT)sizeof(buf) || Send(dlg, id, CB_GETLBTEXT, sel, (LPARAM)buf) < 0) return false;
  SetText(setting, buf);
  return true;
}

// The device info of an id, or a blank one when the device can't be asked
// (a server that went away): the dialog then offers no channels, which says
// enough.
RtAudio::DeviceInfo InfoOf(int id)
{
  RtAudio::DeviceInfo info;
  if (!gDAC || id < 0) return info;
  QuietProbe quiet;
  try
  {
    info = gDAC->getDeviceInfo((unsigned int)id);
  }
  catch (RtAudioError&)
  {
    info = RtAudio::DeviceInfo();
  }
  return info;
}

// Fills a device combo; the entry of the setting is selected (also when the
// setting is the system's default device under its design name), else the
// first while the setting keeps its text.
int FillDevices(HWND dlg, int id, const std::vector<unsigned int>& devs, const char* setting, bool input)
{
  Send(dlg, id, CB_RESETCONTENT);
  const int resolved = GetAudioDeviceIDForSettings(setting, input);
  int chosen = 0;
  for (size_t i = 0; i < devs.size(); ++i)
  {
    const std::string name = GetAudioDeviceName((int)devs[i]);
    Add(dlg, id, name);
    if (name == setting || (int)devs[i] == resolved) chosen = (int)i;
  }
  Select(dlg, id, chosen);
  return devs.empty() ? -1 : (int)devs[(size_t)chosen];
}

void PopulateChannels(HWND dlg, int leftId, int rightId, unsigned int n, int left, int right)
{
  Send(dlg, leftId, CB_RESETCONTENT);
  Send(dlg, rightId, CB_RESETCONTENT);
  for (const std::string& s : LeftChannelOptions(n)) Add(dlg, leftId, s);
  for (const std::string& s : RightChannelOptions(n)) Add(dlg, rightId, s);
  Select(dlg, leftId, left - 1);
  Select(dlg, rightId, right - 1);
}

void PopulateAudioInputList(HWND dlg, RtAudio::DeviceInfo* info)
{
  PopulateChannels(dlg, IDC_COMBO_AUDIO_IN_L, IDC_COMBO_AUDIO_IN_R, info->inputChannels, gState->mAudioInChanL,
                   gState->mAudioInChanR);
}

void PopulateAudioOutputList(HWND dlg, RtAudio::DeviceInfo* info)
{
  PopulateChannels(dlg, IDC_COMBO_AUDIO_OUT_L, IDC_COMBO_AUDIO_OUT_R, info->outputChannels, gState->mAudioOutChanL,
                   gState->mAudioOutChanR);
}

void PopulateSampleRateList(HWND dlg, RtAudio::DeviceInfo* in, RtAudio::DeviceInfo* out)
{
  Send(dlg, IDC_COMBO_AUDIO_SR, CB_RESETCONTENT);
  for (unsigned int rate : CommonSampleRates(in->sampleRates, out->sampleRates))
    Add(dlg, IDC_COMBO_AUDIO_SR, std::to_string(rate));
  Select(dlg, IDC_COMBO_AUDIO_SR, Find(dlg, IDC_COMBO_AUDIO_SR, gState->mAudioSR));
}

void PopulateDriverSpecificControls(HWND dlg)
{
  const int in = FillDevices(dlg, IDC_COMBO_AUDIO_IN_DEV, gAudioInputDevs, gState->mAudioInDev, true);
  const int out = FillDevices(dlg, IDC_COMBO_AUDIO_OUT_DEV, gAudioOutputDevs, gState->mAudioOutDev, false);
  RtAudio::DeviceInfo inInfo = InfoOf(in), outInfo = InfoOf(out);
  PopulateAudioInputList(dlg, &inInfo);
  PopulateAudioOutputList(dlg, &outInfo);
  PopulateSampleRateList(dlg, &inInfo, &outInfo);
}

void PopulateAudioDialogs(HWND dlg)
{
  PopulateDriverSpecificControls(dlg);
  Send(dlg, IDC_CB_MONO_INPUT, BM_SETCHECK, gState->mAudioInIsMono ? 1 : 0);
  Send(dlg, IDC_CB_SAME_SOUND, BM_SETCHECK, SameSoundAtEveryRate() ? 1 : 0);
  Send(dlg, IDC_COMBO_AUDIO_IOVS, CB_RESETCONTENT);
  for (const std::string& s : kIOVSOptions) Add(dlg, IDC_COMBO_AUDIO_IOVS, s);
  Select(dlg, IDC_COMBO_AUDIO_IOVS, Find(dlg, IDC_COMBO_AUDIO_IOVS, gState->mAudioIOVS));
  Send(dlg, IDC_COMBO_AUDIO_SIGVS, CB_RESETCONTENT);
  for (const std::string& s : kSIGVSOptions) Add(dlg, IDC_COMBO_AUDIO_SIGVS, s);
  Select(dlg, IDC_COMBO_AUDIO_SIGVS, Find(dlg, IDC_COMBO_AUDIO_SIGVS, gState->mAudioSigVS));
}

// A port list; a setting that names no port becomes "off" (written at once).
template<size_t N>
void FillPorts(HWND dlg, int id, const std::vector<std::string>& names, char (&setting)[N])
{
  Send(dlg, id, CB_RESETCONTENT);
  for (const std::string& n : names) Add(dlg, id, n);
  int found = Find(dlg, id, setting);
  if (found < 0)
  {
    SetText(setting, "off");
    UpdateINI();
    found = 0;
  }
  Select(dlg, id, found);
}

void PopulateMidiDialogs(HWND dlg)
{
  // The lists of start-up time: also while the MIDI of a JACK server that
  // went away waits for the sound to restart.
  if (gMIDIInputDevNames.empty() || gMIDIOutputDevNames.empty()) return;
  FillPorts(dlg, IDC_COMBO_MIDI_IN_DEV, gMIDIInputDevNames, gState->mMidiInDev);
  FillPorts(dlg, IDC_COMBO_MIDI_OUT_DEV, gMIDIOutputDevNames, gState->mMidiOutDev);
  for (int id : {IDC_COMBO_MIDI_IN_CHAN, IDC_COMBO_MIDI_OUT_CHAN})
  {
    Send(dlg, id, CB_RESETCONTENT);
    Add(dlg, id, "all");
    for (int c = 1; c <= 16; ++c) Add(dlg, id, std::to_string(c));
  }
  Select(dlg, IDC_COMBO_MIDI_IN_CHAN, gState->mMidiInChan);
  Select(dlg, IDC_COMBO_MIDI_OUT_CHAN, gState->mMidiOutChan);
}

void PopulatePreferencesDialog(HWND dlg)
{
  Send(dlg, IDC_COMBO_AUDIO_DRIVER, CB_RESETCONTENT);
  for (const std::string& name : GetAudioDriverNames()) Add(dlg, IDC_COMBO_AUDIO_DRIVER, name);
  Select(dlg, IDC_COMBO_AUDIO_DRIVER, gState->mAudioDriverType);
  PopulateAudioDialogs(dlg);
  PopulateMidiDialogs(dlg);
}

void OnDriverChange(HWND dlg)
{
  const int sel = Selection(dlg, IDC_COMBO_AUDIO_DRIVER);
  if (sel < 0 || sel == gState->mAudioDriverType) return;
  gState->mAudioDriverType = (uint16_t)sel;
  TryToChangeAudioDriverType();
  ProbeAudioIO();
  // An API without devices leaves the names as they were.
  if (!gAudioInputDevs.empty()) SetText(gState->mAudioInDev, GetAudioDeviceName((int)gAudioInputDevs[0]));
  if (!gAudioOutputDevs.empty()) SetText(gState->mAudioOutDev, GetAudioDeviceName((int)gAudioOutputDevs[0]));
  gState->mAudioOutChanL = 1;
  gState->mAudioOutChanR = 2;
  PopulateAudioDialogs(dlg);
}

void OnVectorSizes(HWND dlg)
{
  if (ApplyVectorSizes(gState, Selection(dlg, IDC_COMBO_AUDIO_IOVS), Selection(dlg, IDC_COMBO_AUDIO_SIGVS)))
    Select(dlg, IDC_COMBO_AUDIO_SIGVS, -1);
}

// The left channel picks both; the right combo always shows left + 1.
void OnLeftChannel(HWND dlg, int leftId, int rightId, uint16_t* left, uint16_t* right)
{
  const int sel = Selection(dlg, leftId);
  if (sel >= 0)
  {
    *left = (uint16_t)(sel + 1);
    *right = (uint16_t)(*left + 1);
  }
  Select(dlg, rightId, *right - 1);
}

void RunAudioSetup(HWND dlg)
{
  const std::string program = FindAudioSetupProgram();
  if (program.empty())
  {
    MessageBox(dlg, "No audio set-up program was found. VELTRA looked for pavucontrol and qjackctl on the PATH.",
               "Audio Midi Setup", MB_OK);
    return;
  }
  gchar* argv[] = {(gchar*)program.c_str(), nullptr};
  GError* error = nullptr;
  if (!g_spawn_async(nullptr, argv, nullptr, G_SPAWN_SEARCH_PATH, nullptr, nullptr, nullptr, &error))
  {
    MessageBox(dlg, error ? error->message : program.c_str(), "Audio Midi Setup", MB_OK);
    if (error) g_error_free(error);
  }
}

// A combo's new choice.
bool OnSelChange(HWND dlg, int id)
{
  switch (id)
  {
  case IDC_COMBO_AUDIO_DRIVER:
    OnDriverChange(dlg);
    return true;
  case IDC_COMBO_AUDIO_IN_DEV:
    if (SelectedText(dlg, id, gState->mAudioInDev))
    {
      gState->mAudioInChanL = 1;
      gState->mAudioInChanR = 2;
    }
    PopulateDriverSpecificControls(dlg);
    return true;
  case IDC_COMBO_AUDIO_OUT_DEV:
    if (SelectedText(dlg, id, gState->mAudioOutDev))
    {
      gState->mAudioOutChanL = 1;
      gState->mAudioOutChanR = 2;
    }
    PopulateDriverSpecificControls(dlg);
    return true;
  case IDC_COMBO_AUDIO_IOVS:
  case IDC_COMBO_AUDIO_SIGVS:
    OnVectorSizes(dlg);
    return true;
  case IDC_COMBO_AUDIO_SR:
    SelectedText(dlg, id, gState->mAudioSR);
    return true;
  case IDC_COMBO_AUDIO_IN_L:
  case IDC_COMBO_AUDIO_IN_R:
    OnLeftChannel(dlg, IDC_COMBO_AUDIO_IN_L, IDC_COMBO_AUDIO_IN_R, &gState->mAudioInChanL, &gState->mAudioInChanR);
    return true;
  case IDC_COMBO_AUDIO_OUT_L:
  case IDC_COMBO_AUDIO_OUT_R:
    OnLeftChannel(dlg, IDC_COMBO_AUDIO_OUT_L, IDC_COMBO_AUDIO_OUT_R, &gState->mAudioOutChanL, &gState->mAudioOutChanR);
    return true;
  case IDC_COMBO_MIDI_IN_DEV:
    if (SelectedText(dlg, id, gState->mMidiInDev)) ChooseMidiInput(gState->mMidiInDev);
    return true;
  case IDC_COMBO_MIDI_OUT_DEV:
    if (SelectedText(dlg, id, gState->mMidiOutDev)) ChooseMidiOutput(gState->mMidiOutDev);
    return true;
  case IDC_COMBO_MIDI_IN_CHAN:
    // The MIDI thread reads it, one word at a time: the next message obeys.
    if (Selection(dlg, id) >= 0) gState->mMidiInChan = (uint16_t)Selection(dlg, id);
    return true;
  case IDC_COMBO_MIDI_OUT_CHAN:
    // The instrument's MIDI output reads it, one word at a time.
    if (Selection(dlg, id) >= 0) gState->mMidiOutChan = (uint16_t)Selection(dlg, id);
    return true;
  default:
    return false;
  }
}

// The rate's option as the dialog shows it, kept in its file; whether it
// changed.
bool TakeRateOption(HWND dlg)
{
  const bool on = Send(dlg, IDC_CB_SAME_SOUND, BM_GETCHECK) == 1;
  if (on == SameSoundAtEveryRate()) return false;
  if (!SetSameSoundAtEveryRate(on)) Say("could not write the options file: %s\n", strerror(errno));
  return true;
}

// The dialog's buttons and the mono switch.
void OnButton(HWND dlg, int id, int code)
{
  switch (id)
  {
  case IDOK:
  {
    // The stream restarts when a setting changed (a change of MIDI fields
    // alone too), or the option of the rate.
    const bool rateOption = TakeRateOption(dlg);
    OpenEngines(false);
    StartEngines(rateOption);
    EndDialog(dlg, IDOK);
    return;
  }
  case IDAPPLY:
    TakeRateOption(dlg);
    OpenEngines(false);
    StartEngines(true);
    return;
  case IDCANCEL:
    EndDialog(dlg, IDCANCEL);
    // The engines become what the restored settings say, MIDI ports too.
    if (RestoreOnCancel(gState, gTempState))
    {
      OpenEngines(true);
      StartEngines(true);
    }
    return;
  case IDC_BUTTON_OS_DEV_SETTINGS:
    if (code == BN_CLICKED) RunAudioSetup(dlg);
    return;
  case IDC_CB_MONO_INPUT:
    // The audio thread reads it at its next callback.
    gState->mAudioInIsMono = (uint16_t)(Send(dlg, id, BM_GETCHECK) == 1 ? 1 : 0);
    return;
  default:
    return;
  }
}

void OnCommand(HWND dlg, int id, int code)
{
  if (code != CBN_SELCHANGE || !OnSelChange(dlg, id)) OnButton(dlg, id, code);
}
} // namespace

std::vector<unsigned int> CommonSampleRates(const std::vector<unsigned int>& in, const std::vector<unsigned int>& out)
{
  std::vector<unsigned int> common;
  for (unsigned int a : in)
    for (unsigned int b : out)
      if (a == b) common.push_back(a);
  return common;
}

std::vector<std::string> LeftChannelOptions(unsigned int n)
{
  std::vector<std::string> options;
  for (unsigned int i = 1; i + 1 <= n; ++i) options.push_back(std::to_string(i));
  return options;
}

std::vector<std::string> RightChannelOptions(unsigned int n)
{
  std::vector<std::string> options;
  for (unsigned int i = 1; i <= n; ++i) options.push_back(std::to_string(i));
  return options;
}

bool ApplyVectorSizes(AppState* state, int iovsIdx, int sigvsIdx)
{
  // A combo without a choice keeps the size the settings hold.
  const bool haveIO = iovsIdx >= 0 && iovsIdx < (int)kIOVSOptions.size();
  const bool haveSig = sigvsIdx >= 0 && sigvsIdx < (int)kSIGVSOptions.size();
  const int v = atoi(haveIO ? kIOVSOptions[(size_t)iovsIdx].c_str() : state->mAudioIOVS);
  const int s = atoi(haveSig ? kSIGVSOptions[(size_t)sigvsIdx].c_str() : state->mAudioSigVS);
  if (haveIO) SetText(state->mAudioIOVS, kIOVSOptions[(size_t)iovsIdx]);
  if (v < s)
  {
    // Down to the smallest size, not to the largest that would fit.
    SetText(state->mAudioSigVS, kSIGVSOptions[0]);
    return true;
  }
  if (haveSig) SetText(state->mAudioSigVS, kSIGVSOptions[(size_t)sigvsIdx]);
  return false;
}

bool RestoreOnCancel(AppState* state, const AppState* snapshot)
{
  if (AudioSettingsInStateAreEqual(state, snapshot) && MIDISettingsInStateAreEqual(state, snapshot)) return false;
  *state = *snapshot;
  return true;
}

std::string FindAudioSetupProgram()
{
  for (const char* program : {"pavucontrol", "qjackctl"})
  {
    gchar* path = g_find_program_in_path(program);
    if (path)
    {
      g_free(path);
      return program;
    }
  }
  return "";
}

LRESULT PreferencesDlgProc(HWND hwnd, unsigned int msg, WPARAM wParam, LPARAM)
{
  switch (msg)
  {
  case WM_INITDIALOG:
    PopulatePreferencesDialog(hwnd);
    // After the fill: a MIDI name it replaced by "off" is in the snapshot too.
    *gTempState = *gState;
    return 1;
  case WM_COMMAND:
    OnCommand(hwnd, LOWORD(wParam), HIWORD(wParam));
    return 1;
  default:
    return 0;
  }
}
