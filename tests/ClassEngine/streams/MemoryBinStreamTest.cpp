// The in-memory stream: overwrite semantics, reads at the end, growth classes,
// little-endian helpers.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "ClassEngine/streams/MemoryBinStream.h"

TEST(MemoryBinStreamTest, WritingAfterSetWritePosOverwritesAndSizeOnlyGrows) {
  MemoryBinStream s;
  const char ten[] = "0123456789";
  s.Write(ten, 10);
  s.SetWritePos(2);
  s.Write("abc", 3);
  EXPECT_EQ(s.Size(), 10);
  EXPECT_EQ(s.GetWritePos(), 5);
  EXPECT_EQ(std::memcmp(s.GetData(), "01abc56789", 10), 0);
}

TEST(MemoryBinStreamTest, ReadsStopAtTheEnd) {
  MemoryBinStream s;
  s.Write("0123456789", 10);
  char buf[32] = {};
  EXPECT_EQ(s.Read(buf, 20), 10);
  EXPECT_EQ(std::memcmp(buf, "0123456789", 10), 0);
  EXPECT_EQ(s.GetReadPos(), 10);
  EXPECT_EQ(s.Read(buf, 1), 0);
  EXPECT_EQ(s.GetReadPos(), 10);
  EXPECT_EQ(s.ReadBYTE(), 0);
  EXPECT_EQ(s.ReadWORD(), 0);
  EXPECT_EQ(s.ReadDWORD(), 0u);
}

TEST(MemoryBinStreamTest, CapacityGrowsBySizeClassesThenByHalf) {
  MemoryBinStream s;
  std::vector<char> bytes(1000, 'x');
  s.Write(bytes.data(), 1);
  EXPECT_EQ(s.Capacity(), 8);
  s.Write(bytes.data(), 8);
  EXPECT_EQ(s.Capacity(), 16);
  s.Write(bytes.data(), 91);  // 100 bytes
  EXPECT_EQ(s.Capacity(), 128);
  s.Write(bytes.data(), 100);  // 200 bytes: request + capacity / 2
  EXPECT_EQ(s.Capacity(), 200 + 64);
  s.Clear();
  EXPECT_EQ(s.Size(), 0);
  EXPECT_EQ(s.Capacity(), 0);
  EXPECT_EQ(s.GetData(), nullptr);
}

TEST(MemoryBinStreamTest, NumbersAreLittleEndian) {
  MemoryBinStream s;
  s.WriteBYTE(0x12);
  s.WriteWORD(0x3456);
  s.WriteDWORD(0x789abcdeu);
  const uint8_t expected[] = {0x12, 0x56, 0x34, 0xde, 0xbc, 0x9a, 0x78};
  ASSERT_EQ(s.Size(), 7);
  EXPECT_EQ(std::memcmp(s.GetData(), expected, 7), 0);
  EXPECT_EQ(s.ReadBYTE(), 0x12);
  EXPECT_EQ(s.ReadWORD(), 0x3456);
  EXPECT_EQ(s.ReadDWORD(), 0x789abcdeu);
  EXPECT_EQ(FourCC("VOLU"), 0x564F4C55u);
}

TEST(MemoryBinStreamTest, FileRoundTripAndMissingFile) {
  std::string path = ::testing::TempDir() + "mem_stream.bin";
  MemoryBinStream s;
  for (int i = 0; i < 1000; i++) s.WriteDWORD((uint32_t)i * 2654435761u);
  ASSERT_TRUE(s.WriteToFile(path.c_str()));
  MemoryBinStream back;
  back.Write("junk", 4);
  ASSERT_TRUE(back.ReadFromFile(path.c_str()));
  ASSERT_EQ(back.Size(), 4000);
  EXPECT_EQ(std::memcmp(back.GetData(), s.GetData(), 4000), 0);
  EXPECT_FALSE(back.ReadFromFile((path + ".missing").c_str()));
  EXPECT_EQ(back.Size(), 0);
  std::remove(path.c_str());
}
