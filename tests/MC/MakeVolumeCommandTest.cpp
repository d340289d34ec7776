// The make-volume command writes a welded, closed surface as binary PLY and
// refuses bad arguments without writing anything.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "MC/mcubes/MakeVolumeCommand.h"
#include "MeshChecks.h"

namespace {
// Reads back the file the writer made: header counts, then the binary body.
bool ReadPly(const std::string& path, WeldedMeshBuilder& out) {
  std::ifstream in(path, std::ios::binary);
  std::string line;
  int vertices = -1, faces = -1;
  bool binaryLe = false;
  while (std::getline(in, line) && line != "end_header") {
    if (line == "format binary_little_endian 1.0") binaryLe = true;
    sscanf(line.c_str(), "element vertex %d", &vertices);
    sscanf(line.c_str(), "element face %d", &faces);
  }
  if (!binaryLe || vertices < 0 || faces < 0) return false;
  out.Positions.resize(vertices * 3);
  in.read((char*)out.Positions.data(), vertices * 12);
  for (int f = 0; f < faces; ++f) {
    unsigned char n = 0;
    uint32_t idx[3];
    in.read((char*)&n, 1);
    in.read((char*)idx, 12);
    if (n != 3) return false;
    out.Indices.insert(out.Indices.end(), idx, idx + 3);
  }
  return (bool)in && in.peek() == EOF;
}

std::string TempPath(const char* name) {
  return (std::filesystem::temp_directory_path() / name).string();
}
}  // namespace

TEST(MakeVolumeCommand, WritesClosedSurfacesOfEveryShape) {
  for (const char* shape : {"sphere", "box", "torus", "noise"}) {
    SCOPED_TRACE(shape);
    const std::string path = TempPath((std::string("mv_") + shape + ".ply").c_str());
    ASSERT_EQ(RunMakeVolumeCommand({shape, "12.5", path}), 0);
    WeldedMeshBuilder mesh;
    ASSERT_TRUE(ReadPly(path, mesh));
    MeshTopology t = Analyse(mesh);
    EXPECT_EQ(t.badEdges, 0);
    EXPECT_EQ(t.flippedEdges, 0);
    EXPECT_EQ(t.Euler(), std::string(shape) == "torus" ? 0 : 2);
    std::filesystem::remove(path);
  }
}

TEST(MakeVolumeCommand, RefusesBadArgumentsWithoutWriting) {
  const std::string path = TempPath("mv_bad.ply");
  std::filesystem::remove(path);
  EXPECT_EQ(RunMakeVolumeCommand({"sphere", "10"}), 2);
  EXPECT_EQ(RunMakeVolumeCommand({"cube", "10", path}), 2);
  EXPECT_EQ(RunMakeVolumeCommand({"sphere", "ten", path}), 2);
  EXPECT_EQ(RunMakeVolumeCommand({"sphere", "0", path}), 2);
  EXPECT_EQ(RunMakeVolumeCommand({"sphere", "1e9", path}), 2);
  EXPECT_FALSE(std::filesystem::exists(path));
  EXPECT_EQ(RunMakeVolumeCommand({"sphere", "5", "/nonexistent-dir/x.ply"}), 1);
}
