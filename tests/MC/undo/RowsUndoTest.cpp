// Steps that change the rows of the layer tree are one undo step each, and
// undo and redo give back every byte of the scene: the rows, their order
// and matrices, the volumes' cells, surfaces, transforms and ids, the list
// order and the current volume. The steps: deleting a row with a row below
// it, a drag of the transform gizmo, a rectangle split into a new layer.
#include <gtest/gtest.h>

#include <cstring>

#include "../brushes/FrontCamera.h"
#include "../brushes/ToolTableKit.h"
#include "../tree/TreeTestKit.h"
#include "ClassEngine/streams/MemoryBinStream.h"
#include "MC/adjust/AdjustHandlers.h"
#include "../brushes/BrushTestKit.h"
#include "MC/brushes/VoxelModes.h"
#include "MC/undo/RowsUndo.h"
#include "MC/undo/VolumeUndo.h"
#include "VolumePicture.h"
#include "paint/undo/SamePicture.h"
#include "paint/undo/UndoStack.h"
#include "paint/undo/UndoTestFolder.h"
#include "shell/tools/RouterDrag.h"
#include "shell/tools/ToolRouter.h"

namespace {

// The whole scene of a tree as bytes, rows in tree order.
std::string ScenePicture(VoxVisualTree& tree) {
  std::string out;
  auto put = [&](const void* p, size_t n) { out.append((const char*)p, n); };
  tree.Walk([&](VoxTreeBranch& b) {
    out += "|row ";
    out += b.Name.cpchar();
    out += '/';
    out += b.CacheName.cpchar();
    const bool flags[] = {b.Visible, b.VoxSurf, b.OpenState, b.NewlyTransformed, b.NewlyPlaced,
                          b.Removed, b.InCache, b.GizmoCenrtified};
    put(flags, sizeof flags);
    put(&b.VobID, 4), put(&b.Level, 4);
    put(b.Tf, 64), put(b.TfInverse, 64), put(b.GizmoTf, 64), put(b.GizmoCenter, 12);
    put(&b.ChildObjects.NValues, 4);
    out += b.ShaderSettings.ShaderName.cpchar();
    if (!b.Volume) return;
    VolumeObject& v = *b.Volume;
    put(&v.ObjectId, sizeof v.ObjectId);
    out += v.Name;
    put(v.Transform, 64), put(v.InverseTransform, 64);
    out += VolumePicture(v);
  });
  out += "|list ";
  for (auto& v : tree.VolumeList) put(&v->ObjectId, sizeof v->ObjectId);
  const uintptr_t current = tree.CurrentVolume ? tree.CurrentVolume->ObjectId : 0;
  put(&current, sizeof current);
  return out;
}

struct RowsUndoFixture : ::testing::Test {
  GeneralPenSaver savedPen;
  SimplePen pen;
  UndoTestFolder folder;
  UndoStack stack{folder.Path};
  ToolTable table;
  ToolRouter router{table};
  comms::cFreeViewer cam = FrontCamera();
  VoxVisualTree tree;
  VoxTreeBranch *body = nullptr, *arm = nullptr, *head = nullptr;
  VoxelSculptTool* tool = nullptr;

  void SetUp() override {
    GeneralPen::CurrentPenPtr = &pen;
    GeneralPen::PenRadius = 30.f;
    GeneralPen::Symmetry = 0;
    tool = CurrentVoxelTool(table);
    ASSERT_NE(tool, nullptr);
    body = tree.AddVolume(nullptr, nullptr, "Body");
    arm = tree.AddVolume(body, nullptr, "Arm");
    head = tree.AddVolume(nullptr, nullptr, "Head");
    FillVolume(*body->Volume, SphereShape(0, 0, 0, 28));
    FillVolume(*arm->Volume, SphereShape(0, 0, 0, 8));
    FillVolume(*head->Volume, SphereShape(0, 0, 0, 10));
    // Rows placed apart, one turned and scaled, so matrices are not trivial.
    tree.TransformBranch(arm, Placement(0, 1, 40, 0, 0).Data());
    tree.TransformBranch(head, Placement(30, 1.5f, 3, 45, 5).Data());
    arm->GizmoCenter[0] = 40, arm->GizmoCenrtified = true;
    head->Visible = false;
    for (VolumeObject* v : tree.Volumes()) v->UpdateSurface(), v->DropUndoCopies();
    tree.MakeCurrent(body);

    stack.FreeBytes = [] { return (int64_t)1 << 40; };
    stack.RegisterUndoMaker(std::make_unique<Volume_Undo>(stack, [this] { return tree.Volumes(); }));
    stack.RegisterUndoMaker(std::make_unique<Rows_Undo>(
        stack, [this] { return &tree; }, [this](int mode) { tool->SelectMode(mode); },
        [this] { tool->SetScene(tree.CurrentVolume, &cam); }));
    // Wired as the program wires the tool to its tree and undo stack.
    tool->Tree = [this] { return &tree; };
    tool->SetScene(body->Volume, &cam);
    tool->OnStrokeEnd = [this](VolumeObject& v) { PushVolumeUndo(stack, {&v}, tool->Mode); };
    tool->OnRowsStep = [this](RowsStep& step) { ASSERT_TRUE(step.Push(stack)); };
  }
  void TearDown() override { Pointer() = ToolPointer(); }

  // Undo, redo and undo again: the scene swaps between the two pictures.
  void ExpectUndoRedoUndo(const std::string& before, const std::string& after) {
    ASSERT_TRUE(stack.Undo());
    EXPECT_TRUE(SamePicture(ScenePicture(tree), before)) << "undo";
    ExpectConsistent(tree);
    EXPECT_EQ(tool->Volume(), tree.CurrentVolume);
    ASSERT_TRUE(stack.Redo());
    EXPECT_TRUE(SamePicture(ScenePicture(tree), after)) << "redo";
    ExpectConsistent(tree);
    EXPECT_EQ(tool->Volume(), tree.CurrentVolume);
    ASSERT_TRUE(stack.Undo());
    EXPECT_TRUE(SamePicture(ScenePicture(tree), before)) << "undo after redo";
    EXPECT_EQ(stack.UndoPosition, 0);
  }
};

}  // namespace

TEST_F(RowsUndoFixture, DeletingARowIsOneStepThatUndoAndRedoRestoreToTheByte) {
  const std::string before = ScenePicture(tree);
  const uintptr_t bodyId = body->Volume->ObjectId, armId = arm->Volume->ObjectId;
  ASSERT_TRUE(DeleteRowUndoable(stack, tree, body));
  EXPECT_EQ(stack.UndoStatusText(), "(1) VROW ");
  EXPECT_EQ(tree.VolumeList.size(), 1u) << "the row and the row below it go at once";
  EXPECT_EQ(tree.FindByName("Arm"), nullptr);
  EXPECT_EQ(tree.CurrentVolume, head->Volume);
  tool->SetScene(tree.CurrentVolume, &cam);
  const std::string after = ScenePicture(tree);
  // The last volume row is never deleted, and a refusal writes nothing.
  EXPECT_FALSE(DeleteRowUndoable(stack, tree, head));
  EXPECT_EQ(stack.UndoPosition, 1);

  ExpectUndoRedoUndo(before, after);
  body = tree.FindByName("Body");
  ASSERT_NE(body, nullptr);
  EXPECT_EQ(body->Volume->ObjectId, bodyId);
  EXPECT_EQ(body->ChildObjects.NValues, 1);
  EXPECT_EQ(body->ChildObjects[0]->Volume->ObjectId, armId);
  EXPECT_EQ(tree.CurrentVolume, body->Volume);
}

TEST_F(RowsUndoFixture, AGizmoDragIsUndoneInOneStepToTheExactMatrices) {
  ASSERT_TRUE(tool->SelectMode(SCULPT_TRANSFORM));
  auto* h = dynamic_cast<TransformHandler*>(tool->Handler());
  ASSERT_NE(h, nullptr);
  h->Activate(*tool);
  float bodyBefore[16], armBefore[16];
  std::memcpy(bodyBefore, body->Volume->Transform, 64);
  std::memcpy(armBefore, arm->Volume->Transform, 64);
  const std::string before = ScenePicture(tree);
  // Grab the x arrow and drag it in several moves: one step all the same.
  const comms::cVec3 c = cam.ProjectToView(h->Gizmo.Centre);
  DragThrough(router, table, {{c.x + 40, c.y}, {c.x + 55, c.y}, {c.x + 70, c.y}, {c.x + 90, c.y}});
  ASSERT_GT(body->Volume->Transform[12], bodyBefore[12] + 1.f);
  EXPECT_GT(arm->Volume->Transform[12], armBefore[12] + 1.f) << "the row below follows";
  EXPECT_EQ(stack.UndoStatusText(), "(1) VROW ");
  const std::string after = ScenePicture(tree);

  ExpectUndoRedoUndo(before, after);
  EXPECT_EQ(std::memcmp(body->Volume->Transform, bodyBefore, 64), 0);
  EXPECT_EQ(std::memcmp(arm->Volume->Transform, armBefore, 64), 0);
  // A press on a handle without a move is no step.
  DragThrough(router, table, {{c.x + 40, c.y}, {c.x + 40, c.y}});
  EXPECT_EQ(stack.UndoPosition, 0);
}

TEST_F(RowsUndoFixture, ASplitIsUndoneWithoutItsLayerAndWithTheSameCells) {
  tree.ChangeParent(arm, head);  // the rectangle sees the body alone
  for (VolumeObject* v : tree.Volumes()) v->DropUndoCopies();
  tool->Settings.SplitBorderWidth = 0.f;
  ASSERT_TRUE(tool->SelectMode(SCULPT_RECTSPLIT));
  const std::string before = ScenePicture(tree);
  const size_t rows = tree.VolumeList.size();
  DragThrough(router, table, {{331, 187}, {350, 240}, {409, 293}});
  ASSERT_EQ(tree.VolumeList.size(), rows + 1);
  VoxTreeBranch* split = tree.FindByName("Body_space_copy");
  ASSERT_NE(split, nullptr);
  EXPECT_EQ(tree.CurrentVolume, split->Volume);
  EXPECT_GT(split->Volume->CellCount(), 1);
  EXPECT_EQ(stack.UndoStatusText(), "(1) VROW ") << "cells and layer in one step";
  const std::string after = ScenePicture(tree);

  ExpectUndoRedoUndo(before, after);
  EXPECT_EQ(tree.FindByName("Body_space_copy"), nullptr);
  EXPECT_EQ(tree.VolumeList.size(), rows);
  EXPECT_EQ(tool->Volume(), body->Volume);
}

TEST_F(RowsUndoFixture, ARecordCutShortChangesNothing) {
  // A delete's record and a move's record, each cut short anywhere.
  RowsStep gone(tree);
  ASSERT_TRUE(tree.Delete(body));
  gone.NoteGone(body);
  MemoryBinStream deleted;
  gone.Write(deleted);
  tree.PurgeRemoved();
  RowsStep moved(tree);
  moved.NotePlaces(head);
  MemoryBinStream placed;
  moved.Write(placed);
  tree.TransformBranch(head, Placement(10, 2, 1, 2, 3).Data());
  const std::string now = ScenePicture(tree);
  BasicUndoMaker* maker = stack.FindMaker(kRowsUndoTag);
  ASSERT_NE(maker, nullptr);
  for (MemoryBinStream* record : {&deleted, &placed}) {
    const int64_t size = record->Size();
    for (int64_t keep : {int64_t(4), int64_t(7), int64_t(12), size / 3, size / 2, size - 3, size - 1}) {
      MemoryBinStream cut;
      cut.Write(record->GetData(), keep);
      cut.SetReadPos(4);  // the stack reads the tag
      maker->Apply(cut);
      EXPECT_TRUE(SamePicture(ScenePicture(tree), now)) << keep << " of " << size;
      EXPECT_EQ(stack.UndoPosition, 0);
    }
  }
  // Whole, the same records apply.
  deleted.SetReadPos(4);
  maker->Apply(deleted);
  EXPECT_NE(tree.FindByName("Arm"), nullptr);
  ExpectConsistent(tree);
}
