// window.txt: the rules for a usable rectangle, and the file the exit writes.
#include "ShellFixture.h"

TEST(WindowPlacement, Rules) {
  auto normal = ParseWindowPlacement("10 20 810 620 0");
  EXPECT_FALSE(normal.maximised);
  EXPECT_EQ(normal.rect.left, 10);
  EXPECT_EQ(normal.rect.bottom, 620);
  EXPECT_FALSE(ParseWindowPlacement("10 20 810 620").maximised) << "four numbers are enough";
  auto flagged = ParseWindowPlacement("10 20 810 620 1");
  EXPECT_TRUE(flagged.maximised);
  EXPECT_EQ(flagged.rect.Width(), 1280) << "the default size stands behind a maximised window";
  EXPECT_EQ(flagged.rect.Height(), 720);
  for (const char* bad : {"810 20 10 620 0", "10 620 810 20 0", "10 20 10 620 0", "10 20 810", "", "junk"}) {
    auto p = ParseWindowPlacement(bad);
    EXPECT_TRUE(p.maximised) << bad;
    EXPECT_EQ(p.rect.Width(), 1280) << bad;
  }
}

TEST_F(ShellTest, StartReadsAndExitWritesWindowTxt) {
  std::ofstream(Home("window.txt")) << "100 50 900 650 0";
  Shell& s = Started();
  EXPECT_FALSE(s.Placement().maximised);
  EXPECT_FALSE(fake.IsMaximised());
  EXPECT_EQ(fake.NormalRect().left, 100);
  fake.SetMaximised(true);
  s.Exit();
  EXPECT_EQ(Read(Home("window.txt")), "100 50 900 650 1");
}

TEST_F(ShellTest, MissingWindowTxtOpensMaximised) {
  Shell& s = Started();
  EXPECT_TRUE(s.Placement().maximised);
  EXPECT_TRUE(fake.IsMaximised());
}
