#include "IPlugBase.h"

#include <cassert>
#include <cmath>
#include <cstdio>
#include <cstring>

namespace
{
void CopyName(char* dest, const char* src)
{
  snprintf(dest, 128, "%s", src ? src : ""); // names beyond 127 characters are cut
}

constexpr int kChunkMagic = 0x70666674; // "tffp" in file order
constexpr int kIPlugVersion = 0x00010000;
} // namespace

IPlugBase::IPlugBase(int nParams, const char* channelIOStr, int nPresets, const char* effectName,
                     const char* productName, const char* mfrName, int vendorVersion, int uniqueID, int mfrID,
                     int latency, bool plugDoesMidi, bool plugDoesChunks, bool plugIsInst, EAPI plugAPI)
    : mUniqueID(uniqueID), mMfrID(mfrID), mVersion(vendorVersion), mAPI(plugAPI), mStateChunks(plugDoesChunks),
      mIsInst(plugIsInst), mDoesMIDI(plugDoesMidi), mLatency(latency)
{
  for (int i = 0; i < nParams; ++i) mParams.Add(new IParam);
  for (int i = 0; i < nPresets; ++i) mPresets.Add(new IPreset(i));
  CopyName(mEffectName, effectName);
  CopyName(mProductName, productName);
  CopyName(mMfrName, mfrName);

  // The channel string is a constant of the plug-in, such as "0-1 0-2": one
  // "in-out" pair per legal configuration. The channel counts are the largest
  // of them and stay fixed.
  int nInputs = 0, nOutputs = 0;
  for (const char* p = channelIOStr; p;)
  {
    int nIn = 0, nOut = 0;
    const bool channelIOStrValid = sscanf(p, "%d-%d", &nIn, &nOut) == 2;
    assert(channelIOStrValid);
    if (!channelIOStrValid) break;
    mChannelIO.Add(new ChannelIO{nIn, nOut});
    if (nIn > nInputs) nInputs = nIn;
    if (nOut > nOutputs) nOutputs = nOut;
    p = strstr(p, " ");
    if (p) ++p;
  }

  double** in = mInData.Resize(nInputs);
  double** out = mOutData.Resize(nOutputs);
  for (int i = 0; i < nInputs; ++i)
  {
    InChannel* ch = mInChannels.Add(new InChannel);
    ch->mSrc = in + i;
    in[i] = nullptr;
  }
  for (int i = 0; i < nOutputs; ++i)
  {
    OutChannel* ch = mOutChannels.Add(new OutChannel);
    ch->mDest = out + i;
    out[i] = nullptr;
  }
}

IPlugBase::~IPlugBase()
{
  delete mGraphics;
  mGraphics = nullptr;
  mParams.Empty(true);
  mPresets.Empty(true);
  mInChannels.Empty(true);
  mOutChannels.Empty(true);
  mChannelIO.Empty(true);
  mInputBusLabels.Empty(true);
  mOutputBusLabels.Empty(true);
  delete mDelay;
}

void IPlugBase::Reset() { IMutexLock lock(this); }

void IPlugBase::OnParamChange(int) { IMutexLock lock(this); }

void IPlugBase::OnActivate(bool) { IMutexLock lock(this); }

void IPlugBase::ProcessMidiMsg(IMidiMsg* msg) { SendMidiMsg(msg); }

bool IPlugBase::MidiNoteName(int, char* rName)
{
  *rName = 0;
  return false;
}

void IPlugBase::ProcessDoubleReplacing(double** inputs, double** outputs, int nFrames)
{
  const int nIn = NInChannels(), nOut = NOutChannels();
  for (int i = 0; i < nOut; ++i)
  {
    if (i < nIn)
      memcpy(outputs[i], inputs[i], (size_t)nFrames * sizeof(double));
    else
      memset(outputs[i], 0, (size_t)nFrames * sizeof(double));
  }
}

void IPlugBase::SetBlockSize(int blockSize)
{
  if (blockSize == mBlockSize) return;
  for (int i = 0; i < mInChannels.GetSize(); ++i)
  {
    WDL_TypedBuf<double>& b = mInChannels.Get(i)->mScratchBuf;
    if (double* p = b.Resize(blockSize)) memset(p, 0, (size_t)b.GetSize() * sizeof(double));
  }
  for (int i = 0; i < mOutChannels.GetSize(); ++i)
  {
    WDL_TypedBuf<double>& b = mOutChannels.Get(i)->mScratchBuf;
    if (double* p = b.Resize(blockSize)) memset(p, 0, (size_t)b.GetSize() * sizeof(double));
  }
  mBlockSize = blockSize;
}

const char* IPlugBase::GetAPIString()
{
  switch (GetAPI())
  {
  case kAPIVST2:
    return "VST2";
  case kAPIVST3:
    return "VST3";
  case kAPIAU:
    return "AU";
  case kAPIRTAS:
    return "RTAS";
  case kAPIAAX:
    return "AAX";
  case kAPISA:
    return "Standalone";
  case kAPILV2:
    return "LV2";
  case kAPICLAP:
    return "CLAP";
  default:
    return "";
  }
}

bool IPlugBase::IsInChannelConnected(int chIdx) const
{
  InChannel* ch = mInChannels.Get(chIdx);
  return ch && ch->mConnected;
}

bool IPlugBase::IsOutChannelConnected(int chIdx) const
{
  OutChannel* ch = mOutChannels.Get(chIdx);
  return ch && ch->mConnected;
}

double IPlugBase::GetSamplesPerBeat()
{
  const double tempo = GetTempo();
  return tempo > 0.0 ? GetSampleRate() * 60.0 / tempo : 0.0;
}

bool IPlugBase::LegalIO(int nIn, int nOut) const
{
  for (int i = 0; i < mChannelIO.GetSize(); ++i)
  {
    const ChannelIO* io = mChannelIO.Get(i);
    if ((nIn < 0 || nIn == io->mIn) && (nOut < 0 || nOut == io->mOut)) return true;
  }
  return false;
}

void IPlugBase::LimitToStereoIO()
{
  const int nIn = NInChannels(), nOut = NOutChannels();
  if (nIn > 2) SetInputChannelConnections(2, nIn - 2, false);
  if (nOut > 2) SetOutputChannelConnections(2, nOut - 2, true);
}

void IPlugBase::SetInputChannelConnections(int idx, int n, bool connected)
{
  const int end = idx + n < NInChannels() ? idx + n : NInChannels();
  for (int i = idx < 0 ? 0 : idx; i < end; ++i)
  {
    InChannel* ch = mInChannels.Get(i);
    ch->mConnected = connected;
    if (!connected) *ch->mSrc = ch->mScratchBuf.Get();
  }
}

void IPlugBase::SetOutputChannelConnections(int idx, int n, bool connected)
{
  const int end = idx + n < NOutChannels() ? idx + n : NOutChannels();
  for (int i = idx < 0 ? 0 : idx; i < end; ++i)
  {
    OutChannel* ch = mOutChannels.Get(i);
    ch->mConnected = connected;
    if (!connected) *ch->mDest = ch->mScratchBuf.Get();
  }
}

// Each connected channel from idx on takes the next pointer of ppData;
// channels that are not connected keep their scratch buffer.
void IPlugBase::AttachInputBuffers(int idx, int n, double** ppData, int)
{
  const int end = idx + n < NInChannels() ? idx + n : NInChannels();
  for (int i = idx; i < end; ++i)
  {
    InChannel* ch = mInChannels.Get(i);
    if (ch->mConnected) *ch->mSrc = *ppData++;
  }
}

void IPlugBase::AttachInputBuffers(int idx, int n, float** ppData, int nFrames)
{
  const int end = idx + n < NInChannels() ? idx + n : NInChannels();
  for (int i = idx; i < end; ++i)
  {
    InChannel* ch = mInChannels.Get(i);
    if (!ch->mConnected) continue;
    double* scratch = ch->mScratchBuf.Get();
    const float* src = *ppData++;
    const int frames = nFrames < ch->mScratchBuf.GetSize() ? nFrames : ch->mScratchBuf.GetSize();
    for (int s = 0; s < frames; ++s) scratch[s] = src[s];
    *ch->mSrc = scratch;
  }
}

void IPlugBase::AttachOutputBuffers(int idx, int n, double** ppData)
{
  const int end = idx + n < NOutChannels() ? idx + n : NOutChannels();
  for (int i = idx; i < end; ++i)
  {
    OutChannel* ch = mOutChannels.Get(i);
    if (ch->mConnected) *ch->mDest = *ppData++;
  }
}

void IPlugBase::AttachOutputBuffers(int idx, int n, float** ppData)
{
  const int end = idx + n < NOutChannels() ? idx + n : NOutChannels();
  for (int i = idx; i < end; ++i)
  {
    OutChannel* ch = mOutChannels.Get(i);
    if (!ch->mConnected) continue;
    *ch->mDest = ch->mScratchBuf.Get();
    ch->mFDest = *ppData++;
  }
}

void IPlugBase::PassThroughBuffers(double, int nFrames)
{
  if (mLatency && mDelay)
    mDelay->ProcessBlock(mInData.Get(), mOutData.Get(), nFrames);
  else
    IPlugBase::ProcessDoubleReplacing(mInData.Get(), mOutData.Get(), nFrames);
}

void IPlugBase::PassThroughBuffers(float, int nFrames)
{
  PassThroughBuffers(0.0, nFrames);
  for (int i = 0; i < NOutChannels(); ++i)
  {
    OutChannel* ch = mOutChannels.Get(i);
    if (!ch->mConnected || !ch->mFDest) continue;
    for (int s = 0; s < nFrames; ++s) ch->mFDest[s] = (float)(*ch->mDest)[s];
  }
}

void IPlugBase::ProcessBuffers(double, int nFrames) { ProcessDoubleReplacing(mInData.Get(), mOutData.Get(), nFrames); }

void IPlugBase::ProcessBuffers(float, int nFrames)
{
  ProcessDoubleReplacing(mInData.Get(), mOutData.Get(), nFrames);
  for (int i = 0; i < NOutChannels(); ++i)
  {
    OutChannel* ch = mOutChannels.Get(i);
    if (!ch->mConnected || !ch->mFDest) continue;
    for (int s = 0; s < nFrames; ++s) ch->mFDest[s] = (float)(*ch->mDest)[s];
  }
}

void IPlugBase::ProcessBuffersAccumulating(float, int nFrames)
{
  ProcessDoubleReplacing(mInData.Get(), mOutData.Get(), nFrames);
  for (int i = 0; i < NOutChannels(); ++i)
  {
    OutChannel* ch = mOutChannels.Get(i);
    if (!ch->mConnected || !ch->mFDest) continue;
    for (int s = 0; s < nFrames; ++s) ch->mFDest[s] += (float)(*ch->mDest)[s];
  }
}

void IPlugBase::ZeroScratchBuffers()
{
  for (int i = 0; i < NInChannels(); ++i)
  {
    WDL_TypedBuf<double>& b = mInChannels.Get(i)->mScratchBuf;
    if (b.Get()) memset(b.Get(), 0, (size_t)b.GetSize() * sizeof(double));
  }
  for (int i = 0; i < NOutChannels(); ++i)
  {
    WDL_TypedBuf<double>& b = mOutChannels.Get(i)->mScratchBuf;
    if (b.Get()) memset(b.Get(), 0, (size_t)b.GetSize() * sizeof(double));
  }
}

void IPlugBase::SetInputLabel(int idx, const char* label)
{
  if (InChannel* ch = mInChannels.Get(idx)) ch->mLabel.Set(label);
}

void IPlugBase::SetOutputLabel(int idx, const char* label)
{
  if (OutChannel* ch = mOutChannels.Get(idx)) ch->mLabel.Set(label);
}

void IPlugBase::SetInputBusLabel(int idx, const char* label)
{
  if (idx < 0 || idx > 1) return;
  mInputBusLabels.Delete(idx, true);
  mInputBusLabels.Insert(idx, new WDL_String(label));
}

void IPlugBase::SetOutputBusLabel(int idx, const char* label)
{
  if (idx != 0) return;
  mOutputBusLabels.Delete(idx, true);
  mOutputBusLabels.Insert(idx, new WDL_String(label));
}

void IPlugBase::SetParameterFromGUI(int idx, double normalizedValue)
{
  SetParameterAsPlayer(idx, normalizedValue, false);
}

void IPlugBase::SetParameterFromController(int idx, double normalizedValue)
{
  SetParameterAsPlayer(idx, normalizedValue, true);
}

void IPlugBase::SetParameterAsPlayer(int idx, double normalizedValue, bool byController)
{
  IMutexLock lock(this);
  IParam* param = GetParam(idx);
  if (!param) return;
  param->SetNormalized(normalizedValue);
  InformHostOfParamChange(idx, normalizedValue);
  OnParamChange(idx);
  NoteParamMoved(idx, byController);
}

void IPlugBase::NoteParamMoved(int idx, bool byController)
{
  mMovedParam.Set(idx);
  if (!byController) mMovedByPanel.Set(idx);
  if (byController && idx >= 0 && idx < 64) mMovedByController.FetchOr(uint64_t(1) << idx);
}

int IPlugBase::TakeParamMoves(uint64_t* byController)
{
  *byController = mMovedByController.Exchange(0);
  return mMovedParam.Exchange(-1);
}

void IPlugBase::OnParamReset()
{
  for (int i = 0; i < NParams(); ++i) OnParamChange(i);
}

void IPlugBase::DirtyParameters()
{
  IMutexLock lock(this);
  for (int i = 0; i < NParams(); ++i) InformHostOfParamChange(i, GetParam(i)->GetNormalized());
}

bool IPlugBase::SendMidiMsgs(WDL_TypedBuf<IMidiMsg>* msgs)
{
  bool ok = true;
  IMidiMsg* m = msgs->Get();
  for (int i = 0; i < msgs->GetSize(); ++i) ok &= SendMidiMsg(m + i);
  return ok;
}

void IPlugBase::AttachGraphics(IPlugGUI* graphics)
{
  if (!graphics) return;
  IMutexLock lock(this);
  for (int i = 0; i < NParams(); ++i) graphics->SetParameterFromPlug(i, GetParam(i)->GetNormalized(), true);
  graphics->PrepDraw();
  mGraphics = graphics;
}

void IPlugBase::RedrawParamControls()
{
  if (!mGraphics) return;
  for (int i = 0; i < NParams(); ++i) mGraphics->SetParameterFromPlug(i, GetParam(i)->Value(), false);
}

void IPlugBase::SetLatency(int samples)
{
  mLatency = samples;
  if (mDelay) mDelay->SetDelayTime(samples);
}

int IPlugBase::GetEffectVersion(bool decimal) { return decimal ? GetDecimalVersion(mVersion) : mVersion; }

void IPlugBase::GetEffectVersionStr(char* str)
{
  GetVersionStr(mVersion, str);
  strcat(str, "D");
}

int IPlugBase::GetHostVersion(bool decimal)
{
  GetHost();
  return decimal ? GetDecimalVersion(mHostVersion) : mHostVersion;
}

void IPlugBase::GetHostVersionStr(char* str)
{
  GetHost();
  GetVersionStr(mHostVersion, str);
}

void IPlugBase::SetHost(const char* host, int version)
{
  mHost = LookUpHost(host);
  mHostVersion = version;
}

void IPlugBase::InitChunkWithIPlugVer(ByteChunk* chunk)
{
  chunk->Clear();
  const int magic = kChunkMagic, ver = kIPlugVersion;
  chunk->Put(&magic);
  chunk->Put(&ver);
}

int IPlugBase::GetIPlugVerFromChunk(ByteChunk* chunk, int* position)
{
  int magic = 0, ver = 0;
  const int pos = chunk->Get(&magic, *position);
  if (pos > *position && magic == kChunkMagic)
  {
    const int next = chunk->Get(&ver, pos);
    if (next > 0)
    {
      *position = next;
      return ver;
    }
  }
  return 0;
}

bool IPlugBase::SerializeParams(ByteChunk* chunk)
{
  IMutexLock lock(this);
  bool saved = true;
  for (int i = 0; i < NParams() && saved; ++i)
  {
    const double v = GetParam(i)->Value();
    saved = chunk->Put(&v) > 0;
  }
  return saved;
}

int IPlugBase::UnserializeParams(ByteChunk* chunk, int startPos)
{
  IMutexLock lock(this);
  int pos = startPos;
  // A list that ends early sets the parameter at the break to 0.0 (limited
  // to its bounds) and leaves those behind it as they were.
  for (int i = 0; i < NParams() && pos >= 0; ++i)
  {
    double v = 0.0;
    pos = chunk->Get(&v, pos);
    GetParam(i)->Set(v);
  }
  OnParamReset();
  return pos;
}

bool IPlugBase::CompareState(const unsigned char* incomingState, int startPos)
{
  const double* data = (const double*)incomingState + startPos;
  bool equal = true;
  for (int i = 0; i < NParams(); ++i)
  {
    double element;
    memcpy(&element, data + i, sizeof(double)); // the state need not be aligned
    const float a = (float)GetParam(i)->Value(), b = (float)element;
    equal &= fabs((double)(a - b)) < 1e-05;
  }
  return equal;
}
