// Assertions log and go on; the first asks the user; from the 21st on they are
// silent. The log goes to its file line by line.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <sstream>

#include "ClassEngine/Assert.h"
#include "ClassEngine/Log.h"
#include "ClassEngine/SystemDialog.h"

namespace {
int CountOccurrences(const std::string& text, const std::string& what) {
  int n = 0;
  for (size_t p = text.find(what); p != std::string::npos; p = text.find(what, p + 1)) n++;
  return n;
}
}  // namespace

TEST(AssertLogTest, TwentyAssertionsAreLoggedTheRestAreSilent) {
  ResetAssertionCount();
  int dialogs = 0;
  auto old = SetSystemDialogHandler([&](const SystemDialog& d) {
    dialogs++;
    EXPECT_EQ(d.title, "Assertion!");
    return 0;  // Retry: go on
  });
  size_t before = LogMark();
  for (int i = 0; i < 25; i++) MV_ASSERT(i < 0);
  std::string logged = LogTextSince(before);
  EXPECT_EQ(CountOccurrences(logged, "Assertion failure (i < 0)"), 20);
  EXPECT_EQ(dialogs, 1);
  EXPECT_EQ(AssertionCount(), 25);
  MV_ASSERT(true);
  EXPECT_EQ(AssertionCount(), 25);
  SetSystemDialogHandler(old);
  ResetAssertionCount();
}

TEST(AssertLogTest, LogLinesReachTheFileAtOnce) {
  std::string path = ::testing::TempDir() + "log_test.txt";
  LogOpen(path.c_str());
  Log("first %d", 1);
  Log("second %s", "line");
  {
    std::ifstream in(path);
    std::stringstream s;
    s << in.rdbuf();
    EXPECT_EQ(s.str(), "first 1\nsecond line\n");
  }
  std::string huge(20000, 'x');
  Log("%s", huge.c_str());
  LogClose();
  std::ifstream in(path);
  std::string line;
  std::getline(in, line);
  std::getline(in, line);
  std::getline(in, line);
  EXPECT_EQ(line.size(), 9999u);
  std::remove(path.c_str());
}

TEST(AssertLogTest, DialogWithoutAWindowTakesTheDefaultAndLogsIt) {
  auto old = SetSystemDialogHandler(nullptr);
  SystemDialog d;
  d.title = "AutoBackup";
  d.buttons = {"Load", "Delete", "Skip"};
  d.defaultButton = 2;
  EXPECT_EQ(ShowSystemDialog(d), 2);
  EXPECT_NE(LogText().find("Dialog \"AutoBackup\" answered \"Skip\""), std::string::npos);
  SetSystemDialogHandler(old);
}
