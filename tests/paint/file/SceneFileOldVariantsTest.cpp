// What the reader does for files of older versions: without "NSYZ" y and z
// change places (but not in the shift), without "NBLN" old blend numbers are
// mapped, without "SSPC" the colour's alpha takes the opacity, without "MSSK"
// the scale comes from the bounds; unknown blocks are skipped; the older
// layouts of the surface block read to the same faces.
#include <gtest/gtest.h>

#include "SceneFileScenes.h"
#include "paint/file/BlockCoding.h"

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

namespace {
// The surface block in the layout of an older tag: 40-byte corners below
// "SUR4", no target and UV set below "SUR7", the grid side from the head
// below "SUR6", no object, material and wear below "SUR3", no wear below "SUR5".
Block OldSurface(const PaintScene& s, uint32_t tag, int grid) {
  MemoryBinStream m;
  {
    BlockWriter w(m);
    const bool sur3 = tag >= FourCC("SUR3"), sur4 = tag >= FourCC("SUR4"), sur5 = tag >= FourCC("SUR5"),
               sur6 = tag >= FourCC("SUR6"), sur7 = tag >= FourCC("SUR7");
    w.U32(sur6 ? 0 : grid), w.U32((uint32_t)s.Faces.size());
    w.U32((uint32_t)s.Corners.size()), w.U32((uint32_t)s.Vertices.size()), w.U32((uint32_t)s.Normals.size());
    for (const FaceCorner& c : s.Corners) {
      w.I32(c.Vertex), w.I32(c.Normal), w.F32(c.UV.x), w.F32(c.UV.y), w.Vec3(c.Tangent), w.Vec3(c.Binormal);
      if (sur4) w.F32(c.UV2.x), w.F32(c.UV2.y);
    }
    for (const comms::cVec3& n : s.Normals) w.Vec3(n);
    for (const MeshVertex& v : s.Vertices) w.Vec3(v.Position), w.F32(v.Mark), w.U32(0);
    for (const FaceCornerTable* t : {&s.FaceCornerMap, &s.BasicFaceCornerMap}) {
      std::vector<uint32_t> pairs;
      for (int f = 0; f < t->FaceCount(); f++)
        for (int i = 0; i + 1 < t->Entries(f); i++) pairs.push_back(f), pairs.push_back(t->Of(f)[i]);
      w.U32(4 + 4 * (uint32_t)pairs.size()), w.U32((uint32_t)pairs.size() / 2);
      for (uint32_t p : pairs) w.U32(p);
    }
    w.U32((uint32_t)s.Faces.size());
    for (const PaintFace& f : s.Faces) {
      w.U8(f.Flags);
      w.I32(f.Neighbour[2]), w.I32(f.Neighbour[3]), w.I32(f.Neighbour[0]), w.I32(f.Neighbour[1]);
      if (sur7) w.U16(f.RenderTarget), w.U16(f.UVSet);
      if (sur6) w.U16(f.Nx), w.U16(f.Ny);
      if (sur3) w.U32(f.Object), w.U32(f.Material);
      if (sur3 && sur5) w.F32(f.Wear);
      for (int i = 0; i < f.SampleCount(); i++) w.F32(f.Grid[i].Freeze), w.Vec3(f.Grid[i].BaseNormal);
      w.U32((uint32_t)f.LayerList.GetAmount());
      for (const FaceLayer& l : f.LayerList) {
        w.U32((uint32_t)l.LayerID);
        for (int i = 0; i < f.SampleCount(); i++)
          w.U32(l.Data[i].Color), w.Vec3(l.Data[i].Offset), w.F32(l.Data[i].Opacity);
      }
    }
  }
  return Block{tag, std::vector<uint8_t>(m.GetData(), m.GetData() + m.GetWritePos())};
}
}  // namespace

TEST(SceneFileOldVariants, OlderSurfaceLayoutsReadToTheSameFaces) {
  PaintScene a;
  MicroVertexScene(a, 3, 2, 1, 3);
  for (PaintFace& f : a.Faces) f.Object = 0, f.Visible = 1;  // objects are not in the oldest layouts
  std::vector<Block> blocks = Split(Bytes(a));
  PaintScene now;
  ASSERT_TRUE(Load(now, Join(blocks)).ok);
  for (const char* name : {"SUR3", "SUR4", "SUR5", "SUR6", "SAR6", "SUR7"}) {
    SCOPED_TRACE(name);
    const uint32_t tag = FourCC({name[0], name[1], name[2], name[3], 0});
    const uint32_t layout = tag == FourCC("SAR6") ? FourCC("SUR6") : tag;
    std::vector<Block> old = blocks;
    for (Block& k : old)
      if (k.Tag == FourCC("SAR7")) k = OldSurface(a, layout, a.Faces[0].Nx), k.Tag = tag;
    PaintScene b;
    SceneFileResult r = Load(b, Join(old));
    ASSERT_TRUE(r.ok) << r.error;
    ASSERT_EQ(b.Faces.size(), now.Faces.size());
    for (size_t f = 0; f < b.Faces.size(); f++) {
      ASSERT_EQ(b.Faces[f].SampleCount(), now.Faces[f].SampleCount());
      for (int i = 0; i < b.Faces[f].SampleCount(); i++) {
        ASSERT_EQ(b.Faces[f].Grid[i].Color, now.Faces[f].Grid[i].Color) << f;
        ASSERT_EQ(b.Faces[f].Grid[i].Position.z, now.Faces[f].Grid[i].Position.z) << f;
      }
    }
    // Without UV2 in the corners (below "SUR4") it reads as zero.
    if (layout < FourCC("SUR4")) {
      EXPECT_EQ(b.Corners[0].UV2.x, 0.0f);
    }
  }
}

TEST(SceneFileOldVariants, LayerBlockAfterTheFacesAndTilesStillReachesThem) {
  // Blocks may come in any order: layers read after the faces and tiles
  // that use them replace the layers those were linked to.
  for (bool perPixel : {false, true}) {
    SCOPED_TRACE(perPixel ? "per pixel" : "micro-vertex");
    PaintScene a;
    if (perPixel)
      PerPixelScene(a, 41, 23);
    else
      MicroVertexScene(a, 3, 2, 1, 6);
    a.Layers[a.Layers.GetAmount() - 1]->Visible = false;
    a.Layers[1]->ColorTransparency = 0.3f;
    const std::vector<uint8_t> file = Bytes(a);
    std::vector<Block> blocks = Split(file);
    auto layers = std::find_if(blocks.begin(), blocks.end(), [](const Block& k) { return k.Tag == FourCC("LR01"); });
    ASSERT_NE(layers, blocks.end());
    Block moved = *layers;
    blocks.erase(layers);
    blocks.insert(blocks.end() - 1, moved);  // just before the end block
    PaintScene b, c;
    ASSERT_TRUE(Load(b, Join(blocks)).ok);
    ASSERT_TRUE(Load(c, file).ok);
    for (const PaintFace& f : b.Faces)
      for (const FaceLayer& l : f.LayerList) ASSERT_EQ(l.Info, b.GetLayerByID(l.LayerID));
    EXPECT_EQ(Bytes(b), Bytes(c));
    for (size_t f = 0; f < b.Faces.size(); f++)
      for (int i = 0; i < b.Faces[f].SampleCount(); i++) ASSERT_EQ(b.Faces[f].Grid[i].Color, c.Faces[f].Grid[i].Color);
    if (perPixel) {
      PixelCursor pb, pc;
      for (int y = 0; y < 23; y++)
        for (int x = 0; x < 41; x++)
          if (c.GetPixelMap(0)->FetchPixel(pc, x, y, false, false, false)) {
            ASSERT_TRUE(b.GetPixelMap(0)->FetchPixel(pb, x, y, false, false, false));
            ASSERT_EQ(pb.Pixel().Color, pc.Pixel().Color) << x << "," << y;
          }
    }
  }
}
