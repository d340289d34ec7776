// Docks: windows docked by scripted drags, a layout captured, saved, changed,
// reloaded and applied gives the same rectangles; switching rooms saves one
// page and loads the other; Shift keeps a drop floating.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <map>

#include "ClassEngine/UserPaths.h"
#include "WidgetTestKit.h"
#include "interface/Docks.h"
#include "platform/Keys.h"

namespace fs = std::filesystem;

namespace {
struct Rect {
  float x, y, w, h;
  bool operator==(const Rect& o) const { return x == o.x && y == o.y && w == o.w && h == o.h; }
};

class DocksTest : public ::testing::Test {
 protected:
  void SetUp() override {
    dir_ = fs::temp_directory_path() / ("morvane-docks-" + std::to_string(getpid()) + "-" +
                                        ::testing::UnitTest::GetInstance()->current_test_info()->name());
    fs::create_directories(dir_);
    std::string root = dir_.string() + "/";
    SetUserPathResolver([root](const std::string& rel) {
      fs::create_directories(fs::path(root + rel).parent_path());
      return root + rel;
    });
    docks = std::make_unique<Docks>(ui.tree.Root(), 0, 34, 1000, 600);
    TheDocks() = docks.get();
    for (const char* n : {"LAYERS", "COLORS", "BRUSHES"}) {
      auto* w = new PanelWidget;
      w->Name = n;
      windows[n] = w;
    }
    layers = docks->Float(windows["LAYERS"], 300, 200, 220, 300);
    colors = docks->Float(windows["COLORS"], 500, 250, 200, 200);
    brushes = docks->Float(windows["BRUSHES"], 100, 300, 180, 250);
    ui.Frame();
  }
  void TearDown() override {
    TheDocks() = nullptr;
    SetUserPathResolver(nullptr);
    fs::remove_all(dir_);
  }
  // A drag of a header by its caption from its middle to (x, y).
  void DragHeader(DockableHeader* h, float x, float y, bool shift = false) {
    ui.Frame();  // the user saw it where it is
    float sx = h->AbsX + h->W / 2, sy = h->AbsY + 12;
    if (shift) ui.tree.OnKey(kEvKeyDown, keys::Shift);
    ui.tree.OnPointer(kEvMove, sx, sy);
    ui.tree.OnPointer(kEvLDown, sx, sy);
    ui.tree.OnPointer(kEvMove, (sx + x) / 2, (sy + y) / 2);
    ui.tree.OnPointer(kEvMove, x, y);
    ui.tree.OnPointer(kEvLUp, x, y);
    if (shift) ui.tree.OnKey(kEvKeyUp, keys::Shift);
    ui.Frame();
  }
  std::map<std::string, Rect> Rects() {
    ui.Frame();
    std::map<std::string, Rect> r;
    for (auto& [n, w] : windows) r[n] = {w->AbsX, w->AbsY, w->W, w->H};
    DockSpace* v = docks->ViewLeaf();
    r["view"] = v ? Rect{v->AbsX, v->AbsY, v->W, v->H} : Rect{-1, -1, -1, -1};
    return r;
  }
  DockableHeader* HeaderOf(const char* name) { return dynamic_cast<DockableHeader*>(windows[name]->ParentWidget()); }

  UiScope ui;
  fs::path dir_;
  std::unique_ptr<Docks> docks;
  std::map<std::string, BaseWidget*> windows;
  DockableHeader *layers = nullptr, *colors = nullptr, *brushes = nullptr;
};
}  // namespace

TEST_F(DocksTest, DragsDockBesideTheViewAndJoinAsTabs) {
  DragHeader(layers, 995, 300);  // the right edge of the work area
  ASSERT_EQ(layers->ParentWidget(), docks->DockRoot());
  EXPECT_EQ(docks->DockRoot()->Ordering, 3);
  EXPECT_FALSE(layers->IsPopup);
  EXPECT_EQ(layers->AbsX + layers->W, 1000.0f) << "docked against the right edge";
  DockSpace* view = docks->ViewLeaf();
  ASSERT_NE(view, nullptr);
  EXPECT_EQ(view->W, 1000.0f - layers->W) << "the view takes the rest";
  // COLORS onto the caption of LAYERS: a tab of the same header.
  DragHeader(colors, layers->AbsX + 40, layers->AbsY + 20);
  EXPECT_EQ(HeaderOf("COLORS"), layers);
  EXPECT_STREQ(layers->Current.cpchar(), "COLORS");
  EXPECT_TRUE(windows["COLORS"]->Visible());
  EXPECT_FALSE(windows["LAYERS"]->Visible()) << "one tab shows at a time";
  // With Shift held nothing docks.
  DragHeader(brushes, 5, 300, true);
  EXPECT_TRUE(brushes->IsPopup);
  EXPECT_EQ(brushes->ParentWidget(), &ui.tree.Root());
  // Let go over the middle of the view, on its own caption: it stays as it was.
  DragHeader(brushes, 400, 300, true);
  Rect before{brushes->PopupX, brushes->PopupY, brushes->W, brushes->H};
  EXPECT_FALSE(docks->Drop(brushes, docks->FindTarget(brushes, brushes->AbsX + 20, brushes->AbsY + 15)));
  EXPECT_EQ((Rect{brushes->PopupX, brushes->PopupY, brushes->W, brushes->H}), before);
}

TEST_F(DocksTest, ALayoutSavedAndAppliedGivesTheSameRectangles) {
  DragHeader(layers, 995, 300);
  DragHeader(colors, layers->AbsX + 40, layers->AbsY + 20);
  layers->ShowTab("LAYERS");
  DragHeader(brushes, 5, 300);  // the left edge: across already, so it goes first
  ASSERT_EQ(brushes->ParentWidget(), docks->DockRoot());
  const auto saved = Rects();
  ASSERT_TRUE(docks->SavePage(1));
  // Scripted changes: undock both and drop one as a tab of the other.
  DragHeader(brushes, 500, 300);
  DragHeader(layers, 400, 250);
  DragHeader(brushes, layers->AbsX + 40, layers->AbsY + 15);
  ASSERT_NE(Rects(), saved);
  ASSERT_TRUE(docks->LoadPage(1));
  const auto loaded = Rects();
  for (const auto& [name, r] : saved) {
    EXPECT_EQ(loaded.at(name).x, r.x) << name;
    EXPECT_EQ(loaded.at(name).y, r.y) << name;
    EXPECT_EQ(loaded.at(name).w, r.w) << name;
    EXPECT_EQ(loaded.at(name).h, r.h) << name;
  }
  EXPECT_STREQ(HeaderOf("LAYERS")->Current.cpchar(), "LAYERS") << "the current tab is kept";
  EXPECT_TRUE(fs::exists(dir_ / "Temp/Prev/page_1.xml"));
}

TEST_F(DocksTest, SwitchingRoomsSavesOnePageAndLoadsTheOther) {
  docks->SwitchRoom(1);
  DragHeader(layers, 995, 300);
  const auto room1 = Rects();
  docks->SwitchRoom(2);  // no page for room 2 yet: all view, windows float
  EXPECT_TRUE(fs::exists(dir_ / "Temp/page_1.xml"));
  EXPECT_TRUE(docks->DockRoot()->IsView());
  EXPECT_NE(HeaderOf("LAYERS"), nullptr);
  EXPECT_TRUE(HeaderOf("LAYERS")->IsPopup) << "a window no layout names stays, floating";
  DragHeader(HeaderOf("LAYERS"), 5, 300);
  ASSERT_EQ(HeaderOf("LAYERS")->ParentWidget(), docks->DockRoot());
  docks->SwitchRoom(1);
  EXPECT_TRUE(fs::exists(dir_ / "Temp/page_2.xml"));
  EXPECT_EQ(Rects().at("LAYERS").x, room1.at("LAYERS").x);
  docks->SwitchRoom(2);
  EXPECT_EQ(Rects().at("LAYERS").x, 0.0f) << "room 2 has it on the left";
}

TEST_F(DocksTest, ALayoutNamingAWindowTwiceGivesItToTheFirstHeader) {
  DocksLayout layout;
  layout.Ordering = 1;
  for (int i = 0; i < 2; ++i) {
    auto* h = new DockLayoutElement;
    h->Ordering = -2;
    h->Width = 150 + float(i), h->Height = 300;
    auto* n = new DockWindowName;
    n->Name = "LAYERS";
    h->WindowsNames.Add(n);
    auto* ghost = new DockWindowName;
    ghost->Name = "NO_SUCH_WINDOW";
    h->WindowsNames.Add(ghost);
    layout.SubDocks.Add(h);
  }
  layout.SubDocks.Add(new DockLayoutElement);  // the view
  docks->Apply(layout);
  ASSERT_NE(HeaderOf("LAYERS"), nullptr);
  EXPECT_EQ(HeaderOf("LAYERS")->W, 150.0f);
  EXPECT_EQ(HeaderOf("LAYERS")->ParentWidget(), docks->DockRoot());
  int headers = 0;
  for (BaseWidget* c : docks->DockRoot()->Children) headers += dynamic_cast<DockableHeader*>(c) != nullptr;
  EXPECT_EQ(headers, 1) << "the second header had nothing and is gone";
}

namespace {
Rect RectOf(const BaseWidget* w) { return {w->AbsX, w->AbsY, w->W, w->H}; }

DockBase* OnlyDockBase(BaseWidget& root) {
  DockBase* found = nullptr;
  for (BaseWidget* c : root.Children)
    if (auto* b = dynamic_cast<DockBase*>(c); b && !b->Has(kWfDeleted)) {
      if (found) return nullptr;
      found = b;
    }
  return found;
}
}  // namespace

TEST_F(DocksTest, AHeaderDroppedOnTheSideOfAFloatingOneSharesADockBaseWithIt) {
  // COLORS let go on the right strip of the floating LAYERS (300, 200, 220 x 300);
  // the highlight shows where it will lie.
  ui.Frame();
  const DockTarget aim = docks->FindTarget(colors, 300 + 220 - 8, 350);
  ASSERT_EQ(aim.Target, layers);
  EXPECT_EQ(aim.Side, 3);
  EXPECT_EQ((Rect{aim.Rect[0], aim.Rect[1], aim.Rect[2], aim.Rect[3]}), (Rect{520, 200, 200, 300}));
  DragHeader(colors, 300 + 220 - 8, 350);
  DockBase* base = OnlyDockBase(ui.tree.Root());
  ASSERT_NE(base, nullptr);
  EXPECT_STREQ(base->Name.cpchar(), "DOCKBASE");
  ASSERT_NE(base->Space(), nullptr);
  EXPECT_EQ(base->Space()->Ordering, 3);
  // 6 pixels larger on each side than the two: LAYERS where it was, COLORS
  // (200 wide) on its right at its height.
  EXPECT_EQ(RectOf(base), (Rect{294, 194, 220 + 200 + 12, 312}));
  EXPECT_EQ(RectOf(base->Space()), (Rect{300, 200, 420, 300}));
  ASSERT_EQ(HeaderOf("LAYERS")->ParentWidget(), base->Space());
  ASSERT_EQ(HeaderOf("COLORS")->ParentWidget(), base->Space());
  EXPECT_FALSE(HeaderOf("LAYERS")->IsPopup);
  EXPECT_EQ(RectOf(HeaderOf("LAYERS")), (Rect{300, 200, 220, 300})) << "the target keeps its place";
  EXPECT_EQ(RectOf(HeaderOf("COLORS")), (Rect{520, 200, 200, 300})) << "the dragged one on the side it was let go";
  EXPECT_EQ(RectOf(windows["COLORS"]), (Rect{520, 232, 200, 268}));
  EXPECT_TRUE(docks->DockRoot()->IsView()) << "the dock tree is untouched";

  // The page round trip, with scripted changes between, leaves it as it was.
  DragHeader(brushes, 5, 300);
  const auto before = Rects();
  ASSERT_TRUE(docks->SavePage(1));
  DragHeader(brushes, 700, 560);
  ASSERT_NE(Rects(), before);
  ASSERT_TRUE(docks->LoadPage(1));
  EXPECT_EQ(Rects(), before);
  base = OnlyDockBase(ui.tree.Root());
  ASSERT_NE(base, nullptr);
  EXPECT_EQ(RectOf(base), (Rect{294, 194, 432, 312}));
  DocksLayout layout;
  docks->Capture(layout);
  docks->Apply(layout);
  EXPECT_EQ(Rects(), before);

  // A third header on the right edge of its space: the frame grows to fit.
  DragHeader(HeaderOf("BRUSHES"), 715, 400);
  ASSERT_EQ(HeaderOf("BRUSHES")->ParentWidget(), base->Space());
  EXPECT_EQ(RectOf(HeaderOf("BRUSHES")).x, 720.0f);
  EXPECT_EQ(base->W, 420 + HeaderOf("BRUSHES")->W + 12);
  // Dragged out one by one: with one header left the frame goes and it floats.
  DragHeader(HeaderOf("BRUSHES"), 800, 600);
  DragHeader(HeaderOf("COLORS"), 800, 100);
  ui.Frame();
  EXPECT_EQ(OnlyDockBase(ui.tree.Root()), nullptr);
  EXPECT_TRUE(HeaderOf("LAYERS")->IsPopup);
  EXPECT_EQ(HeaderOf("LAYERS")->ParentWidget(), &ui.tree.Root());
  EXPECT_EQ(RectOf(HeaderOf("LAYERS")), (Rect{300, 200, 220, 300})) << "floats where it was";
}

TEST_F(DocksTest, ADropOnTheTopOrLeftOfAFloatingHeaderPutsTheDraggedOneFirst) {
  DragHeader(colors, 305, 350);  // the left strip of LAYERS
  DockBase* base = OnlyDockBase(ui.tree.Root());
  ASSERT_NE(base, nullptr);
  EXPECT_EQ(RectOf(base), (Rect{94, 194, 432, 312})) << "grown leftwards";
  EXPECT_EQ(RectOf(HeaderOf("COLORS")), (Rect{100, 200, 200, 300}));
  EXPECT_EQ(RectOf(HeaderOf("LAYERS")), (Rect{300, 200, 220, 300}));
  // COLORS out again, against the screen's bottom edge, and BRUSHES let go
  // on its top strip: above it. The frame, 6 pixels larger, is pulled
  // inside the screen as every floating window is.
  DragHeader(HeaderOf("COLORS"), 700, 560);
  ui.Frame();
  ASSERT_EQ(OnlyDockBase(ui.tree.Root()), nullptr);
  const Rect t = RectOf(HeaderOf("COLORS"));
  ASSERT_EQ(t.y + t.h, 720.0f);
  DragHeader(brushes, t.x + t.w / 2, t.y + 4);
  base = OnlyDockBase(ui.tree.Root());
  ASSERT_NE(base, nullptr);
  const float brushesH = 250;
  EXPECT_EQ(RectOf(base), (Rect{t.x - 6, 720 - t.h - brushesH - 12, t.w + 12, t.h + brushesH + 12}));
  EXPECT_EQ(RectOf(HeaderOf("BRUSHES")), (Rect{t.x, base->AbsY + 6, t.w, brushesH}));
  EXPECT_EQ(RectOf(HeaderOf("COLORS")), (Rect{t.x, base->AbsY + 6 + brushesH, t.w, t.h}));
}
