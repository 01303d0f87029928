// The C entry of the CLAP plug-in: clap_entry, the one symbol the module
// exports, with its factory of one plug-in and the extensions a host asks
// for. The instrument supplies who it is, its sound and its panel
// (IPlugInstrument.h); the panel is the Xlib view that the LV2 panel uses,
// embedded in the host's window and driven by the host's timer.

#include "IGraphicsX11.h"
#include "IPlugCLAP.h"
#include "IPlugInstrument.h"
#include "lice_freetype.h"

#include <clap/entry.h>
#include <clap/ext/audio-ports.h>
#include <clap/ext/gui.h>
#include <clap/ext/latency.h>
#include <clap/ext/note-ports.h>
#include <clap/ext/state.h>
#include <clap/ext/timer-support.h>
#include <clap/plugin-factory.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <sys/stat.h>

namespace
{
// Where the panel's images and the program files lie: an installed module
// ($PREFIX/lib/clap/veltra.clap, or a link to it) finds them under
// $PREFIX/share/veltra, as the application does; a module of a build tree
// beside the programs of bin/.
std::string sResourceRoot;

bool IsFolder(const std::string& path)
{
  struct stat st;
  return !stat(path.c_str(), &st) && S_ISDIR(st.st_mode);
}

std::string FindResourceRoot(const char* modulePath)
{
  char real[PATH_MAX];
  std::string folder = modulePath && realpath(modulePath, real) ? real : "";
  folder = folder.substr(0, folder.find_last_of('/') + 1);
  for (const char* candidate : {"../../share/veltra", "../bin"})
    if (IsFolder(folder + candidate + "/resources/img")) return folder + candidate;
  return folder;
}

// The render extension of CLAP 1.1 ("clap.render"), which the API headers at
// hand leave out: the host tells whether it renders in real time or offline.
constexpr const char kRenderExtension[] = "clap.render";
struct RenderExtension
{
  bool (*has_hard_realtime_requirement)(const clap_plugin_t* plugin);
  bool (*set)(const clap_plugin_t* plugin, int32_t mode);
};

struct Plugin
{
  clap_plugin_t clap;
  const clap_host_t* host;
  std::unique_ptr<IPlugCLAP> adapter;
  // The panel while the host shows it: its side of the instrument owns the
  // view.
  std::unique_ptr<IPlugStandalone> panel;
  IGraphicsX11* view = nullptr;
  const clap_host_timer_support_t* timers = nullptr;
  clap_id timer = CLAP_INVALID_ID;
};

Plugin* Of(const clap_plugin_t* p) { return (Plugin*)p->plugin_data; }
IPlugCLAP* Adapter(const clap_plugin_t* p) { return Of(p)->adapter.get(); }

// The panel's frames: the view's events and drawing, then what the sound
// has for it.
constexpr uint32_t kFrameMs = 30;

void GuiDestroy(const clap_plugin_t* p)
{
  Plugin* plugin = Of(p);
  if (plugin->timer != CLAP_INVALID_ID && plugin->timers) plugin->timers->unregister_timer(plugin->host, plugin->timer);
  plugin->timer = CLAP_INVALID_ID;
  if (plugin->view) plugin->view->CloseWindow();
  plugin->adapter->AttachPanel(nullptr);
  plugin->panel.reset(); // with its view
  plugin->view = nullptr;
}

bool GuiIsApiSupported(const clap_plugin_t*, const char* api, bool floating)
{
  return api && !strcmp(api, CLAP_WINDOW_API_X11) && !floating;
}

bool GuiGetPreferredApi(const clap_plugin_t*, const char** api, bool* floating)
{
  *api = CLAP_WINDOW_API_X11;
  *floating = false;
  return true;
}

bool GuiCreate(const clap_plugin_t* p, const char* api, bool floating)
{
  Plugin* plugin = Of(p);
  if (!GuiIsApiSupported(p, api, floating) || plugin->panel || !plugin->timers) return false;
  LICE_InstallFreeTypeBackend();
  plugin->panel.reset(MakePluginPanel(sResourceRoot.c_str()));
  plugin->view = PluginPanelView(plugin->panel.get());
  if (!plugin->view || !plugin->timers->register_timer(plugin->host, kFrameMs, &plugin->timer))
  {
    plugin->timer = CLAP_INVALID_ID;
    plugin->panel.reset();
    plugin->view = nullptr;
    return false;
  }
  plugin->adapter->AttachPanel(plugin->panel.get());
  // A size chosen in the panel's menu: the host is asked to make room.
  const clap_host_t* host = plugin->host;
  const clap_host_gui_t* hostGui = (const clap_host_gui_t*)host->get_extension(host, CLAP_EXT_GUI);
  if (hostGui && hostGui->request_resize)
    plugin->view->SetResizeListener([host, hostGui](int w, int h)
                                    { hostGui->request_resize(host, (uint32_t)w, (uint32_t)h); });
  return true;
}

// The host's scale factor: followed unless the user chose a size.
bool GuiSetScale(const clap_plugin_t* p, double scale)
{
  Plugin* plugin = Of(p);
  if (!plugin->view || scale <= 0.0) return false;
  plugin->view->SetPanelSize(IGraphicsX11::StartPanelSize(scale));
  return true;
}

bool GuiGetSize(const clap_plugin_t* p, uint32_t* width, uint32_t* height)
{
  const Plugin* plugin = Of(p);
  if (!plugin->view) return false;
  *width = (uint32_t)plugin->view->PixelWidth();
  *height = (uint32_t)plugin->view->PixelHeight();
  return true;
}

// The panel comes in its four sizes: a host's resize snaps to the nearest.
bool GuiCanResize(const clap_plugin_t*) { return true; }

bool GuiGetResizeHints(const clap_plugin_t* p, clap_gui_resize_hints_t* hints)
{
  const Plugin* plugin = Of(p);
  if (!plugin->view) return false;
  hints->can_resize_horizontally = hints->can_resize_vertically = true;
  hints->preserve_aspect_ratio = true;
  hints->aspect_ratio_width = (uint32_t)plugin->view->Width();
  hints->aspect_ratio_height = (uint32_t)plugin->view->Height();
  return true;
}

// The size offered nearest a width and height in pixels.
int PanelSizeFor(const IGraphicsX11* view, uint32_t width, uint32_t height)
{
  const double factor = std::min((double)width / view->Width(), (double)height / view->Height());
  return NearestPanelSize(factor);
}

bool GuiAdjustSize(const clap_plugin_t* p, uint32_t* width, uint32_t* height)
{
  const Plugin* plugin = Of(p);
  if (!plugin->view) return false;
  const IPanelScale map(PanelSizeFor(plugin->view, *width, *height));
  *width = (uint32_t)map.Px(plugin->view->Width());
  *height = (uint32_t)map.Px(plugin->view->Height());
  return true;
}

// One of the sizes exactly (what adjust_size answered): the user resized the
// host's window, and the size is kept as the user's.
bool GuiSetSize(const clap_plugin_t* p, uint32_t width, uint32_t height)
{
  Plugin* plugin = Of(p);
  if (!plugin->view) return false;
  const int percent = PanelSizeFor(plugin->view, width, height);
  const IPanelScale map(percent);
  if ((uint32_t)map.Px(plugin->view->Width()) != width || (uint32_t)map.Px(plugin->view->Height()) != height)
    return false;
  if (percent == plugin->view->PanelSize()) return true;
  plugin->view->ChoosePanelSize(percent, false); // the host asked for it: not asked back
  return true;
}

bool GuiSetParent(const clap_plugin_t* p, const clap_window_t* window)
{
  Plugin* plugin = Of(p);
  if (!plugin->view || !window || !window->x11 || plugin->view->WindowIsOpen()) return false;
  return plugin->view->OpenWindow((void*)window->x11) != nullptr;
}

bool GuiSetTransient(const clap_plugin_t*, const clap_window_t*) { return false; }
void GuiSuggestTitle(const clap_plugin_t*, const char*) {}

bool GuiShow(const clap_plugin_t* p)
{
  Plugin* plugin = Of(p);
  if (!plugin->view || !plugin->view->WindowIsOpen()) return false;
  plugin->view->ShowWindow(true);
  return true;
}

bool GuiHide(const clap_plugin_t* p)
{
  Plugin* plugin = Of(p);
  if (!plugin->view || !plugin->view->WindowIsOpen()) return false;
  plugin->view->ShowWindow(false);
  return true;
}

void OnTimer(const clap_plugin_t* p, clap_id id)
{
  Plugin* plugin = Of(p);
  if (id != plugin->timer || !plugin->view) return;
  plugin->adapter->PanelIdle();
  plugin->view->Idle();
}

uint32_t AudioPortsCount(const clap_plugin_t*, bool isInput) { return isInput ? 0 : 1; }

bool AudioPortsGet(const clap_plugin_t*, uint32_t index, bool isInput, clap_audio_port_info_t* info)
{
  if (isInput || index != 0) return false;
  memset(info, 0, sizeof(*info));
  info->id = 0;
  snprintf(info->name, sizeof(info->name), "Output");
  info->flags = CLAP_AUDIO_PORT_IS_MAIN;
  info->channel_count = 2;
  info->port_type = CLAP_PORT_STEREO;
  info->in_place_pair = CLAP_INVALID_ID;
  return true;
}

uint32_t NotePortsCount(const clap_plugin_t*, bool isInput) { return isInput ? 1 : 0; }

bool NotePortsGet(const clap_plugin_t*, uint32_t index, bool isInput, clap_note_port_info_t* info)
{
  if (!isInput || index != 0) return false;
  memset(info, 0, sizeof(*info));
  info->id = 0;
  info->supported_dialects = CLAP_NOTE_DIALECT_CLAP | CLAP_NOTE_DIALECT_MIDI;
  info->preferred_dialect = CLAP_NOTE_DIALECT_MIDI;
  snprintf(info->name, sizeof(info->name), "MIDI In");
  return true;
}

uint32_t ParamsCount(const clap_plugin_t* p) { return Adapter(p)->NumHostParams(); }
bool ParamsGetInfo(const clap_plugin_t* p, uint32_t index, clap_param_info_t* info)
{
  return Adapter(p)->GetParamInfo(index, info);
}
bool ParamsGetValue(const clap_plugin_t* p, clap_id id, double* value) { return Adapter(p)->GetParamValue(id, value); }
bool ParamsValueToText(const clap_plugin_t* p, clap_id id, double value, char* text, uint32_t size)
{
  return Adapter(p)->ValueToText(id, value, text, size);
}
bool ParamsTextToValue(const clap_plugin_t* p, clap_id id, const char* text, double* value)
{
  return Adapter(p)->TextToValue(id, text, value);
}
void ParamsFlush(const clap_plugin_t* p, const clap_input_events_t* in, const clap_output_events_t* out)
{
  Adapter(p)->Flush(in, out);
}

bool StateSave(const clap_plugin_t* p, const clap_ostream_t* stream)
{
  ByteChunk chunk;
  Adapter(p)->SaveState(&chunk);
  const uint8_t* bytes = chunk.GetBytes();
  for (int64_t done = 0; done < chunk.Size();)
  {
    const int64_t n = stream->write(stream, bytes + done, (uint64_t)(chunk.Size() - done));
    if (n <= 0) return false;
    done += n;
  }
  return true;
}

bool StateLoad(const clap_plugin_t* p, const clap_istream_t* stream)
{
  // A program is a few kilobytes: a stream of more than a megabyte is not one.
  constexpr size_t kMost = 1 << 20;
  std::string bytes;
  char buffer[4096];
  for (;;)
  {
    const int64_t n = stream->read(stream, buffer, sizeof(buffer));
    if (n < 0) return false;
    if (n == 0) break;
    bytes.append(buffer, (size_t)n);
    if (bytes.size() > kMost) break;
  }
  if (bytes.size() <= kMost && Adapter(p)->RestoreState((const unsigned char*)bytes.data(), (int)bytes.size()))
    return true;
  fprintf(stderr, "%s: the saved program (%zu bytes) is not one of this instrument's; the sound is unchanged\n",
          PluginIdentity().mName, bytes.size());
  return false;
}

uint32_t LatencyGet(const clap_plugin_t* p) { return Adapter(p)->Latency(); }

// The sound is the same online and offline: any mode will do.
bool RenderHasHardRealtimeRequirement(const clap_plugin_t*) { return false; }
bool RenderSet(const clap_plugin_t*, int32_t) { return true; }

const void* GetExtension(const clap_plugin_t*, const char* id)
{
  static const clap_plugin_audio_ports_t audioPorts = {AudioPortsCount, AudioPortsGet};
  static const clap_plugin_note_ports_t notePorts = {NotePortsCount, NotePortsGet};
  static const clap_plugin_params_t params = {ParamsCount,       ParamsGetInfo,     ParamsGetValue,
                                              ParamsValueToText, ParamsTextToValue, ParamsFlush};
  static const clap_plugin_state_t state = {StateSave, StateLoad};
  static const clap_plugin_latency_t latency = {LatencyGet};
  static const RenderExtension render = {RenderHasHardRealtimeRequirement, RenderSet};
  static const clap_plugin_gui_t gui = {
      GuiIsApiSupported, GuiGetPreferredApi, GuiCreate,         GuiDestroy,    GuiSetScale,
      GuiGetSize,        GuiCanResize,       GuiGetResizeHints, GuiAdjustSize, GuiSetSize,
      GuiSetParent,      GuiSetTransient,    GuiSuggestTitle,   GuiShow,       GuiHide};
  static const clap_plugin_timer_support_t timer = {OnTimer};
  if (!id) return nullptr;
  if (!strcmp(id, CLAP_EXT_AUDIO_PORTS)) return &audioPorts;
  if (!strcmp(id, CLAP_EXT_NOTE_PORTS)) return &notePorts;
  if (!strcmp(id, CLAP_EXT_PARAMS)) return &params;
  if (!strcmp(id, CLAP_EXT_STATE)) return &state;
  if (!strcmp(id, CLAP_EXT_LATENCY)) return &latency;
  if (!strcmp(id, kRenderExtension)) return &render;
  if (!strcmp(id, CLAP_EXT_GUI)) return &gui;
  if (!strcmp(id, CLAP_EXT_TIMER_SUPPORT)) return &timer;
  return nullptr;
}

bool Init(const clap_plugin_t* p)
{
  Plugin* plugin = Of(p);
  IPlugStandalone* sound = MakePluginSound();
  if (!sound) return false;
  plugin->adapter.reset(new IPlugCLAP(sound, plugin->host));
  plugin->timers = (const clap_host_timer_support_t*)plugin->host->get_extension(plugin->host, CLAP_EXT_TIMER_SUPPORT);
  return true;
}

void Destroy(const clap_plugin_t* p)
{
  Plugin* plugin = Of(p);
  if (plugin->adapter && plugin->panel) GuiDestroy(p);
  delete plugin;
}

bool Activate(const clap_plugin_t* p, double rate, uint32_t, uint32_t maxFrames)
{
  return Adapter(p)->Activate(rate, maxFrames);
}
void Deactivate(const clap_plugin_t* p) { Adapter(p)->Deactivate(); }
bool StartProcessing(const clap_plugin_t*) { return true; }
void StopProcessing(const clap_plugin_t*) {}
void Reset(const clap_plugin_t* p) { Adapter(p)->Reset(); }
clap_process_status Process(const clap_plugin_t* p, const clap_process_t* process)
{
  return Adapter(p)->Process(process);
}
void OnMainThread(const clap_plugin_t*) {}

const clap_plugin_descriptor_t* Descriptor()
{
  static const char* features[] = {CLAP_PLUGIN_FEATURE_INSTRUMENT, CLAP_PLUGIN_FEATURE_SYNTHESIZER,
                                   CLAP_PLUGIN_FEATURE_STEREO, nullptr};
  const IPluginIdentity& who = PluginIdentity();
  static const clap_plugin_descriptor_t descriptor = {CLAP_VERSION_INIT, who.mId,  who.mName, who.mVendor,
                                                      who.mURL,          who.mURL, who.mURL,  who.mVersion,
                                                      who.mDescription,  features};
  return &descriptor;
}

uint32_t FactoryCount(const clap_plugin_factory_t*) { return 1; }

const clap_plugin_descriptor_t* FactoryDescriptor(const clap_plugin_factory_t*, uint32_t index)
{
  return index == 0 ? Descriptor() : nullptr;
}

const clap_plugin_t* FactoryCreate(const clap_plugin_factory_t*, const clap_host_t* host, const char* id)
{
  if (!host || !id || strcmp(id, PluginIdentity().mId) || !clap_version_is_compatible(host->clap_version))
    return nullptr;
  Plugin* plugin = new Plugin;
  plugin->host = host;
  plugin->clap = {Descriptor(),    plugin,         Init,  Destroy, Activate,     Deactivate,
                  StartProcessing, StopProcessing, Reset, Process, GetExtension, OnMainThread};
  return &plugin->clap;
}

bool EntryInit(const char* path)
{
  sResourceRoot = FindResourceRoot(path);
  return true;
}

void EntryDeinit() {}

const void* EntryGetFactory(const char* id)
{
  static const clap_plugin_factory_t factory = {FactoryCount, FactoryDescriptor, FactoryCreate};
  return id && !strcmp(id, CLAP_PLUGIN_FACTORY_ID) ? &factory : nullptr;
}
} // namespace

extern "C" CLAP_EXPORT const clap_plugin_entry_t clap_entry = {CLAP_VERSION_INIT, EntryInit, EntryDeinit,
                                                               EntryGetFactory};
