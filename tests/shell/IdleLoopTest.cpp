// The message loop sleeps while nothing happens: an idle turn waits for a
// message with a timeout before its frame, an animating program never
// waits, and a message is always followed by a frame without a second wait.
#include "ShellFixture.h"

TEST_F(ShellTest, IdleTurnsWaitAnimationDoesNot) {
  Shell& s = Started();
  Step();
  int waits = fake.WaitCount(), frames = s.FrameCount();
  s.PumpOnce();
  EXPECT_EQ(fake.WaitCount(), waits + 1);
  EXPECT_EQ(s.FrameCount(), frames + 1);

  seams.animating = true;
  s.PumpOnce();
  s.PumpOnce();
  EXPECT_EQ(fake.WaitCount(), waits + 1);
  EXPECT_EQ(s.FrameCount(), frames + 3);
  seams.animating = false;

  PlatformEvent key;
  key.type = PlatformEvent::Type::KeyDown;
  key.key = keys::F1;
  fake.Push(key);
  fake.Push(key);
  s.PumpOnce();
  s.PumpOnce();
  EXPECT_EQ(s.FrameCount(), frames + 3) << "no frame while messages wait";
  s.PumpOnce();
  EXPECT_EQ(s.FrameCount(), frames + 4);
  EXPECT_EQ(fake.WaitCount(), waits + 1) << "the frame after a message does not wait first";
}

TEST_F(ShellTest, WaitsLetThePeriodicWorkRun) {
  Shell& s = Started();
  fake.SetWaitAdvancesClock(true);
  std::ofstream(Home("Exchange/import.txt")) << "/m/idle.obj";
  for (int i = 0; i < 4; ++i) s.PumpOnce();  // idle turns of 330 ms each
  ASSERT_EQ(seams.imported.size(), 1u);
  EXPECT_EQ(seams.imported[0], "/m/idle.obj");
}
