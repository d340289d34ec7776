// Pictures of the window: F12 over the view writes the last frame into the
// user folder under the first free number, and the picture is the whole
// frame as drawn. Needs the headless GL context; skips, saying why, without it.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

#include "interchange/IO.h"
#include "platform/FakePlatform.h"
#include "platform/Keys.h"
#include "render/EglContext.h"
#include "shell/Shell.h"
#include "shell/Viewport.h"

TEST(Screenshot, F12WritesNumberedPicturesOfTheFrame) {
  std::string why;
  if (!comms::cEglContext::Create(8, 8, &why)) GTEST_SKIP() << "no headless GL context: " << why;
  const auto home = std::filesystem::temp_directory_path() / "morvane-screenshot";
  std::filesystem::remove_all(home);
  setenv("MORVANE_HOME", home.c_str(), 1);

  FakePlatform fake;
  fake.SetClientSize(320, 200);
  ViewportSeams seams(fake, true);
  Shell shell(fake, seams);
  seams.Attach(shell);
  StartOptions o;
  o.installCrashHandler = false;
  ASSERT_TRUE(shell.Start(o));
  shell.RunFrames(2);

  PlatformEvent f12;
  f12.type = PlatformEvent::Type::KeyDown;
  f12.key = keys::F12;
  fake.Push(f12);
  shell.RunFrames(1);
  fake.Push(f12);
  shell.RunFrames(1);

  const std::string first = shell.Folders().Path("screenshot-001.png");
  const std::string second = shell.Folders().Path("screenshot-002.png");
  ASSERT_TRUE(std::filesystem::exists(first)) << first;
  ASSERT_TRUE(std::filesystem::exists(second)) << "the next number, not over the first";
  EXPECT_EQ(seams.LastScreenshot, second);
  // F12 comes in the middle of a frame, but its picture is the whole frame:
  // the same as the frame read back once it has been drawn.
  const std::string after = (home / "after.png").string();
  ASSERT_EQ(seams.WriteScreenshot(after), after);
  comms::cImage shot, whole;
  ASSERT_TRUE(comms::cIO::LoadImage(second, shot));
  ASSERT_TRUE(comms::cIO::LoadImage(after, whole));
  ASSERT_EQ(shot.width, 320);
  ASSERT_EQ(shot.height, 200);
  ASSERT_EQ(whole.width, shot.width);
  ASSERT_EQ(whole.height, shot.height);
  int differing = 0;
  for (int y = 0; y < shot.height; ++y)
    for (int x = 0; x < shot.width; ++x)
      for (int c = 0; c < 3; ++c)
        if (std::abs(int(shot.Pixel(x, y)[c]) - int(whole.Pixel(x, y)[c])) > 2) {
          ++differing;
          break;
        }
  EXPECT_LT(differing, shot.width * shot.height / 500) << "the picture is not the frame shown";
  // And the frame holds the start-up sphere over the background.
  const uint8_t* corner = shot.Pixel(2, 2);
  const uint8_t* middle = shot.Pixel(160, 100);
  int diff = 0;
  for (int c = 0; c < 3; ++c) diff += std::abs(int(corner[c]) - int(middle[c]));
  EXPECT_GT(diff, 30);
  shell.Exit();
  std::filesystem::remove_all(home);
}
