#include "ClapHost.h"

#include <clap/entry.h>
#include <clap/ext/params.h>
#include <clap/ext/state.h>
#include <clap/ext/timer-support.h>
#include <clap/plugin-factory.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstring>
#include <dlfcn.h>
#include <stdexcept>

ClapHost::ClapHost(const std::string& modulePath)
{
  mModule = dlopen(modulePath.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (!mModule) return;
  const clap_plugin_entry_t* entry = (const clap_plugin_entry_t*)dlsym(mModule, "clap_entry");
  if (!entry || !entry->init(modulePath.c_str())) return;
  mEntry = entry;
  mFactory = entry->get_factory(CLAP_PLUGIN_FACTORY_ID);
}

ClapHost::~ClapHost()
{
  if (mEntry) ((const clap_plugin_entry_t*)mEntry)->deinit();
  // The module stays loaded: its sanitizer reports name its functions.
}

bool ClapHost::Found() const
{
  const clap_plugin_factory_t* f = (const clap_plugin_factory_t*)mFactory;
  return f && f->get_plugin_count(f) == 1;
}

const clap_plugin_descriptor_t* ClapHost::Descriptor() const
{
  const clap_plugin_factory_t* f = (const clap_plugin_factory_t*)mFactory;
  return f ? f->get_plugin_descriptor(f, 0) : nullptr;
}

namespace
{
// The events of one call, in frame order, as the plug-in reads them.
struct EventList
{
  union Event
  {
    clap_event_header_t header;
    clap_event_midi_t midi;
    clap_event_note_t note;
    clap_event_param_value_t value;
  };
  std::vector<Event> events; // in the order added
  std::vector<const clap_event_header_t*> order;
  bool noteDialect = false;
  clap_input_events_t in = {this, Size, Get};

  void Add(const MidiAt& m, uint32_t frame)
  {
    Event e = {};
    const int status = m.mBytes[0] & 0xF0;
    if (noteDialect && (status == 0x80 || status == 0x90))
    {
      const bool on = status == 0x90 && m.mBytes[2];
      e.note.header = {sizeof(e.note), frame, CLAP_CORE_EVENT_SPACE_ID,
                       (uint16_t)(on ? CLAP_EVENT_NOTE_ON : CLAP_EVENT_NOTE_OFF), 0};
      e.note.note_id = -1;
      e.note.channel = m.mBytes[0] & 15;
      e.note.key = m.mBytes[1] > 127 ? -1 : m.mBytes[1]; // a key byte above 127 stands for every key
      e.note.velocity = on ? m.mBytes[2] / 127.0 : 0.5;
    }
    else
    {
      e.midi.header = {sizeof(e.midi), frame, CLAP_CORE_EVENT_SPACE_ID, CLAP_EVENT_MIDI, 0};
      memcpy(e.midi.data, m.mBytes, 3);
    }
    events.push_back(e);
  }
  void Add(const ParamAt& p, uint32_t frame)
  {
    Event e = {};
    e.value.header = {sizeof(e.value), frame, CLAP_CORE_EVENT_SPACE_ID, CLAP_EVENT_PARAM_VALUE, 0};
    e.value.param_id = p.mId;
    e.value.note_id = e.value.port_index = e.value.channel = e.value.key = -1;
    e.value.value = p.mValue;
    events.push_back(e);
  }
  // Parameters before notes at the same frame, the rest in the order given.
  const clap_input_events_t* Sorted()
  {
    order.clear();
    for (const Event& e : events) order.push_back(&e.header);
    std::stable_sort(order.begin(), order.end(),
                     [](auto a, auto b)
                     {
                       if (a->time != b->time) return a->time < b->time;
                       return a->type == CLAP_EVENT_PARAM_VALUE && b->type != CLAP_EVENT_PARAM_VALUE;
                     });
    return &in;
  }
  static uint32_t Size(const clap_input_events_t* list) { return (uint32_t)((EventList*)list->ctx)->order.size(); }
  static const clap_event_header_t* Get(const clap_input_events_t* list, uint32_t i)
  {
    return ((EventList*)list->ctx)->order[i];
  }
};
} // namespace

struct ClapHost::Instance::Impl
{
  clap_host_t host;
  const clap_plugin_t* plugin = nullptr;
  uint32_t maxBlock = 0;
  double rate = 0.0;
  std::vector<float> left, right;
  EventList events;
  std::vector<std::string> out;
  clap_output_events_t outEvents = {this, TryPush};
  int flushRequests = 0, rescans = 0, restarts = 0;
  clap_id timer = CLAP_INVALID_ID;
  std::atomic<bool>* watch = nullptr;
  uint32_t frames = 0; // of the last process

  static Impl* Of(const clap_host_t* h) { return (Impl*)h->host_data; }
  static bool TryPush(const clap_output_events_t* list, const clap_event_header_t* e)
  {
    Impl* impl = (Impl*)list->ctx;
    char text[64];
    if (e->type == CLAP_EVENT_PARAM_VALUE)
    {
      const clap_event_param_value_t* v = (const clap_event_param_value_t*)e;
      snprintf(text, sizeof(text), "value %u %.9g", v->param_id, v->value);
    }
    else if (e->type == CLAP_EVENT_PARAM_GESTURE_BEGIN || e->type == CLAP_EVENT_PARAM_GESTURE_END)
      snprintf(text, sizeof(text), "%s %u", e->type == CLAP_EVENT_PARAM_GESTURE_BEGIN ? "begin" : "end",
               ((const clap_event_param_gesture_t*)e)->param_id);
    else
      snprintf(text, sizeof(text), "event %u", e->type);
    impl->out.push_back(text);
    return true;
  }
  static const void* GetExtension(const clap_host_t*, const char* id)
  {
    static const clap_host_params_t params = {[](const clap_host_t* h, clap_param_rescan_flags) { ++Of(h)->rescans; },
                                              [](const clap_host_t*, clap_id, clap_param_clear_flags) {},
                                              [](const clap_host_t* h) { ++Of(h)->flushRequests; }};
    static const clap_host_state_t state = {[](const clap_host_t*) {}};
    static const clap_host_timer_support_t timers = {[](const clap_host_t* h, uint32_t, clap_id* id)
                                                     {
                                                       *id = Of(h)->timer = 1;
                                                       return true;
                                                     },
                                                     [](const clap_host_t* h, clap_id)
                                                     { return (Of(h)->timer = CLAP_INVALID_ID), true; }};
    if (!strcmp(id, CLAP_EXT_PARAMS)) return &params;
    if (!strcmp(id, CLAP_EXT_STATE)) return &state;
    if (!strcmp(id, CLAP_EXT_TIMER_SUPPORT)) return &timers;
    return nullptr;
  }
};

std::unique_ptr<ClapHost::Instance> ClapHost::Instantiate(double rate, uint32_t maxBlock)
{
  const clap_plugin_factory_t* f = (const clap_plugin_factory_t*)mFactory;
  if (!f) return nullptr;
  std::unique_ptr<Instance> in(new Instance);
  in->mImpl.reset(new Instance::Impl);
  Instance::Impl* impl = in->mImpl.get();
  impl->host = {CLAP_VERSION_INIT,
                impl,
                "VELTRA tests",
                "Quillmoor Instruments",
                "",
                "1.0",
                Instance::Impl::GetExtension,
                [](const clap_host_t* h) { ++Instance::Impl::Of(h)->restarts; },
                [](const clap_host_t*) {},
                [](const clap_host_t*) {}};
  impl->plugin = f->create_plugin(f, &impl->host, Descriptor()->id);
  if (!impl->plugin || !impl->plugin->init(impl->plugin)) return nullptr;
  impl->rate = rate;
  impl->maxBlock = maxBlock;
  impl->left.resize(maxBlock);
  impl->right.resize(maxBlock);
  in->Activate();
  return in;
}

ClapHost::Instance::~Instance()
{
  if (!mImpl || !mImpl->plugin) return;
  Deactivate();
  mImpl->plugin->destroy(mImpl->plugin);
}

const clap_plugin_t* ClapHost::Instance::Plugin() const { return mImpl->plugin; }
const void* ClapHost::Instance::Extension(const char* id) const { return Plugin()->get_extension(Plugin(), id); }

void ClapHost::Instance::Activate()
{
  if (!Plugin()->activate(Plugin(), mImpl->rate, 1, mImpl->maxBlock) || !Plugin()->start_processing(Plugin()))
    throw std::runtime_error("the plug-in cannot be activated");
}

void ClapHost::Instance::Deactivate()
{
  Plugin()->stop_processing(Plugin());
  Plugin()->deactivate(Plugin());
}

void ClapHost::Instance::ProcessOnce(uint32_t nFrames, const std::vector<MidiAt>& events, long long blockStart,
                                     const std::vector<ParamAt>& params)
{
  Impl* impl = mImpl.get();
  impl->events.events.clear();
  for (const MidiAt& m : events) impl->events.Add(m, (uint32_t)(m.mSample - blockStart));
  for (const ParamAt& p : params) impl->events.Add(p, (uint32_t)(p.mSample - blockStart));
  float* channels[2] = {impl->left.data(), impl->right.data()};
  clap_audio_buffer_t output = {};
  output.data32 = channels;
  output.channel_count = 2;
  clap_process_t process = {};
  process.steady_time = blockStart;
  process.frames_count = nFrames;
  process.audio_outputs = &output;
  process.audio_outputs_count = 1;
  process.in_events = impl->events.Sorted();
  process.out_events = &impl->outEvents;
  if (impl->watch) *impl->watch = true;
  const clap_process_status status = Plugin()->process(Plugin(), &process);
  if (impl->watch) *impl->watch = false;
  impl->frames = nFrames;
  if (status != CLAP_PROCESS_CONTINUE) throw std::runtime_error("process did not continue");
}

StereoRender ClapHost::Instance::Render(const std::vector<MidiAt>& events, long long total,
                                        const std::function<int()>& nextBlock, const std::vector<ParamAt>& params)
{
  size_t nextMidi = 0, nextParam = 0;
  return RenderInBlocks(total, nextBlock, mImpl->left, mImpl->right,
                        [&](long long n, long long pos)
                        {
                          ProcessOnce((uint32_t)n, EventsBefore(events, &nextMidi, pos + n), pos,
                                      EventsBefore(params, &nextParam, pos + n));
                        });
}

void ClapHost::Instance::Flush(const std::vector<ParamAt>& params)
{
  const clap_plugin_params_t* ext = (const clap_plugin_params_t*)Extension(CLAP_EXT_PARAMS);
  mImpl->events.events.clear();
  for (const ParamAt& p : params) mImpl->events.Add(p, 0);
  ext->flush(Plugin(), mImpl->events.Sorted(), &mImpl->outEvents);
}

std::vector<std::string> ClapHost::Instance::TakeOutEvents()
{
  std::vector<std::string> out;
  out.swap(mImpl->out);
  return out;
}

bool ClapHost::Instance::SaveState(std::vector<uint8_t>* bytes)
{
  const clap_plugin_state_t* state = (const clap_plugin_state_t*)Extension(CLAP_EXT_STATE);
  bytes->clear();
  // Written a few bytes at a time, as a host's stream may take them.
  clap_ostream_t stream = {bytes,
                           [](const clap_ostream_t* s, const void* data, uint64_t size) -> int64_t
                           {
                             const uint64_t n = std::min<uint64_t>(size, 1000);
                             std::vector<uint8_t>* b = (std::vector<uint8_t>*)s->ctx;
                             b->insert(b->end(), (const uint8_t*)data, (const uint8_t*)data + n);
                             return (int64_t)n;
                           }};
  return state->save(Plugin(), &stream);
}

bool ClapHost::Instance::RestoreState(const std::vector<uint8_t>& bytes)
{
  const clap_plugin_state_t* state = (const clap_plugin_state_t*)Extension(CLAP_EXT_STATE);
  std::pair<const std::vector<uint8_t>*, size_t> reader = {&bytes, 0};
  clap_istream_t stream = {&reader,
                           [](const clap_istream_t* s, void* data, uint64_t size) -> int64_t
                           {
                             auto* r = (std::pair<const std::vector<uint8_t>*, size_t>*)s->ctx;
                             const size_t n = std::min<size_t>({(size_t)size, r->first->size() - r->second, 777});
                             memcpy(data, r->first->data() + r->second, n);
                             r->second += n;
                             return (int64_t)n;
                           }};
  return state->load(Plugin(), &stream);
}

void ClapHost::Instance::WatchProcess(std::atomic<bool>* flag) { mImpl->watch = flag; }
void ClapHost::Instance::UseNoteDialect(bool on) { mImpl->events.noteDialect = on; }
float ClapHost::Instance::LastPeak() const
{
  float peak = 0.0f;
  for (uint32_t i = 0; i < mImpl->frames; ++i)
    peak = std::max({peak, std::fabs(mImpl->left[i]), std::fabs(mImpl->right[i])});
  return peak;
}

int ClapHost::Instance::FlushRequests() const { return mImpl->flushRequests; }
int ClapHost::Instance::Rescans() const { return mImpl->rescans; }
int ClapHost::Instance::Restarts() const { return mImpl->restarts; }
bool ClapHost::Instance::HasTimer() const { return mImpl->timer != CLAP_INVALID_ID; }
