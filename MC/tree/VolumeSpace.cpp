// Rebuilding volumes on another lattice (see VolumeSpace.h).
#include "MC/tree/VolumeSpace.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>

#include "MC/mcubes/VolumeObject.h"
#include "MC/mesh/VolumeBooleans.h"
#include "MC/tree/TreeMatrix.h"
#include "MC/tree/VoxVisualTree.h"
#include "render/Math3D.h"

using comms::cMat4;

float SmallestAxisScale(const VolumeObject& volume) {
  const float* t = volume.Transform;
  float s = INFINITY;
  // Rows 0..2 are the images of the unit axes less the origin's.
  for (int axis = 0; axis < 3; ++axis)
    s = std::min(s, std::sqrt(t[axis * 4] * t[axis * 4] + t[axis * 4 + 1] * t[axis * 4 + 1] +
                              t[axis * 4 + 2] * t[axis * 4 + 2]));
  return s;
}

bool ToGlobalSpace(VolumeObject& volume) {
  const float s = SmallestAxisScale(volume);
  if (!(s > 1e-6f) || !std::isfinite(s)) return false;
  const cMat4 scale = cMat4::Scaling(s, s, s);
  const cMat4 relative = ToMat(volume.Transform) * scale.Inverse();
  RebuildThrough(volume, &relative.m[0][0]);
  volume.SetTransform(&scale.m[0][0]);
  volume.UpdateSurface();
  return true;
}

VoxTreeBranch* CloneDegrade(VoxVisualTree& tree, VoxTreeBranch* row) {
  if (!row || !row->Volume || row == &tree) return nullptr;
  VolumeObject& source = *row->Volume;
  auto v = std::make_unique<VolumeObject>();
  v->Name = source.Name + "_degrade";
  v->ObjectId = tree.NewObjectId();
  const cMat4 coarse = ToMat(source.Transform) * cMat4::Scaling(2, 2, 2);
  v->SetTransform(&coarse.m[0][0]);
  VolumeObject& made = *v;
  VoxTreeBranch* b = tree.Attach(std::move(v), row->ParentBranch, row);
  std::copy(row->Tf, row->Tf + 16, b->Tf);
  std::copy(row->TfInverse, row->TfInverse + 16, b->TfInverse);
  for (int i = 0; i < 3; ++i) b->GizmoCenter[i] = row->GizmoCenter[i] * 0.5f;
  const cMat4 relative = ToMat(source.Transform) * ToMat(made.InverseTransform);
  MergeTo(source, made, &relative.m[0][0]);
  made.UpdateSurface();
  tree.MakeCurrent(b);
  return b;
}
