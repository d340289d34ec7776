// A long run that keeps reading broken files: every failed parse logs its
// complaint, and the log's memory copy stays bounded while the newest lines
// stay readable.
#include <gtest/gtest.h>

#include <string>

#include "ClassEngine/Log.h"
#include "ClassEngine/xml/XmlNode.h"

namespace {
// A nested document whose innermost end tag is wrong: each level complains.
std::string DeepBrokenDocument(int depth) {
  std::string text;
  for (int i = 0; i < depth; i++) text += "<Level" + std::to_string(i) + ">";
  text += "</Wrong>";
  return text;
}
}  // namespace

TEST(BrokenFilesLog, HundredThousandFailedParsesKeepTheLogBounded) {
  const std::string broken = DeepBrokenDocument(12);
  size_t largest = 0;
  for (int i = 0; i < 100000; i++) {
    XmlNode root;
    ASSERT_EQ(root.Parse(broken.c_str()), -1);
    if (i % 1000 == 999) largest = std::max(largest, LogText().size());
  }
  EXPECT_LE(largest, kLogMemoryBytes);
  std::string text = LogText();
  EXPECT_LE(text.size(), kLogMemoryBytes);
  // Older lines went, and the copy says so; the newest complaint is whole.
  EXPECT_EQ(text.rfind("(older lines are in the log file only)", 0), 0u);
  EXPECT_NE(text.find("XML parsing error!\n<Level11></Wrong>"), std::string::npos);
}

TEST(BrokenFilesLog, TextSinceAMarkSurvivesTrimming) {
  size_t mark = LogMark();
  Log("marked line");
  std::string filler(5000, 'f');
  // Enough to trim the memory copy several times over, but the newest
  // lines are all kept.
  for (int i = 0; i < 30; i++) Log("%s", filler.c_str());
  EXPECT_NE(LogTextSince(mark).find("marked line"), std::string::npos);
  for (int i = 0; i < 200; i++) Log("%s", filler.c_str());
  std::string since = LogTextSince(mark);
  // The marked line was dropped; what is returned is the newest part only.
  EXPECT_EQ(since.find("marked line"), std::string::npos);
  EXPECT_LE(since.size(), kLogMemoryBytes);
  EXPECT_EQ(LogTextSince(LogMark()), "");
}
