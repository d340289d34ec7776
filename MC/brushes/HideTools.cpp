// Moving density into the hidden companion, and hiding cells (see HideTools.h).
#include "MC/brushes/HideTools.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

#include "ClassEngine/Threader.h"
#include "MC/brushes/ApplyField.h"
#include "MC/brushes/CellJobs.h"
#include "MC/mcubes/VolumeObject.h"
#include "MC/tree/VoxVisualTree.h"

VolumeObject* HiddenSpaceOf(VoxVisualTree* tree, VolumeObject& volume, bool create) {
  if (!tree) return nullptr;
  VoxTreeBranch* row = tree->BranchOf(&volume);
  if (!row) return nullptr;
  for (VoxTreeBranch* child : row->ChildObjects)
    if (child && !child->Removed && child->Volume && child->Volume->Name == kHiddenSpaceName) return child->Volume;
  if (!create) return nullptr;
  auto companion = std::make_unique<VolumeObject>();
  companion->Name = kHiddenSpaceName;
  companion->ObjectId = tree->NewObjectId();
  companion->SetTransform(volume.Transform);
  companion->Shader = volume.Shader;
  companion->Visible = false;
  VolumeObject* made = companion.get();
  VoxTreeBranch* b = tree->Attach(std::move(companion), row);
  b->Visible = false;
  std::copy(row->Tf, row->Tf + 16, b->Tf);
  std::copy(row->TfInverse, row->TfInverse + 16, b->TfInverse);
  return made;
}

int HideStroke(VolumeObject& volume, VolumeObject& companion, const BrushEnd& a, const BrushEnd& b, bool back,
               int threads) {
  const FieldBox box = FieldBox::OfSpheres(a.P, a.R + 4, b.P, b.R + 4);
  // Only cells that hold something to move: the volume's going forward, the
  // companion's coming back.
  VolumeObject& from = back ? companion : volume;
  std::vector<CellKey> keys;
  for (const CellKey& k : CellsOfBox(box.Min, box.Max)) {
    VoxelCell** f = from.Cells.Find(k.x, k.y, k.z);
    if (f && !((*f)->Flags & kCellHidden) && ((*f)->Voxels || ((*f)->Flags & kCellAbove))) keys.push_back(k);
  }
  if (keys.empty()) return 0;
  const SegmentFrame frame(a, b);
  const size_t n = keys.size();
  std::vector<uint16_t> volumeNew(n * kCellVoxels), companionNew(n * kCellVoxels);
  ParallelRange(
      0, (int)n,
      [&](int first, int last) {
        for (int i = first; i < last; ++i) {
          const CellKey& k = keys[i];
          VoxelCell** vf = volume.Cells.Find(k.x, k.y, k.z);
          VoxelCell** cf = companion.Cells.Find(k.x, k.y, k.z);
          const VoxelCell* vc = vf ? *vf : nullptr;
          const VoxelCell* cc = cf ? *cf : nullptr;
          for (int z = 0, li = 0; z < 9; ++z)
            for (int y = 0; y < 9; ++y)
              for (int x = 0; x < 9; ++x, ++li) {
                const float p[3] = {float(k.x * 8 + x), float(k.y * 8 + y), float(k.z * 8 + z)};
                float t, q[3];
                frame.Project(p, t, q);
                const float r = (1 - t) * a.R + t * b.R;
                const float v = (std::sqrt(q[0] * q[0] + q[1] * q[1] + q[2] * q[2]) - r) * 0.25f;
                // What the brush leaves: 0 deep inside, 65535 outside it.
                const int left = (int)(std::clamp(v + 0.5f, 0.f, 1.f) * 65535.f);
                const int old = OldValue(vc, li), hidden = OldValue(cc, li);
                int nv = old, nc = hidden;
                if (!back) {
                  nv = std::min(old, left);
                  nc = std::clamp(hidden + old - nv, 0, 65535);
                } else {
                  nv = std::min(old + std::min(hidden, 65535 - left), 65535);
                  nc = std::clamp(hidden - (nv - old), 0, 65535);
                }
                volumeNew[size_t(i) * kCellVoxels + li] = (uint16_t)nv;
                companionNew[size_t(i) * kCellVoxels + li] = (uint16_t)nc;
              }
        }
      },
      threads);
  return CommitCellValues(companion, keys, companionNew, threads) + CommitCellValues(volume, keys, volumeNew, threads);
}

int HideCellsBySphere(VolumeObject& volume, const float centre[3], float radius, bool unhide) {
  const float reach = radius + 6.f;
  const float lo[3] = {centre[0] - reach, centre[1] - reach, centre[2] - reach};
  const float hi[3] = {centre[0] + reach, centre[1] + reach, centre[2] + reach};
  int changed = 0;
  for (const CellKey& k : CellsOfBox(lo, hi)) {
    VoxelCell** f = volume.Cells.Find(k.x, k.y, k.z);
    if (!f) continue;
    const float d[3] = {k.x * 8.f + 4 - centre[0], k.y * 8.f + 4 - centre[1], k.z * 8.f + 4 - centre[2]};
    if (d[0] * d[0] + d[1] * d[1] + d[2] * d[2] > reach * reach) continue;
    const bool hidden = ((*f)->Flags & kCellHidden) != 0;
    if (hidden != unhide) continue;
    volume.SaveUndoCopy(k.x, k.y, k.z);
    (*f)->Flags = (uint8_t)(unhide ? (*f)->Flags & ~kCellHidden : (*f)->Flags | kCellHidden);
    volume.MarkDirty(k.x, k.y, k.z, true);
    ++changed;
  }
  return changed;
}
