// The paint scene's lookup tables and layer lists: corner loops, seams,
// cells, the cell-size switch, layer insertion order, the parallel face loop
// and face deletion through one remap table.
#include <gtest/gtest.h>

#include "ClassEngine/Log.h"
#include "ClassEngine/Threader.h"
#include "PaintMeshes.h"
#include "paint/layers/ComposeFace.h"
#include "shell/tools/ToolTable.h"

using namespace paintmeshes;

namespace {

// A scene with the faces of `mesh`, imported in micro-vertex mode.
void Import(PaintScene& scene, const comms::cMesh& mesh, int level = 2) {
  ASSERT_TRUE(ImportMeshIntoScene(scene, mesh, PaintImportMode::MicroVertex, Grid(level)).ok);
}

}  // namespace

TEST(PaintSceneTables, TriangleHasFourCornerEntriesNoSeamsNoPadding) {
  comms::cMesh m;
  m.positions = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 0}};
  m.uvs = {{0, 0}, {1, 0}, {0, 1}, {1, 1}};
  m.BeginPolygon(3, 0, -1);
  m.AddCorner(0, 0, -1), m.AddCorner(1, 1, -1), m.AddCorner(2, 2, -1);
  AddQuad(m, 1, 3, 2, 0, 1, 3, 2, 0);  // a quad next to it, far from closed
  PaintScene scene;
  Import(scene, m);
  ASSERT_EQ(scene.Faces.size(), 2u);
  EXPECT_EQ(scene.FaceCornerMap.Entries(0), 4);
  EXPECT_EQ(scene.FaceCornerMap.Of(0)[3], scene.FaceCornerMap.Of(0)[0]);
  EXPECT_EQ(scene.FaceCornerMap.Entries(1), 5);
  EXPECT_TRUE(scene.FaceCornerMap.IsQuad(1));
  EXPECT_EQ(scene.Faces[0].SeamBits, 0);
  for (int i = 0; i < 3; i++) {
    const FaceCorner& c = scene.Corners[scene.FaceCornerMap.Of(0)[i]];
    EXPECT_EQ(c.PadDir.x, 0);
    EXPECT_EQ(c.PadDir.y, 0);
  }
  // The quad's padding points out of its UV square at every corner.
  for (int i = 0; i < 4; i++) {
    const FaceCorner& c = scene.Corners[scene.FaceCornerMap.Of(1)[i]];
    float outward = (c.UV.x - 0.5f) * c.PadDir.x + (c.UV.y - 0.5f) * c.PadDir.y;
    EXPECT_GT(outward, 0.5f) << "corner " << i;
  }
}

TEST(PaintSceneTables, SeamsOnBoundariesAndSplitUVsNeverOnThreeFaceEdges) {
  // Three quads on the edge (0,1), one with its own UVs, plus a sheet's
  // inner edge with continuous UVs.
  comms::cMesh m;
  m.positions = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {1, -1, 0}, {0, -1, 0}, {1, 0, 1}, {0, 0, 1}};
  m.uvs = {{0, 0}, {1, 0}, {1, 1}, {0, 1}, {1, -1}, {0, -1}, {5, 5}, {6, 5}, {6, 6}, {5, 6}};
  AddQuad(m, 0, 1, 2, 3, 0, 1, 2, 3);
  AddQuad(m, 1, 0, 5, 4, 1, 0, 5, 4);
  AddQuad(m, 0, 1, 6, 7, 6, 7, 8, 9);
  PaintScene scene;
  Import(scene, m);
  EXPECT_EQ(scene.EdgeMap.Count(EdgeKey(0, 1)), 3);
  for (int f = 0; f < 3; f++) {
    int edge = -1;
    const int* c = scene.FaceCornerMap.Of(f);
    for (int e = 0; e < 4; e++)
      if (EdgeKey(scene.Corners[c[e]].Vertex, scene.Corners[c[e + 1]].Vertex) == EdgeKey(0, 1)) edge = e;
    ASSERT_GE(edge, 0);
    EXPECT_FALSE(scene.Faces[f].SeamBits & (1 << edge)) << "face " << f;
    EXPECT_EQ(scene.Faces[f].Neighbour[edge == 0 ? 0 : edge == 1 ? 3 : edge == 2 ? 1 : 2], -2);
  }
  // Boundary edges are seams: face 0's edges 1..3 have no other face.
  EXPECT_EQ(scene.Faces[0].SeamBits & 0xe, 0xe);

  comms::cMesh two = Sheet(2, 1);
  PaintScene sheet;
  Import(sheet, two);
  // The shared edge (corner 1-2 of the left quad = its right column) is no seam.
  EXPECT_FALSE(sheet.Faces[0].SeamBits & 2);
  EXPECT_EQ(sheet.Faces[0].Neighbour[3], 1);
  // Split the UVs of the right quad: now it is.
  two.uvs.push_back({0.9f, 0.1f}), two.uvs.push_back({0.9f, 0.9f});
  two.polygons[6].b = (int)two.uvs.size() - 2;  // right quad's corners on vertices 1 and 4
  two.polygons[9].b = (int)two.uvs.size() - 1;
  PaintScene split;
  Import(split, two);
  EXPECT_TRUE(split.Faces[0].SeamBits & 2);
}

TEST(PaintSceneTables, CellSizeSwitchesAbove300000Faces) {
  for (int faces : {300000, 300001}) {
    PaintScene scene;
    scene.Vertices.resize(2);
    scene.Vertices[1].Position = comms::cVec3(3, 4, 12);  // diagonal 13
    scene.Faces.resize(faces);
    scene.ComputeBounds();
    EXPECT_FLOAT_EQ(scene.CellSize, faces == 300000 ? 13.0f / 50 : 13.0f / 100) << faces;
    EXPECT_FLOAT_EQ(scene.UnitScale, 1024.0f / 13);
  }
  PaintScene empty;
  empty.ComputeBounds();
  EXPECT_EQ(empty.UnitScale, 1.0f);
}

TEST(PaintSceneTables, CellsHoldEveryFaceAndWideUVBoxesStayOutOfUVCells) {
  comms::cMesh m = Sheet(3, 2);
  // Stretch the last quad's UVs to span 300 cells of 1/64 across.
  m.uvs.push_back({0, 0}), m.uvs.push_back({300.0f / 64 - 0.001f, 0});
  const int last = (int)m.polygons.size() - 5;
  m.polygons[last + 1].b = (int)m.uvs.size() - 2;
  m.polygons[last + 2].b = (int)m.uvs.size() - 1;
  PaintScene scene;
  Import(scene, m);
  EXPECT_EQ(scene.Cells.Size(), scene.Faces.size());
  EXPECT_EQ(scene.BlockCells.Size(), scene.Faces.size());
  for (int f = 0; f < (int)scene.Faces.size(); f++) {
    const PaintFace& face = scene.Faces[f];
    CellKey3 key{face.CellKey[0], face.CellKey[1], face.CellKey[2]};
    bool found = false;
    scene.Cells.ForEach(key, [&](int g) { found |= g == f; });
    EXPECT_TRUE(found) << f;
    EXPECT_TRUE(std::binary_search(scene.BlockSet.begin(), scene.BlockSet.end(),
                                   CellKey3{key.x / 4, key.y / 4, key.z / 4}));
    // The cell holds the face's centre.
    const int* c = scene.FaceCornerMap.Of(f);
    comms::cVec3 centre;
    for (int i = 0; i < 4; i++) centre += scene.Vertices[scene.Corners[c[i]].Vertex].Position * 0.25f;
    EXPECT_EQ(key.x, (int)std::floor(centre.x / scene.CellSize));
    EXPECT_EQ(key.y, (int)std::floor(centre.y / scene.CellSize));
  }
  int wide = (int)scene.Faces.size() - 1, inUV = 0, other = 0;
  for (const auto& [key, face] : scene.UVCells.Entries()) (face == wide ? inUV : other)++;
  EXPECT_EQ(inUV, 0);
  EXPECT_GT(other, 0);
  // It still has its grid and is drawn and painted like the others.
  EXPECT_NE(scene.Faces[wide].Grid, nullptr);
  EXPECT_EQ(scene.Faces[wide].Nx, 4);
}

TEST(PaintSceneLayers, BottomLayerInsertsBehindIndexZeroAndMinusOneReadsLayerZero) {
  PaintScene scene;
  Import(scene, Sheet(1, 1));
  int a = scene.NewLayer(true);
  int b = scene.NewLayer(false, 0);  // between layer 0 and a
  EXPECT_EQ(scene.Layers[1]->LayerID, b);
  EXPECT_EQ(scene.CurrentLayer, a);
  EXPECT_EQ(scene.GetLayerByID(-1), scene.GetLayerByID(0));
  EXPECT_EQ(scene.GetLayerByID(-1)->LayerID, 0);
  // A face whose first entry is another layer.
  PaintFace& f = scene.Faces[0];
  while (f.LayerList.GetAmount()) f.RemoveLayerAt(0);
  ASSERT_TRUE(scene.GetFaceLayer(0, a, true));
  ASSERT_TRUE(scene.GetFaceLayer(0, 0, true));
  ASSERT_TRUE(scene.GetFaceLayer(0, b, true));
  ASSERT_EQ(f.LayerList.GetAmount(), 3);
  EXPECT_EQ(f.LayerList[0].LayerID, a);  // never displaced
  EXPECT_EQ(f.LayerList[1].LayerID, 0);
  EXPECT_EQ(f.LayerList[2].LayerID, b);
  EXPECT_EQ(scene.GetFaceLayer(0, b, false), &f.LayerList[2]);
  EXPECT_EQ(scene.GetFaceLayer(0, 77, false), nullptr);
  // An unknown ID makes the layer, and entries holding it get their Info.
  FaceLayer* odd = scene.GetFaceLayer(0, 9, true);
  ASSERT_TRUE(odd);
  EXPECT_EQ(odd->Info, scene.GetLayerByID(9));
  EXPECT_EQ(scene.OrderOf(9), scene.Layers.GetAmount());
}

TEST(PaintSceneFaces, ForEachFaceGivesTheSameResultOnOneAndTwoThreads) {
  PaintScene scene;
  Import(scene, Sheet(9, 7), 3);
  int layer = scene.NewLayer(true);
  auto paint = [&](int f) {
    FaceLayer* l = scene.GetFaceLayer(f, layer, true);
    for (int i = 0; i < scene.Faces[f].SampleCount(); i++) {
      l->Data[i].Color = 0xff000000u | (uint32_t)(f * 977 + i * 131);
      l->Data[i].Opacity = (i % 7) / 6.0f;
      l->Data[i].Offset = comms::cVec3(0, 0, 0.01f * (i % 3));
    }
  };
  std::vector<uint32_t> colours[2];
  for (int run = 0; run < 2; run++) {
    ThreadOptions::MaxProcessorsToBeUsed = run == 0 ? 1 : 2;
    ThreadOptions::UseMultiCore = run == 1;
    scene.ForEachFace(0, paint);
    scene.ForEachFace(0, [&](int f) { ComposeFace(scene, f); });
    for (const PaintFace& f : scene.Faces)
      for (int i = 0; i < f.SampleCount(); i++) colours[run].push_back(f.Grid[i].Color);
  }
  ThreadOptions::MaxProcessorsToBeUsed = 0;
  ThreadOptions::UseMultiCore = true;
  EXPECT_EQ(colours[0], colours[1]);
  // Every face was visited exactly once: each got exactly one entry of the layer.
  for (const PaintFace& f : scene.Faces) EXPECT_EQ(f.LayerList.GetAmount(), 2);
  scene.DirtyFaces.clear();
  scene.DirtyFlag.clear();
  scene.MarkFaceDirty(3), scene.MarkFaceDirty(3);
  EXPECT_EQ(scene.DirtyFaces.size(), 1u);
  int visited = 0;
  scene.ForEachFace(1, [&](int f) { visited += f == 3; });
  EXPECT_EQ(visited, 1);
}

TEST(PaintSceneFaces, DeletingFacesRemapsCornersVerticesAndPairs) {
  PaintScene scene;
  Import(scene, Sheet(3, 1));
  ASSERT_EQ(scene.Faces.size(), 3u);
  ASSERT_EQ(scene.Vertices.size(), 8u);
  // Pairs: (0,1) survives as a pair of kept vertices, (3,7) loses vertex 3.
  scene.SubdPairs = {0, 1, 42, 3, 7, 43, 2, 6, 44};
  scene.Faces[1].Wear = 5;
  const comms::cVec3 kept = scene.Faces[1].Grid[0].Position;
  std::vector<uint8_t> doomed = {0, 0, 1};
  scene.DeleteFaces(doomed);
  EXPECT_EQ(scene.Faces.size(), 2u);
  EXPECT_EQ(scene.Vertices.size(), 6u);
  EXPECT_EQ(scene.Corners.size(), 8u);
  EXPECT_EQ(scene.Faces[1].Wear, 5);
  EXPECT_FLOAT_EQ(scene.Faces[1].Grid[0].Position.x, kept.x);
  for (int f = 0; f < 2; f++) {
    ASSERT_EQ(scene.FaceCornerMap.Entries(f), 5);
    for (int i = 0; i < 4; i++) EXPECT_LT(scene.Corners[scene.FaceCornerMap.Of(f)[i]].Vertex, 6);
  }
  ASSERT_EQ(scene.SubdPairs.size(), 6u);
  EXPECT_EQ(scene.SubdPairs[2], 42u);
  EXPECT_EQ(scene.SubdPairs[5], 44u);
  EXPECT_EQ(scene.Faces[1].Neighbour[3], -1);  // its right neighbour is gone
  EXPECT_TRUE(scene.Faces[1].SeamBits & 2);
  EXPECT_EQ(scene.Cells.Size(), 2u);
}

TEST(PaintSceneStages, LoadingStagesRunInOrderAndSayWhenEachEnds) {
  const size_t mark = LogText().size();
  PaintScene scene;
  Import(scene, Sheet(2, 2));
  const std::string log = LogText().substr(mark);
  const char* lines[] = {"CreateUVEdgesInfo: done", "Faces: done", "SetupUVIds: done", "SetAllDirty: done",
                         "PutFacesInCells: done", "UpdateDirtyFaces: done", "CreateMeshes: done",
                         "CreatePaddingInfo: done", "CreatePointsCorrespondence: done",
                         "CreateTangentSpaceFromBasicNormals: done", "Loading: done"};
  size_t at = 0;
  for (const char* line : lines) {
    size_t found = log.find(line, at);
    ASSERT_NE(found, std::string::npos) << line << " missing or out of order";
    at = found;
  }
  // Tangents of a flat sheet mapped u along x, v along y.
  for (const FaceCorner& c : scene.Corners) {
    EXPECT_NEAR(c.Tangent.x, 1, 1e-4f);
    EXPECT_NEAR(c.Binormal.y, 1, 1e-4f);
  }
  // Every face has a block mesh part on its target.
  size_t listed = 0;
  for (auto& [key, parts] : scene.MeshBlocks)
    for (const MeshBlockPart& p : parts) listed += p.Faces.GetAmount();
  EXPECT_EQ(listed, scene.Faces.size());
}

namespace {
class CountingTool : public BasicTool {
 public:
  int resets = 0;
  void OnSceneReset() override { resets++; }
};
}  // namespace

TEST(PaintSceneStages, ResetReturnsToTheEmptySceneAndTellsTheTools) {
  PaintScene scene;
  Import(scene, Sheet(3, 3));
  scene.NewLayer(true);
  ToolTable tools;
  auto* pen = new CountingTool;
  auto* other = new CountingTool;
  tools.Register(pen, "StdPen");
  tools.Register(other, "FillTool");
  tools.SetCurrentTool("FillTool");
  scene.ResetScene(true, &tools);  // tools kept as they are
  EXPECT_EQ(pen->resets + other->resets, 0);
  EXPECT_EQ(tools.CurrentTool(), other);
  EXPECT_TRUE(scene.Faces.empty());
  EXPECT_EQ(scene.Layers.GetAmount(), 1);
  EXPECT_EQ(scene.Materials.GetAmount(), 1);
  EXPECT_EQ(scene.Objects.GetAmount(), 1);
  EXPECT_EQ(scene.Cells.Size(), 0u);
  EXPECT_EQ(scene.CurrentLayer, 0);
  scene.ResetScene(false, &tools);
  EXPECT_EQ(tools.CurrentTool(), pen);
  EXPECT_EQ(pen->resets, 1);
  EXPECT_EQ(other->resets, 1);
}
