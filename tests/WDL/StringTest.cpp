#include "wdlcstring.h"
#include "wdlstring.h"

#include <gtest/gtest.h>
#include <string>

TEST(String, SetAndAppendHonourMaxlen)
{
  WDL_String s("hello world", 5);
  EXPECT_STREQ(s.Get(), "hello");
  s.Set("ab\0cd", 4); // stops at the NUL before maxlen
  EXPECT_STREQ(s.Get(), "ab");
  s.Append("xyz", 2);
  EXPECT_STREQ(s.Get(), "abxy");
  s.Set("a much longer text than before");
  s.Set("short");
  EXPECT_STREQ(s.Get(), "short");
  EXPECT_EQ(s.GetLength(), 5);
  WDL_String copy(s);
  copy.Append("!");
  EXPECT_STREQ(s.Get(), "short");
  EXPECT_STREQ(copy.Get(), "short!");
}

TEST(String, SetFromPartOfItselfWhileGrowing)
{
  WDL_String s("0123456789");
  for (int i = 0; i < 12; ++i) s.Append(s.Get()); // the block moves as it grows
  ASSERT_EQ(s.GetLength(), 10 << 12);
  EXPECT_EQ(std::string(s.Get()).substr(40950, 10), "0123456789");
  s.Set(s.Get() + 3, 4);
  EXPECT_STREQ(s.Get(), "3456");
}

TEST(String, PathHelpers)
{
  WDL_String s("/home/user/presets/Bass 1.fxp");
  EXPECT_STREQ(s.get_filepart(), "Bass 1.fxp");
  s.Set("C:\\Music\\lead.fxp");
  EXPECT_STREQ(s.get_filepart(), "lead.fxp");
  s.Set("plain");
  EXPECT_STREQ(s.get_filepart(), "plain");
  s.Set("dir/");
  EXPECT_STREQ(s.get_filepart(), "");

  EXPECT_STREQ(WDL_get_fileext("/a.b/c.png"), ".png");
  EXPECT_STREQ(WDL_get_fileext("/a.b/noext"), "") << "a dot in a folder name is no extension";
  EXPECT_STREQ(WDL_get_fileext("a.png.txt"), ".txt");

  char path[] = "/a/b\\c.fxp";
  WDL_remove_filepart(path);
  EXPECT_STREQ(path, "/a/b");
  char bare[] = "file";
  WDL_remove_filepart(bare);
  EXPECT_STREQ(bare, "");

  EXPECT_EQ(WDL_bswap_if_le(0x11223344u), 0x44332211u);
}
