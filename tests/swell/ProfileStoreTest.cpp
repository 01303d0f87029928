#include "swell-ini.h"

#include "LimitedChild.h"
#include "TempDir.h"
#include <cerrno>
#include <cstdlib>
#include <fstream>

#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <utime.h>

namespace
{
class ProfileStore : public ::testing::Test
{
protected:
  std::string File(const std::string& name, const std::string& text)
  {
    const std::string path = mDir + "/" + name;
    std::ofstream(path) << text;
    return path;
  }
  static std::string Read(const std::string& path) { return ReadWholeFile(path); }
  static std::string Get(const char* section, const char* key, const std::string& fn, int outlen = 256)
  {
    std::string out((size_t)outlen, '\0');
    const int n = GetPrivateProfileString(section, key, "<none>", &out[0], outlen, fn.c_str());
    out.resize((size_t)n);
    return out;
  }
  TempDir mTemp;
  const std::string mDir = mTemp.Path();
};
} // namespace

TEST_F(ProfileStore, SectionsAndKeysIgnoreCaseAndTheLastSectionWins)
{
  const std::string fn = File("a.ini", "junk=1\n[Audio]\nDriver=1\nsr=22050\n[audio]\ndriver=2\n"
                                       "key = value\n  'quoted'  =x\nq= \"abc\" \nlone=\"abc\n");
  EXPECT_EQ(Get("AUDIO", "DRIVER", fn), "2");
  EXPECT_EQ(Get("audio", "sr", fn), "<none>") << "the later [audio] replaced the earlier one";
  EXPECT_EQ(Get("audio", "key ", fn), "value") << "the key keeps its blank; the value is trimmed on reading";
  EXPECT_EQ(Get("audio", "key", fn), "<none>");
  EXPECT_EQ(Get("audio", "q", fn), "abc");
  EXPECT_EQ(Get("audio", "lone", fn), "\"abc");

  WritePrivateProfileString("midi", "inchan", "3", fn.c_str());
  EXPECT_EQ(Read(fn), "[Audio]\n'quoted'  =x\ndriver=2\nkey = value\nlone=\"abc\nq= \"abc\"\n\n[midi]\ninchan=3\n\n")
      << "lines before any section vanish; keys come out sorted; the section keeps its first spelling";
}

TEST_F(ProfileStore, LengthsNumbersAndLists)
{
  const std::string fn = File("b.ini", "[s]\nlong=" + std::string(300, 'x') + "\nnum=12abc\nzero=0x\nword=abc\n");
  EXPECT_EQ(Get("s", "long", fn, 100), std::string(99, 'x'));
  EXPECT_EQ(GetPrivateProfileInt("s", "num", 7, fn.c_str()), 12);
  EXPECT_EQ(GetPrivateProfileInt("s", "zero", 7, fn.c_str()), 0);
  EXPECT_EQ(GetPrivateProfileInt("s", "word", 7, fn.c_str()), 7);
  EXPECT_EQ(GetPrivateProfileInt("s", "missing", 7, fn.c_str()), 7);

  char list[64];
  const int n = GetPrivateProfileString("s", nullptr, "", list, sizeof(list), fn.c_str());
  EXPECT_EQ(std::string(list, (size_t)n), std::string("long\0num\0word\0zero", 18));
  EXPECT_EQ(list[n + 1], 0) << "double NUL at the end";
}

TEST_F(ProfileStore, UnchangedWritesLeaveTheFileAlone)
{
  const std::string fn = File("d.ini", "[s]\nk=v\n");
  ASSERT_TRUE(WritePrivateProfileString("s", "k", "v2", fn.c_str()));
  struct stat before, after;
  stat(fn.c_str(), &before);
  ASSERT_TRUE(WritePrivateProfileString("s", "k", "v2", fn.c_str()));
  stat(fn.c_str(), &after);
  EXPECT_EQ(before.st_ino, after.st_ino) << "no rewrite through a new file";
  EXPECT_EQ(before.st_mtim.tv_nsec, after.st_mtim.tv_nsec);
  EXPECT_FALSE(WritePrivateProfileString(nullptr, "k", "v", fn.c_str()));
  EXPECT_FALSE(WritePrivateProfileString("s", "", "v", fn.c_str()));
  WritePrivateProfileString("s", "k", nullptr, fn.c_str());
  EXPECT_EQ(Read(fn), "[s]\n\n");

  // A write stopped by a full disk (here a file-size limit) says so and
  // leaves the old file whole, without the temporary one beside it.
  EXPECT_TRUE(
      InLimitedChild({4, false}, [&]
                     { return !WritePrivateProfileString("s", "k", "a longer value", fn.c_str()) && errno == EFBIG; }));
  EXPECT_EQ(Read(fn), "[s]\n\n");
  EXPECT_NE(access((mDir + "/.d.ini.new").c_str(), F_OK), 0);

  // A file deep in folders, its path over a kilobyte, and one that is a
  // FIFO: the rewrite goes through the file's own folder, nothing is left
  // in the ones above, and the FIFO reads as empty without waiting.
  std::string deep = mDir;
  for (int i = 0; i < 12; ++i) mkdir((deep += "/" + std::string(100, 'a' + i)).c_str(), 0755);
  const std::string far = deep + "/settings.ini";
  ASSERT_TRUE(WritePrivateProfileString("s", "k", "v", far.c_str()));
  EXPECT_EQ(Read(far), "[s]\nk=v\n\n");
  EXPECT_EQ(FilesIn(mDir + "/" + std::string(100, 'a')), std::vector<std::string>{std::string(100, 'b')});
  EXPECT_EQ(FilesIn(deep), std::vector<std::string>{"settings.ini"});
  const std::string fifo = mDir + "/fifo.ini";
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  EXPECT_EQ(Get("s", "k", fifo), "<none>");
}

TEST_F(ProfileStore, ChangesBehindTheCacheAndEviction)
{
  const std::string first = File("first.ini", "[s]\nk=aaa\n");
  EXPECT_EQ(Get("s", "k", first), "aaa");
  File("first.ini", "[s]\nk=bbbb\n"); // another size: noticed at once
  EXPECT_EQ(Get("s", "k", first), "bbbb");

  // Same size, same time: only a reload from disk can see it.
  struct stat st;
  stat(first.c_str(), &st);
  File("first.ini", "[s]\nk=cccc\n");
  utimbuf times{st.st_atime, st.st_mtime};
  utime(first.c_str(), &times);
  EXPECT_EQ(Get("s", "k", first), "bbbb") << "still the cached parse";
  for (int i = 0; i < 32; ++i) Get("s", "k", File("f" + std::to_string(i) + ".ini", "[s]\nk=1\n"));
  EXPECT_EQ(Get("s", "k", first), "cccc") << "33 files evicted the first";
}

TEST_F(ProfileStore, LargeFilesWithoutSectionsAreGivenUpOn)
{
  std::string text;
  while (text.size() < 300000) text += "no section here, just text\n";
  const std::string fn = File("e.ini", text + "[late]\nk=v\n");
  EXPECT_EQ(Get("late", "k", fn), "<none>");
  WritePrivateProfileString("new", "k", "v", fn.c_str());
  EXPECT_EQ(Read(fn), "[new]\nk=v\n\n");
}
