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
  EXPECT_EQ(s.FrameCount(), frames) << "a wait that found nothing to do draws nothing";

  seams.animating = true;
  s.PumpOnce();
  s.PumpOnce();
  EXPECT_EQ(fake.WaitCount(), waits + 1);
  EXPECT_EQ(s.FrameCount(), frames + 2);
  seams.animating = false;

  PlatformEvent key;
  key.type = PlatformEvent::Type::KeyDown;
  key.key = keys::F1;
  fake.Push(key);
  fake.Push(key);
  s.PumpOnce();
  s.PumpOnce();
  EXPECT_EQ(s.FrameCount(), frames + 2) << "no frame while messages wait";
  s.PumpOnce();
  EXPECT_EQ(s.FrameCount(), frames + 3);
  EXPECT_EQ(fake.WaitCount(), waits + 1) << "the frame after a message does not wait first";
}

// A window left alone draws nothing, however long: its timed work (the
// hand-over file, the clipboard, the autosave clock) runs in the waits.
TEST_F(ShellTest, AnIdleWindowDrawsNothing) {
  Shell& s = Started();
  fake.SetWaitAdvancesClock(true);
  Step();
  const int frames = s.FrameCount();
  for (int i = 0; i < 200; ++i) s.PumpOnce();  // about a minute of idle turns
  EXPECT_EQ(s.FrameCount(), frames);
  EXPECT_GE(fake.WaitCount(), 200);

  // A colour copied in another program shows in the next turn's frame.
  fake.SetClipboard("12ab34");
  s.PumpOnce();
  s.PumpOnce();
  EXPECT_EQ(CurrentColor(), 0xff12ab34u);
  EXPECT_EQ(s.FrameCount(), frames + 1);
}

// After the pointer stops, frames come for the hover pop-ups (150 ms) and the
// hint (half a second), and then no more.
TEST_F(ShellTest, AStillPointerGetsItsHoverFramesThenNone) {
  Shell& s = Started();
  fake.SetWaitAdvancesClock(true);
  Step();
  PlatformEvent move;
  move.type = PlatformEvent::Type::MouseMove;
  move.x = 40, move.y = 50;
  fake.Push(move);
  s.PumpOnce();  // the message
  s.PumpOnce();  // its frame
  const int frames = s.FrameCount();
  for (int i = 0; i < 40; ++i) s.PumpOnce();
  EXPECT_EQ(s.FrameCount(), frames + 2);
}

// While the autosave counts down its last half minute, the view shows the
// seconds left: a frame each second, without any message.
TEST_F(ShellTest, AutosaveCountdownDrawsOncePerSecond) {
  Shell& s = Started();
  s.Autosave().AutosaveTime = 1;
  seams.modified = true;
  fake.SetWaitAdvancesClock(true);
  Step();
  const int frames = s.FrameCount();
  for (int i = 0; i < 3 * 40; ++i) s.PumpOnce();  // 40 s of idle turns of 330 ms
  const int drawn = s.FrameCount() - frames;
  EXPECT_GE(drawn, 8);
  EXPECT_LE(drawn, 16) << "one frame a second of the countdown, not one a turn";
  bool shown = false;
  for (const std::string& t : seams.texts) shown |= t.rfind("Autosave: ", 0) == 0;
  EXPECT_TRUE(shown);
}

TEST_F(ShellTest, WaitsLetThePeriodicWorkRun) {
  Shell& s = Started();
  fake.SetWaitAdvancesClock(true);
  std::ofstream(Home("Exchange/import.txt")) << "/m/idle.obj";
  for (int i = 0; i < 4; ++i) s.PumpOnce();  // idle turns of 330 ms each
  ASSERT_EQ(seams.imported.size(), 1u);
  EXPECT_EQ(seams.imported[0], "/m/idle.obj");
}
