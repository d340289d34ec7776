// Random mixes of paint strokes, layer commands, voxel strokes, undo and
// redo, from fixed seeds: undoing everything gives back the start byte for
// byte, and redoing as many steps gives back the end. The long run (10,000
// steps) is bench_undo.
#include <gtest/gtest.h>

#include "UndoSequence.h"
#include "paint/undo/SamePicture.h"

namespace {
// The grid scene, the per-pixel scene and the volume, compared apart.
::testing::AssertionResult SameState(const UndoSequence::State& a, const UndoSequence::State& b) {
  if (auto r = SamePicture(a.Grid, b.Grid); !r) return r << " in the grid scene";
  if (auto r = SamePicture(a.Pixels, b.Pixels); !r) return r << " in the per-pixel scene";
  if (auto r = SamePicture(a.Volume, b.Volume); !r) return r << " in the volume";
  return ::testing::AssertionSuccess();
}
}  // namespace

TEST(UndoRandomSequences, RestoreEveryByteAtBothEnds) {
  GeneralPenSaver saved;
  for (uint32_t seed : {11u, 12u, 13u, 21u, 119u, 147u}) {
    UndoSequence run(seed);
    const UndoSequence::State start = run.Picture();
    std::string log;
    for (int i = 0; i < 100; ++i) log += std::string(run.Step()) + ", ";
    const UndoSequence::State end = run.Picture();
    const int undone = run.UndoAll();
    ASSERT_TRUE(SameState(run.Picture(), start)) << "seed " << seed << " after " << log;
    const int redone = run.RedoAll();
    EXPECT_GE(redone, undone);
    // Redo past the end state walks into the steps undone during the run;
    // undo them again to stand at the end.
    for (int i = undone; i < redone; ++i) {
      ASSERT_TRUE(run.Stack().Undo());
      run.Frame();
    }
    EXPECT_TRUE(SameState(run.Picture(), end)) << "seed " << seed << " after " << log;
  }
}
