// Raw voxel grids: our export reads back (exactly at 16 and 32 bits, to the
// byte's step at 8), with and without the header; a grid written here by
// hand, of odd sizes and asymmetric, imports into a surface that matches the
// grid's own iso-crossings within one voxel; the slice position scales the
// data; bad sizes change nothing.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>

#include "MC/brushes/BrushTestKit.h"
#include "MC/cache/RawVoxels.h"
#include "MC/tree/LatticeSnapshot.h"
#include "MC/TempFolder.h"
#include "TreeTestKit.h"

namespace {

using RawFiles = TempFolderTest;

void WriteFile(const std::string& path, const std::vector<uint8_t>& bytes) {
  std::ofstream f(path, std::ios::binary);
  f.write((const char*)bytes.data(), (std::streamsize)bytes.size());
}

// The lattice box the export writes: cells that reach inside.
void ExportBox(VolumeObject& v, int mn[3]) {
  mn[0] = mn[1] = mn[2] = 1 << 30;
  v.Cells.ForEach([&](const CellKey& k, VoxelCell*& c) {
    if (!(c->Flags & kCellAbove) && c->Fill < kSurfaceLevel) return;
    mn[0] = std::min(mn[0], k.x * 8), mn[1] = std::min(mn[1], k.y * 8), mn[2] = std::min(mn[2], k.z * 8);
  });
}

TEST_F(RawFiles, OurExportReadsBack) {
  VolumeObject v;
  FillVolume(v, NoiseShape(3.f, -5.f, 1.f, 11.f, 2.f, 7.f, 9));
  FillVolume(v, BoxShape(14, 0, 0, 3, 2, 5));
  LatticeSnapshot original(v);
  int mn[3];
  ExportBox(v, mn);
  for (int bits : {8, 16, 32})
    for (bool header : {true, false}) {
      const std::string path = Path("grid.rawvox");
      std::string error;
      ASSERT_TRUE(ExportRaw(v, path, bits, header, &error)) << error;
      ImportVoxParams p;
      const bool found = ReadRawVoxHeader(path, p);
      ASSERT_EQ(found, header);
      if (!header) {
        ImportVoxParams withHeader;
        ASSERT_TRUE(ExportRaw(v, Path("h.rawvox"), bits, true, &error));
        ASSERT_TRUE(ReadRawVoxHeader(Path("h.rawvox"), withHeader));
        p = withHeader;
        p.HeaderSize = 0;
      }
      EXPECT_EQ(p.Bits, bits == 8 ? 0 : bits == 16 ? 1 : 2);
      const uint64_t voxels = (uint64_t)p.SizeX * p.SizeY * p.SizeZ;
      EXPECT_EQ(std::filesystem::file_size(path), voxels * (bits / 8) + (header ? 20 : 0));
      VolumeObject back;
      ASSERT_TRUE(ImportRaw(back, path, p, &error)) << error;
      LatticeSnapshot read(back);
      const int shift[3] = {mn[0] + p.SizeX / 2, mn[1] + p.SizeY / 2, mn[2] + p.SizeZ / 2};
      int worst = 0;
      for (int z = 0; z < p.SizeZ; ++z)
        for (int y = 0; y < p.SizeY; ++y)
          for (int x = 0; x < p.SizeX; ++x) {
            const int want = original.Value(mn[0] + x, mn[1] + y, mn[2] + z);
            const int got = read.Value(x + mn[0] - shift[0], y + mn[1] - shift[1], z + mn[2] - shift[2]);
            worst = std::max(worst, std::abs(want - got));
          }
      EXPECT_LE(worst, bits == 8 ? 257 : 0) << bits << " bits, header " << header;
    }
}

// An ellipsoid of half axes 13, 9, 7 around (2.3, -1.6, 0.9) of the grid's
// centre, as a 16-bit ramp of 3000 per voxel across the surface.
float Ellipsoid(float x, float y, float z) {
  const float dx = (x - 2.3f) / 13.f, dy = (y + 1.6f) / 9.f, dz = (z - 0.9f) / 7.f;
  return (1.f - std::sqrt(dx * dx + dy * dy + dz * dz)) * 9.f;  // roughly voxels inside
}

TEST_F(RawFiles, OutsideGridMatchesItsOwnIsoCrossings) {
  const int sx = 37, sy = 29, sz = 23;
  std::vector<uint16_t> grid((size_t)sx * sy * sz);
  auto at = [&](int i, int j, int k) -> float { return grid[((size_t)k * sy + j) * sx + i]; };
  std::vector<uint8_t> bytes;
  for (int k = 0; k < sz; ++k)
    for (int j = 0; j < sy; ++j)
      for (int i = 0; i < sx; ++i) {
        const float d = Ellipsoid((float)(i - sx / 2), (float)(j - sy / 2), (float)(k - sz / 2));
        const uint16_t v = (uint16_t)std::clamp(32768.f + d * 3000.f, 0.f, 65535.f);
        grid[((size_t)k * sy + j) * sx + i] = v;
        bytes.push_back((uint8_t)v), bytes.push_back((uint8_t)(v >> 8));
      }
  WriteFile(Path("outside.raw"), bytes);
  ImportVoxParams p;
  EXPECT_FALSE(ReadRawVoxHeader(Path("outside.raw"), p));
  p.Bits = 1, p.SizeX = sx, p.SizeY = sy, p.SizeZ = sz;
  VolumeObject v;
  std::string error;
  ASSERT_TRUE(ImportRaw(v, Path("outside.raw"), p, &error)) << error;
  v.UpdateSurface();
  WeldedMeshBuilder mesh;
  v.ExtractWeldedAll(mesh);
  ExpectClosed(Analyse(mesh));
  const meshtest::Soup ours = meshtest::SoupOf(mesh);
  ASSERT_GT(ours.Count(), 500);
  meshtest::NearTriangles near(ours, 2.f);
  // The grid's own crossings along its three edge directions (the vertices a
  // marching cubes of the raw grid makes), in lattice terms.
  int crossings = 0;
  double worst = 0;
  for (int k = 0; k < sz; ++k)
    for (int j = 0; j < sy; ++j)
      for (int i = 0; i < sx; ++i)
        for (int a = 0; a < 3; ++a) {
          const int i2 = i + (a == 0), j2 = j + (a == 1), k2 = k + (a == 2);
          if (i2 >= sx || j2 >= sy || k2 >= sz) continue;
          const float v0 = at(i, j, k) - 32768.f, v1 = at(i2, j2, k2) - 32768.f;
          if ((v0 >= 0) == (v1 >= 0)) continue;
          const float t = v0 / (v0 - v1);
          const double q[3] = {i - sx / 2 + (a == 0) * t, j - sy / 2 + (a == 1) * t, k - sz / 2 + (a == 2) * t};
          worst = std::max(worst, near.Distance(q));
          ++crossings;
        }
  ASSERT_GT(crossings, 500);
  EXPECT_LT(worst, 1.0) << "voxels between the grid's crossings and the imported surface";
}

TEST_F(RawFiles, SlicePositionScalesSixteenBitValues) {
  std::vector<uint8_t> bytes;
  const uint16_t values[3] = {40000, 1234, 65535};
  for (int i = 0; i < 3 * 8 * 8; ++i) {
    const uint16_t v = values[i % 3];
    bytes.push_back((uint8_t)v), bytes.push_back((uint8_t)(v >> 8));
  }
  WriteFile(Path("s.raw"), bytes);
  ImportVoxParams p;
  p.SizeX = 3, p.SizeY = 8, p.SizeZ = 8;
  for (float slice : {50.f, 100.f}) {
    p.SlicePosition = slice;
    VolumeObject v;
    ASSERT_TRUE(ImportRaw(v, Path("s.raw"), p, nullptr));
    for (int i = 0; i < 3; ++i) {
      const int want = slice == 50.f ? values[i] : (values[i] + 1) / 2;
      EXPECT_NEAR(v.GetVoxel(i - 1, 0, 0), want, slice == 50.f ? 0 : 1) << slice;
    }
  }
}

TEST_F(RawFiles, BadSizesChangeNothing) {
  WriteFile(Path("short.raw"), std::vector<uint8_t>(999, 200));
  VolumeObject v;
  FillVolume(v, SphereShape(0, 0, 0, 5));
  const VolumeSnapshot before = Snapshot(v);
  ImportVoxParams p;
  p.SizeX = p.SizeY = p.SizeZ = 8;  // 1024 bytes at 16 bits
  std::string error;
  EXPECT_FALSE(ImportRaw(v, Path("short.raw"), p, &error));
  EXPECT_EQ(error, "INCORRECT_VOXIMP_PARAMS");
  p.SizeX = -8;
  EXPECT_FALSE(ImportRaw(v, Path("short.raw"), p, &error));
  p.SizeX = 8, p.HeaderSize = -1;
  EXPECT_FALSE(ImportRaw(v, Path("short.raw"), p, &error));
  EXPECT_FALSE(ImportRaw(v, Path("none.raw"), ImportVoxParams(), &error));
  EXPECT_EQ(Snapshot(v), before);
  VolumeObject empty;
  EXPECT_FALSE(ExportRaw(empty, Path("empty.rawvox"), 16, true, &error));
  EXPECT_FALSE(std::filesystem::exists(Path("empty.rawvox")));
}

TEST_F(RawFiles, HeaderlessSizesSuggestSlicesOf256By256) {
  ImportVoxParams p;
  WriteFile(Path("odd.raw"), std::vector<uint8_t>(65536 * 3));
  EXPECT_FALSE(ReadRawVoxHeader(Path("odd.raw"), p));
  EXPECT_EQ(p.Bits, 0);
  EXPECT_EQ(p.SizeZ, 3);
  WriteFile(Path("even.raw"), std::vector<uint8_t>(65536 * 4));
  EXPECT_FALSE(ReadRawVoxHeader(Path("even.raw"), p));
  EXPECT_EQ(p.Bits, 1);
  EXPECT_EQ(p.SizeX, 256);
  EXPECT_EQ(p.SizeZ, 2);
}

}  // namespace

namespace {

TEST(RawVoxParams, DialogSettingsReadBackFromTheirFile) {
  ImportVoxParams p;
  p.Bits = 2, p.SizeX = 31, p.SizeY = 17, p.SizeZ = 5, p.HeaderSize = 20, p.SlicePosition = 75;
  char name[] = "/tmp/morvane-voxparams-XXXXXX";
  const int fd = mkstemp(name);
  ASSERT_GE(fd, 0);
  close(fd);
  ASSERT_TRUE(p.WriteToFile(name));
  ImportVoxParams back;
  ASSERT_TRUE(back.ReadFromFile(name));
  std::remove(name);
  EXPECT_EQ(back.Bits, 2);
  EXPECT_EQ(back.SizeX, 31);
  EXPECT_EQ(back.SizeZ, 5);
  EXPECT_EQ(back.HeaderSize, 20);
  EXPECT_FLOAT_EQ(back.SlicePosition, 75);
  EXPECT_STREQ(BitnessEnumerator()->Get(2), "32-bit float");
}

}  // namespace
