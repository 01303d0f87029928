// The CPU time an LV2 instrument takes per second of audio it makes, through
// the tests' lilv host: an eight-note chord held for the whole render, at
// 44100 Hz in blocks of the size given, the instrument's controls at their
// defaults. Run by scripts/lv2-cpu.sh beside other synths.
//   lv2_cpu URI BLOCK SECONDS
// Prints the CPU seconds per second of audio; exit status 2 when the plug-in
// is not found.

#include "Lv2Host.h"

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <unistd.h>
#include <vector>

namespace
{
double CpuSeconds()
{
  timespec t;
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
  return (double)t.tv_sec + t.tv_nsec * 1e-9;
}
} // namespace

int main(int argc, char** argv)
{
  if (argc != 4)
  {
    fprintf(stderr, "usage: lv2_cpu URI BLOCK SECONDS\n");
    return 1;
  }
  const int block = atoi(argv[2]);
  const double seconds = atof(argv[3]);
  if (block < 1 || block > 8192 || !(seconds > 0.0))
  {
    fprintf(stderr, "lv2_cpu: BLOCK must be 1 to 8192 and SECONDS above 0\n");
    return 1;
  }
  Lv2Host host(argv[1]);
  if (!host.Found())
  {
    fprintf(stderr, "lv2_cpu: %s is not installed\n", argv[1]);
    return 2;
  }
  std::unique_ptr<Lv2Host::Instance> in = host.Instantiate(44100.0, block);
  std::vector<MidiAt> chord;
  for (int k = 0; k < 8; ++k) chord.push_back({0, {0x90, (uint8_t)(48 + 3 * k), 100}, 3});
  const long long blocks = (long long)(seconds * 44100.0 / block);
  const std::vector<MidiAt> none;
  const double start = CpuSeconds();
  for (long long b = 0; b < blocks; ++b) in->RunOnce((uint32_t)block, b ? none : chord, b * block);
  const double used = CpuSeconds() - start;
  printf("%.6f\n", used / ((double)blocks * block / 44100.0));
  fflush(stdout);
  // lilv's world teardown crashes for some bundles (mda-lv2's among them):
  // the measurement is made, so the process ends here without it.
  _exit(0);
}
