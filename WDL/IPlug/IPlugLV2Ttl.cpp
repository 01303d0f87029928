#include "IPlugLV2Ttl.h"

#include "replacefile.h"

#include "Base64.h"
#include "IPlugLV2Ports.h"
#include "cnumbers.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <vector>

namespace
{
const char* const kPrefixes = "@prefix atom: <http://lv2plug.in/ns/ext/atom#> .\n"
                              "@prefix bufsz: <http://lv2plug.in/ns/ext/buf-size#> .\n"
                              "@prefix doap: <http://usefulinc.com/ns/doap#> .\n"
                              "@prefix foaf: <http://xmlns.com/foaf/0.1/> .\n"
                              "@prefix log: <http://lv2plug.in/ns/ext/log#> .\n"
                              "@prefix lv2: <http://lv2plug.in/ns/lv2core#> .\n"
                              "@prefix midi: <http://lv2plug.in/ns/ext/midi#> .\n"
                              "@prefix opts: <http://lv2plug.in/ns/ext/options#> .\n"
                              "@prefix pg: <http://lv2plug.in/ns/ext/port-groups#> .\n"
                              "@prefix pprops: <http://lv2plug.in/ns/ext/port-props#> .\n"
                              "@prefix pset: <http://lv2plug.in/ns/ext/presets#> .\n"
                              "@prefix rdfs: <http://www.w3.org/2000/01/rdf-schema#> .\n"
                              "@prefix state: <http://lv2plug.in/ns/ext/state#> .\n"
                              "@prefix ui: <http://lv2plug.in/ns/extensions/ui#> .\n"
                              "@prefix units: <http://lv2plug.in/ns/extensions/units#> .\n"
                              "@prefix urid: <http://lv2plug.in/ns/ext/urid#> .\n"
                              "@prefix xsd: <http://www.w3.org/2001/XMLSchema#> .\n\n";

// A number as Turtle reads it, in the C locale's notation, exact to a float:
// a port holds a float.
std::string Number(double v)
{
  char buf[40];
  WDL_snprintf_c(buf, sizeof(buf), "%.9g", v);
  std::string s = buf;
  // Turtle's decimals and doubles both need digits on each side of a point.
  if (s.find_first_of(".e") == std::string::npos) s += ".0";
  return s;
}

// A Turtle string literal.
std::string Quoted(const char* text)
{
  std::string s = "\"";
  for (const char* c = text; *c; ++c)
  {
    if (*c == '"' || *c == '\\') s += '\\';
    s += *c;
  }
  return s + "\"";
}

// The LV2 unit of a parameter's label, where one fits.
const char* Unit(const char* label)
{
  static const char* const kUnits[][2] = {
      {"Hz", "hz"}, {"dB", "db"}, {"%", "pc"}, {"ms", "ms"}, {"s", "s"}, {"cents", "cent"}, {"st", "semitone12TET"}};
  for (const auto& u : kUnits)
    if (!strcmp(label, u[0])) return u[1];
  return nullptr;
}

std::string ControlPort(IPlugBase* plug, int i, const LV2BundleDescription& desc)
{
  const IParam* p = plug->GetParam(i);
  const int index = LV2ParamPort(i, plug->NOutChannels());
  std::string t = "  [\n";
  if (LV2IsMeter(p))
  {
    const char* name = desc.mMeterNames && desc.mMeterNames[i] ? desc.mMeterNames[i] : "Meter";
    t += "    a lv2:OutputPort , lv2:ControlPort ;\n";
    t += "    lv2:index " + std::to_string(index) + " ;\n";
    t += "    lv2:symbol " + Quoted(LV2PortSymbol(name).c_str()) + " ;\n";
    t += "    lv2:name " + Quoted(name) + " ;\n";
    t += "    lv2:minimum 0.0 ;\n    lv2:maximum 1.0 ;\n";
    return t + "  ]";
  }
  double lo, hi;
  p->GetBounds(&lo, &hi);
  t += "    a lv2:InputPort , lv2:ControlPort ;\n";
  t += "    lv2:index " + std::to_string(index) + " ;\n";
  t += "    lv2:symbol " + Quoted(LV2PortSymbol(p->GetNameForHost()).c_str()) + " ;\n";
  t += "    lv2:name " + Quoted(p->GetNameForHost()) + " ;\n";
  t += "    lv2:default " + Number(p->GetDefault()) + " ;\n";
  t += "    lv2:minimum " + Number(lo) + " ;\n";
  t += "    lv2:maximum " + Number(hi);
  // Value names of the description, else the parameter's display texts.
  std::vector<std::pair<std::string, double>> points;
  const int named = desc.mNumValueNames ? desc.mNumValueNames[i] : 0;
  for (int k = 0; k < named; ++k) points.push_back({desc.mValueNames[i][k], lo + k});
  for (int k = 0; !named && k < p->GetNDisplayTexts(); ++k)
  {
    int value = 0;
    const char* text = p->GetDisplayTextAtIdx(k, &value);
    points.push_back({text, (double)value});
  }
  std::vector<const char*> props;
  if (p->Type() == IParam::kTypeBool) props.push_back("lv2:toggled");
  if (p->Type() == IParam::kTypeInt || p->Type() == IParam::kTypeEnum) props.push_back("lv2:integer");
  if (!points.empty()) props.push_back("lv2:enumeration");
  for (size_t k = 0; k < props.size(); ++k) t += (k ? " , " : " ;\n    lv2:portProperty ") + std::string(props[k]);
  for (size_t k = 0; k < points.size(); ++k)
  {
    t += (k ? " , [\n" : " ;\n    lv2:scalePoint [\n");
    t += "      rdfs:label " + Quoted(points[k].first.c_str()) + " ;\n      rdf:value " + Number(points[k].second) +
         "\n    ]";
  }
  const char* unit = desc.mUnits && desc.mUnits[i] ? desc.mUnits[i] : Unit(p->GetLabelForHost());
  if (unit) t += " ;\n    units:unit units:" + std::string(unit);
  return t + "\n  ]";
}

std::string PluginTtl(IPlugBase* plug, const LV2BundleDescription& d)
{
  const std::string uri = d.mURI;
  int major, minor, micro;
  GetVersionParts(plug->GetEffectVersion(false), &major, &minor, &micro);
  std::string t = kPrefixes;
  t.insert(t.find("@prefix rdfs:"), "@prefix rdf: <http://www.w3.org/1999/02/22-rdf-syntax-ns#> .\n");
  t += "<" + uri +
       "#program>\n  a rdf:Property ;\n  rdfs:label \"Program\" ;\n"
       "  rdfs:comment \"The sound as the program form of an FXP file.\" ;\n  rdfs:range atom:Chunk .\n\n";
  t +=
      "<" + uri + "#out>\n  a pg:StereoGroup , pg:OutputGroup ;\n  lv2:symbol \"out\" ;\n  rdfs:label \"Output\" .\n\n";
  t += "<" + uri + ">\n  a lv2:Plugin , lv2:InstrumentPlugin , doap:Project ;\n";
  t += "  doap:name " + Quoted(d.mName) + " ;\n";
  t += "  doap:maintainer [\n    foaf:name " + Quoted(plug->GetMfrName()) + " ;\n    foaf:homepage <" + d.mHomepage +
       ">\n  ] ;\n";
  t += "  lv2:minorVersion " + std::to_string(minor) + " ;\n  lv2:microVersion " + std::to_string(micro) + " ;\n";
  t += "  lv2:requiredFeature urid:map , opts:options ;\n";
  t += "  lv2:optionalFeature lv2:hardRTCapable , bufsz:boundedBlockLength , log:log ;\n";
  t += "  opts:supportedOption bufsz:maxBlockLength ;\n";
  t += "  lv2:extensionData state:interface ;\n";
  t += "  lv2:port [\n    a lv2:InputPort , atom:AtomPort ;\n    atom:bufferType atom:Sequence ;\n"
       "    atom:supports midi:MidiEvent ;\n    lv2:designation lv2:control ;\n    lv2:index " +
       std::to_string(kLV2MidiInPort) + " ;\n    lv2:symbol \"midi_in\" ;\n    lv2:name \"MIDI In\"\n  ]";
  const char* const outs[2][3] = {{"out_l", "Left", "pg:left"}, {"out_r", "Right", "pg:right"}};
  for (int c = 0; c < plug->NOutChannels() && c < 2; ++c)
    t += " , [\n    a lv2:OutputPort , lv2:AudioPort ;\n    lv2:index " + std::to_string(kLV2FirstAudioOutPort + c) +
         " ;\n    lv2:symbol \"" + outs[c][0] + "\" ;\n    lv2:name \"" + outs[c][1] + "\" ;\n    pg:group <" + uri +
         "#out> ;\n    lv2:designation " + outs[c][2] + "\n  ]";
  for (int i = 0; i < plug->NParams(); ++i) t += " , " + ControlPort(plug, i, d).substr(2);
  t += " , [\n    a lv2:OutputPort , atom:AtomPort ;\n    atom:bufferType atom:Sequence ;\n"
       "    atom:supports atom:Object ;\n    lv2:index " +
       std::to_string(LV2NotifyPort(plug->NParams(), plug->NOutChannels())) +
       " ;\n    lv2:symbol \"notify\" ;\n    lv2:name \"Notifications\"\n  ]";
  t += " , [\n    a lv2:OutputPort , lv2:ControlPort ;\n    lv2:index " +
       std::to_string(LV2LatencyPort(plug->NParams(), plug->NOutChannels())) +
       " ;\n    lv2:symbol \"latency\" ;\n    lv2:name \"Latency\" ;\n    lv2:designation lv2:latency ;\n"
       "    lv2:portProperty lv2:reportsLatency , lv2:integer ;\n    lv2:minimum 0 ;\n    lv2:maximum 4096 ;\n"
       "    units:unit units:frame\n  ]";
  t += " , [\n    a lv2:InputPort , lv2:ControlPort ;\n    lv2:index " +
       std::to_string(LV2SameSoundPort(plug->NParams(), plug->NOutChannels())) + " ;\n    lv2:symbol " +
       Quoted(LV2PortSymbol(kSameSoundName).c_str()) + " ;\n    lv2:name " + Quoted(kSameSoundName) +
       " ;\n    rdfs:comment \"On, the instrument plays at 44100 Hz and its output is converted to the host's rate, "
       "so that it sounds the same at every rate; off, it plays at the host's rate.\" ;\n"
       "    lv2:default 1.0 ;\n    lv2:minimum 0.0 ;\n    lv2:maximum 1.0 ;\n"
       "    lv2:portProperty lv2:toggled , pprops:notAutomatic\n  ]";
  if (d.mUIBinary) t += " ;\n  ui:ui <" + uri + "#ui>";
  t += " .\n";
  if (!d.mUIBinary) return t;
  // The panel: fed by the host with every port it shows and the notes held.
  t += "\n<" + uri + "#ui>\n  a ui:X11UI ;\n  ui:binary <" + d.mUIBinary + "> ;\n";
  t += "  lv2:requiredFeature urid:map ;\n";
  t += "  lv2:optionalFeature ui:parent , ui:touch , ui:resize , ui:idleInterface , ui:noUserResize , opts:options ;\n";
  // The host's scale factor sizes the panel, unless the user chose a size.
  t += "  opts:supportedOption ui:scaleFactor ;\n";
  t += "  lv2:extensionData ui:idleInterface , ui:showInterface";
  for (int i = 0; i < plug->NParams(); ++i)
  {
    const IParam* p = plug->GetParam(i);
    const char* name =
        LV2IsMeter(p) ? (d.mMeterNames && d.mMeterNames[i] ? d.mMeterNames[i] : "Meter") : p->GetNameForHost();
    t += " ;\n  ui:portNotification [\n    ui:plugin <" + uri + "> ;\n    lv2:symbol " +
         Quoted(LV2PortSymbol(name).c_str()) + " ;\n    ui:protocol ui:floatProtocol\n  ]";
  }
  t += " ;\n  ui:portNotification [\n    ui:plugin <" + uri +
       "> ;\n    lv2:symbol \"notify\" ;\n    ui:protocol atom:eventTransfer\n  ] .\n";
  return t;
}

// A preset's URI: its number with as many digits as the last one has, so
// that hosts listing presets by URI list them in order.
std::string PresetURI(const LV2BundleDescription& d, size_t n, size_t count)
{
  std::string number = std::to_string(n + 1);
  number.insert(0, std::to_string(count).size() - number.size(), '0');
  return std::string(d.mURI) + "#preset" + number;
}

// The banks in the order of their first presets, each "<uri>#bank<k>".
std::vector<std::string> Banks(const std::vector<LV2Preset>& presets)
{
  std::vector<std::string> banks;
  for (const LV2Preset& p : presets)
    if (!p.mBank.empty() && std::find(banks.begin(), banks.end(), p.mBank) == banks.end()) banks.push_back(p.mBank);
  return banks;
}

std::string PresetsTtl(IPlugBase* plug, const LV2BundleDescription& d, const std::vector<LV2Preset>& presets)
{
  std::string t = kPrefixes;
  const std::string key = std::string(d.mURI) + "#program";
  const std::vector<std::string> banks = Banks(presets);
  for (size_t b = 0; b < banks.size(); ++b)
    t += "<" + std::string(d.mURI) + "#bank" + std::to_string(b + 1) + ">\n  a pset:Bank ;\n  rdfs:label " +
         Quoted(banks[b].c_str()) + " .\n\n";
  for (size_t n = 0; n < presets.size(); ++n)
  {
    // The values that the program gives when loaded from its file form, so
    // that the preset sounds exactly as the program file does.
    ByteChunk program;
    program.PutBytes(presets[n].mProgram.data(), (int)presets[n].mProgram.size());
    const std::string& name = presets[n].mName;
    plug->LoadProgramFromChunk(&program);
    std::vector<char> encoded((size_t)program.Size() * 4 / 3 + 8);
    base64encode(program.GetBytes(), encoded.data(), program.Size());

    t += "<" + PresetURI(d, n, presets.size()) + ">\n  a pset:Preset ;\n";
    t += "  lv2:appliesTo <" + std::string(d.mURI) + "> ;\n";
    const size_t bank = std::find(banks.begin(), banks.end(), presets[n].mBank) - banks.begin();
    if (bank < banks.size()) t += "  pset:bank <" + std::string(d.mURI) + "#bank" + std::to_string(bank + 1) + "> ;\n";
    t += "  rdfs:label " + Quoted(name.c_str()) + " ;\n";
    t += "  state:state [\n    <" + key + "> \"" + encoded.data() + "\"^^xsd:base64Binary\n  ]";
    for (int i = 0; i < plug->NParams(); ++i)
    {
      const IParam* p = plug->GetParam(i);
      if (LV2IsMeter(p)) continue;
      t += " ;\n  lv2:port [\n    lv2:symbol " + Quoted(LV2PortSymbol(p->GetNameForHost()).c_str()) +
           " ;\n    pset:value " + Number(p->Value()) + "\n  ]";
    }
    t += " .\n\n";
  }
  return t;
}

std::string ManifestTtl(const LV2BundleDescription& d, size_t presets)
{
  std::string t = kPrefixes;
  t += "<" + std::string(d.mURI) + ">\n  a lv2:Plugin , lv2:InstrumentPlugin ;\n  lv2:binary <" + d.mBinary +
       "> ;\n  rdfs:seeAlso <" + d.mTtlName + "> .\n\n";
  if (d.mUIBinary)
    t += "<" + std::string(d.mURI) + "#ui>\n  a ui:X11UI ;\n  ui:binary <" + d.mUIBinary + "> ;\n  rdfs:seeAlso <" +
         d.mTtlName + "> .\n\n";
  for (size_t n = 0; n < presets; ++n)
    t += "<" + PresetURI(d, n, presets) + ">\n  a pset:Preset ;\n  lv2:appliesTo <" + d.mURI +
         "> ;\n  rdfs:seeAlso <presets.ttl> .\n\n";
  return t;
}

bool WriteText(const std::string& path, const std::string& text, std::string* error)
{
  const bool ok = WDL_ReplaceFile(path.c_str(), text.data(), text.size());
  if (!ok) *error = path + ": " + strerror(errno);
  return ok;
}
} // namespace

bool WriteLV2Bundle(IPlugBase* plug, const LV2BundleDescription& desc, const std::vector<LV2Preset>& presets,
                    const std::string& folder, std::string* error)
{
  // The plug-in's own text first: the presets leave the last of them loaded.
  const std::string pluginTtl = PluginTtl(plug, desc);
  return WriteText(folder + "/manifest.ttl", ManifestTtl(desc, presets.size()), error) &&
         WriteText(folder + "/" + desc.mTtlName, pluginTtl, error) &&
         WriteText(folder + "/presets.ttl", PresetsTtl(plug, desc, presets), error);
}
