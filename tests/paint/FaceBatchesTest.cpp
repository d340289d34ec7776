// The batches that draw micro-vertex faces into their textures: grid sizes,
// the outer ring across neighbours and out along seams, colour and normal
// words, the split along the shorter UV diagonal, and batch overflow.
#include <gtest/gtest.h>

#include "PaintMeshes.h"

using namespace paintmeshes;

TEST(FaceBatches, OneFaceIsAnOuterRingedGridWithDeviceColours) {
  PaintScene scene;
  ASSERT_TRUE(ImportMeshIntoScene(scene, Sheet(2, 1), PaintImportMode::MicroVertex, Grid(2)).ok);
  PaintFace& f = scene.Faces[0];
  f.Grid[5].Color = 0x40123456;  // specular 0x40
  f.Grid[5].Opacity = 0.5f;
  f.Grid[5].Normal = comms::cVec3(0, 0, 1);
  f.Grid[5].Freeze = 1;
  FaceBatch b;
  EmitFace(scene, 0, b);
  ASSERT_EQ(b.Vertices.size(), 36u);
  ASSERT_EQ(b.Indices.size(), 5u * 5 * 6);
  const FaceBatchVertex& v = b.Vertices[(1 + 1) * 6 + (1 + 1)];  // grid (1, 1) = sample 5
  EXPECT_EQ(v.Color, 0x80563412u);  // alpha = coverage, red and blue exchanged
  EXPECT_EQ(v.Normal >> 24, 0x40u);  // specular rides on the normal
  EXPECT_EQ(v.Normal & 0xff, (uint32_t)std::lround((0.3f * 0.5f + 0.5f) * 255));  // frozen: shortened
  // The right column (x = Nx) reaches into the neighbour: its first column.
  EXPECT_FLOAT_EQ(b.Vertices[1 * 6 + 5].Position.x, scene.Faces[1].Grid[0].Position.x);
  // The left column lies on an open border, a seam: its UVs step out left.
  const float inner = b.Vertices[1 * 6 + 1].UV.x, outer = b.Vertices[1 * 6 + 0].UV.x;
  const float step = inner - b.Vertices[1 * 6 + 2].UV.x;  // one grid step, negative
  EXPECT_NEAR(inner - outer, -step + 3.0f / 2048 * std::sqrt(0.5f), 1e-5f);
  // No seam on the shared edge: the right column is plain extrapolation.
  EXPECT_NEAR(b.Vertices[1 * 6 + 5].UV.x - b.Vertices[1 * 6 + 4].UV.x, -step, 1e-5f);
}

TEST(FaceBatches, TheQuadSplitFollowsTheShorterUVDiagonal) {
  comms::cMesh m;
  m.positions = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}};
  // A sheared UV quad: corner 1 to corner 3 is the short diagonal.
  m.uvs = {{0.1f, 0.1f}, {0.5f, 0.1f}, {0.7f, 0.5f}, {0.3f, 0.5f}};
  AddQuad(m, 0, 1, 2, 3, 0, 1, 2, 3);
  PaintScene scene;
  ASSERT_TRUE(ImportMeshIntoScene(scene, m, PaintImportMode::MicroVertex, Grid(1)).ok);
  FaceBatch b;
  EmitFace(scene, 0, b);
  const int W = 4;
  // Each quad's shared edge runs from its top-right to its bottom-left vertex.
  for (size_t q = 0; q < b.Indices.size(); q += 6) {
    uint32_t a = b.Indices[q + 1], c = b.Indices[q + 2];  // the shared edge of the pair
    EXPECT_EQ(b.Indices[q + 3], a);
    EXPECT_EQ(b.Indices[q + 5], c);
    EXPECT_EQ((int)c - (int)a, W - 1) << q;
  }
  // Sheared the other way, corner 0 to corner 2 is short: rows run right to
  // left and the split turns to top-left to bottom-right.
  m.uvs = {{0.3f, 0.1f}, {0.7f, 0.1f}, {0.5f, 0.5f}, {0.1f, 0.5f}};
  ASSERT_TRUE(ImportMeshIntoScene(scene, m, PaintImportMode::MicroVertex, Grid(1)).ok);
  b = FaceBatch();
  EmitFace(scene, 0, b);
  for (size_t q = 0; q < b.Indices.size(); q += 6)
    EXPECT_EQ((int)b.Indices[q + 2] - (int)b.Indices[q + 1], W + 1) << q;
}

TEST(FaceBatches, DirtyFacesDrawInFullBatchesAndTheListEmpties) {
  PaintScene scene;
  ASSERT_TRUE(ImportMeshIntoScene(scene, Sheet(60, 40), PaintImportMode::MicroVertex, Grid(3)).ok);
  EXPECT_TRUE(scene.DirtyFaces.empty());  // the loading stages drew them
  scene.SetAllDirty();
  scene.Faces[7].AllocateGrid(0, 0);  // a face without grid is skipped
  int batches = 0;
  size_t vertices = 0;
  int emitted = UpdateDirtyFaces(scene, true, -1, [&](const FaceBatch& b, bool colour) {
    EXPECT_TRUE(colour);
    EXPECT_LE(b.Vertices.size(), (size_t)FaceBatch::kMaxVertices);
    EXPECT_LE(b.Indices.size(), (size_t)FaceBatch::kMaxIndices);
    for (uint32_t i : b.Indices) ASSERT_LT(i, b.Vertices.size());
    batches++;
    vertices += b.Vertices.size();
  });
  EXPECT_EQ(emitted, 2399);
  EXPECT_EQ(vertices, 2399u * 100);
  EXPECT_EQ(batches, (int)((2399 + 654) / 655));  // 655 faces of 100 vertices fill 65,536
  EXPECT_TRUE(scene.DirtyFaces.empty());
}
