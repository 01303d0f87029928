// veltra-lv2-bundle: writes the LV2 bundle's description (manifest.ttl,
// veltra.ttl, presets.ttl) from the instrument's parameter table and
// programs. Run by the build.
//   veltra-lv2-bundle FOLDER HOMEPAGE

#include "IPlugLV2Ttl.h"
#include "VELTRA.h"

#include <cstdio>
#include <memory>

int main(int argc, char** argv)
{
  if (argc != 3)
  {
    fprintf(stderr, "usage: veltra-lv2-bundle FOLDER HOMEPAGE\n");
    return 2;
  }
  std::unique_ptr<VELTRA> plug((VELTRA*)MakePlug(nullptr, nullptr));
  plug->RestorePreset(0);
  const char* meters[kNumParams] = {};
  meters[kARMeter] = "AR Env. Meter";
  meters[kLFOMeter] = "LFO Meter";
  meters[kPWMMeter] = "PWM Meter";
  const LV2BundleDescription desc = {kVeltraLV2URI, "VELTRA", "veltra.ttl",  "veltra_dsp.so",
                                     argv[2],       meters,   "veltra_ui.so"};
  std::string error;
  if (!WriteLV2Bundle(plug.get(), desc, argv[1], &error))
  {
    fprintf(stderr, "veltra-lv2-bundle: %s\n", error.c_str());
    return 1;
  }
  return 0;
}
