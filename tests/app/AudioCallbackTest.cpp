#include "AppState.h"
#include "AudioEngine.h"
#include "Console.h"
#include "IPlugStandalone.h"

#include <gtest/gtest.h>
#include <vector>

namespace
{
// Stands in for the instrument: records where each block starts and what
// it was given, and writes a known sample.
class RecordingPlug : public IPlugStandalone
{
public:
  RecordingPlug()
      : IPlugStandalone(IPlugInstanceInfo(), 0, "0-1 0-2", 0, "rec", "", "", 0x10000, 1, 1, 0, true, false, true, 0)
  {
  }
  void ProcessDoubleReplacing(double** inputs, double** outputs, int nFrames) override
  {
    mStarts.push_back(outputs[0] - mOutBase);
    mFrames.push_back(nFrames);
    mRightInput.push_back(inputs[1] - mInBase);
    for (int i = 0; i < nFrames; ++i) outputs[0][i] = outputs[1][i] = mSample;
  }
  double mSample = 0.8;
  double* mOutBase = nullptr;
  double* mInBase = nullptr;
  std::vector<long> mStarts, mFrames, mRightInput;
};

class AudioCallbackTest : public ::testing::Test
{
protected:
  void SetUp() override
  {
    gState = new AppState;
    gPluginInstance = &mPlug;
    gSigVS = 32;
    gBufIndex = 0;
    gVecElapsed = 0;
    gFadeMult = 0.0;
  }
  void TearDown() override
  {
    gPluginInstance = nullptr;
    delete gState;
    gState = nullptr;
  }
  // One device buffer of n frames through the callback.
  void Run(unsigned int n, unsigned int status = 0)
  {
    mOut.assign(2 * n, -99.0);
    mIn.assign(2 * n, 0.0);
    mPlug.mOutBase = mOut.data();
    mPlug.mInBase = mIn.data();
    mPlug.mStarts.clear();
    mPlug.mFrames.clear();
    mPlug.mRightInput.clear();
    AudioCallback(mOut.data(), mIn.data(), n, 0.0, status, nullptr);
  }
  RecordingPlug mPlug;
  std::vector<double> mOut, mIn;
};
} // namespace

TEST_F(AudioCallbackTest, FiftyOneSilentCallbacksThenAOneBufferFade)
{
  const unsigned int n = 512;
  for (int c = 1; c <= 51; ++c)
  {
    Run(n);
    ASSERT_TRUE(mPlug.mStarts.empty()) << "callback " << c << " must not run the instrument";
    for (double v : mOut) ASSERT_EQ(v, 0.0) << "callback " << c;
  }
  Run(n); // the 52nd
  ASSERT_EQ(mPlug.mStarts.size(), 16u);
  for (int b = 0; b < 16; ++b)
  {
    EXPECT_EQ(mPlug.mStarts[b], 32 * b);
    EXPECT_EQ(mPlug.mFrames[b], 32);
  }
  EXPECT_DOUBLE_EQ(mOut[0], 0.8 * (1.0 / n) * 0.25);
  EXPECT_DOUBLE_EQ(mOut[n], 0.8 * (1.0 / n) * 0.25) << "right plane";
  EXPECT_NEAR(mOut[n - 1], 0.8 * 0.25, 1e-12);
  EXPECT_NEAR(mOut[2 * n - 1], 0.8 * 0.25, 1e-12);

  Run(n);
  EXPECT_EQ(mPlug.mStarts.front(), 0) << "the block index comes back to 0 at the next callback";
  for (double v : mOut) ASSERT_DOUBLE_EQ(v, 0.2) << "after the fade only the fixed gain remains";
}

TEST_F(AudioCallbackTest, OneBlockWhenTheSignalVectorFillsTheBuffer)
{
  gVecElapsed = 51;
  gSigVS = 64;
  Run(64);
  EXPECT_EQ(mPlug.mStarts, std::vector<long>{0});
  EXPECT_EQ(mPlug.mRightInput, std::vector<long>{64}) << "stereo input: the right plane";
}

TEST_F(AudioCallbackTest, MonoInputFeedsTheLeftPlaneToBothInputs)
{
  gVecElapsed = 51;
  gState->mAudioInIsMono = 1;
  Run(64);
  ASSERT_EQ(mPlug.mRightInput.size(), 2u);
  EXPECT_EQ(mPlug.mRightInput[0], 0);
  EXPECT_EQ(mPlug.mRightInput[1], 32);
}

TEST_F(AudioCallbackTest, BlocksNeverLeaveTheDeviceBuffer)
{
  // A hand-edited signal vector that does not divide the device buffer.
  gVecElapsed = 51;
  gSigVS = 48;
  Run(64);
  EXPECT_EQ(mPlug.mStarts, (std::vector<long>{0, 48}));
  EXPECT_EQ(mPlug.mFrames, (std::vector<long>{48, 16}));
  Run(64);
  EXPECT_EQ(mPlug.mStarts.front(), 0) << "the next buffer starts a fresh block";
  for (double v : mOut) ASSERT_NE(v, -99.0) << "every frame was rendered";
}

TEST_F(AudioCallbackTest, FlaggedCallbacksAreReportedOnTheMainThread)
{
  ReportStreamStatus(); // nothing pending from other tests
  FlushConsole(5.0);
  testing::internal::CaptureStdout();
  Run(64, 2);
  Run(64, 0);
  Run(64, 1);
  FlushConsole(5.0);
  const std::string none = testing::internal::GetCapturedStdout();
  EXPECT_EQ(none, "") << "the audio thread never prints";
  testing::internal::CaptureStdout();
  ReportStreamStatus();
  FlushConsole(5.0);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "Stream underflow detected!\nStream underflow detected!\n");
}
