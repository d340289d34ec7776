// The voxel forms that leave memory: the run-length code at its limits, the
// volume stream of several volumes, and the scene file's voxel blocks through
// the voxel tool, which round-trip byte for byte and refuse damage without
// touching the volumes in use.
#include <gtest/gtest.h>

#include <unistd.h>

#include <numeric>

#include "ClassEngine/Random.h"
#include "ClassEngine/streams/MemoryBinStream.h"
#include "MC/brushes/VoxelSculptTool.h"
#include "MC/file/VolumeStream.h"
#include "MC/file/VoxelPacking.h"
#include "MC/mcubes/VolumeFill.h"
#include "MC/mcubes/VolumeObject.h"
#include "paint/file/BlockCoding.h"
#include "paint/file/SceneFile.h"
#include <fstream>

namespace {

std::vector<uint16_t> Unpack(const std::vector<uint8_t>& code, int n, bool* ok = nullptr) {
  MemoryBinStream s;
  s.Write(code.data(), (int64_t)code.size());
  BlockReader r(s, s.Size());
  std::vector<uint16_t> out(n);
  bool good = UnpackVoxels(r, out.data(), n);
  if (ok) *ok = good;
  return out;
}

std::unique_ptr<VolumeObject> Shape(const DensityShape& shape, const char* name, float dx) {
  auto v = std::make_unique<VolumeObject>();
  v->Name = name;
  FillVolume(*v, shape);
  float m[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, dx, 2, -3, 1};
  v->SetTransform(m);
  return v;
}

// Every cell's key, flags of interest, fill and voxel values.
void ExpectSameVolume(VolumeObject& a, VolumeObject& b) {
  EXPECT_EQ(a.Name, b.Name);
  for (int i = 0; i < 16; i++) EXPECT_EQ(a.Transform[i], b.Transform[i]);
  int kept = 0;
  a.Cells.ForEach([&](const CellKey& k, VoxelCell*& c) {
    VoxelCell** d = b.Cells.Find(k.x, k.y, k.z);
    if (!d) {  // only cells with nothing in them stay behind
      ASSERT_TRUE(c->Fill == 0 && !c->Voxels);
      return;
    }
    kept++;
    for (int z = 0; z < 9; z++)
      for (int y = 0; y < 9; y++)
        for (int x = 0; x < 9; x++) ASSERT_EQ(c->At(x, y, z), (*d)->At(x, y, z));
    EXPECT_EQ(c->Flags & (kCellBelow | kCellAbove | kCellHidden), (*d)->Flags & (kCellBelow | kCellAbove | kCellHidden));
  });
  EXPECT_EQ(kept, b.CellCount());
  EXPECT_GT(kept, 4);
}

std::vector<uint8_t> FileBytes(const std::string& path) {
  std::ifstream f(path, std::ios::binary);
  return std::vector<uint8_t>(std::istreambuf_iterator<char>(f), {});
}

std::vector<uint8_t> Stream(const std::vector<VolumeObject*>& volumes) {
  MemoryBinStream m;
  {
    BlockWriter w(m);
    WriteVolumes(w, volumes, false);
  }
  return std::vector<uint8_t>(m.GetData(), m.GetData() + m.GetWritePos());
}

}  // namespace

TEST(VoxelPacking, UniformCellPacksToTheValueAndFourRunCodes) {
  std::vector<uint16_t> v(729, 40000);
  std::vector<uint8_t> code;
  PackVoxels(v.data(), 729, code);
  EXPECT_EQ(code, (std::vector<uint8_t>{0x40, 0x9c, 219, 219, 219, 71}));
  EXPECT_EQ(Unpack(code, 729), v);
}

TEST(VoxelPacking, IncreasingValuesPackAsTwentyOneLiteralCodes) {
  std::vector<uint16_t> v(729);
  std::iota(v.begin(), v.end(), 65000);  // wraps past 65535
  std::vector<uint8_t> code;
  PackVoxels(v.data(), 729, code);
  // 728 literals: 20 codes of 35 and one of 28, each followed by its shorts.
  ASSERT_EQ(code.size(), 2u + 21 + 728 * 2);
  EXPECT_EQ(code[2], 255);
  EXPECT_EQ(code[2 + 1 + 35 * 2], 255);
  EXPECT_EQ(code[2 + 20 * (1 + 70)], 220 + 28);
  EXPECT_EQ(Unpack(code, 729), v);
}

TEST(VoxelPacking, MixedRunsAndLiteralsRoundTripAndDamageIsRefused) {
  Random rng(5);
  for (int round = 0; round < 200; round++) {
    std::vector<uint16_t> v(729);
    for (size_t i = 0; i < v.size(); i++)
      v[i] = i && rng.Next() % 4 ? v[i - 1] : (uint16_t)(rng.Next() * 2);
    std::vector<uint8_t> code;
    PackVoxels(v.data(), 729, code);
    ASSERT_EQ(Unpack(code, 729), v);
  }
  bool ok = true;
  Unpack({1, 0, 0}, 729, &ok);  // a run code of 0
  EXPECT_FALSE(ok);
  Unpack({1, 0, 219, 219, 219, 72}, 729, &ok);  // one value too many
  EXPECT_FALSE(ok);
  Unpack({1, 0, 219}, 729, &ok);  // cut short
  EXPECT_FALSE(ok);
}

TEST(VolumeStream, TwoVolumesRoundTripToTheSameBytes) {
  auto a = Shape(SphereShape(0, 0, 0, 13.5f), "Sphere", 4);
  auto b = Shape(TorusShape(3, -2, 1, 11, 4), "Torus", -7);
  b->Cells.ForEach([](const CellKey& k, VoxelCell*& c) {
    if (k.x > 0) c->Flags |= kCellHidden;
  });
  std::vector<uint8_t> bytes = Stream({a.get(), b.get()});
  MemoryBinStream m;
  m.Write(bytes.data(), (int64_t)bytes.size());
  BlockReader r(m, m.Size());
  std::vector<std::unique_ptr<VolumeObject>> back;
  ASSERT_TRUE(ReadVolumes(r, back)) << r.Error();
  ASSERT_EQ(back.size(), 2u);
  ExpectSameVolume(*a, *back[0]);
  ExpectSameVolume(*b, *back[1]);
  EXPECT_EQ(Stream({back[0].get(), back[1].get()}), bytes);
  // Cut anywhere, the stream is refused.
  for (size_t cut = 0; cut < bytes.size(); cut += 1 + cut / 20) {
    MemoryBinStream part;
    part.Write(bytes.data(), (int64_t)cut);
    BlockReader pr(part, part.Size());
    std::vector<std::unique_ptr<VolumeObject>> none;
    ASSERT_FALSE(ReadVolumes(pr, none)) << cut;
  }
}

TEST(VolumeStream, SceneFileCarriesTheVolumesOfTheVoxelTool) {
  std::vector<std::unique_ptr<VolumeObject>> room;
  room.push_back(Shape(SphereShape(0, 0, 0, 9.5f), "Head", 0));
  room.push_back(Shape(BoxShape(0, 0, 0, 6, 4, 5), "Block", 20));
  VoxelSculptTool tool;
  auto list = [&] {
    std::vector<VolumeObject*> out;
    for (auto& v : room) out.push_back(v.get());
    return out;
  };
  tool.SceneVolumes = list;
  std::vector<std::unique_ptr<VolumeObject>> taken;
  tool.TakeVolumes = [&](std::vector<std::unique_ptr<VolumeObject>>&& v) { taken = std::move(v); };
  const std::string path = std::string(::testing::TempDir()) + "voxels_" + std::to_string(getpid()) + ".mvn";
  ASSERT_TRUE(SaveToolBlocks(path, {&tool}).ok);
  std::vector<uint8_t> bytes = FileBytes(path);
  SceneFileResult r = LoadToolBlocks(path, {&tool});
  ASSERT_TRUE(r.ok) << r.error;
  ASSERT_EQ(taken.size(), 2u);
  ExpectSameVolume(*room[0], *taken[0]);
  ExpectSameVolume(*room[1], *taken[1]);
  // The loaded volumes save to the same file.
  room = std::move(taken);
  ASSERT_TRUE(SaveToolBlocks(path, {&tool}).ok);
  EXPECT_EQ(FileBytes(path), bytes);
  // A damaged voxel block leaves the volumes in use alone.
  taken.clear();
  bytes[bytes.size() - 30] ^= 0x5a;
  bytes.resize(bytes.size() - 7);
  {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write((const char*)bytes.data(), (std::streamsize)bytes.size());
  }
  r = LoadToolBlocks(path, {&tool});
  EXPECT_FALSE(r.ok);
  EXPECT_TRUE(taken.empty());
  EXPECT_EQ(room.size(), 2u);
}
