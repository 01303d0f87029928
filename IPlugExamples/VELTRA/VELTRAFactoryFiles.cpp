// veltra-factory-programs: writes the factory programs as program files, one
// folder and one bank per category. Run by the build.
//   veltra-factory-programs FACTORY_PROGRAMS FOLDER

#include "VELTRAFactory.h"

#include <cstdio>
#include <memory>

int main(int argc, char** argv)
{
  if (argc != 3)
  {
    fprintf(stderr, "usage: veltra-factory-programs FACTORY_PROGRAMS FOLDER\n");
    return 2;
  }
  std::string error;
  std::vector<FactoryProgram> factory;
  std::unique_ptr<VELTRA> plug((VELTRA*)MakePlug(nullptr, nullptr));
  if (!ReadFactoryProgramsFile(argv[1], &factory, &error) || !WriteFactoryFiles(plug.get(), factory, argv[2], &error))
  {
    fprintf(stderr, "veltra-factory-programs: %s\n", error.c_str());
    return 1;
  }
  return 0;
}
