// veltra-render: plays a Standard MIDI File through VELTRA into a sound
// file, without a sound card, a window or MIDI ports. It makes the instrument
// as the application does and applies the same fixed output gain, but it
// starts without the device's silent buffers and fade-in, and hands each
// MIDI event to the instrument at its exact offset inside the block.

#include "MidiFile.h"
#include "VELTRA.h"

#include <cerrno>
#include <chrono>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <getopt.h>
#include <iterator>
#include <memory>
#include <sndfile.h>
#include <string>
#include <unistd.h>
#include <vector>

namespace
{
// A MIDI file longer than this is refused rather than rendered for hours.
constexpr double kMaxSeconds = 4 * 3600.0;
constexpr int kExitUsage = 2;

std::string sTempPath; // removed on any error exit

[[noreturn]] void Fail(const char* fmt, ...)
{
  va_list ap;
  va_start(ap, fmt);
  fputs("veltra-render: ", stderr);
  vfprintf(stderr, fmt, ap);
  fputc('\n', stderr);
  va_end(ap);
  if (!sTempPath.empty()) unlink(sTempPath.c_str());
  exit(kExitUsage);
}

struct Options
{
  double rate = 44100.0;
  int block = 32;
  std::string program, bank;
  int preset = -1;
  std::vector<std::string> sets;
  int channel = 0;
  double tail = 2.0;
  double gain = kStandaloneOutputGain;
  std::string format = "float";
  bool quiet = false;
  std::string input, output;
};

void Usage(FILE* to)
{
  fputs("usage: veltra-render [options] INPUT.mid OUTPUT.wav\n"
        "Renders a Standard MIDI File through VELTRA into a WAV or FLAC file.\n\n"
        "  -r, --rate HZ           sample rate (default 44100)\n"
        "  -b, --block N           frames per instrument block (default 32)\n"
        "  -p, --program FILE.fxp  load a program after the default one\n"
        "      --bank FILE.fxb     load a bank\n"
        "      --preset N          with --bank: restore program N (default: the bank's current one)\n"
        "  -s, --set NAME=VALUE    set a parameter, by its name or index, to a real value (repeatable)\n"
        "      --channel N         play only MIDI channel N (1-16)\n"
        "  -t, --tail SECONDS      render this long after the last MIDI event (default 2)\n"
        "      --gain X            output gain (default 0.25)\n"
        "      --format F          float, double, pcm16 or pcm24 (default float)\n"
        "  -q                      quiet: no progress and no summary\n"
        "  -h, --help              this help\n"
        "      --version           the version\n",
        to);
}

double Number(const char* option, const char* text, double lo, double hi)
{
  char* end = nullptr;
  errno = 0;
  const double v = strtod(text, &end);
  if (!*text || *end || errno || !std::isfinite(v)) Fail("%s: '%s' is not a number", option, text);
  if (v < lo || v > hi) Fail("%s: %s is outside %g..%g", option, text, lo, hi);
  return v;
}

int Integer(const char* option, const char* text, int lo, int hi)
{
  const double v = Number(option, text, lo, hi);
  if (v != std::floor(v)) Fail("%s: '%s' is not a whole number", option, text);
  return (int)v;
}

Options ParseOptions(int argc, char** argv)
{
  enum
  {
    kOptBank = 256,
    kOptPreset,
    kOptChannel,
    kOptGain,
    kOptFormat,
    kOptVersion
  };
  static const option longOpts[] = {{"rate", required_argument, nullptr, 'r'},
                                    {"block", required_argument, nullptr, 'b'},
                                    {"program", required_argument, nullptr, 'p'},
                                    {"bank", required_argument, nullptr, kOptBank},
                                    {"preset", required_argument, nullptr, kOptPreset},
                                    {"set", required_argument, nullptr, 's'},
                                    {"channel", required_argument, nullptr, kOptChannel},
                                    {"tail", required_argument, nullptr, 't'},
                                    {"gain", required_argument, nullptr, kOptGain},
                                    {"format", required_argument, nullptr, kOptFormat},
                                    {"help", no_argument, nullptr, 'h'},
                                    {"version", no_argument, nullptr, kOptVersion},
                                    {nullptr, 0, nullptr, 0}};
  Options o;
  opterr = 0; // our own one-line messages
  int c;
  while ((c = getopt_long(argc, argv, ":r:b:p:s:t:qh", longOpts, nullptr)) != -1)
  {
    switch (c)
    {
    case 'r':
      o.rate = Number("--rate", optarg, 1000.0, 768000.0);
      break;
    case 'b':
      o.block = Integer("--block", optarg, 1, kMaxSignalVectorSize);
      break;
    case 'p':
      o.program = optarg;
      break;
    case kOptBank:
      o.bank = optarg;
      break;
    case kOptPreset:
      o.preset = Integer("--preset", optarg, 0, 1 << 20);
      break;
    case 's':
      o.sets.push_back(optarg);
      break;
    case kOptChannel:
      o.channel = Integer("--channel", optarg, 1, 16);
      break;
    case 't':
      o.tail = Number("--tail", optarg, 0.0, 3600.0);
      break;
    case kOptGain:
      o.gain = Number("--gain", optarg, -1e6, 1e6);
      break;
    case kOptFormat:
      o.format = optarg;
      break;
    case 'q':
      o.quiet = true;
      break;
    case 'h':
      Usage(stdout);
      exit(0);
    case kOptVersion:
    {
      char v[32];
      GetVersionStr(kVeltraVersion, v);
      printf("%s\n", v);
      exit(0);
    }
    case ':':
      Fail("option '%s' needs a value (see --help)", argv[optind - 1]);
    default:
      Fail("unknown option '%s' (see --help)", argv[optind - 1]);
    }
  }
  if (argc - optind != 2) Fail("expected INPUT.mid and OUTPUT.wav (see --help)");
  o.input = argv[optind];
  o.output = argv[optind + 1];
  if (o.preset >= 0 && o.bank.empty()) Fail("--preset: needs --bank");
  return o;
}

int SoundFormat(const Options& o)
{
  const size_t dot = o.output.rfind('.');
  std::string ext = dot == std::string::npos ? "" : o.output.substr(dot + 1);
  for (char& ch : ext) ch = (char)tolower((unsigned char)ch);
  int container = 0;
  if (ext == "wav")
    container = SF_FORMAT_WAV;
  else if (ext == "flac")
    container = SF_FORMAT_FLAC;
  else
    Fail("%s: unknown container '.%s' (use .wav or .flac)", o.output.c_str(), ext.c_str());
  int sub = 0;
  if (o.format == "float")
    sub = SF_FORMAT_FLOAT;
  else if (o.format == "double")
    sub = SF_FORMAT_DOUBLE;
  else if (o.format == "pcm16")
    sub = SF_FORMAT_PCM_16;
  else if (o.format == "pcm24")
    sub = SF_FORMAT_PCM_24;
  else
    Fail("--format: '%s' is not float, double, pcm16 or pcm24", o.format.c_str());
  if (container == SF_FORMAT_FLAC && (sub == SF_FORMAT_FLOAT || sub == SF_FORMAT_DOUBLE))
    Fail("--format: FLAC holds pcm16 or pcm24, not %s", o.format.c_str());
  return container | sub;
}

std::vector<unsigned char> ReadInput(const std::string& path)
{
  std::ifstream f(path, std::ios::binary);
  if (!f) Fail("%s: %s", path.c_str(), strerror(errno ? errno : ENOENT));
  f.seekg(0, std::ios::end);
  const std::streamoff size = f.tellg();
  if (size < 0 || size > (64 << 20)) Fail("%s: not a MIDI file of a sensible size", path.c_str());
  f.seekg(0);
  std::vector<unsigned char> data((size_t)size);
  if (size && !f.read((char*)data.data(), size)) Fail("%s: cannot be read", path.c_str());
  return data;
}

// A parameter by its name as shown, or by its index, set to a real value
// through the road of a state restore.
void ApplySet(VELTRA* plug, const std::string& set)
{
  const size_t eq = set.rfind('=');
  if (eq == std::string::npos || eq == 0) Fail("--set: '%s' is not NAME=VALUE", set.c_str());
  const std::string name = set.substr(0, eq), value = set.substr(eq + 1);
  int idx = -1;
  for (int i = 0; i < plug->NParams() && idx < 0; ++i)
    if (name == plug->GetParam(i)->GetNameForHost() && *plug->GetParam(i)->GetNameForHost()) idx = i;
  if (idx < 0)
  {
    char* end = nullptr;
    const long n = strtol(name.c_str(), &end, 10);
    if (*end || n < 0 || n >= plug->NParams()) Fail("--set: no parameter '%s'", name.c_str());
    idx = (int)n;
  }
  IParam* param = plug->GetParam(idx);
  double lo, hi;
  param->GetBounds(&lo, &hi);
  char* end = nullptr;
  const double v = strtod(value.c_str(), &end);
  if (value.empty() || *end || !std::isfinite(v)) Fail("--set: '%s' is not a number", value.c_str());
  if (v < lo || v > hi) Fail("--set: %s=%s is outside %g..%g", name.c_str(), value.c_str(), lo, hi);
  IPlugBase::IMutexLock lock(plug);
  param->Set(v);
  plug->OnParamChange(idx);
}

void LoadPrograms(VELTRA* plug, const Options& o)
{
  if (!o.program.empty())
  {
    WDL_String path(o.program.c_str());
    if (access(path.Get(), R_OK)) Fail("%s: %s", o.program.c_str(), strerror(errno));
    if (!plug->LoadProgramFromFXP(&path)) Fail("%s: not a VELTRA program (refused)", o.program.c_str());
  }
  if (!o.bank.empty())
  {
    WDL_String path(o.bank.c_str());
    if (access(path.Get(), R_OK)) Fail("%s: %s", o.bank.c_str(), strerror(errno));
    if (!plug->LoadBankFromFXB(&path)) Fail("%s: not a VELTRA bank (refused)", o.bank.c_str());
    if (o.preset >= plug->NPresets()) Fail("--preset: %d is beyond the bank's %d programs", o.preset, plug->NPresets());
    if (o.preset >= 0) plug->RestorePreset(o.preset);
  }
  for (const std::string& s : o.sets) ApplySet(plug, s);
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
} // namespace

int main(int argc, char** argv)
{
  const Options o = ParseOptions(argc, argv);
  const int format = SoundFormat(o);

  const std::vector<unsigned char> data = ReadInput(o.input);
  std::vector<MidiFileEvent> events;
  std::string why;
  if (!ReadMidiFile(data.data(), data.size(), &events, &why)) Fail("%s: %s", o.input.c_str(), why.c_str());
  const double lastEvent = events.empty() ? 0.0 : events.back().mSeconds;
  if (lastEvent + o.tail > kMaxSeconds)
    Fail("%s: lasts %.0f s, longer than the %.0f s this renderer takes", o.input.c_str(), lastEvent + o.tail,
         kMaxSeconds);

  // As the application makes it, and as its audio engine sets it up.
  std::unique_ptr<VELTRA> plug((VELTRA*)MakePlug(nullptr, nullptr));
  plug->RestorePreset(0);
  LoadPrograms(plug.get(), o);
  plug->SetBlockSize(o.block);
  plug->SetSampleRate(o.rate);
  plug->Reset();

  // Written beside the output, and renamed only when complete.
  sTempPath = o.output + ".part";
  SF_INFO info = {};
  info.samplerate = (int)o.rate;
  info.channels = 2;
  info.format = format;
  SNDFILE* sf = sf_open(sTempPath.c_str(), SFM_WRITE, &info);
  if (!sf)
  {
    const std::string reason = sf_strerror(nullptr);
    sTempPath.clear(); // nothing was made
    Fail("%s: cannot write: %s", o.output.c_str(), reason.c_str());
  }
  sf_command(sf, SFC_SET_CLIPPING, nullptr, SF_TRUE);
  // The peak chunk carries a time stamp; without it two renders of the same
  // input are identical files.
  sf_command(sf, SFC_SET_ADD_PEAK_CHUNK, nullptr, SF_FALSE);

  const long long total = (long long)std::floor((lastEvent + o.tail) * o.rate + 0.5);
  // Frames gather here and go to the file in large writes.
  const int kWriteFrames = 8192;
  std::vector<double> left((size_t)o.block), right((size_t)o.block), frames(2 * (size_t)(kWriteFrames + o.block));
  int pending = 0;
  auto flush = [&]()
  {
    if (pending && sf_writef_double(sf, frames.data(), pending) != pending)
    {
      const std::string reason = sf_strerror(sf);
      sf_close(sf);
      Fail("%s: cannot write: %s", o.output.c_str(), reason.c_str());
    }
    pending = 0;
  };
  double* outs[2] = {left.data(), right.data()};
  Progress progress(!o.quiet && isatty(STDERR_FILENO), (double)total / o.rate);
  size_t next = 0;
  for (long long b0 = 0; b0 < total; b0 += o.block)
  {
    const int n = (int)std::min<long long>(o.block, total - b0);
    // Every event that falls in this block, before it, at its own sample.
    for (; next < events.size(); ++next)
    {
      const MidiFileEvent& e = events[next];
      const long long at = (long long)std::floor(e.mSeconds * o.rate + 0.5);
      if (at >= b0 + n) break;
      if (o.channel && (e.mStatus & 0x0F) + 1 != o.channel) continue;
      IMidiMsg msg((int)(at - b0), e.mStatus, e.mData1, e.mData2);
      plug->ProcessMidiMsg(&msg);
    }
    plug->LockMutexAndProcessDoubleReplacing(nullptr, outs, n);
    for (int i = 0; i < n; ++i, ++pending)
    {
      frames[2 * (size_t)pending] = left[(size_t)i] * o.gain;
      frames[2 * (size_t)pending + 1] = right[(size_t)i] * o.gain;
    }
    if (pending >= kWriteFrames) flush();
    progress.Update((double)(b0 + n) / o.rate);
  }
  flush();
  if (sf_close(sf)) Fail("%s: cannot write", o.output.c_str());
  if (rename(sTempPath.c_str(), o.output.c_str())) Fail("%s: %s", o.output.c_str(), strerror(errno));
  sTempPath.clear();
  progress.Done();
  if (!o.quiet)
  {
    const double seconds = (double)total / o.rate, took = progress.Elapsed();
    fprintf(stderr, "rendered %.1f s in %.2f s (%.0fx real time)\n", seconds, took, seconds / std::max(took, 1e-9));
  }
  return 0;
}
