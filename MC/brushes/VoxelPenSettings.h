// The pen's own settings at the top of the voxel tool's panel: radius,
// depth, falloff, how pressure acts and the response curve, how deep a drawn
// shape reaches (its far plane and depth limit), and the mirror
// axes of symmetry. Radius, depth, falloff and pressure are the shared pen
// state (GeneralPen); the three mirror boxes stand for the bits of
// GeneralPen::Symmetry.
#pragma once
#include "ClassEngine/BaseClass.h"
#include "ClassEngine/MemberClasses.h"

class VoxelPenSettings : public BaseClass {
 public:
  bool MirrorX = false, MirrorY = false, MirrorZ = false;

  MV_CLASS(VoxelPenSettings, BaseClass);
  // A mirror box changed: the symmetry bits follow.
  bool OnChange(BaseClass* cls, void* ptr, void* extra, const char* name) override;
  // The boxes from GeneralPen::Symmetry (after a script or a file set it).
  void Sync();
};

// Registers the class and the enumerator of the pressure modes (idempotent).
void RegisterVoxelPenSettings();
