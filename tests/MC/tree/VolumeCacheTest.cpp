// The volume cache: a cached and restored volume writes the same bytes as
// before, a volume cached without a proxy holds no cells, proxies at 2x, 4x
// and 8x stand where the volume stood, the visible-volume commands, and a
// damaged or missing cache file leaves the proxy as it was.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "ClassEngine/streams/MemoryBinStream.h"
#include "MC/brushes/BrushTestKit.h"
#include "MC/cache/VolumeCache.h"
#include "MC/file/VolumeStream.h"
#include "MC/tree/VolumeTreeScene.h"
#include "TreeTestKit.h"
#include "paint/file/BlockCoding.h"

namespace {

struct cVec3Pos {
  float v[3];
};

std::vector<uint8_t> StreamOf(VolumeObject& v, bool surfaces) {
  MemoryBinStream m;
  {
    BlockWriter w(m);
    WriteVolumes(w, {&v}, surfaces);
  }
  return std::vector<uint8_t>(m.GetData(), m.GetData() + m.GetWritePos());
}

// Scene-space box of a volume's surface.
void SceneBounds(VolumeObject& v, float mn[3], float mx[3]) {
  const meshtest::Soup s = SceneSurface(v);
  for (int a = 0; a < 3; ++a) mn[a] = 1e30f, mx[a] = -1e30f;
  for (size_t i = 0; i < s.p.size(); ++i) {
    mn[i % 3] = std::min(mn[i % 3], s.p[i]);
    mx[i % 3] = std::max(mx[i % 3], s.p[i]);
  }
}

struct CacheFolder : ::testing::Test {
  std::filesystem::path old, dir;
  void SetUp() override {
    old = std::filesystem::current_path();
    char name[] = "/tmp/morvane-cache-XXXXXX";
    dir = mkdtemp(name);
    std::filesystem::current_path(dir);
  }
  void TearDown() override {
    std::filesystem::current_path(old);
    std::filesystem::remove_all(dir);
  }
  static void Fill(VolumeObject& v) {
    v.Name = "Torso";
    FillVolume(v, NoiseShape(2.5f, -1.f, 3.f, 17.f, 3.f, 8.f, 5));
    const comms::cMat4 m = Placement(15, 1.25f, 7, -3, 2);
    v.SetTransform(&m.m[0][0]);
    v.UpdateSurface();
  }
};

TEST_F(CacheFolder, CachedAndRestoredVolumeIsByteIdentical) {
  for (int vis : {DontShowCache, Reduce4X}) {
    VolumeObject v;
    Fill(v);
    v.ObjectId = 4242;
    const auto voxels = StreamOf(v, false), surfaces = StreamOf(v, true);
    ASSERT_TRUE(CacheVolume(v, vis));
    EXPECT_TRUE(v.InCache);
    EXPECT_EQ(v.CacheName.rfind("Cache/Torso_", 0), 0u) << v.CacheName;
    EXPECT_TRUE(std::filesystem::exists(v.CacheName));
    const std::string file = v.CacheName;
    ASSERT_TRUE(RestoreFromCache(v));
    EXPECT_FALSE(v.InCache);
    EXPECT_FALSE(std::filesystem::exists(file)) << "the file goes once read back";
    EXPECT_EQ(v.ObjectId, 4242u);
    EXPECT_EQ(StreamOf(v, false), voxels) << "proxy " << vis;
    EXPECT_EQ(StreamOf(v, true), surfaces) << "proxy " << vis;
  }
}

TEST_F(CacheFolder, WithoutProxyNoCellsStay) {
  VolumeObject v;
  Fill(v);
  ASSERT_TRUE(CacheVolume(v, DontShowCache));
  EXPECT_EQ(v.CellCount(), 0);
  EXPECT_EQ(v.vpool.LiveBlocks(), 0);
  EXPECT_EQ(v.RenderGroups.Count(), 0);
  EXPECT_FALSE(CacheVolume(v, DontShowCache)) << "a cached volume is not cached twice";
}

TEST_F(CacheFolder, ProxiesStandInTheSamePlace) {
  VolumeObject full;
  Fill(full);
  float mn0[3], mx0[3];
  SceneBounds(full, mn0, mx0);
  const long fullCells = full.CellCount();
  for (int vis : {Reduce2X, Reduce4X, Reduce8X}) {
    VolumeObject v;
    Fill(v);
    ASSERT_TRUE(CacheVolume(v, vis));
    const float coarse = 1.25f * (float)(1 << vis) / 0.99f;  // one proxy voxel in scene units
    EXPECT_NEAR(v.TransformScale, coarse, 1e-3f);
    EXPECT_LT(v.CellCount(), fullCells);
    float mn[3], mx[3];
    SceneBounds(v, mn, mx);
    for (int a = 0; a < 3; ++a) {
      EXPECT_NEAR(mn[a], mn0[a], coarse) << "proxy " << vis << " axis " << a;
      EXPECT_NEAR(mx[a], mx0[a], coarse) << "proxy " << vis << " axis " << a;
    }
    ASSERT_TRUE(RestoreFromCache(v));
  }
}

TEST_F(CacheFolder, VisibleVolumesGoAndComeBack) {
  VoxVisualTree tree;
  VoxTreeBranch* a = tree.AddVolume();
  VoxTreeBranch* b = tree.AddVolume();
  VoxTreeBranch* hidden = tree.AddVolume();
  for (VoxTreeBranch* r : {a, b, hidden}) FillVolume(*r->Volume, SphereShape(0, 0, 0, 6));
  hidden->Visible = false;
  EXPECT_EQ(CacheVisible(tree, Reduce2X), 2);
  EXPECT_TRUE(a->Volume->InCache && b->Volume->InCache);
  EXPECT_FALSE(hidden->Volume->InCache);
  // The tree file form names the cache files.
  const std::string xml = tree.TreeXml();
  EXPECT_NE(xml.find(a->Volume->CacheName), std::string::npos);
  EXPECT_EQ(UnCacheVisible(tree), 2);
  EXPECT_FALSE(a->Volume->InCache || b->Volume->InCache);
  ASSERT_TRUE(ToggleCachingVolume(*a->Volume, DontShowCache));
  EXPECT_TRUE(ClearAllCache());
  EXPECT_FALSE(std::filesystem::exists("Cache"));
  EXPECT_FALSE(RestoreFromCache(*a->Volume)) << "no file, nothing changes";
  EXPECT_TRUE(a->Volume->InCache);
}

TEST_F(CacheFolder, DamagedCacheFileKeepsTheProxy) {
  VolumeObject v;
  Fill(v);
  ASSERT_TRUE(CacheVolume(v, Reduce2X));
  const auto proxy = StreamOf(v, false);
  std::filesystem::resize_file(v.CacheName, std::filesystem::file_size(v.CacheName) / 2);
  EXPECT_FALSE(RestoreFromCache(v));
  EXPECT_TRUE(v.InCache);
  EXPECT_EQ(StreamOf(v, false), proxy);
}

}  // namespace

namespace {

TEST_F(CacheFolder, SceneFileCarriesTheTreeAndItsCacheFiles) {
  VoxVisualTree tree;
  VoxTreeBranch* a = tree.AddVolume();
  Fill(*a->Volume);
  VoxTreeBranch* b = tree.AddVolume(a);
  FillVolume(*b->Volume, BoxShape(1, 2, 3, 4, 5, 6));
  const auto full = StreamOf(*a->Volume, false);
  ASSERT_TRUE(CacheVolume(*a->Volume, Reduce2X));
  const std::string cacheFile = a->Volume->CacheName;
  std::string error;
  ASSERT_TRUE(SaveTreeAsScene("scene.mvn", tree, &error)) << error;
  ClearAllCache();

  VoxVisualTree back;
  ASSERT_TRUE(LoadTreeScene("scene.mvn", back, &error)) << error;
  ExpectConsistent(back);
  EXPECT_TRUE(std::filesystem::exists(cacheFile)) << "the file came back with the scene";
  VoxTreeBranch* a2 = back.FindByName("Torso");
  ASSERT_NE(a2, nullptr);
  ASSERT_EQ(a2->ChildObjects.NValues, 1);
  EXPECT_TRUE(a2->Volume->InCache);
  EXPECT_EQ(a2->Volume->CacheName, cacheFile);
  ASSERT_TRUE(RestoreFromCache(*a2->Volume));
  EXPECT_EQ(StreamOf(*a2->Volume, false), full);
  EXPECT_FALSE(LoadTreeScene("missing.mvn", back, &error));
  EXPECT_EQ(back.VolumeList.size(), 2u) << "a failed load leaves the tree";
}

}  // namespace

namespace {

// Every surface vertex of the volume in scene space, cell by cell.
std::vector<cVec3Pos> SceneVertices(VolumeObject& v) {
  std::vector<cVec3Pos> out;
  std::vector<std::pair<CellKey, VoxelCell*>> cells;
  v.Cells.ForEach([&](const CellKey& k, VoxelCell*& c) { cells.push_back({k, c}); });
  std::sort(cells.begin(), cells.end(), [](const auto& a, const auto& b) {
    return std::tie(a.first.z, a.first.y, a.first.x) < std::tie(b.first.z, b.first.y, b.first.x);
  });
  for (auto& [k, c] : cells)
    if (c->Surface)
      for (int i = 0; i < c->Surface->Vertices.Count; ++i) {
        cVec3Pos p;
        v.PointToScene(c->Surface->Vertices[i].Pos, p.v);
        out.push_back(p);
      }
  return out;
}

TEST_F(CacheFolder, ProxyEditsInSurfaceModeCarryOverToTheFullSurface) {
  VolumeObject v;
  Fill(v);
  const std::vector<cVec3Pos> before = SceneVertices(v);
  ASSERT_TRUE(CacheVolume(v, Reduce2X));
  // Untouched, the transfer is a plain restore.
  ASSERT_TRUE(TransferFromCache(v));
  EXPECT_FALSE(v.SurfaceMode);
  ASSERT_EQ(SceneVertices(v).size(), before.size());

  ASSERT_TRUE(CacheVolume(v, Reduce2X));
  // Move the whole proxy surface by 1.5 proxy voxels along its x, in surface mode.
  v.SurfaceMode = true;
  v.Cells.ForEach([&](const CellKey&, VoxelCell*& c) {
    if (!c->Surface) return;
    c->Surface->OldVertices.Assign(c->Surface->Vertices.Data, c->Surface->Vertices.Count);
    for (int i = 0; i < c->Surface->Vertices.Count; ++i) c->Surface->Vertices[i].Pos[0] += 1.5f;
  });
  float unit[3] = {1.5f, 0, 0}, shift[3];
  v.VectorToScene(unit, shift);
  ASSERT_TRUE(TransferFromCache(v));
  EXPECT_FALSE(v.InCache);
  EXPECT_TRUE(v.SurfaceMode) << "the full surface now carries the edit";
  const std::vector<cVec3Pos> after = SceneVertices(v);
  ASSERT_EQ(after.size(), before.size());
  double worst = 0;
  for (size_t i = 0; i < after.size(); ++i)
    for (int a = 0; a < 3; ++a) worst = std::max(worst, (double)std::abs(after[i].v[a] - before[i].v[a] - shift[a]));
  EXPECT_LT(worst, 1e-3) << "a uniform shift carries over exactly";
}

}  // namespace
