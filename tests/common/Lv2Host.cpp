#include "Lv2Host.h"

#include <lilv/lilv.h>
#include <lv2/atom/atom.h>
#include <lv2/atom/util.h>
#include <lv2/buf-size/buf-size.h>
#include <lv2/core/lv2.h>
#include <lv2/log/log.h>
#include <lv2/midi/midi.h>
#include <lv2/options/options.h>
#include <lv2/presets/presets.h>
#include <lv2/state/state.h>
#include <lv2/urid/urid.h>

#include <cmath>
#include <cstdarg>
#include <cstring>
#include <map>
#include <mutex>

// One URID map for the whole test program, shared by instances on any thread.
struct UridMap
{
  std::mutex mLock;
  std::map<std::string, LV2_URID> mIds;
  std::vector<std::string> mUris{""};
  LV2_URID_Map mMap{this, Map};
  LV2_URID_Unmap mUnmap{this, Unmap};

  static LV2_URID Map(LV2_URID_Map_Handle h, const char* uri)
  {
    UridMap* m = (UridMap*)h;
    std::lock_guard<std::mutex> g(m->mLock);
    auto it = m->mIds.find(uri);
    if (it != m->mIds.end()) return it->second;
    m->mUris.push_back(uri);
    return m->mIds[uri] = (LV2_URID)(m->mUris.size() - 1);
  }
  static const char* Unmap(LV2_URID_Unmap_Handle h, LV2_URID id)
  {
    UridMap* m = (UridMap*)h;
    std::lock_guard<std::mutex> g(m->mLock);
    return id < m->mUris.size() ? m->mUris[id].c_str() : nullptr;
  }
};

static UridMap& Urids()
{
  static UridMap map;
  return map;
}
static LV2_URID U(const char* uri) { return UridMap::Map(&Urids(), uri); }

struct Lv2Host::World
{
  LilvWorld* world = nullptr;
  const LilvPlugin* plugin = nullptr;
  ~World() { lilv_world_free(world); }
};

Lv2Host::Lv2Host(const char* pluginURI) : mWorld(new World)
{
  mWorld->world = lilv_world_new();
  lilv_world_load_all(mWorld->world);
  LilvNode* uri = lilv_new_uri(mWorld->world, pluginURI);
  mWorld->plugin = lilv_plugins_get_by_uri(lilv_world_get_all_plugins(mWorld->world), uri);
  lilv_node_free(uri);
}

Lv2Host::~Lv2Host() {}

bool Lv2Host::Found() const { return mWorld->plugin != nullptr; }
int Lv2Host::NumPorts() const { return (int)lilv_plugin_get_num_ports(mWorld->plugin); }

std::string Lv2Host::PortSymbol(int index) const
{
  const LilvPort* p = lilv_plugin_get_port_by_index(mWorld->plugin, (uint32_t)index);
  return lilv_node_as_string(lilv_port_get_symbol(mWorld->plugin, p));
}

std::string Lv2Host::PortName(int index) const
{
  const LilvPort* p = lilv_plugin_get_port_by_index(mWorld->plugin, (uint32_t)index);
  LilvNode* n = lilv_port_get_name(mWorld->plugin, p);
  std::string s = n ? lilv_node_as_string(n) : "";
  lilv_node_free(n);
  return s;
}

bool Lv2Host::PortRange(int index, float* def, float* min, float* max) const
{
  const LilvPort* p = lilv_plugin_get_port_by_index(mWorld->plugin, (uint32_t)index);
  LilvNode *d = nullptr, *lo = nullptr, *hi = nullptr;
  lilv_port_get_range(mWorld->plugin, p, &d, &lo, &hi);
  const bool ok = d && lo && hi;
  if (ok) *def = lilv_node_as_float(d), *min = lilv_node_as_float(lo), *max = lilv_node_as_float(hi);
  lilv_node_free(d), lilv_node_free(lo), lilv_node_free(hi);
  return ok;
}

std::vector<std::string> Lv2Host::PresetURIs() const
{
  std::vector<std::string> uris;
  LilvNode* presetClass = lilv_new_uri(mWorld->world, LV2_PRESETS__Preset);
  LilvNodes* presets = lilv_plugin_get_related(mWorld->plugin, presetClass);
  LILV_FOREACH(nodes, i, presets) uris.push_back(lilv_node_as_uri(lilv_nodes_get(presets, i)));
  lilv_nodes_free(presets);
  lilv_node_free(presetClass);
  return uris;
}

struct Lv2Host::Instance::Impl
{
  World* world = nullptr;
  LilvInstance* instance = nullptr;
  int32_t maxBlock = 0;
  LV2_Options_Option options[2] = {};
  LV2_Feature mapFeature{LV2_URID__map, &Urids().mMap};
  LV2_Feature unmapFeature{LV2_URID__unmap, &Urids().mUnmap};
  LV2_Feature optionsFeature{LV2_OPTIONS__options, options};
  LV2_Log_Log log{};
  LV2_Feature logFeature{LV2_LOG__log, &log};
  const LV2_Feature* features[5] = {&mapFeature, &unmapFeature, &optionsFeature, &logFeature, nullptr};
  std::vector<float> controls;
  std::map<std::string, uint32_t> symbols;
  std::vector<uint64_t> atomBuffer;   // 8-byte aligned
  std::vector<uint64_t> notifyBuffer; // what the plug-in tells its panel, dropped
  std::vector<float> left, right;
  LV2_URID sequenceType = U(LV2_ATOM__Sequence), midiType = U(LV2_MIDI__MidiEvent);
};

static int LogPrintf(LV2_Log_Handle h, LV2_URID, const char* fmt, ...)
{
  char buf[512];
  va_list ap;
  va_start(ap, fmt);
  const int n = vsnprintf(buf, sizeof(buf), fmt, ap);
  va_end(ap);
  *(std::string*)h += buf;
  return n;
}

static int LogVprintf(LV2_Log_Handle h, LV2_URID, const char* fmt, va_list ap)
{
  char buf[512];
  const int n = vsnprintf(buf, sizeof(buf), fmt, ap);
  *(std::string*)h += buf;
  return n;
}

std::unique_ptr<Lv2Host::Instance> Lv2Host::Instantiate(double rate, int maxBlock)
{
  std::unique_ptr<Instance> in(new Instance);
  in->mImpl.reset(new Instance::Impl);
  Instance::Impl& m = *in->mImpl;
  m.world = mWorld.get();
  m.maxBlock = maxBlock;
  if (maxBlock > 0)
    m.options[0] = {LV2_OPTIONS_INSTANCE, 0,          U(LV2_BUF_SIZE__maxBlockLength), sizeof(int32_t),
                    U(LV2_ATOM__Int),     &m.maxBlock};
  m.log = {&in->mLog, LogPrintf, LogVprintf};
  m.instance = lilv_plugin_instantiate(mWorld->plugin, rate, m.features);
  if (!m.instance) return nullptr;
  const uint32_t n = lilv_plugin_get_num_ports(mWorld->plugin);
  m.controls.assign(n, 0.0f);
  std::vector<float> defaults(n, 0.0f);
  lilv_plugin_get_port_ranges_float(mWorld->plugin, nullptr, nullptr, defaults.data());
  m.atomBuffer.assign(Instance::kAtomBufferBytes / 8, 0);
  m.notifyBuffer.assign(512, 0);
  // The host's own buffers hold the longest run it makes, 8192 at most,
  // whatever it promises the plug-in.
  const size_t bufFrames = maxBlock > 0 && maxBlock < 8192 ? (size_t)maxBlock : 8192;
  m.left.assign(bufFrames, 0.0f);
  m.right.assign(bufFrames, 0.0f);
  // Ports by their classes, so that other instruments load too: the atom
  // input takes the MIDI, the atom output the notifications, the first two
  // audio outputs the two channels.
  LilvWorld* w = mWorld->world;
  LilvNode *audio = lilv_new_uri(w, LV2_CORE__AudioPort), *atom = lilv_new_uri(w, LV2_ATOM__AtomPort);
  LilvNode* input = lilv_new_uri(w, LV2_CORE__InputPort);
  int audioOuts = 0;
  for (uint32_t i = 0; i < n; ++i)
  {
    m.symbols[PortSymbol((int)i)] = i;
    const LilvPort* port = lilv_plugin_get_port_by_index(mWorld->plugin, i);
    const bool in = lilv_port_is_a(mWorld->plugin, port, input);
    if (lilv_port_is_a(mWorld->plugin, port, atom))
      lilv_instance_connect_port(m.instance, i, in ? (void*)m.atomBuffer.data() : (void*)m.notifyBuffer.data());
    else if (lilv_port_is_a(mWorld->plugin, port, audio) && !in && audioOuts < 2)
      lilv_instance_connect_port(m.instance, i, audioOuts++ ? m.right.data() : m.left.data());
    else
    {
      m.controls[i] = std::isnan(defaults[i]) ? 0.0f : defaults[i];
      lilv_instance_connect_port(m.instance, i, &m.controls[i]);
    }
  }
  lilv_node_free(audio), lilv_node_free(atom), lilv_node_free(input);
  in->Activate();
  return in;
}

Lv2Host::Instance::~Instance()
{
  if (mImpl && mImpl->instance)
  {
    lilv_instance_deactivate(mImpl->instance);
    lilv_instance_free(mImpl->instance);
  }
}

void Lv2Host::Instance::Activate() { lilv_instance_activate(mImpl->instance); }

void Lv2Host::Instance::Deactivate() { lilv_instance_deactivate(mImpl->instance); }

void Lv2Host::Instance::SetControl(const std::string& symbol, float value)
{
  mImpl->controls[mImpl->symbols.at(symbol)] = value;
}

float Lv2Host::Instance::Control(const std::string& symbol) const { return mImpl->controls[mImpl->symbols.at(symbol)]; }

void Lv2Host::Instance::RunOnce(uint32_t nFrames, const std::vector<MidiAt>& events, long long blockStart)
{
  Impl& m = *mImpl;
  LV2_Atom_Sequence* seq = (LV2_Atom_Sequence*)m.atomBuffer.data();
  seq->atom.type = m.sequenceType;
  seq->atom.size = sizeof(LV2_Atom_Sequence_Body);
  seq->body.unit = 0;
  seq->body.pad = 0;
  for (const MidiAt& e : events)
  {
    struct
    {
      LV2_Atom_Event ev;
      uint8_t bytes[8];
    } item = {};
    item.ev.time.frames = e.mSample - blockStart;
    item.ev.body.type = m.midiType;
    item.ev.body.size = (uint32_t)e.mSize;
    memcpy(item.bytes, e.mBytes, (size_t)e.mSize);
    if (!lv2_atom_sequence_append_event(seq, kAtomBufferBytes - sizeof(LV2_Atom), &item.ev)) break;
  }
  ((LV2_Atom*)m.notifyBuffer.data())->size = (uint32_t)(m.notifyBuffer.size() * 8 - sizeof(LV2_Atom));
  lilv_instance_run(m.instance, nFrames);
}

StereoRender Lv2Host::Instance::Render(const std::vector<MidiAt>& events, long long total,
                                       const std::function<int()>& nextBlock)
{
  size_t next = 0;
  return RenderInBlocks(total, nextBlock, mImpl->left, mImpl->right,
                        [&](long long n, long long pos)
                        { RunOnce((uint32_t)n, EventsBefore(events, &next, pos + n), pos); });
}

namespace
{
struct StateStore
{
  std::vector<uint8_t>* bytes;
  uint32_t type = 0;
};

LV2_State_Status Store(LV2_State_Handle h, uint32_t, const void* value, size_t size, uint32_t type, uint32_t)
{
  StateStore* s = (StateStore*)h;
  s->bytes->assign((const uint8_t*)value, (const uint8_t*)value + size);
  s->type = type;
  return LV2_STATE_SUCCESS;
}

const void* Retrieve(LV2_State_Handle h, uint32_t, size_t* size, uint32_t* type, uint32_t* flags)
{
  StateStore* s = (StateStore*)h;
  *size = s->bytes->size();
  *type = U(LV2_ATOM__Chunk);
  *flags = LV2_STATE_IS_POD | LV2_STATE_IS_PORTABLE;
  return s->bytes->data();
}

void SetPortValue(const char* symbol, void* user, const void* value, uint32_t size, uint32_t type)
{
  Lv2Host::Instance* in = (Lv2Host::Instance*)user;
  if (size == sizeof(float) && type == U(LV2_ATOM__Float)) in->SetControl(symbol, *(const float*)value);
}
} // namespace

bool Lv2Host::Instance::SaveState(std::vector<uint8_t>* bytes)
{
  const LV2_State_Interface* iface =
      (const LV2_State_Interface*)lilv_instance_get_extension_data(mImpl->instance, LV2_STATE__interface);
  StateStore s{bytes};
  return iface &&
         iface->save(lilv_instance_get_handle(mImpl->instance), Store, &s, 0, mImpl->features) == LV2_STATE_SUCCESS;
}

bool Lv2Host::Instance::RestoreState(const std::vector<uint8_t>& bytes)
{
  const LV2_State_Interface* iface =
      (const LV2_State_Interface*)lilv_instance_get_extension_data(mImpl->instance, LV2_STATE__interface);
  std::vector<uint8_t> copy = bytes;
  StateStore s{&copy};
  return iface && iface->restore(lilv_instance_get_handle(mImpl->instance), Retrieve, &s, 0, mImpl->features) ==
                      LV2_STATE_SUCCESS;
}

bool Lv2Host::Instance::ApplyPreset(const std::string& uri)
{
  LilvWorld* world = mImpl->world->world;
  LilvNode* preset = lilv_new_uri(world, uri.c_str());
  lilv_world_load_resource(world, preset);
  LilvState* state = lilv_state_new_from_world(world, &Urids().mMap, preset);
  lilv_node_free(preset);
  if (!state) return false;
  lilv_state_restore(state, mImpl->instance, SetPortValue, this, 0, mImpl->features);
  lilv_state_free(state);
  return true;
}
