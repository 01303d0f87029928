#include "Cli.h"

#include "OutputFile.h"
#include "VELTRA.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <getopt.h>
#include <memory>
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
constexpr int kExitUsage = 2;

void Usage(FILE* to)
{
  fputs("usage: veltra-render [options] INPUT.mid OUTPUT.wav|OUTPUT.flac\n"
        "Renders a Standard MIDI File (or an RMID file) through VELTRA into a WAV or FLAC file.\n\n"
        "  -r, --rate HZ           sample rate, a whole number (default 44100); VELTRA plays at 44100 Hz\n"
        "                          and its output is converted, so that it sounds the same at every rate\n"
        "      --native-rate       play VELTRA itself at the --rate instead (its times in samples then\n"
        "                          follow the rate)\n"
        "  -b, --block N           frames per instrument block, 1 to 8192 (default 32); changes the\n"
        "                          speed, never the sound\n"
        "  -p, --program FILE.fxp  load a program; with --bank, over the bank's current program\n"
        "      --bank FILE.fxb     load a bank (before --program)\n"
        "      --preset N          with --bank: restore the bank's program N (default: its current one)\n"
        "  -s, --set NAME=VALUE    set a parameter, by its name (any case) or index, to a value in its\n"
        "                          own units (repeatable); --list-params shows them all\n"
        "      --list-params       list every parameter: index, name, range, default, unit\n"
        "      --channel N         play only MIDI channel N (1-16)\n"
        "      --controllers FILE  control changes that move parameters, and the wheel's range, as the\n"
        "                          application's controllers.ini gives them\n"
        "  -t, --tail SECONDS      render this long after the last MIDI event (default 2)\n"
        "      --gain X            output gain (default 0.25, the application's)\n"
        "      --format F          float, double, pcm16 or pcm24 (default: float for WAV, pcm24 for FLAC)\n"
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
  if (!*text || *end || std::isnan(v)) Fail("%s: '%s' is not a number", option, text);
  if (errno == ERANGE || !std::isfinite(v) || v < lo || v > hi)
    Fail("%s: %s is out of range (%g to %g)", option, text, lo, hi);
  return v;
}

int Integer(const char* option, const char* text, int lo, int hi, const char* unit = "")
{
  const double v = Number(option, text, lo, hi);
  if (v != std::floor(v)) Fail("%s: %s is not a whole number%s", option, text, unit);
  return (int)v;
}

// Edit distance, for the hint on an unknown parameter name.
size_t Distance(const std::string& a, const std::string& b)
{
  std::vector<size_t> row(b.size() + 1);
  for (size_t j = 0; j <= b.size(); ++j) row[j] = j;
  for (size_t i = 1; i <= a.size(); ++i)
  {
    size_t diag = row[0];
    row[0] = i;
    for (size_t j = 1; j <= b.size(); ++j)
    {
      const size_t up = row[j];
      const bool same = tolower((unsigned char)a[i - 1]) == tolower((unsigned char)b[j - 1]);
      row[j] = std::min({row[j] + 1, row[j - 1] + 1, diag + (same ? 0 : 1)});
      diag = up;
    }
  }
  return row[b.size()];
}

bool IsMeter(VELTRA* plug, int idx) { return plug->GetParam(idx)->Type() == IParam::kTypeNone; }

std::string Lower(std::string s)
{
  for (char& c : s) c = (char)tolower((unsigned char)c);
  return s;
}

// The names an unknown one may have meant: those that contain it (in any
// case), else the closest by edit distance.
std::string Hint(VELTRA* plug, const std::string& name)
{
  std::vector<std::string> containing;
  int best = -1;
  size_t bestDistance = (size_t)-1;
  for (int i = 0; i < plug->NParams(); ++i)
  {
    if (IsMeter(plug, i)) continue;
    const std::string candidate = plug->GetParam(i)->GetNameForHost();
    if (!name.empty() && Lower(candidate).find(Lower(name)) != std::string::npos) containing.push_back(candidate);
    const size_t d = Distance(name, candidate);
    if (d < bestDistance) best = i, bestDistance = d;
  }
  if (containing.empty()) containing.push_back(plug->GetParam(best)->GetNameForHost());
  std::string hint = "did you mean ";
  for (size_t k = 0; k < containing.size(); ++k)
    hint += (k == 0 ? "'" : k + 1 == containing.size() ? " or '" : ", '") + containing[k] + "'";
  return hint + "?";
}

// What a parameter's values or unit are called: "0 off, 1 On", "cent".
std::string ValueNames(const IParam* p, int idx)
{
  const VELTRAParamNames names = VeltraParamNames(idx);
  if (names.unit) return names.unit;
  double lo, hi;
  p->GetBounds(&lo, &hi);
  std::string s;
  for (int k = 0; k < names.nValues; ++k) s += (k ? ", " : "") + std::to_string((int)lo + k) + " " + names.values[k];
  return s;
}
} // namespace

void Fail(const char* fmt, ...)
{
  va_list ap;
  va_start(ap, fmt);
  fputs("veltra-render: ", stderr);
  vfprintf(stderr, fmt, ap);
  fputc('\n', stderr);
  va_end(ap);
  RemovePartialOutput();
  exit(kExitUsage);
}

void CheckReadableFile(const std::string& path, const char* what)
{
  struct stat st;
  if (stat(path.c_str(), &st))
  {
    const int err = errno;
    const size_t slash = path.rfind('/');
    const std::string folder = slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
    struct stat fst;
    if (err == ENOENT && stat(folder.c_str(), &fst))
      Fail("%s: the folder %s does not exist", path.c_str(), folder.c_str());
    Fail("%s: %s", path.c_str(), strerror(err));
  }
  if (S_ISDIR(st.st_mode)) Fail("%s is a folder, not a %s", path.c_str(), what);
  if (!S_ISREG(st.st_mode)) Fail("%s is a pipe or a device, not a %s", path.c_str(), what);
  if (access(path.c_str(), R_OK)) Fail("%s: %s", path.c_str(), strerror(errno));
}

int FindSettableParam(VELTRA* plug, const std::string& name)
{
  int idx = -1;
  if (!name.empty() && name.find_first_not_of("0123456789") == std::string::npos)
  {
    idx = Integer("--set", name.c_str(), 0, plug->NParams() - 1);
  }
  else
  {
    for (int i = 0; i < plug->NParams() && idx < 0; ++i)
      if (!IsMeter(plug, i) && !strcasecmp(name.c_str(), plug->GetParam(i)->GetNameForHost())) idx = i;
    if (idx < 0)
      Fail("--set: no parameter '%s'; %s (--list-params shows them all)", name.c_str(), Hint(plug, name).c_str());
  }
  if (IsMeter(plug, idx)) Fail("--set: %d is a meter, not a setting", idx);
  return idx;
}

void ListParams(VELTRA* plug)
{
  printf("%5s  %-22s %-22s %-10s %s\n", "index", "name", "range", "default", "unit");
  for (int i = 0; i < plug->NParams(); ++i)
  {
    if (IsMeter(plug, i)) continue;
    const IParam* p = plug->GetParam(i);
    double lo, hi;
    p->GetBounds(&lo, &hi);
    char range[64], def[32];
    snprintf(range, sizeof(range), "%g .. %g", lo, hi);
    snprintf(def, sizeof(def), "%g", p->GetDefault());
    printf("%5d  %-22s %-22s %-10s %s\n", i, p->GetNameForHost(), range, def, ValueNames(p, i).c_str());
  }
}

namespace
{
enum
{
  kOptBank = 256,
  kOptPreset,
  kOptChannel,
  kOptGain,
  kOptFormat,
  kOptVersion,
  kOptListParams,
  kOptControllers,
  kOptNativeRate
};

const option kLongOpts[] = {{"rate", required_argument, nullptr, 'r'},
                            {"block", required_argument, nullptr, 'b'},
                            {"program", required_argument, nullptr, 'p'},
                            {"bank", required_argument, nullptr, kOptBank},
                            {"preset", required_argument, nullptr, kOptPreset},
                            {"set", required_argument, nullptr, 's'},
                            {"list-params", no_argument, nullptr, kOptListParams},
                            {"channel", required_argument, nullptr, kOptChannel},
                            {"controllers", required_argument, nullptr, kOptControllers},
                            {"native-rate", no_argument, nullptr, kOptNativeRate},
                            {"tail", required_argument, nullptr, 't'},
                            {"gain", required_argument, nullptr, kOptGain},
                            {"format", required_argument, nullptr, kOptFormat},
                            {"help", no_argument, nullptr, 'h'},
                            {"version", no_argument, nullptr, kOptVersion},
                            {nullptr, 0, nullptr, 0}};

// --help, --version and --list-params: the answer, and the end.
[[noreturn]] void Answer(int c)
{
  if (c == 'h') Usage(stdout);
  if (c == kOptVersion)
  {
    char v[32];
    GetVersionStr(kVeltraVersion, v);
    printf("veltra-render %s\n", v);
  }
  if (c == kOptListParams)
  {
    std::unique_ptr<VELTRA> plug((VELTRA*)MakePlug(nullptr, nullptr));
    ListParams(plug.get());
  }
  exit(0);
}

// One option and its value into the options, each value checked.
void TakeOption(int c, const char* value, Options* o, char** argv)
{
  switch (c)
  {
  case 'r':
    o->rate = Integer("--rate", value, 1000, 768000, " of hertz");
    break;
  case 'b':
    o->block = Integer("--block", value, 1, kMaxSignalVectorSize);
    break;
  case 'p':
    o->program = value;
    break;
  case kOptBank:
    o->bank = value;
    break;
  case kOptPreset:
    o->preset = Integer("--preset", value, INT_MIN, INT_MAX);
    if (o->preset < 0) Fail("--preset: %d is no program number (they count from 0)", o->preset);
    break;
  case 's':
    o->sets.push_back(value);
    break;
  case kOptChannel:
    o->channel = Integer("--channel", value, 1, 16);
    break;
  case kOptControllers:
    o->controllers = value;
    break;
  case kOptNativeRate:
    o->nativeRate = true;
    break;
  case 't':
    o->tail = Number("--tail", value, 0.0, 3600.0);
    break;
  case kOptGain:
    o->gain = Number("--gain", value, -1e6, 1e6);
    break;
  case kOptFormat:
    o->format = value;
    break;
  case 'q':
    o->quiet = true;
    break;
  case 'h':
  case kOptVersion:
  case kOptListParams:
    Answer(c);
  case ':':
    Fail("option '%s' needs a value (see --help)", argv[optind - 1]);
  default:
    Fail("unknown option '%s' (see --help)", argv[optind - 1]);
  }
}
} // namespace

Options ParseOptions(int argc, char** argv)
{
  Options o;
  o.gain = kStandaloneOutputGain;
  opterr = 0; // our own one-line messages
  int c;
  while ((c = getopt_long(argc, argv, ":r:b:p:s:t:qh", kLongOpts, nullptr)) != -1) TakeOption(c, optarg, &o, argv);
  if (argc - optind != 2) Fail("expected INPUT.mid and OUTPUT.wav (see --help)");
  o.input = argv[optind];
  o.output = argv[optind + 1];
  if (o.preset >= 0 && o.bank.empty()) Fail("--preset: needs --bank");
  return o;
}
