#pragma once
// A small plug-in with three parameters that counts its parameter changes.

#include "IPlugStandalone.h"

#include <vector>

class TestPlug : public IPlugStandalone
{
public:
  explicit TestPlug(int nPresets = 4, IPlugInstanceInfo info = IPlugInstanceInfo(), bool chunks = false,
                    int uniqueID = 1)
      : IPlugStandalone(info, 3, "0-1 0-2", nPresets, "Test", "", "Maker", 0x10103, uniqueID, 2, 0, true, chunks, true,
                        0)
  {
    GetParam(0)->InitDouble("a", 0.5, 0.0, 1.0, 0.01);
    GetParam(1)->InitBool("b", false);
    GetParam(2)->InitDouble("c", 10.0, 5.0, 20.0, 0.1);
  }
  void OnParamChange(int idx) override
  {
    IMutexLock lock(this);
    mChanged.push_back(idx);
  }
  std::vector<int> mChanged;
};
