// VELTRA's entry point: hands over to the platform's application main.

#include "App.h"
#include "QuietProbe.h"

#include <cstdio>

int main(int argc, char** argv)
{
  // Console lines reach a pipe as they are written, not at exit.
  setvbuf(stdout, nullptr, _IOLBF, 0);
  SilenceAlsaLib();
  return SWELL_ApplicationMain(argc, argv, SWELLAppMain);
}
