#pragma once
// Host identification by name, and packed version numbers: major in bits 16
// and up, minor in bits 8-15, patch in bits 0-7 (0x00010103 is 1.1.3).

enum EHost
{
  kHostUninit = -1,
  kHostUnknown = 0,
  kHostReaper = 1,
  kHostProTools = 2,
  kHostCubase = 3,
  kHostNuendo = 4,
  kHostSonar = 5,
  kHostVegas = 6,
  kHostFL = 7,
  kHostSamplitude = 8,
  kHostAbletonLive = 9,
  kHostMelodyneStudio = 12,
  kHostVSTScanner = 13,
  kHostAULab = 14,
  kHostForte = 15,
  kHostChainer = 16,
  kHostAudition = 17,
  kHostOrion = 18,
  kHostSAWStudio = 20,
  kHostLogic = 21,
  kHostGarageBand = 22,
  kHostDigitalPerformer = 23,
  kHostStandalone = 24,
  kHostAudioMulch = 25,
  kHostStudioOne = 26,
  kHostVST3TestHost = 27,
  kHostArdour = 28,
  kHostRenoise = 29,
  kHostOpenMPT = 30
};

// The first keyword of a fixed table found anywhere in the lower-cased name.
EHost LookUpHost(const char* host);
void GetHostNameStr(EHost host, char* rHostName);
void GetVersionParts(int version, int* ver, int* rmaj, int* rmin);
int GetDecimalVersion(int version);
// "v1.1.3"
void GetVersionStr(int version, char* str);
void ToLower(char* cDest, const char* cSrc);
