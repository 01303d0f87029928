// VELTRA's entry point: answers --help and --version, refuses any other
// argument, and otherwise hands over to the platform's application main.

#include "App.h"
#include "Hosts.h"
#include "QuietProbe.h"
#include "VELTRA.h"
#include "swell-wnd.h"

#include <csignal>
#include <cstdio>
#include <cstring>

namespace
{
constexpr int kExitUsage = 2;

void Usage(FILE* to)
{
  fputs("usage: veltra [--help | --version]\n"
        "Plays VELTRA, a software synthesizer: in its window, or window-less without a display.\n"
        "Settings live in $XDG_CONFIG_HOME/VELTRA/settings.ini; see veltra(1).\n\n"
        "  -h, --help     this help\n"
        "      --version  the version\n",
        to);
}
} // namespace

int main(int argc, char** argv)
{
  for (int i = 1; i < argc; ++i)
  {
    if (!strcmp(argv[i], "--help") || !strcmp(argv[i], "-h"))
    {
      Usage(stdout);
      return 0;
    }
    if (!strcmp(argv[i], "--version"))
    {
      char v[32];
      GetVersionStr(kVeltraVersion, v);
      printf("veltra %s\n", v);
      return 0;
    }
    fprintf(stderr, "veltra: unknown argument '%s'\n", argv[i]);
    Usage(stderr);
    return kExitUsage;
  }
  // Console lines reach a pipe as they are written, not at exit.
  setvbuf(stdout, nullptr, _IOLBF, 0);
  // A write beyond the file-size limit fails with an error that VELTRA
  // reports, instead of ending the process.
  signal(SIGXFSZ, SIG_IGN);
  QuietSoundLibraries();
  // The desktop entry's StartupWMClass names this class, so that docks
  // group the window with its launcher.
  SWELL_SetWindowClass("veltra", nullptr);
  return SWELL_ApplicationMain(argc, argv, SWELLAppMain);
}
