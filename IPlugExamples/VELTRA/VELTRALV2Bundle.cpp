// veltra-lv2-bundle: writes the LV2 bundle's description (manifest.ttl,
// veltra.ttl, presets.ttl) from the instrument's parameter table and its
// factory programs. Run by the build.
//   veltra-lv2-bundle FOLDER HOMEPAGE FACTORY_PROGRAMS

#include "IPlugLV2Ttl.h"
#include "VELTRAFactory.h"

#include <cstdio>
#include <memory>

int main(int argc, char** argv)
{
  if (argc != 4)
  {
    fprintf(stderr, "usage: veltra-lv2-bundle FOLDER HOMEPAGE FACTORY_PROGRAMS\n");
    return 2;
  }
  std::string error;
  std::vector<FactoryProgram> factory;
  if (!ReadFactoryProgramsFile(argv[3], &factory, &error))
  {
    fprintf(stderr, "veltra-lv2-bundle: %s\n", error.c_str());
    return 1;
  }
  std::unique_ptr<VELTRA> plug((VELTRA*)MakePlug(nullptr, nullptr));
  plug->RestorePreset(0);
  std::vector<LV2Preset> presets;
  for (const FactoryProgram& p : factory)
  {
    ByteChunk program;
    ApplyFactoryProgram(plug.get(), p, &program);
    presets.push_back(
        {p.mName, std::vector<unsigned char>(program.GetBytes(), program.GetBytes() + program.Size()), p.mCategory});
  }
  const char* meters[kNumParams] = {};
  meters[kARMeter] = "AR Env. Meter";
  meters[kLFOMeter] = "LFO Meter";
  meters[kPWMMeter] = "PWM Meter";
  const char* const* valueNames[kNumParams] = {};
  int numValueNames[kNumParams] = {};
  const char* units[kNumParams] = {};
  for (int i = 0; i < kNumParams; ++i)
  {
    const VELTRAParamNames names = VeltraParamNames(i);
    valueNames[i] = names.values;
    numValueNames[i] = names.nValues;
    units[i] = names.unit;
  }
  const LV2BundleDescription desc = {kVeltraLV2URI, "VELTRA",       "veltra.ttl", "veltra_dsp.so", argv[2],
                                     meters,        "veltra_ui.so", valueNames,   numValueNames,   units};
  if (!WriteLV2Bundle(plug.get(), desc, presets, argv[1], &error))
  {
    fprintf(stderr, "veltra-lv2-bundle: %s\n", error.c_str());
    return 1;
  }
  return 0;
}
