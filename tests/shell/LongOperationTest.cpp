// Long operations: ProgressBar's 500 ms rhythm, the percentage in the title,
// no nested frames, one message per call, Esc to stop; and leaving through
// CanClose and the modal pump. A tap of Esc between two steps is not lost.
#include "ClassEngine/Progress.h"
#include "ShellFixture.h"

TEST_F(ShellTest, ProgressBarRhythmTitleAndNoNestedFrames) {
  Shell& s = Started();
  int boxes = seams.progressBoxes;
  EXPECT_TRUE(ProgressBar(1, 4, "Working"));
  EXPECT_EQ(fake.Title(), "25%");
  EXPECT_EQ(seams.progressBoxes, boxes + 1);
  fake.AdvanceTick(499);
  EXPECT_FALSE(ProgressBar(2, 4, "Working")) << "less than 500 ms since the last drawing";
  EXPECT_EQ(fake.Title(), "25%");
  fake.AdvanceTick(1);
  EXPECT_TRUE(ProgressBar(3, 4, "Working"));
  EXPECT_EQ(fake.Title(), "75%");
  fake.AdvanceTick(500);
  EXPECT_TRUE(ProgressBar(0, 0, "No total"));
  EXPECT_EQ(fake.Title(), "0%");
  EXPECT_EQ(seams.progressBoxes, boxes + 2) << "a total of 0 draws no bar";

  // One message is pumped per call; an expose inside asks for a frame that
  // must not run while the bar is up.
  PlatformEvent expose;
  expose.type = PlatformEvent::Type::Expose;
  PlatformEvent key;
  key.type = PlatformEvent::Type::KeyDown;
  key.key = keys::F1 + 1;
  fake.Push(expose);
  fake.Push(key);
  int frames = s.FrameCount();
  fake.AdvanceTick(500);
  ProgressBar(1, 2, "x");
  EXPECT_EQ(s.FrameCount(), frames);
  EXPECT_EQ(s.Queue().Size(), 0u) << "only the expose was taken";
  fake.AdvanceTick(500);
  ProgressBar(1, 2, "x");
  EXPECT_EQ(s.Queue().Size(), 1u);
  Step();
  EXPECT_EQ(fake.Title(), "Morvane") << "the next frame puts the title back";
}

TEST_F(ShellTest, LongLoopStopsOnEsc) {
  Started();
  int done = 0;
  for (int i = 0; i < 1000; ++i) {
    fake.AdvanceTick(50);
    if (i == 30) fake.SetKeyDown(keys::Esc, true);
    ProgressBar(i, 1000, "EscToStop");
    if (IsKeyDownNow(keys::Esc)) break;
    ++done;
  }
  EXPECT_EQ(done, 30);
  fake.SetActive(false);
  EXPECT_FALSE(IsKeyDownNow(keys::Esc)) << "only while the window is in front";
}

TEST_F(ShellTest, LibrariesBelowReportThroughTheShellAndStopOnEsc) {
  Started();
  fake.AdvanceTick(600);
  // Totals past an int are scaled, not wrapped: the title shows the true share.
  EXPECT_FALSE(ReportProgress("UNPACKING", 3000000000LL, 4000000000LL));
  EXPECT_EQ(fake.Title(), "75%");
  fake.SetKeyDown(keys::Esc, true);
  EXPECT_TRUE(ReportProgress("UNPACKING", 3, 4)) << "Esc held down stops the operation";
}

TEST_F(ShellTest, ATapOfEscBetweenTwoStepsStopsOneOperationOnly) {
  Started();
  fake.AdvanceTick(5000);
  EXPECT_FALSE(ReportProgress("UNPACKING", 1, 4));
  // Pressed and let go while a step ran: the next look still sees it.
  fake.SetKeyDown(keys::Esc, true);
  fake.SetKeyDown(keys::Esc, false);
  fake.AdvanceTick(200);
  EXPECT_TRUE(ReportProgress("UNPACKING", 2, 4)) << "a tap between two looks is not lost";
  // That tap has stopped something: the next operation runs on.
  fake.AdvanceTick(200);
  EXPECT_FALSE(ReportProgress("UNPACKING", 1, 4));
  // A tap long before an operation does not stop it.
  fake.SetKeyDown(keys::Esc, true);
  fake.SetKeyDown(keys::Esc, false);
  fake.AdvanceTick(3000);
  EXPECT_FALSE(ReportProgress("UNPACKING", 1, 4));
}

TEST_F(ShellTest, CloseAsksToSaveAModifiedScene) {
  Shell& s = Started();
  EXPECT_TRUE(s.CanClose()) << "an unmodified scene leaves at once";
  EXPECT_TRUE(fake.DialogsShown().empty());

  Shell& t = Started();
  seams.modified = true;
  fake.AnswerDialogs({2});  // Cancel
  EXPECT_FALSE(t.CanClose());
  ASSERT_EQ(fake.DialogsShown().size(), 1u);
  EXPECT_EQ(fake.DialogsShown()[0].text, "WANT_TO_SAVE");
  EXPECT_EQ(fake.DialogsShown()[0].title, "EXIT_PROGRAM");
  seams.saveAsResult = false;
  fake.AnswerDialogs({0});  // Yes, then Save As is cancelled
  EXPECT_FALSE(t.CanClose());
  EXPECT_EQ(seams.saveAs, 1);
  fake.AnswerDialogs({1});  // No
  EXPECT_TRUE(t.CanClose());
  EXPECT_TRUE(t.ExitRequested());
  t.LockClose(true);
  EXPECT_FALSE(t.CanClose());
}

TEST_F(ShellTest, CloseRequestEndsTheModalPump) {
  Shell& s = Started();
  bool left = false;
  s.SetExitFromPump([&] { left = true; });
  PlatformEvent close;
  close.type = PlatformEvent::Type::CloseRequest;
  fake.Push(close);
  int turns = 0;
  s.PumpModal([&] { return ++turns > 50; });
  EXPECT_TRUE(left);
  EXPECT_LT(turns, 50);
}
