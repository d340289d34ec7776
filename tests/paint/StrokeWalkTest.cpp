// Dabs walked over whole scenes: the pen's profile lands on every micro-vertex
// at its radius (through the 4 x 4 lattice road too), a stroke over its own
// track applies its start state once, faces hidden behind others stay clean,
// values agree across face borders, tile borders and UV seams after the
// update, one or two threads give the same bytes, and the texel blocks the
// walk skips hold no texel under the pen.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <memory>
#include <vector>

#include "ClassEngine/Threader.h"
#include "PaintMeshes.h"
#include "interchange/MeshIO.h"
#include "interchange/TestFiles.h"
#include "paint/GeneralPen.h"
#include "paint/PenShapes.h"
#include "paint/layers/ComposeFace.h"
#include "paint/layers/OneLayerInfo.h"
#include "paint/layers/PixelMap.h"
#include "paint/stroke/ApplyStroke.h"
#include "paint/stroke/PaintSample.h"

using comms::cVec3;

namespace {

// A dab seen from above (+z toward the viewer) centred at a world point.
StrokeFrame DabAt(const PaintScene& s, const cVec3& world, float radius, const cVec3& from = cVec3()) {
  StrokeFrame f;
  const cVec3 end = world * s.UnitScale;
  const cVec3 start = from.Length() > 0 ? from * s.UnitScale : end;
  f.SetSegment(start, end, radius * s.UnitScale, radius * s.UnitScale);
  f.SinglePoint = from.Length() == 0;
  f.PenRadius = radius * s.UnitScale;
  f.SetStrokeMode(kStrokeConstant);
  f.AxisX = cVec3(1, 0, 0), f.AxisY = cVec3(0, 1, 0), f.AxisZ = cVec3(0, 0, -1);
  f.ViewDir = cVec3(0, 0, -1);
  return f;
}

// The sheet's face under a point: quads are added row by row.
int SheetFace(int w, float x, float y) { return (int)std::floor(y) * w + (int)std::floor(x); }

struct PenState {
  GeneralPenSaver saved;
  PenState() {
    GeneralPen::Reset();
    GeneralPen::DrawColor = GeneralPen::DrawSpecular = false;
    GeneralPen::DeepDegree = 0.5f;
  }
};

// A w x h sheet at grid level 3 with a new layer and a soft pen.
struct SheetStroke {
  PaintScene scene;
  SimplePen shape;
  PaintStroke stroke{scene};
  SheetStroke(int w, int h) {
    EXPECT_TRUE(ImportMeshIntoScene(scene, paintmeshes::Sheet(w, h), PaintImportMode::MicroVertex,
                                    paintmeshes::Grid(3)).ok);
    scene.NewLayer(true);
    stroke.Pen = &shape;
  }
};

// The world position of sample (x, y) of a sheet face.
cVec3 SheetSample(int w, int face, int n, int x, int y) {
  return cVec3((float)(face % w) + (x + 0.5f) / n, (float)(face / w) + (y + 0.5f) / n, 0);
}

}  // namespace

TEST(StrokeWalk, ConeDepthAtKnownRadiiOnEveryMicroVertex) {
  PenState pen;
  for (int level : {3, 4}) {  // 8 x 8 walks every sample, 16 x 16 the lattice road
    PaintScene scene;
    ASSERT_TRUE(ImportMeshIntoScene(scene, paintmeshes::Sheet(4, 3), PaintImportMode::MicroVertex,
                                    paintmeshes::Grid(level)).ok);
    scene.NewLayer(true);
    ConePen cone;
    PaintStroke stroke(scene);
    stroke.Pen = &cone;
    stroke.Begin();
    const cVec3 centre(2.0f, 1.45f, 0);
    const float R = 0.6f;
    ASSERT_EQ(stroke.ApplyStroke(PaintSample(), DabAt(scene, centre, R), SheetFace(4, 2.0f, 1.45f)),
              DabResult::Painted);
    stroke.End();
    const int n = 1 << level;
    int touched = 0;
    for (int f = 0; f < (int)scene.Faces.size(); f++) {
      FaceLayer* fl = scene.GetFaceLayer(f, scene.CurrentLayer, false);
      for (int y = 0; y < n; y++)
        for (int x = 0; x < n; x++) {
          const cVec3 p = SheetSample(4, f, n, x, y);
          const float r = (p - centre).Length() / R;
          const float want = r < 1 ? 0.5f * R * (1 - r) : 0.0f;
          const float got = fl ? fl->Data[y * n + x].Offset.z : 0.0f;
          ASSERT_NEAR(got, want, 2e-5f) << "level " << level << " face " << f << " at " << x << "," << y;
          if (fl) {
            ASSERT_EQ(fl->Data[y * n + x].Offset.x, 0.0f);
          }
          // The composite stands on the base surface plus the depth.
          ASSERT_NEAR(scene.Faces[f].Grid[y * n + x].Position.z, want, 2e-5f);
          touched += want > 0;
        }
    }
    EXPECT_GT(touched, 20);
    // Only touched faces wait for redraw, with their neighbours.
    EXPECT_LE(scene.DirtyFaces.size(), 12u);
  }
}

TEST(StrokeWalk, AStrokeOverItselfAppliesItsStartOnce) {
  PenState pen;
  GeneralPen::DrawColor = true;
  GeneralPen::ColorOpacity = 0.5f;
  SheetStroke sheet(3, 2);
  PaintScene& scene = sheet.scene;
  PaintStroke& stroke = sheet.stroke;
  auto layerBytes = [&]() {
    std::vector<LayerMicroVertex> all;
    for (int f = 0; f < (int)scene.Faces.size(); f++)
      if (FaceLayer* fl = scene.GetFaceLayer(f, scene.CurrentLayer, false))
        all.insert(all.end(), fl->Data, fl->Data + scene.Faces[f].SampleCount());
    return all;
  };
  auto same = [](const std::vector<LayerMicroVertex>& a, const std::vector<LayerMicroVertex>& b) {
    return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(a[0])) == 0;
  };
  const cVec3 a(1.2f, 0.9f, 0), b(1.8f, 1.1f, 0);
  stroke.Begin();
  stroke.ApplyStroke(PaintSample(), DabAt(scene, a, 0.5f), SheetFace(3, a.x, a.y));
  stroke.ApplyStroke(PaintSample(), DabAt(scene, b, 0.5f, a), SheetFace(3, b.x, b.y));
  const auto once = layerBytes();
  // The same dabs again: nothing changes, to the byte.
  stroke.ApplyStroke(PaintSample(), DabAt(scene, a, 0.5f), SheetFace(3, a.x, a.y));
  stroke.ApplyStroke(PaintSample(), DabAt(scene, b, 0.5f, a), SheetFace(3, b.x, b.y));
  EXPECT_TRUE(same(once, layerBytes()));
  // Back along the track: the capsule is the same up to rounding.
  stroke.ApplyStroke(PaintSample(), DabAt(scene, a, 0.5f, b), SheetFace(3, a.x, a.y));
  const auto back = layerBytes();
  ASSERT_EQ(back.size(), once.size());
  for (size_t i = 0; i < once.size(); i++) {
    ASSERT_NEAR(back[i].Offset.z, once[i].Offset.z, 1e-6f) << i;
    ASSERT_NEAR(back[i].Opacity, once[i].Opacity, 1e-6f) << i;
    ASSERT_EQ(back[i].Color, once[i].Color) << i;
  }
  stroke.End();
  // A new stroke over it adds depth and mixes colour again.
  stroke.Begin();
  stroke.ApplyStroke(PaintSample(), DabAt(scene, a, 0.5f), SheetFace(3, a.x, a.y));
  stroke.End();
  const auto twice = layerBytes();
  ASSERT_EQ(twice.size(), once.size());
  int deeper = 0;
  for (size_t i = 0; i < once.size(); i++) deeper += twice[i].Offset.z > once[i].Offset.z + 1e-6f;
  EXPECT_GT(deeper, 10);
}

TEST(StrokeWalk, FacesHiddenBehindOthersStayClean) {
  PenState pen;
  // A folded sheet: the floor at z = 0 and the roof at z = 0.3, both facing
  // up, joined by a wall at x = 2. From above the roof hides the floor.
  comms::cMesh m;
  m.positions = {{0, 0, 0}, {2, 0, 0}, {2, 2, 0}, {0, 2, 0}, {2, 0, 0.3f}, {2, 2, 0.3f}, {0, 0, 0.3f}, {0, 2, 0.3f}};
  paintmeshes::AddQuad(m, 0, 1, 2, 3);  // floor, +z
  paintmeshes::AddQuad(m, 1, 4, 5, 2);  // wall
  paintmeshes::AddQuad(m, 6, 4, 5, 7);  // roof, +z
  for (bool reject : {true, false}) {
    PaintScene scene;
    ASSERT_TRUE(ImportMeshIntoScene(scene, m, PaintImportMode::MicroVertex, paintmeshes::Grid(3)).ok);
    ASSERT_GT(scene.Faces[2].Grid[27].Normal.z, 0.5f);  // the roof faces up
    ASSERT_GT(scene.Faces[0].Grid[27].Normal.z, 0.5f);  // and so does the floor
    scene.NewLayer(true);
    PaintStroke stroke(scene);
    stroke.RejectOccluded = reject;
    stroke.Begin();
    ASSERT_EQ(stroke.ApplyStroke(PaintSample(), DabAt(scene, cVec3(1, 1, 0.3f), 0.5f), 2), DabResult::Painted);
    stroke.End();
    auto painted = [&](int f) {
      FaceLayer* fl = scene.GetFaceLayer(f, scene.CurrentLayer, false);
      int n = 0;
      for (int i = 0; fl && i < scene.Faces[f].SampleCount(); i++) n += fl->Data[i].Offset.z != 0;
      return n;
    };
    EXPECT_GT(painted(2), 10);
    if (reject)
      EXPECT_EQ(painted(0), 0) << "the floor was painted through the roof";
    else
      EXPECT_GT(painted(0), 0);  // without the plane the pen reaches it
  }
}

TEST(StrokeWalk, NoSeamAcrossFaceBorders) {
  PenState pen;
  GeneralPen::DrawColor = true;
  GeneralPen::ColorOpacity = 0.7f;
  SheetStroke sheet(4, 3);
  PaintScene& scene = sheet.scene;
  PaintStroke& stroke = sheet.stroke;
  stroke.Begin();
  // Centred on the corner shared by faces 1, 2, 5 and 6.
  stroke.ApplyStroke(PaintSample(), DabAt(scene, cVec3(2, 1, 0), 0.55f), SheetFace(4, 1.9f, 0.9f));
  stroke.End();
  const int n = 8;
  for (int y = 0; y < n; y++) {
    // Across the border x = 2 the samples mirror each other.
    const MicroVertex& l = scene.Faces[1].Grid[y * n + n - 1];
    const MicroVertex& r = scene.Faces[2].Grid[y * n + 0];
    EXPECT_NEAR(l.Position.z, r.Position.z, 1e-5f) << y;
    EXPECT_EQ(l.Color, r.Color) << y;
    // Across y = 1 too.
    const MicroVertex& d = scene.Faces[1].Grid[(n - 1) * n + y];
    const MicroVertex& u = scene.Faces[5].Grid[0 * n + y];
    EXPECT_NEAR(d.Position.z, u.Position.z, 1e-5f) << y;
    EXPECT_EQ(d.Color, u.Color) << y;
  }
  EXPECT_GT(scene.Faces[1].Grid[(n - 1) * n + n - 1].Position.z, 0.1f);
  EXPECT_NE(scene.Faces[1].Grid[(n - 1) * n + n - 1].Color & 0xffffff, 0x808080u);
}


TEST(StrokeWalk, NoSeamAcrossTileBordersAndUVSeamsAfterUpdate) {
  PenState pen;
  GeneralPen::DrawColor = true;
  GeneralPen::ColorOpacity = 0.8f;
  PaintScene scene;
  scene.RtSizeX = scene.RtSizeY = 64;
  ASSERT_TRUE(ImportMeshIntoScene(scene, paintmeshes::CutSheet(), PaintImportMode::PerPixel, DPSettings()).ok);
  PixelMap* map = scene.GetPixelMap(0);
  ASSERT_NE(map, nullptr);
  map->Update();
  scene.NewLayer(true);
  SimplePen shape;
  PaintStroke stroke(scene);
  stroke.Pen = &shape;
  stroke.Begin();
  // On the seam (world x = 1) and, in the left island, on the tile border
  // between texel columns 15 and 16 (world x = (16 - 6.4) / 19.2 = 0.5).
  const float ty = (57.6f - 45.5f) / 19.2f;  // texel row 45's centre
  ASSERT_EQ(stroke.ApplyStroke(PaintSample(), DabAt(scene, cVec3(1, ty, 0), 0.2f), 0), DabResult::Painted);
  // Only the tiles under the pen wait for the update: 3.84 texels of radius
  // round row 45, each side of the seam, reach tile rows 2 and 3 of tile
  // column 1 (left) and 2 (right): 4 of the map's 16.
  EXPECT_EQ(stroke.LastTiles.size(), 4u);
  EXPECT_EQ(map->DirtyTiles.size(), 4u);
  for (int tx : {1, 2})
    for (int ty2 : {2, 3}) EXPECT_TRUE(map->DirtyTiles.count(PixelMap::TileKey(tx, ty2))) << tx << "," << ty2;
  ASSERT_EQ(stroke.ApplyStroke(PaintSample(), DabAt(scene, cVec3(0.5f, ty, 0), 0.2f), 0), DabResult::Painted);
  stroke.End();
  EXPECT_FALSE(map->DirtyTiles.empty());
  map->Update();
  PixelCursor c;
  auto composite = [&](int x, int y) {
    EXPECT_TRUE(map->FetchPixel(c, x, y, false, false, false));
    return c.Pixel();
  };
  for (int y = 42; y <= 49; y++) {
    // The two sides of the seam mirror each other...
    const TilePixel l = composite(25, y), r = composite(38, y);
    EXPECT_EQ(l.Color, r.Color) << y;
    EXPECT_NE(l.Color & 0xffffff, 0x808080u) << y;
    // ...and the padding beyond each edge shows the texel across the cut.
    const TilePixel pad = composite(26, y);
    ASSERT_EQ(pad.Class(), (uint32_t)kPixelPadding);
    EXPECT_EQ(pad.Color, composite(pad.SourceX(), pad.SourceY()).Color) << y;
    // Both sides of the tile border agree.
    EXPECT_EQ(composite(15, y).Color, composite(16, y).Color) << y;
  }
}

TEST(StrokeWalk, OneAndTwoThreadsGiveTheSameBytes) {
  PenState pen;
  GeneralPen::DrawColor = GeneralPen::DrawSpecular = true;
  GeneralPen::SpecularDegree = 0.7f;
  GeneralPen::ColorOpacity = 0.6f;
  const bool multi = ThreadOptions::UseMultiCore;
  const int most = ThreadOptions::MaxProcessorsToBeUsed;
  auto run = [&](PaintImportMode mode, int threads) {
    ThreadOptions::UseMultiCore = threads > 1;
    ThreadOptions::MaxProcessorsToBeUsed = threads;
    PaintScene scene;
    scene.RtSizeX = scene.RtSizeY = 256;
    EXPECT_TRUE(ImportMeshIntoScene(scene, paintmeshes::Sheet(8, 6), mode, paintmeshes::Grid(3)).ok);
    scene.NewLayer(true);
    SpherePen shape;
    PaintStroke stroke(scene);
    stroke.Pen = &shape;
    stroke.Begin();
    cVec3 last;
    for (int i = 0; i <= 12; i++) {
      const cVec3 p(1.0f + 0.5f * i, 3.0f + 2.0f * std::sin(i * 0.7f), 0);
      stroke.ApplyStroke(PaintSample(), DabAt(scene, p, 1.3f, i ? last : cVec3()), SheetFace(8, p.x, p.y));
      last = p;
    }
    stroke.End();
    std::vector<uint8_t> bytes;
    auto add = [&](const void* p, size_t n) { bytes.insert(bytes.end(), (const uint8_t*)p, (const uint8_t*)p + n); };
    for (int f = 0; f < (int)scene.Faces.size(); f++) {
      if (FaceLayer* fl = scene.GetFaceLayer(f, scene.CurrentLayer, false))
        add(fl->Data, scene.Faces[f].SampleCount() * sizeof(LayerMicroVertex));
      if (scene.Faces[f].Grid) add(scene.Faces[f].Grid, scene.Faces[f].SampleCount() * sizeof(MicroVertex));
    }
    if (PixelMap* map = scene.GetPixelMap(0)) {
      // The staged words too, batch by batch, as the device would take them.
      map->Update([&](const std::vector<PixelTile*>& tiles, const std::vector<uint32_t>& colour,
                      const std::vector<uint32_t>& normal, bool) {
        int misplaced = 0;  // each tile's words are its own pixels', red and blue swapped
        for (size_t b = 0; b < tiles.size(); b++) {
          add(&tiles[b]->X, sizeof tiles[b]->X), add(&tiles[b]->Y, sizeof tiles[b]->Y);
          for (int i = 0; i < kTilePixels; i++) {
            const uint32_t c = tiles[b]->Pixels[i].Color, w = colour[b * kTilePixels + i];
            misplaced += w != ((c & 0xff00ff00) | ((c >> 16) & 0xff) | ((c & 0xff) << 16));
          }
        }
        EXPECT_EQ(misplaced, 0);
        add(colour.data(), colour.size() * sizeof(uint32_t));
        add(normal.data(), normal.size() * sizeof(uint32_t));
      });
      PixelCursor c;
      for (int y = 0; y < map->Height; y++)
        for (int x = 0; x < map->Width; x++)
          if (map->FetchPixel(c, x, y, false, false, false, scene.CurrentLayer)) {
            add(&c.Pixel(), sizeof(TilePixel));
            if (c.Layer) add(&c.Layer->Pixels[c.Index], sizeof(LayerPixel));
          }
    }
    return bytes;
  };
  for (PaintImportMode mode : {PaintImportMode::MicroVertex, PaintImportMode::PerPixel}) {
    const auto one = run(mode, 1), two = run(mode, 2);
    ASSERT_FALSE(one.empty());
    EXPECT_TRUE(one == two) << (mode == PaintImportMode::PerPixel ? "per pixel" : "micro-vertex");
  }
  ThreadOptions::UseMultiCore = multi;
  ThreadOptions::MaxProcessorsToBeUsed = most;
}

TEST(StrokeWalk, AnInvisibleLayerTakesNoPaint) {
  PenState pen;
  PaintScene scene;
  ASSERT_TRUE(ImportMeshIntoScene(scene, paintmeshes::Sheet(2, 2), PaintImportMode::MicroVertex,
                                  paintmeshes::Grid(3)).ok);
  scene.NewLayer(true);
  scene.GetLayerByID(scene.CurrentLayer)->Visible = false;
  PaintStroke stroke(scene);
  stroke.Begin();
  EXPECT_EQ(stroke.ApplyStroke(PaintSample(), DabAt(scene, cVec3(1, 1, 0), 0.5f), 0), DabResult::InvisibleLayer);
  EXPECT_EQ(scene.GetFaceLayer(0, scene.CurrentLayer, false), nullptr);
}

// The walk skips a texel block when BlockInReach says no: on a model nobody
// here wrote (minetest's boat, curved and cut into UV islands), for pens of
// several radii, tilted and moving, no texel a pen reaches lies in a skipped
// block, and the skipping is worth having.
TEST(StrokeWalk, SkippedTexelBlocksHoldNoTexelUnderThePen) {
  const std::string path = "/usr/share/games/minetest/games/minetest_game/mods/boats/models/boats_boat.obj";
  if (!testfiles::Installed(path)) GTEST_SKIP() << "minetest-data is not installed (scripts/deps.sh --tests)";
  std::unique_ptr<comms::cMesh> mesh(comms::cMeshIO::LoadMesh(path.c_str()));
  ASSERT_TRUE(mesh);
  PaintScene scene;
  scene.RtSizeX = scene.RtSizeY = 512;
  ASSERT_TRUE(ImportMeshIntoScene(scene, *mesh, PaintImportMode::PerPixel, DPSettings()).ok);
  // Pen centres: texels spread over the whole map.
  std::vector<cVec3> centres;
  int blocks = 0;
  for (const PaintFace& f : scene.Faces)
    if (f.Texels) {
      blocks += f.Texels->BlockCount;
      for (int i = 0; i < f.Texels->Count; i += 997) centres.push_back(f.Texels->Texels[i].Position);
    }
  ASSERT_GT(blocks, 100);
  ASSERT_GT(centres.size(), 100u);
  const float us = scene.UnitScale;
  int64_t near = 0, skipped = 0, texelsSkipped = 0;
  for (size_t k = 0; k < centres.size(); k += 3) {
    // Radii of 1 to 40 texels; the pen tilted away from the axes and moving.
    const float radius = (1.0f + (float)(k % 40)) * 4.0f;  // paint units
    const cVec3 z = cVec3(0.3f, -0.5f + 0.01f * (float)(k % 7), 0.8f).Normalized();
    const cVec3 x = comms::Cross(cVec3(0, 0, 1), z).Normalized(), y = comms::Cross(z, x);
    StrokeFrame f;
    const cVec3 end = centres[k] * us;
    f.SetSegment(end - x * (radius * 0.5f), end, radius, radius);
    f.AxisX = x, f.AxisY = y, f.AxisZ = z;
    for (const PaintFace& face : scene.Faces) {
      if (!face.Texels) continue;
      const FaceTexels& T = *face.Texels;
      for (int b = 0; b < T.BlockCount; b++) {
        const FaceTexelBlock& block = T.Directory[b];
        if (BlockInReach(f, block, us)) continue;
        skipped++, texelsSkipped += block.Count;
        for (uint32_t i = block.First; i < block.First + block.Count; i++) {
          cVec3 v;
          float t;
          f.SegmentPoint(T.Texels[i].Position * us, v, t);
          // A texel under the pen lies within r of the stroke.
          if (Dot(v, v) < radius * radius) {
            near++;
            ADD_FAILURE() << "texel " << T.Texels[i].X << "," << T.Texels[i].Y << " skipped at "
                          << std::sqrt(Dot(v, v)) << " of radius " << radius;
          }
        }
      }
    }
    if (near > 0) break;
  }
  EXPECT_EQ(near, 0);
  // Most blocks lie far from any one pen.
  EXPECT_GT(skipped, (int64_t)(centres.size() / 3) * blocks / 2);
  EXPECT_GT(texelsSkipped, 0);
}

// A dab recomposes only the samples it reached and the normals round them:
// what it leaves is what composing every face whole gives, colour, coverage
// and position of every sample, and the normals inside the faces (a face
// the pen did not reach keeps its border normals until it is painted).
TEST(StrokeWalk, ADabsPartialCompositionIsTheWholeOne) {
  PenState pen;
  GeneralPen::DrawColor = true;
  GeneralPen::ColorOpacity = 0.7f;
  PaintScene scene;
  ASSERT_TRUE(ImportMeshIntoScene(scene, paintmeshes::Sheet(4, 3), PaintImportMode::MicroVertex,
                                  paintmeshes::Grid(4)).ok);
  scene.NewLayer(true);
  SimplePen shape;
  PaintStroke stroke(scene);
  stroke.Pen = &shape;
  stroke.Begin();
  // Small dabs across face borders, each reaching part of a few 16 x 16 grids.
  cVec3 last;
  for (const cVec3& p : {cVec3(0.8f, 0.9f, 0), cVec3(1.1f, 1.05f, 0), cVec3(1.4f, 1.2f, 0), cVec3(2.05f, 1.0f, 0)}) {
    ASSERT_EQ(stroke.ApplyStroke(PaintSample(), DabAt(scene, p, 0.15f, last), SheetFace(4, p.x, p.y)),
              DabResult::Painted);
    last = p;
  }
  stroke.End();
  std::vector<MicroVertex> after;
  for (const PaintFace& f : scene.Faces) after.insert(after.end(), f.Grid, f.Grid + f.SampleCount());
  for (int f = 0; f < (int)scene.Faces.size(); f++) ComposeFace(scene, f);
  for (int f = 0; f < (int)scene.Faces.size(); f++) scene.ComputeGridNormals(f);
  size_t k = 0;
  int raised = 0;
  for (const PaintFace& f : scene.Faces)
    for (int y = 0; y < f.Ny; y++)
      for (int x = 0; x < f.Nx; x++, k++) {
        const MicroVertex &dab = after[k], &whole = f.Grid[y * f.Nx + x];
        ASSERT_EQ(dab.Color, whole.Color) << x << "," << y;
        ASSERT_EQ(dab.Opacity, whole.Opacity);
        ASSERT_EQ(std::memcmp(&dab.Position, &whole.Position, sizeof dab.Position), 0) << x << "," << y;
        if (x > 0 && y > 0 && x + 1 < f.Nx && y + 1 < f.Ny) {
          ASSERT_EQ(std::memcmp(&dab.Normal, &whole.Normal, sizeof dab.Normal), 0) << x << "," << y;
        }
        raised += whole.Position.z > 0.001f;
      }
  EXPECT_GT(raised, 50);
}

// The walk counts each face's freeze as it measures every sample: a face
// frozen wholly, partly or not at all gets that state, and a face known to
// be wholly frozen is not walked again.
TEST(StrokeWalk, FreezeStateFollowsTheFreezeOfTheSamples) {
  PenState pen;
  SheetStroke s(4, 3);
  const int n = 8;  // level 3: every sample is measured
  ASSERT_EQ(s.scene.Faces[5].Nx, n);
  for (int i = 0; i < n * n; i++) {
    s.scene.Faces[5].Grid[i].Freeze = 1.0f;                    // wholly frozen
    s.scene.Faces[6].Grid[i].Freeze = (i % n) < 3 ? 1.0f : 0;  // its left columns
  }
  // Stale states, as a freeze tool that did not tell would leave them (a
  // face said to be wholly frozen is not walked, so not set right either).
  s.scene.Faces[5].FreezeState = 0, s.scene.Faces[6].FreezeState = 0, s.scene.Faces[9].FreezeState = 1;
  s.stroke.Begin();
  s.stroke.ApplyStroke(PaintSample(), DabAt(s.scene, cVec3(2.0f, 1.5f, 0), 1.2f), SheetFace(4, 2.0f, 1.5f));
  EXPECT_EQ(s.scene.Faces[5].FreezeState, 2);
  EXPECT_EQ(s.scene.Faces[6].FreezeState, 1);
  EXPECT_EQ(s.scene.Faces[9].FreezeState, 0);
  // The frozen face took no depth; the partly frozen one only where free.
  FaceLayer* frozen = s.scene.GetFaceLayer(5, s.scene.CurrentLayer, false);
  for (int i = 0; frozen && i < n * n; i++) EXPECT_EQ(frozen->Data[i].Offset.Length(), 0.f) << i;
  FaceLayer* part = s.scene.GetFaceLayer(6, s.scene.CurrentLayer, false);
  ASSERT_NE(part, nullptr);
  for (int y = 0; y < n; y++) {
    EXPECT_EQ(part->Data[y * n + 1].Offset.Length(), 0.f);
    EXPECT_GT(part->Data[y * n + 4].Offset.Length(), 0.f);
  }
  // Known wholly frozen, the face is not measured at all by the next dab.
  const int64_t before = s.stroke.LastSamples;
  s.scene.Faces[5].FreezeState = 0;
  s.stroke.ApplyStroke(PaintSample(), DabAt(s.scene, cVec3(2.0f, 1.5f, 0), 1.2f), SheetFace(4, 2.0f, 1.5f));
  EXPECT_EQ(s.stroke.LastSamples, before);  // state 0: measured again, same count
  s.stroke.ApplyStroke(PaintSample(), DabAt(s.scene, cVec3(2.0f, 1.5f, 0), 1.2f), SheetFace(4, 2.0f, 1.5f));
  EXPECT_EQ(s.stroke.LastSamples, before - n * n);
  s.stroke.End();
}

// The freeze is counted on the lattice road too (every sample, though only
// the cells near the pen are measured), and on texels: a face whose texels
// were all seen gets its state, one seen in part is at least marked partly
// frozen when what was seen contradicts its state, and a wholly frozen
// texel face is not walked again.
TEST(StrokeWalk, FreezeStateFollowsOnTheLatticeAndOnTexels) {
  PenState pen;
  {
    PaintScene scene;
    ASSERT_TRUE(ImportMeshIntoScene(scene, paintmeshes::Sheet(4, 3), PaintImportMode::MicroVertex,
                                    paintmeshes::Grid(4)).ok);
    scene.NewLayer(true);
    SimplePen shape;
    PaintStroke stroke(scene);
    stroke.Pen = &shape;
    const int n = 16;  // the lattice road
    ASSERT_EQ(scene.Faces[5].Nx, n);
    // Face 5 frozen but for one far corner sample, which a small pen at its
    // other corner never measures; face 6 wholly frozen.
    for (int i = 0; i < n * n; i++) scene.Faces[5].Grid[i].Freeze = 1.0f, scene.Faces[6].Grid[i].Freeze = 1.0f;
    scene.Faces[5].Grid[0].Freeze = 0;
    scene.Faces[5].FreezeState = 2, scene.Faces[6].FreezeState = 0;
    stroke.Begin();
    // At (2, 2): the shared corner of faces 5, 6, 9 and 10, far from sample 0 of face 5.
    stroke.ApplyStroke(PaintSample(), DabAt(scene, cVec3(2.0f, 2.0f, 0), 0.3f), SheetFace(4, 1.9f, 1.9f));
    EXPECT_EQ(scene.Faces[5].FreezeState, 2) << "known wholly frozen: not walked, so not counted";
    EXPECT_EQ(scene.Faces[6].FreezeState, 2);
    scene.Faces[5].FreezeState = 0;
    stroke.ApplyStroke(PaintSample(), DabAt(scene, cVec3(2.0f, 2.0f, 0), 0.3f), SheetFace(4, 1.9f, 1.9f));
    EXPECT_EQ(scene.Faces[5].FreezeState, 1);
    EXPECT_EQ(scene.Faces[10].FreezeState, 0);
    stroke.End();
  }
  PaintScene scene;
  scene.RtSizeX = 128, scene.RtSizeY = 96;
  ASSERT_TRUE(ImportMeshIntoScene(scene, paintmeshes::Sheet(4, 3), PaintImportMode::PerPixel, DPSettings()).ok);
  scene.NewLayer(true);
  PixelMap* map = scene.GetPixelMap(0);
  ASSERT_NE(map, nullptr);
  // Face 5 wholly frozen, face 6 in its left half, face 9 free but said to be partly frozen.
  auto freezeTexels = [&](int face, auto frozen) {
    const FaceTexels& T = *scene.Faces[face].Texels;
    for (int i = 0; i < T.Count; i++) {
      PixelCursor cur;
      ASSERT_TRUE(map->FetchPixel(cur, T.Texels[i].X, T.Texels[i].Y, true, false, false));
      cur.Tile->Pixels[cur.Index].Freeze = frozen(T.Texels[i]) ? 65535 : 0;
    }
  };
  freezeTexels(5, [](const FaceTexel&) { return true; });
  freezeTexels(6, [](const FaceTexel& t) { return t.Position.x < 2.5f; });
  scene.Faces[5].FreezeState = 0, scene.Faces[6].FreezeState = 0, scene.Faces[9].FreezeState = 1;
  SimplePen shape;
  PaintStroke stroke(scene);
  stroke.Pen = &shape;
  stroke.Begin();
  // Reaches every texel of the sheet (its corners lie 2.5 from the middle).
  const StrokeFrame wide = DabAt(scene, cVec3(2.0f, 1.5f, 0), 2.6f);
  stroke.ApplyStroke(PaintSample(), wide, SheetFace(4, 2.0f, 1.5f));
  EXPECT_EQ(scene.Faces[5].FreezeState, 2);
  EXPECT_EQ(scene.Faces[6].FreezeState, 1);
  EXPECT_EQ(scene.Faces[9].FreezeState, 0);
  // A small pen on face 6's frozen half sees part of it: said free, it is
  // marked partly frozen; face 5, wholly frozen, is not measured again.
  scene.Faces[6].FreezeState = 0;
  const int64_t samples = stroke.LastSamples;
  stroke.ApplyStroke(PaintSample(), DabAt(scene, cVec3(2.2f, 1.5f, 0), 0.15f), SheetFace(4, 2.2f, 1.5f));
  EXPECT_EQ(scene.Faces[6].FreezeState, 1);
  stroke.ApplyStroke(PaintSample(), wide, SheetFace(4, 2.0f, 1.5f));
  EXPECT_EQ(stroke.LastSamples, samples - scene.Faces[5].Texels->Count);
  stroke.End();
}
