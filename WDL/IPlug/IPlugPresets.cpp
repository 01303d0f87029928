// The preset bank of IPlugBase: making, naming, restoring and (un)serialising
// program slots, and the developer's dump tools. GUI thread; parameter loads
// take the plug-in's mutex through SerializeState and UnserializeState.

#include "Base64.h"
#include "IPlugBase.h"
#include "cnumbers.h"
#include "replacefile.h"

#include <cassert>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace
{
// Preset names are fixed arrays of 256: longer ones are cut.
void CopyPresetName(char* dest, const char* src) { snprintf(dest, 256, "%s", src); }

// A named value equal to this mark counts as not named.
constexpr double kUnnamedMark = 9.999e-08;

double ReadValue(IParam* param, va_list& vp)
{
  switch (param->Type())
  {
  case IParam::kTypeBool:
  case IParam::kTypeInt:
  case IParam::kTypeEnum:
    return (double)va_arg(vp, int);
  default:
    return va_arg(vp, double);
  }
}

// The blob line of one chunk: base64 text and size. The format holds chunks
// of at most 1535 bytes; a larger one is left out of the file.
void AppendBlobLine(std::string* text, const char* opening, const ByteChunk& chunk)
{
  char buf[4 * (1535 + 2) / 3 + 1];
  const int size = chunk.Size();
  if (size > 1535) return;
  base64encode(chunk.GetBytes(), buf, size);
  *text += std::string(opening) + buf + "\", " + std::to_string(size) + ");\n";
}

// The developer's tools write through the program's safe replace: a file
// that cannot be written stays as it was.
void WriteTool(const char* filename, const std::string& text)
{
  if (filename) WDL_ReplaceFile(filename, text.data(), text.size());
}
} // namespace

IPreset* GetNextUninitializedPreset(WDL_PtrList<IPreset>* presets)
{
  for (int i = 0; i < presets->GetSize(); ++i)
  {
    IPreset* p = presets->Get(i);
    if (!p->mInitialized) return p;
  }
  return nullptr;
}

void MakeDefaultUserPresetName(WDL_PtrList<IPreset>* presets, char* str)
{
  int n = 0;
  for (int i = 0; i < presets->GetSize(); ++i)
    if (strstr(presets->Get(i)->mName, "user preset")) ++n;
  sprintf(str, "%s %d", "user preset", n + 1);
}

void IPlugBase::MakeDefaultPreset(const char* name, int nPresets)
{
  for (int i = 0; i < nPresets; ++i)
  {
    IPreset* p = GetNextUninitializedPreset(&mPresets);
    if (!p) continue;
    p->mInitialized = true;
    CopyPresetName(p->mName, name ? name : "Empty");
    SerializeState(&p->mChunk);
  }
}

void IPlugBase::MakePreset(const char* name, ...)
{
  IPreset* p = GetNextUninitializedPreset(&mPresets);
  if (!p) return;
  p->mInitialized = true;
  CopyPresetName(p->mName, name);
  va_list vp;
  va_start(vp, name);
  for (int i = 0; i < NParams(); ++i)
  {
    const double v = ReadValue(GetParam(i), vp);
    p->mChunk.Put(&v);
  }
  va_end(vp);
}

void IPlugBase::MakePresetFromNamedParams(const char* name, int nParamsNamed, ...)
{
  IPreset* p = GetNextUninitializedPreset(&mPresets);
  if (!p) return;
  p->mInitialized = true;
  CopyPresetName(p->mName, name);

  const int n = NParams();
  std::vector<double> values((size_t)n, kUnnamedMark);
  va_list vp;
  va_start(vp, nParamsNamed);
  for (int i = 0; i < nParamsNamed; ++i)
  {
    const int paramIdx = va_arg(vp, int);
    // The list is a constant of the plug-in's source, never user data.
    assert(paramIdx >= 0 && paramIdx < n);
    if (paramIdx < 0 || paramIdx >= n) break;
    values[(size_t)paramIdx] = 0.0;
    values[(size_t)paramIdx] = ReadValue(GetParam(paramIdx), vp);
  }
  va_end(vp);

  for (int i = 0; i < n; ++i)
  {
    const double v = values[(size_t)i] == kUnnamedMark ? GetParam(i)->Value() : values[(size_t)i];
    p->mChunk.Put(&v);
  }
}

void IPlugBase::MakePresetFromChunk(const char* name, ByteChunk* chunk)
{
  IPreset* p = GetNextUninitializedPreset(&mPresets);
  if (!p) return;
  p->mInitialized = true;
  CopyPresetName(p->mName, name);
  p->mChunk.PutChunk(chunk);
}

void IPlugBase::MakePresetFromBlob(const char* name, const char* blob, int sizeOfChunk)
{
  ByteChunk chunk;
  chunk.Resize(sizeOfChunk);
  base64decode(blob, chunk.GetBytes(), sizeOfChunk);
  MakePresetFromChunk(name, &chunk);
}

void IPlugBase::EnsureDefaultPreset() { MakeDefaultPreset("Empty", mPresets.GetSize()); }

void IPlugBase::PruneUninitializedPresets()
{
  for (int i = 0; i < mPresets.GetSize();)
  {
    if (!mPresets.Get(i)->mInitialized)
      mPresets.Delete(i, true);
    else
      ++i;
  }
}

bool IPlugBase::RestorePreset(int idx)
{
  IPreset* p = mPresets.Get(idx);
  if (!p) return false;
  bool ok;
  if (p->mInitialized)
  {
    ok = UnserializeState(&p->mChunk, 0) > 0;
  }
  else
  {
    // A free slot is claimed: the current sound becomes its state.
    p->mInitialized = true;
    MakeDefaultUserPresetName(&mPresets, p->mName);
    ok = SerializeState(&p->mChunk);
  }
  if (!ok) return false;
  mCurrentPresetIdx = idx;
  PresetsChangedByHost();
  RedrawParamControls();
  return true;
}

bool IPlugBase::RestorePreset(const char* name)
{
  if (!name || !*name) return false;
  for (int i = 0; i < mPresets.GetSize(); ++i)
    if (!strcmp(mPresets.Get(i)->mName, name)) return RestorePreset(i);
  return false;
}

const char* IPlugBase::GetPresetName(int idx)
{
  IPreset* p = mPresets.Get(idx);
  return p ? p->mName : "";
}

void IPlugBase::ModifyCurrentPreset(const char* name)
{
  IPreset* p = mPresets.Get(mCurrentPresetIdx);
  if (!p) return;
  p->mChunk.Clear();
  SerializeState(&p->mChunk);
  if (name && *name) CopyPresetName(p->mName, name);
}

bool IPlugBase::SerializePresets(ByteChunk* chunk)
{
  bool saved = true;
  for (int i = 0; i < mPresets.GetSize() && saved; ++i)
  {
    IPreset* p = mPresets.Get(i);
    chunk->PutStr(p->mName);
    chunk->PutBool(p->mInitialized);
    if (p->mInitialized) saved = chunk->PutChunk(&p->mChunk) > 0;
  }
  return saved;
}

int IPlugBase::UnserializePresets(ByteChunk* chunk, int startPos)
{
  WDL_String name;
  int pos = startPos;
  for (int i = 0; i < mPresets.GetSize() && pos >= 0; ++i)
  {
    IPreset* p = mPresets.Get(i);
    // An empty stored name leaves the text of the slot before.
    pos = chunk->GetStr(&name, pos);
    CopyPresetName(p->mName, name.Get());
    pos = chunk->GetBool(&p->mInitialized, pos);
    if (p->mInitialized && pos >= 0)
    {
      pos = UnserializeState(chunk, pos);
      if (pos > 0)
      {
        p->mChunk.Clear();
        SerializeState(&p->mChunk);
      }
    }
  }
  RestorePreset(mCurrentPresetIdx);
  return pos;
}

void IPlugBase::DumpPresetSrcCode(const char* filename, const char** paramEnumNames)
{
  std::string text = "  MakePresetFromNamedParams(\"name\", " + std::to_string(NParams());
  for (int i = 0; i < NParams(); ++i)
  {
    IParam* param = GetParam(i);
    char value[64];
    switch (param->Type())
    {
    case IParam::kTypeBool:
      snprintf(value, sizeof(value), "%s", param->Bool() ? "true" : "false");
      break;
    case IParam::kTypeInt:
    case IParam::kTypeEnum:
      snprintf(value, sizeof(value), "%d", param->Int());
      break;
    default:
      WDL_snprintf_c(value, sizeof(value), "%.6f", param->Value());
      break;
    }
    text += std::string(",\n    ") + paramEnumNames[i] + ", " + value;
  }
  WriteTool(filename, text + ");\n");
}

void IPlugBase::DumpPresetBlob(const char* filename)
{
  IPreset* p = mPresets.Get(mCurrentPresetIdx);
  if (!p) return;
  std::string text;
  AppendBlobLine(&text, "MakePresetFromBlob(\"name\", \"", p->mChunk);
  WriteTool(filename, text);
}

void IPlugBase::DumpBankBlob(const char* filename)
{
  std::string text;
  for (int i = 0; i < mPresets.GetSize(); ++i)
  {
    IPreset* p = mPresets.Get(i);
    char opening[300];
    snprintf(opening, sizeof(opening), "MakePresetFromBlob(\"%s\", \"", p->mName);
    AppendBlobLine(&text, opening, p->mChunk);
  }
  WriteTool(filename, text);
}
