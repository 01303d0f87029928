#pragma once
// VELTRA's factory programs, read from their text form in the source tree
// (programs/factory.txt): for each a name, a category, a one-line
// description and every parameter by its name with its real value. The
// build writes them out as program files, one bank per category and the LV2
// plug-in's presets; the tests read the same text.

#include "VELTRA.h"

#include <string>
#include <vector>

struct FactoryProgram
{
  std::string mName;               // at most kFactoryNameMax characters, fit for a file name
  std::string mCategory;           // one of kFactoryCategories
  std::string mDescription;        // one line
  double mValues[kNumParams] = {}; // real values; the meter slots stay 0
};

constexpr int kFactoryCategories = 4;
constexpr int kFactoryProgramsPerCategory = kVeltraPrograms; // a category fills one bank
constexpr size_t kFactoryNameMax = 24;
extern const char* const kFactoryCategoryNames[kFactoryCategories];

// Parses the text form. Every program names every parameter once, inside its
// range, and every category holds exactly kFactoryProgramsPerCategory
// programs; false with the line and the reason otherwise.
bool ReadFactoryPrograms(const std::string& text, std::vector<FactoryProgram>* programs, std::string* error);
bool ReadFactoryProgramsFile(const std::string& path, std::vector<FactoryProgram>* programs, std::string* error);

// Puts the program's values into the plug-in's current preset slot and names
// it, as loading its program file would; fxp receives that file's bytes.
void ApplyFactoryProgram(VELTRA* plug, const FactoryProgram& program, ByteChunk* fxp);

// Writes <folder>/<Category>/<Name>.fxp for every program and
// <folder>/<Category>.fxb for every category (the folders are made). False
// with the file and the reason on a write error.
bool WriteFactoryFiles(VELTRA* plug, const std::vector<FactoryProgram>& programs, const std::string& folder,
                       std::string* error);
