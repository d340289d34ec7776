// The time base: deltas from the tick, no time while paused or without a
// client, a fresh reading on resume, and Fps over blocks of 100 frames.
#include "ShellFixture.h"

TEST(FrameClock, FirstReadingAndPause) {
  FrameClock c;
  c.Update(1000);
  EXPECT_EQ(c.Now().Time, 0);
  c.Update(1016);
  EXPECT_FLOAT_EQ(c.Now().DeltaMs, 16);
  EXPECT_NEAR(c.Now().Time, 0.016, 1e-9);
  c.Pause();
  c.Update(9000);  // the paused stretch does not count
  EXPECT_FLOAT_EQ(c.Now().Delta, 0);
  c.Update(9010);
  EXPECT_NEAR(c.Now().TimeMs, 26, 1e-9);
}

TEST(FrameClock, ScaleAndFpsOverHundredFrames) {
  FrameClock c;
  c.Mutable().Scale = 0.5f;
  c.Update(0);
  for (int i = 1; i <= 99; ++i) c.Update(uint32_t(i * 20));
  EXPECT_EQ(c.Now().Fps, 0) << "no block finished yet";
  c.Update(2000);
  EXPECT_FLOAT_EQ(c.Now().Fps, 50.0f);
  EXPECT_FLOAT_EQ(c.Now().DeltaMs, 10.0f);
}

TEST_F(ShellTest, InactiveWindowAndZeroClientDoNotMoveTime) {
  Shell& s = Started();
  Step(16);
  Step(16);
  double t = s.Time().Time;
  int frames = s.FrameCount();
  fake.SetClientSize(0, 720);
  Step(500);
  Step(500);
  EXPECT_EQ(s.Time().Time, t);
  EXPECT_EQ(s.FrameCount(), frames) << "a frame without a client draws nothing";
  fake.SetClientSize(1280, 720);
  Step(16);  // resumes from a fresh reading
  Step(16);
  EXPECT_NEAR(s.Time().Time, t + 0.016, 1e-6);

  t = s.Time().Time;
  fake.SetActive(false);
  fake.AdvanceTick(5000);
  s.PumpOnce();
  s.PumpOnce();
  EXPECT_EQ(s.Time().Time, t);
  fake.SetActive(true);
  Step(16);
  EXPECT_EQ(s.Time().Time, t) << "the first frame after a pause only reads the clock";
  Step(16);
  EXPECT_NEAR(s.Time().Time, t + 0.016, 1e-6);
}

TEST_F(ShellTest, FrameDispatchesScriptedEventsAndPresents) {
  Shell& s = Started();
  struct Taker : comms::cWidget {
    int keys = 0;
    bool OnKeyDown(int) override { return ++keys, true; }
  };
  auto* w = new Taker;
  s.Layers().Register(4, w);
  PlatformEvent e;
  e.type = PlatformEvent::Type::KeyDown;
  e.key = keys::F1;
  fake.At(3, e);
  int ends = seams.ends;
  for (int i = 0; i < 4; ++i) Step();
  EXPECT_EQ(w->keys, 1);
  EXPECT_EQ(seams.ends, ends + 4) << "every frame ends its scene";
}
