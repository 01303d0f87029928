#include "VELTRATestUtil.h"

#include <cmath>
#include <gtest/gtest.h>

#if defined(__SANITIZE_ADDRESS__)
// The sanitizer runtime calls these hooks on every allocation and free.
extern "C" int __sanitizer_install_malloc_and_free_hooks(void (*malloc_hook)(const volatile void*, size_t),
                                                         void (*free_hook)(const volatile void*));
#endif

namespace
{
double Peak(const std::vector<double>& v)
{
  double p = 0.0;
  for (double x : v) p = std::max(p, std::fabs(x));
  return p;
}

int sAllocations = 0;
bool sCounting = false;
#if defined(__SANITIZE_ADDRESS__)
void CountMalloc(const volatile void*, size_t)
{
  if (sCounting) ++sAllocations;
}
void IgnoreFree(const volatile void*) {}
#endif
} // namespace

TEST(Render, EightNotesExceedFullScaleUnclipped)
{
  VeltraRig rig;
  rig.PlainSine();
  for (int k = 0; k < 8; ++k) rig.NoteOn(48 + k * 2);
  EXPECT_GT(Peak(rig.Render(44100)), 2.0);
}

TEST(Render, MasterVolumeZeroStillRunsTheChain)
{
  VeltraRig rig;
  rig.PlainSine();
  rig.Set(kMasterVolume, 0.0);
  rig.Set(kReverbDepth, 1.0);
  rig.NoteOn(60);
  EXPECT_EQ(Peak(rig.Render(8000)), 0.0);
  rig.Set(kMasterVolume, 1.0);
  rig.NoteOff(60);
  rig.Render(44 * 50);
  EXPECT_GT(Peak(rig.Render(4096)), 0.01) << "the reverb ring filled while muted";
}

#if defined(__SANITIZE_ADDRESS__)
TEST(Render, TheAudioPathAllocatesNothing)
{
  VeltraRig rig(32);
  rig.Set(kPWMOn, 1.0);
  rig.Set(kReverbDepth, 0.5);
  rig.Set(kChorusDepth, 0.3);
  for (int k = 0; k < 8; ++k) rig.NoteOn(50 + k);
  std::vector<double> l(32), r(32);
  double* outs[2] = {l.data(), r.data()};
  __sanitizer_install_malloc_and_free_hooks(CountMalloc, IgnoreFree);
  sAllocations = 0;
  sCounting = true;
  for (int b = 0; b < 5000; ++b)
  {
    if (b % 100 == 0)
    {
      IMidiMsg m(b % 32, 0x80, (uint8_t)(50 + b % 8), 0);
      rig.mPlug->ProcessMidiMsg(&m); // within capacity: no growth
    }
    rig.mPlug->LockMutexAndProcessDoubleReplacing(nullptr, outs, 32);
  }
  sCounting = false;
  EXPECT_EQ(sAllocations, 0);
}
#endif
