// The two polls of the application frame: Exchange/import.txt every 500 ms
// and the clipboard colour every 330 ms.
#include "ShellFixture.h"

TEST(ImportFile, FirstLineOnlyAndTheFileGoes) {
  std::string p = (std::filesystem::temp_directory_path() / ("imp-" + std::to_string(getpid()))).string();
  std::ofstream(p) << "/meshes/a.obj\r\nsecond line\n";
  EXPECT_EQ(TakeImportRequest(p), "/meshes/a.obj");
  EXPECT_FALSE(std::filesystem::exists(p));
  EXPECT_EQ(TakeImportRequest(p), "");
}

TEST(ImportFile, ReadsAtMost8191Bytes) {
  std::string p = (std::filesystem::temp_directory_path() / ("imp-long-" + std::to_string(getpid()))).string();
  std::ofstream(p) << std::string(10000, 'x');
  EXPECT_EQ(TakeImportRequest(p).size(), 8191u);
}

TEST_F(ShellTest, ImportFileIsPolledEvery500ms) {
  Started();
  std::ofstream(Home("Exchange/import.txt")) << "/m/one.obj\n";
  Step(100);  // the poll's first look starts its count
  Step(300);
  EXPECT_TRUE(seams.imported.empty());
  Step(250);
  ASSERT_EQ(seams.imported.size(), 1u);
  EXPECT_EQ(seams.imported[0], "/m/one.obj");
  EXPECT_FALSE(Exists(Home("Exchange/import.txt")));
  std::ofstream(Home("Exchange/import.txt")) << "/m/two.obj";
  Step(100);
  EXPECT_EQ(seams.imported.size(), 1u) << "not before the next 500 ms";
  Step(450);
  ASSERT_EQ(seams.imported.size(), 2u);
  EXPECT_EQ(seams.imported[1], "/m/two.obj");
}

TEST(ClipboardColour, SixHexDigitsOnly) {
  uint32_t v = 0;
  EXPECT_TRUE(ParseHexColour("ff8000", v));
  EXPECT_EQ(v, 0xff8000u);
  EXPECT_TRUE(ParseHexColour("A1b2C3", v));
  EXPECT_EQ(v, 0xa1b2c3u);
  for (const char* bad : {"ff800", "ff80001", "#ff800", "gg0000", " ff8000", "ff8000\n", ""})
    EXPECT_FALSE(ParseHexColour(bad, v)) << bad;
}

TEST_F(ShellTest, ClipboardColourOnlyOnChange) {
  Started();
  SetCurrentColor(0xff123456u);
  fake.SetClipboard("00ff00");
  Step(100);
  Step(340);
  EXPECT_EQ(CurrentColor(), 0xff00ff00u);
  SetCurrentColor(0xff123456u);  // the pen changed it; the same clipboard must not undo that
  Step(340);
  EXPECT_EQ(CurrentColor(), 0xff123456u);
  fake.SetClipboard("hello");
  Step(340);
  EXPECT_EQ(CurrentColor(), 0xff123456u);
  fake.SetClipboard("0000FF");
  Step(100);
  EXPECT_EQ(CurrentColor(), 0xff123456u) << "not before 330 ms";
  Step(240);
  EXPECT_EQ(CurrentColor(), 0xff0000ffu);
}
