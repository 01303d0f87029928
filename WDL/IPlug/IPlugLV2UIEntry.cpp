// The C entry of the plug-in's panel (ui:X11UI): lv2ui_descriptor, the one
// symbol the binary exports. The instrument supplies its panel's side with
// the panel itself (IPlugInstrument.h); the view is the Xlib one, driven by
// the host's idle calls.

#include "IGraphicsX11.h"
#include "IPlugInstrument.h"
#include "IPlugLV2Ports.h"
#include "IPlugLV2UI.h"
#include "lice_freetype.h"

#include <lv2/atom/atom.h>
#include <lv2/atom/util.h>
#include <lv2/core/lv2.h>
#include <lv2/midi/midi.h>
#include <lv2/options/options.h>
#include <lv2/ui/ui.h>
#include <lv2/urid/urid.h>

#include <cstring>
#include <memory>
#include <string>

namespace
{
struct UI
{
  std::unique_ptr<IPlugLV2UI> plug;
  IGraphicsX11* view = nullptr; // the plug's, which owns it
  LV2_URID keyState = 0, keys = 0, programName = 0, eventTransfer = 0, chunk = 0, object = 0, string = 0;
};

const void* Feature(const LV2_Feature* const* features, const char* uri)
{
  for (int i = 0; features && features[i]; ++i)
    if (!strcmp(features[i]->URI, uri)) return features[i]->data;
  return nullptr;
}

// The host's ui:scaleFactor among its options; 0 when it gives none.
double HostScaleFactor(const LV2_Feature* const* features, LV2_URID_Map* map)
{
  const LV2_Options_Option* o = (const LV2_Options_Option*)Feature(features, LV2_OPTIONS__options);
  const LV2_URID scale = map->map(map->handle, LV2_UI__scaleFactor), real = map->map(map->handle, LV2_ATOM__Float);
  for (; o && o->key; ++o)
    if (o->key == scale && o->type == real && o->size == sizeof(float) && o->value) return *(const float*)o->value;
  return 0.0;
}

void Touch(void* handle, uint32_t port, bool grabbed)
{
  const LV2UI_Touch* touch = (const LV2UI_Touch*)handle;
  touch->touch(touch->handle, port, grabbed);
}

LV2UI_Handle Instantiate(const LV2UI_Descriptor*, const char* pluginURI, const char* bundlePath,
                         LV2UI_Write_Function write, LV2UI_Controller controller, LV2UI_Widget* widget,
                         const LV2_Feature* const* features)
{
  LV2_URID_Map* map = (LV2_URID_Map*)Feature(features, LV2_URID__map);
  if (!map || !pluginURI || strcmp(pluginURI, LV2PluginURI())) return nullptr;
  std::unique_ptr<UI> ui(new UI);
  IPlugLV2UISetup info;
  info.mWrite = write;
  info.mController = controller;
  if (const LV2UI_Touch* touch = (const LV2UI_Touch*)Feature(features, LV2_UI__touch))
  {
    info.mTouch = Touch;
    info.mTouchHandle = (void*)touch;
  }
  ui->eventTransfer = info.mEventTransferURID = map->map(map->handle, LV2_ATOM__eventTransfer);
  info.mMidiEventURID = map->map(map->handle, LV2_MIDI__MidiEvent);
  ui->keyState = map->map(map->handle, LV2KeyStateURI(LV2PluginURI()).c_str());
  ui->keys = map->map(map->handle, LV2KeysURI(LV2PluginURI()).c_str());
  ui->programName = map->map(map->handle, LV2ProgramNameURI(LV2PluginURI()).c_str());
  ui->string = map->map(map->handle, LV2_ATOM__String);
  ui->chunk = map->map(map->handle, LV2_ATOM__Chunk);
  ui->object = map->map(map->handle, LV2_ATOM__Object);

  LICE_InstallFreeTypeBackend();
  IPlugStandalone* panelSide = MakePluginPanel(bundlePath ? bundlePath : "");
  if (!panelSide) return nullptr;
  ui->plug.reset(new IPlugLV2UI(panelSide, info));
  ui->view = PluginPanelView(panelSide);
  if (!ui->view) return nullptr;
  // The user's size first, else the host's, else the desktop's.
  ui->view->SetPanelSize(IGraphicsX11::StartPanelSize(HostScaleFactor(features, map)));
  const LV2UI_Resize* resize = (const LV2UI_Resize*)Feature(features, LV2_UI__resize);
  if (resize) ui->view->SetResizeListener([resize](int w, int h) { resize->ui_resize(resize->handle, w, h); });
  void* parent = (void*)Feature(features, LV2_UI__parent);
  void* window = nullptr;
  // Without a parent the window is made, as a top-level one, when shown.
  if (parent)
  {
    window = ui->view->OpenWindow(parent);
    if (!window) return nullptr;
    if (resize) resize->ui_resize(resize->handle, ui->view->PixelWidth(), ui->view->PixelHeight());
  }
  *widget = (LV2UI_Widget)window;
  return ui.release();
}

void Cleanup(LV2UI_Handle handle)
{
  UI* ui = (UI*)handle;
  if (ui->view) ui->view->CloseWindow();
  delete ui; // the plug deletes its view
}

void PortEvent(LV2UI_Handle handle, uint32_t port, uint32_t size, uint32_t format, const void* buffer)
{
  UI* ui = (UI*)handle;
  if (format == 0 && size == sizeof(float))
  {
    ui->plug->PortValue(port, *(const float*)buffer);
    return;
  }
  if (format != ui->eventTransfer || size < sizeof(LV2_Atom_Object)) return;
  const LV2_Atom_Object* obj = (const LV2_Atom_Object*)buffer;
  if (obj->atom.type != ui->object || obj->body.otype != ui->keyState || size < sizeof(LV2_Atom) + obj->atom.size)
    return;
  const LV2_Atom *keys = nullptr, *name = nullptr;
  lv2_atom_object_get(obj, ui->keys, &keys, ui->programName, &name, 0);
  if (keys && keys->type == ui->chunk && keys->size == kKeyTableBytes)
    ui->plug->SetHeldNotes((const uint8_t*)LV2_ATOM_BODY_CONST(keys));
  if (name && name->type == ui->string && name->size > 1 && name->size <= 32)
  {
    char text[32];
    memcpy(text, LV2_ATOM_BODY_CONST(name), name->size);
    text[name->size - 1] = 0;
    ui->plug->SetProgramName(text);
  }
}

int Idle(LV2UI_Handle handle)
{
  UI* ui = (UI*)handle;
  return ui->view->Idle() ? 0 : 1;
}

int Show(LV2UI_Handle handle)
{
  UI* ui = (UI*)handle;
  if (!ui->view->WindowIsOpen() && !ui->view->OpenWindow(nullptr)) return 1;
  ui->view->ShowWindow(true);
  return 0;
}

int Hide(LV2UI_Handle handle)
{
  ((UI*)handle)->view->ShowWindow(false);
  return 0;
}

const void* ExtensionData(const char* uri)
{
  static const LV2UI_Idle_Interface idle = {Idle};
  static const LV2UI_Show_Interface show = {Show, Hide};
  if (!strcmp(uri, LV2_UI__idleInterface)) return &idle;
  if (!strcmp(uri, LV2_UI__showInterface)) return &show;
  return nullptr;
}

std::string UIURI() { return std::string(LV2PluginURI()) + "#ui"; }
} // namespace

extern "C" LV2_SYMBOL_EXPORT const LV2UI_Descriptor* lv2ui_descriptor(uint32_t index)
{
  static const std::string uri = UIURI();
  static const LV2UI_Descriptor descriptor = {uri.c_str(), Instantiate, Cleanup, PortEvent, ExtensionData};
  return index == 0 ? &descriptor : nullptr;
}
