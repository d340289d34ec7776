// Named parts of a mesh: "_negative" parts cut instead of adding when asked,
// separate volumes come one per part, and cutting through reaches the
// volumes below the target only when asked.
#include <gtest/gtest.h>

#include "MC/mcubes/VolumeFill.h"
#include "MC/mcubes/VolumeObject.h"
#include "MC/mesh/MergeIntoVolume.h"
#include "MC/mesh/MergeSeparate.h"
#include "BoxParts.h"
#include "interchange/Mesh.h"

namespace {

// A slot through both spheres and a block away from them.
comms::cMesh SlotAndBlock() {
  comms::cMesh m;
  const float slotLo[3] = {-12.5f, -2.5f, -20.5f}, slotHi[3] = {40.5f, 2.5f, 20.5f};
  const float blockLo[3] = {0.3f, 20.3f, 0.3f}, blockHi[3] = {10.3f, 30.3f, 10.3f};
  AddBox(m, "slot_negative", slotLo, slotHi);
  AddBox(m, "block", blockLo, blockHi);
  return m;
}

bool In(VolumeObject& v, float x, float y, float z) { return v.SampleField(x, y, z) >= kSurfaceLevel; }

struct Scene {
  VolumeObject target, child;
  Scene() {
    FillVolume(target, SphereShape(0.2f, 0.1f, -0.3f, 10.0f));
    FillVolume(child, SphereShape(30.2f, 0.1f, -0.3f, 8.0f));
  }
};

}  // namespace

TEST(NegativeParts, CutFirstWhenRespectedAndAddedOtherwise) {
  const comms::cMesh mesh = SlotAndBlock();
  VolumeObject cut, added;
  FillVolume(cut, SphereShape(0.2f, 0.1f, -0.3f, 10.0f));
  FillVolume(added, SphereShape(0.2f, 0.1f, -0.3f, 10.0f));
  MergeMesh(cut, mesh, nullptr, kMergeUnion, true);
  MergeMesh(added, mesh, nullptr, kMergeUnion, false);
  EXPECT_FALSE(In(cut, 0, 0, 0));  // the slot through the middle
  EXPECT_TRUE(In(cut, 0, 6, 0));
  EXPECT_FALSE(In(cut, 20, 0, 0));
  EXPECT_TRUE(In(cut, 5, 25, 5));  // the block merged as usual
  EXPECT_TRUE(In(added, 0, 0, 0));  // without the rule the slot is a solid bar
  EXPECT_TRUE(In(added, 20, 0, 0));
  EXPECT_TRUE(In(added, 5, 25, 5));
}

TEST(NegativeParts, SeparateVolumesAndCuttingThrough) {
  const comms::cMesh mesh = SlotAndBlock();
  for (bool through : {false, true}) {
    SCOPED_TRACE(through ? "cut through" : "target only");
    Scene s;
    std::vector<SeparatePart> parts = MergeMeshSeparate(s.target, {&s.child}, mesh, nullptr, true, through);
    ASSERT_EQ(parts.size(), 1u);
    EXPECT_EQ(parts[0].Name, "block");
    EXPECT_EQ(parts[0].Volume->Name, "block");
    EXPECT_TRUE(In(*parts[0].Volume, 5, 25, 5));
    EXPECT_FALSE(In(*parts[0].Volume, 0, 6, 0));
    EXPECT_FALSE(In(s.target, 5, 25, 5));  // the block went to its own volume
    EXPECT_FALSE(In(s.target, 0, 0, 0));
    EXPECT_TRUE(In(s.target, 0, 6, 0));
    EXPECT_EQ(In(s.child, 30, 0, 0), !through);
    EXPECT_TRUE(In(s.child, 30, 5, 0));
  }
  // Without the rule the negative part is a part like the others.
  Scene s;
  std::vector<SeparatePart> parts = MergeMeshSeparate(s.target, {&s.child}, mesh, nullptr, false, true);
  ASSERT_EQ(parts.size(), 2u);
  EXPECT_EQ(parts[0].Name, "slot_negative");
  EXPECT_TRUE(In(*parts[0].Volume, 20, 0, 0));
  EXPECT_TRUE(In(s.target, 0, 0, 0));
  EXPECT_TRUE(In(s.child, 30, 0, 0));
}
