#pragma once
// veltra-render's command line: the options, each checked with a message
// that names the option and the reason, and the one-line failure that ends
// the program with status 2 and no output file.

#include <string>
#include <vector>

class VELTRA;

struct Options
{
  int rate = 44100;
  // At another rate the instrument runs at its own and the output is
  // converted; this runs it at the output's rate instead.
  bool nativeRate = false;
  int block = 32;
  std::string program, bank;
  int preset = -1; // -1: the bank's own current program
  std::vector<std::string> sets;
  std::string controllers; // a controllers file: learned controllers, wheel range
  int channel = 0;
  double tail = 2.0;
  double gain;
  std::string format; // "" follows the container: float for WAV, pcm24 for FLAC
  bool quiet = false;
  std::string input, output;
};

// Prints "veltra-render: " and the message, removes a partial output, and
// exits with status 2.
[[noreturn]] void Fail(const char* fmt, ...)
#ifdef __GNUC__
    __attribute__((format(printf, 1, 2)))
#endif
    ;

// Parses and checks every option; --help, --version and --list-params
// answer and exit.
Options ParseOptions(int argc, char** argv);

// Fails unless path names a regular file that can be read; what says what
// the file is for ("program", "MIDI file").
void CheckReadableFile(const std::string& path, const char* what);

// The parameter that a --set names (its name in any case, or its index);
// fails with the closest name as a hint. Meters are no settings.
int FindSettableParam(VELTRA* plug, const std::string& name);
// Every settable parameter: index, name, range, default and unit.
void ListParams(VELTRA* plug);
