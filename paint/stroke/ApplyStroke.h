// PaintStroke: carries the dabs of one stroke from the pen to the samples of
// the scene. Begin at the button's press, ApplyStroke per dab, End at release.
// A dab floods the faces under the pen, backs up the current layer of each
// face (or tile) once per stroke so every dab measures against the stroke's
// start, walks the samples on the thread pool (skipping whole 4 x 4 cells of a
// grid or whole texel blocks out of reach), then recomposes the touched faces
// and marks them, and the touched tiles, for the next upload.
#pragma once
#include <functional>
#include <memory>
#include <unordered_set>
#include <vector>

#include "paint/layers/LayerRecords.h"
#include "paint/scene/SceneRecords.h"
#include "paint/stroke/StrokeSample.h"

class PaintScene;
class PixelMap;

// The current layer of one face as the stroke found it.
struct FaceBackup {
  int Face = -1;
  int LayerID = 0;
  std::vector<LayerMicroVertex> Samples;
  std::vector<comms::cVec3> Normals;  // the grid's composite normals, for undo
};

enum class DabResult { Painted, Nothing, InvisibleLayer };

class PaintStroke {
 public:
  explicit PaintStroke(PaintScene& scene);
  ~PaintStroke();
  PaintStroke(const PaintStroke&) = delete;
  PaintStroke& operator=(const PaintStroke&) = delete;

  // A new stroke: no backups yet.
  void Begin();
  // One dab of `fn` under `frame`, flooding from `pickedFace`. With `backup`
  // every touched face and tile keeps its start state for the whole stroke.
  // An invisible current layer paints nothing ("PAINT_INVIS_LAYER").
  DabResult ApplyStroke(const SampleFunction& fn, const StrokeFrame& frame, int pickedFace, bool backup = true);
  // Every sample of the stroke faces, with no distance test (the layer fill).
  void ApplyToAllFaces(const SampleFunction& fn, const StrokeFrame& frame, bool backup = true);
  // Releases the backups and the tiles' undo copies, after OnEnd.
  void End();
  // Ends one part of a stroke in several parts (the line and curve modes):
  // OnEnd records the part, and the stroke goes on. Later dabs still measure
  // against the state at the stroke's start, while what they touch is backed
  // up again as it stands now, so each part's record undoes that part alone.
  // False when nothing was touched since the last part.
  bool Checkpoint();
  // Called by End and Checkpoint while Backups() and the tiles' undo copies
  // hold the state before the part (the whole stroke, without parts), when
  // it touched anything: where its undo record is written. Empty: the
  // stroke is kept without one.
  std::function<void(PaintStroke&)> OnEnd;
  // The faces of this part as they were before it.
  const std::vector<std::unique_ptr<FaceBackup>>& Backups() const { return backups_; }
  // The maps whose tiles hold undo copies of this stroke.
  const std::vector<PixelMap*>& BackedUpMaps() const { return maps_; }

  BasicPenShape* Pen = nullptr;                   // the dab's shape; null paints a flat disc
  const GlobalModificator* Modificator = nullptr;  // none by default
  const BrushMaskSource* Mask = nullptr;          // none by default
  BasicPenShape* Strip = nullptr;                 // none by default
  bool IslandOnly = false;                        // stroke mode 9
  bool RejectOccluded = true;                     // faces hidden behind others stay untouched
  // What the last dab did, for tests and the benchmark.
  int LastFaces = 0;        // faces after the flood and pruning
  int LastTouchedFaces = 0;
  int64_t LastSamples = 0;  // samples measured against the pen
  std::vector<PixelTile*> LastTiles;  // tiles marked for upload

 private:
  // Creates the face's layer entry and its backup before the workers run;
  // true when the entry is new.
  bool PrepareFace(int face, bool backup);
  // Entries of this part that hold nothing, now as at its start, go again
  // (an undo would drop them too), and their faces recompose whole.
  void DropEmptyEntries();
  // Creates the layer tiles (and their undo copies) a per-pixel face will
  // touch: those of the texel blocks in the pen's reach, or with `all` every one.
  void PrepareTiles(int face, const StrokeFrame& frame, bool backup, bool all);
  // The samples of a grid a dab reached, x0 <= x < x1, y0 <= y < y1.
  struct SampleRect {
    int X0 = 1 << 30, Y0 = 1 << 30, X1 = 0, Y1 = 0;
    void Add(int x, int y) {
      X0 = x < X0 ? x : X0, Y0 = y < Y0 ? y : Y0;
      X1 = x + 1 > X1 ? x + 1 : X1, Y1 = y + 1 > Y1 ? y + 1 : Y1;
    }
  };
  // The face's grid; `reached` grows by every sample given to the sample
  // function, so that only those recompose.
  float WalkGrid(const SampleFunction& fn, const StrokeContext& ctx, int face, bool all, SampleRect& reached);
  // How many texels a walk saw, and of those how many were free (Freeze 0)
  // and wholly frozen (above 65,000).
  struct FreezeCount {
    int Seen = 0, Free = 0, Frozen = 0;
    void Add(uint16_t freeze) { Seen++, Free += freeze == 0, Frozen += freeze > 65000; }
    void Merge(const FreezeCount& o) { Seen += o.Seen, Free += o.Free, Frozen += o.Frozen; }
  };
  // The texels of blocks[0 .. count) of the face's directory, or with
  // blocks null every texel of the face; `freeze` counts every texel seen.
  float WalkTexels(const SampleFunction& fn, const StrokeContext& ctx, int face, bool all, const int* blocks,
                   int count, FreezeCount& freeze);
  // Workers, composition and dirty marks over scene.StrokeFaces.
  void RunDab(const SampleFunction& fn, const StrokeFrame& frame, bool backup, bool all);
  void Release();

  PaintScene& scene_;
  std::vector<std::unique_ptr<FaceBackup>> backups_;
  // Backups of earlier parts: the faces' Backup may point into them.
  std::vector<std::unique_ptr<FaceBackup>> kept_;
  // (face, layer) pairs backed up in this part.
  std::unordered_set<int64_t> partFaces_;
  bool partTouched_ = false;  // a dab of this part backed something up
  std::vector<PixelMap*> maps_;  // maps whose tiles hold undo copies
  std::vector<std::pair<PixelTile*, PixelMap*>> prepared_;  // tiles this dab may touch
  // A share of one dab's walk: a face's grid, or some of its texel blocks
  // (Blocks, a range of reach_; -1 for all its texels). Pieces are small, so
  // that the workers share a dab of few large faces evenly.
  struct WalkPiece {
    int Face = 0, Place = 0;  // the face and its place in StrokeFaces
    bool Grid = false;
    int First = -1, Last = -1;
  };
  std::vector<WalkPiece> pieces_;
  std::vector<int> reach_;  // block indices in reach, face by face
};

// Whether any texel of the block may lie under the pen: the block's sphere
// against the stroke, with room for the rim of the pen's cylinder.
bool BlockInReach(const StrokeFrame& frame, const FaceTexelBlock& block, float unitScale);
