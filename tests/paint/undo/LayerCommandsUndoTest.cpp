// The layer panel's commands write their record before they act: undoing a
// delete brings the layer back with every sample, undoing an add removes the
// layer and what it held, a reorder and a change of blending come back, and
// redo repeats each. A stack that is not installed records nothing.
#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <iterator>
#include <vector>

#include "../PaintMeshes.h"
#include "PaintPicture.h"
#include "SamePicture.h"
#include "ClassEngine/xml/XmlNode.h"
#include "paint/GeneralPen.h"
#include "paint/layers/LayerStack.h"
#include "paint/PenShapes.h"
#include "paint/stroke/PaintDabs.h"
#include "paint/undo/LayersUndo.h"
#include "paint/undo/PaintStrokeUndo.h"
#include "paint/undo/UndoStack.h"
#include "paint/undo/UndoTestFolder.h"

namespace {
struct LayerUndoFixture : ::testing::Test {
  GeneralPenSaver saved;
  UndoTestFolder folder;
  UndoStack stack{folder.Path};
  PaintScene scene;
  SimplePen shape;
  int a = 0, b = 0;

  LayerUndoFixture() {
    GeneralPen::Reset();
    GeneralPen::CurrentPenPtr = &shape;
    GeneralPen::DrawColor = true;
    GeneralPen::DeepDegree = 0.3f;
    stack.FreeBytes = [] { return (int64_t)1 << 40; };
    stack.RegisterUndoMaker(std::make_unique<SurfaceUndo>(stack, scene));
    stack.RegisterUndoMaker(std::make_unique<LayersUndo>(stack, scene));
    EXPECT_TRUE(ImportMeshIntoScene(scene, paintmeshes::Sheet(4, 3), PaintImportMode::MicroVertex,
                                    paintmeshes::Grid(3)).ok);
    a = scene.NewLayer(true);
    Paint({1.2f, 1.5f, 0});
    b = scene.NewLayer(true);
    Paint({2.0f, 1.4f, 0});
    SetLayerUndoStack(&stack);
  }
  ~LayerUndoFixture() override { SetLayerUndoStack(nullptr); }
  void Paint(comms::cVec3 at) {
    PaintDabs dabs(scene);
    dabs.Begin(3);
    PenHit h;
    h.Pos = at;
    h.Face = (int)at.y * 4 + (int)at.x;
    h.WorldRadius = 0.9f;
    dabs.Dab(h);
    dabs.End();
  }
};
}  // namespace

TEST_F(LayerUndoFixture, DeleteComesBackWithEverySample) {
  scene.CurrentLayer = a;  // a selection, not a step: the picture comes after it
  const std::string before = PaintPicture(scene);
  scene.LayerPanel.DeleteCurrent();
  const std::string after = PaintPicture(scene);
  ASSERT_EQ(scene.OrderOf(a), 0);
  ASSERT_EQ(stack.UndoPosition, 1);
  ASSERT_TRUE(stack.Undo());
  EXPECT_TRUE(SamePicture(PaintPicture(scene), before));
  EXPECT_GT(scene.OrderOf(a), 0);
  // The entries point at the layers of the stack read back.
  for (const PaintFace& f : scene.Faces)
    for (const FaceLayer& l : f.LayerList) EXPECT_EQ(l.Info, scene.GetLayerByID(l.LayerID));
  ASSERT_TRUE(stack.Redo());
  EXPECT_TRUE(SamePicture(PaintPicture(scene), after));
}

TEST_F(LayerUndoFixture, AddReorderAndBlendingUndoInTurn) {
  std::vector<std::string> states{PaintPicture(scene)};
  scene.LayerPanel.AddLayer();
  scene.CurrentLayer = b;  // a selection, not a step: the picture comes after it
  states.push_back(PaintPicture(scene));
  scene.LayerPanel.MoveCurrentDown();
  states.push_back(PaintPicture(scene));
  // As the panel's rows do it: the values first, then the panel hears.
  OneLayerInfo* info = scene.GetLayerByID(a);
  info->ColorOp = 2;
  info->ColorTransparency = 0.4f;
  scene.LayerPanel.LayerChanged(info);
  states.push_back(PaintPicture(scene));
  ASSERT_EQ(stack.UndoPosition, 3);
  for (int i = 2; i >= 0; --i) {
    ASSERT_TRUE(stack.Undo());
    EXPECT_TRUE(SamePicture(PaintPicture(scene), states[i])) << "undo to state " << i;
  }
  for (int i = 1; i <= 3; ++i) {
    ASSERT_TRUE(stack.Redo());
    EXPECT_TRUE(SamePicture(PaintPicture(scene), states[i])) << "redo to state " << i;
  }
}

TEST_F(LayerUndoFixture, RefusedCommandsAndNoStackWriteNothing) {
  scene.CurrentLayer = 0;
  scene.LayerPanel.DeleteCurrent();    // the bottom layer stays
  scene.LayerPanel.MoveCurrentDown();  // and never moves
  EXPECT_EQ(stack.UndoPosition, 0);
  SetLayerUndoStack(nullptr);
  scene.LayerPanel.AddLayer();
  EXPECT_EQ(stack.UndoPosition, 0);
}

// The record opens with the current layer and the stack as text ("%d\n" of
// the current layer, then the layers' XML, closed by a NUL), which reads back
// into the same layers.
TEST_F(LayerUndoFixture, TheRecordOpensWithTheStackAsText) {
  scene.CurrentLayer = b;
  scene.GetLayerByID(b)->Name = "Rust streaks";
  scene.LayerPanel.DeleteCurrent();
  std::ifstream f(stack.FileName(0), std::ios::binary);
  const std::vector<uint8_t> r((std::istreambuf_iterator<char>(f)), {});
  ASSERT_GT(r.size(), 12u);
  auto u32 = [&](size_t at) {
    uint32_t v;
    std::memcpy(&v, r.data() + at, 4);
    return v;
  };
  EXPECT_EQ(u32(0), kLayersUndoTag);
  EXPECT_EQ((int)u32(4), b);
  const uint32_t n = u32(8);
  ASSERT_LE(12 + n, r.size());
  ASSERT_EQ(r[12 + n - 1], 0) << "the text ends with its NUL";
  const std::string text((const char*)r.data() + 12);
  ASSERT_EQ(text.size() + 1, n);
  EXPECT_EQ(text.substr(0, text.find('\n')), std::to_string(b));
  XmlNode node;
  ASSERT_GT(node.Parse(text.c_str() + text.find('\n') + 1), 0);
  LayerStack read;
  ASSERT_TRUE(read.Layers.Load(&node, &read.Layers));
  ASSERT_EQ(read.Layers.GetAmount(), 3);
  EXPECT_EQ(read.Layers[2]->LayerID, b);
  EXPECT_STREQ(read.Layers[2]->Name.cpchar(), "Rust streaks");
  EXPECT_EQ(read.Layers[1]->LayerID, a);
}
