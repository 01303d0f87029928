// veltra-render run as a user runs it: real MIDI files in, real WAV and FLAC
// files out, read back with libsndfile.

#include "MidiFile.h"
#include "Process.h"
#include "Render.h"
#include "Signal.h"
#include "Smf.h"
#include "TempDir.h"
#include "VELTRA.h"

#include <algorithm>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <fstream>
#include <gtest/gtest.h>
#include <memory>
#include <sndfile.h>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace
{
// Note 69 from 0 for one second at 480 ticks a quarter and 120 bpm.
Bytes OneSecondOf69() { return Smf(0, 480, {{0, 0x90, 69, 127, 0x87, 0x40, 0x80, 69, 0, 0, 0xFF, 0x2F, 0}}); }

// A held chord with pitch-wheel changes every 7 ticks (about 7 ms at 1000
// ticks a second), so that they fall between the starts of any block size.
Bytes Bends()
{
  Bytes t = {0, 0x90, 57, 100, 0, 0x90, 64, 100};
  for (int k = 0; k < 40; ++k)
  {
    const int v = 8192 + (k % 2 ? 1 : -1) * 300 * (k % 9);
    t.insert(t.end(), {7, 0xE0, (unsigned char)(v & 0x7F), (unsigned char)(v >> 7)});
  }
  t.insert(t.end(), {20, 0x80, 57, 0, 0, 0x80, 64, 0, 0, 0xFF, 0x2F, 0});
  return Smf(0, 0xE728, {t}); // 25 frames of 40 ticks: 1000 ticks a second
}

typedef RenderRun Outcome;

class VeltraRender : public ::testing::Test
{
protected:
  std::string Path(const std::string& name) const { return mDir + "/" + name; }
  std::string Write(const std::string& name, const Bytes& b)
  {
    std::ofstream(Path(name), std::ios::binary).write((const char*)b.data(), (std::streamsize)b.size());
    return Path(name);
  }
  static std::string Read(const std::string& path) { return ReadWholeFile(path); }

  pid_t Start(std::vector<std::string> args)
  {
    args.insert(args.begin(), VELTRA_RENDER_EXE);
    return Spawn(args, MakeEnv({}, {}), Path("stdout"), Path("stderr"));
  }
  Outcome Wait(pid_t pid)
  {
    const int status = WaitFor(pid, 600.0);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, Read(Path("stderr")), Read(Path("stdout"))};
  }
  Outcome Render(const std::vector<std::string>& args) { return RunRender(args, mDir); }
  template<typename T>
  static std::vector<T> Samples(const std::string& path, SF_INFO* info)
  {
    return ReadSamples<T>(path, info);
  }
  std::vector<std::string> Files() const { return FilesIn(mDir); }

  TempDir mTemp;
  const std::string mDir = mTemp.Path();
};
} // namespace

TEST_F(VeltraRender, Note69SoundsAtItsQuantisedPitch)
{
  const std::string mid = Write("a.mid", OneSecondOf69());
  const Outcome r = Render({"--set", "synth mode=0", mid, Path("a.wav")});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out, "") << "nothing on standard output";
  EXPECT_EQ(r.err.rfind("rendered 3.0 s in ", 0), 0u) << r.err;
  EXPECT_NE(r.err.find("peak -"), std::string::npos) << "the summary gives the peak: " << r.err;

  SF_INFO info;
  const std::vector<float> s = Samples<float>(Path("a.wav"), &info);
  ASSERT_EQ(info.channels, 2);
  EXPECT_EQ(info.samplerate, 44100);
  EXPECT_EQ(info.frames, 3 * 44100) << "one second of notes and the two-second tail";
  EXPECT_EQ(info.format, SF_FORMAT_WAV | SF_FORMAT_FLOAT);
  size_t onset = 0;
  while (onset < s.size() && s[onset] == 0.0f) ++onset;
  EXPECT_LT(onset, 2 * 44u) << "no start-up silence: the note sounds from its first control tick";
  EXPECT_NEAR(Fundamental(s, 4410, 40000, 44100.0, 2), 44100.0 / 101.0, 0.05);
  EXPECT_NEAR(Rms(s, 4410, 40000, 2), 0.25 / std::sqrt(2.0), 0.01) << "a full sine at the gain of 0.25";
}

TEST_F(VeltraRender, EveryBlockSizeGivesTheSameFileWithBendsBetweenBlockStarts)
{
  const std::string mid = Write("bends.mid", Bends());
  std::string first;
  for (const char* block : {"32", "1", "7", "64", "333", "8192"})
  {
    const std::string out = Path(std::string("b") + block + ".wav");
    ASSERT_EQ(Render({"-q", "-r", "48000", "-b", block, mid, out}).status, 0) << block;
    if (first.empty())
      first = Read(out);
    else
      EXPECT_TRUE(Read(out) == first) << "blocks of " << block << " sound different";
  }
  // And two tracks with a tempo change, to the exact length.
  const Bytes tempo = {0, 0xFF, 0x51, 3, 0x0F, 0x42, 0x40, 0, 0xFF, 0x2F, 0};
  const Bytes notes = {0, 0x90, 60,   100, 0,  64,   100,  0x83, 0x60, 60, 0,    0,    64,
                       0, 0x40, 0xB0, 1,   64, 0x20, 0x80, 67,   0,    0,  0xFF, 0x2F, 0};
  ASSERT_EQ(Render({"-q", Write("t.mid", Smf(1, 480, {tempo, notes})), Path("t.wav")}).status, 0);
  SF_INFO info;
  Samples<float>(Path("t.wav"), &info);
  EXPECT_EQ(info.frames, (sf_count_t)std::floor((576.0 / 480.0 + 2.0) * 44100 + 0.5))
      << "the last event at tick 576 lies 1.2 s in at the new tempo";
}

// Every mode, every stage pushed hard, through each oscillator path.
TEST_F(VeltraRender, EveryModeStaysFiniteAndTheScalarAndVectorPathsWriteTheSameBytes)
{
  // Eight notes and a ninth that steals none, then released one by one.
  Bytes t;
  for (int k = 0; k < 9; ++k) t.insert(t.end(), {0, 0x90, (unsigned char)(40 + 5 * k), (unsigned char)(30 + 10 * k)});
  for (int k = 0; k < 9; ++k) t.insert(t.end(), {0x40, 0x80, (unsigned char)(40 + 5 * k), 0});
  t.insert(t.end(), {0, 0xFF, 0x2F, 0});
  const std::string chord = Write("chord.mid", Smf(0, 480, {t}));
  const std::vector<std::string> hard = {
      "-s", "Filter Resonance=0.998", "-s", "LFO Depth=1",    "-s", "LFO Rate=0.01",
      "-s", "AR Env. Depth=1",        "-s", "Reverb Depth=1", "-s", "Reverb Length=0.98",
      "-s", "Chorus Depth=0.5",       "-s", "PWM Depth=1",    "-s", "PWM Rate=1000"};
  const std::vector<std::vector<std::string>> modes = {
      {"-s", "Synth Mode=0", "-s", "OP1 Waveform=3"},
      {"-s", "Synth Mode=0", "-s", "PWM on off=1", "-s", "Crusher Mix=0.5", "-s", "Crusher Destruction=0.8"},
      {"-s", "Synth Mode=1", "-s", "OP2 Octave=4", "-s", "Crusher Mix=0.6", "-s", "Smoothing on off=1"},
      {"-s", "Synth Mode=1", "-s", "PWM on off=1", "-s", "Portamento on off=1", "-s", "Crusher Before VCF=1"}};
  int n = 0;
  for (const auto& mode : modes)
  {
    std::string reference;
    for (const char* kernel : {"scalar", "sse2", "avx2"})
    {
      const std::string out = Path(std::to_string(n) + kernel + ".wav");
      std::vector<std::string> args = {"-q", "-b", "37", "--format", "double", chord, out};
      args.insert(args.end(), hard.begin(), hard.end());
      args.insert(args.end(), mode.begin(), mode.end());
      ASSERT_EQ(RunRender(args, mDir, 600.0, {std::string("VELTRA_RENDER=") + kernel}).status, 0);
      if (!reference.empty())
      {
        EXPECT_TRUE(Read(out) == reference) << kernel << " differs from scalar, case " << n;
        continue;
      }
      reference = Read(out);
      SF_INFO info;
      double peak = 0.0;
      for (double x : Samples<double>(out, &info)) peak = std::isfinite(x) ? std::max(peak, std::fabs(x)) : NAN;
      EXPECT_GT(peak, 0.001) << "case " << n << ": silent, or a sample not finite";
    }
    ++n;
  }
}

TEST_F(VeltraRender, AnEventHalfWayBetweenTwoSamplesSoundsAtTheLaterOne)
{
  // At 480 ticks a quarter and 120 beats a minute, tick 56 lies at 2572.5
  // samples; tempo events every 8 ticks (all at the same tempo) cut the time
  // into the steps that once added up to just below the half.
  Bytes a = {0, 0x90, 60, 100};
  for (int k = 0; k < 7; ++k) a.insert(a.end(), {(unsigned char)(k ? 8 : 0), 0xFF, 0x51, 3, 0x07, 0xA1, 0x20});
  a.insert(a.end(), {8, 0xE0, 0, 0x50, 0x87, 0x08, 0x80, 60, 0, 0, 0xFF, 0x2F, 0});
  // The same notes on exact samples: 441 ticks of 10 ms quarters are one
  // tick a sample, the wheel at 2573 and the note-off at 44100.
  const Bytes b = {0,    0xFF, 0x51, 3,    0,    0x27, 0x10, 0,  0x90, 60, 100,  0x94, 0x0D,
                   0xE0, 0,    0x50, 0x82, 0xC4, 0x37, 0x80, 60, 0,    0,  0xFF, 0x2F, 0};
  ASSERT_EQ(Render({"-q", Write("a.mid", Smf(0, 480, {a})), Path("a.wav")}).status, 0);
  ASSERT_EQ(Render({"-q", Write("b.mid", Smf(0, 441, {b})), Path("b.wav")}).status, 0);
  EXPECT_TRUE(Read(Path("a.wav")) == Read(Path("b.wav"))) << "the wheel at 2572.5 sounds at 2573";
}

// MIDI events at whole samples: 441 ticks of 10 ms quarters, one tick a
// sample. Events sort by their sample, those of one sample in list order.
Bytes AtSamples(std::vector<std::pair<int, Bytes>> events)
{
  return Smf(0, 441, {SmfTrack(std::move(events), {0, 0xFF, 0x51, 3, 0, 0x27, 0x10})});
}

// The first sample where two float renders differ, or -1.
long FirstDifference(const std::vector<float>& a, const std::vector<float>& b)
{
  for (size_t i = 0; i < std::min(a.size(), b.size()); ++i)
    if (memcmp(&a[i], &b[i], sizeof(float))) return (long)i / 2;
  return a.size() == b.size() ? -1 : (long)std::min(a.size(), b.size()) / 2;
}

// Eight notes released while the pedal is down sound until the pedal comes
// up and no longer: the render equals, byte for byte, one whose note-offs
// all come at the pedal's sample. A learned controller acts at its sample.
TEST_F(VeltraRender, ThePedalReleasesAtItsOwnSampleAndALearnedControllerAtItsOwn)
{
  const int up = 30000;
  std::vector<std::pair<int, Bytes>> held = {{0, {0xB0, 64, 127}}}, late, plain;
  for (int k = 0; k < 8; ++k)
  {
    const unsigned char key = (unsigned char)(48 + 3 * k);
    for (auto* v : {&held, &late, &plain}) v->push_back({100 * k, {0x90, key, 100}});
    held.push_back({5000 + 1000 * k, {0x80, key, 0}});
    plain.push_back({5000 + 1000 * k, {0x80, key, 0}});
    late.push_back({up, {0x80, key, 0}});
  }
  held.push_back({up, {0xB0, 64, 0}});
  plain.push_back({3000, {0xB0, 7, 0}}); // no learned controller: dropped
  SF_INFO info;
  std::vector<float> renders[3];
  const char* names[3] = {"held", "late", "plain"};
  for (int i = 0; i < 3; ++i)
  {
    const Bytes mid = AtSamples(i == 0 ? held : i == 1 ? late : plain);
    ASSERT_EQ(
        Render({"-q", "-b", "64", Write(names[i] + std::string(".mid"), mid), Path(names[i] + std::string(".wav"))})
            .status,
        0);
    renders[i] = Samples<float>(Path(names[i] + std::string(".wav")), &info);
  }
  EXPECT_EQ(FirstDifference(renders[0], renders[1]), -1) << "the held notes end at the pedal's sample";
  const long released = FirstDifference(renders[0], renders[2]);
  EXPECT_GE(released, 5000) << "the pedal changed nothing before the first note-off";
  EXPECT_LT(released, 5000 + 44) << "the first note-off without the pedal acts within a control tick";

  // CC 7 learned for Master Volume, without pick-up: silence from its sample.
  std::ofstream(Path("map.ini")) << "[controllers]\nCC 7 = Master Volume\n[options]\npick up = off\n";
  ASSERT_EQ(
      Render({"-q", "-b", "64", "--controllers", Path("map.ini"), Write("cc.mid", AtSamples(plain)), Path("cc.wav")})
          .status,
      0);
  const std::vector<float> cc = Samples<float>(Path("cc.wav"), &info);
  EXPECT_EQ(FirstDifference(cc, renders[2]), 3000);
  EXPECT_EQ(cc[2 * 3000 + 2], 0.0f);

  // The wheel pushed up just before a note bends it, by the file's range.
  std::ofstream(Path("range.ini")) << "[options]\nwheel range = 6\n";
  const Bytes bend = AtSamples({{999, {0xE0, 127, 127}}, {1000, {0x90, 69, 100}}, {44100, {0x80, 69, 0}}});
  ASSERT_EQ(Render({"-q", "--controllers", Path("range.ini"), "-s", "synth mode=0", Write("bend.mid", bend),
                    Path("bend.wav")})
                .status,
            0);
  EXPECT_NEAR(Fundamental(Samples<float>(Path("bend.wav"), &info), 4410, 40000, 44100.0, 2), 622.3, 10.0);
}

TEST_F(VeltraRender, IntegerFormatsRoundToNearestAlikeInWavAndFlac)
{
  const std::string mid = Write("a.mid", OneSecondOf69());
  const Outcome flac = Render({"-q", mid, Path("a.flac")});
  ASSERT_EQ(flac.status, 0) << flac.err;
  SF_INFO info;
  const std::vector<int> f24 = Samples<int>(Path("a.flac"), &info);
  EXPECT_EQ(info.format, SF_FORMAT_FLAC | SF_FORMAT_PCM_24) << "FLAC takes 24 bits unless told";
  ASSERT_EQ(Render({"-q", "--format", "pcm24", mid, Path("a24.wav")}).status, 0);
  EXPECT_TRUE(Samples<int>(Path("a24.wav"), &info) == f24) << "the same integers in both containers";

  ASSERT_EQ(Render({"-q", "--format", "double", mid, Path("exact.wav")}).status, 0);
  const std::vector<double> exact = Samples<double>(Path("exact.wav"), &info);
  ASSERT_EQ(Render({"-q", "--format", "pcm16", mid, Path("a16.wav")}).status, 0);
  ASSERT_EQ(Render({"-q", "--format", "pcm16", mid, Path("a16.flac")}).status, 0);
  const std::vector<int> w16 = Samples<int>(Path("a16.wav"), &info);
  EXPECT_TRUE(Samples<int>(Path("a16.flac"), &info) == w16);
  ASSERT_EQ(w16.size(), exact.size());
  size_t off = 0;
  for (size_t i = 0; i < exact.size(); ++i) off += (w16[i] >> 16) != lrint(exact[i] * 32767.0);
  EXPECT_EQ(off, 0u) << "every sample the nearest step";

  // Every reader takes the files without a word: sox, Python's soundfile,
  // and Python's wave for PCM.
  for (const char* f : {"exact.wav", "a16.wav"})
  {
    const std::string soxi = Capture({"/usr/bin/sox", "--i", Path(f)}, mDir);
    EXPECT_EQ(soxi.find("WARN"), std::string::npos) << soxi;
    EXPECT_NE(soxi.find(" " + std::to_string(exact.size() / 2) + " samples"), std::string::npos) << soxi;
  }
  EXPECT_EQ(Capture({"/usr/bin/python3", "-c",
                     "import soundfile, wave, sys; d, r = soundfile.read(sys.argv[1]); "
                     "print(d.shape, r, wave.open(sys.argv[2]).getnframes())",
                     Path("exact.wav"), Path("a16.wav")},
                    mDir),
            "(" + std::to_string(exact.size() / 2) + ", 2) 44100 " + std::to_string(exact.size() / 2) + "\n");

  const Outcome loud = Render({"--gain", "4", "--format", "pcm16", mid, Path("loud.wav")});
  ASSERT_EQ(loud.status, 0);
  EXPECT_NE(loud.err.find("warning: "), std::string::npos) << loud.err;
  EXPECT_NE(loud.err.find(" samples clipped in pcm16"), std::string::npos) << loud.err;
  EXPECT_EQ(Render({"--gain", "4", mid, Path("loud-float.wav")}).err.find("clipped"), std::string::npos)
      << "float holds it";
}

TEST_F(VeltraRender, NothingTheUserOwnsIsLost)
{
  const Bytes midi = OneSecondOf69();
  const std::string in = Write("in.wav", midi); // a MIDI file with a misleading name
  Outcome r = Render({in, in});
  EXPECT_EQ(r.status, 2);
  EXPECT_NE(r.err.find("is the input file"), std::string::npos) << r.err;
  ASSERT_EQ(symlink(in.c_str(), Path("link.wav").c_str()), 0);
  EXPECT_EQ(Render({in, Path("link.wav")}).status, 2) << "also through a link";
  EXPECT_TRUE(Read(in) == std::string(midi.begin(), midi.end())) << "the input is untouched";

  // An existing output is replaced whole, keeping its mode; a link writes
  // to its target and stays a link.
  const std::string mid = Write("a.mid", midi);
  const std::string out = Write("out.wav", Bytes(10, 'x'));
  chmod(out.c_str(), 0640);
  ASSERT_EQ(Render({"-q", mid, out}).status, 0);
  struct stat st;
  ASSERT_EQ(stat(out.c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 0777, 0640u);
  EXPECT_GT(st.st_size, 100000);
  ASSERT_EQ(symlink(out.c_str(), Path("alias.wav").c_str()), 0);
  ASSERT_EQ(Render({"-q", "-r", "48000", mid, Path("alias.wav")}).status, 0);
  ASSERT_EQ(lstat(Path("alias.wav").c_str(), &st), 0);
  EXPECT_TRUE(S_ISLNK(st.st_mode));
  SF_INFO info;
  Samples<float>(out, &info);
  EXPECT_EQ(info.samplerate, 48000) << "the render went to the link's target";

  // A long name leaves room for the temporary file.
  const std::string longName = Path(std::string(251, 'n') + ".wav");
  EXPECT_EQ(Render({"-q", mid, longName}).status, 0);

  // Every signal that would end the program ends a long render at once and
  // leaves nothing behind. A render beyond 4 GiB is written as RF64 from its
  // first bytes on (this one would take 44 GB: it is stopped at once).
  const std::vector<std::string> before = Files();
  for (int sig : {SIGTERM, SIGINT, SIGHUP, SIGQUIT, SIGXFSZ})
  {
    SCOPED_TRACE(strsignal(sig));
    const pid_t pid = Start({"-q", "-t", "3000", "-r", "768000", "--format", "double", mid, Path("long.wav")});
    std::string head;
    for (int i = 0; i < 200 && head.size() < 4; ++i, usleep(10000))
      for (const std::string& f : Files())
        if (f[0] == '.')
        {
          char b[4];
          if (std::ifstream(Path(f), std::ios::binary).read(b, 4)) head.assign(b, 4);
        }
    EXPECT_EQ(head, "RF64");
    kill(pid, sig);
    r = Wait(pid);
    EXPECT_EQ(r.status, 128 + sig) << r.err;
    EXPECT_EQ(Files(), before) << "no partial file is left";
  }
  EXPECT_NE(access(Path("long.wav").c_str(), F_OK), 0);
}

// What a reader is told to keep is all it stores, however many messages of
// other kinds a file holds; the file still lasts to its last message.
TEST(MidiFileReader, StoresOnlyWhatItKeepsAndTheLastMessage)
{
  Bytes t = {0, 0x90, 60, 100};
  for (int k = 0; k < 100000; ++k) t.insert(t.end(), {0, 0xC0, (unsigned char)(k % 128)});
  t.insert(t.end(), {0x60, 0x80, 60, 0, 0x60, 0xC0, 5, 0, 0xFF, 0x2F, 0});
  const Bytes file = Smf(0, 96, {t});
  std::vector<MidiFileEvent> events;
  std::string why;
  ASSERT_TRUE(ReadMidiFile(file.data(), file.size(), &events, &why, [](uint8_t s) { return (s >> 4) != 0xC; })) << why;
  ASSERT_EQ(events.size(), 3u);
  EXPECT_EQ(events[1].mStatus, 0x80);
  EXPECT_EQ(events[2].mStatus, 0xC0) << "the last message keeps the file's length";
  EXPECT_DOUBLE_EQ(events[2].mSeconds, 1.0);
  ASSERT_TRUE(ReadMidiFile(file.data(), file.size(), &events, &why));
  EXPECT_EQ(events.size(), 100003u);
}

TEST_F(VeltraRender, EveryRefusalNamesItsArgumentAndLeavesNoFile)
{
  const std::string good = Write("g.mid", OneSecondOf69());
  Bytes cut = OneSecondOf69();
  cut.resize(cut.size() - 6);
  Bytes smpte = OneSecondOf69();
  smpte[12] = 0xFF; // the signed byte -1: 1 frame a second
  smpte[13] = 40;
  const Bytes tempo0 = Smf(0, 480, {{0, 0xFF, 0x51, 3, 0, 0, 0, 0, 0x90, 60, 100, 0, 0xFF, 0x2F, 0}});
  // A bank of VELTRA whose current program is 99: made by the renderer's
  // instrument would need a plug-in here, so only its head is written.
  Bytes bank = {'C', 'c', 'n', 'K', 0, 0, 0, 0, 'F', 'x', 'B', 'k', 0, 0, 0, 1,
                'V', 'L', 'T', '1', 0, 0, 0, 0, 0,   0,   0,   0,   0, 0, 0, 99};
  bank.resize(156, 0);
  mkdir(Path("folder").c_str(), 0755);
  mkfifo(Path("pipe.mid").c_str(), 0644);
  const struct
  {
    std::vector<std::string> args;
    const char* says;
  } cases[] = {
      {{Path("missing.mid")}, "missing.mid: No such file"},
      {{Path("nowhere/x.mid")}, "the folder"},
      {{Path("folder")}, "is a folder, not a MIDI file"},
      {{Path("pipe.mid")}, "is a pipe or a device"},
      {{Write("j.mid", Bytes(100, 0x41))}, "not a Standard MIDI File"},
      {{Write("t.mid", cut)}, "runs past the end"},
      {{Write("s.mid", smpte)}, "SMPTE division of 1 frames a second"},
      {{Write("z.mid", tempo0)}, "tempo of 0"},
      {{"-p", Path("folder"), good}, "is a folder, not a program file"},
      {{"-p", Write("p.fxp", Bytes(232, 0)), good}, "refused"},
      {{"--bank", Write("b.fxb", bank), good}, "its current program, 99, is outside"},
      {{"--preset", "-1", "--bank", Path("b.fxb"), good}, "--preset: -1"},
      {{"--set", "Filter Cutof=0.5", good}, "did you mean 'Filter Cutoff'"},
      {{"--set", "feedback=0.5", good}, "did you mean 'Filter Feedback'?"},
      {{"--set", "Attack=0.5", good}, "did you mean 'OP1 Attack', 'OP2 Attack' or 'AR Env. Attack'?"},
      {{"--set", "26=0.5", good}, "a meter, not a setting"},
      {{"--set", "Filter Cutoff=5", good}, "out of range"},
      {{"--set", "2=abc", good}, "not a number"},
      {{"-r", "44100.7", good}, "--rate: 44100.7 is not a whole number of hertz"},
      {{"--tail", "1e400", good}, "--tail: 1e400 is out of range"},
      {{"--frobnicate", good}, "unknown option '--frobnicate'"},
      {{"--format", "float", good}, "FLAC holds pcm16 or pcm24"},
  };
  for (const auto& c : cases)
  {
    std::vector<std::string> args = c.args;
    const std::string out = Path(std::string(c.says).find("FLAC") != std::string::npos ? "out.flac" : "out.wav");
    args.push_back(out);
    const Outcome r = Render(args);
    EXPECT_EQ(r.status, 2) << c.says;
    EXPECT_EQ(r.err.find("veltra-render: "), 0u) << r.err;
    EXPECT_NE(r.err.find(c.says), std::string::npos) << r.err;
    EXPECT_EQ(r.err.find('\n'), r.err.size() - 1) << "one line: " << r.err;
    EXPECT_NE(access(out.c_str(), F_OK), 0) << "no file after: " << c.says;
  }
  for (const auto& o : {std::make_pair(Path("nowhere/o.wav"), "does not exist"),
                        std::make_pair(Path("folder.wav"), "is a folder"), std::make_pair(Path("bad/x"), "neither")})
  {
    if (std::string(o.second) == "is a folder") mkdir(o.first.c_str(), 0755);
    const Outcome r = Render({good, o.first});
    EXPECT_EQ(r.status, 2);
    EXPECT_NE(r.err.find(o.second), std::string::npos) << r.err;
  }
}

TEST_F(VeltraRender, ProgramsBanksAndTheParameterList)
{
  const Outcome list = Render({"--list-params"});
  ASSERT_EQ(list.status, 0);
  EXPECT_NE(list.out.find("Filter Cutoff"), std::string::npos);
  EXPECT_NE(list.out.find("0.01 .. 0.99"), std::string::npos) << list.out;
  EXPECT_EQ(list.out.find("\n   26 "), std::string::npos) << "meters are no settings";
  EXPECT_NE(list.out.find("0 SUM (OP1 + OP2), 1 FM (OP1 > OP2)"), std::string::npos)
      << "switches as the panel names them";

  // A bank whose programs are silent, and a program that is not: the
  // program, loaded after the bank, plays over its current program.
  {
    std::unique_ptr<VELTRA> maker((VELTRA*)MakePlug(nullptr, nullptr));
    maker->RestorePreset(0);
    WDL_String program(Path("loud.fxp").c_str()), bank(Path("silent.fxb").c_str());
    ASSERT_TRUE(maker->SaveProgramAsFXP(&program));
    for (int p = 0; p < maker->NPresets(); ++p)
    {
      maker->RestorePreset(p);
      maker->GetParam(kMasterVolume)->Set(0.0);
      maker->ModifyCurrentPreset();
    }
    maker->RestorePreset(0);
    ASSERT_TRUE(maker->SaveBankAsFXB(&bank));
  }
  const std::string mid = Write("a.mid", OneSecondOf69());
  SF_INFO info;
  ASSERT_EQ(Render({"-q", "--bank", Path("silent.fxb"), mid, Path("bank.wav")}).status, 0);
  EXPECT_EQ(Rms(Samples<float>(Path("bank.wav"), &info), 0, 44100), 0.0);
  ASSERT_EQ(Render({"-q", "--bank", Path("silent.fxb"), "-p", Path("loud.fxp"), mid, Path("both.wav")}).status, 0);
  EXPECT_GT(Rms(Samples<float>(Path("both.wav"), &info), 0, 44100), 0.01) << "the program came last";
  ASSERT_EQ(Render({"-q", "--set", "MASTER VOLUME=0", mid, Path("named.wav")}).status, 0);
  EXPECT_EQ(Rms(Samples<float>(Path("named.wav"), &info), 0, 44100), 0.0) << "names in any case";
  const std::string rmid =
      Write("song.rmi",
            []
            {
              const Bytes smf = OneSecondOf69();
              Bytes riff = {'R', 'I', 'F', 'F', 0, 0, 0, 0, 'R', 'M', 'I', 'D', 'd', 'a', 't', 'a'};
              const size_t n = smf.size();
              for (int shift : {0, 8, 16, 24}) riff.push_back((unsigned char)(n >> shift));
              riff.insert(riff.end(), smf.begin(), smf.end());
              return riff;
            }());
  const Outcome r = Render({"-q", rmid, Path("rmid.wav")});
  EXPECT_EQ(r.status, 0) << "an RMID file plays: " << r.err;
}

// At 48 and 96 kHz VELTRA plays at its own rate and the output is converted:
// brought back to 44.1 kHz (sox, very high quality) each render matches the
// 44.1 kHz one, every test file and every factory program, and the times
// that the instrument counts in samples (the LFO's period, a release, the
// reverb's echo) stay what they are in seconds. The measure: the energy of
// the difference against the signal's, both below 20 kHz (where the
// converter's band ends), after 10 ms.
namespace
{
// A 20 kHz low-pass at 44.1 kHz: 101 taps of a Blackman-windowed sinc.
std::vector<double> Below20k(const std::vector<float>& v)
{
  constexpr int kTaps = 101;
  double h[kTaps];
  for (int i = 0; i < kTaps; ++i)
  {
    const double t = i - (kTaps - 1) / 2.0, fc = 20000.0 / 44100.0;
    const double w = 0.42 - 0.5 * std::cos(2 * M_PI * i / (kTaps - 1)) + 0.08 * std::cos(4 * M_PI * i / (kTaps - 1));
    h[i] = (t == 0 ? fc : std::sin(M_PI * fc * t) / (M_PI * t)) * w;
  }
  std::vector<double> out(v.size(), 0.0);
  for (size_t n = kTaps; n < v.size(); ++n)
    for (int i = 0; i < kTaps; ++i) out[n] += h[i] * v[n - (size_t)i];
  return out;
}

// dB of the difference below 20 kHz, left channel.
double DifferenceDb(const std::vector<float>& a, const std::vector<float>& b)
{
  std::vector<float> d(std::min(a.size(), b.size()));
  std::vector<float> s(a.begin(), a.begin() + (long)d.size());
  for (size_t i = 0; i < d.size(); i += 2) d[i / 2] = a[i] - b[i], s[i / 2] = a[i];
  d.resize(d.size() / 2), s.resize(s.size() / 2);
  const std::vector<double> fd = Below20k(d), fs = Below20k(s);
  double ed = 0, es = 0;
  for (size_t i = 441; i < fd.size(); ++i) ed += fd[i] * fd[i], es += fs[i] * fs[i];
  return 10 * std::log10(ed / es);
}

} // namespace

TEST_F(VeltraRender, SoundsTheSameAtEveryRate)
{
  std::vector<std::pair<std::string, std::string>> renders; // what, and its program ("" for the default)
  for (const char* f : {"voices.mid", "bends.mid", "tempo.mid", "pedal.mid"}) renders.push_back({f, ""});
  for (const std::string& category : FilesIn(VELTRA_PROGRAMS))
  {
    struct stat st;
    const std::string folder = std::string(VELTRA_PROGRAMS) + "/" + category;
    if (stat(folder.c_str(), &st) || !S_ISDIR(st.st_mode)) continue;
    for (const std::string& p : FilesIn(folder)) renders.push_back({"voices.mid", folder + "/" + p});
  }
  ASSERT_EQ(renders.size(), 4u + 32u);
  SF_INFO info;
  for (const auto& [midi, program] : renders)
  {
    std::vector<std::string> args = {"-q", "-t", "1", std::string(VELTRA_SOURCE_DIR) + "/tests/renders/" + midi};
    if (!program.empty()) args.insert(args.begin(), {"-p", program});
    auto at = [&](const char* rate, const std::string& out)
    {
      std::vector<std::string> a = args;
      a.insert(a.begin(), {"-r", rate});
      a.push_back(Path(out));
      const Outcome r = Render(a);
      EXPECT_EQ(r.status, 0) << r.err;
    };
    at("44100", "44.wav");
    const std::vector<float> own = Samples<float>(Path("44.wav"), &info);
    for (const char* rate : {"48000", "96000"})
    {
      at(rate, "r.wav");
      const pid_t sox = Spawn(
          {"/usr/bin/sox", Path("r.wav"), "-e", "floating-point", "-b", "32", Path("back.wav"), "rate", "-v", "44100"},
          MakeEnv({}, {}), Path("sox.out"), Path("sox.err"));
      const int status = WaitFor(sox, 60.0);
      ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << Read(Path("sox.err"));
      EXPECT_LT(DifferenceDb(own, Samples<float>(Path("back.wav"), &info)), -60.0)
          << midi << " " << program << " at " << rate;
    }
  }

  // Times in seconds: the LFO's wobble of a resonant filter, a release, the
  // reverb's echo.
  // A2 for two seconds (4 s for the wobble), and a blip.
  const std::string a2 = Write("a2.mid", Smf(0, 480, {{0, 0x90, 45, 100, 0x8F, 0x00, 0x80, 45, 0, 0, 0xFF, 0x2F, 0}}));
  const std::string a2long =
      Write("a2long.mid", Smf(0, 240, {{0, 0x90, 45, 100, 0x8F, 0x00, 0x80, 45, 0, 0, 0xFF, 0x2F, 0}}));
  const std::string blip = Write("blip.mid", Smf(0, 480, {{0, 0x90, 69, 127, 10, 0x80, 69, 0, 0, 0xFF, 0x2F, 0}}));
  struct Times
  {
    int wobble, release, echo;
  };
  auto times = [&](int rate)
  {
    Times t;
    const std::string r = std::to_string(rate);
    // The level of the signal's steps follows the filter.
    EXPECT_EQ(Render({"-q", "-t", "0", "-r", r, "-s", "LFO Depth=1", "-s", "LFO Rate=0.004", "-s", "Filter Cutoff=0.3",
                      "-s", "Filter Resonance=0.9", a2long, Path("w.wav")})
                  .status,
              0);
    std::vector<float> w = Samples<float>(Path("w.wav"), &info);
    for (size_t i = w.size() - 1; i >= 2; --i) w[i] -= w[i - 2];
    t.wobble = Period(Envelope(w, rate, 2), 500, 300, 700);
    EXPECT_EQ(
        Render({"-q", "-t", "2", "-r", r, "-s", "OP1 Release=1.2", "-s", "OP2 Release=1.2", a2, Path("r.wav")}).status,
        0);
    const std::vector<double> e = Envelope(Samples<float>(Path("r.wav"), &info), rate, 2);
    // From the note-off at 2 s until the level is a hundredth of what it was.
    t.release = 0;
    while (2000 + t.release < (int)e.size() && e[(size_t)(2000 + t.release)] > e[1970] / 100) ++t.release;
    EXPECT_EQ(Render({"-q", "-t", "1", "-r", r, "-s", "Reverb Depth=1", "-s", "Reverb Length=0.9", blip, Path("e.wav")})
                  .status,
              0);
    t.echo = Period(Envelope(Samples<float>(Path("e.wav"), &info), rate, 2), 150, 50, 150);
    return t;
  };
  const Times own = times(44100);
  EXPECT_NEAR(own.wobble, 2 / 0.004 * 44 * 1000 / 44100, 10) << "a triangle of 0.004 a tick each way";
  EXPECT_NEAR(own.echo, 4096 * 1000 / 44100.0, 1.0);
  EXPECT_GT(own.release, 50);
  for (int rate : {48000, 96000})
  {
    const Times t = times(rate);
    EXPECT_NEAR(t.wobble, own.wobble, own.wobble * 0.01) << rate;
    EXPECT_NEAR(t.release, own.release, own.release * 0.01 + 1) << rate;
    EXPECT_NEAR(t.echo, own.echo, own.echo * 0.01) << rate;
  }
}
