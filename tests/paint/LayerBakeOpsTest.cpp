// The layer operations that bake into samples, on both storages: merge of
// the visible stack, applying a mask, baking the blending members, fills
// that respect freeze, and channel copies.
#include <gtest/gtest.h>

#include "PaintMeshes.h"
#include "paint/layers/LayerOps.h"
#include "paint/layers/PixelMap.h"

namespace {

// A micro-vertex sheet of two faces beside a small per-pixel target.
struct Stack {
  PaintScene scene;
  PixelMap* map = nullptr;
  PixelTile* tile = nullptr;
  Stack() {
    EXPECT_TRUE(ImportMeshIntoScene(scene, paintmeshes::Sheet(2, 1), PaintImportMode::MicroVertex,
                                    paintmeshes::Grid(1)).ok);
    auto* rt = new MRenderTarget;
    rt->Pixels = map = new PixelMap(&scene, 40, 24);
    scene.RenderTargets.Add(rt);
    tile = map->GetTile(0, 0);
    for (TilePixel& p : tile->Pixels) p.SetBits(kPixelOnMesh, 0, 0);
  }
  LayerMicroVertex& Sample(int layer, int face, int i) { return scene.GetFaceLayer(face, layer, true)->Data[i]; }
  LayerPixel& Pixel(int layer, int x, int y) {
    PixelCursor c;
    EXPECT_TRUE(map->FetchPixel(c, x, y, true, true, false, layer));
    return c.Layer->Pixels[c.Index];
  }
};

}  // namespace

TEST(LayerBakeOps, ApplyMaskScalesDepthAndCoverageAndDropsTheLink) {
  Stack s;
  const int paint = s.scene.NewLayer(true), mask = s.scene.NewLayer(false);
  for (int i = 0; i < 4; i++) {
    s.Sample(paint, 0, i) = {comms::cVec3(0, 0, 0.2f), 0x00ff0000, 1.0f, 0};
    s.Sample(paint, 1, i) = {comms::cVec3(0, 0, 0.2f), 0x00ff0000, 1.0f, 0};
    s.Sample(mask, 0, i).Opacity = 0.25f;  // face 1 has no mask samples at all
  }
  s.Pixel(paint, 2, 3) = {0.4f, 0xff00ff00, 0, 7, {0, 0}};
  s.Pixel(mask, 2, 3).Color = 0x80000000;  // half
  s.Pixel(paint, 5, 3) = {0.4f, 0xff00ff00, 0, 7, {0, 0}};  // no mask pixel: cleared
  EXPECT_FALSE(ApplyLayerMask(s.scene, paint));  // no link yet
  s.scene.GetLayerByID(paint)->LinkedLayer = mask;
  ASSERT_TRUE(ApplyLayerMask(s.scene, paint));
  EXPECT_EQ(s.scene.GetLayerByID(paint)->LinkedLayer, -1);
  EXPECT_FLOAT_EQ(s.Sample(paint, 0, 2).Opacity, 0.25f);
  EXPECT_FLOAT_EQ(s.Sample(paint, 0, 2).Offset.z, 0.05f);
  EXPECT_FLOAT_EQ(s.Sample(paint, 1, 2).Opacity, 0.0f);
  EXPECT_NEAR(s.Pixel(paint, 2, 3).Depth, 0.4f * 128 / 255, 1e-6f);
  EXPECT_EQ(s.Pixel(paint, 2, 3).Color >> 24, 128u);
  EXPECT_EQ(s.Pixel(paint, 5, 3).Color >> 24, 0u);
  EXPECT_EQ(s.Pixel(paint, 5, 3).Depth, 0.0f);
  // The composite follows: face 0 shows a quarter of the red over grey.
  EXPECT_NEAR(s.scene.Faces[0].Grid[0].Position.z, 0.05f, 1e-6f);
}

TEST(LayerBakeOps, ApplyBlendingBakesTheMembersAndKeepsTheComposite) {
  Stack s;
  const int a = s.scene.NewLayer(true);
  for (int f = 0; f < 2; f++)
    for (int i = 0; i < 4; i++) s.Sample(a, f, i) = {comms::cVec3(0, 0, 0.3f), 0x40a06010, 0.8f, 0};
  s.Pixel(a, 4, 4) = {0.3f, 0xcca06010, 0, 64, {0, 0}};
  OneLayerInfo* info = s.scene.GetLayerByID(a);
  info->Contrast = 0.5f, info->Brightness = 10, info->SpecContrast = 1, info->SpecBrightness = -20;
  info->ColorTransparency = 0.5f, info->DepthTransparency = 0.5f;
  RecomposeLayer(s.scene, a);
  const MicroVertex before = s.scene.Faces[1].Grid[3];
  const uint32_t pixelBefore = s.tile->Pixels[4 * kTileSide + 4].Color;
  ApplyBlending(s.scene, a);
  EXPECT_EQ(info->Contrast, 0.0f);
  EXPECT_EQ(info->ColorTransparency, 1.0f);
  // Red (160 - 128) * 1.5 + 138 = 186, green (96 - 128) * 1.5 + 138 = 90,
  // blue (16 - 128) * 1.5 + 138 below 0; specular 0x40 * 2 - 20 = 108.
  EXPECT_EQ(s.Sample(a, 0, 0).Color, 108u << 24 | 186u << 16 | 90u << 8 | 0u);
  EXPECT_FLOAT_EQ(s.Sample(a, 0, 0).Opacity, 0.4f);
  EXPECT_FLOAT_EQ(s.Sample(a, 0, 0).Offset.z, 0.15f);
  const MicroVertex& after = s.scene.Faces[1].Grid[3];
  EXPECT_NEAR(after.Position.z, before.Position.z, 1e-6f);
  EXPECT_EQ(after.Color, before.Color);
  EXPECT_FLOAT_EQ(after.Opacity, before.Opacity);
  EXPECT_EQ(s.tile->Pixels[4 * kTileSide + 4].Color & 0xffffff, pixelBefore & 0xffffff);
}

TEST(LayerBakeOps, MergeVisibleWritesTheCompositeIntoTheLowestVisibleLayer) {
  Stack s;
  const int hidden = s.scene.NewLayer(false), a = s.scene.NewLayer(false), b = s.scene.NewLayer(true);
  s.scene.GetLayerByID(hidden)->Visible = false;
  for (int i = 0; i < 4; i++) {
    s.Sample(a, 0, i) = {comms::cVec3(0, 0, 0.1f), 0x00ff0000, 1, 0};
    s.Sample(b, 0, i) = {comms::cVec3(0, 0, 0.2f), 0x000000ff, 0.5f, 0};
  }
  s.Pixel(a, 1, 1) = {0.25f, 0xffff0000, 0, 0, {0, 0}};
  RecomposeLayer(s.scene, a);
  s.scene.GetLayerByID(a)->Contrast = 0.0f;
  const MicroVertex composite = s.scene.Faces[0].Grid[1];
  EXPECT_EQ(MergeVisible(s.scene), a);
  const LayerMicroVertex& m = s.Sample(a, 0, 1);
  EXPECT_NEAR(m.Offset.z, 0.3f, 1e-6f);  // the composite less the base position
  EXPECT_EQ(m.Color, composite.Color);
  EXPECT_FLOAT_EQ(m.Opacity, composite.Opacity);
  EXPECT_EQ(s.Pixel(a, 1, 1).Depth, 0.25f);
  EXPECT_EQ(s.Sample(b, 0, 1).Color, 0x000000ffu);  // the others keep their data
  // A stack with nothing visible above the bottom has nothing to merge into.
  Stack lone;
  EXPECT_EQ(MergeVisible(lone.scene), -1);
}

TEST(LayerBakeOps, FillHonoursFreezeChannelsAndCoverage) {
  Stack s;
  const int a = s.scene.NewLayer(true);
  s.scene.Faces[0].Grid[0].Freeze = 1.0f;
  s.scene.Faces[0].Grid[1].Freeze = 0.5f;
  s.scene.Faces[1].FreezeState = 2;  // wholly frozen: skipped
  s.tile->Pixels[0].Freeze = 65535;
  s.tile->Pixels[20].SetBits(kPixelOutside, 0, 0);
  LayerFill fill;
  fill.Color = 0x00ff00;
  fill.Specular = 200;
  fill.UseSpecular = false;
  FillLayer(s.scene, a, fill, false);
  EXPECT_EQ(s.Sample(a, 0, 0).Color & 0xffffff, 0x808080u);  // frozen
  EXPECT_EQ(s.Sample(a, 0, 1).Color & 0xffffff, 0x40c040u);  // half
  EXPECT_FLOAT_EQ(s.Sample(a, 0, 1).Opacity, 0.5f);
  EXPECT_EQ(s.Sample(a, 0, 2).Color, 0x0000ff00u);  // specular switch off
  EXPECT_EQ(s.scene.GetFaceLayer(1, a, false), nullptr);
  EXPECT_EQ(s.Pixel(a, 0, 0).Color >> 24, 0u);
  EXPECT_EQ(s.Pixel(a, 1, 0).Color, 0xff00ff00u);
  EXPECT_EQ(s.Pixel(a, 4, 1).Color, 0u);  // outside the mesh
  // Filling only where painted keeps the coverage as it is.
  const int b = s.scene.NewLayer(true);
  s.Sample(b, 1, 0).Opacity = 0.3f;
  s.scene.Faces[1].FreezeState = 0;
  fill.Color = 0x0000ff;
  FillLayer(s.scene, b, fill, true);
  EXPECT_EQ(s.Sample(b, 1, 0).Color & 0xffffff, 0x0000ffu);
  EXPECT_FLOAT_EQ(s.Sample(b, 1, 0).Opacity, 0.3f);
  EXPECT_EQ(s.Sample(b, 1, 1).Color & 0xffffff, 0x808080u);
}

TEST(LayerBakeOps, ChannelCopiesMoveOneByteAndKeepTheRest) {
  Stack s;
  const int a = s.scene.NewLayer(true);
  s.Sample(a, 0, 0).Color = 0x11223344;
  s.Pixel(a, 3, 3).Color = 0xff102030;
  CopyColorChannel(s.scene, a, true);
  EXPECT_EQ(s.Sample(a, 0, 0).Color, 0x11443344u);
  EXPECT_EQ(s.Pixel(a, 3, 3).Color, 0xff302030u);
  CopyColorChannel(s.scene, a, false);
  EXPECT_EQ(s.Sample(a, 0, 0).Color, 0x11443344u);
  s.Sample(a, 0, 0).Color = 0x11223344;
  CopyColorChannel(s.scene, a, false);
  EXPECT_EQ(s.Sample(a, 0, 0).Color, 0x11223322u);
}

namespace {
// A strip of four quads from x = -2 to 2, so the plane x = 0 mirrors it onto itself.
comms::cMesh CentredStrip() {
  comms::cMesh m = paintmeshes::Sheet(4, 1);
  for (auto& p : m.positions) p.x -= 2;
  return m;
}
}  // namespace

TEST(LayerBakeOps, DuplicateWithFlipMirrorsPaintAndDepthInBothStorages) {
  PaintScene scene;
  ASSERT_TRUE(ImportMeshIntoScene(scene, CentredStrip(), PaintImportMode::MicroVertex, paintmeshes::Grid(2)).ok);
  const int a = scene.NewLayer(true);
  // Paint on the leftmost face only, pushed out along -x and +z.
  FaceLayer* l = scene.GetFaceLayer(0, a, true);
  for (int i = 0; i < scene.Faces[0].SampleCount(); i++)
    l->Data[i] = {comms::cVec3(-0.1f, 0, 0.2f), 0x30ff0000, 1.0f, 0};
  l->Data[0].Color = 0x3000ff00;  // one odd sample: corner (0, 0)
  RecomposeLayer(scene, a);
  const int b = DuplicateLayerFlipped(scene, a, 1);
  ASSERT_GT(b, a);
  EXPECT_EQ(scene.GetFaceLayer(0, b, false) ? scene.GetFaceLayer(0, b, false)->Data[5].Opacity : 0.0f, 0.0f);
  const FaceLayer* m = scene.GetFaceLayer(3, b, false);
  ASSERT_NE(m, nullptr);
  const PaintFace& right = scene.Faces[3];
  // Face 3's sample (3, 0) is the mirror of face 0's sample (0, 0).
  EXPECT_EQ(m->Data[3].Color, 0x3000ff00u);
  EXPECT_EQ(m->Data[0].Color, 0x30ff0000u);
  EXPECT_FLOAT_EQ(m->Data[0].Offset.x, 0.1f);
  EXPECT_FLOAT_EQ(m->Data[0].Offset.z, 0.2f);
  EXPECT_FLOAT_EQ(m->Data[0].Opacity, 1.0f);
  for (int i = 0; i < right.SampleCount(); i++) EXPECT_NEAR(right.Grid[i].Position.z, 0.2f, 1e-6f) << i;
  EXPECT_NE(std::string(scene.GetLayerByID(b)->Name.cpchar()).find(" copy"), std::string::npos);

  // Per pixel: a texel of the left face lands on its mirror in the right one.
  PaintScene pixels;
  pixels.RtSizeX = pixels.RtSizeY = 64;
  ASSERT_TRUE(ImportMeshIntoScene(pixels, CentredStrip(), PaintImportMode::PerPixel, paintmeshes::Grid(1)).ok);
  PixelMap* map = pixels.GetPixelMap(0);
  ASSERT_NE(map, nullptr);
  const int c = pixels.NewLayer(true);
  const FaceTexel& t = pixels.Faces[0].Texels->Texels[pixels.Faces[0].Texels->Count / 2];
  PixelCursor cur;
  ASSERT_TRUE(map->FetchPixel(cur, t.X, t.Y, true, true, false, c));
  cur.Layer->Pixels[cur.Index] = {0.05f, 0xff0000ff, 0, 9, {0, 0}};
  const int d = DuplicateLayerFlipped(pixels, c, 1);
  // The texel of face 3 nearest the mirror of t holds the paint.
  const FaceTexel* mirror = nullptr;
  float best = 1e30f;
  const FaceTexels& right3 = *pixels.Faces[3].Texels;
  for (int i = 0; i < right3.Count; i++) {
    const comms::cVec3 p = right3.Texels[i].Position;
    const float dd = (p.x + t.Position.x) * (p.x + t.Position.x) + (p.y - t.Position.y) * (p.y - t.Position.y);
    if (dd < best) best = dd, mirror = &right3.Texels[i];
  }
  ASSERT_NE(mirror, nullptr);
  ASSERT_TRUE(map->FetchPixel(cur, mirror->X, mirror->Y, false, false, false, d));
  ASSERT_NE(cur.Layer, nullptr);
  EXPECT_EQ(cur.Layer->Pixels[cur.Index].Color, 0xff0000ffu);
  EXPECT_EQ(cur.Layer->Pixels[cur.Index].Specular, 9);
  ASSERT_TRUE(map->FetchPixel(cur, t.X, t.Y, false, false, false, d));
  EXPECT_TRUE(!cur.Layer || cur.Layer->Pixels[cur.Index].IsEmpty());
}
