// The coding of paint samples shared by the undo records: one face's samples
// of one layer (with the composite's normals), one layer tile (with the
// freeze values), the pen's picks, each written field by field and read back
// with every count checked against the face or the scene.
#pragma once
#include <cstdint>
#include <vector>

#include "paint/layers/LayerRecords.h"
#include "paint/scene/SceneRecords.h"

class BlockReader;
class BlockWriter;
class PaintScene;
class PixelMap;
struct PickState;

// One face's samples of one layer; without samples the face had no entry.
// The stroke record also keeps the grid's freeze values and the face's
// first four corners (positions and normals of their vertices).
struct FaceEntry {
  int Face = -1, LayerID = 0;
  bool HasSamples = false;
  std::vector<LayerMicroVertex> Samples;
  std::vector<comms::cVec3> Normals;  // the composite's normals, as they were
  std::vector<float> Freeze;          // the grid's, empty without a grid
  bool HasCorners = false;
  comms::cVec3 CornerPositions[4], CornerNormals[4];
};

// One layer tile as it was; absent and all-empty read the same.
struct TileEntry {
  int Target = 0, LayerID = 0, X = 0, Y = 0;
  std::vector<LayerPixel> Pixels;  // kTilePixels
  std::vector<uint16_t> Freeze;     // kTilePixels or empty
};

// The pen's picks, 580 bytes in record order.
void PutPickState(BlockWriter& w, const PickState& p);
bool ReadPickState(BlockReader& r, PickState& p);

void PutSamples(BlockWriter& w, const LayerMicroVertex* s, int n);
void PutNormals(BlockWriter& w, const std::vector<comms::cVec3>& normals);
void PutFace(BlockWriter& w, const FaceEntry& e);
// A tile entry (render target + 1 first, so 0 ends a list); null pixels
// write an empty layer, null freeze none.
void PutTile(BlockWriter& w, int target, int layerID, int x, int y, const LayerPixel* pixels, const uint16_t* freeze);
bool AllEmpty(const LayerMicroVertex* s, int n);
// The render target index of a map, -1 when it is none of the scene's.
int TargetOf(PaintScene& scene, const PixelMap* map);
bool ReadFace(BlockReader& r, PaintScene& scene, FaceEntry& e);
// The stroke record's form of an entry: a head of 120 bytes (three words
// that say whether samples, base normals and freeze values follow; the
// layer; four corner positions and four corner normals; the face; two
// checkpoint bytes and two of padding), then Nx * Ny samples of 24 bytes
// and Nx * Ny freeze values. The composite's normals are not in it: they
// follow all the entries (PutEntryNormals).
constexpr int kFaceBackupBytes = 120;
void PutFaceBackup(BlockWriter& w, PaintScene& scene, const FaceEntry& e);
bool ReadFaceBackup(BlockReader& r, PaintScene& scene, FaceEntry& e);
void PutEntryNormals(BlockWriter& w, const FaceEntry& e);
bool ReadEntryNormals(BlockReader& r, PaintScene& scene, FaceEntry& e);
// The positions and normals of the vertices at the face's first four corners.
void CaptureCorners(const PaintScene& scene, FaceEntry& e);
// Reads tile entries up to the closing 0; false when one is damaged or
// names a tile the scene does not have.
bool ReadTiles(BlockReader& r, PaintScene& scene, std::vector<TileEntry>& out);
// The face's entry of the layer as it stands, with the grid's normals.
FaceEntry PresentFace(PaintScene& scene, int face, int layerID);
// Puts the entry's samples back; one that holds nothing removes the entry.
// Freeze values and corners, when the entry holds them, go back too.
void RestoreFace(PaintScene& scene, const FaceEntry& e);
// Puts the tile's layer back, pruned when empty, and marks it for composition.
void RestoreTile(PaintScene& scene, const TileEntry& t);
// The recorded normals back into the face's grid.
void RestoreNormals(PaintScene& scene, const FaceEntry& e);
