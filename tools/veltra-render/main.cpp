// veltra-render: plays a Standard MIDI File through VELTRA into a sound
// file, without a sound card, a window or MIDI ports. It makes the instrument
// as the application does and applies the same fixed output gain, but it
// starts without the device's silent buffers and fade-in, and hands each
// MIDI event to the instrument at its exact offset inside the block; a
// pitch-wheel change, which the instrument applies when it arrives, ends the
// block before its sample. So the block size changes the speed, never the
// sound.

#include "Cli.h"
#include "IControllerMap.h"
#include "IMidiInput.h"
#include "IRateAdapter.h"
#include "MidiFile.h"
#include "OutputFile.h"
#include "VELTRA.h"

#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <unistd.h>
#include <vector>

namespace
{
// A MIDI file longer than this is refused rather than rendered for hours.
constexpr double kMaxSeconds = 4 * 3600.0;

// The messages the instrument answers: notes, control changes and the
// pitch wheel. The rest of a file (program changes, aftertouch) is never
// stored.
bool Plays(uint8_t status)
{
  const int kind = status >> 4;
  return kind == 0x8 || kind == 0x9 || kind == 0xB || kind == 0xE;
}

std::vector<unsigned char> ReadInput(const std::string& path, const char* what = "a MIDI file")
{
  std::ifstream f(path, std::ios::binary);
  f.seekg(0, std::ios::end);
  const std::streamoff size = f.tellg();
  if (size < 0) Fail("%s: cannot be read", path.c_str());
  if (size > (64 << 20)) Fail("%s: %lld bytes is too large for %s", path.c_str(), (long long)size, what);
  f.seekg(0);
  std::vector<unsigned char> data((size_t)size);
  if (size && !f.read((char*)data.data(), size)) Fail("%s: cannot be read", path.c_str());
  return data;
}

// A parameter by its name or index, set to a real value through the road of
// a state restore.
void ApplySet(VELTRA* plug, const std::string& set)
{
  const size_t eq = set.rfind('=');
  if (eq == std::string::npos || eq == 0) Fail("--set: '%s' is not NAME=VALUE", set.c_str());
  const std::string name = set.substr(0, eq), value = set.substr(eq + 1);
  const int idx = FindSettableParam(plug, name);
  IParam* param = plug->GetParam(idx);
  double lo, hi;
  param->GetBounds(&lo, &hi);
  char* end = nullptr;
  errno = 0;
  const double v = strtod(value.c_str(), &end);
  if (value.empty() || *end || std::isnan(v)) Fail("--set: '%s' is not a number", value.c_str());
  if (errno == ERANGE || v < lo || v > hi)
    Fail("--set: %s=%s is out of range (%g to %g)", param->GetNameForHost(), value.c_str(), lo, hi);
  IPlugBase::IMutexLock lock(plug);
  param->Set(v);
  plug->OnParamChange(idx);
}

// The current program that a bank's head names, read before the bank is
// loaded; -1 when the head is too short to say.
int BankCurrentProgram(const std::string& path)
{
  unsigned char head[32];
  std::ifstream f(path, std::ios::binary);
  if (!f.read((char*)head, sizeof(head))) return -1;
  return (int)((uint32_t)head[28] << 24 | (uint32_t)head[29] << 16 | (uint32_t)head[30] << 8 | head[31]);
}

// The bank first, then a program over the bank's current one, then the
// settings.
void LoadPrograms(VELTRA* plug, const Options& o)
{
  if (!o.bank.empty())
  {
    WDL_String path(o.bank.c_str());
    const int current = BankCurrentProgram(o.bank);
    if (!plug->LoadBankFromFXB(&path)) Fail("%s: not a VELTRA bank (refused)", o.bank.c_str());
    const int last = plug->NPresets() - 1;
    if (current < 0 || current > last)
      Fail("%s: its current program, %d, is outside the bank's 0..%d", o.bank.c_str(), current, last);
    if (o.preset > last) Fail("--preset: %d is outside the bank's programs 0..%d", o.preset, last);
    if (o.preset >= 0) plug->RestorePreset(o.preset);
  }
  if (!o.program.empty())
  {
    WDL_String path(o.program.c_str());
    if (!plug->LoadProgramFromFXP(&path)) Fail("%s: not a VELTRA program (refused)", o.program.c_str());
  }
  for (const std::string& s : o.sets) ApplySet(plug, s);
}

// A controllers file, read as the application reads its own: a line that
// cannot be used is named and skipped.
void ReadControllers(const std::string& path, VELTRA* plug, IControllerMap* map)
{
  CheckReadableFile(path, "controllers file");
  const std::vector<unsigned char> data = ReadInput(path, "a controllers file");
  std::string complaints;
  map->Read(std::string(data.begin(), data.end()), plug, &complaints);
  for (size_t at = 0, eol; (eol = complaints.find('\n', at)) != std::string::npos; at = eol + 1)
    fprintf(stderr, "veltra-render: warning: %s: %s, skipped\n", path.c_str(), complaints.substr(at, eol - at).c_str());
}

class Progress
{
public:
  Progress(bool show, double total) : mShow(show), mTotal(total), mStart(Clock::now()), mLast(mStart) {}
  void Update(double rendered)
  {
    if (!mShow) return;
    const Clock::time_point now = Clock::now();
    if (now - mLast < std::chrono::milliseconds(100) && rendered < mTotal) return;
    mLast = now;
    const double frac = mTotal > 0.0 ? rendered / mTotal : 1.0;
    const int filled = (int)(frac * 30);
    fprintf(stderr, "\r[%.*s%*s] %3d%%  %.0fx", filled, "##############################", 30 - filled, "",
            (int)(frac * 100), rendered / std::max(Elapsed(), 1e-9));
    fflush(stderr);
  }
  void Done()
  {
    if (mShow) fputc('\n', stderr);
  }
  double Elapsed() const { return std::chrono::duration<double>(Clock::now() - mStart).count(); }

private:
  typedef std::chrono::steady_clock Clock;
  bool mShow;
  double mTotal;
  Clock::time_point mStart, mLast;
};

void Summary(const SoundOutput& out, double seconds, double took)
{
  char peak[32] = "silent";
  if (out.Peak() > 0.0) snprintf(peak, sizeof(peak), "peak %+.1f dBFS", 20.0 * std::log10(out.Peak()));
  fprintf(stderr, "rendered %.1f s in %.2f s (%.0fx real time), %s\n", seconds, took, seconds / std::max(took, 1e-9),
          peak);
}
} // namespace

int main(int argc, char** argv)
{
  const Options o = ParseOptions(argc, argv);
  CheckReadableFile(o.input, "MIDI file");
  if (!o.bank.empty()) CheckReadableFile(o.bank, "bank file");
  if (!o.program.empty()) CheckReadableFile(o.program, "program file");
  const OutputTarget target = CheckOutput(o.output, o.input);
  const int format = SampleFormat(o.format, target.container);

  const std::vector<unsigned char> data = ReadInput(o.input);
  std::vector<MidiFileEvent> events;
  std::string why;
  if (!ReadMidiFile(data.data(), data.size(), &events, &why, Plays)) Fail("%s: %s", o.input.c_str(), why.c_str());
  const double lastEvent = events.empty() ? 0.0 : events.back().mSeconds;
  if (lastEvent + o.tail > kMaxSeconds)
    Fail("%s: lasts %.0f s, longer than the %.0f s this renderer takes", o.input.c_str(), lastEvent + o.tail,
         kMaxSeconds);

  // At a rate other than its own the instrument plays at its own, and its
  // output is converted as the plug-ins convert it; the output then starts
  // the converter's delay later, and that much more is rendered and the
  // start dropped, so that a note at a time sounds at that time.
  IRateAdapter converter;
  const bool convert = !o.nativeRate && converter.Setup(o.rate);
  const int latency = convert ? converter.Latency() : 0;
  // A block of the output's frames may take a few more of the instrument's.
  const int instBlock = convert ? converter.MostInstrumentFrames(o.block) : o.block;

  // As the application makes it, and as its audio engine sets it up.
  std::unique_ptr<VELTRA> plug((VELTRA*)MakePlug(nullptr, nullptr));
  plug->RestorePreset(0);
  LoadPrograms(plug.get(), o);
  plug->SetBlockSize(instBlock);
  plug->SetSampleRate(convert ? IRateAdapter::kInstrumentRate : o.rate);
  plug->Reset();

  CatchStopSignals();
  const long long total = (long long)std::floor((lastEvent + o.tail) * o.rate + 0.5);
  SoundOutput out(target, o.rate, format, total);
  std::vector<long long> sampleOf(events.size());
  for (size_t k = 0; k < events.size(); ++k) sampleOf[k] = MidiEventSample(events[k], o.rate);
  auto plays = [&](const MidiFileEvent& e) { return !o.channel || (e.mStatus & 0x0F) + 1 == o.channel; };

  // Frames gather here and go to the file in large writes.
  const int kWriteFrames = 8192;
  std::vector<double> left((size_t)instBlock), right((size_t)instBlock), frames(2 * (size_t)(kWriteFrames + o.block));
  int pending = 0;
  // The converter's frames into the file's, the first `latency` dropped.
  struct Converted : IRateAdapter::IOutput
  {
    std::vector<double>* frames;
    int* pending;
    long long drop;
    void Write(int, const float* f, int n) override
    {
      const int skip = (int)std::min<long long>(drop, n);
      drop -= skip;
      for (int i = skip; i < n; ++i, ++*pending)
      {
        (*frames)[2 * (size_t)*pending] = f[2 * i];
        (*frames)[2 * (size_t)*pending + 1] = f[2 * i + 1];
      }
    }
  } converted;
  converted.frames = &frames;
  converted.pending = &pending;
  converted.drop = latency;
  double* outs[2] = {left.data(), right.data()};
  Progress progress(!o.quiet && isatty(STDERR_FILENO), (double)total / o.rate);
  // The events go through the input stage that every host of the
  // instrument runs; the pieces of a block are rendered as it asks.
  struct Pieces : IMidiInput::IBlockSink
  {
    VELTRA* mPlug;
    double** mOuts;
    Pieces(VELTRA* plug, double** outs) : IBlockSink(plug), mPlug(plug), mOuts(outs) {}
    void Render(int from, int to) override
    {
      double* outs[2] = {mOuts[0] + from, mOuts[1] + from};
      mPlug->LockMutexAndProcessDoubleReplacing(nullptr, outs, to - from);
    }
  } pieces(plug.get(), outs);
  IMidiInput input;
  IControllerMap controllers;
  if (!o.controllers.empty())
  {
    ReadControllers(o.controllers, plug.get(), &controllers);
    input.SetControllers(&controllers, plug.get());
    plug->SetPitchWheelScale(controllers.WheelRange() / (double)IControllerMap::kDefaultWheelRange);
  }
  size_t next = 0;
  const long long hostTotal = total + latency;
  for (long long pos = 0; pos < hostTotal;)
  {
    if (const int sig = StopRequested())
    {
      RemovePartialOutput();
      progress.Done();
      fprintf(stderr, "veltra-render: stopped; %s was not written\n", o.output.c_str());
      return 128 + sig;
    }
    const long long end = std::min<long long>(pos + o.block, hostTotal);
    const int n = (int)(end - pos);
    const int nInst = convert ? converter.Begin(n) : n;
    for (; next < events.size() && sampleOf[next] < end; ++next)
    {
      const MidiFileEvent& e = events[next];
      if (!plays(e)) continue;
      const int frame = (int)(sampleOf[next] - pos);
      input.Input(convert ? converter.InstrumentFrame(frame) : frame, IMidiMsg(0, e.mStatus, e.mData1, e.mData2),
                  &pieces);
    }
    pieces.Finish(&input, nInst);
    if (convert)
    {
      converter.Push(left.data(), right.data(), nInst, o.gain, &converted);
      converter.End(&converted);
    }
    else
      for (int i = 0; i < n; ++i, ++pending)
      {
        frames[2 * (size_t)pending] = left[(size_t)i] * o.gain;
        frames[2 * (size_t)pending + 1] = right[(size_t)i] * o.gain;
      }
    if (pending >= kWriteFrames) out.Write(frames.data(), pending), pending = 0;
    pos = end;
    progress.Update((double)std::min(pos, total) / o.rate);
  }
  out.Write(frames.data(), pending);
  out.Commit();
  progress.Done();
  if (out.Clipped())
    fprintf(stderr, "veltra-render: warning: %lld samples clipped in %s; a lower --gain keeps them whole\n",
            out.Clipped(), out.FormatName());
  if (!o.quiet) Summary(out, (double)total / o.rate, progress.Elapsed());
  return 0;
}
