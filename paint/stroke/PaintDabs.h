// PaintDabs: turns the pen's hits on the surface into dabs of the paint room.
// Each hit after the first makes one dab swept from the previous hit of the
// same mirror copy (so each copy of a symmetric stroke is a track of its own,
// its pen frame mirrored, and all share one stroke's start state): radius
// and amounts from GeneralPen with the pen's random variation, the pen frame
// along the motion, the colour jitter, then ApplyStroke with the sample of the
// chosen tool (the paint sample, the eraser, or the smudge with its gathering
// pass); each dab notes where the pen stood (PickState). The tools of the
// paint room and the replay scripts share it.
#pragma once
#include <cstdint>
#include <vector>

#include "ClassEngine/Random.h"
#include "paint/PenShapes.h"
#include "paint/stroke/ApplyStroke.h"
#include "paint/stroke/EraseSample.h"
#include "paint/stroke/PaintSample.h"
#include "paint/stroke/SmudgeSample.h"

// Where the pen touches: world position, face, the world radius that
// GeneralPen::PenRadius covers there, pressure, and where the view looks.
struct PenHit {
  comms::cVec3 Pos;
  int Face = -1;
  float WorldRadius = 1;
  float Pressure = 1;
  comms::cVec3 ViewDir{0, 0, -1};
  int Mirror = 0;  // 0 the pen's own dab, else its copy mirrored in axes x + 2y + 4z
  bool NewTrack = false;  // every copy's track starts afresh here (a new part)
};

enum class PaintKind { Paint, Erase, Smudge };

// One stroke as PaintDabs received it: what it did, its seed and its hits.
// Replayed on a scene imported alike with the same pen state, it gives the
// same samples: a stroke made in the window can be run again headless.
struct StrokeRecord {
  PaintKind Kind = PaintKind::Paint;
  uint32_t Seed = 1;
  std::vector<PenHit> Hits;
};

class PaintDabs {
 public:
  explicit PaintDabs(PaintScene& scene) : Stroke(scene), scene_(scene) {}

  PaintKind Kind = PaintKind::Paint;
  PaintStroke Stroke;
  // When set, Begin starts the record over and every hit is added to it.
  StrokeRecord* Recording = nullptr;

  // A new stroke; its random generator starts from `seed`.
  void Begin(uint32_t seed = 1);
  // One dab from the previous hit to this one (the first is a single point).
  DabResult Dab(const PenHit& hit);
  void End();
  // The next hit starts a new track (a single point), in the same stroke.
  void BreakPath();
  // Ends one part of a stroke in several parts: the part is recorded
  // (PaintStroke::Checkpoint), the stroke stays open and the next hit starts
  // a new track. False when the part touched nothing.
  bool Checkpoint();
  bool Active() const { return active_; }
  int Dabs() const { return dabs_; }
  // Paints a whole area in one go as one part of the stroke: every sample of
  // `faces` takes the pen's centre at the world radius `worldRadius`, looking
  // along `viewDir`, held back by `area` (the drawn shape over the view, see
  // PaintArea.h) instead of the pen's distance. No random variation. The
  // smudge has no area form and does nothing.
  DabResult Area(const BrushMaskSource& area, const std::vector<int>& faces, float worldRadius,
                 const comms::cVec3& viewDir);
  // Runs a recorded stroke from Begin to End.
  void Replay(const StrokeRecord& record);

 private:
  PaintScene& scene_;
  PaintSample paint_;
  EraseSample erase_;
  SmudgeSample smudge_;
  SimplePen plainPen_;  // when no pen is current
  Random rnd_;
  bool active_ = false;
  // The last hit of each mirror copy.
  struct Track {
    bool HasLast = false;
    PenHit Last;
    float LastRadius = 0;
  };
  Track tracks_[8];
  bool breakNext_ = false;  // the next hit is marked NewTrack
  // The island stroke mode: faces of the island of the stroke's first face.
  std::vector<uint8_t> island_;
  int dabs_ = 0;
};
