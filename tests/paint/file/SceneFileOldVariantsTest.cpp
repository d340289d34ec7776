// What the reader does for files of older versions: without "NSYZ" y and z
// change places (but not in the shift), without "NBLN" old blend numbers are
// mapped, without "SSPC" the colour's alpha takes the opacity, without "MSSK"
// the scale comes from the bounds; unknown blocks are skipped.
#include <gtest/gtest.h>

#include "SceneFileScenes.h"

using namespace scenefiles;

TEST(SceneFileOldVariants, WithoutNoSwapMarkerYAndZChangePlacesButNotInTheShift) {
  PaintScene a;
  MicroVertexScene(a, 3, 2, 1, 2);
  std::vector<uint8_t> old = Join(Without(Split(Bytes(a)), FourCC("NSYZ")));
  PaintScene b;
  ASSERT_TRUE(Load(b, old).ok);
  ASSERT_EQ(b.Vertices.size(), a.Vertices.size());
  for (size_t v = 0; v < a.Vertices.size(); v++) {
    EXPECT_EQ(b.Vertices[v].Position.y, a.Vertices[v].Position.z);
    EXPECT_EQ(b.Vertices[v].Position.z, a.Vertices[v].Position.y);
  }
  // Offsets and base normals of the samples turn with them.
  const FaceLayer& la = a.Faces[1].LayerList[1];
  const FaceLayer* lb = nullptr;
  for (const FaceLayer& l : b.Faces[1].LayerList)
    if (l.LayerID == la.LayerID) lb = &l;
  ASSERT_NE(lb, nullptr);
  EXPECT_EQ(lb->Data[3].Offset.y, la.Data[3].Offset.z);
  EXPECT_EQ(b.Faces[1].Grid[3].BaseNormal.y, a.Faces[1].Grid[3].BaseNormal.z);
  EXPECT_EQ(b.Shift.y, a.Shift.y);
  EXPECT_EQ(b.Shift.z, a.Shift.z);
}

TEST(SceneFileOldVariants, WithoutNewBlendMarkerOldModeNumbersAreMapped) {
  PaintScene a;
  MicroVertexScene(a, 2, 1, 1, 8);
  std::vector<uint8_t> old = Join(Without(Split(Bytes(a)), FourCC("NBLN")));
  PaintScene b;
  ASSERT_TRUE(Load(b, old).ok);
  const int expect[8] = {0, ColorOps::Multiply, 23, 24, 25, 6, 2, ColorOps::LOP_NORMALMAP};
  for (int i = 0; i < b.Layers.GetAmount(); i++) {
    int was = a.Layers[i]->ColorOp;
    EXPECT_EQ(b.Layers[i]->ColorOp, was < 8 ? expect[was] : was) << i;
  }
  // Once only: saving and loading again keeps the mapped numbers.
  PaintScene c;
  ASSERT_TRUE(Load(c, Bytes(b)).ok);
  for (int i = 0; i < b.Layers.GetAmount(); i++) EXPECT_EQ(c.Layers[i]->ColorOp, b.Layers[i]->ColorOp);
}

TEST(SceneFileOldVariants, WithoutSpecularMarkerAlphaIsMultipliedByOpacity) {
  PaintScene a;
  MicroVertexScene(a, 2, 1, 1, 1);
  FaceLayer& l = a.Faces[0].LayerList[a.Faces[0].LayerList.GetAmount() - 1];
  l.Data[0].Color = 0xc8102030, l.Data[0].Opacity = 0.5f;
  l.Data[1].Color = 0xff102030, l.Data[1].Opacity = 1.0f;
  const int id = l.LayerID;
  std::vector<uint8_t> old = Join(Without(Split(Bytes(a)), FourCC("SSPC")));
  PaintScene b;
  ASSERT_TRUE(Load(b, old).ok);
  FaceLayer* lb = b.GetFaceLayer(0, id, false);
  ASSERT_NE(lb, nullptr);
  EXPECT_EQ(lb->Data[0].Color, 0x64102030u);  // 200 * 0.5
  EXPECT_EQ(lb->Data[1].Color, 0xff102030u);
  PaintScene c;
  ASSERT_TRUE(Load(c, Bytes(a)).ok);
  EXPECT_EQ(c.GetFaceLayer(0, id, false)->Data[0].Color, 0xc8102030u);
}

TEST(SceneFileOldVariants, WithoutScaleBlockTheScaleComesFromTheBounds) {
  PaintScene a;
  MicroVertexScene(a, 3, 2, 1, 1);
  const float fromBounds = a.UnitScale;
  a.UnitScale = 5.0f;
  PaintScene b, c;
  ASSERT_TRUE(Load(b, Bytes(a)).ok);
  EXPECT_EQ(b.UnitScale, 5.0f);
  ASSERT_TRUE(Load(c, Join(Without(Split(Bytes(a)), FourCC("MSSK")))).ok);
  EXPECT_FLOAT_EQ(c.UnitScale, fromBounds);
  EXPECT_FLOAT_EQ(c.CellSize, a.CellSize);
}

TEST(SceneFileOldVariants, UnknownBlockBetweenKnownBlocksIsSkipped) {
  PaintScene a;
  MicroVertexScene(a, 2, 2, 1, 3);
  std::vector<Block> blocks = Split(Bytes(a));
  auto at = std::find_if(blocks.begin(), blocks.end(), [](const Block& k) { return k.Tag == FourCC("MTLS"); });
  ASSERT_NE(at, blocks.end());
  blocks.insert(at + 1, Block{FourCC("ZQXW"), {1, 2, 3, 4, 5, 6, 7}});
  blocks.insert(blocks.begin(), Block{FourCC("EMPT"), {}});
  PaintScene b;
  SceneFileResult r = Load(b, Join(blocks));
  ASSERT_TRUE(r.ok) << r.error;
  EXPECT_EQ(Bytes(b), Bytes(a));
}
