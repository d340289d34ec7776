// One row of the voxel room's layer tree: a volume or an empty folder, with
// its name, visibility, surface mode, cache state and the matrices the
// transform tool works with. Branches own their children; the volumes they
// point at belong to the tree's VolumeList (VoxVisualTree.h).
#pragma once
#include <functional>
#include <string>

#include "ClassEngine/ClassArray.h"
#include "ClassEngine/MemberClasses.h"
#include "MC/tree/VoxShaderParams.h"

class VolumeObject;

class VoxTreeBranch : public BaseClass {
 public:
  VoxTreeBranch* ParentBranch = nullptr;  // null at the root
  VolumeObject* Volume = nullptr;         // null for a folder and the root
  _str Name;
  _str CacheName;
  bool Visible = true;
  bool VoxSurf = false;
  bool OpenState = true;
  bool NewlyTransformed = false;
  bool NewlyPlaced = false;
  bool Removed = false;  // consumed by an operation; dropped by PurgeRemoved
  bool InCache = false;
  int VobID = 0;  // the volume's ObjectId, rejoins tree and volumes on load
  int Level = 0;
  float Tf[16];
  float TfInverse[16];
  float GizmoTf[16];
  float GizmoCenter[3] = {0, 0, 0};
  bool GizmoCenrtified = false;
  ClassArray<VoxTreeBranch> ChildObjects;
  VoxShaderParams ShaderSettings;  // the volume's shader variables and their values

  VoxTreeBranch();
  MV_CLASS(VoxTreeBranch, BaseClass) { RegisterTreeMembers(); }

  // Appends `child` (owned from now on) and sets its parent and level,
  // and the levels below it.
  void Adopt(VoxTreeBranch* child);
  // Takes `child` out of ChildObjects without destroying it; false when it
  // is not a child of this branch.
  bool Release(VoxTreeBranch* child);
  // Index of `child` in ChildObjects, or -1.
  int IndexOf(const VoxTreeBranch* child) const;
  // This branch and all below it, depth first, parents before children.
  void Walk(const std::function<void(VoxTreeBranch&)>& visit);
  // True when `other` is this branch or lies below it.
  bool Contains(const VoxTreeBranch* other) const;
  // Sets Level from the parent and passes it down.
  void RefreshLevels();
  // The volume's resolution against the scene, as the panel shows it.
  std::string Label() const;

 protected:
  void RegisterTreeMembers();
};
