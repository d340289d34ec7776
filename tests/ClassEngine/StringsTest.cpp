// DString keeps its size classes and null-for-empty rule; cStr keeps short
// texts inline, compares by bytes and parses numbers its own way.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "ClassEngine/BlockPool.h"
#include "ClassEngine/DString.h"
#include "ClassEngine/cStr.h"

TEST(DStringTest, CapacityClasses) {
  EXPECT_EQ(DString::CapacityFor(1), 8);
  EXPECT_EQ(DString::CapacityFor(8), 16);
  EXPECT_EQ(DString::CapacityFor(31), 32);
  EXPECT_EQ(DString::CapacityFor(63), 64);
  EXPECT_EQ(DString::CapacityFor(127), 128);
  EXPECT_EQ(DString::CapacityFor(129), 144);
  EXPECT_EQ(DString::CapacityFor(512), 512);
  EXPECT_EQ(DString::CapacityFor(513), (513 + 128 + 256) & ~15);
}

TEST(DStringTest, EmptyAssignGivesNullStorage) {
  DString s("hello");
  EXPECT_NE(s.str, nullptr);
  EXPECT_EQ(s.Max, 8);
  s = "";
  EXPECT_EQ(s.str, nullptr);
  EXPECT_EQ(s.L, 0);
  EXPECT_STREQ(s.cpchar(), "");
  s.Assign(nullptr);
  EXPECT_STREQ(s.cpchar(), "");
}

TEST(DStringTest, LongStringIsReleasedBeforeAShortValue) {
  DString s(std::string(300, 'x').c_str());
  EXPECT_GE(s.Max, 301);
  s = "short";
  EXPECT_EQ(s.Max, 8);
  EXPECT_STREQ(s.cpchar(), "short");
  DString t(std::string(200, 'y').c_str());
  int max = t.Max;
  t = "short";  // 200 is not above 256: the buffer stays
  EXPECT_EQ(t.Max, max);
}

TEST(DStringTest, AppendPrintAndReplaceAll) {
  DString s;
  s.Add("a");
  s.print("%d-%s", 12, "b");
  DString t(",c");
  s.Add(t);
  EXPECT_STREQ(s.cpchar(), "a12-b,c");
  DString r("aXbXc");
  r.Replace("X", "XX");  // goes on after the inserted text
  EXPECT_STREQ(r.cpchar(), "aXXbXXc");
  r.Replace("XX", "");
  EXPECT_STREQ(r.cpchar(), "abc");
  s.Add(s.cpchar() + 1);  // a part of itself
  EXPECT_STREQ(s.cpchar(), "a12-b,c12-b,c");
}

TEST(DStringTest, FileRoundTripAndMissingFile) {
  std::string path = ::testing::TempDir() + "dstring_test.txt";
  DString s("line one\nline two\n");
  ASSERT_TRUE(s.WriteToFile(path.c_str()));
  DString back;
  ASSERT_TRUE(back.ReadFromFile(path.c_str()));
  EXPECT_TRUE(back == s);
  std::remove(path.c_str());
  EXPECT_FALSE(back.ReadFromFile(path.c_str()));
  EXPECT_EQ(back.str, nullptr);
}

TEST(cStrTest, ShortTextsStayInline) {
  comms::cStr s;
  EXPECT_TRUE(s.IsInline());
  EXPECT_EQ(s.Capacity, 20);
  EXPECT_EQ(s.Data[0], 0);
  s = "nineteen characters";
  EXPECT_EQ(s.Length, 19);
  EXPECT_TRUE(s.IsInline());
  s = "twenty characters ok";
  EXPECT_FALSE(s.IsInline());
  EXPECT_EQ(s.Capacity % 32, 0);
  comms::cStr copy(s);
  EXPECT_EQ(copy, s);
  EXPECT_NE(copy.Data, s.Data);
}

TEST(cStrTest, AssigningFromItselfCopiesForward) {
  comms::cStr s("a string that is long enough to be pooled");
  char* before = s.Data;
  s = s.Data + 2;
  EXPECT_EQ(s.Data, before);
  EXPECT_EQ(s, "string that is long enough to be pooled");
  s = s.Data;
  EXPECT_EQ(s, "string that is long enough to be pooled");
  s.Append(s.Data);
  EXPECT_EQ(s.Length, 2 * 39);
}

TEST(cStrTest, CompareGivesMinusOneZeroOne) {
  EXPECT_EQ(comms::cStr::Compare("abc", "abd"), -1);
  EXPECT_EQ(comms::cStr::Compare("abd", "abc"), 1);
  EXPECT_EQ(comms::cStr::Compare("abc", "abc"), 0);
  EXPECT_EQ(comms::cStr::Compare("\xE0", "a"), 1);  // plain byte order
  EXPECT_EQ(comms::cStr::Compare(nullptr, ""), 0);
}

TEST(cStrTest, FormatStopsAtItsLimit) {
  comms::cStr s;
  s.Format("%d:%s", 5, "x");
  EXPECT_EQ(s, "5:x");
  std::string big(20000, 'z');
  s.Format("%s", big.c_str());
  EXPECT_EQ(s.Length, 9999);
}

TEST(cStrTest, NumberParser) {
  double v = 0;
  EXPECT_TRUE(comms::cStr::ParseDouble(" \t-12.5e2", &v));
  EXPECT_DOUBLE_EQ(v, -1250);
  EXPECT_TRUE(comms::cStr::ParseDouble("+.5", &v));
  EXPECT_DOUBLE_EQ(v, 0.5);
  EXPECT_TRUE(comms::cStr::ParseDouble("7.  ", &v));
  EXPECT_DOUBLE_EQ(v, 7);
  EXPECT_TRUE(comms::cStr::ParseDouble("1E-3", &v));
  EXPECT_DOUBLE_EQ(v, 0.001);
  for (const char* bad : {"", " ", "-", ".", "1e", "1e+", "e5", "1.2.3", "12a", "1 2", "--1"})
    EXPECT_FALSE(comms::cStr::ParseDouble(bad, &v)) << bad;
  int i = 0;
  EXPECT_TRUE(comms::cStr("  42").ToInt(&i));
  EXPECT_EQ(i, 42);
}

TEST(cStrTest, BuffersComeFromTheCommsPool) {
  const BlockPoolSet& pools = comms::GetCommsPool().Pools();
  comms::cStr s("a text that needs thirty-two bytes");
  ASSERT_EQ(s.Capacity, 64);
  EXPECT_GT(pools.Pool(BlockPoolSet::PoolIndex(64)).Chunks(), 0);
}
