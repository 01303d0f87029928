#pragma once
// Writes the description of an LV2 bundle from a plug-in's parameter table
// and preset bank, at build time: manifest.ttl, the plug-in's own .ttl and
// presets.ttl. One source of truth: nothing in the bundle's text is kept by
// hand.

#include "IPlugBase.h"

#include <string>
#include <vector>

struct LV2BundleDescription
{
  const char* mURI;               // the plug-in's URI
  const char* mName;              // its name in hosts
  const char* mTtlName;           // the plug-in's .ttl, "veltra.ttl"
  const char* mBinary;            // the DSP binary, "veltra_dsp.so"
  const char* mHomepage;          // the maker's home page
  const char* const* mMeterNames; // names of the meter ports, by parameter index (null where none)
  const char* mUIBinary;          // the X11 panel's binary, "veltra_ui.so"; null for none
  // By parameter index: the names of its values from its minimum up (a
  // scale point each, the port an enumeration), and its unit (an LV2
  // units: name); null and 0 for none.
  const char* const* const* mValueNames;
  const int* mNumValueNames;
  const char* const* mUnits;
};

// A preset of the bundle: its label and its program in the program file's
// form (MakeProgramFXP).
struct LV2Preset
{
  std::string mName;
  std::vector<unsigned char> mProgram;
  std::string mBank; // the preset's category, a pset:Bank; empty for none
};

// Writes the three files into folder (which must exist). The presets, in
// their order, get the values that loading them as program files gives, the
// program's bytes as their state. The plug-in's current program changes on
// the way. False with a reason on a write error.
bool WriteLV2Bundle(IPlugBase* plug, const LV2BundleDescription& desc, const std::vector<LV2Preset>& presets,
                    const std::string& folder, std::string* error);
