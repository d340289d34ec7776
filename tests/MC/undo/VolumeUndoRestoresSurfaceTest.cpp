// A voxel stroke's undo record holds the touched cells whole: undo brings
// back every voxel and every triangle byte for byte without extracting a
// surface, redo brings the stroke back the same way, and a record that is
// empty or damaged leaves the volume usable.
#include <gtest/gtest.h>

#include <filesystem>

#include "ClassEngine/streams/MemoryBinStream.h"
#include "MC/undo/VolumeUndo.h"
#include "VolumeRecordKit.h"
#include "paint/undo/SamePicture.h"
#include "paint/undo/UndoStack.h"
#include "paint/undo/UndoTestFolder.h"

namespace {
struct VolumeUndoFixture : ::testing::Test {
  UndoTestFolder folder;
  UndoStack stack{folder.Path};
  VolumeObject volume;
  GeneralPenSaver saved;

  VolumeUndoFixture() {
    stack.FreeBytes = [] { return (int64_t)1 << 40; };
    stack.RegisterUndoMaker(std::make_unique<Volume_Undo>(stack, [this] {
      return std::vector<VolumeObject*>{&volume};
    }));
    FillVolume(volume, SphereShape(0, 0, 0, 28));
    volume.UpdateSurface();
    volume.DropUndoCopies();
  }
  // A stroke, its surface, and its record on the stack (as at pen-up).
  void Stroke(int tool, float x0, float x1, uint32_t seed, bool invert = false) {
    StrokeAcross(volume, tool, 7.f, x0, x1, seed, invert);
    ASSERT_TRUE(PushVolumeUndo(stack, {&volume}, tool));
    volume.UpdateSurface();
  }
};

class EveryStrokeMode : public VolumeUndoFixture, public ::testing::WithParamInterface<int> {};
}  // namespace

TEST_P(EveryStrokeMode, UndoAndRedoRestoreEveryByteWithoutExtraction) {
  const auto start = VolumePicture(volume);
  Stroke(GetParam(), -8, 8, 42);
  const auto end = VolumePicture(volume);
  ASSERT_FALSE(start == end) << "mode " << GetParam() << " changed nothing";
  EXPECT_EQ(volume.UndoCopies, 0);
  EXPECT_TRUE(volume.TouchedCells.empty());

  const int64_t extracted = volume.ExtractedCells;
  ASSERT_TRUE(stack.Undo());
  EXPECT_EQ(volume.ExtractedCells, extracted) << "undo extracted a surface";
  EXPECT_TRUE(SamePicture(VolumePicture(volume), start));
  EXPECT_EQ(volume.UndoCopies, 0);
  ASSERT_TRUE(stack.Redo());
  EXPECT_EQ(volume.ExtractedCells, extracted) << "redo extracted a surface";
  EXPECT_TRUE(SamePicture(VolumePicture(volume), end));
  // The drawing follows: the render groups hold the restored triangles.
  ASSERT_TRUE(stack.Undo());
  int groupTriangles = 0, cellIndices = 0;
  volume.RenderGroups.ForEach([&](const CellKey&, RenderGroup& g) {
    if (g.Mesh) groupTriangles += (int)(g.Mesh->WideIndices ? g.Mesh->Indices32.size() : g.Mesh->Indices16.size());
  });
  volume.Cells.ForEach([&](const CellKey&, VoxelCell*& c) {
    if (c->Surface && !(c->Flags & kCellHidden)) cellIndices += c->Surface->Indices.Count;
  });
  EXPECT_EQ(groupTriangles, cellIndices);
}

INSTANTIATE_TEST_SUITE_P(CuttingAddingSmoothing, EveryStrokeMode,
                         ::testing::Values(SCULP_GROW, SCULPT_SMOOTH, SCULP_CLAY, SCULPT_CARVE, SCULPT_BUILD,
                                           SCULP_SPHERE, SCULP_VXPINCH));

TEST_F(VolumeUndoFixture, StrokesUndoneInTurnGiveBackEachStateAndTheStart) {
  std::vector<std::string> states{VolumePicture(volume)};
  const int tools[] = {SCULPT_CARVE, SCULP_GROW, SCULPT_SMOOTH, SCULP_CLAY};
  for (int i = 0; i < 4; ++i) {
    Stroke(tools[i], -10.f + 3 * i, 6.f + 2 * i, 7 + i, i == 3);
    states.push_back(VolumePicture(volume));
  }
  for (int i = 3; i >= 0; --i) {
    ASSERT_TRUE(stack.Undo());
    EXPECT_TRUE(SamePicture(VolumePicture(volume), states[i])) << "after undoing stroke " << i;
  }
  for (int i = 1; i <= 4; ++i) {
    ASSERT_TRUE(stack.Redo());
    EXPECT_TRUE(SamePicture(VolumePicture(volume), states[i])) << "after redoing stroke " << i;
  }
}

TEST_F(VolumeUndoFixture, ARecordOfNothingKeepsTheVolume) {
  const auto start = VolumePicture(volume);
  ASSERT_TRUE(PushVolumeUndo(stack, {&volume}, SCULPT_CARVE));
  ASSERT_TRUE(stack.Undo());
  EXPECT_TRUE(SamePicture(VolumePicture(volume), start));
  ASSERT_TRUE(stack.Redo());
  EXPECT_TRUE(SamePicture(VolumePicture(volume), start));
}

TEST_F(VolumeUndoFixture, ADamagedRecordHasNoEffect) {
  Stroke(SCULPT_CARVE, -8, 8, 3);
  Stroke(SCULP_GROW, -4, 4, 4);
  const auto end = VolumePicture(volume);
  // Cut the newest record in the middle of its cells.
  const std::string name = stack.FileName(stack.UndoPosition - 1);
  std::filesystem::resize_file(name, std::filesystem::file_size(name) / 2);
  ASSERT_TRUE(stack.Undo());
  EXPECT_TRUE(SamePicture(VolumePicture(volume), end));
  EXPECT_EQ(volume.UndoCopies, 0);
  ExpectClosed(Surface(volume));
  // The step before it still undoes.
  ASSERT_TRUE(stack.Undo());
  EXPECT_FALSE(VolumePicture(volume) == end);
  ExpectClosed(Surface(volume));
}
