#include "IPlugBase.h"

#include <cassert>
#include <cstdio>
#include <cstring>

namespace
{
void CopyName(char* dest, const char* src) { snprintf(dest, 128, "%s", src ? src : ""); }
} // namespace

IPlugBase::IPlugBase(int nParams, const char* channelIOStr, int nPresets, const char* effectName,
                     const char* productName, const char* mfrName, int vendorVersion, int uniqueID, int mfrID,
                     int latency, bool plugDoesMidi, bool plugDoesChunks, bool plugIsInst, EAPI plugAPI)
    : mUniqueID(uniqueID), mMfrID(mfrID), mVersion(vendorVersion), mAPI(plugAPI), mStateChunks(plugDoesChunks),
      mIsInst(plugIsInst), mDoesMIDI(plugDoesMidi), mLatency(latency)
{
  (void)nParams;
  (void)nPresets;
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
  mInChannels.Empty(true);
  mOutChannels.Empty(true);
  mChannelIO.Empty(true);
}

void IPlugBase::Reset() { IMutexLock lock(this); }

void IPlugBase::OnParamChange(int) { IMutexLock lock(this); }

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

void IPlugBase::ProcessMidiMsg(IMidiMsg*) {}

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

bool IPlugBase::LegalIO(int nIn, int nOut) const
{
  for (int i = 0; i < mChannelIO.GetSize(); ++i)
  {
    const ChannelIO* io = mChannelIO.Get(i);
    if ((nIn < 0 || nIn == io->mIn) && (nOut < 0 || nOut == io->mOut)) return true;
  }
  return false;
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
