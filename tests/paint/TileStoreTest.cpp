// The per-pixel store: wrapping lookups, the cursor, layer tiles in layer
// order, undo copies, pruning, and what a tile and a layer cost in memory.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>

#include "PaintMeshes.h"
#include "ClassEngine/Threader.h"
#include "paint/layers/PixelMap.h"

TEST(TileStore, FetchPixelWrapsBothWaysAndMinusOneReachesTheLastPixel) {
  PaintScene scene;
  PixelMap map(&scene, 37, 23);  // odd sizes: the last tiles are cut
  EXPECT_EQ(map.TilesX(), 3);
  EXPECT_EQ(map.TilesY(), 2);
  PixelCursor c;
  EXPECT_FALSE(map.FetchPixel(c, -1, -1, false, false, false));
  ASSERT_TRUE(map.FetchPixel(c, -1, -1, true, false, false));
  EXPECT_EQ(c.TileX, 36 / 16);
  EXPECT_EQ(c.TileY, 22 / 16);
  EXPECT_EQ(c.Index, (22 % 16) * 16 + 36 % 16);
  c.Pixel().Color = 0xff123456;
  PixelCursor d;
  ASSERT_TRUE(map.FetchPixel(d, 36, 22, false, false, false));
  EXPECT_EQ(d.Pixel().Color, 0xff123456u);
  ASSERT_TRUE(map.FetchPixel(d, 36 + 37 * 5, 22 - 23 * 3, false, false, false));
  EXPECT_EQ(d.Pixel().Color, 0xff123456u);
  // Inside one tile the cursor keeps its tile: no new tile, no lookup miss.
  PixelTile* t = d.Tile;
  for (int x = 32; x < 37; x++) {
    ASSERT_TRUE(map.FetchPixel(d, x, 17, false, false, false));
    EXPECT_EQ(d.Tile, t);
  }
  EXPECT_EQ(map.Tiles.size(), 1u);
  EXPECT_TRUE(map.DirtyTiles.empty());
  map.FetchPixel(d, 0, 0, true, true, false);
  EXPECT_EQ(map.DirtyTiles.size(), 1u);
  EXPECT_EQ(d.Tile->DirtyState, 1);
}

TEST(TileStore, LayerTilesKeepLayerOrderAndEmptyOnesArePruned) {
  PaintScene scene;
  int a = scene.NewLayer(false), b = scene.NewLayer(false), mid = scene.NewLayer(false, 1);
  PixelMap map(&scene, 64, 64);
  PixelTile* tile = map.GetTile(1, 2);
  map.GetLayerTile(tile, b, true);
  map.GetLayerTile(tile, 0, true);
  map.GetLayerTile(tile, a, true);
  map.GetLayerTile(tile, mid, true);
  ASSERT_EQ(tile->LayerTiles.GetAmount(), 4);
  for (int i = 1; i < 4; i++)
    EXPECT_LT(scene.OrderOf(tile->LayerTiles[i - 1]->LayerID), scene.OrderOf(tile->LayerTiles[i]->LayerID));
  EXPECT_EQ(map.GetLayerTile(tile, a, false), tile->FindLayer(a));
  EXPECT_EQ(map.GetLayerTile(tile, 99, false), nullptr);
  // A pixel with depth 0, specular 0 and alpha 0 is empty whatever its colour.
  tile->FindLayer(a)->Pixels[5].Color = 0x00ffffff;
  tile->FindLayer(b)->Pixels[200].Specular = 1;
  map.PruneEmpty(tile);
  ASSERT_EQ(tile->LayerTiles.GetAmount(), 1);
  EXPECT_EQ((int)tile->LayerTiles[0]->LayerID, b);
}

TEST(TileStore, BackupCopiesTheCurrentLayerOnceAndOtherLayersOnce) {
  PaintScene scene;
  int paint = scene.NewLayer(true);
  PixelMap map(&scene, 48, 48);
  PixelCursor c;
  ASSERT_TRUE(map.FetchPixel(c, 20, 20, true, true, true, paint));
  ASSERT_NE(c.Layer, nullptr);
  EXPECT_EQ(c.Tile->CurrentLayerTile, c.Layer);
  ASSERT_NE(c.Tile->UndoLayerTile, nullptr);
  EXPECT_TRUE(map.Changed);
  c.Layer->Pixels[c.Index].Color = 0xff00ff00;
  // A second write in the same stroke keeps the first copy.
  ASSERT_TRUE(map.FetchPixel(c, 21, 20, true, true, true, paint));
  EXPECT_EQ(c.Tile->UndoLayerTile->Pixels[(20 & 15) * 16 + 4].Color, 0u);
  ASSERT_NE(c.Tile->FreezeUndo, nullptr);
  EXPECT_FALSE(map.BackupLayerTile(c.Tile, 0));  // layer 0 was never painted here
  EXPECT_TRUE(map.BackupLayerTile(c.Tile, paint));
  EXPECT_TRUE(map.BackupLayerTile(c.Tile, paint));
  EXPECT_EQ(c.Tile->OtherLayerUndo.GetAmount(), 1);
  EXPECT_EQ(c.Tile->OtherLayerUndo[0]->Pixels[(20 & 15) * 16 + 4].Color, 0xff00ff00u);
  map.ClearUndo();
  EXPECT_FALSE(map.Changed);
  EXPECT_EQ(c.Tile->UndoLayerTile, nullptr);
}

TEST(TileStore, MemoryFollowsPaint) {
  PaintScene scene;
  for (int i = 0; i < 9; i++) scene.NewLayer(false);
  PixelMap map(&scene, 4096, 4096);
  const size_t empty = map.MemoryBytes();
  PixelCursor c;
  // 100 tiles touched, one layer painted in each.
  for (int t = 0; t < 100; t++) map.FetchPixel(c, t * 16 + 3, 7, true, false, false, 1);
  const size_t oneLayer = map.MemoryBytes();
  // Nine more layers exist in the scene but are never painted: no cost.
  EXPECT_EQ(map.MemoryBytes(), oneLayer);
  for (int t = 0; t < 100; t++) map.FetchPixel(c, t * 16 + 3, 7, true, false, false, 2);
  const size_t twoLayers = map.MemoryBytes();
  const double perTile = (oneLayer - empty) / 100.0 - (twoLayers - oneLayer) / 100.0;
  const double perLayer = (twoLayers - oneLayer) / 100.0;
  printf("[ memory ] a touched tile %.0f bytes, each layer in it %.0f bytes\n", perTile, perLayer);
  EXPECT_NEAR(perTile, 8192, 512);
  EXPECT_NEAR(perLayer, 3072, 128);
}

TEST(TileStore, UpdateGivesTheSameMapOnOneAndTwoThreads) {
  PaintScene scene;
  scene.RtSizeX = scene.RtSizeY = 96;
  ASSERT_TRUE(ImportMeshIntoScene(scene, paintmeshes::Sheet(5, 3), PaintImportMode::PerPixel, DPSettings()).ok);
  for (int i = 0; i < 4; i++) scene.NewLayer(false);
  scene.GetLayerByID(2)->ColorOp = ColorOps::Dissolve;  // chance, seeded per pixel
  scene.GetLayerByID(3)->ColorOp = ColorOps::Overlay;
  scene.GetLayerByID(4)->LinkedLayer = 1;
  PixelMap* map = scene.GetPixelMap(0);
  PixelCursor c;
  for (int y = 0; y < 96; y++)
    for (int x = 0; x < 96; x++)
      for (int l = 1; l <= 4; l++)
        if ((x * 7 + y * 3 + l) % 5 < 3 && map->FetchPixel(c, x, y, false, true, false, -1)) {
          LayerTile* lt = map->GetLayerTile(c.Tile, l, true);
          lt->Pixels[c.Index].Color = (uint32_t)(x * 2654435761u ^ (y * 40503u) ^ (l * 977u));
          lt->Pixels[c.Index].Depth = 0.01f * ((x + y + l) % 9);
        }
  std::vector<uint32_t> runs[2];
  for (int run = 0; run < 2; run++) {
    ThreadOptions::UseMultiCore = run == 1;
    ThreadOptions::MaxProcessorsToBeUsed = run == 1 ? 2 : 1;
    for (auto& [key, tile] : map->Tiles) map->MarkDirty(tile, 1);
    EXPECT_GT(map->Update(), 0);
    for (int y = 0; y < 96; y++)
      for (int x = 0; x < 96; x++) {
        map->FetchPixel(c, x, y, false, false, false);
        runs[run].push_back(c.Pixel().Color);
        runs[run].push_back((uint32_t)c.Pixel().NormalX << 8 | c.Pixel().NormalY);
      }
  }
  ThreadOptions::UseMultiCore = true;
  ThreadOptions::MaxProcessorsToBeUsed = 0;
  EXPECT_EQ(runs[0], runs[1]);
  EXPECT_TRUE(map->DirtyTiles.empty());
}

// Every tile of a 48 x 48 map made, its pixels on the mesh, and composed.
static void CoverWithMesh(PixelMap& map) {
  for (int ty = 0; ty < 3; ty++)
    for (int tx = 0; tx < 3; tx++)
      for (TilePixel& p : map.GetTile(tx, ty)->Pixels) {
        p.SetBits(kPixelOnMesh, 0, 0);
        p.Width = p.Height = 0.01f;
      }
  map.Update();
}

// Whether the map's normals equal what a pass over every tile derives.
static bool NormalsAsAFullPassGivesThem(PixelMap& map) {
  auto normals = [&] {
    std::vector<uint8_t> out;
    for (auto& [key, tile] : map.Tiles)
      for (const TilePixel& p : tile->Pixels) out.push_back(p.NormalX), out.push_back(p.NormalY);
    return out;
  };
  const std::vector<uint8_t> before = normals();
  for (auto& [key, tile] : map.Tiles) map.ComputeTileNormals(tile);
  return before == normals();
}

// Normals are derived again only where they can have changed, and never
// depend on which tiles earlier frames touched: a tile whose own depth stayed
// still follows a neighbour's moved depth in the same frame.
TEST(TileStore, NormalsFollowANeighboursDepthAtOnceAndStayWhenOnlyColourChanges) {
  PaintScene scene;
  scene.MakeDefaults();
  const int layer = scene.NewLayer(true);
  PixelMap map(&scene, 48, 48);
  CoverWithMesh(map);
  PixelCursor c;
  // A bump on the right tile at the shared border of tiles (0, 1) and (1, 1);
  // only the right one is marked.
  ASSERT_TRUE(map.FetchPixel(c, 16, 20, true, true, false, layer));
  c.Layer->Pixels[c.Index].Depth = 5.0f;
  map.Update();
  const TilePixel& border = map.FindTile(0, 1)->Pixels[(20 % 16) * 16 + 15];
  EXPECT_NE(border.NormalX, 128) << "the untouched left tile's border sees the bump beside it";
  const uint8_t nx = border.NormalX, ny = border.NormalY;
  // Colour changes alone, on both sides, leave every normal where it was.
  ASSERT_TRUE(map.FetchPixel(c, 10, 20, true, true, false, layer));
  c.Layer->Pixels[c.Index].Color = 0xff2040ff;
  ASSERT_TRUE(map.FetchPixel(c, 17, 20, true, true, false, layer));
  c.Layer->Pixels[c.Index].Color = 0xff00ff00;
  map.Update();
  EXPECT_EQ(border.NormalX, nx);
  EXPECT_EQ(border.NormalY, ny);
  // And they equal what a full pass derives.
  EXPECT_TRUE(NormalsAsAFullPassGivesThem(map));
  // A padding pixel is not given a normal of its own.
  TilePixel& pad = map.FindTile(2, 2)->Pixels[0];
  pad.SetBits(kPixelPadding, 16, 20);
  pad.NormalX = 77, pad.NormalY = 99;
  map.ComputeTileNormals(map.FindTile(2, 2));
  EXPECT_EQ(pad.NormalX, 77);
  EXPECT_EQ(pad.NormalY, 99);
}

// The normal of a pixel, worked out the plain way: central differences of
// depth over the texel sizes, a neighbour that is off the mesh (or in no
// tile) replaced by the pixel itself with its one-sided difference doubled.
static std::pair<int, int> PlainNormal(PixelMap& map, int x, int y) {
  PixelCursor c;
  map.FetchPixel(c, x, y, false, false, false);
  const TilePixel p = c.Pixel();
  if (p.Class() == kPixelOutside) return {128, 128};
  TilePixel n[4];
  const int dx[4] = {-1, 1, 0, 0}, dy[4] = {0, 0, -1, 1};
  float k[2] = {1, 1};
  for (int j = 0; j < 4; j++) {
    PixelCursor nc;
    const bool found = map.FetchPixel(nc, x + dx[j], y + dy[j], false, false, false);
    n[j] = found && nc.Pixel().Class() == kPixelOnMesh ? nc.Pixel() : p;
    if (!found || nc.Pixel().Class() != kPixelOnMesh) k[j / 2] = 2;
  }
  auto inv = [](float w) { return w > 0 ? 0.5 / w : 0.0; };
  const double gx = (n[1].Depth - n[0].Depth) * k[0], gy = (n[3].Depth - n[2].Depth) * k[1];
  const double wx = 8.0 / map.Width * (inv(n[0].Width) + inv(n[1].Width));
  const double wy = 8.0 / map.Height * (inv(n[2].Height) + inv(n[3].Height));
  const double vx = gx * wy, vy = gy * wx, vz = wx * wy, len = std::sqrt(vx * vx + vy * vy + vz * vz);
  if (len == 0) return {128, 128};
  return {(int)std::lround(vx / len * 127 + 128), (int)std::lround(vy / len * 127 + 128)};
}

TEST(TileStore, NormalsAgreeWithThePlainFormulaAcrossTileEdgesHolesAndTheWrap) {
  // Whole tiles, and odd sizes whose last tiles are cut by the map's edge.
  for (const auto& [w, hgt] : {std::pair{64, 48}, std::pair{53, 41}}) {
    SCOPED_TRACE(testing::Message() << w << " x " << hgt);
    PaintScene scene;
    PixelMap map(&scene, w, hgt);
    PixelCursor c;
    for (int y = 0; y < hgt; y++)
      for (int x = 0; x < w; x++) {
        if (x >= 16 && x < 32 && y >= 16 && y < 32) continue;  // one tile missing
        map.FetchPixel(c, x, y, true, true, false);
        TilePixel& p = c.Pixel();
        const int h = (x * 7 + y * 13) % 11;
        p.SetBits(h == 0 ? kPixelOutside : h == 1 ? kPixelPadding : kPixelOnMesh, x, y);
        p.Width = h == 2 ? 0.0f : 0.2f + 0.01f * (float)((x + 2 * y) % 5);
        p.Height = 0.3f - 0.02f * (float)((3 * x + y) % 4);
        p.Depth = 0.1f * std::sin(0.37f * (float)x) * (float)(y % 9) + (x > 40 ? 0.5f : 0.0f) +
                  (y == hgt - 1 ? 0.3f : 0.0f);
      }
    for (auto& [key, tile] : map.Tiles) map.ComputeTileNormals(tile);
    int tilted = 0;
    for (int y = 0; y < hgt; y++)
      for (int x = 0; x < w; x++) {
        if (!map.FetchPixel(c, x, y, false, false, false)) continue;
        if (c.Pixel().Class() == kPixelPadding) continue;  // takes its source's normal along the links
        const auto [nx, ny] = PlainNormal(map, x, y);
        ASSERT_NEAR(c.Pixel().NormalX, nx, 1) << x << "," << y;
        ASSERT_NEAR(c.Pixel().NormalY, ny, 1) << x << "," << y;
        tilted += nx != 128 || ny != 128;
      }
    EXPECT_GT(tilted, w * hgt / 2) << "the depth field must tilt most normals for this to prove anything";
  }
}
