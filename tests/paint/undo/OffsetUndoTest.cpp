// The pattern's offset record: undo puts the offset back as it was before
// the move, redo where the move left it, and the record holds just the tag
// and two floats; a cut record changes nothing.
#include <gtest/gtest.h>

#include <filesystem>

#include "paint/MaterialPattern.h"
#include "paint/undo/OffsetUndo.h"
#include "paint/undo/UndoStack.h"
#include "paint/undo/UndoTestFolder.h"

namespace {
struct OffsetUndoFixture : ::testing::Test {
  UndoTestFolder folder;
  UndoStack stack{folder.Path};
  MaterialPattern pattern;
  void SetUp() override {
    stack.FreeBytes = [] { return (int64_t)1 << 40; };
    stack.RegisterUndoMaker(std::make_unique<Offset_Undo>(stack, pattern));
    pattern.OffsetX = 12.5f, pattern.OffsetY = -3.25f;
    pattern.Rotation = 0.5f;
  }
};
}  // namespace

TEST_F(OffsetUndoFixture, UndoAndRedoMoveTheOffsetOnly) {
  ASSERT_TRUE(PushOffsetUndo(stack, pattern));
  EXPECT_EQ(std::filesystem::file_size(stack.FileName(0)), 12u);
  pattern.Move(30, 40);
  pattern.Rotation = 1.0f;  // not the record's business
  ASSERT_TRUE(stack.Undo());
  EXPECT_EQ(pattern.OffsetX, 12.5f);
  EXPECT_EQ(pattern.OffsetY, -3.25f);
  EXPECT_EQ(pattern.Rotation, 1.0f);
  ASSERT_TRUE(stack.Redo());
  EXPECT_EQ(pattern.OffsetX, 42.5f);
  EXPECT_EQ(pattern.OffsetY, 36.75f);
}

TEST_F(OffsetUndoFixture, ACutRecordChangesNothing) {
  ASSERT_TRUE(PushOffsetUndo(stack, pattern));
  pattern.Move(1, 2);
  std::filesystem::resize_file(stack.FileName(0), 8);
  stack.Undo();
  EXPECT_EQ(pattern.OffsetX, 13.5f);
  EXPECT_EQ(pattern.OffsetY, -1.25f);
}
