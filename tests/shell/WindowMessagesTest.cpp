// Window messages the shell acts on itself: a dropped file is opened like a
// path on the command line, full-screen follows the setting at the next
// frame, and a full-screen window that loses the front is minimised.
#include "ShellFixture.h"

TEST_F(ShellTest, DroppedFilesOpenLikeTheCommandLine) {
  Started();
  PlatformEvent drop;
  drop.type = PlatformEvent::Type::FileDropped;
  drop.text = "/w/Sculpt.MVN";
  fake.Push(drop);
  drop.text = "/w/head.obj";
  fake.Push(drop);
  Step();
  ASSERT_EQ(seams.commands.size(), 2u);
  EXPECT_EQ(seams.commands[0].action, CommandLineDecision::Action::LoadScene);
  EXPECT_EQ(seams.commands[1].action, CommandLineDecision::Action::ImportPaintMesh);
  EXPECT_EQ(seams.commands[1].path, "/w/head.obj");
}

TEST_F(ShellTest, FullScreenFollowsTheSettingAndMinimisesWhenLeft) {
  Shell& s = Started();
  s.SetFullScreenWanted(true);
  EXPECT_FALSE(fake.IsFullScreen());
  Step();
  EXPECT_TRUE(fake.IsFullScreen());
  fake.SetActive(false);
  s.PumpOnce();
  EXPECT_TRUE(fake.IsMinimised());
  fake.SetActive(true);
  fake.SetMinimisedState(false);
  s.SetFullScreenWanted(false);
  Step();
  EXPECT_FALSE(fake.IsFullScreen());
}

TEST_F(ShellTest, CloseMessageLeavesTheLoop) {
  Shell& s = Started();
  PlatformEvent close;
  close.type = PlatformEvent::Type::CloseRequest;
  fake.At(3, close);
  for (int i = 0; i < 10 && !s.ExitRequested(); ++i) Step();
  EXPECT_TRUE(s.ExitRequested());
  EXPECT_EQ(fake.CurrentFrame(), 3);
  s.Run();  // returns at once: the flag is set
}
