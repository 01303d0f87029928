#include "VELTRAFactory.h"

#include "cnumbers.h"

#include <cerrno>
#include <cmath>
#include <cstring>
#include <fstream>
#include <sstream>
#include <sys/stat.h>

const char* const kFactoryCategoryNames[kFactoryCategories] = {"Bass", "Lead", "Pad & Keys", "Pluck & FX"};

namespace
{
std::string Trim(const std::string& s)
{
  const size_t a = s.find_first_not_of(" \t\r");
  if (a == std::string::npos) return "";
  return s.substr(a, s.find_last_not_of(" \t\r") - a + 1);
}

// The parameter table of a plug-in made once, for names and ranges.
VELTRA* Table()
{
  static VELTRA* sPlug = (VELTRA*)MakePlug(nullptr, nullptr);
  return sPlug;
}

// The meters' slots are parameters without a kind: no program sets them.
bool IsMeter(int index) { return Table()->GetParam(index)->Type() == IParam::kTypeNone; }

int ParamByName(const std::string& name)
{
  for (int i = 0; i < kNumParams; ++i)
    if (!IsMeter(i) && name == Table()->GetParam(i)->GetNameForHost()) return i;
  return -1;
}

// Names go into file names as they are: no folder separators, no leading dot,
// nothing a shell or a file dialog would trip on.
bool FitsAFileName(const std::string& name)
{
  if (name.empty() || name.size() > kFactoryNameMax || name[0] == '.' || name[0] == ' ' || name.back() == ' ')
    return false;
  for (char c : name)
    if (!(isalnum((unsigned char)c) || strchr(" -'&+", c))) return false;
  return true;
}

// Checks a finished program: everything named, the category known.
bool Complete(const FactoryProgram& p, const bool* seen, std::string* why)
{
  if (p.mDescription.empty())
  {
    *why = "has no description";
    return false;
  }
  bool known = false;
  for (const char* c : kFactoryCategoryNames) known = known || p.mCategory == c;
  if (!known)
  {
    *why = "has the unknown category '" + p.mCategory + "'";
    return false;
  }
  for (int i = 0; i < kNumParams; ++i)
    if (!IsMeter(i) && !seen[i])
    {
      *why = "does not set '" + std::string(Table()->GetParam(i)->GetNameForHost()) + "'";
      return false;
    }
  return true;
}
} // namespace

bool ReadFactoryPrograms(const std::string& text, std::vector<FactoryProgram>* programs, std::string* error)
{
  programs->clear();
  std::istringstream in(text);
  std::string line;
  int lineNo = 0, startLine = 0;
  bool seen[kNumParams] = {};
  auto fail = [&](int at, const std::string& why)
  {
    *error = "line " + std::to_string(at) + ": " + why;
    return false;
  };
  auto finish = [&]() -> bool
  {
    if (programs->empty()) return true;
    std::string why;
    if (!Complete(programs->back(), seen, &why)) return fail(startLine, "'" + programs->back().mName + "' " + why);
    return true;
  };
  while (std::getline(in, line))
  {
    ++lineNo;
    line = Trim(line);
    if (line.empty() || line[0] == '#') continue;
    const size_t colon = line.find(':'), equals = line.find('=');
    if (colon != std::string::npos && (equals == std::string::npos || colon < equals))
    {
      const std::string key = Trim(line.substr(0, colon)), value = Trim(line.substr(colon + 1));
      if (key == "program")
      {
        if (!finish()) return false;
        if (!FitsAFileName(value))
          return fail(lineNo, "'" + value + "' is no program name (1 to 24 letters, digits, blanks and -'&+)");
        for (const FactoryProgram& p : *programs)
          if (p.mName == value) return fail(lineNo, "'" + value + "' is named twice");
        programs->emplace_back();
        programs->back().mName = value;
        std::fill(seen, seen + kNumParams, false);
        startLine = lineNo;
        continue;
      }
      if (programs->empty()) return fail(lineNo, "'" + key + "' before the first program");
      if (key == "category")
        programs->back().mCategory = value;
      else if (key == "description")
        programs->back().mDescription = value;
      else
        return fail(lineNo, "unknown field '" + key + "'");
      continue;
    }
    if (equals == std::string::npos) return fail(lineNo, "neither 'field: text' nor 'Parameter = value'");
    if (programs->empty()) return fail(lineNo, "a value before the first program");
    const std::string name = Trim(line.substr(0, equals)), number = Trim(line.substr(equals + 1));
    const int index = ParamByName(name);
    if (index < 0) return fail(lineNo, "no parameter is called '" + name + "'");
    if (seen[index]) return fail(lineNo, "'" + name + "' is set twice");
    char* end = nullptr;
    const double v = WDL_strtod_c(number.c_str(), &end);
    if (number.empty() || *end || !std::isfinite(v)) return fail(lineNo, "'" + number + "' is not a number");
    const IParam* param = Table()->GetParam(index);
    double lo, hi;
    param->GetBounds(&lo, &hi);
    if (v < lo || v > hi) return fail(lineNo, name + " = " + number + " is out of its range");
    if (param->Type() != IParam::kTypeDouble && v != std::floor(v)) return fail(lineNo, name + " takes whole numbers");
    programs->back().mValues[index] = v;
    seen[index] = true;
  }
  if (!finish()) return false;
  for (const char* c : kFactoryCategoryNames)
  {
    int n = 0;
    for (const FactoryProgram& p : *programs) n += p.mCategory == c;
    if (n != kFactoryProgramsPerCategory)
    {
      *error = std::string("the category '") + c + "' holds " + std::to_string(n) + " programs, not " +
               std::to_string(kFactoryProgramsPerCategory);
      return false;
    }
  }
  return true;
}

bool ReadFactoryProgramsFile(const std::string& path, std::vector<FactoryProgram>* programs, std::string* error)
{
  std::ifstream f(path);
  if (!f)
  {
    *error = path + ": " + strerror(errno);
    return false;
  }
  std::stringstream text;
  text << f.rdbuf();
  if (!ReadFactoryPrograms(text.str(), programs, error))
  {
    *error = path + ", " + *error;
    return false;
  }
  return true;
}

void ApplyFactoryProgram(VELTRA* plug, const FactoryProgram& program, ByteChunk* fxp)
{
  for (int i = 0; i < kNumParams; ++i)
    if (!IsMeter(i)) plug->GetParam(i)->Set(program.mValues[i]);
  // Through the program file's road, so that every value is the one that a
  // load of the file gives.
  fxp->Clear();
  plug->MakeProgramFXP(fxp, program.mName.c_str());
  plug->LoadProgramFromChunk(fxp); // which also names the preset
}

bool WriteFactoryFiles(VELTRA* plug, const std::vector<FactoryProgram>& programs, const std::string& folder,
                       std::string* error)
{
  auto failed = [&](const std::string& path)
  {
    *error = path + ": " + strerror(errno ? errno : EIO);
    return false;
  };
  mkdir(folder.c_str(), 0755);
  for (const char* category : kFactoryCategoryNames)
  {
    const std::string sub = folder + "/" + category;
    if (mkdir(sub.c_str(), 0755) != 0 && errno != EEXIST) return failed(sub);
    int slot = 0;
    for (const FactoryProgram& p : programs)
    {
      if (p.mCategory != category) continue;
      plug->RestorePreset(slot++);
      ByteChunk fxp;
      ApplyFactoryProgram(plug, p, &fxp);
      WDL_String path((sub + "/" + p.mName + ".fxp").c_str());
      errno = 0;
      if (!plug->SaveProgramAsFXP(&path)) return failed(path.Get());
    }
    plug->RestorePreset(0);
    WDL_String bank((folder + "/" + category + ".fxb").c_str());
    errno = 0;
    if (!plug->SaveBankAsFXB(&bank)) return failed(bank.Get());
  }
  return true;
}
