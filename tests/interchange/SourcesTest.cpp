// File sources: the path resolver (case, separators, dots), reads and writes
// through the source list, ZIP archives with stored and deflated entries, and
// archives that lie.
#include <zlib.h>

#include <unistd.h>

#include <cstring>
#include <filesystem>

#include "ClassEngine/Progress.h"
#include "TestFiles.h"
#include "interchange/IO.h"
#include "interchange/SourceZip.h"

using comms::cIO;
using comms::SourceZip;
using namespace testfiles;

namespace {

struct ZipItem {
  std::string name, data;
  int method;  // 0 stored, 8 deflated, anything else as given
};

void Le(std::vector<uint8_t>& b, uint32_t v, int bytes) {
  for (int k = 0; k < bytes; k++) b.push_back((uint8_t)(v >> (8 * k)));
}

std::string Deflate(const std::string& data) {
  z_stream z{};
  deflateInit2(&z, 9, Z_DEFLATED, -MAX_WBITS, 8, Z_DEFAULT_STRATEGY);
  std::string out(deflateBound(&z, data.size()), '\0');
  z.next_in = (Bytef*)data.data();
  z.avail_in = (uInt)data.size();
  z.next_out = (Bytef*)out.data();
  z.avail_out = (uInt)out.size();
  deflate(&z, Z_FINISH);
  out.resize(z.total_out);
  deflateEnd(&z);
  return out;
}

// A ZIP archive as the format lays it out: local headers and data, the
// central directory, the end record.
std::vector<uint8_t> MakeZip(const std::vector<ZipItem>& items) {
  std::vector<uint8_t> b, dir;
  for (const ZipItem& it : items) {
    std::string packed = it.method == 8 ? Deflate(it.data) : it.data;
    uint32_t crc = crc32(0, (const Bytef*)it.data.data(), (uInt)it.data.size());
    uint32_t offset = (uint32_t)b.size();
    Le(b, 0x04034b50, 4);
    Le(b, 20, 2), Le(b, 0, 2), Le(b, (uint32_t)it.method, 2), Le(b, 0, 2), Le(b, 0, 2);
    Le(b, crc, 4), Le(b, (uint32_t)packed.size(), 4), Le(b, (uint32_t)it.data.size(), 4);
    Le(b, (uint32_t)it.name.size(), 2), Le(b, 0, 2);
    b.insert(b.end(), it.name.begin(), it.name.end());
    b.insert(b.end(), packed.begin(), packed.end());
    Le(dir, 0x02014b50, 4);
    Le(dir, 20, 2), Le(dir, 20, 2), Le(dir, 0, 2), Le(dir, (uint32_t)it.method, 2), Le(dir, 0, 2), Le(dir, 0, 2);
    Le(dir, crc, 4), Le(dir, (uint32_t)packed.size(), 4), Le(dir, (uint32_t)it.data.size(), 4);
    Le(dir, (uint32_t)it.name.size(), 2), Le(dir, 0, 2), Le(dir, 0, 2), Le(dir, 0, 2), Le(dir, 0, 2);
    Le(dir, 0, 4), Le(dir, offset, 4);
    dir.insert(dir.end(), it.name.begin(), it.name.end());
  }
  uint32_t dirAt = (uint32_t)b.size();
  b.insert(b.end(), dir.begin(), dir.end());
  Le(b, 0x06054b50, 4);
  Le(b, 0, 2), Le(b, 0, 2), Le(b, (uint32_t)items.size(), 2), Le(b, (uint32_t)items.size(), 2);
  Le(b, (uint32_t)dir.size(), 4), Le(b, dirAt, 4), Le(b, 0, 2);
  return b;
}

std::string AsText(const std::vector<uint8_t>& b) { return std::string(b.begin(), b.end()); }

}  // namespace

TEST(PathResolver, FindsFilesWhateverTheCaseAndSeparators) {
  std::string dir = FreshFolder();
  std::filesystem::create_directories(dir + "Textures/Skin");
  WriteText(dir + "Textures/Skin/Face.PNG", "x");
  EXPECT_EQ(cIO::ResolvePath(dir + "textures\\SKIN\\face.png"), dir + "Textures/Skin/Face.PNG");
  EXPECT_EQ(cIO::ResolvePath(dir + "Textures/./other/../Skin//Face.PNG"), dir + "Textures/Skin/Face.PNG");
  EXPECT_EQ(cIO::ResolvePath(dir + "TEXTURES/new/file.txt"), dir + "Textures/new/file.txt");
  EXPECT_EQ(cIO::ResolvePath("http://example.org/A\\b"), "http://example.org/A\\b");
  EXPECT_TRUE(cIO::IsUrl("FTP://host/x"));
  EXPECT_FALSE(cIO::IsUrl("file.txt"));
  EXPECT_TRUE(cIO::IsAbsolute("C:\\x"));
  EXPECT_FALSE(cIO::IsAbsolute("x/y"));
  std::vector<uint8_t> bytes;
  EXPECT_TRUE(cIO::ReadFile(dir + "TEXTURES/skin/FACE.png", bytes, true));
  EXPECT_EQ(AsText(bytes), "x");
  std::vector<std::string> list;
  ASSERT_TRUE(cIO::ListFiles(dir + "textures/skin/*.png", list, false));
  EXPECT_EQ(list, (std::vector<std::string>{"Face.PNG"}));
  list.clear();
  ASSERT_TRUE(cIO::ListFiles(dir + "textures/*", list, true));
  EXPECT_EQ(list, (std::vector<std::string>{"Skin"}));
}

TEST(FileSources, RelativeNamesGoThroughTheSourcesInOrder) {
  std::string dir = FreshFolder();
  std::filesystem::create_directories(dir + "one");
  std::filesystem::create_directories(dir + "two");
  WriteText(dir + "two/shared.txt", "from two");
  WriteBytes(dir + "pack.zip", MakeZip({{"Shared.txt", "from zip", 12}, {"Docs\\Deep.txt", "deep", 8}}));
  auto zip = std::make_unique<SourceZip>(dir + "pack.zip");
  ASSERT_TRUE(zip->open);
  auto* zipPtr = zip.get();
  auto one = std::make_unique<comms::SourceFolder>(dir + "one");
  auto two = std::make_unique<comms::SourceFolder>(dir + "two");
  auto *onePtr = one.get(), *twoPtr = two.get();
  cIO::AddSource(std::move(zip));
  cIO::AddSource(std::move(one));
  cIO::AddSource(std::move(two));
  std::vector<uint8_t> bytes;
  size_t mark = LogMark();
  // The archive's entry uses method 12: it fails and the next source is tried.
  EXPECT_TRUE(cIO::ReadFile("shared.txt", bytes, true));
  EXPECT_EQ(AsText(bytes), "from two");
  EXPECT_NE(LogSince(mark).find("packed with unknown method 12"), std::string::npos);
  EXPECT_TRUE(cIO::ReadFile("docs/deep.TXT", bytes, true));
  EXPECT_EQ(AsText(bytes), "deep");
  mark = LogMark();
  EXPECT_FALSE(cIO::ReadFile("missing.txt", bytes, true));
  EXPECT_NE(LogSince(mark).find("Can't load file \"missing.txt\""), std::string::npos);
  // Writing skips the program's folder (no "sub" there) and the archive,
  // and lands in the first folder that has "sub".
  std::filesystem::create_directories(dir + "one/sub_" + std::to_string(getpid()));
  const std::string rel = "sub_" + std::to_string(getpid()) + "/new.txt";
  EXPECT_TRUE(cIO::WriteFile(rel, "ab", 2, false, true));
  EXPECT_TRUE(cIO::WriteFile(dir + "one/" + rel, "cd", 2, true, true));
  EXPECT_EQ(ReadText(dir + "one/" + rel), "abcd");
  mark = LogMark();
  EXPECT_FALSE(cIO::WriteFile(dir + "no/such/folder/x.txt", "x", 1, false, true));
  EXPECT_NE(LogSince(mark).find("Can't save file"), std::string::npos);
  cIO::RemoveSource(zipPtr);
  cIO::RemoveSource(onePtr);
  cIO::RemoveSource(twoPtr);
}

TEST(ZipSource, StoredAndDeflatedEntriesAndUnpacking) {
  std::string dir = FreshFolder();
  std::string big(100000, 'a');
  for (size_t i = 0; i < big.size(); i += 97) big[i] = (char)('a' + i % 26);
  auto zip = SourceZip::FromMemory(MakeZip({{"plain.txt", "hello", 0}, {"big.bin", big, 8}, {"sub/x.txt", "x", 8}}));
  ASSERT_TRUE(zip->open);
  ASSERT_EQ(zip->names.size(), 3u);
  EXPECT_EQ(zip->entries[1].method, 8);
  EXPECT_EQ(zip->entries[1].size, big.size());
  std::vector<uint8_t> bytes;
  ASSERT_TRUE(zip->Load("PLAIN.TXT", bytes));
  EXPECT_EQ(AsText(bytes), "hello");
  ASSERT_TRUE(zip->Load("big.bin", bytes));  // many 2048-byte blocks of input
  EXPECT_EQ(AsText(bytes), big);
  EXPECT_FALSE(zip->Save("plain.txt", "x", 1, false));
  WriteBytes(dir + "a.zip", MakeZip({{"sub/x.txt", "x", 8}, {"y.txt", "yy", 0}}));
  SourceZip onDisk(dir + "a.zip");
  std::vector<std::pair<int64_t, int64_t>> steps;
  SetProgressHandler([&](const char* key, int64_t done, int64_t total) {
    EXPECT_STREQ(key, "UNPACKING");
    steps.push_back({done, total});
    return false;
  });
  ASSERT_TRUE(onDisk.Unpack(dir + "out"));
  EXPECT_EQ(ReadText(dir + "out/sub/x.txt"), "x");
  EXPECT_EQ(ReadText(dir + "out/y.txt"), "yy");
  EXPECT_EQ(steps, (std::vector<std::pair<int64_t, int64_t>>{{0, 3}, {1, 3}}));

  // Esc on the first report: nothing is written.
  SetProgressHandler([](const char*, int64_t, int64_t) { return true; });
  EXPECT_FALSE(onDisk.Unpack(dir + "stopped"));
  SetProgressHandler(nullptr);
  EXPECT_FALSE(std::filesystem::exists(dir + "stopped/y.txt"));
}

TEST(ZipSource, ArchivesThatLieFailWithoutHugeAllocations) {
  std::vector<uint8_t> good = MakeZip({{"a.txt", std::string(5000, 'z'), 8}});
  std::vector<uint8_t> bytes;
  // The uncompressed size claims 4 GB.
  auto sized = good;
  size_t dirAt = sized.size() - 22 - 46 - 5;
  sized[dirAt + 24] = sized[dirAt + 25] = sized[dirAt + 26] = sized[dirAt + 27] = 0xff;
  EXPECT_FALSE(SourceZip::FromMemory(sized)->Load("a.txt", bytes));
  // The packed size runs past the archive.
  auto packed = good;
  packed[dirAt + 23] = 0x7f;
  EXPECT_FALSE(SourceZip::FromMemory(packed)->Load("a.txt", bytes));
  // A flipped data byte fails the inflate or the checksum.
  auto flipped = good;
  flipped[40] ^= 0x55;
  EXPECT_FALSE(SourceZip::FromMemory(flipped)->Load("a.txt", bytes));
  // Cut before the end record: no directory at all.
  auto cut = good;
  cut.resize(cut.size() - 10);
  auto none = SourceZip::FromMemory(cut);
  EXPECT_FALSE(none->open);
  EXPECT_FALSE(none->Load("a.txt", bytes));
  EXPECT_TRUE(bytes.empty());
  // A directory count larger than the records there.
  auto count = good;
  count[count.size() - 12] = 0xff;
  auto many = SourceZip::FromMemory(count);
  EXPECT_EQ(many->names.size(), 1u);
  EXPECT_TRUE(many->Load("a.txt", bytes));
}
