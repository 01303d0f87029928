#include "Signal.h"

#include "TempDir.h"
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>

#include <gtest/gtest.h>
#include <iterator>
#include <sndfile.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace
{
typedef std::vector<unsigned char> Bytes;

// A Standard MIDI File writer for the tests: tracks of (delta, bytes).
Bytes Smf(int format, int division, const std::vector<Bytes>& tracks)
{
  Bytes f = {'M',
             'T',
             'h',
             'd',
             0,
             0,
             0,
             6,
             0,
             (unsigned char)format,
             0,
             (unsigned char)tracks.size(),
             (unsigned char)(division >> 8),
             (unsigned char)division};
  for (const Bytes& t : tracks)
  {
    const size_t n = t.size();
    Bytes head = {'M',
                  'T',
                  'r',
                  'k',
                  (unsigned char)(n >> 24),
                  (unsigned char)(n >> 16),
                  (unsigned char)(n >> 8),
                  (unsigned char)n};
    f.insert(f.end(), head.begin(), head.end());
    f.insert(f.end(), t.begin(), t.end());
  }
  return f;
}

// Note 69 from 0 for one second at 480 ticks a quarter and 120 bpm.
Bytes OneSecondOf69() { return Smf(0, 480, {{0, 0x90, 69, 127, 0x87, 0x40, 0x80, 69, 0, 0, 0xFF, 0x2F, 0}}); }

struct Outcome
{
  int status;
  std::string err, out;
};

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

  Outcome Render(std::vector<std::string> args)
  {
    args.insert(args.begin(), VELTRA_RENDER_EXE);
    std::vector<char*> argv;
    for (std::string& a : args) argv.push_back(&a[0]);
    argv.push_back(nullptr);
    const std::string err = Path("stderr"), out = Path("stdout");
    const pid_t pid = fork();
    if (pid == 0)
    {
      dup2(open(err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644), 2);
      dup2(open(out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644), 1);
      execv(argv[0], argv.data());
      _exit(127);
    }
    int status = 0;
    waitpid(pid, &status, 0);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, Read(err), Read(out)};
  }

  static std::vector<float> Samples(const std::string& path, SF_INFO* info)
  {
    *info = SF_INFO();
    SNDFILE* sf = sf_open(path.c_str(), SFM_READ, info);
    if (!sf) return {};
    std::vector<float> v((size_t)(info->frames * info->channels));
    sf_readf_float(sf, v.data(), info->frames);
    sf_close(sf);
    return v;
  }

  TempDir mTemp;
  const std::string mDir = mTemp.Path();
};
} // namespace

TEST_F(VeltraRender, Note69SoundsAtItsQuantisedPitch)
{
  const std::string mid = Write("a.mid", OneSecondOf69());
  const Outcome r = Render({"--set", "Synth Mode=0", mid, Path("a.wav")});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out, "") << "nothing on standard output";
  EXPECT_EQ(r.err.rfind("rendered 3.0 s in ", 0), 0u) << r.err;

  SF_INFO info;
  const std::vector<float> s = Samples(Path("a.wav"), &info);
  ASSERT_EQ(info.channels, 2);
  EXPECT_EQ(info.samplerate, 44100);
  EXPECT_EQ(info.frames, 3 * 44100) << "one second of notes and the two-second tail";
  EXPECT_EQ(info.format, SF_FORMAT_WAV | SF_FORMAT_FLOAT);
  size_t onset = 0;
  while (onset < s.size() && s[onset] == 0.0f) ++onset;
  EXPECT_LT(onset, 2 * 100u) << "no start-up silence: the note sounds from its first control tick";
  EXPECT_NEAR(Fundamental(s, 4410, 40000, 44100.0, 2), 44100.0 / 101.0, 0.05);
  EXPECT_NEAR(Rms(s, 4410, 40000, 2), 0.25 / std::sqrt(2.0), 0.01) << "a full sine at the gain of 0.25";
}

TEST_F(VeltraRender, RendersAreRepeatableAndIndependentOfTheBlockSize)
{
  // Two tracks, a tempo change to one second a quarter, running status.
  const Bytes tempo = {0, 0xFF, 0x51, 3, 0x0F, 0x42, 0x40, 0, 0xFF, 0x2F, 0};
  const Bytes notes = {0, 0x90, 60,   100, 0,  64,   100,  0x83, 0x60, 60, 0,    0,    64,
                       0, 0x40, 0xB0, 1,   64, 0x20, 0x80, 67,   0,    0,  0xFF, 0x2F, 0};
  const std::string mid = Write("b.mid", Smf(1, 480, {tempo, notes}));
  ASSERT_EQ(Render({"-q", mid, Path("1.wav")}).status, 0);
  ASSERT_EQ(Render({"-q", mid, Path("2.wav")}).status, 0);
  const Outcome r64 = Render({"-q", "--block", "64", mid, Path("3.wav")});
  ASSERT_EQ(r64.status, 0) << r64.err;
  EXPECT_EQ(r64.err, "") << "-q says nothing";
  EXPECT_TRUE(Read(Path("1.wav")) == Read(Path("2.wav"))) << "two renders, bit for bit";
  EXPECT_TRUE(Read(Path("1.wav")) == Read(Path("3.wav"))) << "blocks of 32 and of 64";
  SF_INFO info;
  Samples(Path("1.wav"), &info);
  EXPECT_EQ(info.frames, (sf_count_t)std::floor((576.0 / 480.0 + 2.0) * 44100 + 0.5))
      << "the last event at tick 576 lies 1.2 s in at the new tempo";

  // A pitch-wheel change acts at the start of its block: on a sample where
  // blocks of 32 and of 64 both start, the two renders agree. 25 frames of
  // 40 ticks: 1000 ticks a second, so tick 4 is sample 192 at 48000 Hz.
  const Bytes bend = {0, 0x90, 69, 127, 4, 0xE0, 0x00, 0x60, 0x81, 0x70, 0x80, 69, 0, 0, 0xFF, 0x2F, 0};
  const std::string bent = Write("c.mid", Smf(0, 0xE728, {bend}));
  ASSERT_EQ(Render({"-q", "-r", "48000", bent, Path("b32.wav")}).status, 0);
  ASSERT_EQ(Render({"-q", "-r", "48000", "-b", "64", bent, Path("b64.wav")}).status, 0);
  EXPECT_TRUE(Read(Path("b32.wav")) == Read(Path("b64.wav")));
}

TEST_F(VeltraRender, ChannelFilterFormatsAndSettings)
{
  const std::string mid = Write("c.mid", OneSecondOf69());
  ASSERT_EQ(Render({"-q", "--channel", "2", mid, Path("quiet.wav")}).status, 0);
  SF_INFO info;
  const std::vector<float> s = Samples(Path("quiet.wav"), &info);
  EXPECT_EQ(Rms(s, 0, s.size()), 0.0) << "the note is on channel 1";

  const Outcome flac = Render({"-q", "--format", "pcm24", "-r", "48000", "-t", "0.5", mid, Path("x.flac")});
  ASSERT_EQ(flac.status, 0) << flac.err;
  Samples(Path("x.flac"), &info);
  EXPECT_EQ(info.format, SF_FORMAT_FLAC | SF_FORMAT_PCM_24);
  EXPECT_EQ(info.frames, 72000);

  const Outcome v = Render({"--version"});
  EXPECT_EQ(v.out, "v1.1.3\n");
}

TEST_F(VeltraRender, ErrorsSayOneLineExitTwoAndLeaveNoFile)
{
  const std::string good = Write("g.mid", OneSecondOf69());
  Bytes truncated = OneSecondOf69();
  truncated.resize(truncated.size() - 6);
  const std::string cut = Write("t.mid", truncated);
  const std::string junk = Write("j.mid", Bytes(100, 0x41));
  const std::string badProgram = Write("p.fxp", Bytes(232, 0));
  const struct
  {
    std::vector<std::string> args;
    const char* says;
  } cases[] = {
      {{Path("missing.mid")}, "missing.mid"},
      {{junk}, "not a Standard MIDI File"},
      {{cut}, "runs past the end"},
      {{"-p", badProgram, good}, "refused"},
      {{"--bank", badProgram, good}, "refused"},
      {{"--set", "No Such Knob=1", good}, "no parameter 'No Such Knob'"},
      {{"--set", "Filter Cutoff=5", good}, "outside"},
      {{"--set", "2=abc", good}, "not a number"},
      {{"--frobnicate", good}, "unknown option '--frobnicate'"},
      {{"--channel", "17", good}, "--channel"},
      {{"--format", "float", good}, "FLAC"},
  };
  for (const auto& c : cases)
  {
    std::vector<std::string> args = c.args;
    const std::string out = Path(std::string(c.says) == "FLAC" ? "out.flac" : "out.wav");
    args.push_back(out);
    const Outcome r = Render(args);
    EXPECT_EQ(r.status, 2) << c.says;
    EXPECT_EQ(r.err.find("veltra-render: "), 0u) << r.err;
    EXPECT_NE(r.err.find(c.says), std::string::npos) << r.err;
    EXPECT_EQ(r.err.find('\n'), r.err.size() - 1) << "one line: " << r.err;
    EXPECT_NE(access(out.c_str(), F_OK), 0) << "no file after: " << c.says;
    EXPECT_NE(access((out + ".part").c_str(), F_OK), 0);
  }
}
