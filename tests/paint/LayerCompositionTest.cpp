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

namespace {
// One sample of a face, its layers bottom first through SampleBlend: the
// definition the face composition must give bit for bit.
void ReferenceSample(PaintScene& scene, int face, int s, MicroVertex& out) {
  PaintFace& f = scene.Faces[face];
  SampleBlend blend((uint32_t)face * 2654435761u + (uint32_t)s);
  comms::cVec3 D, base;
  int i = 0, k = 0;  // place in the face's list, place among the layers taken
  for (const FaceLayer& l : f.LayerList) {
    const OneLayerInfo& info = *l.Info;
    const bool blendIt = info.Visible && info.ColorOp < ColorOps::LOP_NORMALMAP;
    const bool bottom = i++ == 0 && l.LayerID == 0;
    if (!blendIt && !bottom) continue;
    const LayerMicroVertex* mask = nullptr;
    for (const FaceLayer& m : f.LayerList)
      if (info.LinkedLayer >= 0 && m.LayerID == info.LinkedLayer && m.Info->Visible) mask = m.Data;
    const float m = LinkMask(info, mask != nullptr, mask ? mask[s].Opacity : 0);
    const LayerMicroVertex& v = l.Data[s];
    if (k++ == 0 && l.LayerID == 0) {
      base = v.Offset;
    } else if (blendIt) {
      comms::cVec3 d = v.Offset * (info.DepthTransparency * m);
      const float emboss = info.EmbossPower != 0 ? info.EmbossPower * v.Opacity * 2 / scene.UnitScale : 0;
      d += f.Grid[s].BaseNormal * emboss;
      D = ApplyDepthOp(info.DepthOp, D, d, f.Grid[s].BaseNormal, scene.UnitScale);
    }
    if (blendIt) blend.Add(info, v.Color, (float)(v.Color >> 24), v.Opacity, m, false);
  }
  float c[4] = {blend.A[0], blend.A[1], blend.A[2], std::clamp(blend.Specular, 0.0f, 255.0f)};
  out.Color = PackColor(c);
  out.Opacity = std::min(blend.Coverage, 1.0f);
  out.Position = base + D;
}
}  // namespace

TEST(LayerComposition, AFaceComposesBitForBitAsItsSamplesOneByOne) {
  // Layers of every kind over a 4 x 4 grid: plain, each mode, Dissolve,
  // corrections, masks straight and inverse, emboss, each depth mode, hidden.
  PaintScene scene;
  ASSERT_TRUE(ImportMeshIntoScene(scene, paintmeshes::Sheet(1, 1), PaintImportMode::MicroVertex,
                                  paintmeshes::Grid(2)).ok);
  const PaintFace& f = scene.Faces[0];
  ASSERT_EQ(f.SampleCount(), 16);
  std::vector<int> ids;
  for (int op = 0; op < ColorOps::kCount; op++) {
    const int id = scene.NewLayer(false);
    OneLayerInfo* info = scene.GetLayerByID(id);
    info->ColorOp = op;
    info->DepthOp = op % DepthOps::kCount;
    info->ColorTransparency = 0.25f + 0.05f * (float)(op % 10);
    info->DepthTransparency = 0.5f + 0.02f * (float)op;
    info->EmbossPower = op % 4 == 1 ? 0.7f : 0;
    if (op % 5 == 2) info->Contrast = 0.3f, info->Brightness = -12;
    if (op % 6 == 3) info->SpecContrast = 0.5f, info->SpecBrightness = 9;
    if (op % 7 == 4 && !ids.empty()) info->LinkedLayer = ids.back(), info->InverseLinkage = op % 2;
    info->Visible = op != 8;
    ids.push_back(id);
    FaceLayer* fl = scene.GetFaceLayer(0, id, true);
    for (int s = 0; s < 16; s++) {
      fl->Data[s].Color = (uint32_t)((op + 1) * 2654435761u ^ s * 40503u);
      fl->Data[s].Opacity = (float)((s * 7 + op) % 11) / 10.0f;
      fl->Data[s].Offset = comms::cVec3(0.01f * (float)s, -0.02f * (float)op, 0.003f * (float)(s ^ op));
    }
  }
  std::vector<MicroVertex> want(16);
  for (int s = 0; s < 16; s++) ReferenceSample(scene, 0, s, want[s]);
  auto check = [&](const char* how) {
    for (int s = 0; s < 16; s++) {
      const MicroVertex& got = scene.Faces[0].Grid[s];
      ASSERT_EQ(got.Color, want[s].Color) << how << " sample " << s;
      ASSERT_EQ(got.Opacity, want[s].Opacity) << how << " sample " << s;
      ASSERT_EQ(got.Position.x, want[s].Position.x) << how << " sample " << s;
      ASSERT_EQ(got.Position.y, want[s].Position.y) << how << " sample " << s;
      ASSERT_EQ(got.Position.z, want[s].Position.z) << how << " sample " << s;
    }
  };
  ComposeFace(scene, 0);
  check("whole face");
  for (int s = 0; s < 16; s++) scene.Faces[0].Grid[s].Color = 0, scene.Faces[0].Grid[s].Position = comms::cVec3();
  for (int y = 0; y < 4; y++)
    for (int x = 0; x < 4; x++) ComposeFaceSamples(scene, 0, x, y, x + 1, y + 1);
  check("one sample at a time");
}
