// Morvane in a real X window: a private Xvfb, the program started in it from
// an empty working folder, a stroke and F12 driven through XTest, and the
// picture that F12 writes compared with what the window shows and with the
// same stroke run in this process on the fake platform. Then the close
// button: the scene was changed, so the program asks first; Esc keeps it
// open, "n" (No) ends it with exit code 0.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "XServer.h"
#include "interchange/IO.h"
#include "platform/FakePlatform.h"
#include "platform/Keys.h"
#include "render/StartupShaders.h"
#include "shell/Program.h"

namespace fs = std::filesystem;

namespace {
constexpr int kWidth = 1280, kHeight = 720;
// Presses of ] before the stroke.
constexpr int kWiderPen = 10;

// The stroke, in window pixels: across the start sphere, left of its middle.
std::vector<std::pair<int, int>> StrokePoints() {
  std::vector<std::pair<int, int>> p;
  for (int i = 0; i <= 10; ++i) p.push_back({760 + 14 * i, 300 + 9 * i});
  return p;
}

struct Difference {
  int width = 0, height = 0;
  long differing = 0;  // pixels off by more than the tolerance in a channel
};

// Compares two RGB pictures; writes a picture of the differences beside
// `failName` when they differ too much.
Difference Compare(const comms::cImage& a, const comms::cImage& b, int tolerance, const std::string& failName,
                   double allowedShare) {
  Difference d;
  if (a.width != b.width || a.height != b.height) return d;
  d.width = a.width, d.height = a.height;
  comms::cImage diff;
  diff.Create(a.width, a.height, 3);
  for (int y = 0; y < a.height; ++y)
    for (int x = 0; x < a.width; ++x) {
      int worst = 0;
      for (int c = 0; c < 3; ++c) worst = std::max(worst, std::abs(int(a.Pixel(x, y)[c]) - int(b.Pixel(x, y)[c])));
      uint8_t* out = diff.Pixel(x, y);
      out[0] = out[1] = out[2] = uint8_t(std::min(255, worst * 4));
      d.differing += worst > tolerance;
    }
  if (double(d.differing) > allowedShare * a.width * a.height) comms::cIO::SaveImage(failName, diff);
  return d;
}

// The pixels inside the stroke's box (window pixels, y downwards) that
// differ between two pictures (bottom row first).
long ChangedAlongTheStroke(const comms::cImage& before, const comms::cImage& after) {
  long n = 0;
  for (int y = 280; y < 420; ++y)
    for (int x = 740; x < 930; ++x) {
      const int row = kHeight - 1 - y;
      int worst = 0;
      for (int c = 0; c < 3; ++c)
        worst = std::max(worst, std::abs(int(before.Pixel(x, row)[c]) - int(after.Pixel(x, row)[c])));
      n += worst > 40;
    }
  return n;
}

// The pixels of the window's middle third (where boxes open) that differ.
long ChangedInTheMiddle(const comms::cImage& a, const comms::cImage& b) {
  long n = 0;
  for (int y = kHeight / 6; y < kHeight * 2 / 3; ++y)
    for (int x = kWidth / 3; x < kWidth * 2 / 3; ++x)
      for (int c = 0; c < 3; ++c)
        if (std::abs(int(a.Pixel(x, y)[c]) - int(b.Pixel(x, y)[c])) > 30) {
          ++n;
          break;
        }
  return n;
}

class RealWindow : public ::testing::Test {
 protected:
  void SetUp() override {
    dir_ = fs::temp_directory_path() / ("morvane-window-" + std::to_string(getpid()));
    fs::remove_all(dir_);
    fs::create_directories(dir_ / "run");
    fs::create_directories(dir_ / "home");
    fs::create_directories(dir_ / "twin");
  }
  void TearDown() override {
    if (!HasFailure()) fs::remove_all(dir_);
    else printf("Pictures and logs kept in %s\n", dir_.c_str());
  }
  std::string Path(const std::string& rel) const { return (dir_ / rel).string(); }

  // The same stroke and F12 in this process, on the fake platform, drawn
  // through EGL: `before` is the frame before the stroke.
  bool TwinPicture(comms::cImage& before, comms::cImage& after) {
    setenv("MORVANE_HOME", Path("twin").c_str(), 1);
    FakePlatform fake;
    fake.SetClientSize(kWidth, kHeight);
    ProgramMode mode;
    mode.offscreen = true;
    mode.askInWindow = false;
    Program program(fake, mode);
    StartOptions o;
    o.installCrashHandler = false;
    o.logPath = Path("twin/Log.txt");
    if (!program.Start(o)) return false;
    Shell& shell = program.TheShell();
    auto push = [&](PlatformEvent::Type type, int x, int y, int key = -1) {
      PlatformEvent e;
      e.type = type;
      e.x = float(x), e.y = float(y);
      e.key = key;
      fake.AdvanceTick(40);
      fake.Push(e);
      shell.RunFrames(1);
    };
    shell.RunFrames(6);
    const auto points = StrokePoints();
    push(PlatformEvent::Type::MouseMove, points[0].first, points[0].second);
    if (program.View().WriteScreenshot(Path("twin/before.png")).empty()) return false;
    // ] ten times: the pen from its default 5 pixels to about 20.
    for (int i = 0; i < kWiderPen; ++i) {
      push(PlatformEvent::Type::KeyDown, 0, 0, keys::RightBracket);
      push(PlatformEvent::Type::KeyUp, 0, 0, keys::RightBracket);
    }
    push(PlatformEvent::Type::ButtonDown, points[0].first, points[0].second, keys::LeftButton);
    for (auto [x, y] : points) push(PlatformEvent::Type::MouseMove, x, y);
    push(PlatformEvent::Type::ButtonUp, points.back().first, points.back().second, keys::LeftButton);
    push(PlatformEvent::Type::KeyDown, 0, 0, keys::F12);
    push(PlatformEvent::Type::KeyUp, 0, 0, keys::F12);
    shell.RunFrames(2);
    const std::string shot = program.View().LastScreenshot;
    return !shot.empty() && comms::cIO::LoadImage(Path("twin/before.png"), before) &&
           comms::cIO::LoadImage(shot, after);
  }

  fs::path dir_;
};
}  // namespace

TEST_F(RealWindow, StrokeScreenshotAndCloseInAnXWindow) {
  XServer x(1600, 1000);
  ASSERT_TRUE(x.Ok()) << x.Error();
  Child program(MORVANE_PROGRAM, {},
                {"DISPLAY=" + x.Name(), "MORVANE_HOME=" + Path("home"), "SDL_VIDEODRIVER=x11"}, Path("run"));

  // The first frame: the window is up and the fourth application frame has
  // read the command line.
  const XWindow w = x.WaitForWindow("Morvane", 60);
  ASSERT_NE(w, 0u) << "no window; output: " << Path("run/output.txt");
  ASSERT_TRUE(WaitForText(Path("run/Log.txt"), "Command line:", 60)) << "no first frames; see " << Path("run/Log.txt");
  const std::string shaders = std::to_string(comms::StartupShaderList().size());
  EXPECT_TRUE(WaitForText(Path("run/Log.txt"), "Start-up shaders: " + shaders + " of " + shaders + " compiled", 1));
  EXPECT_TRUE(WaitForText(Path("run/Log.txt"), "Initialising Wacom tablet... failed.", 1));

  // The pen made wider with ], the stroke and F12.
  const auto points = StrokePoints();
  x.MoveTo(w, points[0].first, points[0].second);
  for (int i = 0; i < kWiderPen; ++i) x.Key("bracketright");
  SleepMs(200);
  x.Button(1, true);
  for (auto [px, py] : points) x.MoveTo(w, px, py);
  x.Button(1, false);
  SleepMs(300);
  x.Key("F12");
  ASSERT_TRUE(WaitForText(Path("run/Log.txt"), "Screenshot written to", 20));
  SleepMs(200);
  comms::cImage shot, shown;
  ASSERT_TRUE(comms::cIO::LoadImage(Path("home/screenshot-001.png"), shot));
  ASSERT_TRUE(x.Capture(w, shown));
  ASSERT_EQ(shot.width, kWidth);
  ASSERT_EQ(shot.height, kHeight);
  comms::cIO::SaveImage(Path("window.png"), shown);

  // F12 holds exactly what the window shows.
  Difference same = Compare(shot, shown, 3, Path("f12-vs-window-diff.png"), 0.001);
  ASSERT_EQ(same.width, kWidth);
  EXPECT_LT(same.differing, long(0.001 * kWidth * kHeight)) << "F12 differs from the window";

  // And it holds the sculpted model: the same stroke run here gives the
  // same picture, and the stroke changed the sphere.
  comms::cImage before, twin;
  ASSERT_TRUE(TwinPicture(before, twin)) << "the in-process run failed; see " << Path("twin/Log.txt");
  Difference d = Compare(shot, twin, 40, Path("window-vs-twin-diff.png"), 0.01);
  printf("F12 vs window: %ld pixels differ; window vs in-process run: %ld (of %d allowed)\n", same.differing,
         d.differing, int(0.01 * kWidth * kHeight));
  EXPECT_LT(d.differing, long(0.01 * kWidth * kHeight)) << "the window's picture is not the stroke's";
  EXPECT_GT(ChangedAlongTheStroke(before, shot), 800) << "no stroke on the sphere";
  EXPECT_GT(ChangedAlongTheStroke(before, twin), 800);

  // Closing a changed scene asks first: Esc keeps the program, No leaves.
  x.Close(w);
  ASSERT_TRUE(WaitForText(Path("run/Log.txt"), "ShowDialog: #Save the changes", 20));
  // The box shows at once, before any key or motion reaches the window.
  SleepMs(1500);
  comms::cImage asking;
  ASSERT_TRUE(x.Capture(w, asking));
  EXPECT_GT(ChangedInTheMiddle(shown, asking), 5000) << "the question box is not drawn";
  comms::cIO::SaveImage(Path("asking.png"), asking);
  x.Key("Escape");
  ASSERT_TRUE(WaitForText(Path("run/Log.txt"), "-> 3", 20));
  SleepMs(300);
  EXPECT_TRUE(program.Running()) << "Cancel must keep the program open";
  x.Close(w);
  SleepMs(500);
  x.Type("n");
  EXPECT_EQ(program.Wait(30), 0);
  EXPECT_TRUE(fs::exists(Path("home/window.txt")));
  EXPECT_TRUE(WaitForText(Path("run/Log.txt"), "Exit after", 1));
}
