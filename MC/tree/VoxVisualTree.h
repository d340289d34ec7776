// The voxel room's layer tree: the root branch, the list that owns every
// volume in creation order, the current volume, and the commands of a row's
// context menu (add, clone, delete, re-parent, booleans, flips, density).
// Every command keeps one rule: each volume of VolumeList hangs on exactly
// one branch, and each volume branch points into VolumeList.
#pragma once
#include <memory>
#include <string>
#include <vector>

#include "ClassEngine/Random.h"
#include "MC/mesh/MergeSeparate.h"
#include "MC/tree/VoxTreeBranch.h"

class VoxVisualTree : public VoxTreeBranch {
 public:
  std::vector<std::unique_ptr<VolumeObject>> VolumeList;
  VolumeObject* CurrentVolume = nullptr;

  VoxVisualTree();
  ~VoxVisualTree() override;
  MV_CLASS(VoxVisualTree, VoxTreeBranch) {}

  // A child row of `parent` (the root when null) with a new volume holding
  // cell (0, 0, 0), placed by `matrix` (identity when null); it becomes
  // current. The name is "Volume%d" by a running counter unless given.
  VoxTreeBranch* AddVolume(VoxTreeBranch* parent = nullptr, const float* matrix = nullptr,
                           const char* name = nullptr);
  // A child row without a volume.
  VoxTreeBranch* AddFolder(VoxTreeBranch* parent = nullptr, const char* name = nullptr);
  // The branch of a volume, or null.
  VoxTreeBranch* BranchOf(const VolumeObject* volume);
  VoxTreeBranch* FindByName(const char* name);
  // Volumes of the kept rows below `row` (not its own).
  std::vector<VolumeObject*> VolumesBelow(VoxTreeBranch* row);
  // Hangs each part's volume on a new child row of `parent` (the root when
  // null), named after its part, with a fresh object id. The current volume
  // stays current. Returns the new rows in order.
  std::vector<VoxTreeBranch*> AttachParts(VoxTreeBranch* parent, std::vector<SeparatePart>&& parts);
  // Rows that hold a volume and are not removed.
  int VolumeRowCount();
  // Makes the row's volume current (a folder row changes nothing).
  void MakeCurrent(VoxTreeBranch* row);

  // Full copy behind the source, suffix "_copy"; flipAxes (bits 0..2) makes
  // it the mirror image through the plane of the named axes.
  VoxTreeBranch* Clone(VoxTreeBranch* row, int flipAxes = 0);
  // An empty volume with the same transform, suffix "_space_copy".
  VoxTreeBranch* CloneSpace(VoxTreeBranch* row);
  // Marks the row (and so its children) removed; refused when fewer than two
  // volume rows would remain. The first remaining volume becomes current.
  bool Delete(VoxTreeBranch* row);
  // Takes a removed row back, as long as it was not purged.
  bool Undelete(VoxTreeBranch* row);
  // Frees the volumes of removed rows and drops the rows.
  void PurgeRemoved();
  // Drops the row and what hangs below it at once, volumes freed (the undo
  // of a step that made the row); false for the root or a row not in the tree.
  bool DropRow(VoxTreeBranch* row);
  // Hangs the row under `target` (the root when null); refused when the
  // target lies below the row.
  bool ChangeParent(VoxTreeBranch* row, VoxTreeBranch* target);
  // Hangs the row beside `sibling`, under the sibling's parent, just before
  // it (or after it with `after`); refused when the sibling lies below the row.
  bool MoveBeside(VoxTreeBranch* row, VoxTreeBranch* sibling, bool after);

  // Booleans into another row's volume, through the source's surface in the
  // target's lattice: mode 0 union, 1 subtraction, 2 intersection. MergeTo
  // keeps the row; MoveTo, SubtractFrom and IntersectWith remove it and hang
  // its children into the target.
  bool BooleanInto(VoxTreeBranch* row, VoxTreeBranch* target, int mode, bool consume);
  bool MergeTo(VoxTreeBranch* row, VoxTreeBranch* target) { return BooleanInto(row, target, 0, false); }
  bool MoveTo(VoxTreeBranch* row, VoxTreeBranch* target) { return BooleanInto(row, target, 0, true); }
  bool SubtractFrom(VoxTreeBranch* row, VoxTreeBranch* target) { return BooleanInto(row, target, 1, true); }
  bool IntersectWith(VoxTreeBranch* row, VoxTreeBranch* target) { return BooleanInto(row, target, 2, true); }
  // Unites every descendant volume into the row's own and removes them.
  bool CombineChildren(VoxTreeBranch* row);

  // Voxels per scene unit doubled or halved: only the transform changes.
  void IncDencity2X(VoxTreeBranch* row);
  void DecDencity2X(VoxTreeBranch* row);
  // Moves the row and everything below it: each volume's Transform is
  // followed by `matrix` (row vectors), and so are the branches' Tf.
  void TransformBranch(VoxTreeBranch* row, const float matrix[16]);

  // Volumes of visible, kept rows in tree order (what the scene draws).
  std::vector<VolumeObject*> VisibleVolumes();
  // All volumes in list order (what the scene file writes).
  std::vector<VolumeObject*> Volumes() const;

  // The tree as the class XML the volume stream carries.
  std::string TreeXml();
  // Replaces tree and volumes by loaded ones. With tree text, the branches
  // are rebuilt and bound to volumes by VobID; volumes no branch names, or
  // no text at all, get rows under the root. The first visible volume becomes
  // current.
  void TakeScene(std::vector<std::unique_ptr<VolumeObject>>&& volumes, const std::string& treeXml);

  // An ObjectId not used by any volume of the list.
  uintptr_t NewObjectId();
  // Appends a volume to the list and hangs a new branch for it under parent.
  VoxTreeBranch* Attach(std::unique_ptr<VolumeObject> volume, VoxTreeBranch* parent, VoxTreeBranch* after = nullptr);

 private:
  void DestroyVolume(VolumeObject* volume);
  void PurgeBelow(VoxTreeBranch& branch);
  void CurrentToFirstKept();
  std::string NextName();
  int counter_ = 1;
  Random random_{7};
};
