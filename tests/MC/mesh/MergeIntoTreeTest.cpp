// The merge tool inside the layer tree: parts merged as separate volumes
// become named rows under the current volume's row, negative parts cut the
// volumes below it when asked, and one undo record takes a whole merge back
// byte for byte, on every volume it touched.
#include <gtest/gtest.h>

#include <cmath>
#include <memory>

#include "BoxParts.h"
#include "MC/brushes/VoxelModes.h"
#include "MC/brushes/VoxelSculptTool.h"
#include "MC/mcubes/VolumeFill.h"
#include "ClassEngine/streams/MemoryBinStream.h"
#include "MC/undo/PartsUndo.h"
#include "MC/undo/VolumeUndo.h"
#include "../tree/TreeTestKit.h"
#include "../undo/VolumePicture.h"
#include "paint/GeneralPen.h"
#include "paint/undo/SamePicture.h"
#include "paint/undo/UndoStack.h"
#include "paint/undo/UndoTestFolder.h"
#include "platform/Keys.h"

namespace {

bool In(VolumeObject& v, float x, float y, float z) { return v.SampleField(x, y, z) >= kSurfaceLevel; }

// Two blocks left and right of the origin and a slot through it, in voxels.
std::unique_ptr<comms::cMesh> BlocksAndSlot() {
  auto m = std::make_unique<comms::cMesh>();
  const float leftLo[3] = {-20.3f, -4.6f, -4.4f}, leftHi[3] = {-12.3f, 4.6f, 4.4f};
  const float rightLo[3] = {12.3f, -4.6f, -4.4f}, rightHi[3] = {20.3f, 4.6f, 4.4f};
  const float slotLo[3] = {-2.1f, -30.3f, -12.2f}, slotHi[3] = {2.1f, 30.3f, 12.2f};
  AddBox(*m, "left", leftLo, leftHi);
  AddBox(*m, "right", rightLo, rightHi);
  AddBox(*m, "slot_negative", slotLo, slotHi);
  return m;
}

// The held mesh at the size it came with: the tool scales its farthest vertex
// to 150 voxels from the centre, so the placement scales it back.
void HoldAtOwnSize(VoxelSculptTool& tool, std::unique_ptr<comms::cMesh> mesh) {
  float far = 0;
  for (const auto& p : mesh->positions) far = std::max(far, std::sqrt(p.x * p.x + p.y * p.y + p.z * p.z));
  ASSERT_TRUE(tool.Merge.SetMesh(std::move(mesh)));
  tool.Merge.Settings.MergeScale = far / 150.f;
}

struct MergeTree : ::testing::Test {
  UndoTestFolder folder;
  UndoStack stack{folder.Path};
  VoxVisualTree tree;
  VoxTreeBranch* target = nullptr;
  VoxTreeBranch* child = nullptr;
  VoxelSculptTool tool;
  int symmetry = GeneralPen::Symmetry;

  MergeTree() {
    GeneralPen::Symmetry = 0;
    stack.FreeBytes = [] { return (int64_t)1 << 40; };
    stack.RegisterUndoMaker(std::make_unique<Volume_Undo>(stack, [this] { return tree.Volumes(); }));
    target = tree.AddVolume(nullptr, nullptr, "Body");
    child = tree.AddVolume(target, nullptr, "Foot");
    FillVolume(*target->Volume, SphereShape(0.3f, 0.2f, -0.1f, 8.4f));
    FillVolume(*child->Volume, SphereShape(0.3f, -20.2f, -0.1f, 6.3f));
    for (VolumeObject* v : tree.Volumes()) v->UpdateSurface(), v->DropUndoCopies();
    tree.MakeCurrent(target);
    // Wired as the program wires the tool to its tree and undo stack.
    tool.VolumesBelow = [this](VolumeObject& v) { return tree.VolumesBelow(tree.BranchOf(&v)); };
    tool.TakeParts = [this](VolumeObject& v, std::vector<SeparatePart>&& parts) {
      tree.AttachParts(tree.BranchOf(&v), std::move(parts));
    };
    tool.OnMergeEnd = [this](const std::vector<VolumeObject*>& volumes) {
      ASSERT_TRUE(PushVolumeUndo(stack, volumes, SCULP_MERGE));
    };
    tool.SelectMode(SCULP_MERGE);
    tool.SetScene(tree.CurrentVolume, nullptr);
  }
  ~MergeTree() override { GeneralPen::Symmetry = symmetry; }
};

}  // namespace

TEST_F(MergeTree, SeparatePartsBecomeNamedRowsUnderTheCurrentVolumeWhichStaysCurrent) {
  HoldAtOwnSize(tool, BlocksAndSlot());
  tool.Merge.Settings.MergeToSeparateVolumes = true;
  tool.Merge.Settings.RespectNegativeVolumes = true;
  tool.Merge.Settings.CutThroughVolumes = false;
  const std::string footBefore = VolumePicture(*child->Volume);
  ASSERT_TRUE(tool.OnKey(keys::Enter));

  ExpectConsistent(tree);
  EXPECT_EQ(tree.CurrentVolume, target->Volume);
  ASSERT_EQ(target->ChildObjects.NValues, 3);  // the foot, then one row per positive part
  VoxTreeBranch* left = tree.FindByName("left");
  VoxTreeBranch* right = tree.FindByName("right");
  ASSERT_NE(left, nullptr);
  ASSERT_NE(right, nullptr);
  EXPECT_EQ(tree.FindByName("slot_negative"), nullptr) << "a negative part makes no volume";
  EXPECT_EQ(left->ParentBranch, target);
  EXPECT_EQ(right->ParentBranch, target);
  EXPECT_EQ(tree.VolumeRowCount(), 4);
  // Each part holds its own block only; the body holds neither.
  EXPECT_TRUE(In(*left->Volume, -16, 0, 0));
  EXPECT_FALSE(In(*left->Volume, 16, 0, 0));
  EXPECT_TRUE(In(*right->Volume, 16, 0, 0));
  EXPECT_FALSE(In(*target->Volume, 16, 0, 0));
  // The slot cuts the body, but not the foot below it without cutting through.
  EXPECT_FALSE(In(*target->Volume, 0.3f, 0.2f, -0.1f));
  EXPECT_TRUE(In(*target->Volume, 5.3f, 0.2f, -0.1f));
  EXPECT_TRUE(In(*child->Volume, 0.3f, -20.2f, -0.1f));
  EXPECT_EQ(VolumePicture(*child->Volume), footBefore);
}

TEST_F(MergeTree, CuttingThroughReachesTheVolumesBelowAndOneUndoTakesItAllBack) {
  HoldAtOwnSize(tool, BlocksAndSlot());
  tool.Merge.Settings.MergeToSeparateVolumes = true;
  tool.Merge.Settings.RespectNegativeVolumes = true;
  tool.Merge.Settings.CutThroughVolumes = true;
  const std::string body = VolumePicture(*target->Volume), foot = VolumePicture(*child->Volume);
  ASSERT_TRUE(tool.OnKey(keys::Enter));
  EXPECT_FALSE(In(*target->Volume, 0.3f, 0.2f, -0.1f));
  EXPECT_FALSE(In(*child->Volume, 0.3f, -20.2f, -0.1f));
  EXPECT_TRUE(In(*child->Volume, 4.3f, -20.2f, -0.1f));
  EXPECT_EQ(target->Volume->UndoCopies, 0);
  EXPECT_EQ(child->Volume->UndoCopies, 0);
  const std::string bodyCut = VolumePicture(*target->Volume), footCut = VolumePicture(*child->Volume);

  ASSERT_EQ(stack.UndoPosition, 1) << "one merge, one record";
  ASSERT_TRUE(stack.Undo());
  EXPECT_TRUE(SamePicture(VolumePicture(*target->Volume), body));
  EXPECT_TRUE(SamePicture(VolumePicture(*child->Volume), foot));
  ASSERT_TRUE(stack.Redo());
  EXPECT_TRUE(SamePicture(VolumePicture(*target->Volume), bodyCut));
  EXPECT_TRUE(SamePicture(VolumePicture(*child->Volume), footCut));
}

TEST_F(MergeTree, APlainMergeIsUndoneByteForByte) {
  HoldAtOwnSize(tool, BlocksAndSlot());
  const std::string start = VolumePicture(*target->Volume);
  ASSERT_TRUE(tool.OnKey(keys::Enter));  // one piece: the slot is a bar of the union
  EXPECT_EQ(tree.VolumeRowCount(), 2) << "no rows without the separate setting";
  EXPECT_TRUE(In(*target->Volume, 16, 0, 0));
  EXPECT_TRUE(In(*target->Volume, 0.3f, 20.2f, -0.1f));
  const std::string united = VolumePicture(*target->Volume);
  ASSERT_EQ(stack.UndoPosition, 1);
  EXPECT_EQ(target->Volume->UndoCopies, 0);

  ASSERT_TRUE(stack.Undo());
  EXPECT_TRUE(SamePicture(VolumePicture(*target->Volume), start));
  EXPECT_FALSE(In(*target->Volume, 16, 0, 0));
  ASSERT_TRUE(stack.Redo());
  EXPECT_TRUE(SamePicture(VolumePicture(*target->Volume), united));
}

TEST_F(MergeTree, UndoOfASeparateMergeTakesItsRowsAwayAndRedoBringsThemBack) {
  // Wired as the program wires it: the merge's record knows the rows it made.
  stack.RegisterUndoMaker(std::make_unique<Parts_Undo>(stack, [this] { return &tree; }));
  WireMergeUndo(tool, stack, [this] { return &tree; });
  HoldAtOwnSize(tool, BlocksAndSlot());
  tool.Merge.Settings.MergeToSeparateVolumes = true;
  tool.Merge.Settings.RespectNegativeVolumes = true;
  tool.Merge.Settings.CutThroughVolumes = true;
  const std::string body = VolumePicture(*target->Volume), foot = VolumePicture(*child->Volume);
  ASSERT_TRUE(tool.OnKey(keys::Enter));
  ASSERT_EQ(stack.UndoPosition, 1) << "one merge, one record";
  EXPECT_EQ(stack.UndoStatusText(), "(1) VPRT ");
  VoxTreeBranch* left = tree.FindByName("left");
  VoxTreeBranch* right = tree.FindByName("right");
  ASSERT_TRUE(left && right);
  const uintptr_t leftId = left->Volume->ObjectId, rightId = right->Volume->ObjectId;
  const std::string leftPicture = VolumePicture(*left->Volume), rightPicture = VolumePicture(*right->Volume);
  const std::string bodyCut = VolumePicture(*target->Volume), footCut = VolumePicture(*child->Volume);

  for (int round = 0; round < 2; ++round) {
    ASSERT_TRUE(stack.Undo());
    EXPECT_EQ(tree.FindByName("left"), nullptr) << "round " << round;
    EXPECT_EQ(tree.FindByName("right"), nullptr);
    EXPECT_EQ(tree.VolumeRowCount(), 2);
    EXPECT_EQ(tree.VolumeList.size(), 2u) << "the parts' volumes are freed";
    EXPECT_EQ(target->ChildObjects.NValues, 1);
    EXPECT_TRUE(SamePicture(VolumePicture(*target->Volume), body));
    EXPECT_TRUE(SamePicture(VolumePicture(*child->Volume), foot));
    EXPECT_EQ(tree.CurrentVolume, target->Volume);
    ExpectConsistent(tree);

    ASSERT_TRUE(stack.Redo());
    left = tree.FindByName("left");
    right = tree.FindByName("right");
    ASSERT_TRUE(left && right);
    EXPECT_EQ(left->ParentBranch, target);
    EXPECT_EQ(right->ParentBranch, target);
    EXPECT_EQ(left->Volume->ObjectId, leftId) << "later records find the part by its id";
    EXPECT_EQ(right->Volume->ObjectId, rightId);
    EXPECT_TRUE(SamePicture(VolumePicture(*left->Volume), leftPicture));
    EXPECT_TRUE(SamePicture(VolumePicture(*right->Volume), rightPicture));
    EXPECT_TRUE(SamePicture(VolumePicture(*target->Volume), bodyCut));
    EXPECT_TRUE(SamePicture(VolumePicture(*child->Volume), footCut));
    EXPECT_TRUE(In(*left->Volume, -16, 0, 0));
    ExpectConsistent(tree);
  }
  // A plain merge afterwards still writes a plain record.
  tool.Merge.Settings.MergeToSeparateVolumes = false;
  HoldAtOwnSize(tool, BlocksAndSlot());
  ASSERT_TRUE(tool.OnKey(keys::Enter));
  ASSERT_TRUE(stack.Undo());
  EXPECT_TRUE(SamePicture(VolumePicture(*target->Volume), bodyCut));
  EXPECT_NE(tree.FindByName("left"), nullptr) << "the plain merge's undo leaves the rows";
}

TEST_F(MergeTree, ADamagedPartsRecordChangesNothing) {
  stack.RegisterUndoMaker(std::make_unique<Parts_Undo>(stack, [this] { return &tree; }));
  MemoryBinStream s;
  WritePartsUndo(s, {target->Volume}, SCULP_MERGE, {(uint32_t)child->Volume->ObjectId});
  const std::string body = VolumePicture(*target->Volume);
  // Cut short in every place: the row stays and the body too.
  for (int64_t keep : {int64_t(4), int64_t(5), int64_t(9), s.Size() / 2, s.Size() - 1}) {
    MemoryBinStream cut;
    cut.Write(s.GetData(), keep);
    cut.SetReadPos(4);  // the stack reads the tag
    stack.FindMaker(kPartsUndoTag)->Apply(cut);
    EXPECT_NE(tree.BranchOf(child->Volume), nullptr) << keep;
    EXPECT_EQ(tree.VolumeRowCount(), 2);
    EXPECT_EQ(VolumePicture(*target->Volume), body);
  }
}
