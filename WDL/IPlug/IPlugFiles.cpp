// Program (FXP) and bank (FXB) files of IPlugBase, in the parameter form and
// the opaque-chunk form. Header fields are big-endian; a state chunk inside
// is little-endian. GUI thread.

#include "IPlugBase.h"
#include "regularfile.h"
#include "replacefile.h"
#include "wdlcstring.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace
{
constexpr int Magic(const char (&m)[5])
{
  return (int)(((unsigned)(unsigned char)m[0] << 24) | ((unsigned)(unsigned char)m[1] << 16) |
               ((unsigned)(unsigned char)m[2] << 8) | (unsigned)(unsigned char)m[3]);
}
constexpr int kCcnK = Magic("CcnK");
constexpr int kFxCk = Magic("FxCk");
constexpr int kFPCh = Magic("FPCh");
constexpr int kFxBk = Magic("FxBk");
constexpr int kFBCh = Magic("FBCh");
constexpr int kNameSize = 28;

void PutBE(ByteChunk& c, int v)
{
  const int be = (int)WDL_bswap_if_le((uint32_t)v);
  c.Put(&be);
}

void PutBEFloat(ByteChunk& c, double v)
{
  const float f = (float)v;
  uint32_t bits;
  memcpy(&bits, &f, 4);
  PutBE(c, (int)bits);
}

// Names are cut to 27 characters so that the field always ends in a NUL.
void PutName(ByteChunk& c, const char* name)
{
  char field[kNameSize] = {};
  memcpy(field, name, strnlen(name, kNameSize - 1));
  c.PutBytes(field, kNameSize);
}

// A failed read leaves the value at 0, which fails the header checks after it.
int GetBE(const ByteChunk& c, int* v, int pos)
{
  int raw = 0;
  pos = c.Get(&raw, pos);
  *v = pos >= 0 ? (int)WDL_bswap_if_le((uint32_t)raw) : 0;
  return pos;
}

int GetBEFloat(const ByteChunk& c, double* v, int pos)
{
  int bits = 0;
  pos = GetBE(c, &bits, pos);
  float f;
  memcpy(&f, &bits, 4);
  *v = f;
  return pos;
}

// A name read from a file is terminated inside its field.
int GetName(const ByteChunk& c, char* name, int pos)
{
  memset(name, 0, kNameSize);
  pos = c.GetBytes(name, kNameSize, pos);
  name[kNameSize - 1] = 0;
  return pos;
}

// The seven integers that open every program and bank: magic, size, kind,
// version, id, plug-in version, and the count of parameters or programs.
struct Head
{
  int chunkMagic, byteSize, fxMagic, version, fxID, fxVersion, count;
};

int GetHead(const ByteChunk& c, Head* h, int pos)
{
  int* fields[7] = {&h->chunkMagic, &h->byteSize, &h->fxMagic, &h->version, &h->fxID, &h->fxVersion, &h->count};
  for (int* f : fields) pos = GetBE(c, f, pos);
  return pos;
}

// Through a temporary file and a rename: a failed write (a full disk, a
// file-size limit) leaves the old file as it was. errno says why.
bool WriteFile(const WDL_String* fileName, const ByteChunk& c)
{
  if (!fileName || !fileName->GetLength())
  {
    errno = ENOENT;
    return false;
  }
  return WDL_ReplaceFile(fileName->Get(), c.GetBytes(), (size_t)c.Size());
}

bool ReadFile(const WDL_String* fileName, ByteChunk* c)
{
  if (!fileName || !fileName->GetLength()) return false;
  FILE* fp = WDL_OpenRegularFile(fileName->Get());
  if (!fp) return false;
  fseek(fp, 0, SEEK_END);
  const long size = ftell(fp);
  rewind(fp);
  // A program or bank is small; anything beyond 64 MiB is no such file.
  bool ok = size >= 0 && size <= (64L << 20);
  if (ok)
  {
    c->Resize((int)size);
    ok = c->Size() == (int)size && fread(c->GetBytes(), 1, (size_t)size, fp) == (size_t)size;
  }
  fclose(fp);
  return ok;
}

// The head that programs and banks share: magic, size, kind, version, id and
// plug-in version.
void PutHead(ByteChunk& c, int byteSize, int fxMagic, int version, int id, int fxVersion)
{
  PutBE(c, kCcnK);
  PutBE(c, byteSize);
  PutBE(c, fxMagic);
  PutBE(c, version);
  PutBE(c, id);
  PutBE(c, fxVersion);
}
} // namespace

bool IPlugBase::SaveProgramAsFXP(WDL_String* fileName)
{
  if (!fileName || !fileName->GetLength()) return false;
  ByteChunk c;
  const char* name = GetPresetName(GetCurrentPresetIdx());
  if (DoesStateChunks())
  {
    ByteChunk state;
    InitChunkWithIPlugVer(&state);
    SerializeState(&state);
    PutHead(c, state.Size() + 60, kFPCh, 1, GetUniqueID(), GetEffectVersion(true));
    PutBE(c, NParams());
    PutName(c, name);
    PutBE(c, state.Size());
    c.PutChunk(&state);
  }
  else
  {
    MakeProgramFXP(&c, name);
  }
  return WriteFile(fileName, c);
}

void IPlugBase::MakeProgramFXP(ByteChunk* chunk, const char* name, const double* values)
{
  PutHead(*chunk, 0, kFxCk, 1, GetUniqueID(), GetEffectVersion(true));
  PutBE(*chunk, NParams());
  PutName(*chunk, name);
  for (int i = 0; i < NParams(); ++i)
  {
    const IParam* p = GetParam(i);
    PutBEFloat(*chunk, values ? p->GetNormalized(values[i]) : p->GetNormalized());
  }
}

bool IPlugBase::SaveBankAsFXB(WDL_String* fileName)
{
  if (!fileName || !fileName->GetLength()) return false;
  ByteChunk c;
  const char future[124] = {};
  if (DoesStateChunks())
  {
    ByteChunk state;
    InitChunkWithIPlugVer(&state);
    SerializePresets(&state);
    PutHead(c, state.Size() + 160, kFBCh, 2, GetUniqueID(), GetEffectVersion(true));
    PutBE(c, NPresets());
    PutBE(c, GetCurrentPresetIdx());
    c.PutBytes(future, sizeof(future));
    PutBE(c, state.Size());
    c.PutChunk(&state);
  }
  else
  {
    PutHead(c, 0, kFxBk, 2, GetUniqueID(), GetEffectVersion(true));
    PutBE(c, NPresets());
    PutBE(c, GetCurrentPresetIdx());
    c.PutBytes(future, sizeof(future));
    for (int p = 0; p < NPresets(); ++p)
    {
      IPreset* preset = mPresets.Get(p);
      PutHead(c, 0, kFxCk, 1, GetUniqueID(), GetEffectVersion(true));
      PutBE(c, NParams());
      PutName(c, preset->mName);
      // Each value from the slot's stored state; a free slot gives 0.0.
      int pos = 0;
      for (int i = 0; i < NParams(); ++i)
      {
        double v = 0.0;
        pos = preset->mChunk.Get(&v, pos);
        PutBEFloat(c, GetParam(i)->GetNormalized(v));
      }
    }
  }
  return WriteFile(fileName, c);
}

bool IPlugBase::LoadProgramFromFXP(WDL_String* fileName)
{
  ByteChunk c;
  return ReadFile(fileName, &c) && LoadProgramFromChunk(&c);
}

bool IPlugBase::LoadProgramFromChunk(ByteChunk* chunk)
{
  ByteChunk& c = *chunk;
  Head h;
  char name[kNameSize];
  int pos = GetHead(c, &h, 0);
  pos = GetName(c, name, pos);
  if (h.chunkMagic != kCcnK || h.version != 1 || h.fxID != GetUniqueID() || pos < 0) return false;

  if (DoesStateChunks() && h.fxMagic == kFPCh)
  {
    int chunkSize = 0;
    pos = GetBE(c, &chunkSize, pos);
    if (pos < 0) return false;
    GetIPlugVerFromChunk(&c, &pos);
    if (UnserializeState(&c, pos) < 0) return false;
  }
  else if (h.fxMagic == kFxCk)
  {
    // Straight to the parameters; OnParamChange runs at the restore below.
    // A file that ends early leaves the parameters behind its end as they
    // were.
    for (int i = 0; i < NParams(); ++i)
    {
      double v;
      pos = GetBEFloat(c, &v, pos);
      if (pos < 0) break;
      GetParam(i)->SetNormalized(v);
    }
  }
  else
  {
    return false;
  }
  ModifyCurrentPreset(name);
  RestorePreset(GetCurrentPresetIdx());
  NoteProgramLoaded();
  return true;
}

bool IPlugBase::LoadBankFromFXB(WDL_String* fileName)
{
  ByteChunk c;
  if (!ReadFile(fileName, &c)) return false;

  Head h; // the version is not compared, unlike a program's; count is numPrograms
  int currentProgram;
  int pos = GetHead(c, &h, 0);
  pos = GetBE(c, &currentProgram, pos);
  char future[124];
  pos = c.GetBytes(future, sizeof(future), pos);
  if (h.chunkMagic != kCcnK || h.fxID != GetUniqueID() || pos < 0) return false;

  if (DoesStateChunks() && h.fxMagic == kFBCh)
  {
    int chunkSize = 0;
    pos = GetBE(c, &chunkSize, pos);
    if (pos < 0) return false;
    GetIPlugVerFromChunk(&c, &pos);
    UnserializePresets(&c, pos);
    NoteProgramLoaded();
    return true;
  }
  if (h.fxMagic != kFxBk) return false;

  // A bad program head stops the load with false; the programs before it
  // stay loaded.
  for (int p = 0; p < h.count; ++p)
  {
    Head prog; // its fxID is not compared
    pos = GetHead(c, &prog, pos);
    if (prog.chunkMagic != kCcnK || prog.fxMagic != kFxCk || prog.version != 1 || prog.count != NParams()) return false;
    char name[kNameSize];
    pos = GetName(c, name, pos);
    if (pos < 0) return false;
    RestorePreset(p);
    for (int i = 0; i < NParams(); ++i)
    {
      double v;
      pos = GetBEFloat(c, &v, pos);
      if (pos < 0) break; // the data ends: the rest stay as they were
      GetParam(i)->SetNormalized(v);
    }
    ModifyCurrentPreset(name);
    if (pos < 0) return false;
  }
  RestorePreset(currentProgram);
  NoteProgramLoaded();
  return true;
}
