// The stack's bookkeeping: which file each step lands in, what undo and redo
// leave behind, the byte budget and free-space reserve, the redo rule for big
// records, and a disk that refuses writes.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>

#include "ClassEngine/streams/MemoryBinStream.h"
#include "paint/SceneChanges.h"
#include "paint/undo/UndoStack.h"
#include "paint/undo/UndoTestFolder.h"

namespace {
constexpr uint32_t kTag = FourCC("TEST");

// A scene of one number; its record holds the number before a step, plus
// optional padding so a record can be made big.
struct NumberScene {
  int Value = 0;
  int Applied = 0;
};

struct NumberMaker : BasicUndoMaker {
  NumberScene* Scene;
  UndoStack* Stack;
  NumberMaker(NumberScene* s, UndoStack* st) : Scene(s), Stack(st) {}
  uint32_t GetUndoTag() override { return kTag; }
  void Apply(BinStream& in) override {
    ++Scene->Applied;
    const uint32_t padding = in.ReadDWORD();
    const int value = (int)in.ReadDWORD();
    MemoryBinStream inverse;
    WriteRecord(inverse, Scene->Value, padding);
    Stack->PushUndoRecord(inverse);
    Scene->Value = value;
  }
  static void WriteRecord(BinStream& out, int value, uint32_t padding = 0) {
    out.WriteDWORD(kTag);
    out.WriteDWORD(padding);
    out.WriteDWORD((uint32_t)value);
    std::vector<uint8_t> zeros(padding);
    if (padding) out.Write(zeros.data(), padding);
  }
};

struct StackFixture : ::testing::Test {
  UndoTestFolder folder;
  UndoStack stack{folder.Path};
  NumberScene scene;
  int64_t freeBytes = (int64_t)1 << 40;

  StackFixture() {
    stack.FreeBytes = [this] { return freeBytes; };
    stack.RegisterUndoMaker(std::make_unique<NumberMaker>(&scene, &stack));
    stack.ClearUndo();
  }
  // One step: the record holds the value before it.
  bool Step(int newValue, uint32_t padding = 0) {
    MemoryBinStream s;
    NumberMaker::WriteRecord(s, scene.Value, padding);
    scene.Value = newValue;
    return stack.PushUndoRecord(s);
  }
  bool Exists(int n) const { return std::filesystem::exists(stack.FileName(n)); }
  int FileCount() const {
    int count = 0;
    for (auto& e : std::filesystem::directory_iterator(folder.Path)) count += e.is_regular_file();
    return count;
  }
};
}  // namespace

TEST_F(StackFixture, ThreeStepsWalkTheFilesAsDocumented) {
  ASSERT_TRUE(Step(1));
  ASSERT_TRUE(Step(2));
  ASSERT_TRUE(Step(3));
  EXPECT_EQ(stack.UndoPosition, 3);
  EXPECT_TRUE(Exists(0) && Exists(1) && Exists(2));
  EXPECT_FALSE(Exists(3));

  ASSERT_TRUE(stack.Undo());  // reads 2, writes its inverse to 3
  EXPECT_EQ(scene.Value, 2);
  EXPECT_EQ(stack.UndoPosition, 2);
  EXPECT_TRUE(Exists(3));
  ASSERT_TRUE(stack.Undo());  // reads 1, inverse to 2
  EXPECT_EQ(scene.Value, 1);
  EXPECT_EQ(stack.UndoPosition, 1);

  ASSERT_TRUE(stack.Redo());  // reads and deletes 2, undo record to 1
  EXPECT_EQ(scene.Value, 2);
  EXPECT_EQ(stack.UndoPosition, 2);
  EXPECT_FALSE(Exists(2));
  EXPECT_TRUE(Exists(1) && Exists(3));

  ASSERT_TRUE(Step(7));  // writes 2, drops 3
  EXPECT_TRUE(Exists(2));
  EXPECT_FALSE(Exists(3));
  EXPECT_FALSE(stack.Redo());
  EXPECT_EQ(stack.UndoPosition, 3);

  for (int expect : {2, 1, 0}) {
    ASSERT_TRUE(stack.Undo());
    EXPECT_EQ(scene.Value, expect);
  }
  for (int expect : {1, 2, 7}) {
    ASSERT_TRUE(stack.Redo());
    EXPECT_EQ(scene.Value, expect);
  }
  EXPECT_FALSE(stack.Redo());
}

TEST_F(StackFixture, UndoAtTheBottomAndRedoAtTheTopChangeNothing) {
  EXPECT_FALSE(stack.Undo());
  EXPECT_EQ(stack.UndoPosition, 0);
  ASSERT_TRUE(Step(5));
  EXPECT_FALSE(stack.Redo());
  EXPECT_EQ(stack.UndoPosition, 1);
  EXPECT_EQ(scene.Value, 5);
  EXPECT_EQ(scene.Applied, 0);
}

TEST_F(StackFixture, ChangedSinceSaveFollowsRecordsAndClearing) {
  ChangedSinceSave = 0;
  Step(1);
  EXPECT_EQ(ChangedSinceSave, 1);
  ChangedSinceSave = 0;  // saved
  stack.Undo();
  EXPECT_EQ(ChangedSinceSave, 1);
  stack.ClearUndo();
  EXPECT_EQ(ChangedSinceSave, 0);
  EXPECT_EQ(FileCount(), 0);
  EXPECT_EQ(stack.UndoBytes, 0);
}

TEST_F(StackFixture, MakersAreOnePerTagAndUnknownTagsApplyAsNothing) {
  EXPECT_FALSE(stack.RegisterUndoMaker(std::make_unique<NumberMaker>(&scene, &stack)));
  MemoryBinStream s;
  s.WriteDWORD(FourCC("ZZZZ"));
  s.WriteDWORD(42);
  ASSERT_TRUE(stack.PushUndoRecord(s));
  EXPECT_TRUE(stack.Undo());
  EXPECT_EQ(scene.Applied, 0);
  EXPECT_EQ(stack.UndoPosition, 0);
}

TEST_F(StackFixture, ARecordOfTwelveMillionBytesUndoesAndLeavesNoRedo) {
  ASSERT_TRUE(Step(1));
  ASSERT_TRUE(Step(2, UndoStack::kNoRedoBytes - 12));  // exactly the limit
  ASSERT_TRUE(stack.Undo());
  EXPECT_EQ(scene.Value, 1);
  EXPECT_EQ(FileCount(), 1);  // only the small record is left
  EXPECT_FALSE(stack.Redo());
  EXPECT_EQ(scene.Value, 1);
  EXPECT_EQ(stack.UndoPosition, 1);
  // One byte below the limit keeps its redo.
  ASSERT_TRUE(Step(3, UndoStack::kNoRedoBytes - 13));
  ASSERT_TRUE(stack.Undo());
  ASSERT_TRUE(stack.Redo());
  EXPECT_EQ(scene.Value, 3);
}

TEST_F(StackFixture, TrimmedStepsUndoAsNothingButMoveThePosition) {
  for (int v = 1; v <= 6; ++v) ASSERT_TRUE(Step(v));
  // Free space falls short of the reserve by 3 MB, and each deleted file
  // gives 1 MB back: the write drops files 0..3, until more than the reserve is free.
  stack.FreeBytes = [&] { return int64_t(UndoStack::kReserveMB - 3 + (6 - FileCount())) * 1000000; };
  ASSERT_TRUE(Step(7));
  for (int n : {0, 1, 2, 3}) EXPECT_FALSE(Exists(n)) << n;
  EXPECT_TRUE(Exists(4) && Exists(5) && Exists(6));
  stack.FreeBytes = [] { return (int64_t)1 << 40; };
  for (int expect : {6, 5, 4}) {
    ASSERT_TRUE(stack.Undo());
    EXPECT_EQ(scene.Value, expect);
  }
  const int applied = scene.Applied;
  for (int pos : {3, 2, 1, 0}) {
    ASSERT_TRUE(stack.Undo());
    EXPECT_EQ(stack.UndoPosition, pos);
    EXPECT_EQ(scene.Value, 4);
  }
  EXPECT_EQ(scene.Applied, applied);
  EXPECT_FALSE(stack.Undo());
}

TEST_F(StackFixture, TheByteBudgetDropsOldestStepsAndItsEdgeIsExact) {
  ASSERT_TRUE(Step(1));
  ASSERT_TRUE(Step(2));
  stack.UndoBytes = UndoStack::kByteBudget;  // at the budget: no trim
  ASSERT_TRUE(Step(3));
  EXPECT_TRUE(Exists(0));
  // Each record is 12 bytes: 13 above the budget costs the two oldest.
  stack.UndoBytes = UndoStack::kByteBudget + 13;
  ASSERT_TRUE(Step(4));
  EXPECT_FALSE(Exists(0));
  EXPECT_FALSE(Exists(1));
  EXPECT_TRUE(Exists(2) && Exists(3));
  // A count far off the disk empties the folder once, then is counted anew.
  stack.UndoBytes = 2 * UndoStack::kByteBudget;
  ASSERT_TRUE(Step(5));
  EXPECT_EQ(FileCount(), 1);
  EXPECT_EQ(stack.UndoBytes, 12);
  ASSERT_TRUE(Step(6));
  EXPECT_EQ(FileCount(), 2);
}

TEST_F(StackFixture, ARecordThatFailsToOpenHasNoEffect) {
  ASSERT_TRUE(Step(1));
  ASSERT_TRUE(Step(2));
  ASSERT_TRUE(Step(3));
  std::filesystem::remove(stack.FileName(2));
  {  // file 1 cut to its tag
    FILE* f = std::fopen(stack.FileName(1).c_str(), "wb");
    const uint8_t tag[4] = {'T', 'S', 'E', 'T'};
    std::fwrite(tag, 1, 4, f);
    std::fclose(f);
  }
  ASSERT_TRUE(stack.Undo());
  ASSERT_TRUE(stack.Undo());
  EXPECT_EQ(scene.Value, 3);
  EXPECT_EQ(scene.Applied, 0);
  EXPECT_EQ(stack.UndoPosition, 1);
  ASSERT_TRUE(stack.Undo());
  EXPECT_EQ(scene.Value, 0);
}

// The disk fills while a step is written: the step stays done, older steps
// are given up to make room, and with nothing left the stack empties and
// says why. Undo and redo afterwards stay consistent with the scene.
TEST_F(StackFixture, AFullDiskShrinksTheStackAndNeverHarmsTheScene) {
  for (int v = 1; v <= 5; ++v) ASSERT_TRUE(Step(v));
  int refusals = 2;
  stack.WriteCall = [&](int fd, const void* data, size_t size) -> long {
    if (refusals > 0) {
      --refusals;
      errno = ENOSPC;
      return -1;
    }
    return (long)::write(fd, data, size);
  };
  ASSERT_TRUE(Step(6));
  EXPECT_EQ(scene.Value, 6);
  EXPECT_FALSE(Exists(0));
  EXPECT_FALSE(Exists(1));
  EXPECT_TRUE(Exists(5));
  for (int expect : {5, 4, 3, 2}) {
    ASSERT_TRUE(stack.Undo());
    EXPECT_EQ(scene.Value, expect);
  }
  ASSERT_TRUE(stack.Undo());  // steps given up
  ASSERT_TRUE(stack.Undo());
  EXPECT_EQ(scene.Value, 2);
  // Redo walks back over the steps given up and on to the newest.
  for (int expect : {2, 2, 3, 4, 5, 6}) {
    ASSERT_TRUE(stack.Redo());
    EXPECT_EQ(scene.Value, expect);
  }

  // A disk that takes nothing: the stack empties and reports; the scene keeps the step.
  stack.WriteCall = [](int, const void*, size_t) -> long {
    errno = ENOSPC;
    return -1;
  };
  EXPECT_FALSE(Step(9));
  EXPECT_EQ(scene.Value, 9);
  EXPECT_FALSE(stack.LastError().empty());
  EXPECT_EQ(stack.UndoPosition, 0);
  EXPECT_EQ(FileCount(), 0);  // no half-written file either
  EXPECT_FALSE(stack.Undo());
  EXPECT_EQ(scene.Value, 9);

  // An undo whose inverse cannot be written still undoes.
  stack.WriteCall = [](int fd, const void* data, size_t size) { return (long)::write(fd, data, size); };
  ASSERT_TRUE(Step(10));
  stack.WriteCall = [](int, const void*, size_t) -> long {
    errno = ENOSPC;
    return -1;
  };
  ASSERT_TRUE(stack.Undo());
  EXPECT_EQ(scene.Value, 9);
  EXPECT_FALSE(stack.Redo());
  EXPECT_EQ(scene.Value, 9);
}

TEST_F(StackFixture, StatusTextListsTagsNewestFirst) {
  Step(1);
  MemoryBinStream s;
  s.WriteDWORD(FourCC("MESH"));
  s.WriteDWORD(0);
  stack.PushUndoRecord(s);
  EXPECT_EQ(stack.UndoStatusText(), "(2) MESH TEST ");
  for (int i = 0; i < 20; ++i) Step(i);
  EXPECT_LE(stack.UndoStatusText().size(), 56u);
  EXPECT_GT(stack.UndoStatusText().size(), 50u);
}
