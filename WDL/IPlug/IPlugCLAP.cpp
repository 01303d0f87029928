#include "IPlugCLAP.h"

#include "IPlugLV2Ports.h"

#include <clap/ext/state.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <strings.h>

// The panel's side, as the adapter of its IPlugStandalone: what the panel
// moves is put in force in the sound at once, under the mutex, and queued
// for the host; the notes of its keyboard are queued for the next process.
class IPlugCLAP::PanelLink : public IPlugAdapter
{
public:
  PanelLink(IPlugCLAP* owner, IPlugStandalone* panel)
      : mOwner(owner), mPanel(panel), mKeys(dynamic_cast<IKeyTable*>(panel))
  {
  }

  void BeginInformHostOfParamChange(int idx) override { Queue(HostEvent::kBegin, idx); }
  void InformHostOfParamChange(int idx, double) override
  {
    const IParam* from = mPanel->GetParam(idx);
    IParam* to = mOwner->mPlug->GetParam(idx);
    if (!from || !to || LV2IsMeter(to)) return;
    {
      IPlugBase::IMutexLock lock(mOwner->mPlug.get());
      to->Set(from->Value());
      mOwner->mPlug->OnParamChange(idx);
      mOwner->ToHost({HostEvent::kValue, {}, idx, to->Value()});
    }
    mOwner->RequestFlush();
  }
  void EndInformHostOfParamChange(int idx) override { Queue(HostEvent::kEnd, idx); }

  // A program loaded from a file on the panel: the sound loads the same
  // program, name and all, and the host hears of every value.
  void InformHostOfProgramChange() override
  {
    ByteChunk program;
    mPanel->MakeProgramFXP(&program, mPanel->GetPresetName(mPanel->GetCurrentPresetIdx()));
    IPlugStandalone* sound = mOwner->mPlug.get();
    {
      IPlugBase::IMutexLock lock(sound);
      if (!sound->LoadProgramFromChunk(&program)) return;
      for (int i = 0; i < sound->NParams(); ++i)
        if (!LV2IsMeter(sound->GetParam(i))) mOwner->ToHost({HostEvent::kValue, {}, i, sound->GetParam(i)->Value()});
    }
    mOwner->RequestFlush();
    if (const clap_host_t* host = mOwner->mHost)
      if (const clap_host_state_t* state = (const clap_host_state_t*)host->get_extension(host, CLAP_EXT_STATE))
        state->mark_dirty(host);
  }

  bool SendMidiMsg(IMidiMsg* msg) override
  {
    if (!msg) return false;
    IPlugBase::IMutexLock lock(mOwner->mPlug.get());
    mOwner->ToHost({HostEvent::kMidi, {msg->mStatus, msg->mData1, msg->mData2}, -1, 0.0});
    return true;
  }

  // The host moved a parameter: the panel follows without telling anyone.
  void Follow(int idx, double value)
  {
    IParam* param = mPanel->GetParam(idx);
    if (!param) return;
    {
      IPlugBase::IMutexLock lock(mPanel);
      param->Set(value);
      mPanel->OnParamChange(idx);
    }
    if (IPlugGUI* gui = mPanel->GetGUI()) gui->SetParameterFromPlug(idx, value, false);
  }
  void ShowMeter(int idx, double position)
  {
    if (IPlugGUI* gui = mPanel->GetGUI()) gui->SetParameterFromPlug(idx, std::clamp(position, 0.0, 1.0), true);
  }

  IPlugStandalone* Panel() const { return mPanel; }
  IKeyTable* Keys() const { return mKeys; }

private:
  void Queue(HostEvent::EKind kind, int idx)
  {
    const IParam* param = mOwner->mPlug->GetParam(idx);
    if (!param || LV2IsMeter(param)) return;
    {
      IPlugBase::IMutexLock lock(mOwner->mPlug.get());
      mOwner->ToHost({kind, {}, idx, 0.0});
    }
    mOwner->RequestFlush();
  }

  IPlugCLAP* mOwner;
  IPlugStandalone* mPanel;
  IKeyTable* mKeys;
};

IPlugCLAP::IPlugCLAP(IPlugStandalone* sound, const clap_host_t* host)
    : mPlug(sound), mKeys(dynamic_cast<IKeyTable*>(sound)), mHost(host),
      mMeterValues(new double[(size_t)sound->NParams()]()), mMetersShown(new double[(size_t)sound->NParams()]())
{
  mPlug->HostIn(this, kAPICLAP);
  mPlug->SetHost(host && host->name ? host->name : "", 0);
  if (host) mHostParamsExt = (const clap_host_params_t*)host->get_extension(host, CLAP_EXT_PARAMS);
  for (int i = 0; i < mPlug->NParams(); ++i)
    if (!LV2IsMeter(mPlug->GetParam(i))) mHostParams.push_back(i);
  mPlug->RestorePreset(0);
}

IPlugCLAP::~IPlugCLAP() = default;

int IPlugCLAP::ParamOfId(clap_id id) const
{
  const int idx = (int)id - LV2ParamPort(0, mPlug->NOutChannels());
  const IParam* param = mPlug->GetParam(idx);
  return id <= (clap_id)INT32_MAX && param && !LV2IsMeter(param) ? idx : -1;
}

clap_id IPlugCLAP::IdOfParam(int paramIdx) const { return (clap_id)LV2ParamPort(paramIdx, mPlug->NOutChannels()); }

bool IPlugCLAP::Activate(double rate, uint32_t maxFrames)
{
  if (!(rate >= 1.0) || maxFrames < 1) return false;
  // The instrument's blocks stay within the framework's largest, whatever
  // the host's calls may bring (process splits longer ones).
  mBlock = (int)std::min<uint32_t>(maxFrames, (uint32_t)kMaxSignalVectorSize);
  for (std::unique_ptr<double[]>& s : mScratch) s.reset(new double[(size_t)mBlock]());
  {
    IPlugBase::IMutexLock lock(mPlug.get());
    mConverting = mSameSound && mRate.Setup(rate);
    mPlug->SetBlockSize(mBlock);
    mPlug->SetSampleRate(mConverting ? IRateAdapter::kInstrumentRate : rate);
    mPlug->Reset();
    mInput.Reset();
  }
  mPlug->OnActivate(true);
  mActive = true;
  return true;
}

void IPlugCLAP::Deactivate()
{
  mPlug->OnActivate(false);
  mActive = false;
}

void IPlugCLAP::Reset()
{
  IPlugBase::IMutexLock lock(mPlug.get());
  mPlug->OnActivate(true);
  mInput.Reset();
  mRate.Reset();
}

void IPlugCLAP::RequestFlush()
{
  if (mHostParamsExt && mHostParamsExt->request_flush) mHostParamsExt->request_flush(mHost);
}

void IPlugCLAP::ToHost(const HostEvent& ev)
{
  if (mToHostCount < kQueueSize)
    mToHost[mToHostCount++] = ev;
  else if (ev.mKind != HostEvent::kMidi)
    mHostBehind = true; // the host reads every value again (a lost note is only lost)
}

void IPlugCLAP::SetMeterForHost(int paramIdx, double value)
{
  if (paramIdx >= 0 && paramIdx < mPlug->NParams()) mMeterValues[(size_t)paramIdx] = value;
}

clap_id IPlugCLAP::SameSoundId() const { return (clap_id)LV2SameSoundPort(mPlug->NParams(), mPlug->NOutChannels()); }

void IPlugCLAP::SetSameSound(bool on)
{
  if (on == mSameSound) return;
  mSameSound = on;
  // The instrument's rate changes with a new activation only: the host is
  // asked for one when it would change anything.
  if (mActive && mHost && (on != mConverting) && (!on || mRate.Active())) mHost->request_restart(mHost);
}

void IPlugCLAP::ApplyHostValue(const clap_event_header_t* header)
{
  if (header->size < sizeof(clap_event_param_value_t)) return;
  const clap_event_param_value_t* ev = (const clap_event_param_value_t*)header;
  if (ev->param_id == SameSoundId() && std::isfinite(ev->value)) return SetSameSound(ev->value >= 0.5);
  const int idx = ParamOfId(ev->param_id);
  if (idx < 0 || !std::isfinite(ev->value)) return;
  // A host may send anything: the parameter keeps to its range.
  IParam* param = mPlug->GetParam(idx);
  double lo, hi;
  param->GetBounds(&lo, &hi);
  param->Set(std::clamp(ev->value, lo, hi));
  mPlug->OnParamChange(idx);
  if (mToPanelCount < kQueueSize)
    mToPanel[mToPanelCount++] = {idx, param->Value()};
  else
    mPanelBehind = true;
}

void IPlugCLAP::SendToHost(const clap_output_events_t* out, IMidiInput::IBlockSink* sink)
{
  // The panel's keyboard plays at the block's start; its gestures and values
  // go to the host at the same time.
  for (int i = 0; i < mToHostCount; ++i)
  {
    const HostEvent& e = mToHost[i];
    if (e.mKind == HostEvent::kMidi)
    {
      if (sink) mInput.Input(0, IMidiMsg(0, e.mMidi[0], e.mMidi[1], e.mMidi[2]), sink);
      continue;
    }
    if (!out) continue;
    if (e.mKind == HostEvent::kValue)
    {
      clap_event_param_value_t v = {};
      v.header = {sizeof(v), 0, CLAP_CORE_EVENT_SPACE_ID, CLAP_EVENT_PARAM_VALUE, 0};
      v.param_id = IdOfParam(e.mParam);
      v.note_id = -1;
      v.port_index = v.channel = v.key = -1;
      v.value = e.mValue;
      out->try_push(out, &v.header);
    }
    else
    {
      clap_event_param_gesture_t g = {};
      g.header = {
          sizeof(g), 0, CLAP_CORE_EVENT_SPACE_ID,
          (uint16_t)(e.mKind == HostEvent::kBegin ? CLAP_EVENT_PARAM_GESTURE_BEGIN : CLAP_EVENT_PARAM_GESTURE_END), 0};
      g.param_id = IdOfParam(e.mParam);
      out->try_push(out, &g.header);
    }
  }
  mToHostCount = 0;
}

void IPlugCLAP::RenderFrames(float* const* outs, uint32_t start, uint32_t end)
{
  double* scratch[2] = {mScratch[0].get(), mScratch[1].get()};
  RenderForHost(mPlug.get(), scratch, mBlock, outs, (int)start, (int)end, mConverting ? &mRate : nullptr);
}

namespace
{
// A note of CLAP's own dialect as the MIDI message the instrument plays:
// the velocity 0..1 to 1..127 (a note-on is never a note-off in disguise).
bool NoteAsMidi(const clap_event_header_t* header, IMidiMsg* msg)
{
  if (header->size < sizeof(clap_event_note_t)) return false;
  const clap_event_note_t* ev = (const clap_event_note_t*)header;
  if (ev->key < 0 || ev->key > 127 || ev->channel > 15) return false;
  const uint8_t channel = (uint8_t)std::max<int16_t>(ev->channel, 0);
  if (header->type == CLAP_EVENT_NOTE_ON)
  {
    const double v = std::isfinite(ev->velocity) ? ev->velocity : 0.0;
    const int velocity = std::clamp((int)std::lround(v * 127.0), 1, 127);
    *msg = IMidiMsg(0, (uint8_t)(0x90 | channel), (uint8_t)ev->key, (uint8_t)velocity);
  }
  else
    *msg = IMidiMsg(0, (uint8_t)(0x80 | channel), (uint8_t)ev->key, 64);
  return true;
}

// A note-off or choke for any key (key -1), as hosts send at a stop.
bool IsEveryNoteOff(const clap_event_header_t* header)
{
  return header->type != CLAP_EVENT_NOTE_ON && header->size >= sizeof(clap_event_note_t) &&
         ((const clap_event_note_t*)header)->key == -1 && ((const clap_event_note_t*)header)->channel <= 15;
}
} // namespace

clap_process_status IPlugCLAP::Process(const clap_process_t* process)
{
  IPlugBase::IMutexLock lock(mPlug.get());
  if (!mActive) return CLAP_PROCESS_ERROR;
  const uint32_t nFrames = process->frames_count;
  mOutputs = nullptr;
  if (process->audio_outputs_count >= 1 && process->audio_outputs[0].channel_count >= 2)
    mOutputs = process->audio_outputs[0].data32;

  struct Pieces : IMidiInput::IBlockSink
  {
    IPlugCLAP* mOwner;
    Pieces(IPlugCLAP* owner) : IBlockSink(owner->mPlug.get()), mOwner(owner) {}
    void Render(int from, int to) override { mOwner->RenderFrames(mOwner->mOutputs, (uint32_t)from, (uint32_t)to); }
  } pieces(this);
  // At another rate the block's events act at their instrument samples.
  const int nInst = mConverting ? mRate.Begin((int)nFrames) : (int)nFrames;
  auto at = [&](uint32_t frame) { return mConverting ? mRate.InstrumentFrame((int)frame) : (int)frame; };
  SendToHost(process->out_events, &pieces);

  const clap_input_events_t* in = process->in_events;
  const uint32_t count = in ? in->size(in) : 0;
  uint32_t last = 0;
  for (uint32_t i = 0; i < count; ++i)
  {
    const clap_event_header_t* header = in->get(in, i);
    if (!header || header->space_id != CLAP_CORE_EVENT_SPACE_ID) continue;
    // Events out of order or beyond the block are taken as late as allowed.
    last = std::clamp<uint32_t>(header->time, last, nFrames ? nFrames - 1 : 0);
    IMidiMsg msg;
    switch (header->type)
    {
    case CLAP_EVENT_NOTE_ON:
    case CLAP_EVENT_NOTE_OFF:
    case CLAP_EVENT_NOTE_CHOKE:
      if (NoteAsMidi(header, &msg))
        mInput.Input(at(last), msg, &pieces);
      else if (IsEveryNoteOff(header))
        // Every key of the channel (of every channel for -1): all notes off.
        for (int ch = 0; ch < 16; ++ch)
          if (((const clap_event_note_t*)header)->channel < 0 || ((const clap_event_note_t*)header)->channel == ch)
            mInput.Input(at(last), IMidiMsg(0, (uint8_t)(0xB0 | ch), 123, 0), &pieces);
      break;
    case CLAP_EVENT_MIDI:
    {
      if (header->size < sizeof(clap_event_midi_t)) break;
      const uint8_t* data = ((const clap_event_midi_t*)header)->data;
      if (data[0] < 0x80 || data[0] >= 0xF0) break; // channel messages only
      mInput.Input(at(last), IMidiMsg(0, data[0], data[1] & 0x7F, data[2] & 0x7F), &pieces);
      break;
    }
    case CLAP_EVENT_PARAM_VALUE:
      // The frames before the change sound with the value before it.
      pieces.CatchUp(&mInput, at(last));
      ApplyHostValue(header);
      break;
    default:
      break;
    }
  }
  pieces.Finish(&mInput, nInst);
  if (mConverting)
  {
    IRateAdapter::IFloatChannels out(mOutputs);
    mRate.End(&out);
  }
  mOutputs = nullptr;
  return CLAP_PROCESS_CONTINUE;
}

void IPlugCLAP::Flush(const clap_input_events_t* in, const clap_output_events_t* out)
{
  IPlugBase::IMutexLock lock(mPlug.get());
  const uint32_t count = in ? in->size(in) : 0;
  for (uint32_t i = 0; i < count; ++i)
  {
    const clap_event_header_t* header = in->get(in, i);
    if (header && header->space_id == CLAP_CORE_EVENT_SPACE_ID && header->type == CLAP_EVENT_PARAM_VALUE)
      ApplyHostValue(header);
  }
  // The panel's notes wait for a process; its gestures and values go now.
  const int waiting = mToHostCount;
  HostEvent notes[kQueueSize];
  int nNotes = 0;
  for (int i = 0; i < waiting; ++i)
    if (mToHost[i].mKind == HostEvent::kMidi) notes[nNotes++] = mToHost[i];
  SendToHost(out, nullptr);
  std::copy(notes, notes + nNotes, mToHost);
  mToHostCount = nNotes;
}

bool IPlugCLAP::GetParamInfo(uint32_t index, clap_param_info_t* info) const
{
  if (index >= NumHostParams() || !info) return false;
  if (index == mHostParams.size())
  {
    memset(info, 0, sizeof(*info));
    info->id = SameSoundId();
    info->flags = CLAP_PARAM_IS_STEPPED; // a setting of the project, not a sound to automate
    snprintf(info->name, sizeof(info->name), "%s", kSameSoundName);
    info->min_value = 0.0;
    info->max_value = info->default_value = 1.0;
    return true;
  }
  const int idx = mHostParams[index];
  const IParam* param = mPlug->GetParam(idx);
  memset(info, 0, sizeof(*info));
  info->id = IdOfParam(idx);
  info->flags = CLAP_PARAM_IS_AUTOMATABLE;
  if (param->Type() != IParam::kTypeDouble) info->flags |= CLAP_PARAM_IS_STEPPED;
  snprintf(info->name, sizeof(info->name), "%s", param->GetNameForHost());
  snprintf(info->module, sizeof(info->module), "%s", param->GetParamGroupForHost());
  param->GetBounds(&info->min_value, &info->max_value);
  info->default_value = param->GetDefault();
  return true;
}

bool IPlugCLAP::GetParamValue(clap_id id, double* value)
{
  if (id == SameSoundId() && value)
  {
    IPlugBase::IMutexLock lock(mPlug.get());
    *value = mSameSound ? 1.0 : 0.0;
    return true;
  }
  const int idx = ParamOfId(id);
  if (idx < 0 || !value) return false;
  IPlugBase::IMutexLock lock(mPlug.get());
  *value = mPlug->GetParam(idx)->Value();
  return true;
}

bool IPlugCLAP::ValueToText(clap_id id, double value, char* text, uint32_t size) const
{
  if (id == SameSoundId() && text && size)
  {
    snprintf(text, size, "%s", value >= 0.5 ? "On" : "Off");
    return true;
  }
  const int idx = ParamOfId(id);
  if (idx < 0 || !text || size == 0 || !std::isfinite(value)) return false;
  const IParam* param = mPlug->GetParam(idx);
  char display[128];
  param->GetDisplayForHost(value, false, display);
  const char* label = param->GetDisplayText((int)value)[0] ? "" : param->GetLabelForHost();
  snprintf(text, size, "%s%s%s", display, *label ? " " : "", label);
  return true;
}

bool IPlugCLAP::TextToValue(clap_id id, const char* text, double* value) const
{
  if (id == SameSoundId() && text && value && (!strcasecmp(text, "On") || !strcasecmp(text, "Off")))
  {
    *value = strcasecmp(text, "On") ? 0.0 : 1.0;
    return true;
  }
  const int idx = ParamOfId(id);
  if (idx < 0 || !text || !value) return false;
  const IParam* param = mPlug->GetParam(idx);
  int mapped;
  if (param->MapDisplayText(text, &mapped))
  {
    *value = mapped;
    return true;
  }
  char* end = nullptr;
  double v = strtod(text, &end);
  if (end == text || !std::isfinite(v)) return false;
  if (param->DisplayIsNegated()) v = -v;
  double lo, hi;
  param->GetBounds(&lo, &hi);
  *value = std::clamp(v, lo, hi);
  return true;
}

namespace
{
// After the program's bytes, the setting when it is off.
constexpr char kNativeRateLine[] = "\nsame sound at every rate = off\n";
} // namespace

void IPlugCLAP::SaveState(ByteChunk* chunk)
{
  IPlugBase::IMutexLock lock(mPlug.get());
  mPlug->MakeProgramFXP(chunk, mPlug->GetPresetName(mPlug->GetCurrentPresetIdx()));
  if (!mSameSound) chunk->PutBytes(kNativeRateLine, (int)strlen(kNativeRateLine));
}

bool IPlugCLAP::RestoreState(const unsigned char* data, int size)
{
  ByteChunk c;
  if (size < 0 || c.PutBytes(data, size) != size) return false;
  {
    IPlugBase::IMutexLock lock(mPlug.get());
    ByteChunk program;
    mPlug->MakeProgramFXP(&program, "");
    const int programSize = program.Size(), lineSize = (int)strlen(kNativeRateLine);
    if (!mPlug->LoadProgramFromChunk(&c)) return false;
    SetSameSound(!(size == programSize + lineSize && !memcmp(data + programSize, kNativeRateLine, (size_t)lineSize)));
    // What the host moved before is superseded: the panel takes the program.
    mToPanelCount = 0;
    mPanelBehind = true;
  }
  if (mHostParamsExt && mHostParamsExt->rescan) mHostParamsExt->rescan(mHost, CLAP_PARAM_RESCAN_VALUES);
  if (mPanel) mPanel->Panel()->OnProgramNamedByHost(mPlug->GetPresetName(mPlug->GetCurrentPresetIdx()));
  PanelIdle();
  return true;
}

void IPlugCLAP::AttachPanel(IPlugStandalone* panelSide)
{
  if (mPanel) mPanel->Panel()->HostIn(nullptr, kAPICLAP);
  mPanel.reset(panelSide ? new PanelLink(this, panelSide) : nullptr);
  if (!panelSide) return;
  panelSide->HostIn(mPanel.get(), kAPICLAP);
  panelSide->SetHost(mHost && mHost->name ? mHost->name : "", 0);
  {
    IPlugBase::IMutexLock lock(mPlug.get());
    mPanelBehind = true;
    memset(mPanelNotes, 0xFF, sizeof(mPanelNotes)); // the keys are shown at the first frame
  }
  panelSide->OnProgramNamedByHost(mPlug->GetPresetName(mPlug->GetCurrentPresetIdx()));
  PanelIdle();
}

void IPlugCLAP::PanelIdle()
{
  // What the panel follows, taken under the mutex and shown after it: the
  // host's moves, or every value afresh when they ran over the queue.
  PanelMove moves[kQueueSize];
  int nMoves = 0;
  uint8_t notes[kKeyTableBytes] = {};
  bool rescan = false;
  const int n = mPlug->NParams();
  {
    IPlugBase::IMutexLock lock(mPlug.get());
    if (mPanelBehind)
      for (int i : mHostParams) moves[nMoves++] = {i, mPlug->GetParam(i)->Value()};
    else
      nMoves = mToPanelCount, std::copy(mToPanel, mToPanel + mToPanelCount, moves);
    mToPanelCount = 0;
    mPanelBehind = false;
    rescan = mHostBehind;
    mHostBehind = false;
    if (mKeys) mKeys->GetHeldNotes(notes);
    std::copy(mMeterValues.get(), mMeterValues.get() + n, mMetersShown.get());
  }
  if (rescan && mHostParamsExt && mHostParamsExt->rescan) mHostParamsExt->rescan(mHost, CLAP_PARAM_RESCAN_VALUES);
  if (!mPanel) return;
  for (int i = 0; i < nMoves; ++i) mPanel->Follow(moves[i].mParam, moves[i].mValue);
  for (int i = 0; i < n; ++i)
    if (LV2IsMeter(mPlug->GetParam(i))) mPanel->ShowMeter(i, mMetersShown[(size_t)i]);
  if (mPanel->Keys() && memcmp(notes, mPanelNotes, sizeof(notes)))
  {
    memcpy(mPanelNotes, notes, sizeof(notes));
    mPanel->Keys()->SetHeldNotes(notes);
  }
}
