// The LV2 plug-in in a real host library (lilv), loaded from the built bundle
// as a DAW loads it: its ports against the parameter table, its sound against
// veltra-render's bit for bit at any block sizes, its state and presets, two
// instances side by side, and a MIDI flood without one allocation.

#include "IPlugLV2Ports.h"
#include "Lv2Host.h"
#include "PluginPhrase.h"
#include "Process.h"
#include "TempDir.h"
#include "VELTRAFactory.h"

#include <cmath>
#include <cstring>
#include <fstream>
#include <gtest/gtest.h>
#include <random>
#include <sndfile.h>
#include <sys/wait.h>
#include <thread>

namespace
{
class LV2Plugin : public ::testing::Test
{
protected:
  static void SetUpTestSuite()
  {
    setenv("LV2_PATH", VELTRA_LV2_DIR, 1);
    sHost = new Lv2Host(kVeltraLV2URI);
  }
  static void TearDownTestSuite()
  {
    delete sHost;
    sHost = nullptr;
  }
  static Lv2Host* sHost;
  TempDir dir;
};
Lv2Host* LV2Plugin::sHost = nullptr;

TEST_F(LV2Plugin, PortsFollowTheParameterTable)
{
  ASSERT_TRUE(sHost->Found()) << "no plug-in under " << VELTRA_LV2_DIR;
  std::unique_ptr<VELTRA> plug((VELTRA*)MakePlug(nullptr, nullptr));
  ASSERT_EQ(sHost->NumPorts(), 6 + kNumParams);
  EXPECT_EQ(sHost->PortSymbol(0), "midi_in");
  EXPECT_EQ(sHost->PortSymbol(3 + kNumParams), "notify");
  EXPECT_EQ(sHost->PortSymbol(4 + kNumParams), "latency");
  EXPECT_EQ(sHost->PortSymbol(5 + kNumParams), "same_sound_at_every_rate");
  EXPECT_EQ(sHost->PortSymbol(1), "out_l");
  EXPECT_EQ(sHost->PortSymbol(2), "out_r");
  EXPECT_EQ(sHost->PortSymbol(3 + kOP1Attack), "op1_attack");
  EXPECT_EQ(sHost->PortSymbol(3 + kARDepth), "ar_env_depth");
  std::set<std::string> symbols;
  for (int i = 0; i < kNumParams; ++i)
  {
    const IParam* p = plug->GetParam(i);
    const int port = 3 + i;
    EXPECT_TRUE(symbols.insert(sHost->PortSymbol(port)).second) << "symbol used twice: " << sHost->PortSymbol(port);
    if (LV2IsMeter(p)) continue;
    EXPECT_EQ(sHost->PortName(port), p->GetNameForHost());
    EXPECT_EQ(sHost->PortSymbol(port), LV2PortSymbol(p->GetNameForHost()));
    float def, lo, hi;
    ASSERT_TRUE(sHost->PortRange(port, &def, &lo, &hi)) << p->GetNameForHost();
    double plo, phi;
    p->GetBounds(&plo, &phi);
    EXPECT_EQ(def, (float)p->GetDefault()) << p->GetNameForHost();
    EXPECT_EQ(lo, (float)plo) << p->GetNameForHost();
    EXPECT_EQ(hi, (float)phi) << p->GetNameForHost();
  }
  EXPECT_EQ(sHost->PresetURIs().size(), (size_t)(kFactoryCategories * kVeltraPrograms)) << "the factory programs";
}

// Every block size a host may use, and a seeded mix of them with runs of
// nothing between, sound as veltra-render does, bit for bit.
TEST_F(LV2Plugin, RendersEqualVeltraRenderAtEveryBlockSize)
{
  ExpectEveryBlockingAsVeltraRender(dir, {1, 31, 32, 33, 64, 4096, 8192},
                                    [&](const PhraseCase& c, int n, const std::function<int()>& next)
                                    {
                                      // A host may promise runs of any length: one of 2^30 frames at most.
                                      std::unique_ptr<Lv2Host::Instance> in =
                                          sHost->Instantiate(kRate, n == 8192 ? 1 << 30 : 8192);
                                      for (const auto& s : c.sets)
                                        in->SetControl(LV2PortSymbol(s.first), (float)s.second);
                                      const Phrase phrase = LoadPhrase(c.midi);
                                      return in->Render(phrase.events, phrase.total, next);
                                    });
}

// At 48 and 96 kHz the instrument plays at its own rate and its output is
// converted: the plug-in sounds as veltra-render at that rate, bit for bit,
// its output as many frames later as its latency port says, at any block
// sizes; a note's onset comes that late. With the setting off it plays at
// the host's rate, as veltra-render --native-rate.
TEST_F(LV2Plugin, AtOtherRatesSoundsAsVeltraRenderThereLatencyFramesLater)
{
  for (const double rate : {48000.0, 96000.0})
  {
    const std::string r = std::to_string((int)rate);
    const std::vector<std::string> sets = {"-s", "Reverb Depth=0.375", "-s", "PWM on off=1", "-r", r};
    const StereoRender reference = Reference(dir, "voices.mid", sets);
    const Phrase phrase = LoadPhrase("voices.mid", rate);
    ASSERT_EQ((long long)reference.mLeft.size(), phrase.total);
    for (const auto& b : std::vector<std::pair<std::string, std::function<int()>>>{
             {"1", Fixed(1)}, {"64", Fixed(64)}, {"mixed", MixedBlocks(9)}})
    {
      std::unique_ptr<Lv2Host::Instance> in = sHost->Instantiate(rate, 4096);
      in->SetControl("reverb_depth", 0.375f);
      in->SetControl("pwm_on_off", 1.0f);
      in->RunOnce(0, {}, 0);
      const int latency = (int)in->Control("latency");
      EXPECT_GT(latency, 0);
      EXPECT_LT(latency, rate * 0.0015);
      const long long diff = FirstDifference(
          AfterLatency(in->Render(phrase.events, phrase.total + latency, b.second), latency), reference);
      EXPECT_EQ(diff, -1) << r << " Hz in blocks of " << b.first << " differs from frame " << diff;
    }

    // A note at frame 0: its onset at 44.1 kHz, in the host's frames, plus
    // the latency.
    auto onset = [](const StereoRender& s)
    {
      size_t i = 0;
      while (i < s.mLeft.size() && std::fabs(s.mLeft[i]) < 1e-3f) ++i;
      return (double)i;
    };
    std::unique_ptr<Lv2Host::Instance> own = sHost->Instantiate(kRate, 4096);
    const double at44 = onset(own->Render({{0, {0x90, 69, 127}, 3}}, 4410, Fixed(64)));
    std::unique_ptr<Lv2Host::Instance> in = sHost->Instantiate(rate, 4096);
    const StereoRender note = in->Render({{0, {0x90, 69, 127}, 3}}, (long long)rate / 10, Fixed(64));
    EXPECT_NEAR(onset(note), at44 * rate / kRate + in->Control("latency"), 1.0) << r;

    std::unique_ptr<Lv2Host::Instance> native = sHost->Instantiate(rate, 4096);
    native->SetControl("same_sound_at_every_rate", 0.0f);
    const StereoRender plain = native->Render(phrase.events, phrase.total, Fixed(64));
    EXPECT_EQ(native->Control("latency"), 0.0f);
    EXPECT_EQ(FirstDifference(plain, Reference(dir, "voices.mid", {"-r", r, "--native-rate"})), -1) << r;
  }
}

// The instrument's settings as ports: the symbols, and what veltra-render is
// told to play the values an instance's ports hold, each within its range.
struct PortTable
{
  std::unique_ptr<VELTRA> plug{(VELTRA*)MakePlug(nullptr, nullptr)};
  std::vector<int> params;
  PortTable()
  {
    for (int i = 0; i < kNumParams; ++i)
      if (!LV2IsMeter(plug->GetParam(i))) params.push_back(i);
  }
  std::string Symbol(int param) const { return LV2PortSymbol(plug->GetParam(param)->GetNameForHost()); }
  // Only the ports of the symbols given, or all.
  std::vector<std::string> Sets(const Lv2Host::Instance& in, const std::vector<std::string>& only = {}) const
  {
    std::vector<std::string> sets;
    for (int i : params)
    {
      if (!only.empty() && std::find(only.begin(), only.end(), Symbol(i)) == only.end()) continue;
      double lo, hi;
      plug->GetParam(i)->GetBounds(&lo, &hi);
      char v[64];
      snprintf(v, sizeof(v), "%.17g", std::min(hi, std::max(lo, (double)in.Control(Symbol(i)))));
      sets.insert(sets.end(), {"-s", std::string(plug->GetParam(i)->GetNameForHost()) + "=" + v});
    }
    return sets;
  }
  // The program file of a program (the defaults when empty) with the given
  // ports' values put in.
  std::vector<uint8_t> Program(const std::vector<uint8_t>& base, const Lv2Host::Instance& in,
                               const std::vector<std::string>& moved) const
  {
    ByteChunk c;
    if (!base.empty()) c.PutBytes(base.data(), (int)base.size());
    if (!base.empty() && !plug->LoadProgramFromChunk(&c)) return {};
    std::vector<double> values(kNumParams);
    for (int i = 0; i < kNumParams; ++i) values[(size_t)i] = plug->GetParam(i)->Value();
    for (const std::string& m : moved)
      for (int i : params)
        if (Symbol(i) == m) values[(size_t)i] = in.Control(m);
    c.Clear();
    plug->MakeProgramFXP(&c, plug->GetPresetName(plug->GetCurrentPresetIdx()), values.data());
    return std::vector<uint8_t>(c.GetBytes(), c.GetBytes() + c.Size());
  }
};

// The host's ports are its record of every parameter, and the state always
// says what they say at the moment of the save: ports moved with no run
// since (the instance bypassed and deactivated, or right after a preset
// load) are in it. A new instance given the state and then the host's ports,
// in either order, plays the state's program as veltra-render does and saves
// the same bytes; given the state alone, its ports that say other settings
// win. A state of another kind changes nothing and says so in the host's log.
TEST_F(LV2Plugin, StateSaysWhatThePortsSayAndThePortsWin)
{
  const Phrase phrase = LoadPhrase("voices.mid");
  const PortTable table;
  std::unique_ptr<Lv2Host::Instance> a = sHost->Instantiate(kRate);
  a->RunOnce(64, {}, 0);
  a->Deactivate();
  const std::pair<const char*, float> sets[] = {
      {"synth_mode", 0.0f},     {"op2_waveform", 3.0f},  {"op1_octave", 3.0f},   {"chorus_depth", 0.3f},
      {"chorus_speed", 450.0f}, {"reverb_depth", 0.55f}, {"filter_cutoff", 0.3f}};
  for (const auto& s : sets) a->SetControl(s.first, s.second);
  std::vector<std::string> moved;
  for (const auto& s : sets) moved.push_back(s.first);
  std::vector<uint8_t> state;
  ASSERT_TRUE(a->SaveState(&state));
  EXPECT_TRUE(state == table.Program({}, *a, moved)) << "ports moved while deactivated are not in the state";
  const std::string fxp = dir.File("state.fxp");
  WriteWholeFile(fxp, state);
  const StereoRender expected = Reference(dir, "voices.mid", {"-p", fxp});

  auto setPorts = [&](Lv2Host::Instance* in)
  {
    for (int i : table.params) in->SetControl(table.Symbol(i), a->Control(table.Symbol(i)));
  };
  std::unique_ptr<Lv2Host::Instance> after = sHost->Instantiate(kRate);
  ASSERT_TRUE(after->RestoreState(state));
  setPorts(after.get());
  EXPECT_EQ(FirstDifference(after->Render(phrase.events, phrase.total, Fixed(100)), expected), -1) << "ports after";
  std::vector<uint8_t> again;
  ASSERT_TRUE(after->SaveState(&again));
  EXPECT_TRUE(again == state) << "a restored state saves the same bytes";

  std::unique_ptr<Lv2Host::Instance> before = sHost->Instantiate(kRate);
  setPorts(before.get());
  ASSERT_TRUE(before->RestoreState(state));
  EXPECT_EQ(FirstDifference(before->Render(phrase.events, phrase.total, Fixed(333)), expected), -1) << "ports before";

  // Right after a preset load, a moved port is in the saved state.
  std::unique_ptr<Lv2Host::Instance> preset = sHost->Instantiate(kRate);
  ASSERT_TRUE(preset->ApplyPreset(sHost->PresetURIs().front()));
  std::vector<uint8_t> loaded, edited;
  ASSERT_TRUE(preset->SaveState(&loaded));
  preset->SetControl("filter_cutoff", 0.2f);
  ASSERT_TRUE(preset->SaveState(&edited));
  EXPECT_TRUE(edited == table.Program(loaded, *preset, {"filter_cutoff"}))
      << "the port moved after the preset load is not in the state";

  // The state alone, the host's ports left at their defaults: the ports
  // that say other settings win.
  std::unique_ptr<Lv2Host::Instance> alone = sHost->Instantiate(kRate);
  ASSERT_TRUE(alone->RestoreState(state));
  std::vector<std::string> options = {"-p", fxp};
  for (const std::string& o : table.Sets(*alone, moved)) options.push_back(o);
  EXPECT_EQ(
      FirstDifference(alone->Render(phrase.events, phrase.total, Fixed(64)), Reference(dir, "voices.mid", options)),
      -1);

  std::vector<uint8_t> foreign = state;
  foreign[16] ^= 0xFF; // another instrument's id
  EXPECT_FALSE(alone->RestoreState(foreign));
  EXPECT_NE(alone->Log().find("unchanged"), std::string::npos) << alone->Log();
  EXPECT_EQ(std::count(alone->Log().begin(), alone->Log().end(), '\n'), 1) << alone->Log();
}

// In the order of their URIs, as hosts list them, the presets follow their
// banks: eight of each category, as the bundle's program files are filed.
TEST_F(LV2Plugin, EveryPresetSoundsAsItsProgramFileInItsBanksOrder)
{
  const Phrase phrase = LoadPhrase("voices.mid");
  const char* const banks[] = {"Bass", "Lead", "Pad & Keys", "Pluck & FX"};
  const std::vector<std::string> uris = sHost->PresetURIs();
  ASSERT_EQ(uris.size(), 32u);
  for (const std::string& uri : uris)
  {
    std::unique_ptr<Lv2Host::Instance> in = sHost->Instantiate(kRate);
    ASSERT_TRUE(in->ApplyPreset(uri)) << uri;
    std::vector<uint8_t> program;
    ASSERT_TRUE(in->SaveState(&program));
    const std::string fxp = dir.File("preset.fxp");
    WriteWholeFile(fxp, program);
    const std::string name((const char*)program.data() + 28), bank = banks[(&uri - uris.data()) / 8];
    EXPECT_EQ(ReadWholeFile(std::string(VELTRA_LV2_DIR) + "/veltra.lv2/programs/" + bank + "/" + name + ".fxp"),
              ReadWholeFile(fxp))
        << uri << " is not " << bank << "'s";
    const StereoRender render = in->Render(phrase.events, phrase.total, Fixed(64));
    EXPECT_EQ(FirstDifference(render, Reference(dir, "voices.mid", {"-p", fxp})), -1) << uri;
  }
}

TEST_F(LV2Plugin, TwoInstancesOnTwoThreadsRenderAlike)
{
  const Phrase phrase = LoadPhrase("bends.mid");
  const StereoRender reference = Reference(dir, "bends.mid", {"-s", "Chorus Depth=0.5"});
  StereoRender renders[2];
  std::unique_ptr<Lv2Host::Instance> instances[2] = {sHost->Instantiate(kRate), sHost->Instantiate(kRate)};
  std::vector<std::thread> threads;
  for (int t = 0; t < 2; ++t)
    threads.emplace_back(
        [&, t]
        {
          instances[t]->SetControl("chorus_depth", 0.5f);
          renders[t] = instances[t]->Render(phrase.events, phrase.total, Fixed(t ? 57 : 128));
        });
  for (std::thread& t : threads) t.join();
  EXPECT_EQ(FirstDifference(renders[0], reference), -1);
  EXPECT_EQ(FirstDifference(renders[1], reference), -1);
}

#ifdef VELTRA_COUNT_ALLOCATIONS
// More MIDI in one run than the queue holds: the rest is dropped, nothing
// grows, and the plug-in plays on.
TEST_F(LV2Plugin, RunAllocatesNothingUnderAMidiFlood)
{
  std::vector<MidiAt> flood;
  for (int k = 0; k < 20000; ++k)
  {
    const uint8_t note = (uint8_t)(36 + k % 48);
    flood.push_back({k / 5, {(uint8_t)(k % 2 ? 0x80 : 0x90), note, 100}, 3});
  }
  for (int k = 0; k < 200; ++k) flood.push_back({4000 + k / 20, {0xE0, (uint8_t)k, 64}, 3});
  for (int k = 0; k < 2000; ++k)
    flood.push_back({k * 2, {(uint8_t)(0xB0 | k % 16), 64, (uint8_t)(k % 3 ? 127 : 0)}, 3});
  std::sort(flood.begin(), flood.end(), [](const MidiAt& a, const MidiAt& b) { return a.mSample < b.mSample; });
  ASSERT_NE(__sanitizer_install_malloc_and_free_hooks(OnMalloc, OnFree), 0);
  // At the instrument's own rate, and converted to another, switched there
  // to the host's rate and back between runs.
  for (const double rate : {kRate, 48000.0})
  {
    std::unique_ptr<Lv2Host::Instance> in = sHost->Instantiate(rate, 4096);
    in->SetControl("chorus_speed", 500.0f);
    in->SetControl("filter_cutoff", 0.5f);
    sCounting = true;
    in->RunOnce(4096, flood, 0);
    in->RunOnce(1, {}, 4096);
    // (the host's own lookups of the port allocate: not counted)
    sCounting = false, in->SetControl("same_sound_at_every_rate", 0.0f), sCounting = true;
    in->RunOnce(4096, {}, 4097);
    sCounting = false, in->SetControl("same_sound_at_every_rate", 1.0f), sCounting = true;
    in->RunOnce(0, {}, 8193);
    in->RunOnce(333, {}, 8193);
    sCounting = false;
    EXPECT_EQ(sAllocations.load(), 0) << rate;
  }
}
#endif
} // namespace
