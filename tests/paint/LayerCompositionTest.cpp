// Composition of layers: the flat default of an unpainted sample, depth
// modes, the coverage rules of the burn modes and Dissolve, masks, and the
// same result from the tile and the micro-vertex paths.
#include <gtest/gtest.h>

#include "PaintMeshes.h"
#include "paint/layers/BlendOps.h"
#include "paint/layers/ComposeFace.h"
#include "paint/layers/PixelMap.h"

namespace {

OneLayerInfo Layer(int op) {
  OneLayerInfo l;
  l.ColorOp = op;
  return l;
}

}  // namespace

TEST(LayerComposition, MaxDepthKeepsTheExistingDepthOnEqualMagnitude) {
  EXPECT_EQ(ApplyDepthOp(DepthOps::LOP_MAXDEPTH, 2.0f, -2.0f, 1), 2.0f);
  EXPECT_EQ(ApplyDepthOp(DepthOps::LOP_MAXDEPTH, -2.0f, 2.0f, 1), -2.0f);
  EXPECT_EQ(ApplyDepthOp(DepthOps::LOP_MAXDEPTH, 1.0f, -3.0f, 1), -3.0f);
  comms::cVec3 D(0, 3, 0), d(3, 0, 0), n(0, 0, 1);
  EXPECT_EQ(ApplyDepthOp(DepthOps::LOP_MAXDEPTH, D, d, n, 1).y, 3.0f);
  EXPECT_EQ(ApplyDepthOp(DepthOps::LOP_SUBDEPTH, 5.0f, 2.0f, 1), 3.0f);
  EXPECT_NEAR(ApplyDepthOp(DepthOps::LOP_MAGNIFY, 2.0f, 1.0f, 5), 2 * std::exp(1.0f), 1e-5f);
  EXPECT_NEAR(ApplyDepthOp(DepthOps::LOP_MINIFY, 2.0f, 1.0f, 5), 2 * std::exp(-1.0f), 1e-5f);
  // Vectors scale by the exponential of the base normal's component.
  comms::cVec3 m = ApplyDepthOp(DepthOps::LOP_MAGNIFY, D, comms::cVec3(7, 7, 1), n, 5);
  EXPECT_NEAR(m.y, 3 * std::exp(1.0f), 1e-4f);
}

TEST(LayerComposition, BurnModesReturnFourTimesTheCoverageCappedAtOne) {
  for (int op : {(int)ColorOps::ColorBurn, (int)ColorOps::LinearBurn}) {
    float L[4] = {200, 100, 50, 255}, A[4] = {120, 120, 120, 255};
    float a = 0.1f;
    ApplyColorOp(op, L, A, a);
    EXPECT_FLOAT_EQ(a, 0.4f) << op;
    a = 0.3f;
    ApplyColorOp(op, L, A, a);
    EXPECT_FLOAT_EQ(a, 1.0f) << op;
  }
  // Through the blend: a layer at alpha 0.2 covers 0.8.
  SampleBlend b(1);
  b.Add(Layer(0), 0xff808080, 0, 1, 1, true);
  b.Add(Layer(ColorOps::LinearBurn), 0xff404040, 0, 0.2f, 1, true);
  EXPECT_NEAR(b.Coverage, 1.0f, 1e-6f);
  // L*a + A - a*255 = 64*0.2 + 128 - 51 = 89.8, blended at e = 0.8.
  EXPECT_NEAR(b.A[0], 128 * 0.2f + 89.8f * 0.8f, 1e-3f);
}

TEST(LayerComposition, DissolveAtZeroAlphaShowsTheAccumulatedColourAtFullCoverage) {
  for (uint32_t seed = 1; seed < 200; seed++) {
    SampleBlend b(seed);
    b.Add(Layer(0), 0xff102030, 0, 1, 1, true);
    b.Coverage = 0.25f;
    b.Add(Layer(ColorOps::Dissolve), 0xffffffff, 0, 0, 1, true);
    ASSERT_EQ(PackColor(b.A) & 0xffffff, 0x102030u) << seed;
    ASSERT_EQ(b.Coverage, 1.0f);
  }
  // At full alpha it always shows the layer.
  SampleBlend full(3);
  full.Add(Layer(0), 0xff102030, 0, 1, 1, true);
  full.Add(Layer(ColorOps::Dissolve), 0xffa0b0c0, 0, 1, 1, true);
  EXPECT_EQ(PackColor(full.A) & 0xffffff, 0xa0b0c0u);
}

TEST(LayerComposition, MasksOfLinkedLayers) {
  OneLayerInfo l;
  l.LinkedLayer = 3;
  EXPECT_EQ(LinkMask(l, false, 0.7f), 0.0f);
  EXPECT_FLOAT_EQ(LinkMask(l, true, 0.7f), 0.7f);
  l.InverseLinkage = true;
  EXPECT_EQ(LinkMask(l, false, 0.7f), 1.0f);
  EXPECT_FLOAT_EQ(LinkMask(l, true, 0.7f), 0.3f);
  l.LinkedLayer = -1;
  EXPECT_EQ(LinkMask(l, false, 0), 1.0f);
}

TEST(LayerComposition, UnpaintedScenesComposeToTheFlatDefault) {
  PaintScene micro;
  ASSERT_TRUE(ImportMeshIntoScene(micro, paintmeshes::Sheet(3, 2), PaintImportMode::MicroVertex,
                                  paintmeshes::Grid(2)).ok);
  for (const PaintFace& f : micro.Faces)
    for (int i = 0; i < f.SampleCount(); i++) {
      ASSERT_EQ(f.Grid[i].Color, 0x00808080u);
      ASSERT_EQ(f.Grid[i].Opacity, 0.0f);
      ASSERT_NEAR(f.Grid[i].Normal.z, 1.0f, 1e-5f);  // a flat sheet stays flat
    }
  PaintScene pixels;
  DPSettings s;
  ASSERT_TRUE(ImportMeshIntoScene(pixels, paintmeshes::Sheet(3, 2), PaintImportMode::PerPixel, s).ok);
  PixelMap* map = pixels.GetPixelMap(0);
  ASSERT_NE(map, nullptr);
  EXPECT_EQ(pixels.GetPixelMap(5), nullptr);
  int onMesh = 0;
  for (auto& [key, tile] : map->Tiles)
    for (const TilePixel& p : tile->Pixels) {
      if (p.Class() == kPixelOnMesh) onMesh++;
      ASSERT_EQ(p.Color, 0u);
      ASSERT_EQ(p.Depth, 0.0f);
      ASSERT_EQ(p.NormalX, 128);
      ASSERT_EQ(p.NormalY, 128);
    }
  // The sheet's UVs span 3/4 by 2/3 of the 2048 x 2048 map.
  EXPECT_NEAR(onMesh, 2048.0 * 0.75 * 2048 * 2 / 3, 2048 * 4);
}

TEST(LayerComposition, ATilePaintedLikeAFaceComposesAlike) {
  // One layer stack, composed by a tile and by a one-sample face.
  PaintScene scene;
  ASSERT_TRUE(ImportMeshIntoScene(scene, paintmeshes::Sheet(1, 1), PaintImportMode::MicroVertex,
                                  paintmeshes::Grid(0)).ok);
  int l1 = scene.NewLayer(false), l2 = scene.NewLayer(false);
  scene.GetLayerByID(l1)->ColorOp = ColorOps::Multiply;
  scene.GetLayerByID(l2)->ColorOp = ColorOps::Screen;
  scene.GetLayerByID(l2)->Contrast = 0.5f;
  const uint32_t colours[3] = {0xff4080c0, 0xc0a0a0a0, 0x80203040};
  const int ids[3] = {0, l1, l2};
  PixelMap map(&scene, 16, 16);
  PixelTile* tile = map.GetTile(0, 0);
  for (int k = 0; k < 3; k++) {
    FaceLayer* fl = scene.GetFaceLayer(0, ids[k], true);
    fl->Data[0].Color = (colours[k] & 0xffffff) | 0x00000000;
    fl->Data[0].Opacity = (colours[k] >> 24) / 255.0f;
    LayerTile* lt = map.GetLayerTile(tile, ids[k], true);
    lt->Pixels[0].Color = colours[k];
  }
  tile->Pixels[0].SetBits(kPixelOnMesh, 0, 0);
  ComposeFace(scene, 0);
  map.ComposeTile(tile);
  const uint32_t face = scene.Faces[0].Grid[0].Color, pixel = tile->Pixels[0].Color;
  for (int ch = 0; ch < 3; ch++)
    EXPECT_NEAR((int)((face >> (8 * ch)) & 255), (int)((pixel >> (8 * ch)) & 255), 1) << ch;
  EXPECT_NEAR(scene.Faces[0].Grid[0].Opacity * 255, (double)(pixel >> 24), 1);
}

TEST(LayerComposition, TheTileRowPathsAgreeWithTheGeneralBlend) {
  // Every mode, composed by a tile (which takes its fast row paths where it
  // can) and sample by sample through SampleBlend.
  for (int op = 0; op < ColorOps::LOP_NORMALMAP; op++) {
    if (op == ColorOps::Dissolve) continue;  // chance: seeded per pixel, checked elsewhere
    PaintScene scene;
    int top = scene.NewLayer(false);
    scene.GetLayerByID(top)->ColorOp = op;
    PixelMap map(&scene, 16, 16);
    PixelTile* tile = map.GetTile(0, 0);
    LayerTile* bottom = map.GetLayerTile(tile, 0, true);
    LayerTile* layer = map.GetLayerTile(tile, top, true);
    for (int i = 0; i < kTilePixels; i++) {
      bottom->Pixels[i].Color = 0xff000000u | (uint32_t)(i * 2654435761u >> 8);
      layer->Pixels[i].Color = (uint32_t)(i * 40503u * 977u + 12345u);
      layer->Pixels[i].Specular = (uint8_t)i;
      tile->Pixels[i].SetBits(kPixelOnMesh, 0, 0);
    }
    map.ComposeTile(tile);
    for (int i = 0; i < kTilePixels; i++) {
      SampleBlend b;
      b.Add(*scene.GetLayerByID(0), bottom->Pixels[i].Color, 0, 1, 1, true);
      b.Add(*scene.GetLayerByID(top), layer->Pixels[i].Color, layer->Pixels[i].Specular,
            (layer->Pixels[i].Color >> 24) / 255.0f, 1, true);
      const uint32_t got = tile->Pixels[i].Color, want = PackColor(b.A);
      for (int ch = 0; ch < 3; ch++)
        ASSERT_NEAR((int)((got >> (8 * ch)) & 255), (int)((want >> (8 * ch)) & 255), 1) << "mode " << op << " pixel " << i;
      ASSERT_NEAR((got >> 24) / 255.0f, std::min(b.Coverage, 1.0f), 1 / 255.0f) << op;
      ASSERT_EQ(tile->Pixels[i].Specular, (uint8_t)std::min(255.0f, b.Specular)) << op;
    }
  }
}

TEST(LayerComposition, AnEmptyLayerTileComposesAsAnAbsentOne) {
  // Strokes, undo and seam copies may leave a zeroed tile of a lower layer
  // behind; the colour of the layer above must not darken towards it.
  PaintScene scene;
  const int top = scene.NewLayer(false);
  PixelMap map(&scene, 32, 16);
  PixelTile* with = map.GetTile(0, 0);
  PixelTile* without = map.GetTile(1, 0);
  map.GetLayerTile(with, 0, true);  // empty
  for (PixelTile* t : {with, without}) {
    LayerTile* l = map.GetLayerTile(t, top, true);
    for (int i = 0; i < kTilePixels; i++) {
      l->Pixels[i].Color = ((uint32_t)(i * 7 % 251) << 24) | 0x40a0ff;
      l->Pixels[i].Depth = 0.001f * (float)(i % 13);
      t->Pixels[i].SetBits(kPixelOnMesh, 0, 0);
    }
  }
  map.ComposeTile(with);
  map.ComposeTile(without);
  for (int i = 0; i < kTilePixels; i++) {
    ASSERT_EQ(with->Pixels[i].Color, without->Pixels[i].Color) << "pixel " << i;
    ASSERT_EQ(with->Pixels[i].Depth, without->Pixels[i].Depth) << "pixel " << i;
  }
  EXPECT_EQ(without->Pixels[37].Color & 0xffffff, 0x40a0ffu);
}
