// The paint room's layer panel is generated from the scene's layer stack:
// each layer's visibility, opacity and blend mode are rows, the commands are
// buttons, and an edit in the panel recomposes the painted faces.
#include <gtest/gtest.h>

#include <functional>

#include "WidgetTestKit.h"
#include "interface/ClassPanel.h"
#include "paint/scene/PaintScene.h"
#include "paint/scene/SceneImport.h"
#include "paint/undo/LayersUndo.h"
#include "paint/undo/UndoStack.h"
#include "tests/paint/undo/UndoTestFolder.h"

namespace {

// Rows of the panel at any depth, by member name, in panel order.
void CollectRows(BaseWidget* w, const char* member, std::vector<ClassRow*>& out) {
  for (BaseWidget* c : w->Children) {
    if (auto* r = dynamic_cast<ClassRow*>(c); r && r->MemberName == member) out.push_back(r);
    CollectRows(c, member, out);
  }
}

template <class T>
T* EditorIn(ClassRow* r) {
  for (BaseWidget* w : r->Children)
    if (auto* t = dynamic_cast<T*>(w)) return t;
  return nullptr;
}

struct LayerPanelFixture : ::testing::Test {
  UiScope ui;
  PaintScene scene;
  ClassPanel* panel = nullptr;
  int top = 0;
  void SetUp() override {
    comms::cMesh quad;
    quad.positions = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}};
    quad.BeginPolygon(4, 0, -1);
    for (int i = 0; i < 4; i++) quad.AddCorner(i, -1, -1);
    DPSettings s;
    s.InitialSubdivision = 1;
    ASSERT_TRUE(ImportMeshIntoScene(scene, quad, PaintImportMode::MicroVertex, s).ok);
    top = scene.NewLayer(true);
    FaceLayer* l = scene.GetFaceLayer(0, top, true);
    for (int i = 0; i < 4; i++) l->Data[i].Color = 0x00ff0000, l->Data[i].Opacity = 1;
    ComposeAll();
    panel = ui.tree.Root().Add(new ClassPanel);
    panel->W = 360;
    panel->Object = &scene.LayerPanel;
    panel->Rebuild();
    ui.tree.Layout();
  }
  void ComposeAll() { scene.ComposeAll(); }
  std::vector<ClassRow*> Rows(const char* member) {
    std::vector<ClassRow*> rows;
    CollectRows(panel, member, rows);
    return rows;
  }
};

// An undo stack the layer panel records into, for one test.
struct PanelUndo {
  UndoTestFolder Folder;
  UndoStack Stack{Folder.Path};
  explicit PanelUndo(PaintScene& scene) {
    Stack.FreeBytes = [] { return (int64_t)1 << 40; };
    Stack.RegisterUndoMaker(std::make_unique<LayersUndo>(Stack, scene));
    SetLayerUndoStack(&Stack);
    scene.LayerPanel.Settle();
  }
  ~PanelUndo() { SetLayerUndoStack(nullptr); }
};

}  // namespace

TEST_F(LayerPanelFixture, EveryLayerHasItsRowsAndThePanelItsCommands) {
  for (const char* member : {"Visible", "ColorTransparency", "ColorOp", "Name"}) {
    std::vector<ClassRow*> rows = Rows(member);
    EXPECT_EQ(rows.size(), 2u) << member;  // one per layer
  }
  ASSERT_EQ(Rows("ColorOp").size(), 2u);
  ComboBox* modes = EditorIn<ComboBox>(Rows("ColorOp")[1]);
  ASSERT_NE(modes, nullptr);
  EXPECT_EQ(modes->Items.size(), (size_t)ColorOps::kCount);
  EXPECT_NE(EditorIn<SimpleSlider>(Rows("ColorTransparency")[1]), nullptr);
  for (const char* command : {"ADD_NEW_LAYER_HINT", "DELETE_LAYER_HINT", "MOVE_LAYER_UP_HINT", "MOVE_LAYER_DOWN_HINT"})
    EXPECT_EQ(Rows(command).size(), 1u) << command;
}

TEST_F(LayerPanelFixture, HidingALayerInThePanelRecomposesTheFace) {
  ASSERT_EQ(scene.Faces[0].Grid[0].Color & 0xffffff, 0xff0000u);
  CheckBox* visible = EditorIn<CheckBox>(Rows("Visible")[1]);
  ASSERT_NE(visible, nullptr);
  ui.Click(visible->AbsX + 3, visible->AbsY + 3);
  EXPECT_FALSE(scene.GetLayerByID(top)->Visible);
  EXPECT_EQ(scene.Faces[0].Grid[0].Color, 0x00808080u);  // back to the unpainted default
  EXPECT_FALSE(scene.DirtyFaces.empty());                // waiting to be drawn
}

TEST_F(LayerPanelFixture, CommandsAddMoveAndDeleteTheCurrentLayer) {
  scene.LayerPanel.AddLayer();
  const int added = scene.CurrentLayer;
  EXPECT_EQ(scene.Layers.GetAmount(), 3);
  EXPECT_EQ(scene.OrderOf(added), 3);
  scene.LayerPanel.MoveCurrentDown();
  EXPECT_EQ(scene.OrderOf(added), 2);
  scene.LayerPanel.MoveCurrentDown();  // stops above layer 0
  EXPECT_EQ(scene.OrderOf(added), 2);
  scene.LayerPanel.DeleteCurrent();
  EXPECT_EQ(scene.Layers.GetAmount(), 2);
  EXPECT_EQ(scene.CurrentLayer, 0);
  scene.LayerPanel.DeleteCurrent();  // the bottom layer stays
  EXPECT_EQ(scene.Layers.GetAmount(), 2);
}

TEST_F(LayerPanelFixture, UndoGivesBackWhatTheRowsChangedOneEditAtATime) {
  // A row writes the member before the panel hears of it; undo must still
  // bring back the value from before each edit.
  PanelUndo undo(scene);
  UndoStack& stack = undo.Stack;
  const std::string start = LayerStackBytes(scene);
  const uint32_t red = scene.Faces[0].Grid[0].Color;

  ClassRow* mode = Rows("ColorOp")[1];  // what the combo box does on a pick
  *static_cast<int*>(mode->Ptr) = ColorOps::Multiply;
  mode->Changed();
  const std::string multiplied = LayerStackBytes(scene);
  ASSERT_TRUE(Rows("ColorTransparency")[1]->CommitText("0.375"));
  EXPECT_EQ(scene.GetLayerByID(top)->ColorTransparency, 0.375f);
  const std::string faded = LayerStackBytes(scene);
  CheckBox* visible = EditorIn<CheckBox>(Rows("Visible")[1]);
  ui.Click(visible->AbsX + 3, visible->AbsY + 3);
  ASSERT_FALSE(scene.GetLayerByID(top)->Visible);
  const std::string hidden = LayerStackBytes(scene);
  const uint32_t hiddenColour = scene.Faces[0].Grid[0].Color;

  ASSERT_TRUE(stack.Undo());
  EXPECT_EQ(LayerStackBytes(scene), faded);
  ASSERT_TRUE(stack.Undo());
  EXPECT_EQ(LayerStackBytes(scene), multiplied);
  EXPECT_EQ(scene.GetLayerByID(top)->ColorOp, ColorOps::Multiply);
  ASSERT_TRUE(stack.Undo());
  EXPECT_EQ(LayerStackBytes(scene), start);
  EXPECT_EQ(scene.GetLayerByID(top)->ColorOp, ColorOps::LOP_STANDART_BLEND);
  EXPECT_EQ(scene.Faces[0].Grid[0].Color, red) << "undo recomposes what the layer covers";
  EXPECT_FALSE(stack.Undo()) << "three edits, three records";

  for (int i = 0; i < 3; ++i) ASSERT_TRUE(stack.Redo());
  EXPECT_EQ(LayerStackBytes(scene), hidden);
  EXPECT_EQ(scene.Faces[0].Grid[0].Color, hiddenColour);
}

TEST_F(LayerPanelFixture, AStaleSettledStackRecordsNothing) {
  // Layers added behind the panel's back: the settled copy no longer holds
  // the same layers, and an edit must not bring that old stack back.
  PanelUndo undo(scene);
  UndoStack& stack = undo.Stack;
  scene.NewLayer(true);
  panel->Rebuild();
  ClassRow* mode = Rows("ColorOp")[1];
  const int edited = static_cast<OneLayerInfo*>(mode->Owner)->LayerID;
  *static_cast<int*>(mode->Ptr) = ColorOps::Screen;
  mode->Changed();
  EXPECT_FALSE(stack.Undo());
  EXPECT_EQ(scene.Layers.GetAmount(), 3);
  // The edit settled the stack: the next one records.
  *static_cast<int*>(mode->Ptr) = ColorOps::Multiply;
  mode->Changed();
  ASSERT_TRUE(stack.Undo());
  EXPECT_EQ(scene.Layers.GetAmount(), 3);
  EXPECT_EQ(scene.GetLayerByID(edited)->ColorOp, ColorOps::Screen);
}

TEST_F(LayerPanelFixture, ASliderDragAClickAndATypedValueAreOneUndoStepEach) {
  PanelUndo undo(scene);
  UndoStack& stack = undo.Stack;
  SimpleSlider* slider = EditorIn<SimpleSlider>(Rows("ColorTransparency")[1]);
  ASSERT_NE(slider, nullptr);
  const float y = slider->AbsY + slider->H / 2;
  auto at = [&](float t) { return slider->AbsX + slider->W * t; };
  const std::string start = LayerStackBytes(scene);
  const uint32_t red = scene.Faces[0].Grid[0].Color;

  // A drag of many steps, press to release, through the router.
  ui.tree.OnPointer(kEvLDown, at(0.9f), y);
  for (int i = 0; i < 40; ++i) ui.tree.OnPointer(kEvMove, at(0.9f - 0.02f * i), y);
  ui.tree.OnPointer(kEvLUp, at(0.12f), y);
  ASSERT_NEAR(scene.GetLayerByID(top)->ColorTransparency, 0.12f, 0.01f);
  EXPECT_EQ(stack.UndoPosition, 1);
  const std::string dragged = LayerStackBytes(scene);
  const uint32_t draggedColour = scene.Faces[0].Grid[0].Color;
  ASSERT_NE(draggedColour, red);

  // A single click, then a typed value.
  ui.Click(at(0.5f), y);
  EXPECT_EQ(stack.UndoPosition, 2);
  const std::string clicked = LayerStackBytes(scene);
  ASSERT_TRUE(Rows("ColorTransparency")[1]->CommitText("0.25"));
  EXPECT_EQ(stack.UndoPosition, 3);

  ASSERT_TRUE(stack.Undo());
  EXPECT_EQ(LayerStackBytes(scene), clicked);
  ASSERT_TRUE(stack.Undo());
  EXPECT_EQ(LayerStackBytes(scene), dragged);
  ASSERT_TRUE(stack.Undo());
  EXPECT_EQ(LayerStackBytes(scene), start) << "one undo takes the whole drag back";
  EXPECT_EQ(scene.Faces[0].Grid[0].Color, red);
  EXPECT_FALSE(stack.Undo());
  ASSERT_TRUE(stack.Redo());
  EXPECT_EQ(LayerStackBytes(scene), dragged);
  EXPECT_EQ(scene.Faces[0].Grid[0].Color, draggedColour);
}

TEST_F(LayerPanelFixture, UndoWaitsWhileASliderIsHeld) {
  PanelUndo undo(scene);
  UndoStack& stack = undo.Stack;
  SimpleSlider* slider = EditorIn<SimpleSlider>(Rows("ColorTransparency")[1]);
  ASSERT_NE(slider, nullptr);
  const float y = slider->AbsY + slider->H / 2;
  const std::string start = LayerStackBytes(scene);
  ui.tree.OnPointer(kEvLDown, slider->AbsX + slider->W * 0.3f, y);
  ui.tree.OnPointer(kEvMove, slider->AbsX + slider->W * 0.4f, y);
  const std::string held = LayerStackBytes(scene);
  ASSERT_NE(held, start);
  // Ctrl+Z with the button still down: the rows point into the layers an
  // undo would replace, so nothing happens until the release.
  EXPECT_FALSE(stack.Undo());
  EXPECT_FALSE(stack.Redo());
  EXPECT_EQ(LayerStackBytes(scene), held);
  ui.tree.OnPointer(kEvMove, slider->AbsX + slider->W * 0.6f, y);
  ui.tree.OnPointer(kEvLUp, slider->AbsX + slider->W * 0.6f, y);
  ASSERT_TRUE(stack.Undo());
  EXPECT_EQ(LayerStackBytes(scene), start);
  EXPECT_FALSE(stack.Undo());
}
