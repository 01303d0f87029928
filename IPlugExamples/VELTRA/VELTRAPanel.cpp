// The panel: 920 x 400 pixels of knobs, switches, meters, a fader, the
// program's name, the on-screen keyboard and the program menu. Controls are
// attached in index order, which is their drawing order; the render loop
// finds the three meters by index.

#include "VELTRAPanel.h"

#include "IGraphics.h"
#include "IKeyboardControl.h"
#include "PresetFunctionsMenu.h"
#include "lice.h"

#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace
{
// Page Up and Page Down anywhere on the panel step through the programs. The
// engine owns its key catcher apart from its controls.
class ProgramKeys : public IControl
{
public:
  ProgramKeys(IPlugBase* plug, PresetFunctionsMenu* menu) : IControl(plug, IRECT()), mMenu(menu) {}
  bool OnKeyDown(int x, int y, int key) override { return mMenu->OnKeyDown(x, y, key); }
  bool Draw(IGraphics*) override { return true; }

private:
  PresetFunctionsMenu* mMenu; // the panel's, which outlives the catcher's use
};

// One of the two arrows beside the display: a click steps to the previous
// or next program. The art draws it.
class ProgramStep : public IControl
{
public:
  ProgramStep(IPlugBase* plug, IRECT rect, PresetFunctionsMenu* menu, int step)
      : IControl(plug, rect), mMenu(menu), mStep(step)
  {
  }
  void OnMouseDown(int, int, IMouseMod* mod) override
  {
    if (mod->L) mMenu->StepProgram(mStep);
  }
  bool Draw(IGraphics*) override { return true; }

private:
  PresetFunctionsMenu* mMenu; // the panel's
  int mStep;
};

// How long a moved parameter's value stays on the display.
constexpr std::chrono::milliseconds kShowValueFor(1500);
enum EBitmap
{
  kKnob = 101,
  kBackground = 102,
  kWhiteKeys = 103,
  kBlackKey = 104,
  kWaveKnob = 105,
  kOctaveKnob = 106,
  kSwitch = 107,
  kMeterLED = 108,
  kFaderHandle = 109,
  // The mode switch's own strip: both its positions are modes, so its light
  // sits on the lever, beside the legend of the mode chosen.
  kModeSwitch = 110
};

enum EControlKind
{
  kKnobControl,
  kSwitchControl,
  kMeterControl,
  kFaderControl
};

// Controls 1 to 44, in index order: control i stands for parameter i - 1.
struct ControlPlace
{
  EControlKind kind;
  int x, y;
  EBitmap bitmap;
};
const ControlPlace kControls[kNumParams] = {
    {kKnobControl, 30, 40, kWaveKnob},       // OP1 Waveform
    {kKnobControl, 90, 40, kOctaveKnob},     // OP1 Octave
    {kKnobControl, 140, 40, kKnob},          // OP1 Tune
    {kKnobControl, 200, 40, kKnob},          // OP1 Attack
    {kKnobControl, 250, 40, kKnob},          // OP1 Decay
    {kKnobControl, 300, 40, kKnob},          // OP1 Sustain
    {kKnobControl, 350, 40, kKnob},          // OP1 Release
    {kKnobControl, 410, 40, kKnob},          // OP1 Volume
    {kKnobControl, 30, 140, kWaveKnob},      // OP2 Waveform
    {kKnobControl, 90, 140, kOctaveKnob},    // OP2 Octave
    {kKnobControl, 140, 140, kKnob},         // OP2 Tune
    {kKnobControl, 200, 140, kKnob},         // OP2 Attack
    {kKnobControl, 250, 140, kKnob},         // OP2 Decay
    {kKnobControl, 300, 140, kKnob},         // OP2 Sustain
    {kKnobControl, 350, 140, kKnob},         // OP2 Release
    {kKnobControl, 410, 140, kKnob},         // OP2 Volume
    {kKnobControl, 570, 50, kKnob},          // Filter Cutoff
    {kKnobControl, 620, 50, kKnob},          // Filter Resonance
    {kKnobControl, 670, 50, kKnob},          // Filter Feedback
    {kKnobControl, 570, 190, kKnob},         // AR Env. Attack
    {kKnobControl, 620, 190, kKnob},         // AR Env. Release
    {kKnobControl, 670, 190, kKnob},         // AR Env. Depth
    {kKnobControl, 570, 130, kKnob},         // LFO Rate
    {kKnobControl, 620, 130, kKnob},         // LFO Shape
    {kKnobControl, 670, 130, kKnob},         // LFO Depth
    {kSwitchControl, 480, 95, kModeSwitch},  // Synth Mode
    {kMeterControl, 608, 225, kMeterLED},    // AR envelope meter
    {kMeterControl, 608, 165, kMeterLED},    // LFO meter
    {kKnobControl, 813, 280, kKnob},         // Master Volume
    {kKnobControl, 770, 50, kKnob},          // Crusher Destruction
    {kKnobControl, 850, 50, kKnob},          // Crusher Mix
    {kKnobControl, 60, 200, kKnob},          // PWM Rate
    {kKnobControl, 115, 200, kKnob},         // PWM Depth
    {kSwitchControl, 20, 204, kSwitch},      // PWM on off
    {kMeterControl, 100, 240, kMeterLED},    // pulse-width meter
    {kSwitchControl, 815, 55, kSwitch},      // Crusher Before VCF
    {kKnobControl, 770, 120, kKnob},         // Chorus Depth
    {kKnobControl, 850, 120, kKnob},         // Chorus Speed
    {kKnobControl, 770, 190, kKnob},         // Reverb Depth
    {kKnobControl, 850, 190, kKnob},         // Reverb Length
    {kKnobControl, 25, 280, kKnob},          // Portamento
    {kFaderControl, 115, 280, kFaderHandle}, // Pitch Bend
    {kSwitchControl, 28, 345, kSwitch},      // Portamento on off
    {kSwitchControl, 200, 204, kSwitch},     // Smoothing on off
};

// The x offset within an octave of each note's key, C upward: white keys 20
// pixels apart, black keys 12 wide.
const int kKeyCoords[12] = {0, 12, 21, 36, 42, 65, 72, 85, 95, 111, 118, 132};

// The image strips: file and number of frames.
struct StripFile
{
  EBitmap id;
  const char* file;
  int frames;
};
const StripFile kStrips[] = {
    {kKnob, "resources/img/knob.png", 60},        {kWaveKnob, "resources/img/knobn.png", 9},
    {kOctaveKnob, "resources/img/knobf.png", 5},  {kSwitch, "resources/img/switch.png", 2},
    {kMeterLED, "resources/img/fadeled.png", 30}, {kFaderHandle, "resources/img/fader.png", 1},
    {kWhiteKeys, "resources/img/wk.png", 6},      {kBlackKey, "resources/img/bk.png", 1},
    {kModeSwitch, "resources/img/mode.png", 2},
};

const char kBackgroundFile[] = "resources/img/bg.png";

// A strip by its id; the engine's cache loads each file once.
IBitmap LoadStrip(IGraphics* panel, EBitmap id)
{
  for (const StripFile& s : kStrips)
    if (s.id == id) return panel->LoadIBitmap(s.id, s.file, s.frames);
  return IBitmap();
}
} // namespace

void DecodePanelImagesAhead(bool alsoTwiceSize)
{
  std::vector<std::string> names = {kBackgroundFile};
  for (const StripFile& s : kStrips) names.push_back(s.file);
  const size_t n = names.size();
  for (size_t i = 0; alsoTwiceSize && i < n; ++i) names.push_back(names[i].substr(0, names[i].size() - 4) + "@2x.png");
  std::vector<const char*> list;
  for (const std::string& name : names) list.push_back(name.c_str());
  LICE_DecodeNamedPNGsAhead(list.data(), (int)list.size());
}

VELTRAPanelParts BuildVeltraPanel(IGraphics* panel, IPlugBase* plug)
{
  panel->AttachBackground(kBackground, kBackgroundFile);
  for (int param = 0; param < kNumParams; ++param)
  {
    const ControlPlace& c = kControls[param];
    const IBitmap bitmap = LoadStrip(panel, c.bitmap);
    switch (c.kind)
    {
    case kSwitchControl:
      panel->AttachControl(new ISwitchControl(plug, c.x, c.y, param, bitmap, IChannelBlend::kBlendOver));
      break;
    case kFaderControl:
      panel->AttachControl(new IFaderControl(plug, c.x, c.y, 100, param, bitmap, kVertical, false));
      break;
    case kKnobControl:
    case kMeterControl:
    {
      IControl* control = new IKnobMultiControl(plug, c.x, c.y, param, bitmap, kVertical, 4.0);
      panel->AttachControl(control);
      // The meters show the render loop's values and take no mouse input.
      if (c.kind == kMeterControl) control->SetTargetArea(IRECT());
      break;
    }
    }
  }

  IText style(14, nullptr, nullptr, IText::kStylePlain, IText::kAlignCentre, 0, IText::kQualitySystem);
  style.mSize = 12;
  style.mColor = IColor(255, 85, 174, 255);
  VELTRAPanelParts parts;
  parts.panel = panel;
  parts.presetName = new VELTRADisplay(plug, IRECT(295, 215, 410, 255), &style);
  panel->AttachControl(parts.presetName);
  IKeyboardControl* keyboard = new IKeyboardControl(plug, 180, 269, 48, 4, LoadStrip(panel, kWhiteKeys),
                                                    LoadStrip(panel, kBlackKey), kKeyCoords);
  parts.keyboard = keyboard;
  panel->AttachControl(keyboard);
  parts.programs = new PresetFunctionsMenu(plug, IRECT(410, 210, 490, 250), parts.presetName);
  panel->AttachControl(parts.programs);
  panel->AttachKeyCatcher(new ProgramKeys(plug, parts.programs));
  // After the design's 48 controls, so that none of theirs moves.
  panel->AttachControl(new ProgramStep(plug, IRECT(500, 220, 523, 245), parts.programs, -1));
  panel->AttachControl(new ProgramStep(plug, IRECT(527, 220, 550, 245), parts.programs, 1));
  return parts;
}

void VELTRA::AttachPanel(IGraphics* engine)
{
  if (mPanel) return;
  const VELTRAPanelParts parts = BuildVeltraPanel(engine, this);
  // The sound may be playing already: the render loop and the MIDI thread
  // see the panel's keyboard only together with the rest, under the mutex.
  IMutexLock lock(this);
  mPanel = parts.panel;
  mPresetName = parts.presetName;
  mProgramMenu = parts.programs;
  mKeyboard = parts.keyboard;
  AttachGraphics(parts.panel);
}

VELTRADisplay::VELTRADisplay(IPlugBase* plug, IRECT rect, const IText* text)
    : ITextControl(plug, rect, text, "No sound loaded.")
{
}

void VELTRADisplay::ShowMessage(const char* text, bool hold)
{
  mMessage.Set(text);
  mShowing = true;
  mHold = hold;
  mUntil = std::chrono::steady_clock::now() + kShowValueFor;
  SetDirty(false);
}

void VELTRADisplay::ClearMessage()
{
  if (!mShowing) return;
  mShowing = mHold = false;
  SetDirty(false);
}

void VELTRADisplay::OnGUIIdle()
{
  uint64_t byController = 0;
  const int moved = mPlug->TakeParamMoves(&byController);
  if (moved < 0 && !byController)
  {
    if (mShowing && !mHold && std::chrono::steady_clock::now() >= mUntil) ClearMessage();
    return;
  }
  // The values are the instrument's, which the MIDI thread may be changing.
  WDL_String text;
  {
    IPlugBase::IMutexLock lock(mPlug);
    IGraphics* gui = GetGUI();
    for (int i = 0; byController && gui && i < 64; ++i)
      if (byController & (uint64_t(1) << i) && mPlug->GetParam(i))
        gui->SetParameterFromPlug(i, mPlug->GetParam(i)->GetNormalized(), true);
    if (moved >= 0) FormatParamForDisplay(mPlug, moved, &text);
  }
  if (moved >= 0 && !mHold) ShowMessage(text.Get(), false);
  if (mShowing && !mHold && std::chrono::steady_clock::now() >= mUntil) ClearMessage();
}

bool VELTRADisplay::Draw(IGraphics* graphics)
{
  if (!mShowing) return ITextControl::Draw(graphics);
  IRECT width = mRECT;
  graphics->MeasureIText(&mText, mMessage.Get(), &width);
  const char* msg = mMessage.Get();
  const char* arrow = strstr(msg, " <- ");
  const char* split = arrow ? arrow : strrchr(msg, ' ');
  if (width.W() <= mRECT.W() || !split) return graphics->DrawIText(&mText, mMessage.Get(), &mRECT);
  // Too wide for one line: the name above, the value or controller below,
  // both clear of the label under the display.
  const std::string name(msg, (size_t)(split - msg));
  IRECT top(mRECT.L, mRECT.T - 5, mRECT.R, mRECT.B), bottom(mRECT.L, mRECT.T + 10, mRECT.R, mRECT.B);
  return graphics->DrawIText(&mText, name.c_str(), &top) && graphics->DrawIText(&mText, split + 1, &bottom);
}

void FormatParamForDisplay(const IPlugBase* plug, int paramIdx, WDL_String* text)
{
  const IParam* param = plug->GetParam(paramIdx);
  if (!param) return;
  const VELTRAParamNames names = VeltraParamNames(paramIdx);
  double lo, hi;
  param->GetBounds(&lo, &hi);
  const double v = param->Value();
  const int i = (int)std::lround(v);
  char value[64];
  if (names.values && i >= 0 && i < names.nValues)
    snprintf(value, sizeof(value), "%s", names.values[i]);
  else if (names.unit)
    snprintf(value, sizeof(value), lo < 0.0 ? "%+.0f %ss" : "%.0f %ss", v, names.unit);
  else if (param->Type() != IParam::kTypeDouble || hi - lo >= 100.0)
    snprintf(value, sizeof(value), "%.0f", v);
  else
    // Two decimals where they tell the setting apart, four for the finest.
    snprintf(value, sizeof(value), lo < 0.0 ? "%+.*f" : "%.*f", hi - lo >= 0.5 ? 2 : 4, v);
  text->SetFormatted(128, "%s %s", param->GetNameForHost(), value);
}
