// The C entry of the LV2 plug-in: the descriptor that hosts look up, the
// required features, and the state interface. The instrument supplies its URI
// and its sound (IPlugInstrument.h); lv2_descriptor is the one symbol that
// the binary exports.

#include "IPlugInstrument.h"
#include "IPlugLV2.h"
#include "IPlugLV2Ports.h"

#include <lv2/atom/atom.h>
#include <lv2/buf-size/buf-size.h>
#include <lv2/core/lv2.h>
#include <lv2/log/log.h>
#include <lv2/midi/midi.h>
#include <lv2/options/options.h>
#include <lv2/state/state.h>
#include <lv2/urid/urid.h>

#include <cstring>
#include <memory>
#include <string>

namespace
{
struct Instance
{
  std::unique_ptr<IPlugLV2> plug;
  LV2_Log_Log* log = nullptr;
  LV2_URID logError = 0;
  LV2_URID programKey = 0;
  LV2_URID chunkType = 0;
};

const void* Feature(const LV2_Feature* const* features, const char* uri)
{
  for (int i = 0; features && features[i]; ++i)
    if (!strcmp(features[i]->URI, uri)) return features[i]->data;
  return nullptr;
}

// The most frames a run may bring, from the host's options; 8192 when it
// names none.
int MaxBlockLength(const LV2_Options_Option* options, LV2_URID_Map* map)
{
  const LV2_URID maxLength = map->map(map->handle, LV2_BUF_SIZE__maxBlockLength);
  const LV2_URID atomInt = map->map(map->handle, LV2_ATOM__Int);
  for (const LV2_Options_Option* o = options; o && o->key; ++o)
    if (o->key == maxLength && o->type == atomInt && o->size == sizeof(int32_t))
    {
      const int32_t v = *(const int32_t*)o->value;
      if (v > 0) return v;
    }
  return kMaxSignalVectorSize;
}

std::string ProgramKey() { return std::string(LV2PluginURI()) + "#program"; }

LV2_Handle Instantiate(const LV2_Descriptor*, double rate, const char*, const LV2_Feature* const* features)
{
  LV2_URID_Map* map = (LV2_URID_Map*)Feature(features, LV2_URID__map);
  const LV2_Options_Option* options = (const LV2_Options_Option*)Feature(features, LV2_OPTIONS__options);
  if (!map || rate < 1.0) return nullptr;
  IPlugLV2Setup info;
  info.mSampleRate = rate;
  info.mMaxBlockSize = MaxBlockLength(options, map);
  info.mMidiEventURID = map->map(map->handle, LV2_MIDI__MidiEvent);
  info.mSequenceURID = map->map(map->handle, LV2_ATOM__Sequence);
  info.mMap = map;
  info.mKeyStateURID = map->map(map->handle, LV2KeyStateURI(LV2PluginURI()).c_str());
  info.mKeysURID = map->map(map->handle, LV2KeysURI(LV2PluginURI()).c_str());
  info.mProgramNameURID = map->map(map->handle, LV2ProgramNameURI(LV2PluginURI()).c_str());
  std::unique_ptr<Instance> instance(new Instance);
  instance->log = (LV2_Log_Log*)Feature(features, LV2_LOG__log);
  instance->logError = map->map(map->handle, LV2_LOG__Error);
  instance->programKey = map->map(map->handle, ProgramKey().c_str());
  instance->chunkType = map->map(map->handle, LV2_ATOM__Chunk);
  IPlugStandalone* sound = MakePluginSound();
  if (!sound) return nullptr;
  instance->plug.reset(new IPlugLV2(sound, info));
  return instance.release();
}

void ConnectPort(LV2_Handle h, uint32_t port, void* data) { ((Instance*)h)->plug->ConnectPort(port, data); }
void Activate(LV2_Handle h) { ((Instance*)h)->plug->Activate(true); }
void Run(LV2_Handle h, uint32_t nFrames) { ((Instance*)h)->plug->RunLV2(nFrames); }
void Deactivate(LV2_Handle h) { ((Instance*)h)->plug->Activate(false); }
void Cleanup(LV2_Handle h) { delete (Instance*)h; }

LV2_State_Status Save(LV2_Handle h, LV2_State_Store_Function store, LV2_State_Handle handle, uint32_t,
                      const LV2_Feature* const*)
{
  Instance* instance = (Instance*)h;
  ByteChunk chunk;
  instance->plug->SaveProgramChunk(&chunk);
  return store(handle, instance->programKey, chunk.GetBytes(), (size_t)chunk.Size(), instance->chunkType,
               LV2_STATE_IS_POD | LV2_STATE_IS_PORTABLE);
}

LV2_State_Status Restore(LV2_Handle h, LV2_State_Retrieve_Function retrieve, LV2_State_Handle handle, uint32_t,
                         const LV2_Feature* const*)
{
  Instance* instance = (Instance*)h;
  size_t size = 0;
  uint32_t type = 0, flags = 0;
  const void* data = retrieve(handle, instance->programKey, &size, &type, &flags);
  // A state without a program leaves the instrument as it is.
  if (!data) return LV2_STATE_SUCCESS;
  if (type == instance->chunkType && size <= (1u << 20) &&
      instance->plug->RestoreProgramChunk((const unsigned char*)data, (int)size))
    return LV2_STATE_SUCCESS;
  if (instance->log)
    instance->log->printf(instance->log->handle, instance->logError,
                          "%s: the saved program (%zu bytes) is not one of this instrument's; the sound is unchanged\n",
                          instance->plug->GetPlug()->GetEffectName(), size);
  return LV2_STATE_ERR_BAD_TYPE;
}

const void* ExtensionData(const char* uri)
{
  static const LV2_State_Interface state = {Save, Restore};
  if (!strcmp(uri, LV2_STATE__interface)) return &state;
  return nullptr;
}
} // namespace

extern "C" LV2_SYMBOL_EXPORT const LV2_Descriptor* lv2_descriptor(uint32_t index)
{
  static const LV2_Descriptor descriptor = {LV2PluginURI(), Instantiate, ConnectPort,  Activate, Run,
                                            Deactivate,     Cleanup,     ExtensionData};
  return index == 0 ? &descriptor : nullptr;
}
