// The three string forms and their sizes, and reads of cut-off streams.
#include <gtest/gtest.h>

#include "ClassEngine/streams/BinString.h"
#include "ClassEngine/streams/MemoryBinStream.h"

TEST(BinStringTest, LengthFormsAndTheirSizes) {
  for (int length : {0, 1, 253, 254, 1000, 65535}) {
    MemoryBinStream s;
    std::string text(length, 'q');
    WriteBinString(s, text.c_str());
    int64_t expected = length < 254 ? 1 + length : 3 + length;
    EXPECT_EQ(s.Size(), expected) << length;
    std::string back;
    ASSERT_TRUE(ReadBinString(s, back));
    EXPECT_EQ(back, text);
  }
  MemoryBinStream s;
  WriteBinString(s, std::string(254, 'x').c_str());
  EXPECT_EQ(s.GetData()[0], 0xFE);
  EXPECT_EQ(s.GetData()[1], 254);
  EXPECT_EQ(s.GetData()[2], 0);
}

TEST(BinStringTest, DictionaryEntries) {
  MemoryBinStream s;
  WriteBinString(s, "ignored", 7);
  WriteBinString(s, nullptr, -1);
  s.WriteBYTE(0xFF);
  s.WriteWORD(0xFFFF);  // index -1
  ASSERT_EQ(s.Size(), 3 + 1 + 3);
  auto names = [](int i) -> const char* { return i == 7 ? "Seventh" : nullptr; };
  std::string out;
  ASSERT_TRUE(ReadBinString(s, out, names));
  EXPECT_EQ(out, "Seventh");
  ASSERT_TRUE(ReadBinString(s, out, names));
  EXPECT_EQ(out, "");
  ASSERT_TRUE(ReadBinString(s, out, names));
  EXPECT_EQ(out, "");
  s.SetReadPos(0);
  ASSERT_TRUE(ReadBinString(s, out));  // no dictionary: empty
  EXPECT_EQ(out, "");
}

TEST(BinStringTest, CutOffStreamsReadWhatIsThere) {
  MemoryBinStream s;
  s.WriteBYTE(10);
  s.Write("abc", 3);
  std::string out;
  EXPECT_FALSE(ReadBinString(s, out));
  EXPECT_EQ(out, "abc");
  MemoryBinStream empty;
  EXPECT_FALSE(ReadBinString(empty, out));
  EXPECT_EQ(out, "");
}
