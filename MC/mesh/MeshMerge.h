// The mesh merge of the voxel room (SCULP_MERGE): the mesh the tool holds,
// its placement (shift, yaw, pitch, roll, scale) and the settings of the
// merge, and the merge itself into a volume, once per mirror copy of the
// symmetry. The tool draws the placed mesh as its preview and merges on
// Enter or a click; this class holds everything but the drawing.
#pragma once
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "ClassEngine/BaseClass.h"
#include "ClassEngine/MemberClasses.h"
#include "MC/mesh/MergeSeparate.h"

namespace comms {
class cMesh;
}
class VolumeObject;

// The settings of the merge tool, shown in its panel.
class MergeSettings : public BaseClass {
 public:
  bool MergeToSeparateVolumes = false;
  bool RespectNegativeVolumes = false;
  bool CutThroughVolumes = false;
  bool MergeAsSkin = false;
  float InSkinThickness = 0;
  float OutSkinThickness = 4;
  float MrgYaw = 0, MrgPitch = 0, MrgRoll = 0;  // degrees
  // Each merge turns the mesh by up to this much more, either way, anew.
  float MrgYawJitter = 0, MrgPitchJitter = 0, MrgRollJitter = 0;
  float ShiftX = 0, ShiftY = 0, ShiftZ = 0;     // voxels
  float MergeScale = 1;                         // times the size the mesh came with
  // The sample shipped in "Samples/" that the tool holds, -1 for none.
  int MergeBrowser = -1;
  // Set by the merge the settings belong to: a sample picked in the list,
  // and the button that asks for a mesh file (the window sets that one).
  std::function<void(int sample)> SampleChosen;
  std::function<void()> ObjectAsked;
  MV_CLASS(MergeSettings, BaseClass) {
    Member("_index", MergeBrowser, "MergeBrowser", GetEnumerator("MERGE_SAMPLES"));
    Method(&MergeSettings::MergeObject, "MergeObject");
    Member("_bool", MergeToSeparateVolumes, "MergeToSeparateVolumes");
    Member("_bool", RespectNegativeVolumes, "RespectNegativeVolumes");
    Member("_bool", CutThroughVolumes, "CutThroughVolumes");
    Member("_bool", MergeAsSkin, "MergeAsSkin");
    Member("CtrlFSlider", InSkinThickness, "InSkinThickness", NewFloatSliderRange(0, 20));
    Member("CtrlFSlider", OutSkinThickness, "OutSkinThickness", NewFloatSliderRange(0, 20));
    Member("CtrlFSlider", MrgYaw, "MrgYaw", NewFloatSliderRange(-180, 180));
    Member("CtrlFSlider", MrgPitch, "MrgPitch", NewFloatSliderRange(-180, 180));
    Member("CtrlFSlider", MrgRoll, "MrgRoll", NewFloatSliderRange(-180, 180));
    Member("CtrlFSlider", MrgYawJitter, "MrgYawJitter", NewFloatSliderRange(0, 180));
    Member("CtrlFSlider", MrgPitchJitter, "MrgPitchJitter", NewFloatSliderRange(0, 180));
    Member("CtrlFSlider", MrgRollJitter, "MrgRollJitter", NewFloatSliderRange(0, 180));
    Member("_float", ShiftX, "ShiftX");
    Member("_float", ShiftY, "ShiftY");
    Member("_float", ShiftZ, "ShiftZ");
    Member("CtrlFSlider", MergeScale, "MergeScale", NewFloatSliderRange(0.01f, 10));
  }
  void MergeObject();
  bool OnChange(BaseClass* cls, void* ptr, void* extra, const char* name) override;
};

// The shipped sample meshes of the merge list: the ".obj" files of the data
// folder's "Samples/", by name; fills the enumerator "MERGE_SAMPLES" (again
// on each call, so a changed folder shows).
std::vector<std::string> MergeSamplePaths();

// The simplification of the mesh before it goes into the voxels. A mesh finer
// than the lattice can show only costs time in the merge: SimpDegree 1 brings
// it down to about what the lattice shows (MergeTargetTriangles), smaller
// degrees remove proportionally fewer triangles, 0 none. A mesh already
// coarser than that is merged as it is.
class MergeParams : public BaseClass {
 public:
  bool PerformSimplification = false;
  float SimpDegree = 1;
  MV_CLASS(MergeParams, BaseClass) {
    Member("_bool", PerformSimplification, "PerformSimplification");
    Member("CtrlFSlider", SimpDegree, "SimpDegree", NewFloatSliderRange(0, 1));
  }
};

// The hull dialogs ("EnterHullParams", "EnterExtrudeParams").
class HullParams : public BaseClass {
 public:
  float EdgeThickness = 4;
  MV_CLASS(HullParams, BaseClass) {
    Member("CtrlFSlider", EdgeThickness, "EdgeThickness", NewFloatSliderRange(0, 10));
  }
};
class ExtrudeParams : public BaseClass {
 public:
  float Extrusion = 2;
  MV_CLASS(ExtrudeParams, BaseClass) { Member("CtrlFSlider", Extrusion, "Extrusion", NewFloatSliderRange(0, 10)); }
};

// Registers the classes above for their panels and dialogs (idempotent).
void RegisterMergeClasses();

// The triangle count a simplification of `mesh` aims at before a merge
// through `matrix` (row vectors into the lattice; null for none): about two
// triangles per voxel square of the placed surface at degree 1, the full
// count at degree 0, and in between in proportion. Never more than the mesh
// has.
int MergeTargetTriangles(const comms::cMesh& mesh, const float* matrix, float degree);

// Reduces a mesh in place towards `targetTriangles`, keeping its parts (the
// objects and their names) and leaving every part as closed as it was.
// False when it was stopped before the end: the mesh is then reduced part
// way, still whole.
using MeshSimplifier = std::function<bool(comms::cMesh& mesh, int targetTriangles)>;

// 0 union; with the tool's invert state 1 subtraction, 2 intersection when
// the intersect key is held too.
int MergeModeOf(bool invert, bool intersectHeld);

class MeshMerge {
 public:
  MergeSettings Settings;
  // Shown in the panel below the settings: simplify the mesh before merging.
  MergeParams Simplification;
  // What simplifies; the program sets it at start-up. Without it the mesh
  // is always merged as it is.
  MeshSimplifier Simplifier;

  MeshMerge();
  ~MeshMerge();
  MeshMerge(const MeshMerge&) = delete;
  MeshMerge& operator=(const MeshMerge&) = delete;
  // Takes the mesh, moved to the centre of its box and scaled so that its
  // farthest vertex lies 150 voxels from it; the placement starts at rest.
  // False (and the old mesh kept) for an empty mesh.
  bool SetMesh(std::unique_ptr<comms::cMesh> mesh);
  const comms::cMesh* Mesh() const { return mesh_.get(); }
  // Reads a mesh file and holds it; false (the old mesh kept) with the
  // reason in `why` when it cannot be read or holds nothing.
  bool LoadFile(const std::string& path, std::string* why = nullptr);
  // Holds sample `index` of MergeSamplePaths(); false keeps the old mesh.
  bool LoadSample(int index, std::string* why = nullptr);
  // The placement, row vectors: scale, then roll (z), pitch (x), yaw (y), then
  // the shift.
  void Placement(float out[16]) const;
  // Merges the placed mesh into `volume` (scene space to the volume through
  // its InverseTransform) once per mirror copy (3 x 3 matrices, identity
  // first; empty means the identity only). Separate volumes, one per part
  // and copy, go to `separate` with `below` cut through as the settings say.
  // With jitters set, the turn of this merge is drawn from `seed`. With
  // Simplification.PerformSimplification (and a Simplifier) a simplified
  // copy of the mesh is merged; the held mesh and its preview stay as they
  // are, and the copy is kept for the next merge at the same target. False
  // when no mesh is held.
  bool Merge(VolumeObject& volume, int mode, const std::vector<std::vector<float>>& mirrors,
             std::vector<SeparatePart>* separate = nullptr, const std::vector<VolumeObject*>& below = {},
             bool keepUndo = false, uint32_t seed = 1);

  // The triangles of the last merge's mesh (simplified or not).
  int MergedTriangles() const { return mergedTriangles_; }

 private:
  // The mesh to merge through `matrix`: the held one, or its simplified copy.
  const comms::cMesh& MeshToMerge(const float* matrix);

  std::unique_ptr<comms::cMesh> mesh_;
  std::unique_ptr<comms::cMesh> simplified_;
  int simplifiedTarget_ = -1;
  int mergedTriangles_ = 0;
};
