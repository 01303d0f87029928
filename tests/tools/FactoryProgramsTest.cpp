// The factory programs as a user meets them: each rendered by veltra-render
// from its installed program file, on a phrase of its category, then a held
// A4 and an eight-note chord; loudness by EBU R128 (libebur128).

#include "Process.h"
#include "Render.h"
#include "Signal.h"
#include "Smf.h"
#include "TempDir.h"
#include "VELTRAFactory.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdio>
#include <ebur128.h>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <sndfile.h>
#include <sys/wait.h>

namespace
{
constexpr int kRate = 44100;
struct Note
{
  int at, length, key; // milliseconds
};

// A one-track MIDI file at 1000 ticks a second (25 frames of 40 ticks); the
// wheel goes up half way and back during the note that starts at bendAt.
Bytes MidiFile(const std::vector<Note>& notes, int bendAt = -1)
{
  std::vector<std::pair<int, Bytes>> events;
  for (const Note& n : notes)
  {
    events.push_back({n.at, {0x90, (unsigned char)n.key, 100}});
    events.push_back({n.at + n.length, {0x80, (unsigned char)n.key, 0}});
  }
  if (bendAt >= 0)
    for (int k = 1; k <= 10; ++k)
      events.push_back({bendAt + 20 * k, {0xE0, 0, (unsigned char)(k <= 5 ? 64 + 6 * k : 124 - 6 * k)}});
  return Smf(0, 0xE728, {SmfTrack(std::move(events))});
}

// What each category is played with: a bass line from C1 to G2, a melody from
// C4 to C6 with a bend, a four-note chord held 4 s, single plucked notes.
std::vector<Note> Phrase(const std::string& category, int* bendAt)
{
  std::vector<Note> n;
  *bendAt = -1;
  if (category == "Bass")
    for (int k : {24, 31, 36, 34, 24, 38, 43, 31}) n.push_back({(int)n.size() * 450, 350, k});
  else if (category == "Lead")
  {
    for (int k : {60, 64, 67, 72, 76, 79, 84, 79, 72, 69}) n.push_back({(int)n.size() * 400, 360, k});
    *bendAt = 3 * 400;
  }
  else if (category == "Pad & Keys")
    for (int k : {60, 64, 67, 71}) n.push_back({0, 4000, k});
  else
    for (int k : {60, 67, 72, 64}) n.push_back({(int)n.size() * 1000, 250, k});
  return n;
}

// A second phrase of another register and density: a held chord for basses,
// leads and plucks, a bass line of long notes for pads and keys.
std::vector<Note> SecondPhrase(const std::string& category, int at)
{
  std::vector<Note> n;
  if (category == "Pad & Keys")
    for (int k : {36, 43, 41, 36}) n.push_back({at + (int)n.size() * 1000, 900, k});
  else
    for (int k : category == "Bass" ? std::vector<int>{36, 43, 48} : std::vector<int>{60, 64, 67})
      n.push_back({at, 2000, k});
  return n;
}

struct Measured
{
  double loudness, loudness2, chordPeak, dcShare, tailPeak, pitch;
  std::vector<double> bands, envelope; // of the held A4, in dB
};

// Energy in third-octave bands from 50 Hz up, by a radix-2 FFT of frames.
std::vector<double> Bands(const std::vector<float>& v, size_t from, size_t to)
{
  const size_t n = 4096;
  std::vector<double> power(n / 2, 0.0);
  for (size_t at = from; at + n <= to; at += n)
  {
    std::vector<std::complex<double>> x(n);
    for (size_t i = 0; i < n; ++i) x[i] = v[at + i] * (0.5 - 0.5 * std::cos(2 * M_PI * i / n));
    for (size_t i = 1, j = 0; i < n; ++i)
    {
      size_t bit = n >> 1;
      for (; j & bit; bit >>= 1) j ^= bit;
      j ^= bit;
      if (i < j) std::swap(x[i], x[j]);
    }
    for (size_t len = 2; len <= n; len <<= 1)
      for (size_t i = 0; i < n; i += len)
        for (size_t k = 0; k < len / 2; ++k)
        {
          const std::complex<double> w = std::polar(1.0, -2 * M_PI * k / len), a = x[i + k], b = x[i + k + len / 2] * w;
          x[i + k] = a + b;
          x[i + k + len / 2] = a - b;
        }
    for (size_t k = 0; k < n / 2; ++k) power[k] += std::norm(x[k]);
  }
  std::vector<double> bands;
  for (double lo = 50.0; lo < 16000.0; lo *= std::pow(2.0, 1.0 / 3.0))
  {
    double e = 1e-12;
    for (size_t k = (size_t)(lo * n / kRate); k < (size_t)(lo * 1.26 * n / kRate) && k < n / 2; ++k) e += power[k];
    bands.push_back(10 * std::log10(e));
  }
  const double top = *std::max_element(bands.begin(), bands.end());
  for (double& b : bands) b = std::max(b - top, -60.0);
  return bands;
}

double MeanDistance(const std::vector<double>& a, const std::vector<double>& b)
{
  double d = 0.0;
  for (size_t i = 0; i < a.size(); ++i) d += std::fabs(a[i] - b[i]);
  return d / (double)a.size();
}

class FactoryPrograms : public ::testing::Test
{
protected:
  static void SetUpTestSuite()
  {
    std::string error;
    ASSERT_TRUE(ReadFactoryProgramsFile(VELTRA_FACTORY, &sPrograms, &error)) << error;
  }

  // Every program rendered and measured, once, by the first test that asks.
  static const std::vector<Measured>& Rendered()
  {
    if (!sMeasured.empty()) return sMeasured;
    TempDir dir;
    for (const FactoryProgram& p : sPrograms) sMeasured.push_back(Measure(p, dir));
    printf("%-24s %-11s %9s %9s %12s %8s %6s\n", "program", "category", "LUFS", "LUFS 2", "chord peak", "A4 Hz",
           "DC %");
    for (size_t i = 0; i < sPrograms.size(); ++i)
      printf("%-24s %-11s %9.1f %9.1f %8.1f dBFS %8.1f %6.2f\n", sPrograms[i].mName.c_str(),
             sPrograms[i].mCategory.c_str(), sMeasured[i].loudness, sMeasured[i].loudness2,
             20 * std::log10(sMeasured[i].chordPeak), sMeasured[i].pitch, 100 * sMeasured[i].dcShare);
    return sMeasured;
  }

  // One render: the category's phrase, 5 s later a held A4 (1.5 s), 5 s later
  // the chord (2 s), then 10 s of tail. Another: the second phrase alone.
  static Measured Measure(const FactoryProgram& p, const TempDir& dir)
  {
    int bendAt;
    std::vector<Note> notes = Phrase(p.mCategory, &bendAt);
    int phraseEnd = 0;
    for (const Note& n : notes) phraseEnd = std::max(phraseEnd, n.at + n.length);
    const int a4 = phraseEnd + 5000, chord = a4 + 6500;
    notes.push_back({a4, 1500, 69});
    for (int k : {48, 52, 55, 59, 62, 65, 69, 72}) notes.push_back({chord, 2000, k});
    const Bytes midi = MidiFile(notes, bendAt);
    std::ofstream(dir.File("p.mid"), std::ios::binary).write((const char*)midi.data(), (std::streamsize)midi.size());
    const std::string program = std::string(VELTRA_PROGRAMS) + "/" + p.mCategory + "/" + p.mName + ".fxp";
    const RenderRun run =
        RunRender({"-q", "-t", "10", "--format", "float", "-p", program, dir.File("p.mid"), dir.File("p.wav")},
                  dir.Path(), 300.0);
    EXPECT_EQ(run.status, 0) << p.mName << ": " << run.err;
    SF_INFO info;
    const std::vector<float> frames = ReadSamples<float>(dir.File("p.wav"), &info);
    std::vector<float> left(frames.size() / 2);
    for (size_t i = 0; i < left.size(); ++i) left[i] = frames[2 * i];
    auto at = [](int ms) { return (size_t)ms * kRate / 1000; };

    Measured m;
    ebur128_state* st = ebur128_init(2, kRate, EBUR128_MODE_I);
    ebur128_add_frames_float(st, frames.data(), at(phraseEnd + 1000));
    ebur128_loudness_global(st, &m.loudness);
    ebur128_destroy(&st);
    m.loudness2 = Loudness(SecondPhrase(p.mCategory, 0), program, dir);
    double peak = 1e-12, sum[2] = {0, 0};
    m.chordPeak = m.tailPeak = 0.0;
    for (size_t i = 0; i < left.size(); ++i)
      for (int c = 0; c < 2; ++c)
      {
        const double v = std::fabs(frames[2 * i + c]);
        sum[c] += frames[2 * i + c];
        peak = std::max(peak, v);
        if (i >= at(chord)) m.chordPeak = std::max(m.chordPeak, v);
        if (i + kRate / 2 >= left.size()) m.tailPeak = std::max(m.tailPeak, v);
      }
    m.dcShare = std::max(std::fabs(sum[0]), std::fabs(sum[1])) / (double)left.size() / peak;
    m.pitch = Fundamental(left, at(a4 + 50), at(a4 + 450), kRate);
    m.bands = Bands(left, at(a4 + 100), at(a4 + 1500));
    for (int ms = a4; ms < a4 + 4000; ms += 50)
      m.envelope.push_back(std::max(20 * std::log10(Rms(left, at(ms), at(ms + 50)) + 1e-9), -80.0));
    return m;
  }
  // The loudness of notes played alone, up to 1 s after the last.
  static double Loudness(const std::vector<Note>& notes, const std::string& program, const TempDir& dir)
  {
    const Bytes midi = MidiFile(notes, -1);
    std::ofstream(dir.File("q.mid"), std::ios::binary).write((const char*)midi.data(), (std::streamsize)midi.size());
    EXPECT_EQ(RunRender({"-q", "-t", "1", "--format", "float", "-p", program, dir.File("q.mid"), dir.File("q.wav")},
                        dir.Path(), 300.0)
                  .status,
              0);
    SF_INFO info;
    const std::vector<float> frames = ReadSamples<float>(dir.File("q.wav"), &info);
    ebur128_state* st = ebur128_init(2, kRate, EBUR128_MODE_I);
    ebur128_add_frames_float(st, frames.data(), frames.size() / 2);
    double lufs = -HUGE_VAL;
    ebur128_loudness_global(st, &lufs);
    ebur128_destroy(&st);
    return lufs;
  }
  static std::vector<FactoryProgram> sPrograms;
  static std::vector<Measured> sMeasured;
};
std::vector<FactoryProgram> FactoryPrograms::sPrograms;
std::vector<Measured> FactoryPrograms::sMeasured;
} // namespace

TEST_F(FactoryPrograms, AreLevelledCleanQuietAfterwardsAndInTune)
{
  const std::vector<Measured>& measured = Rendered();
  for (const char* category : kFactoryCategoryNames)
  {
    auto median = [&](double Measured::*of)
    {
      std::vector<double> levels;
      for (size_t i = 0; i < sPrograms.size(); ++i)
        if (sPrograms[i].mCategory == category) levels.push_back(measured[i].*of);
      std::nth_element(levels.begin(), levels.begin() + levels.size() / 2, levels.end());
      return (levels[levels.size() / 2] + *std::max_element(levels.begin(), levels.begin() + levels.size() / 2)) / 2;
    };
    const double first = median(&Measured::loudness), second = median(&Measured::loudness2);
    for (size_t i = 0; i < sPrograms.size(); ++i)
    {
      if (sPrograms[i].mCategory != category) continue;
      const Measured& m = measured[i];
      SCOPED_TRACE(sPrograms[i].mName);
      EXPECT_NEAR(m.loudness, first, 2.0) << "LUFS against the " << category << " median";
      EXPECT_NEAR(m.loudness2, second, 3.0) << "LUFS of the second phrase against the " << category << " median";
      EXPECT_LT(m.chordPeak, std::pow(10.0, -1.0 / 20)) << "the eight-note chord peaks above -1 dBFS";
      EXPECT_LT(m.dcShare, 0.01) << "a DC offset";
      EXPECT_LT(m.tailPeak, std::pow(10.0, -90.0 / 20)) << "still sounding 10 s after the last note";
      const std::string& d = sPrograms[i].mDescription;
      if (d.find("detuned") == std::string::npos && d.find("pitched") == std::string::npos)
      {
        EXPECT_NEAR(m.pitch / (44100.0 / 101.0), 1.0, 0.01) << "A4 at " << m.pitch << " Hz";
      }
    }
  }
}

// Two programs count as near-duplicates when their held A4s differ by less
// than 3 dB on average, over third-octave bands and over 50 ms steps of the
// level, both, or when they share more than 36 of the 44 stored values.
TEST_F(FactoryPrograms, NoTwoAreNearDuplicates)
{
  const std::vector<Measured>& measured = Rendered();
  for (size_t i = 0; i < sPrograms.size(); ++i)
    for (size_t j = 0; j < i; ++j)
    {
      const double spectrum = MeanDistance(measured[i].bands, measured[j].bands),
                   envelope = MeanDistance(measured[i].envelope, measured[j].envelope);
      EXPECT_TRUE(spectrum >= 3.0 || envelope >= 3.0)
          << sPrograms[i].mName << " and " << sPrograms[j].mName << ": " << spectrum << " dB apart in spectrum, "
          << envelope << " dB in level";
      int same = 3; // the meter slots
      for (int k = 0; k < kNumParams; ++k)
        same += k != kARMeter && k != kLFOMeter && k != kPWMMeter && sPrograms[i].mValues[k] == sPrograms[j].mValues[k];
      EXPECT_LE(same, 36) << sPrograms[i].mName << " and " << sPrograms[j].mName;
    }
}

// Each category's bank holds its eight programs in order, with the values
// and names of their program files; and every program file, loaded, saves
// again to the very same bytes.
TEST_F(FactoryPrograms, BanksHoldTheProgramFilesAndEachSavesBackByteForByte)
{
  std::unique_ptr<VELTRA> bank((VELTRA*)MakePlug(nullptr, nullptr)), single((VELTRA*)MakePlug(nullptr, nullptr));
  std::map<std::string, int> slot;
  TempDir dir;
  for (const FactoryProgram& p : sPrograms)
  {
    const std::string folder = std::string(VELTRA_PROGRAMS) + "/";
    WDL_String bankFile((folder + p.mCategory + ".fxb").c_str()),
        programFile((folder + p.mCategory + "/" + p.mName + ".fxp").c_str());
    ASSERT_TRUE(bank->LoadBankFromFXB(&bankFile)) << bankFile.Get();
    ASSERT_TRUE(bank->RestorePreset(slot[p.mCategory]++));
    ASSERT_TRUE(single->LoadProgramFromFXP(&programFile)) << programFile.Get();
    EXPECT_STREQ(bank->GetPresetName(bank->GetCurrentPresetIdx()), p.mName.c_str());
    for (int i = 0; i < kNumParams; ++i)
      EXPECT_EQ(bank->GetParam(i)->Value(), single->GetParam(i)->Value()) << p.mName << ", parameter " << i;
    WDL_String again(dir.File("again.fxp").c_str());
    ASSERT_TRUE(single->SaveProgramAsFXP(&again));
    EXPECT_TRUE(ReadWholeFile(again.Get()) == ReadWholeFile(programFile.Get())) << p.mName << " saved again";
  }
}
