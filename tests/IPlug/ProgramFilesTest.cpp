#include "TestPlug.h"

#include "LimitedChild.h"
#include "TempDir.h"
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fstream>
#include <sys/stat.h>

#include <gtest/gtest.h>
#include <iterator>
#include <string>
#include <vector>

namespace
{
class ProgramFiles : public ::testing::Test
{
protected:
  WDL_String Path(const char* name) { return WDL_String((mDir + "/" + name).c_str()); }
  static std::vector<unsigned char> Bytes(WDL_String& path) { return ReadBytes(path.Get()); }
  static void Store(WDL_String& path, const std::vector<unsigned char>& bytes) { WriteWholeFile(path.Get(), bytes); }
  static std::vector<double> Values(IPlugBase& p)
  {
    std::vector<double> v;
    for (int i = 0; i < p.NParams(); ++i) v.push_back(p.GetParam(i)->Value());
    return v;
  }
  std::vector<std::string> Files() const { return FilesIn(mDir); }
  TempDir mTemp;
  const std::string mDir = mTemp.Path();
};
} // namespace

TEST_F(ProgramFiles, ProgramLayoutAndRoundTrip)
{
  TestPlug a;
  a.GetParam(0)->Set(0.25);
  a.GetParam(2)->Set(12.5);
  a.ModifyCurrentPreset("A name longer than twenty-seven characters");
  WDL_String fxp = Path("p.fxp");
  ASSERT_TRUE(a.SaveProgramAsFXP(&fxp));
  const std::vector<unsigned char> b = Bytes(fxp);
  ASSERT_EQ(b.size(), 56u + 3 * 4);
  EXPECT_EQ(std::string(b.begin(), b.begin() + 4), "CcnK");
  EXPECT_EQ(std::vector<unsigned char>(b.begin() + 4, b.begin() + 8), std::vector<unsigned char>(4, 0));
  EXPECT_EQ(std::string(b.begin() + 8, b.begin() + 12), "FxCk");
  EXPECT_EQ(b[23], 10103 % 256) << "decimal version, big-endian";
  EXPECT_EQ(b[27], 3) << "numParams";
  EXPECT_EQ(b[28 + 27], 0) << "the name field ends in a NUL";
  EXPECT_EQ(std::vector<unsigned char>(b.begin() + 56, b.begin() + 60), (std::vector<unsigned char>{0x3E, 0x80, 0, 0}))
      << "0.25 as a big-endian float";

  TestPlug c;
  c.MakeDefaultPreset("-", 4); // filled slots, as an instrument has
  ASSERT_TRUE(c.LoadProgramFromFXP(&fxp));
  EXPECT_EQ(Values(c), Values(a));
  EXPECT_STREQ(c.GetPresetName(c.GetCurrentPresetIdx()), "A name longer than twenty-s");
  EXPECT_FALSE(c.mChanged.empty()) << "the restore ran OnParamChange";
}

TEST_F(ProgramFiles, RefusedProgramsChangeNothing)
{
  TestPlug a;
  WDL_String fxp = Path("p.fxp");
  a.GetParam(0)->Set(0.9);
  ASSERT_TRUE(a.SaveProgramAsFXP(&fxp));
  std::vector<unsigned char> good = Bytes(fxp);

  TestPlug other(4, IPlugInstanceInfo(), false, 99);
  EXPECT_FALSE(other.LoadProgramFromFXP(&fxp)) << "another plug-in's id";
  EXPECT_EQ(other.GetParam(0)->Value(), 0.5);
  EXPECT_STREQ(other.GetPresetName(0), "empty");

  std::vector<unsigned char> versioned = good;
  versioned[23] ^= 1; // another fxVersion still loads
  Store(fxp, versioned);
  TestPlug b;
  EXPECT_TRUE(b.LoadProgramFromFXP(&fxp));
  EXPECT_FLOAT_EQ((float)b.GetParam(0)->Value(), 0.9f);

  // Truncated at every byte: never read past the data, never crash; a cut
  // inside the head is refused, a cut inside the values keeps the rest.
  for (size_t n = 0; n < good.size(); ++n)
  {
    Store(fxp, std::vector<unsigned char>(good.begin(), good.begin() + (long)n));
    TestPlug t;
    const bool ok = t.LoadProgramFromFXP(&fxp);
    EXPECT_EQ(ok, n >= 56) << "cut at " << n;
    if (n < 56)
    {
      EXPECT_EQ(t.GetParam(0)->Value(), 0.5);
    }
  }
  WDL_String none = Path("missing.fxp"), empty;
  EXPECT_FALSE(b.LoadProgramFromFXP(&none));
  EXPECT_FALSE(b.LoadProgramFromFXP(&empty));
  EXPECT_FALSE(b.SaveProgramAsFXP(&empty));
}

TEST_F(ProgramFiles, BankRoundTripInBothForms)
{
  for (bool chunks : {false, true})
  {
    TestPlug a(8, IPlugInstanceInfo(), chunks);
    for (int p = 0; p < 8; ++p)
    {
      a.RestorePreset(p);
      a.GetParam(0)->Set(p / 10.0);
      a.GetParam(2)->Set(5.0 + p);
      a.ModifyCurrentPreset(("prog " + std::to_string(p)).c_str());
    }
    a.RestorePreset(3);
    WDL_String fxb = Path("b.fxb");
    ASSERT_TRUE(a.SaveBankAsFXB(&fxb));
    const std::vector<unsigned char> bytes = Bytes(fxb);
    EXPECT_EQ(std::string(bytes.begin() + 8, bytes.begin() + 12), chunks ? "FBCh" : "FxBk");
    if (!chunks)
    {
      EXPECT_EQ(bytes.size(), 156u + 8 * (56 + 3 * 4));
    }

    TestPlug b(8, IPlugInstanceInfo(), chunks);
    ASSERT_TRUE(b.LoadBankFromFXB(&fxb)) << "chunks " << chunks;
    EXPECT_EQ(b.GetCurrentPresetIdx(), chunks ? 0 : 3) << "the chunk form keeps the plug-in's own selection";
    for (int p = 0; p < 8; ++p)
    {
      ASSERT_TRUE(b.RestorePreset(p));
      EXPECT_STREQ(b.GetPresetName(p), ("prog " + std::to_string(p)).c_str());
      EXPECT_NEAR(b.GetParam(0)->Value(), p / 10.0, 1e-6) << "program " << p;
      EXPECT_NEAR(b.GetParam(2)->Value(), 5.0 + p, 1e-5);
    }
  }
}

TEST_F(ProgramFiles, ProgramChunkFormCarriesTheState)
{
  TestPlug a(2, IPlugInstanceInfo(), true);
  a.GetParam(1)->Set(1.0);
  a.GetParam(2)->Set(17.25);
  WDL_String fxp = Path("c.fxp");
  ASSERT_TRUE(a.SaveProgramAsFXP(&fxp));
  const std::vector<unsigned char> b = Bytes(fxp);
  EXPECT_EQ(std::string(b.begin() + 8, b.begin() + 12), "FPCh");
  ASSERT_EQ(b.size(), 60u + 8 + 3 * 8) << "head, chunk size, version header, three doubles";
  EXPECT_EQ(b[7], (unsigned char)(b.size() - 60 + 60)) << "byteSize is chunkSize + 60";

  TestPlug c(2, IPlugInstanceInfo(), true);
  ASSERT_TRUE(c.LoadProgramFromFXP(&fxp));
  EXPECT_EQ(c.GetParam(2)->Value(), 17.25) << "the chunk form keeps full precision";
  EXPECT_TRUE(c.GetParam(1)->Bool());
}

TEST_F(ProgramFiles, AFailedSaveLeavesTheOldFileByteForByte)
{
  TestPlug plug;
  WDL_String program = Path("p.fxp"), bank = Path("b.fxb");
  ASSERT_TRUE(plug.SaveProgramAsFXP(&program));
  ASSERT_TRUE(plug.SaveBankAsFXB(&bank));
  chmod(program.Get(), 0640);
  const std::vector<unsigned char> oldProgram = Bytes(program), oldBank = Bytes(bank);
  plug.GetParam(0)->Set(0.25);

  // A file-size limit stops the write part way, as a full disk would.
  EXPECT_TRUE(InLimitedChild({16, false}, [&] { return !plug.SaveProgramAsFXP(&program) && errno == EFBIG; }));
  EXPECT_TRUE(InLimitedChild({16, false}, [&] { return !plug.SaveBankAsFXB(&bank) && errno == EFBIG; }));
  EXPECT_EQ(Bytes(program), oldProgram);
  EXPECT_EQ(Bytes(bank), oldBank);
  EXPECT_EQ(Files(), (std::vector<std::string>{"b.fxb", "p.fxp"})) << "no temporary file is left";

  // A folder that cannot be written: nothing appears, and errno says why.
  const std::string readOnly = mDir + "/ro";
  ASSERT_EQ(mkdir(readOnly.c_str(), 0555), 0);
  chmod(mDir.c_str(), 0755);
  WDL_String inside((readOnly + "/new.fxp").c_str());
  EXPECT_TRUE(
      InLimitedChild({RLIM_INFINITY, true}, [&] { return !plug.SaveProgramAsFXP(&inside) && errno == EACCES; }));
  EXPECT_NE(access(inside.Get(), F_OK), 0);

  // A save that works replaces the file and keeps its permissions.
  ASSERT_TRUE(plug.SaveProgramAsFXP(&program));
  EXPECT_NE(Bytes(program), oldProgram);
  struct stat st;
  ASSERT_EQ(stat(program.Get(), &st), 0);
  EXPECT_EQ(st.st_mode & 0777, 0640u);
}
