#pragma once
// The instrument: eight voices of two wavetable operators, a resonant filter
// with its own attack-release envelope and LFO, a crusher, chorus and reverb.
// One object for the whole run, made by MakePlug.

#include "IKeyTable.h"
#include "IMidiQueue.h"
#include "IPlugStandalone.h"
#include "VLTChain.h"
#include "VLTChorus.h"
#include "VLTOscillator.h"
#include "VLTOscillatorBank.h"
#include "VLTRandom.h"
#include "VLTReverb.h"

class IGraphics;
class PresetFunctionsMenu;
class VELTRADisplay;

// The panel's keyboard as the sound sees it; the keyboard control implements
// it, and without a panel there is none.
class IScreenKeyboard
{
public:
  virtual ~IScreenKeyboard() {}
  // Audio thread, once a block, without a lock: the key held with the mouse
  // (-1 for none) and its velocity, read together in one word, so that a
  // new key never sounds with the velocity of the one before.
  struct KeyPress
  {
    int key;
    int velocity;
  };
  virtual KeyPress GetKeyPress() const = 0;
  int GetKey() const { return GetKeyPress().key; }
  int GetVelocity() const { return GetKeyPress().velocity; }
  // MIDI thread, under the plug-in's mutex: the key table changed, the
  // keyboard is drawn again.
  virtual void KeyTableChanged() = 0;
};

// The application's reverse-domain identifier, shared by the plug-in object
// and its panel.
constexpr const char* kVeltraBundleID = "com.QuillmoorInstruments.standalone.VELTRA";
// Who the instrument is in program files and hosts, and its version
// (1.1.3), for the application and the offline renderer alike.
constexpr int kVeltraVersion = 0x10103;
constexpr int kVeltraUniqueID = ('V' << 24) | ('L' << 16) | ('T' << 8) | '1';
constexpr int kVeltraMfrID = ('Q' << 24) | ('l' << 16) | ('m' << 8) | 'r';
constexpr int kVeltraPrograms = 8;
constexpr const char* kVeltraName = "VELTRA";
constexpr const char* kVeltraMfrName = "QuillmoorInstruments";
// The LV2 plug-in and its panel.
constexpr const char* kVeltraLV2URI = "https://quillmoorinstruments.com/plugins/veltra";
constexpr int kPanelWidth = 920;
constexpr int kPanelHeight = 400;

enum EParams
{
  kOP1Waveform = 0,
  kOP1Octave,
  kOP1Tune,
  kOP1Attack,
  kOP1Decay,
  kOP1Sustain,
  kOP1Release,
  kOP1Volume,
  kOP2Waveform,
  kOP2Octave,
  kOP2Tune,
  kOP2Attack,
  kOP2Decay,
  kOP2Sustain,
  kOP2Release,
  kOP2Volume,
  kFilterCutoff,
  kFilterResonance,
  kFilterFeedback,
  kARAttack,
  kARRelease,
  kARDepth,
  kLFORate,
  kLFOShape,
  kLFODepth,
  kSynthMode,
  kARMeter,
  kLFOMeter,
  kMasterVolume,
  kCrusherDestruction,
  kCrusherMix,
  kPWMRate,
  kPWMDepth,
  kPWMOn,
  kPWMMeter,
  kCrusherBeforeVCF,
  kChorusDepth,
  kChorusSpeed,
  kReverbDepth,
  kReverbLength,
  kPortamento,
  kPitchBend,
  kPortamentoOn,
  kSmoothingOn,
  kNumParams
};

// One operator's block of parameters, in the order that both OP1's and
// OP2's blocks hold them.
enum EOperatorParam
{
  kOpWaveform = 0,
  kOpOctave,
  kOpTune,
  kOpAttack,
  kOpDecay,
  kOpSustain,
  kOpRelease,
  kOpVolume,
  kNumOperatorParams
};
static_assert(kOP1Volume - kOP1Waveform == kOpVolume && kOP2Volume - kOP2Waveform == kOpVolume &&
                  kOP2Waveform - kOP1Waveform == kNumOperatorParams,
              "OP1's and OP2's parameter blocks must keep the operator layout");

enum
{
  kNumVoices = 8,
  kNumOscillators = 2 * kNumVoices,
  kNumKeys = 128,
  // Control i of the panel stands for parameter i - 1 (control 0 is the
  // background).
  kFirstParamControl = 1,
  kControlTickSamples = 44,
  // At most this many MIDI messages wait for the render loop (128 KiB); a
  // block of 8192 frames at the densest MIDI stream stays far below it.
  kMaxQueuedMidiMessages = 16384,
  // The panel controls that show the AR envelope, the LFO and the pulse
  // width triangle, by their index in the panel's control list.
  kARMeterControl = 27,
  kLFOMeterControl = 28,
  kPWMMeterControl = 35,
  // All sound off: the one control change that reaches the render loop.
  kAllSoundOffController = 120
};

// 64 times the concert frequency of a note: note 69 gives 28160.0. mTune and
// the 256 of the increment formula bring it back.
double midi2CPS(double note);

// 1 - tanh(3v): turns the rising knob value of an envelope into a falling
// per-tick step.
double mapRate(double v);

// Construction, for the instrument and for a plug-in's panel alike: names,
// kinds and ranges of the 44 slots, and the default program.
void InitVeltraParams(IPlugBase* plug);

// How hosts and the renderer's parameter list name what a setting does,
// beside the parameter table, whose parameters carry no labels: the names of
// an integer's or a switch's values from its minimum up, and the LV2 unit
// (units:...) of the rest where there is one. Null and 0 where none.
struct VELTRAParamNames
{
  const char* const* values;
  int nValues;
  const char* unit;
};
VELTRAParamNames VeltraParamNames(int paramIdx);

class VELTRA : public IPlugStandalone, public IKeyTable
{
public:
  explicit VELTRA(IPlugInstanceInfo instanceInfo);
  ~VELTRA() override;

  // Thread of the change; takes the mutex. Puts one parameter in force.
  void OnParamChange(int paramIdx) override;
  // Any thread; take the mutex. The state is the parameter list alone.
  bool SerializeState(ByteChunk* chunk) override;
  int UnserializeState(ByteChunk* chunk, int startPos) override;
  // Always a match: nothing to compare.
  bool CompareState(const unsigned char* incomingState, int startPos) override;
  // GUI thread; takes the mutex. The panel catches up after a restore.
  void PresetsChangedByHost() override;
  // Main thread, while no stream runs; takes the mutex. Only later note-ons
  // see the new sample rate, so sounding notes keep their pitch.
  void Reset() override;
  // Audio thread, with the mutex held by the caller. Writes both outputs.
  void ProcessDoubleReplacing(double** inputs, double** outputs, int nFrames) override;
  // MIDI thread; takes the mutex. Note-on, note-off and pitch wheel act;
  // everything else is dropped.
  void ProcessMidiMsg(IMidiMsg* msg) override;
  // Host's thread, while no audio runs; takes the mutex. Activation starts
  // from silence: voices, envelopes, LFO, pulse-width sweep, filter, chorus
  // and reverb as a new object has them, the parameters in force untouched.
  void OnActivate(bool active) override;

  // GUI thread: makes the panel in the view of MakeGraphics and attaches
  // it, once; only programs that show a panel link it (MakePlugGUI).
  void MakePanel();
  // GUI thread: the same in a view that the caller made; the plug-in owns it
  // from here on. Nothing when a panel is attached already.
  void AttachPanel(IGraphics* engine);
  // GUI thread: the panel's display, null without a panel.
  VELTRADisplay* Display() const { return mPresetName; }
  PresetFunctionsMenu* ProgramMenu() const { return mProgramMenu; }

  // Any thread; take the mutex. The key table follows MIDI input only.
  int GetNumKeys() override;
  bool GetKeyStatus(int key) override;
  void GetHeldNotes(uint8_t* bits) override;

  // Audio thread, from the render loop only.
  void NoteOnOff(IMidiMsg* msg);

  IGraphics* mPanel = nullptr;          // owned by the framework once attached
  IScreenKeyboard* mKeyboard = nullptr; // the panel's, polled by the render loop
  IMidiQueue mMidiQueue;
  VELTRADisplay* mPresetName = nullptr; // the panel's display of the program's file
  PresetFunctionsMenu* mProgramMenu = nullptr;
  VLTOscillator mOsc[kNumOscillators];
  VLTReverb mReverbL, mReverbR;
  VLTChorus mChorusL, mChorusR;
  bool mFMMode = false;
  int mTickCounter = 0;
  double mCutoff = 0.3;
  double mCutoffNow = 0.0;
  double mResonance = 1.5; // unstable, and only in force before the first restore
  double mFilterFeedback = 1.0;
  double mFilterVelocity = 0.0;
  double mFilterPosition = 0.0;
  double mAREnvelope = 0.0;
  double mARAttack = 0.4;
  double mARRelease = 0.4;
  double mARDepth = 0.0;
  double mLFOLevel = 0.0;
  double mLFORate = 0.002;
  double mLFOShape = 0.0;
  double mLFODepth = 0.0;
  bool mLFORising = true;
  double mMasterVolume = 0.0;
  double mPWMPosition = 0.0;
  double mPWMRate = 0.0;
  double mPWMDepth = 0.0;
  bool mPWMRising = true;
  bool mPWMOn = false;
  double mCrushDestruction = 0.0;
  double mCrushMix = 0.0;
  bool mCrushBeforeFilter = false;
  int mScreenKey = -1;
  int mNumKeys = 0;
  bool mKeyStatus[kNumKeys] = {};
  bool mPortamentoOn = false;
  double mPortamentoRate = 0.001;
  double mPitchBend = 0.0;
  bool mSmoothingOn = false;
  double mSample = 0.0;
  double mSampleRate = 44100.0;
  // The chorus bounds' random draws: this object's own generator, so that
  // two instruments in one process never disturb each other.
  VLTRandom mRandom;
  // MIDI messages refused because the queue was full; only the thread that
  // holds the mutex counts.
  int mDroppedMidiMessages = 0;
  // The operators stepped together over a span of the render loop, and the
  // kernel that steps them (vector code where the processor has it).
  VLTOscillatorBank mBank;
  VLTBankKernel mBankKernel = VLTChooseBankKernel();

private:
  // Puts a real parameter value in force: the mapping from each of the 44
  // slots to the fields that the render loop reads. Caller holds the mutex.
  void ApplyParam(int paramIdx, double value);
  // One row of an operator's block (op 0 or 1), on every voice.
  void ApplyOperatorParam(int op, int row, double value);
  void PollScreenKeyboard();
  void ControlTick();
  // Audio thread: the chain after the oscillators (smoothing, crusher,
  // filter, chorus, reverb, master volume) over n samples of their sum.
  // The chain's state and settings in and out of a span's registers.
  VLTChain BeginChain();
  void EndChain(const VLTChain& chain);
  // The control tick of every operator's envelope and glide; true when any
  // gate is open.
  bool StepVoiceEnvelopes();
  // Audio thread: shows a value on one of the panel's meters.
  void SetMeter(int controlIdx, double value);
  void SetBendOnAllOscillators();
  void SilenceVoices();
};

// The screen keyboard's key against the one last followed (*last): when it
// changed, the last note ends and the new one starts (key 0 is note 48),
// each message handed to send.
template<class Send>
void FollowScreenKey(IScreenKeyboard* keyboard, int* last, Send send)
{
  if (!keyboard) return;
  const IScreenKeyboard::KeyPress press = keyboard->GetKeyPress();
  const int key = press.key;
  if (key == *last) return;
  IMidiMsg msg;
  if (*last >= 0)
  {
    msg.MakeNoteOffMsg(*last + 48, 0, 0);
    send(&msg);
  }
  *last = key;
  if (key >= 0)
  {
    msg.MakeNoteOnMsg(key + 48, press.velocity, 0, 0);
    send(&msg);
  }
}

// The panel's engine for this platform, with the application's identifier.
IGraphics* MakeGraphics(IPlugBase* plug, int w, int h, int fps);

// The one place where the instrument is made; serialised by a static mutex
// so that two callers cannot make two objects side by side. The caller owns
// the result and deletes it through its virtual destructor. It has no panel
// until MakePlugGUI.
void* MakePlug(void* midiOut, const WDL_SharedWord<uint16_t>* midiOutChan);

// GUI thread: the instrument's panel, made on the first call; the plug-in
// owns it.
IGraphics* MakePlugGUI(void* plug);

// Has the panel's images decoded on a thread of their own from now on, so
// that they are ready when the panel is made: a program that will show the
// panel calls it early in its start; with their twice-size versions for a
// panel shown larger than 100 %.
void DecodePanelImagesAhead(bool alsoTwiceSize = false);
