// PaintScene: the one mesh of the paint room and everything hanging off its
// faces: materials, sub-objects, UV sets, render targets, layers, the lookup
// tables and the cells. Imports and scene files fill Vertices, Corners, Faces
// and FaceCornerMap, then Prepare() runs the loading stages in order. The
// program has one scene (ThePaintScene()); tests make their own.
#pragma once
#include <array>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <vector>

#include "ClassEngine/ClassArray.h"
#include "ClassEngine/MemberClasses.h"
#include "paint/layers/LayerStack.h"
#include "paint/layers/OneLayerInfo.h"
#include "paint/scene/FaceBatches.h"
#include "paint/scene/SceneClasses.h"
#include "paint/scene/SceneRecords.h"
#include "paint/scene/SceneTables.h"
#include "paint/stroke/PickState.h"
#include "render/Mesh.h"

class PixelMap;
class SceneDevice;
class ToolTable;

// Faces of one MeshBlock and one render target, drawn together.
struct MeshBlockPart {
  uint8_t UpToDate = 1;
  uint8_t NeedsUpload = 1;
  uint8_t AlwaysDraw = 0;
  int RenderTarget = 0;
  DynArray<int> Faces;
  std::unique_ptr<comms::StaticMesh> Mesh;  // made by the device when first drawn
};

// A micro-vertex reached by crossing faces.
struct CrossedVertex {
  MicroVertex* Vertex = nullptr;
  int X = 0, Y = 0;  // inside the final face
  int Face = -1;
  int Nx = 0, Ny = 0;
};

// Where the sides of one face lead, worked out once for callers that reach
// just outside a face many times (its normals, its batch): per side the
// neighbour, which of the neighbour's edges meets it (-1 when the side does
// not cross, and positions beyond it clamp to the face) and whether that
// edge runs the other way.
struct FaceSides {
  int Face[4] = {-1, -1, -1, -1};
  int Edge[4] = {-1, -1, -1, -1};
  bool Reversed[4] = {false, false, false, false};
};

// Warnings of the loading stages.
enum SceneWarnings { WARN_SHARED_SURFACES = 1 };

class PaintScene {
 public:
  ClassArray<OneMaterial> Materials;
  ClassArray<RTUVSet> UVSets;
  ClassArray<OneSubObject> Objects;
  ClassArray<MRenderTarget> RenderTargets;
  ClassArray<SubFaceList> FaceLists;
  _str FileName;
  int RtSizeX = 2048, RtSizeY = 2048;
  int MicroVertexCount = 0;
  comms::cVec3 Shift;
  std::vector<comms::cVec3> BasePositions;
  std::vector<MeshVertex> Vertices;
  std::vector<comms::cVec3> Normals;
  std::vector<FaceCorner> Corners;
  std::vector<PaintFace> Faces;
  std::vector<uint32_t> SubdPairs;  // three words a record: vertex, vertex, value
  std::unordered_map<uint32_t, std::array<uint32_t, 6>> VertexMaps;
  ClassArray<VMapType> VMapTypes;
  FaceCornerTable FaceCornerMap;
  FaceCornerTable BasicFaceCornerMap;
  EdgeTable EdgeMap;
  std::vector<int> DirtyFaces;
  std::vector<uint8_t> DirtyFlag;  // per face: already in DirtyFaces
  std::map<CellKey3, std::vector<MeshBlockPart>> MeshBlocks;
  FaceMultiMap<CellKey3> Cells;
  std::map<CellKey3, FaceBox> CellBounds;
  FaceMultiMap<CellKey3> BlockCells;
  std::vector<CellKey3> BlockSet;  // sorted, unique
  FaceMultiMap<CellKey2> UVCells;
  FaceBox Bounds;
  float CellSize = 1;
  float UnitScale = 1;
  LayerStack LayerPanel;                         // the layer panel's object
  ClassArray<OneLayerInfo>& Layers = LayerPanel.Layers;  // bottom to top
  std::vector<int> LayerOrder;  // by LayerID: position in Layers + 1, or 0
  int CurrentLayer = 0;
  std::vector<int> StrokeFaces;  // the current stroke's faces (ForEachFace mode 2)
  PickState Picks;  // where the pen last stood; stroke records carry it
  FaceBatchDrawer DrawFaceBatch;  // the render side's drawing of face batches; none headless
  SceneDevice* Device = nullptr;  // textures, tile upload and meshes; none headless
  uint8_t Modified = 0;
  std::vector<uint64_t> UVPatchData8;
  std::vector<std::array<uint32_t, 3>> UVPatchData12;

  PaintScene();
  ~PaintScene();
  PaintScene(const PaintScene&) = delete;
  PaintScene& operator=(const PaintScene&) = delete;

  // --- layers
  // The face's entry of the layer; with create, a new default entry inserted
  // by LayerOrder (never before index 0) under the scene lock.
  FaceLayer* GetFaceLayer(int face, int layerID, bool create);
  // The layer with that ID (-1 reads as 0); an unknown ID makes the layer.
  OneLayerInfo* GetLayerByID(int layerID);
  // "Layer %d" with the next free ID behind position `after` (-1: on top).
  int NewLayer(bool makeCurrent, int after = -1);
  // LayerOrder from the positions in Layers.
  void RebuildLayerOrder();
  // Position + 1 of the layer in Layers, 0 when it does not exist.
  int OrderOf(int layerID) const {
    return layerID >= 0 && layerID < (int)LayerOrder.size() ? LayerOrder[layerID] : 0;
  }
  // Re-sorts every face's LayerList and every tile's LayerTiles by LayerOrder.
  void ResortSampleLists();

  // --- faces
  PixelMap* GetPixelMap(int renderTarget);
  // Queues the face for UpdateDirtyFaces and its block's mesh for a rebuild.
  void MarkFaceDirty(int face);
  // Composes the dirty tiles of a per-pixel target and hands them to the
  // device; returns the number of tiles composed.
  int UpdatePixelMap(int renderTarget);
  void SetAllDirty();
  // The micro-vertex at (x, y) of the face, crossing into neighbours while
  // outside the grid. A face without grid gives `scratch` filled with the
  // default sample, or null when scratch is null.
  CrossedVertex GetMicroVertex(int face, int x, int y, MicroVertex* scratch);
  // The sides of a face with a grid, for MicroVertexBeside.
  void GetFaceSides(int face, FaceSides& sides) const;
  // GetMicroVertex's record for (x, y), which lies inside the grid or in the
  // first row or column outside one side of it; `sides` are the face's.
  const MicroVertex* MicroVertexBeside(int face, const FaceSides& sides, int x, int y, MicroVertex* scratch);
  // fn(face) over all faces (0), DirtyFaces (1) or StrokeFaces (2), spread
  // over the thread pool: worker i takes faces i, i + N, ...
  void ForEachFace(int mode, const std::function<void(int face)>& fn, float progressBase = 0,
                   float progressSpan = 0);
  // Empties everything. Without keepTools, and given the program's tool
  // table, "StdPen" becomes the current tool and every tool clears its own
  // data (OnSceneReset).
  void ResetScene(bool keepTools = true, ToolTable* tools = nullptr);
  // Deletes the marked faces (one flag per face) and every corner, vertex and
  // record only they used, through one index-remap table; then re-runs the
  // edge, cell and dirty stages.
  void DeleteFaces(const std::vector<uint8_t>& doomed);

  // --- loading stages (in order)
  // All stages after the faces were filled; false when the scene is unusable.
  bool Prepare(int* warnings = nullptr);
  void ComputeBounds();                 // 1
  void BuildEdgeMap();
  void BuildNeighbours();
  void CreateUVEdgesInfo();             // 2
  void CreatePaddingInfo();
  void CreateMissingTargets();          // 3
  void CreateDefaultUVSets();           // 4
  bool CreateTargetTextures(std::string* why);  // 5
  int SetupUVIds();                     // 7, returns warnings
  void PutFacesInCells();               // 9
  void CreateMeshBlocks();              // 11 (face lists per block and target)
  void CreateTangentSpaceFromBasicNormals();  // 12
  // Composes every face from its layers (micro-vertex targets) and every
  // dirty tile of the per-pixel maps.
  void ComposeAll();
  // Recomputes the normals of the face's grid from its composite positions.
  void ComputeGridNormals(int face);
  // Memory held by faces, grids, layer lists and tables, in bytes.
  size_t MemoryBytes() const;

  // The default material, object and bottom layer of an empty scene.
  void MakeDefaults();

 private:
  std::mutex layerLock_;
};

// The program's scene.
PaintScene& ThePaintScene();
