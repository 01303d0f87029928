// The CLAP plug-in in a host of the tests' own, loaded from the built module
// as a DAW loads it: what it says of itself and its parameters against the
// LV2 ports, its sound against veltra-render's bit for bit at any block
// sizes and in either note dialect, automation at its sample, the state into
// a second instance, the panel's side of the flush, and a flood of notes
// without one allocation.

#include "ClapHost.h"
#include "IPlugLV2Ports.h"
#include "Lv2Host.h"
#include "PluginPhrase.h"
#include "VELTRA.h"

#include <clap/ext/audio-ports.h>
#include <clap/ext/latency.h>
#include <clap/ext/note-ports.h>
#include <clap/ext/params.h>
#include <clap/ext/state.h>

#include <map>

namespace
{
class CLAPPlugin : public ::testing::Test
{
protected:
  static void SetUpTestSuite() { sHost = new ClapHost(VELTRA_CLAP_FILE); }
  static void TearDownTestSuite()
  {
    delete sHost;
    sHost = nullptr;
  }
  // Parameter ids by name, as the plug-in lists them.
  static std::map<std::string, clap_id> Ids(const ClapHost::Instance& in)
  {
    const clap_plugin_params_t* params = (const clap_plugin_params_t*)in.Extension(CLAP_EXT_PARAMS);
    std::map<std::string, clap_id> ids;
    for (uint32_t i = 0; i < params->count(in.Plugin()); ++i)
    {
      clap_param_info_t info;
      if (params->get_info(in.Plugin(), i, &info)) ids[info.name] = info.id;
    }
    return ids;
  }
  static ClapHost* sHost;
  TempDir dir;
};
ClapHost* CLAPPlugin::sHost = nullptr;

TEST_F(CLAPPlugin, DescribesItselfAndItsParametersAsTheLV2PortsAre)
{
  ASSERT_TRUE(sHost->Found()) << VELTRA_CLAP_FILE;
  const clap_plugin_descriptor_t* d = sHost->Descriptor();
  EXPECT_STREQ(d->id, "com.quillmoorinstruments.veltra");
  std::vector<std::string> features;
  for (const char* const* f = d->features; *f; ++f) features.push_back(*f);
  EXPECT_EQ(features, (std::vector<std::string>{"instrument", "synthesizer", "stereo"}));

  std::unique_ptr<ClapHost::Instance> in = sHost->Instantiate(kRate);
  ASSERT_TRUE(in);
  const clap_plugin_t* p = in->Plugin();
  const auto* audio = (const clap_plugin_audio_ports_t*)in->Extension(CLAP_EXT_AUDIO_PORTS);
  const auto* notes = (const clap_plugin_note_ports_t*)in->Extension(CLAP_EXT_NOTE_PORTS);
  const auto* latency = (const clap_plugin_latency_t*)in->Extension(CLAP_EXT_LATENCY);
  ASSERT_TRUE(audio && notes && latency && in->Extension(CLAP_EXT_STATE) && in->Extension("clap.render"));
  clap_audio_port_info_t out;
  ASSERT_TRUE(audio->count(p, false) == 1 && audio->count(p, true) == 0 && audio->get(p, 0, false, &out));
  EXPECT_EQ(out.channel_count, 2u);
  clap_note_port_info_t note;
  ASSERT_TRUE(notes->count(p, true) == 1 && notes->get(p, 0, true, &note));
  EXPECT_EQ(note.supported_dialects, (uint32_t)(CLAP_NOTE_DIALECT_CLAP | CLAP_NOTE_DIALECT_MIDI));
  EXPECT_EQ(latency->get(p), 0u);

  // Every settable parameter in the table's order, with its LV2 port's index,
  // name, range and default.
  setenv("LV2_PATH", VELTRA_LV2_DIR, 1);
  const Lv2Host lv2(kVeltraLV2URI);
  const auto* params = (const clap_plugin_params_t*)in->Extension(CLAP_EXT_PARAMS);
  std::unique_ptr<VELTRA> table((VELTRA*)MakePlug(nullptr, nullptr));
  uint32_t index = 0;
  for (int i = 0; i < kNumParams; ++i)
  {
    if (LV2IsMeter(table->GetParam(i))) continue;
    clap_param_info_t info;
    ASSERT_TRUE(params->get_info(p, index++, &info));
    const int port = 3 + i;
    EXPECT_EQ(info.id, (clap_id)port);
    EXPECT_EQ(info.name, lv2.PortName(port));
    float def, lo, hi;
    ASSERT_TRUE(lv2.PortRange(port, &def, &lo, &hi));
    EXPECT_EQ((float)info.default_value, def) << info.name;
    EXPECT_EQ((float)info.min_value, lo) << info.name;
    EXPECT_EQ((float)info.max_value, hi) << info.name;
    EXPECT_EQ((info.flags & CLAP_PARAM_IS_STEPPED) != 0, table->GetParam(i)->Type() != IParam::kTypeDouble)
        << info.name;
    double value;
    ASSERT_TRUE(params->get_value(p, info.id, &value));
    EXPECT_EQ(value, info.default_value) << info.name;
  }
  // Then the setting, with its LV2 port's index.
  clap_param_info_t setting;
  ASSERT_TRUE(params->get_info(p, index, &setting));
  EXPECT_EQ(setting.id, (clap_id)(6 + kNumParams - 1));
  EXPECT_STREQ(setting.name, lv2.PortName((int)setting.id).c_str());
  EXPECT_EQ(setting.default_value, 1.0);
  EXPECT_EQ(setting.flags & CLAP_PARAM_IS_AUTOMATABLE, 0u);
  EXPECT_EQ(params->count(p), index + 1);
  EXPECT_FALSE(params->get_info(p, index + 1, nullptr));

  // Value texts from the table, and back.
  const std::map<std::string, clap_id> ids = Ids(*in);
  char text[64];
  double value = -1;
  ASSERT_TRUE(params->value_to_text(p, ids.at("Synth Mode"), 1.0, text, sizeof(text)));
  ASSERT_TRUE(params->text_to_value(p, ids.at("Synth Mode"), text, &value));
  EXPECT_EQ(value, 1.0) << text;
  ASSERT_TRUE(params->value_to_text(p, ids.at("Chorus Speed"), 450.0, text, sizeof(text)));
  ASSERT_TRUE(params->text_to_value(p, ids.at("Chorus Speed"), text, &value));
  EXPECT_EQ(value, 450.0) << text;
  EXPECT_FALSE(params->text_to_value(p, ids.at("Chorus Speed"), "fast", &value));
  EXPECT_FALSE(params->get_value(p, 3 + kPWMMeter, &value)) << "a meter is no parameter of the host's";
}

// Every block size a host may use, and a seeded mix with calls of nothing,
// sound as veltra-render does, bit for bit; the notes in either dialect.
TEST_F(CLAPPlugin, RendersEqualVeltraRenderAtEveryBlockSize)
{
  ExpectEveryBlockingAsVeltraRender(dir, {1, 31, 64, 4096},
                                    [&](const PhraseCase& c, int, const std::function<int()>& next)
                                    {
                                      std::unique_ptr<ClapHost::Instance> in = sHost->Instantiate(kRate, 4096);
                                      in->UseNoteDialect(c.noteDialect);
                                      const std::map<std::string, clap_id> ids = Ids(*in);
                                      std::vector<ParamAt> sets;
                                      for (const auto& s : c.sets) sets.push_back({0, ids.at(s.first), s.second});
                                      const Phrase phrase = LoadPhrase(c.midi);
                                      return in->Render(phrase.events, phrase.total, next, sets);
                                    });
}

// A value event in the middle of a block acts at its own sample: the same
// as a block that starts there, and nothing before it changes.
TEST_F(CLAPPlugin, AutomationActsAtItsSample)
{
  const Phrase phrase = LoadPhrase("voices.mid");
  constexpr long long kAt = 30011;
  auto render = [&](std::function<int()> blocks, std::vector<ParamAt> params)
  {
    std::unique_ptr<ClapHost::Instance> in = sHost->Instantiate(kRate, 4096);
    const clap_id cutoff = Ids(*in).at("Filter Cutoff");
    for (ParamAt& p : params) p.mId = cutoff;
    return in->Render(phrase.events, phrase.total, blocks, params);
  };
  const StereoRender steady = render(Fixed(64), {});
  const StereoRender midBlock = render(Fixed(64), {{kAt, 0, 0.2}});
  long long done = 0;
  const StereoRender split = render(
      [&]
      {
        const int n = done < kAt && done + 64 > kAt ? (int)(kAt - done) : 64;
        done += n;
        return n;
      },
      {{kAt, 0, 0.2}});
  EXPECT_EQ(FirstDifference(midBlock, split), -1);
  const long long first = FirstDifference(midBlock, steady);
  EXPECT_GE(first, kAt);
  EXPECT_LT(first, kAt + 64);
}

// A note-off for every key (key -1, as hosts send at a stop) is all notes
// off on its channel.
TEST_F(CLAPPlugin, ANoteOffForEveryKeyIsAllNotesOff)
{
  auto render = [&](bool noteDialect, std::vector<MidiAt> events)
  {
    std::unique_ptr<ClapHost::Instance> in = sHost->Instantiate(kRate);
    in->UseNoteDialect(noteDialect);
    return in->Render(events, 20000, Fixed(256));
  };
  const StereoRender any = render(true, {{0, {0x90, 60, 100}, 3}, {0, {0x91, 64, 100}, 3}, {4410, {0x80, 0xFF, 0}, 3}});
  EXPECT_EQ(FirstDifference(
                any, render(false, {{0, {0x90, 60, 100}, 3}, {0, {0x91, 64, 100}, 3}, {4410, {0xB0, 123, 0}, 3}})),
            -1);
  EXPECT_NE(FirstDifference(any, render(false, {{0, {0x90, 60, 100}, 3}, {0, {0x91, 64, 100}, 3}})), -1);
}

// The state is the program: a second instance given it plays as
// veltra-render plays the program file, and saves the same bytes; a state
// of another kind is refused and changes nothing.
TEST_F(CLAPPlugin, StateCarriesTheProgramIntoASecondInstance)
{
  const Phrase phrase = LoadPhrase("voices.mid");
  std::unique_ptr<ClapHost::Instance> a = sHost->Instantiate(kRate);
  const std::map<std::string, clap_id> ids = Ids(*a);
  a->Flush({{0, ids.at("Synth Mode"), 0},
            {0, ids.at("OP2 Waveform"), 3},
            {0, ids.at("Reverb Depth"), 0.55},
            {0, ids.at("Filter Cutoff"), 0.3}});
  EXPECT_TRUE(a->TakeOutEvents().empty()) << "the host's own changes are not sent back";
  std::vector<uint8_t> state;
  ASSERT_TRUE(a->SaveState(&state));
  const std::string fxp = dir.File("state.fxp");
  WriteWholeFile(fxp, state);
  const StereoRender expected = Reference(dir, "voices.mid", {"-p", fxp});
  EXPECT_LT(FirstDifference(expected, Reference(dir, "voices.mid", {})), 1000) << "the state holds the changes";

  std::unique_ptr<ClapHost::Instance> b = sHost->Instantiate(kRate);
  const int rescans = b->Rescans();
  ASSERT_TRUE(b->RestoreState(state));
  EXPECT_GT(b->Rescans(), rescans) << "the host is told to read the values again";
  double v = 0;
  ((const clap_plugin_params_t*)b->Extension(CLAP_EXT_PARAMS))->get_value(b->Plugin(), ids.at("Reverb Depth"), &v);
  EXPECT_FLOAT_EQ(v, 0.55f);
  EXPECT_EQ(FirstDifference(b->Render(phrase.events, phrase.total, Fixed(100)), expected), -1);
  std::vector<uint8_t> again;
  ASSERT_TRUE(b->SaveState(&again));
  EXPECT_TRUE(again == state);

  std::vector<uint8_t> foreign = state;
  foreign[16] ^= 0xFF; // another instrument's id
  EXPECT_FALSE(b->RestoreState(foreign));
  EXPECT_FALSE(b->RestoreState(std::vector<uint8_t>(3 << 20, 0))) << "a stream far too long for a program";
  ASSERT_TRUE(b->SaveState(&again));
  EXPECT_TRUE(again == state) << "a refused state changed the program";
}

// At 48 kHz the instrument plays at its own rate and its output is
// converted: the plug-in sounds as veltra-render there, the latency it
// reports later. The setting off (kept in the state after the program's
// bytes) takes effect at the next activation, which the host is asked for,
// and the plug-in then sounds as veltra-render --native-rate.
TEST_F(CLAPPlugin, AtAnotherRateSoundsAsVeltraRenderThereLatencyFramesLater)
{
  const double rate = 48000.0;
  const Phrase phrase = LoadPhrase("pedal.mid", rate);
  const StereoRender reference = Reference(dir, "pedal.mid", {"-r", "48000"});
  for (const std::function<int()>& blocks : std::vector<std::function<int()>>{Fixed(64), MixedBlocks(13)})
  {
    std::unique_ptr<ClapHost::Instance> in = sHost->Instantiate(rate, 4096);
    const uint32_t latency = ((const clap_plugin_latency_t*)in->Extension(CLAP_EXT_LATENCY))->get(in->Plugin());
    EXPECT_GT(latency, 0u);
    EXPECT_EQ(
        FirstDifference(AfterLatency(in->Render(phrase.events, phrase.total + latency, blocks), latency), reference),
        -1);
  }

  std::unique_ptr<ClapHost::Instance> in = sHost->Instantiate(rate, 4096);
  std::vector<uint8_t> converting, native;
  ASSERT_TRUE(in->SaveState(&converting));
  in->Flush({{0, (clap_id)(6 + kNumParams - 1), 0.0}});
  EXPECT_EQ(in->Restarts(), 1);
  ASSERT_TRUE(in->SaveState(&native));
  EXPECT_TRUE(std::equal(converting.begin(), converting.end(), native.begin())) << "the program's bytes stay";
  EXPECT_GT(native.size(), converting.size());
  std::unique_ptr<ClapHost::Instance> b = sHost->Instantiate(rate, 4096);
  ASSERT_TRUE(b->RestoreState(native));
  b->Deactivate();
  b->Activate();
  EXPECT_EQ(((const clap_plugin_latency_t*)b->Extension(CLAP_EXT_LATENCY))->get(b->Plugin()), 0u);
  EXPECT_EQ(FirstDifference(b->Render(phrase.events, phrase.total, Fixed(100)),
                            Reference(dir, "pedal.mid", {"-r", "48000", "--native-rate"})),
            -1);
}

#ifdef VELTRA_COUNT_ALLOCATIONS
// 20000 notes in one call, more than the queue holds: the rest is dropped,
// nothing grows, and the plug-in plays on.
TEST_F(CLAPPlugin, ProcessAllocatesNothingUnderANoteFlood)
{
  std::unique_ptr<ClapHost::Instance> in = sHost->Instantiate(48000.0, 4096); // the converter too
  in->UseNoteDialect(true);
  std::vector<MidiAt> flood;
  for (int k = 0; k < 20000; ++k)
    flood.push_back({k / 5, {(uint8_t)(k % 2 ? 0x80 : 0x90 | k % 16), (uint8_t)(36 + k % 48), 100}, 3});
  for (int k = 0; k < 2000; ++k)
    flood.push_back({2 * k, {(uint8_t)(0xB0 | k % 16), 64, (uint8_t)(k % 3 ? 127 : 0)}, 3});
  std::stable_sort(flood.begin(), flood.end(), [](const MidiAt& a, const MidiAt& b) { return a.mSample < b.mSample; });
  const clap_id cutoff = Ids(*in).at("Filter Cutoff");
  std::vector<ParamAt> sweep;
  for (int k = 0; k < 400; ++k) sweep.push_back({k * 10, cutoff, k / 400.0});
  ASSERT_NE(__sanitizer_install_malloc_and_free_hooks(OnMalloc, OnFree), 0);
  in->WatchProcess(&sCounting); // what the plug-in allocates, not the host
  in->ProcessOnce(4096, flood, 0, sweep);
  in->ProcessOnce(4096, {}, 4096);
  in->ProcessOnce(0, {}, 8192);
  in->WatchProcess(nullptr);
  EXPECT_EQ(sAllocations.load(), 0);
}
#endif
} // namespace
