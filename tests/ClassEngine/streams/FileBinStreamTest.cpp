// File streams: the buffered writer hands blocks to the background writer and
// a reader opened in the next statement sees the whole file; the counting
// stream makes no file; commits replace the old file.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <thread>
#include <vector>

#include "ClassEngine/Random.h"
#include "ClassEngine/SystemDialog.h"
#include "ClassEngine/TextLookup.h"
#include "ClassEngine/streams/BackgroundWriter.h"
#include "ClassEngine/streams/FileBinStreams.h"

namespace {
std::string Temp(const char* name) { return ::testing::TempDir() + name; }

std::vector<uint8_t> Pattern(size_t n, uint32_t seed) {
  std::vector<uint8_t> v(n);
  Random r(seed);
  for (auto& b : v) b = (uint8_t)r.Next();
  return v;
}

std::vector<uint8_t> Slurp(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

bool Exists(const std::string& path) {
  struct stat st;
  return stat(path.c_str(), &st) == 0;
}
}  // namespace

TEST(FileBinStreamTest, BufferedWriteIsWholeWhenReadInTheNextStatement) {
  std::string path = Temp("buffered.bin");
  std::vector<uint8_t> data = Pattern(20'000'000, 3);
  // Chunks of every kind: small ones, one that fills the buffer exactly, and
  // one larger than the buffer that bypasses it.
  const int64_t chunks[] = {1, 7, 4096, kFileStreamBuffer - 4104, 3, kFileStreamBuffer + 17, 100};
  {
    FILE_WriteBinStream out(path.c_str());
    ASSERT_TRUE(out.IsOpen());
    int64_t at = 0;
    for (int64_t c : chunks) {
      out.Write(data.data() + at, c);
      at += c;
    }
    out.Write(data.data() + at, (int64_t)data.size() - at);
    EXPECT_EQ(out.GetWritePos(), (int64_t)data.size());
  }
  FILE_ReadBinStream in(path.c_str());
  ASSERT_EQ(in.Size(), (int64_t)data.size());
  std::vector<uint8_t> back(data.size());
  int64_t at = 0;
  for (int64_t c : chunks) {
    ASSERT_EQ(in.Read(back.data() + at, c), c);
    at += c;
  }
  ASSERT_EQ(in.Read(back.data() + at, (int64_t)back.size() - at), (int64_t)back.size() - at);
  EXPECT_TRUE(back == data);
  uint8_t extra;
  EXPECT_EQ(in.Read(&extra, 1), 0);
  std::remove(path.c_str());
}

TEST(FileBinStreamTest, BufferedReaderSkipsAcrossBuffers) {
  std::string path = Temp("skip.bin");
  std::vector<uint8_t> data = Pattern(kFileStreamBuffer * 2 + 1000, 9);
  {
    FileWriteBinStream out(path.c_str());
    out.Write(data.data(), (int64_t)data.size());
  }
  FILE_ReadBinStream in(path.c_str());
  uint8_t b = 0;
  in.Skip(10);
  ASSERT_EQ(in.Read(&b, 1), 1);
  EXPECT_EQ(b, data[10]);
  in.Skip(kFileStreamBuffer + 5);  // larger than the buffer
  ASSERT_EQ(in.Read(&b, 1), 1);
  EXPECT_EQ(b, data[11 + kFileStreamBuffer + 5]);
  EXPECT_EQ(in.GetReadPos(), 12 + kFileStreamBuffer + 5);
  in.SetReadPos(3);
  ASSERT_EQ(in.Read(&b, 1), 1);
  EXPECT_EQ(b, data[3]);
  std::remove(path.c_str());
}

TEST(FileBinStreamTest, NoneOnlyCountsAndMakesNoFile) {
  FILE_WriteBinStream counter("none");
  EXPECT_FALSE(counter.IsOpen());
  std::vector<uint8_t> data = Pattern(kFileStreamBuffer + 10, 1);
  counter.Write(data.data(), (int64_t)data.size());
  counter.WriteDWORD(5);
  EXPECT_EQ(counter.GetWritePos(), (int64_t)data.size() + 4);
  EXPECT_FALSE(Exists("none"));
  BinStreamCounter c;
  c.Write(data.data(), 100);
  c.WriteWORD(1);
  EXPECT_EQ(c.Size(), 102);
  c.Clear();
  EXPECT_EQ(c.GetWritePos(), 0);
}

TEST(FileBinStreamTest, CommitReplacesAReadOnlyOldFile) {
  std::string target = Temp("committed.bin");
  {
    std::ofstream old(target, std::ios::binary);
    old << "old contents that are longer than the new ones";
  }
  chmod(target.c_str(), 0444);
  std::string temp = Temp("committed.tmp");
  FILE_WriteBinStream out(temp.c_str());
  out.Write("new", 3);
  ASSERT_TRUE(out.WriteToFile(target.c_str()));
  BackgroundWriter::WaitIdle();
  std::vector<uint8_t> got = Slurp(target);
  EXPECT_EQ(std::string(got.begin(), got.end()), "new");
  EXPECT_FALSE(Exists(temp));

  FileWriteBinStream direct(temp.c_str());
  direct.Write("direct", 6);
  ASSERT_TRUE(direct.WriteToFile(target.c_str()));
  got = Slurp(target);
  EXPECT_EQ(std::string(got.begin(), got.end()), "direct");
  std::remove(target.c_str());
}

TEST(FileBinStreamTest, DirectReaderOnAMissingFileOnlyAdvances) {
  FileReadBinStream in(Temp("does-not-exist.bin").c_str());
  EXPECT_FALSE(in.IsOpen());
  EXPECT_EQ(in.Size(), 0);
  char buf[8];
  EXPECT_EQ(in.Read(buf, 8), 0);
  EXPECT_EQ(in.GetReadPos(), 8);
  in.Skip(4);
  EXPECT_EQ(in.GetReadPos(), 12);
  FILE_ReadBinStream buffered(Temp("does-not-exist.bin").c_str());
  EXPECT_EQ(buffered.Read(buf, 8), 0);
}

TEST(FileBinStreamTest, ManyStreamsFromManyThreadsStayWhole) {
  constexpr int kThreads = 6, kFiles = 4;
  std::vector<std::thread> threads;
  std::vector<int> failures(kThreads, 0);
  for (int t = 0; t < kThreads; t++) {
    threads.emplace_back([t, &failures] {
      for (int f = 0; f < kFiles; f++) {
        std::string path = Temp(("stress_" + std::to_string(t) + "_" + std::to_string(f)).c_str());
        std::vector<uint8_t> data = Pattern(300000 + 1000 * t, t * 100 + f);
        {
          FILE_WriteBinStream out(path.c_str());
          for (size_t at = 0; at < data.size(); at += 777)
            out.Write(data.data() + at, (int64_t)std::min<size_t>(777, data.size() - at));
        }
        FILE_ReadBinStream in(path.c_str());
        std::vector<uint8_t> back(data.size());
        if (in.Read(back.data(), (int64_t)back.size()) != (int64_t)back.size() || back != data)
          failures[t]++;
        in.Clear();
        std::remove(path.c_str());
      }
    });
  }
  for (auto& th : threads) th.join();
  for (int t = 0; t < kThreads; t++) EXPECT_EQ(failures[t], 0) << "thread " << t;
}

TEST(FileBinStreamTest, WriterThreadLivesOnlyWhileEntriesWait) {
  std::string path = Temp("short-lived.bin");
  for (int round = 0; round < 3; round++) {
    {
      FILE_WriteBinStream out(path.c_str());
      std::vector<uint8_t> data = Pattern(kFileStreamBuffer + 100, round);
      out.Write(data.data(), (int64_t)data.size());
    }
    BackgroundWriter::WaitIdle();
    EXPECT_FALSE(BackgroundWriter::ThreadAlive()) << "round " << round;
    // A new save starts a new thread and the file is whole again.
    EXPECT_EQ(Slurp(path).size(), size_t(kFileStreamBuffer + 100));
  }
  std::remove(path.c_str());
}

TEST(FileBinStreamTest, UnwritableFileBoxTakesItsTextFromTheTable) {
  auto oldLookup = SetTextLookup([](const char* key) -> const char* {
    return strcmp(key, "Unable_to_write_file") == 0 ? "Die Datei lässt sich nicht schreiben:" : nullptr;
  });
  std::vector<SystemDialog> boxes;
  auto oldBoxes = SetSystemDialogHandler([&](const SystemDialog& d) {
    boxes.push_back(d);
    return 0;
  });
  std::string path = Temp("no-such-folder/file.bin");
  {
    FILE_WriteBinStream out(path.c_str());
    out.WriteDWORD(7);
    EXPECT_EQ(out.GetWritePos(), 4);  // it goes on counting
  }
  SetSystemDialogHandler(oldBoxes);
  SetTextLookup(oldLookup);
  ASSERT_EQ(boxes.size(), 1u);
  EXPECT_EQ(boxes[0].text, "Die Datei lässt sich nicht schreiben:\n" + path);
  EXPECT_FALSE(Exists(path));
}
