// Meshes nobody here wrote, imported into the paint scene: glmark2's bunny and
// CGAL's demo meshes (no texture coordinates) in micro-vertex mode, and
// assimp's and minetest's textured models in both modes. Counts, bounds,
// seams and UV cells must hold together, an unpainted scene composes to the
// flat default, and each import leaves a picture in the test folder
// (paint-import-*.png) to be looked at.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <memory>

#include "interchange/MeshIO.h"
#include "interchange/TestFiles.h"
#include "paint/layers/PixelMap.h"
#include "paint/scene/PaintScene.h"
#include "paint/scene/SceneImport.h"
#include "paint/scene/ScenePicture.h"

namespace {

std::unique_ptr<comms::cMesh> Load(const std::string& path) {
  return std::unique_ptr<comms::cMesh>(comms::cMeshIO::LoadMesh(path.c_str()));
}

int FacesAfterFan(const comms::cMesh& m) {
  int n = 0;
  m.ForEachPolygon([&](size_t, const comms::cPolyCell& h, const comms::cPolyCell*) {
    n += h.a == 3 || h.a == 4 ? 1 : h.a > 4 ? h.a - 2 : 0;
  });
  return n;
}

std::string PictureName(const std::string& path, const char* mode) {
  std::string base = path.substr(path.find_last_of('/') + 1);
  return (std::filesystem::current_path() / ("paint-import-" + base.substr(0, base.find('.')) + "-" + mode + ".png")).string();
}

// What every import must satisfy.
void ExpectSaneScene(PaintScene& s, const comms::cMesh& mesh, PaintImportMode mode, const std::string& path) {
  SCOPED_TRACE(path);
  ASSERT_EQ((int)s.Faces.size(), FacesAfterFan(mesh));
  ASSERT_EQ(s.Vertices.size(), mesh.positions.size());
  // Bounds are the positions' box, scale follows the diagonal.
  float lo[3] = {1e30f, 1e30f, 1e30f}, hi[3] = {-1e30f, -1e30f, -1e30f};
  for (const auto& p : mesh.positions) {
    const float xyz[3] = {p.x, p.y, p.z};
    for (int k = 0; k < 3; k++) lo[k] = std::min(lo[k], xyz[k]), hi[k] = std::max(hi[k], xyz[k]);
  }
  for (int k = 0; k < 3; k++) {
    EXPECT_EQ(s.Bounds.Min[k], lo[k]);
    EXPECT_EQ(s.Bounds.Max[k], hi[k]);
  }
  const float diag = std::sqrt((hi[0] - lo[0]) * (hi[0] - lo[0]) + (hi[1] - lo[1]) * (hi[1] - lo[1]) +
                               (hi[2] - lo[2]) * (hi[2] - lo[2]));
  EXPECT_NEAR(s.UnitScale, 1024 / diag, 1e-3f * s.UnitScale);
  EXPECT_EQ(s.Cells.Size(), s.Faces.size());
  EXPECT_EQ(s.Materials.GetAmount(), std::max<int>(1, (int)mesh.materials.size()));
  EXPECT_GE(s.Objects.GetAmount(), 1);
  // Seams are symmetric: a seam between two quads is a seam from both sides,
  // and an edge on one face only is always a seam.
  int seams = 0;
  for (int f = 0; f < (int)s.Faces.size(); f++) {
    const bool sampled = s.Faces[f].Grid || s.Faces[f].Texels;  // seams are kept for these
    if (!s.FaceCornerMap.IsQuad(f) || !sampled) {
      EXPECT_EQ(s.Faces[f].SeamBits, 0);
      continue;
    }
    const int* c = s.FaceCornerMap.Of(f);
    for (int e = 0; e < 4; e++) {
      const int a = s.Corners[c[e]].Vertex, b = s.Corners[c[e + 1]].Vertex;
      const bool seam = s.Faces[f].SeamBits & (1 << e);
      seams += seam;
      int count = 0, other = -1;
      s.EdgeMap.ForEach(EdgeKey(a, b), [&](int g) { count++, other = g != f ? g : other; });
      if (count == 1) {
        EXPECT_TRUE(seam);
      }
      if (count != 2 || other < 0 || !s.FaceCornerMap.IsQuad(other)) continue;
      if (!s.Faces[other].Grid && !s.Faces[other].Texels) continue;
      const int* oc = s.FaceCornerMap.Of(other);
      for (int k = 0; k < 4; k++)
        if (EdgeKey(s.Corners[oc[k]].Vertex, s.Corners[oc[k + 1]].Vertex) == EdgeKey(a, b)) {
          EXPECT_EQ(seam, (bool)(s.Faces[other].SeamBits & (1 << k))) << "faces " << f << ", " << other;
        }
    }
  }
  // Every face with samples and a small UV box is listed in the UV cell of
  // its first corner.
  for (int f = 0; f < (int)s.Faces.size(); f += 7) {
    if (!s.Faces[f].Grid && !s.Faces[f].Texels) continue;
    const FaceCorner& c = s.Corners[s.FaceCornerMap.Of(f)[0]];
    CellKey2 key{(int)std::floor(c.UV.x * 64), (int)std::floor(c.UV.y * 64)};
    bool listed = false;
    s.UVCells.ForEach(key, [&](int g) { listed |= g == f; });
    float umin = 1e30f, umax = -1e30f, vmin = 1e30f, vmax = -1e30f;
    for (int i = 0; i + 1 < s.FaceCornerMap.Entries(f); i++) {
      const comms::cVec2& uv = s.Corners[s.FaceCornerMap.Of(f)[i]].UV;
      umin = std::min(umin, uv.x), umax = std::max(umax, uv.x), vmin = std::min(vmin, uv.y), vmax = std::max(vmax, uv.y);
    }
    bool small = (std::floor(umax * 64) - std::floor(umin * 64)) < 299 && (std::floor(vmax * 64) - std::floor(vmin * 64)) < 299;
    if (small) {
      EXPECT_TRUE(listed) << "face " << f;
    }
  }
  // Unpainted composition is flat.
  if (mode == PaintImportMode::MicroVertex) {
    EXPECT_EQ(s.MicroVertexCount, (int)s.Faces.size() * 16);
    for (const PaintFace& f : s.Faces) {
      ASSERT_EQ(f.Nx, 4);
      for (int i = 0; i < f.SampleCount(); i++) ASSERT_EQ(f.Grid[i].Color, 0x00808080u);
    }
  } else {
    size_t texels = 0, tiles = 0;
    for (const PaintFace& f : s.Faces) texels += f.Texels ? f.Texels->Count : 0;
    for (MRenderTarget* rt : s.RenderTargets) {
      ASSERT_NE(rt->Pixels, nullptr);
      EXPECT_TRUE(rt->UseExternalTexture);
      tiles += rt->Pixels->Tiles.size();
      for (auto& [key, tile] : rt->Pixels->Tiles)
        for (const TilePixel& p : tile->Pixels) ASSERT_EQ(p.Color, 0u);
    }
    EXPECT_GT(texels, 100u);
    EXPECT_GT(tiles, 0u);
    printf("[ per-pixel ] %s: %zu texels in %zu tiles, %.1f MB\n", path.c_str(), texels, tiles,
           s.MemoryBytes() / 1048576.0);
  }
  std::string why;
  EXPECT_TRUE(WriteScenePicture(s, PictureName(path, mode == PaintImportMode::MicroVertex ? "micro" : "pixel"),
                                480, 480, &why))
      << why;
}

void ImportBoth(const std::string& path, bool bothModes) {
  auto mesh = Load(path);
  ASSERT_TRUE(mesh) << path;
  DPSettings settings;
  PaintScene micro;
  PaintImportResult r = ImportMeshIntoScene(micro, *mesh, PaintImportMode::MicroVertex, settings);
  ASSERT_TRUE(r.ok) << path << ": " << r.message;
  ExpectSaneScene(micro, *mesh, PaintImportMode::MicroVertex, path);
  if (!bothModes) return;
  ASSERT_TRUE(MeshHasUVs(*mesh)) << path;
  PaintScene pixels;
  pixels.RtSizeX = pixels.RtSizeY = 512;  // enough texels to test, little memory
  r = ImportMeshIntoScene(pixels, *mesh, PaintImportMode::PerPixel, settings);
  ASSERT_TRUE(r.ok) << path << ": " << r.message;
  ExpectSaneScene(pixels, *mesh, PaintImportMode::PerPixel, path);
}

const char* kAssimp = "/usr/share/assimp/models/";

}  // namespace

TEST(ImportInstalledMeshes, BunnyAndCgalMeshesInMicroVertexMode) {
  const std::string bunny = "/usr/share/glmark2/models/bunny.obj";
  if (!testfiles::Installed(bunny)) GTEST_SKIP() << "glmark2-data is not installed (scripts/deps.sh --tests)";
  ImportBoth(bunny, false);
  const char* cgal = "/usr/share/doc/libcgal-demo/data.tar.gz";
  if (!testfiles::Installed(cgal)) GTEST_SKIP() << "libcgal-demo is not installed (scripts/deps.sh --tests)";
  const std::string dir = testfiles::FreshFolder();
  ASSERT_EQ(std::system(("tar xzf " + std::string(cgal) + " -C " + dir +
                         " data/meshes/sphere.stl data/meshes/pig.stl data/meshes/elephant.off")
                            .c_str()),
            0);
  ImportBoth(dir + "data/meshes/sphere.stl", false);
  ImportBoth(dir + "data/meshes/pig.stl", false);
}

TEST(ImportInstalledMeshes, PerPixelModeRefusesAMeshWithoutUVsAndKeepsTheScene) {
  const std::string bunny = "/usr/share/glmark2/models/bunny.obj";
  if (!testfiles::Installed(bunny)) GTEST_SKIP() << "glmark2-data is not installed (scripts/deps.sh --tests)";
  auto mesh = Load(bunny);
  ASSERT_TRUE(mesh);
  ASSERT_FALSE(MeshHasUVs(*mesh));
  PaintScene scene;
  DPSettings settings;
  comms::cMesh quad;
  quad.positions = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}};
  quad.BeginPolygon(4, 0, -1);
  for (int i = 0; i < 4; i++) quad.AddCorner(i, -1, -1);
  ASSERT_TRUE(ImportMeshIntoScene(scene, quad, PaintImportMode::MicroVertex, settings).ok);
  PaintImportResult r = ImportMeshIntoScene(scene, *mesh, PaintImportMode::PerPixel, settings);
  EXPECT_FALSE(r.ok);
  EXPECT_NE(r.message.find("FULL_UNWRAP"), std::string::npos);
  EXPECT_NE(r.message.find("micro-vertex"), std::string::npos);
  EXPECT_EQ(scene.Faces.size(), 1u);  // the open scene is as it was
  EXPECT_EQ(scene.Vertices.size(), 4u);
}

TEST(ImportInstalledMeshes, TexturedModelsInBothModes) {
  if (!testfiles::Installed(kAssimp)) GTEST_SKIP() << "assimp-testmodels is not installed (scripts/deps.sh --tests)";
  const std::string a = kAssimp;
  for (const char* name : {"OBJ/spider.obj", "FBX/spider.fbx", "FBX/phong_cube.fbx", "LWO/LWO2/boxuv.lwo",
                           "LWO/LWO2/uvtest.lwo"})
    ImportBoth(a + name, true);
  // regr01.obj lists texture coordinates but its faces name none ("f 7 1 6"),
  // and box.fbx carries none: micro-vertex mode only, per-pixel is refused.
  for (const char* name : {"OBJ/regr01.obj", "FBX/box.fbx"}) {
    ImportBoth(a + name, false);
    auto mesh = Load(a + name);
    ASSERT_TRUE(mesh);
    EXPECT_FALSE(MeshHasUVs(*mesh)) << name;
    PaintScene scene;
    EXPECT_FALSE(ImportMeshIntoScene(scene, *mesh, PaintImportMode::PerPixel, DPSettings()).ok) << name;
  }
  const std::string mt = "/usr/share/games/minetest/games/minetest_game/mods/";
  if (!testfiles::Installed(mt)) GTEST_SKIP() << "minetest-data is not installed (scripts/deps.sh --tests)";
  ImportBoth(mt + "boats/models/boats_boat.obj", true);
  ImportBoth(mt + "default/models/chest_open.obj", true);
}
