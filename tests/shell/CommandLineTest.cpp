// The command line: flags, the ".mvn" rule, -recent, quotes and blanks, the
// -openautomate split, and the delay to the fourth application frame.
#include "ShellFixture.h"

using A = CommandLineDecision::Action;

TEST(CommandLine, FlagsAndTheSceneRule) {
  EXPECT_EQ(DecideCommandLine("", "").action, A::Nothing);
  EXPECT_EQ(DecideCommandLine("  -mv  ", "").action, A::Nothing);
  auto paint = DecideCommandLine("\"/data/my head.obj\"", "");
  EXPECT_EQ(paint.action, A::ImportPaintMesh);
  EXPECT_EQ(paint.path, "/data/my head.obj");
  EXPECT_EQ(DecideCommandLine("-ref a.obj", "").action, A::ImportReference);
  EXPECT_EQ(DecideCommandLine("-mv a.obj", "").action, A::ImportThirdPath);
  auto scene = DecideCommandLine("-mv -ref /x/Work.MVN", "");
  EXPECT_EQ(scene.action, A::LoadScene) << "a scene wins over the import flags";
  EXPECT_TRUE(scene.mv);
  EXPECT_TRUE(scene.ref);
  EXPECT_EQ(DecideCommandLine("-unknown b.obj", "").action, A::ImportPaintMesh);
}

TEST(CommandLine, RecentOpensTheLastRecentFile) {
  auto d = DecideCommandLine("-recent", "/w/last.mvn");
  EXPECT_EQ(d.action, A::LoadScene);
  EXPECT_EQ(d.path, "/w/last.mvn");
  EXPECT_EQ(DecideCommandLine("-recent -ref", "/w/last.obj").action, A::ImportReference);
  EXPECT_EQ(DecideCommandLine("-recent", "").action, A::Nothing);
}

TEST(CommandLine, OpenAutomateTakesTheRest) {
  std::string args;
  EXPECT_EQ(SplitOpenAutomate("a.obj -openautomate \" x y \"", args), "a.obj ");
  EXPECT_EQ(args, "xy");
  EXPECT_EQ(SplitOpenAutomate("b.obj", args), "b.obj");
  EXPECT_TRUE(args.empty());
}

TEST_F(ShellTest, CommandLineRunsAtTheFourthApplicationFrame) {
  Shell& s = Started("-ref head.obj");  // the start-up frame is the first
  Step();
  Step();
  EXPECT_TRUE(seams.commands.empty());
  Step();
  ASSERT_EQ(seams.commands.size(), 1u);
  EXPECT_EQ(seams.commands[0].action, A::ImportReference);
  EXPECT_EQ(seams.commands[0].path, "head.obj");
  EXPECT_TRUE(s.CommandLineRan());
  for (int i = 0; i < 5; ++i) Step();
  EXPECT_EQ(seams.commands.size(), 1u) << "only once";
}
