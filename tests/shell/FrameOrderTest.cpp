// The order of one frame's steps as the seams see them: the scene layer
// before the application frame, the interface layers after the depth clear,
// and the present last; and a frame asked for while the progress bar is up
// does nothing.
#include "ShellFixture.h"

namespace {
struct OrderSeams : RecordingSeams {
  std::vector<std::string> steps;
  void BeginScene() override { steps.push_back("begin"); }
  void SetViewport(int w, int h) override { steps.push_back("viewport " + std::to_string(w) + "x" + std::to_string(h)); }
  void DrawBackground() override { steps.push_back("background"); }
  void ClearDepth() override { steps.push_back("clear depth"); }
  void UpdateRoomAndTool() override { steps.push_back("room"); }
  void EndScene() override { steps.push_back("end"); }
};

struct LayerProbe : comms::cWidget {
  LayerProbe(std::string n, std::vector<std::string>* s) : name(std::move(n)), steps(s) {}
  bool OnKeyDown(int) override { return steps->push_back(name + " key"), false; }
  void OnRender() override { steps->push_back(name); }
  std::string name;
  std::vector<std::string>* steps;
};
}  // namespace

TEST(FrameOrder, StepsInOrder) {
  FakePlatform fake;
  OrderSeams seams;
  Shell shell(fake, seams);
  StartOptions o;
  o.installCrashHandler = false;
  setenv("MORVANE_HOME", (std::filesystem::temp_directory_path() / "morvane-frame-order").c_str(), 1);
  ASSERT_TRUE(shell.Start(o));
  for (int layer : {4, 3, 2, 1, 0}) shell.Layers().Register(layer, new LayerProbe("layer" + std::to_string(layer), &seams.steps));
  PlatformEvent e;
  e.type = PlatformEvent::Type::KeyDown;
  e.key = keys::Tab;
  fake.Push(e);
  seams.steps.clear();
  fake.SetClientSize(800, 600);
  shell.RunFrames(1);
  std::vector<std::string> want = {"begin", "viewport 800x600", "background", "layer4 key", "layer3 key", "layer2 key",
                                   "layer1 key", "layer0 key", "layer0", "room", "clear depth", "layer1", "layer2",
                                   "layer3", "layer4", "end"};
  EXPECT_EQ(seams.steps, want);
  std::filesystem::remove_all(std::filesystem::temp_directory_path() / "morvane-frame-order");
}
