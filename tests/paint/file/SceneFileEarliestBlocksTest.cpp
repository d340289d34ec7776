// Files of the first versions: the surface blocks "SURF" and "SUR1" (one grid
// size for all faces, whole samples, one paint layer) and the pixel block
// "MAQ1" (derived pixel data and links stored, u32 layer ids, 12-byte layer
// pixels), written here byte by byte as those versions laid them out.
#include <gtest/gtest.h>

#include "SceneFileScenes.h"
#include "paint/file/BlockCoding.h"

using namespace scenefiles;

namespace {

// Two quads side by side (a 2 x 1 sheet), grid 2, one normal; positions are
// asymmetric so a swapped or shifted field shows.
struct EarlySheet {
  static constexpr int kGrid = 2;
  comms::cVec3 Vertex[6] = {{0, 0, 0}, {1, 0, 0.5f}, {2, 0, 1}, {0, 1, 0.25f}, {1, 1, 0.75f}, {2, 1.5f, 2}};
  int Loop[2][4] = {{0, 1, 4, 3}, {1, 2, 5, 4}};

  comms::cVec3 Position(int f, int k) const { return {f + k * 0.1f, 0.3f * k, 2.0f + f}; }
  comms::cVec3 Normal(int f, int k) const { return {0.1f * k, 0.2f + f, 0.9f}; }
  comms::cVec3 Base(int f, int k) const { return {0.5f, 0.1f * k, -0.2f * f}; }
  uint32_t Colour(int f, int k) const { return 0x80000000u | (uint32_t)(f * 0x10000 + k * 0x123 + 7); }
  float Freeze(int f, int k) const { return f == 0 ? 1.0f : k * 0.3f; }

  // The block body in the layout of `tag` ("SURF": 32-byte samples).
  std::vector<uint8_t> Body(uint32_t tag) const {
    MemoryBinStream m;
    {
      BlockWriter w(m);
      w.U32(kGrid), w.U32(2), w.U32(8), w.U32(6), w.U32(1);
      for (int f = 0; f < 2; f++)
        for (int i = 0; i < 4; i++) {
          w.I32(Loop[f][i]), w.I32(0);
          w.F32(Vertex[Loop[f][i]].x / 2), w.F32(Vertex[Loop[f][i]].y / 1.5f);
          w.Vec3({1, 0, 0}), w.Vec3({0, 1, 0});  // 40 bytes: no second UV
        }
      w.Vec3({0, 0, 1});
      for (const comms::cVec3& v : Vertex) w.Vec3(v), w.F32(7.0f);  // four floats
      for (int map = 0; map < 2; map++) {
        w.U32(4 + 8 * 8), w.U32(8);
        for (int c = 0; c < 8; c++) w.U32(c / 4), w.U32(c);
      }
      w.U32(2);
      for (int f = 0; f < 2; f++) {
        w.U8((uint8_t)(3 + f));
        w.I32(-1), w.I32(-1), w.I32(f ? 0 : -1), w.I32(f ? -1 : 1);
        for (int k = 0; k < kGrid * kGrid; k++) {
          w.Vec3(Position(f, k)), w.Vec3(Normal(f, k)), w.U32(Colour(f, k)), w.F32(Freeze(f, k));
          if (tag == FourCC("SUR1")) w.F32(0.25f), w.Vec3(Base(f, k));
        }
      }
    }
    return std::vector<uint8_t>(m.GetData(), m.GetData() + m.GetWritePos());
  }
};

comms::cVec3 Swapped(const comms::cVec3& v) { return {v.x, v.z, v.y}; }
bool Same(const comms::cVec3& a, const comms::cVec3& b) { return a.x == b.x && a.y == b.y && a.z == b.z; }

// The per-pixel scene's tiles in the first pixel-block layout.
Block EarlyPixels(PaintScene& s) {
  PixelMap& map = *s.GetPixelMap(0);
  MemoryBinStream m;
  {
    BlockWriter w(m);
    w.U32(0), w.U16((uint16_t)map.Width), w.U16((uint16_t)map.Height), w.U32((uint32_t)map.Tiles.size());
    for (int ty = 0; ty < map.TilesY(); ty++)
      for (int tx = 0; tx < map.TilesX(); tx++) {
        PixelTile* t = map.FindTile(tx, ty);
        if (!t) continue;
        w.U16((uint16_t)tx), w.U16((uint16_t)ty);
        for (const TilePixel& p : t->Pixels) {
          // Derived data the reader builds again from the faces: nonsense here.
          w.U16(p.Freeze), w.F32(-5.0f), w.F32(99.0f), w.U16(0x3fff), w.U16(1), w.U8(9);
        }
        w.U16(1), w.U16(1), w.U16(2), w.U16(3), w.U16(4);  // one seam link
        w.U16(0);
        w.U16(2);
        for (int k = 0; k < 8; k++) w.U16((uint16_t)k);  // two padding links
        w.U16((uint16_t)t->LayerTiles.GetAmount());
        for (LayerTile* l : t->LayerTiles) {
          w.U32(l->LayerID);
          for (const LayerPixel& p : l->Pixels) w.F32(p.Depth), w.U32(p.Color), w.U8(0xee), w.U8(p.Specular), w.U16(0);
        }
      }
  }
  return Block{FourCC("MAQ1"), std::vector<uint8_t>(m.GetData(), m.GetData() + m.GetWritePos())};
}

}  // namespace

TEST(SceneFileEarliestBlocks, FirstSurfaceLayoutsGiveOneLayerHoldingPositionAndColour) {
  const EarlySheet sheet;
  for (const char* name : {"SURF", "SUR1"}) {
    SCOPED_TRACE(name);
    const uint32_t tag = FourCC({name[0], name[1], name[2], name[3], 0});
    PaintScene s;
    // No "NSYZ": these files keep y and z exchanged.
    SceneFileResult r = Load(s, Join({Block{tag, sheet.Body(tag)}, Block{FourCC("MEND"), {}}}));
    ASSERT_TRUE(r.ok) << r.error;
    ASSERT_EQ(s.Faces.size(), 2u);
    ASSERT_EQ(s.Vertices.size(), 6u);
    for (int v = 0; v < 6; v++) {
      EXPECT_TRUE(Same(s.Vertices[v].Position, Swapped(sheet.Vertex[v]))) << v;
      EXPECT_EQ(s.Vertices[v].Mark, 1.0f);
    }
    EXPECT_EQ(s.Corners[5].UV.x, sheet.Vertex[2].x / 2);
    EXPECT_EQ(s.Corners[5].UV2.x, 0.0f);
    ASSERT_EQ(s.Layers.GetAmount(), 1);
    const int id = s.Layers[0]->LayerID;
    EXPECT_EQ(s.CurrentLayer, id);
    for (int f = 0; f < 2; f++) {
      const PaintFace& face = s.Faces[f];
      EXPECT_EQ(face.Flags, 3 + f);
      ASSERT_EQ(face.SampleCount(), 4);
      ASSERT_EQ(face.LayerList.GetAmount(), 1);
      ASSERT_EQ(face.LayerList[0].LayerID, id);
      for (int k = 0; k < 4; k++) {
        const LayerMicroVertex& l = face.LayerList[0].Data[k];
        EXPECT_EQ(l.Color, sheet.Colour(f, k));
        EXPECT_EQ(l.Opacity, 1.0f);
        EXPECT_TRUE(Same(l.Offset, Swapped(sheet.Position(f, k))));
        EXPECT_EQ(face.Grid[k].Freeze, sheet.Freeze(f, k));
        // The only layer is the bottom one: composition puts each sample back.
        EXPECT_TRUE(Same(face.Grid[k].Position, Swapped(sheet.Position(f, k))));
        const comms::cVec3 base = tag == FourCC("SUR1") ? sheet.Base(f, k) : sheet.Normal(f, k);
        EXPECT_TRUE(Same(face.Grid[k].BaseNormal, Swapped(base)));
      }
    }
    EXPECT_EQ(s.Faces[0].FreezeState, 2);  // all frozen
    EXPECT_EQ(s.Faces[1].FreezeState, 1);  // partly
    // It saves in today's layout and reads back to the same scene.
    std::vector<uint8_t> now = Bytes(s);
    PaintScene again;
    ASSERT_TRUE(Load(again, now).ok);
    EXPECT_EQ(Bytes(again), now);
  }
}

TEST(SceneFileEarliestBlocks, CutOrOversizedFirstSurfaceIsReportedByName) {
  const EarlySheet sheet;
  PaintScene open;
  MicroVertexScene(open, 2, 1, 1, 1);
  const std::vector<uint8_t> kept = Bytes(open);
  for (const char* name : {"SURF", "SUR1"}) {
    const uint32_t tag = FourCC({name[0], name[1], name[2], name[3], 0});
    std::vector<uint8_t> body = sheet.Body(tag);
    for (size_t cut : {size_t(3), size_t(100), body.size() - 1}) {
      std::vector<uint8_t> part(body.begin(), body.begin() + cut);
      SceneFileResult r = Load(open, Join({Block{tag, part}}));
      EXPECT_FALSE(r.ok);
      EXPECT_NE(r.error.find(std::string("block ") + name), std::string::npos) << r.error;
    }
    std::vector<uint8_t> huge = body;
    const uint32_t grid = 4000;  // 16 M samples a face: more than the file holds
    std::memcpy(huge.data(), &grid, 4);
    SceneFileResult r = Load(open, Join({Block{tag, huge}, Block{FourCC("MEND"), {}}}));
    EXPECT_FALSE(r.ok);
    EXPECT_NE(r.error.find("face count"), std::string::npos) << r.error;
  }
  EXPECT_EQ(Bytes(open), kept);
}

TEST(SceneFileEarliestBlocks, FirstPixelBlockReadsToTheSameTilesAsToday) {
  PaintScene a;
  PerPixelScene(a, 53, 37);
  std::vector<Block> blocks = Split(Bytes(a));
  std::vector<Block> early = blocks;
  for (Block& k : early)
    if (k.Tag == FourCC("MAQ2")) k = EarlyPixels(a);
  PaintScene now, then;
  ASSERT_TRUE(Load(now, Join(blocks)).ok);
  SceneFileResult r = Load(then, Join(early));
  ASSERT_TRUE(r.ok) << r.error;
  PixelMap *mn = now.GetPixelMap(0), *mt = then.GetPixelMap(0);
  ASSERT_NE(mt, nullptr);
  ASSERT_EQ(mt->Width, 53);
  ASSERT_EQ(mt->Height, 37);
  int painted = 0;
  PixelCursor cn, ct;
  for (int y = 0; y < 37; y++)
    for (int x = 0; x < 53; x++) {
      ASSERT_EQ(mn->FetchPixel(cn, x, y, false, false, false), mt->FetchPixel(ct, x, y, false, false, false));
      if (!cn.Tile) continue;
      // Sizes and classes come from the faces, not from the stored nonsense.
      ASSERT_EQ(ct.Pixel().Width, cn.Pixel().Width) << x << "," << y;
      ASSERT_EQ(ct.Pixel().PixelBits, cn.Pixel().PixelBits) << x << "," << y;
      ASSERT_EQ(ct.Pixel().Freeze, cn.Pixel().Freeze) << x << "," << y;
      ASSERT_EQ(ct.Pixel().Color, cn.Pixel().Color) << x << "," << y;
      ASSERT_EQ(ct.Pixel().Depth, cn.Pixel().Depth) << x << "," << y;
      ASSERT_EQ(ct.Pixel().Specular, cn.Pixel().Specular) << x << "," << y;
      painted += ct.Pixel().Color != 0 && ct.Pixel().Freeze != 0;
    }
  EXPECT_GT(painted, 10);
  // And it saves in today's layout to the same bytes as the file read today.
  EXPECT_EQ(Bytes(then), Bytes(now));

  // Cut inside a tile: named, and the open scene stays.
  std::vector<uint8_t> file = Join(early);
  const std::vector<uint8_t> kept = Bytes(now);
  for (Block& k : early)
    if (k.Tag == FourCC("MAQ1")) k.Body.resize(k.Body.size() / 2);
  r = Load(now, Join(early));
  EXPECT_FALSE(r.ok);
  EXPECT_NE(r.error.find("block MAQ1"), std::string::npos) << r.error;
  EXPECT_EQ(Bytes(now), kept);
}

TEST(SceneFileEarliestBlocks, TilesReadBeforeTheFirstSurfaceLayoutFollowItsNewLayer) {
  // The first surface layout replaces the layers; tiles read before it must
  // not keep pointing at the ones it dropped.
  PaintScene p;
  PerPixelScene(p, 37, 29);
  std::vector<Block> blocks;
  for (const Block& k : Split(Bytes(p)))
    if (k.Tag == FourCC("LR01") || k.Tag == FourCC("MAQ2")) blocks.push_back(k);
  const EarlySheet sheet;
  blocks.push_back(Block{FourCC("SUR1"), sheet.Body(FourCC("SUR1"))});
  blocks.push_back(Block{FourCC("MEND"), {}});
  PaintScene s;
  SceneFileResult r = Load(s, Join(blocks));
  ASSERT_TRUE(r.ok) << r.error;
  int tiles = 0;
  for (MRenderTarget* rt : s.RenderTargets)
    if (rt->Pixels)
      for (auto& [key, tile] : rt->Pixels->Tiles)
        for (LayerTile* l : tile->LayerTiles) {
          ASSERT_EQ(l->Info, s.GetLayerByID((int)l->LayerID));
          tiles++;
        }
  EXPECT_GT(tiles, 0);
}
