// The engine settings steer the frame: the settings file read at start-up,
// the ground grid and wireframe seen in a headless picture, the clear colour,
// Alt+Enter switching full screen through the settings, and the reload
// button reaching the renderer. The pictures need the headless GL context;
// they skip, saying why, without it.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "interchange/IO.h"
#include "platform/FakePlatform.h"
#include "platform/Keys.h"
#include "render/EglContext.h"
#include "shell/Shell.h"
#include "shell/Viewport.h"

namespace {
std::string Temp(const char* name) { return (std::filesystem::temp_directory_path() / name).string(); }

void WriteText(const std::string& path, const std::string& text) {
  std::ofstream out(path);
  out << text;
}

// The number of pixels whose colour differs by more than a little.
int DifferentPixels(const comms::cImage& a, const comms::cImage& b) {
  int n = 0;
  for (int y = 0; y < a.height; y++)
    for (int x = 0; x < a.width; x++) {
      int d = 0;
      for (int c = 0; c < 3; c++) d += std::abs(int(a.Pixel(x, y)[c]) - int(b.Pixel(x, y)[c]));
      n += d > 24;
    }
  return n;
}

// The view's seams drawing headless, and a shell on them.
struct StartedView {
  ViewportSeams seams;
  Shell shell;
  explicit StartedView(FakePlatform& fake) : seams(fake, true), shell(fake, seams) { seams.Attach(shell); }
};

class ViewSettings : public ::testing::Test {
 protected:
  void SetUp() override {
    // A folder per test and process: ctest runs the cases side by side.
    home_ = std::filesystem::temp_directory_path() /
            ("morvane-view-settings-" + std::to_string(getpid()) + "-" +
             ::testing::UnitTest::GetInstance()->current_test_info()->name());
    std::filesystem::remove_all(home_);
    setenv("MORVANE_HOME", home_.c_str(), 1);
    fake_.SetClientSize(241, 163);  // odd sizes: a shifted row shows
  }
  void TearDown() override {
    std::error_code ignored;
    std::filesystem::remove_all(home_, ignored);
  }

  // Starts the shell with the settings file `settings`.
  bool Start(Shell& shell, const std::string& settings) {
    StartOptions o;
    o.installCrashHandler = false;
    o.settingsPath = settings;
    return shell.Start(o);
  }

  comms::cImage Picture(ViewportSeams& seams, Shell& shell) {
    shell.RunFrames(2);
    comms::cImage image;
    EXPECT_TRUE(seams.Renderer() && seams.Renderer()->ReadScreen(image));
    return image;
  }

  std::filesystem::path home_;
  FakePlatform fake_;
};
}  // namespace

TEST_F(ViewSettings, StartUpReadsTheSettingsFileAndAltEnterSwitchesFullScreen) {
  const std::string path = Temp("view-settings-start.xml");
  WriteText(path, "<cSettings>\n <ShowGrid>true</ShowGrid>\n <GridLines>7</GridLines>\n</cSettings>\n");
  ShellSeams plain;
  Shell shell(fake_, plain);
  ASSERT_TRUE(Start(shell, path));
  EXPECT_TRUE(shell.Settings().ShowGrid);
  EXPECT_EQ(shell.Settings().GridLines, 7);
  EXPECT_FALSE(shell.Settings().Wireframe) << "a member the file lacks keeps its default";

  auto key = [&](int k, bool down) {
    PlatformEvent e;
    e.type = down ? PlatformEvent::Type::KeyDown : PlatformEvent::Type::KeyUp;
    e.key = k;
    fake_.Push(e);
  };
  key(keys::Alt, true);
  key(keys::Enter, true);
  key(keys::Enter, false);
  key(keys::Alt, false);
  shell.RunFrames(2);
  EXPECT_TRUE(shell.Settings().FullScreen);
  EXPECT_TRUE(fake_.IsFullScreen());
  key(keys::Enter, true);  // Enter alone does nothing
  shell.RunFrames(1);
  EXPECT_TRUE(fake_.IsFullScreen());
  key(keys::Alt, true);
  key(keys::Enter, true);
  shell.RunFrames(2);
  EXPECT_FALSE(shell.Settings().FullScreen);
  EXPECT_FALSE(fake_.IsFullScreen());
  std::remove(path.c_str());
}

TEST_F(ViewSettings, DefaultStartReadsTheShippedSettingsFromTheDataFolder) {
  ShellSeams plain;
  Shell shell(fake_, plain);
  StartOptions o;
  o.installCrashHandler = false;
  ASSERT_TRUE(shell.Start(o));
  EXPECT_TRUE(shell.Settings().ShowGrid);
  EXPECT_EQ(shell.Settings().GridColor, 0xFF707880u);
}

TEST_F(ViewSettings, MissingSettingsFileLeavesTheDefaults) {
  ShellSeams plain;
  Shell shell(fake_, plain);
  ASSERT_TRUE(Start(shell, Temp("no-such-view-settings.xml")));
  EXPECT_FALSE(shell.Settings().ShowGrid);
  EXPECT_FALSE(shell.Settings().FullScreen);
  shell.RunFrames(1);
  EXPECT_FALSE(fake_.IsFullScreen());
}

TEST_F(ViewSettings, GridWireframeAndClearColourShowInTheHeadlessPicture) {
  std::string why;
  if (!comms::cEglContext::Create(8, 8, &why)) GTEST_SKIP() << "no headless GL context: " << why;
  StartedView view(fake_);
  ViewportSeams& seams = view.seams;
  Shell& shell = view.shell;
  ASSERT_TRUE(Start(shell, Temp("no-such-view-settings.xml")));
  comms::cImage plain = Picture(seams, shell);
  ASSERT_EQ(plain.width, 241);

  // Settings toggled through a settings file, as a user's edited file would.
  const std::string path = Temp("view-settings-grid.xml");
  WriteText(path, "<cSettings><ShowGrid>true</ShowGrid><GridColor>FFFF00FF</GridColor></cSettings>");
  ASSERT_TRUE(shell.Settings().ReadFromFile(path.c_str()));
  comms::cImage grid = Picture(seams, shell);
  int gridPixels = DifferentPixels(plain, grid);
  EXPECT_GT(gridPixels, 300) << "magenta grid lines over the background";
  // The grid is magenta where it shows: some changed pixel is strongly so.
  bool magenta = false;
  for (int y = 0; y < grid.height && !magenta; y++)
    for (int x = 0; x < grid.width && !magenta; x++) {
      const uint8_t* p = grid.Pixel(x, y);
      magenta = p[0] > 200 && p[1] < 60 && p[2] > 200;
    }
  EXPECT_TRUE(magenta);

  WriteText(path, "<cSettings><ShowGrid>false</ShowGrid><Wireframe>true</Wireframe></cSettings>");
  ASSERT_TRUE(shell.Settings().ReadFromFile(path.c_str()));
  // Close to the surface, so that its triangles are some pixels wide and a
  // wireframe shows the background through them.
  const float toEye = seams.Camera().m_ToEye;
  seams.Camera().m_ToEye = toEye * 0.1f;
  comms::cImage wire = Picture(seams, shell);
  shell.Settings().Wireframe = false;
  comms::cImage solid = Picture(seams, shell);
  EXPECT_GT(DifferentPixels(solid, wire), wire.width * wire.height / 10)
      << "the surface drawn as lines lets the background through";
  // Back to solid and back to the start: the picture is the plain one again.
  seams.Camera().m_ToEye = toEye;
  comms::cImage again = Picture(seams, shell);
  EXPECT_LT(DifferentPixels(plain, again), 10);

  shell.Settings().ClearColor.Enabled = true;
  shell.Settings().ClearColor.Color = 0xFF2040C0u;
  comms::cImage cleared = Picture(seams, shell);
  const uint8_t* corner = cleared.Pixel(1, 1);
  EXPECT_NEAR(corner[0], 0x20, 2);
  EXPECT_NEAR(corner[1], 0x40, 2);
  EXPECT_NEAR(corner[2], 0xC0, 2);
  shell.Exit();
  std::remove(path.c_str());
}

TEST_F(ViewSettings, ReloadShadersButtonRecompilesAndTheViewDrawsOn) {
  std::string why;
  if (!comms::cEglContext::Create(8, 8, &why)) GTEST_SKIP() << "no headless GL context: " << why;
  StartedView view(fake_);
  ViewportSeams& seams = view.seams;
  Shell& shell = view.shell;
  ASSERT_TRUE(Start(shell, Temp("no-such-view-settings.xml")));
  comms::cImage before = Picture(seams, shell);
  // The view installed the button's work; pressing it recompiles every
  // shader from its file, and the next picture is the same.
  auto hook = comms::cSettings::SetReloadShadersHook(nullptr);
  ASSERT_TRUE(hook);
  int reloads = 0;
  comms::cSettings::SetReloadShadersHook([&] {
    reloads++;
    hook();
  });
  int i = shell.Settings().FindElement("ReloadShaders");
  ASSERT_GE(i, 0);
  shell.Settings().GetElementClass(i)->Call(&shell.Settings());
  EXPECT_EQ(reloads, 1);
  comms::cImage after = Picture(seams, shell);
  EXPECT_LT(DifferentPixels(before, after), 10);
  comms::cSettings::SetReloadShadersHook(hook);
}
