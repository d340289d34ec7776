// A generated panel drawn by the real OpenGL back end on a headless EGL
// context, compared with a stored image. Skips without EGL; on a mismatch the
// frame is written as "golden_tool_panel_actual.png" (the path is in the
// failure message). MORVANE_UPDATE_GOLDEN=1 rewrites the stored image.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <string>

#include "ClassEngine/Enumerator.h"
#include "interchange/IO.h"
#include "interchange/Image.h"
#include "interface/ClassPanel.h"
#include "interface/TextTable.h"
#include "interface/UiContext.h"
#include "interface/WidgetTree.h"
#include "render/EglContext.h"
#include "render/RenderGL.h"

namespace {
// This test's folder: beside the data folder that ctest names (a compiler
// cache may leave __FILE__ relative to the build folder).
std::string SourceFolder() {
  if (const char* d = std::getenv("MORVANE_DATA")) return std::string(d) + "/../tests/interface";
  std::string here = __FILE__;
  return here.substr(0, here.rfind('/'));
}
std::string DataFolder() {
  if (const char* d = std::getenv("MORVANE_DATA")) return d;
  std::string here = __FILE__;
  return here.substr(0, here.rfind("/tests/")) + "/data";
}

class GoldenTool : public BaseClass {
 public:
  bool Symmetry = true;
  float Strength = 0.35f;
  int Steps = 12;
  int Mode = 1;
  uint32_t Tint = 0xffc04020u;
  float Size = 2.5f;
  _str Title = "Golden";
  MV_CLASS(GoldenTool, BaseClass) {
    AddDelimiter("SECTION");
    Member("_bool", Symmetry, "Symmetry");
    Member("CtrlFSlider", Strength, "Strength", NewFloatSliderRange(0, 1));
    Member("CtrlISlider", Steps, "Steps", NewIntSliderRange(0, 24));
    Member("_index", Mode, "Method", Methods());
    Member("_color", Tint, "Tint");
    AddDelimiter("");
    Member("_float", Size, "Size");
    Member("_str", Title, "Title");
    Method(&GoldenTool::Apply, "Apply");
  }
  static Enumerator* Methods() {
    Enumerator* e = GetEnumerator("GOLDEN_METHODS");
    if (e->GetStoredAmount() == 0) {
      e->Add("ABF");
      e->Add("LSCM");
    }
    return e;
  }
  void Apply() {}
};

// Max channel difference of two images of the same size; counts pixels over `tolerance`.
int Differing(const comms::cImage& a, const comms::cImage& b, int tolerance) {
  int n = 0, bpa = comms::cImage::BytesPerPixel(a.format), bpb = comms::cImage::BytesPerPixel(b.format);
  for (int y = 0; y < a.height; ++y)
    for (int x = 0; x < a.width; ++x) {
      const uint8_t* p = a.Pixel(x, y);
      const uint8_t* q = b.Pixel(x, y);
      int d = 0;
      for (int c = 0; c < 3; ++c) d = std::max(d, std::abs(int(p[std::min(c, bpa - 1)]) - int(q[std::min(c, bpb - 1)])));
      n += d > tolerance;
    }
  return n;
}

// A headless OpenGL device that widgets draw through, for one test.
class PanelDevice {
 public:
  ~PanelDevice() { Ui().Render = nullptr; }
  // Empty when the device is ready, else why not (the test skips).
  std::string Open(int w, int h) {
    std::string why;
    context_ = comms::cEglContext::Create(w, h, &why);
    if (!context_) return "no headless OpenGL context: " + why;
    render_ = std::make_unique<comms::cRenderGL>();
    render_->DataFolder = DataFolder();
    if (!render_->Init(context_.get(), 1)) return "OpenGL 3.3 core not available";
    if (!render_->BeginFrame()) return "no frame";
    Ui().Render = render_.get();
    Ui().Scale = 1;
    if (!Ui().Font.Ready() && !Ui().LoadFont()) return "no font";
    w_ = w, h_ = h;
    return "";
  }
  // One frame of the tree over a dark clear; rows come bottom first.
  bool Draw(WidgetTree& tree, comms::cImage& frame) {
    render_->SetViewPort(comms::cRect(0, 0, float(w_), float(h_)));
    render_->Clear(true, true, 0xff101418u, 1.0f);
    tree.Frame(w_, h_, 0);
    render_->Flush2D();
    return render_->ReadScreen(frame);
  }

 private:
  std::unique_ptr<comms::cEglContext> context_;
  std::unique_ptr<comms::cRenderGL> render_;
  int w_ = 0, h_ = 0;
};
}  // namespace

TEST(GoldenPanelTest, GeneratedPanelLooksAsStored) {
  constexpr int kW = 320, kH = 240;
  PanelDevice device;
  if (std::string why = device.Open(kW, kH); !why.empty()) GTEST_SKIP() << why;

  // Keys show as themselves, so edits of the shipped words leave the image alone.
  TextTable words("golden_unused_text.xml", "golden_no_data");
  SetTextTable(&words);
  GoldenTool tool;
  WidgetTree tree;
  auto* scroll = new ScrollPanel("GOLDEN_PANEL");
  scroll->X = 10, scroll->Y = 10, scroll->W = 300, scroll->H = 220;
  scroll->PadLeft = scroll->PadTop = scroll->PadRight = 4;
  auto* rows = new ClassPanel;
  rows->W = 284;
  rows->Object = &tool;
  rows->Rebuild();
  scroll->SetContent(rows);
  tree.Root().AddChild(scroll);

  comms::cImage frame;
  ASSERT_TRUE(device.Draw(tree, frame));
  SetTextTable(nullptr);

  std::string golden = SourceFolder() + "/golden/tool_panel.png";
  comms::cImage expected;
  if (std::getenv("MORVANE_UPDATE_GOLDEN")) {
    ASSERT_TRUE(comms::cIO::SaveImage(golden, frame));
    GTEST_SKIP() << "golden image written to " << golden;
  }
  ASSERT_TRUE(comms::cIO::LoadImage(golden, expected)) << "missing " << golden;
  ASSERT_EQ(expected.width, frame.width);
  ASSERT_EQ(expected.height, frame.height);
  // Drivers may round a channel differently at glyph edges; more than a few
  // hundred pixels off by more than 8 levels is a real change.
  int differing = Differing(frame, expected, 8);
  if (differing > 200) comms::cIO::SaveImage("golden_tool_panel_actual.png", frame);
  EXPECT_LE(differing, 200) << "frame written as " << comms::cIO::ResolvePath("golden_tool_panel_actual.png");
}

// A panel built under one theme and drawn under another takes the new
// theme's colours: fields, labels and section strips name theme slots, not
// the colours that stood when the panel was made.
TEST(GoldenPanelTest, APanelBuiltInOneThemeDrawsInTheNext) {
  PanelDevice device;
  if (std::string why = device.Open(320, 240); !why.empty()) GTEST_SKIP() << why;
  const Theme dark = Ui().Colors;
  GoldenTool tool;
  WidgetTree tree;
  auto* rows = new ClassPanel;
  rows->X = 10, rows->Y = 10, rows->W = 284;
  rows->Object = &tool;
  rows->Rebuild();
  tree.Root().AddChild(rows);
  ClassRow* size = nullptr;
  for (BaseWidget* w : rows->Children)
    if (auto* r = dynamic_cast<ClassRow*>(w); r && r->MemberName == "Size") size = r;
  ASSERT_TRUE(size && size->Field);

  // A light theme after the panel was made.
  Theme light = dark;
  light.Field = 0xfff0f0e8u, light.Text = 0xff101010u, light.DimText = 0xff606060u, light.Panel = 0xffd8d8d0u;
  Ui().Colors = light;
  comms::cImage frame;
  const bool drawn = device.Draw(tree, frame);
  Ui().Colors = dark;
  ASSERT_TRUE(drawn);
  // The left of the field, clear of its centred text and its frame; the
  // frame's rows come bottom first.
  const int x = int(size->Field->AbsX) + 3, y = int(size->Field->AbsY + size->Field->H / 2);
  const uint8_t* p = frame.Pixel(x, frame.height - 1 - y);
  const int bpp = comms::cImage::BytesPerPixel(frame.format);
  ASSERT_GE(bpp, 3);
  const uint32_t want = light.Field;
  for (int c = 0; c < 3; ++c)
    EXPECT_NEAR(p[c], int((want >> (8 * (2 - c))) & 255), 2) << "channel " << c << " at " << x << "," << y;
}
