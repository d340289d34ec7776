// The records of the freeze mask, hidden faces, moved vertices and whole
// faces. Each test changes the scene the way its tool does, after the push
// that records the state before: undo gives back every byte, redo the
// changed state, a record cut short changes nothing.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include <filesystem>

#include "../PaintMeshes.h"
#include "ClassEngine/streams/MemoryBinStream.h"
#include "PaintPicture.h"
#include "SamePicture.h"
#include "paint/layers/ComposeFace.h"
#include "paint/layers/PixelMap.h"
#include "paint/undo/MaskUndo.h"
#include "paint/undo/ShapeUndo.h"
#include "paint/undo/UndoStack.h"
#include "paint/undo/UndoTestFolder.h"
#include "shell/tools/BasicTool.h"

using comms::cVec3;

namespace {
class ShapeTool : public BasicTool {
 public:
  bool Moves = true;
  int MaskChanges = 0;
  bool MovesVertices() override { return Moves; }
  void OnMaskChanged() override { ++MaskChanges; }
};

struct SceneStateUndo : ::testing::Test {
  UndoTestFolder folder;
  UndoStack stack{folder.Path};
  PaintScene scene;
  ShapeTool tool;

  SceneStateUndo() {
    stack.FreeBytes = [] { return (int64_t)1 << 40; };
    ActiveToolFn active = [this] { return (BasicTool*)&tool; };
    stack.RegisterUndoMaker(std::make_unique<FreezeUndo>(stack, scene, active));
    stack.RegisterUndoMaker(std::make_unique<VertUndo>(stack, scene, active));
    stack.RegisterUndoMaker(std::make_unique<PolyHideUndo>(stack, scene));
    stack.RegisterUndoMaker(std::make_unique<FullFaceUndo>(stack, scene));
  }
  void GridSheet() {
    ASSERT_TRUE(ImportMeshIntoScene(scene, paintmeshes::Sheet(4, 3), PaintImportMode::MicroVertex,
                                    paintmeshes::Grid(3)).ok);
    scene.NewLayer(true);
  }
  // Everything these records touch, beside the samples: the faces' own
  // bytes, the vertices, their normals and the corners' UVs.
  std::string Picture() {
    std::string out = PaintPicture(scene);
    auto put = [&](const void* p, size_t n) { out.append((const char*)p, n); };
    for (const PaintFace& f : scene.Faces) {
      put(&f.Flags, 1), put(&f.SeamBits, 1), put(&f.FreezeState, 1), put(&f.Visible, 1);
      put(&f.Nx, 2), put(&f.Ny, 2), put(&f.LayerList.NValues, 4);
    }
    for (const MeshVertex& v : scene.Vertices) put(&v.Position, 12);
    for (const cVec3& n : scene.Normals) put(&n, 12);
    for (const FaceCorner& c : scene.Corners) put(&c.UV, 8), put(&c.UV2, 8);
    put(&scene.MicroVertexCount, 4);
    return out;
  }
  // Sets a face's mask as the freeze tool does: values and state together.
  void SetMask(int face, int step) {
    PaintFace& f = scene.Faces[face];
    int free = 0, frozen = 0;
    for (int i = 0; i < f.SampleCount(); ++i) {
      const int b = step < 0 ? 0 : step > 255 ? 255 : (i * step + face * 37) % 256;
      f.Grid[i].Freeze = b / 255.0f;
      free += f.Grid[i].Freeze < 0.001f, frozen += f.Grid[i].Freeze > 0.999f;
    }
    f.FreezeState = FreezeStateOf(free, frozen, f.SampleCount());
  }
  // The newest record loses its last `bytes`; undoing it then changes
  // nothing of what the scene holds now.
  void ExpectACutRecordChangesNothing(int bytes) {
    const std::string later = Picture();
    const std::string name = stack.FileName(stack.UndoPosition - 1);
    std::filesystem::resize_file(name, std::filesystem::file_size(name) - bytes);
    ASSERT_TRUE(stack.Undo());
    EXPECT_TRUE(SamePicture(Picture(), later));
  }
  void AllBlocksUpToDate() {
    for (auto& [key, parts] : scene.MeshBlocks)
      for (MeshBlockPart& p : parts) p.UpToDate = 1, p.NeedsUpload = 0;
  }
  bool BlockUpToDate(int face) {
    const PaintFace& f = scene.Faces[face];
    return scene.MeshBlocks.at({f.CellKey[0] / 4, f.CellKey[1] / 4, f.CellKey[2] / 4})[f.RenderTarget].UpToDate;
  }
  // The vertices and grids as a tool that moves them leaves them: normals
  // follow positions.
  void MoveVertices(const std::vector<int>& vertices, const cVec3& by) {
    for (int v : vertices) scene.Vertices[v].Position += by;
    RecomputeVertexNormals(scene, vertices);
  }
  // A new grid of nx by ny for the face, with every layer entry resampled,
  // one more resolution level and the corners moved in UV: the local
  // resolution tool's change.
  void Resample(int face, int nx, int ny) {
    PaintFace& f = scene.Faces[face];
    std::vector<int> ids;
    for (const FaceLayer& l : f.LayerList) ids.push_back(l.LayerID);
    for (int i = f.LayerList.GetAmount() - 1; i >= 0; --i) f.RemoveLayerAt(i);
    scene.MicroVertexCount += nx * ny - f.SampleCount();
    f.AllocateGrid(nx, ny);
    for (int i = 0; i < nx * ny; ++i) {
      f.Grid[i].Position = cVec3((float)(i % nx) / nx + face, (float)(i / nx) / ny, 0.01f * i);
      f.Grid[i].Normal = f.Grid[i].BaseNormal = cVec3(0, 0, 1);
      f.Grid[i].Color = 0xff000000u | (uint32_t)i * 977u;
    }
    for (int id : ids) {
      FaceLayer* l = scene.GetFaceLayer(face, id, true);
      for (int i = 0; i < nx * ny; ++i) l->Data[i].Offset = f.Grid[i].Position, l->Data[i].Opacity = 0.5f + id;
    }
    f.Flags = (uint8_t)(f.Flags + 1);
    const int* c = scene.FaceCornerMap.Of(face);
    for (int i = 0; i < 4; ++i) scene.Corners[c[i]].UV.x += 0.125f, scene.Corners[c[i]].UV2 = scene.Corners[c[i]].UV;
    NeighbourBorderNormals(scene, {face});  // the faces beside read the new samples
  }
};
}  // namespace

TEST_F(SceneStateUndo, FreezeMaskOfGridsComesBackByteForByte) {
  GridSheet();
  SetMask(0, 300), SetMask(1, 7), SetMask(4, 13);  // wholly, partly, partly frozen
  const std::string start = Picture();
  ASSERT_TRUE(PushFreezeUndo(stack, scene));
  // 12 faces: three codes with samples behind two of them, nine bare codes.
  EXPECT_EQ(std::filesystem::file_size(stack.FileName(0)), 4u + 12 + 2u * scene.Faces[1].SampleCount());
  SetMask(0, -1), SetMask(1, 300), SetMask(4, 29), SetMask(7, 5);
  const std::string changed = Picture();
  ASSERT_NE(changed, start);

  ASSERT_TRUE(stack.Undo());
  EXPECT_TRUE(SamePicture(Picture(), start));
  EXPECT_EQ(scene.Faces[0].FreezeState, 2);
  EXPECT_EQ(scene.Faces[7].FreezeState, 0);
  EXPECT_EQ(tool.MaskChanges, 1);
  ASSERT_TRUE(stack.Redo());
  EXPECT_TRUE(SamePicture(Picture(), changed));
  ASSERT_TRUE(stack.Undo());
  EXPECT_TRUE(SamePicture(Picture(), start));

  // A record cut short leaves the mask as it stands.
  ASSERT_TRUE(PushFreezeUndo(stack, scene));
  SetMask(2, 11);
  ExpectACutRecordChangesNothing(1);
}

TEST_F(SceneStateUndo, FreezeMaskOfPixelsComesBackExactly) {
  scene.RtSizeX = scene.RtSizeY = 64;
  ASSERT_TRUE(ImportMeshIntoScene(scene, paintmeshes::CutSheet(), PaintImportMode::PerPixel, DPSettings()).ok);
  PixelMap* map = scene.GetPixelMap(scene.Faces[0].RenderTarget);
  ASSERT_TRUE(map && scene.Faces[0].Texels && scene.Faces[1].Texels);
  auto setMask = [&](int seed) {
    for (int f = 0; f < 2; ++f)
      for (int i = 0; i < scene.Faces[f].Texels->Count; ++i) {
        PixelCursor c;
        const FaceTexel& t = scene.Faces[f].Texels->Texels[i];
        if (!map->FetchPixel(c, t.X, t.Y, false, false, false)) continue;
        c.Pixel().Freeze = (uint16_t)((i * seed + f) * 2654435761u >> 16);
        map->MarkDirty(c.Tile, 2);  // as the freeze tool marks what it changed
      }
  };
  // The frame composes the tiles and copies pixels along their links.
  auto frame = [&] { map->Update(); };
  setMask(3);
  frame();
  const std::string start = Picture();
  ASSERT_TRUE(PushFreezeUndo(stack, scene));
  setMask(11);
  frame();
  const std::string changed = Picture();
  ASSERT_NE(changed, start);
  ASSERT_TRUE(stack.Undo());
  frame();
  EXPECT_TRUE(SamePicture(Picture(), start));
  ASSERT_TRUE(stack.Redo());
  frame();
  EXPECT_TRUE(SamePicture(Picture(), changed));
  ASSERT_TRUE(stack.Undo());
  frame();
  EXPECT_TRUE(SamePicture(Picture(), start));
}

TEST_F(SceneStateUndo, HiddenFacesComeBackAndAForeignCountDoesNothing) {
  GridSheet();
  scene.Faces[5].Visible = 0;
  const std::string start = Picture();
  ASSERT_TRUE(PushPolyHideUndo(stack, scene));
  EXPECT_EQ(std::filesystem::file_size(stack.FileName(0)), 12u);  // tag, count, one word
  for (int f : {0, 1, 2, 3}) scene.Faces[f].Visible = 0;
  scene.Faces[5].Visible = 1;
  const std::string changed = Picture();
  AllBlocksUpToDate();
  ASSERT_TRUE(stack.Undo());
  EXPECT_TRUE(SamePicture(Picture(), start));
  EXPECT_FALSE(BlockUpToDate(0));
  EXPECT_FALSE(BlockUpToDate(5));
  ASSERT_TRUE(stack.Redo());
  EXPECT_TRUE(SamePicture(Picture(), changed));

  // A record of a mesh with one face more changes nothing, nor does its redo.
  {
    MemoryBinStream other;
    other.WriteDWORD(kPolyHideUndoTag);
    other.WriteDWORD((uint32_t)scene.Faces.size() + 1);
    other.WriteDWORD(0);
    ASSERT_TRUE(stack.PushUndoRecord(other));
  }
  ASSERT_TRUE(stack.Undo());
  EXPECT_TRUE(SamePicture(Picture(), changed));
  ASSERT_TRUE(stack.Redo());
  EXPECT_TRUE(SamePicture(Picture(), changed));

  // Cut short: nothing.
  ASSERT_TRUE(PushPolyHideUndo(stack, scene));
  scene.Faces[9].Visible = 0;
  ExpectACutRecordChangesNothing(2);
}

TEST_F(SceneStateUndo, MovedVerticesComeBackWithTheirNormals) {
  GridSheet();
  std::vector<int> all;
  for (int v = 0; v < (int)scene.Vertices.size(); ++v) all.push_back(v);
  RecomputeVertexNormals(scene, all);  // as any earlier move leaves them
  const std::string start = Picture();
  const std::vector<int> moved{6, 7, 12};
  ASSERT_TRUE(PushVertUndo(stack, scene, moved));
  MoveVertices(moved, cVec3(0.1f, -0.2f, 0.7f));
  const std::string changed = Picture();
  ASSERT_NE(changed, start);
  AllBlocksUpToDate();

  ASSERT_TRUE(stack.Undo());
  EXPECT_TRUE(SamePicture(Picture(), start));
  // Vertex 6 of the 5 x 4 vertex sheet is a corner of faces 0, 1, 4 and 5.
  EXPECT_FALSE(BlockUpToDate(0));
  EXPECT_FALSE(BlockUpToDate(5));
  ASSERT_TRUE(stack.Redo());
  EXPECT_TRUE(SamePicture(Picture(), changed));
  ASSERT_TRUE(stack.Undo());
  EXPECT_TRUE(SamePicture(Picture(), start));

  ASSERT_TRUE(PushVertUndo(stack, scene, {3}));
  MoveVertices({3}, cVec3(0, 0, 1));
  ExpectACutRecordChangesNothing(4);
}

TEST_F(SceneStateUndo, AVertexStepInAToolThatMovesNoneIsPassedOver) {
  GridSheet();
  ASSERT_TRUE(PushPolyHideUndo(stack, scene));
  scene.Faces[0].Visible = 0;
  ASSERT_TRUE(PushVertUndo(stack, scene, {0}));
  MoveVertices({0}, cVec3(0, 0, 2));
  tool.Moves = false;
  // The vertex stays where it was moved; the hide before it is undone.
  ASSERT_TRUE(stack.Undo());
  EXPECT_EQ(stack.UndoPosition, 0);
  EXPECT_EQ(scene.Faces[0].Visible, 1);
  EXPECT_EQ(scene.Vertices[0].Position.z, 2.0f);
  // Redo brings the hide back; the vertex step was passed over for good.
  ASSERT_TRUE(stack.Redo());
  EXPECT_EQ(scene.Faces[0].Visible, 0);
  EXPECT_FALSE(stack.Redo());
  tool.Moves = true;
  ASSERT_TRUE(stack.Undo());
  EXPECT_EQ(scene.Faces[0].Visible, 1);
  EXPECT_EQ(scene.Vertices[0].Position.z, 2.0f);
}

TEST_F(SceneStateUndo, WholeFacesComeBackWithGridsLayersAndUVs) {
  GridSheet();
  // Paint in the upper layer so the faces carry two entries.
  for (int f : {1, 2}) {
    FaceLayer* l = scene.GetFaceLayer(f, scene.CurrentLayer, true);
    for (int i = 0; i < scene.Faces[f].SampleCount(); ++i) l->Data[i].Color = 0x80000000u | (uint32_t)(f * 1000 + i);
  }
  SetMask(2, 9);
  const std::string start = Picture();
  const int nx = scene.Faces[1].Nx;
  ASSERT_TRUE(PushFullFaceUndo(stack, scene, {1, 2}));
  Resample(1, nx * 2, nx * 2);
  Resample(2, 2, 3);
  const std::string changed = Picture();
  ASSERT_NE(changed, start);

  ASSERT_TRUE(stack.Undo());
  EXPECT_TRUE(SamePicture(Picture(), start));
  EXPECT_EQ(scene.Faces[1].Nx, nx);
  EXPECT_EQ(scene.Faces[2].LayerList[1].Info, scene.GetLayerByID(scene.CurrentLayer));
  ASSERT_TRUE(stack.Redo());
  EXPECT_TRUE(SamePicture(Picture(), changed));
  ASSERT_TRUE(stack.Undo());
  EXPECT_TRUE(SamePicture(Picture(), start));

  ASSERT_TRUE(PushFullFaceUndo(stack, scene, {3}));
  Resample(3, 4, 4);
  ExpectACutRecordChangesNothing(5);
}

// On a target of Ptex planes a face's rectangle of the map (Nx by Ny texels
// from its first corner) follows its grid's size through undo and redo.
TEST_F(SceneStateUndo, WholeFacesTakeTheirPtexRectanglesAlong) {
  GridSheet();
  const int face = 1, side = 64;
  MRenderTarget* rt = scene.RenderTargets[scene.Faces[face].RenderTarget];
  rt->rtSizeX = rt->rtSizeY = side;
  rt->PtexOccupancy = new uint8_t[side * side]();
  auto mark = [&](uint8_t value) {
    const PaintFace& f = scene.Faces[face];
    const comms::cVec2& uv = scene.Corners[scene.FaceCornerMap.Of(face)[0]].UV;
    const int x0 = (int)std::lround(uv.x * side - 0.5f), y0 = (int)std::lround(uv.y * side - 0.5f);
    for (int y = std::max(y0, 0); y < std::min(y0 + (int)f.Ny, side); ++y)
      for (int x = std::max(x0, 0); x < std::min(x0 + (int)f.Nx, side); ++x) rt->PtexOccupancy[y * side + x] = value;
  };
  auto bitmap = [&] { return std::vector<uint8_t>(rt->PtexOccupancy, rt->PtexOccupancy + side * side); };
  mark(1);
  const std::vector<uint8_t> before = bitmap();
  const int nx = scene.Faces[face].Nx;
  ASSERT_TRUE(PushFullFaceUndo(stack, scene, {face}));
  mark(0);  // as the resolution tool does
  Resample(face, nx * 2, nx * 2);
  mark(1);
  const std::vector<uint8_t> after = bitmap();
  ASSERT_NE(after, before);
  ASSERT_TRUE(stack.Undo());
  EXPECT_EQ(bitmap(), before);
  ASSERT_TRUE(stack.Redo());
  EXPECT_EQ(bitmap(), after);
}
