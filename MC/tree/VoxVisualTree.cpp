// VoxVisualTree: the layer tree's commands (see VoxVisualTree.h).
#include "MC/tree/VoxVisualTree.h"

#include <algorithm>
#include <cstring>

#include "ClassEngine/xml/ErrorCollector.h"
#include "ClassEngine/xml/XmlNode.h"
#include "MC/mcubes/VolumeObject.h"
#include "MC/mesh/VolumeBooleans.h"
#include "MC/tree/TreeMatrix.h"
#include "render/Math3D.h"

using comms::cMat4;

namespace {
void CopyMatrices(VoxTreeBranch& to, const VoxTreeBranch& from) {
  std::copy(from.Tf, from.Tf + 16, to.Tf);
  std::copy(from.TfInverse, from.TfInverse + 16, to.TfInverse);
}

// Where a volume's +x axis ends, measured from its origin: its scale.
float AxisScale(const VolumeObject& v) {
  return std::sqrt(v.Transform[0] * v.Transform[0] + v.Transform[1] * v.Transform[1] +
                   v.Transform[2] * v.Transform[2]);
}
}  // namespace

VoxVisualTree::VoxVisualTree() { Name = "Root"; }

VoxVisualTree::~VoxVisualTree() {
  ChildObjects.Clear();
  VolumeList.clear();
}

std::string VoxVisualTree::NextName() {
  char text[32];
  snprintf(text, sizeof(text), "Volume%d", counter_++);
  return text;
}

uintptr_t VoxVisualTree::NewObjectId() {
  for (;;) {
    uintptr_t id = (uintptr_t)random_.Next() + 32768u * (uintptr_t)(VolumeList.size() + (size_t)counter_);
    bool used = id == 0;
    for (auto& v : VolumeList) used |= v->ObjectId == id;
    if (!used) return id;
  }
}

VoxTreeBranch* VoxVisualTree::Attach(std::unique_ptr<VolumeObject> volume, VoxTreeBranch* parent,
                                     VoxTreeBranch* after) {
  if (!parent) parent = this;
  auto* b = new VoxTreeBranch;
  b->Volume = volume.get();
  b->Name = volume->Name.c_str();
  b->VobID = (int)(uint32_t)volume->ObjectId;
  b->Visible = volume->Visible;
  b->VoxSurf = volume->SurfaceMode;
  const int at = after ? parent->IndexOf(after) : -1;
  if (at >= 0) {
    b->ParentBranch = parent;
    b->SetParent(&parent->ChildObjects);
    parent->ChildObjects.Insert(b, at + 1);
    b->RefreshLevels();
  } else {
    parent->Adopt(b);
  }
  VolumeList.push_back(std::move(volume));
  return b;
}

std::vector<VolumeObject*> VoxVisualTree::VolumesBelow(VoxTreeBranch* row) {
  std::vector<VolumeObject*> out;
  if (!row) return out;
  row->Walk([&](VoxTreeBranch& b) {
    if (&b != row && b.Volume && !b.Removed) out.push_back(b.Volume);
  });
  return out;
}

std::vector<VoxTreeBranch*> VoxVisualTree::AttachParts(VoxTreeBranch* parent, std::vector<SeparatePart>&& parts) {
  std::vector<VoxTreeBranch*> rows;
  for (SeparatePart& part : parts) {
    if (!part.Volume) continue;
    part.Volume->Name = part.Name;
    part.Volume->ObjectId = NewObjectId();
    rows.push_back(Attach(std::move(part.Volume), parent));
  }
  parts.clear();
  return rows;
}

VoxTreeBranch* VoxVisualTree::AddVolume(VoxTreeBranch* parent, const float* matrix, const char* name) {
  auto v = std::make_unique<VolumeObject>();
  v->GetCell(0, 0, 0, true, false);
  v->Name = name ? name : NextName();
  v->ObjectId = NewObjectId();
  if (matrix) v->SetTransform(matrix);
  VoxTreeBranch* b = Attach(std::move(v), parent);
  // A child of a volume near scene scale starts in its parent's frame.
  VoxTreeBranch* p = b->ParentBranch;
  if (p && p->Volume) {
    const float s = AxisScale(*p->Volume);
    if (s >= 0.9f && s <= 1.1f) CopyMatrices(*b, *p);
  }
  MakeCurrent(b);
  return b;
}

VoxTreeBranch* VoxVisualTree::AddFolder(VoxTreeBranch* parent, const char* name) {
  auto* b = new VoxTreeBranch;
  b->Name = name ? name : NextName().c_str();
  (parent ? parent : this)->Adopt(b);
  return b;
}

VoxTreeBranch* VoxVisualTree::BranchOf(const VolumeObject* volume) {
  VoxTreeBranch* found = nullptr;
  if (volume) Walk([&](VoxTreeBranch& b) { if (b.Volume == volume) found = &b; });
  return found;
}

VoxTreeBranch* VoxVisualTree::FindByName(const char* name) {
  VoxTreeBranch* found = nullptr;
  Walk([&](VoxTreeBranch& b) { if (!found && b.Name == name) found = &b; });
  return found;
}

int VoxVisualTree::VolumeRowCount() {
  int n = 0;
  std::function<void(VoxTreeBranch&)> count = [&](VoxTreeBranch& b) {
    if (b.Removed) return;
    n += b.Volume != nullptr;
    for (VoxTreeBranch* c : b.ChildObjects)
      if (c) count(*c);
  };
  count(*this);
  return n;
}

void VoxVisualTree::MakeCurrent(VoxTreeBranch* row) {
  if (row && row->Volume) CurrentVolume = row->Volume;
}

VoxTreeBranch* VoxVisualTree::Clone(VoxTreeBranch* row, int flipAxes) {
  if (!row || !row->Volume || row == this) return nullptr;
  VolumeObject& src = *row->Volume;
  src.UpdateSurface();  // the copy takes the surfaces as they stand
  auto v = std::make_unique<VolumeObject>();
  v->Name = src.Name + "_copy";
  v->ObjectId = NewObjectId();
  v->SetTransform(src.Transform);
  v->SurfaceMode = src.SurfaceMode;
  if (flipAxes)
    v->CopyFromMirrored(src, flipAxes);
  else
    v->CopyFrom(src);
  VoxTreeBranch* b = Attach(std::move(v), row->ParentBranch, row);
  CopyMatrices(*b, *row);
  b->ShaderSettings.Copy(&row->ShaderSettings);
  b->NewlyTransformed = b->NewlyPlaced = true;
  MakeCurrent(b);
  return b;
}

VoxTreeBranch* VoxVisualTree::CloneSpace(VoxTreeBranch* row) {
  if (!row || !row->Volume) return nullptr;
  VoxTreeBranch* b = AddVolume(row->ParentBranch, row->Volume->Transform, (row->Volume->Name + "_space_copy").c_str());
  CopyMatrices(*b, *row);
  return b;
}

void VoxVisualTree::CurrentToFirstKept() {
  CurrentVolume = nullptr;
  std::function<bool(VoxTreeBranch&)> first = [&](VoxTreeBranch& b) {
    if (b.Removed) return false;
    if (b.Volume) {
      CurrentVolume = b.Volume;
      return true;
    }
    for (VoxTreeBranch* c : b.ChildObjects)
      if (c && first(*c)) return true;
    return false;
  };
  first(*this);
}

bool VoxVisualTree::Delete(VoxTreeBranch* row) {
  if (!row || row == this || row->Removed) return false;
  int inside = 0;
  row->Walk([&](VoxTreeBranch& b) { inside += b.Volume && !b.Removed; });
  if (VolumeRowCount() - inside < 1 || VolumeRowCount() < 2) return false;
  row->Removed = true;
  CurrentToFirstKept();
  return true;
}

bool VoxVisualTree::Undelete(VoxTreeBranch* row) {
  if (!row || !row->Removed) return false;
  row->Removed = false;
  if (!CurrentVolume) CurrentToFirstKept();
  return true;
}

void VoxVisualTree::DestroyVolume(VolumeObject* volume) {
  if (!volume) return;
  if (CurrentVolume == volume) CurrentVolume = nullptr;
  auto it = std::find_if(VolumeList.begin(), VolumeList.end(), [&](auto& p) { return p.get() == volume; });
  if (it != VolumeList.end()) VolumeList.erase(it);
}

void VoxVisualTree::PurgeBelow(VoxTreeBranch& branch) {
  for (int i = 0; i < branch.ChildObjects.NValues; ++i) {
    VoxTreeBranch* c = branch.ChildObjects.Values[i];
    if (!c) continue;
    if (c->Removed) {
      c->Walk([&](VoxTreeBranch& b) {
        DestroyVolume(b.Volume);
        b.Volume = nullptr;
      });
      branch.ChildObjects.DelElement(i);
      --i;  // the next sibling moved into this slot
    } else {
      PurgeBelow(*c);
    }
  }
}

void VoxVisualTree::PurgeRemoved() {
  PurgeBelow(*this);
  if (!CurrentVolume) CurrentToFirstKept();
}

bool VoxVisualTree::DropRow(VoxTreeBranch* row) {
  if (!row || row == this || !Contains(row) || !row->ParentBranch) return false;
  row->Walk([&](VoxTreeBranch& b) {
    DestroyVolume(b.Volume);
    b.Volume = nullptr;
  });
  VoxTreeBranch* parent = row->ParentBranch;
  parent->ChildObjects.DelElement(parent->IndexOf(row));
  if (!CurrentVolume) CurrentToFirstKept();
  return true;
}

bool VoxVisualTree::ChangeParent(VoxTreeBranch* row, VoxTreeBranch* target) {
  if (!target) target = this;
  if (!row || row == this || row->Contains(target)) return false;
  VoxTreeBranch* old = row->ParentBranch;
  if (!old || !old->Release(row)) return false;
  target->Adopt(row);
  return true;
}

bool VoxVisualTree::MoveBeside(VoxTreeBranch* row, VoxTreeBranch* sibling, bool after) {
  if (!row || !sibling || row == this || sibling == this || row == sibling || row->Contains(sibling)) return false;
  VoxTreeBranch* old = row->ParentBranch;
  VoxTreeBranch* parent = sibling->ParentBranch;
  if (!old || !parent || !old->Release(row)) return false;
  row->ParentBranch = parent;
  row->SetParent(&parent->ChildObjects);
  parent->ChildObjects.Insert(row, parent->IndexOf(sibling) + (after ? 1 : 0));
  row->RefreshLevels();
  return true;
}

bool VoxVisualTree::BooleanInto(VoxTreeBranch* row, VoxTreeBranch* target, int mode, bool consume) {
  if (!row || !target || row == target || !row->Volume || !target->Volume || row->Removed || target->Removed)
    return false;
  if (consume && row->Contains(target)) return false;
  VolumeObject& s = *row->Volume;
  VolumeObject& t = *target->Volume;
  float m[16];
  FromMat(ToMat(s.Transform) * ToMat(t.InverseTransform), m);
  if (mode == 0) ::MergeTo(s, t, m);
  if (mode == 1) ::SubtractFrom(s, t, m);
  if (mode == 2) ::IntersectWith(s, t, m);
  t.UpdateSurface();
  if (consume) {
    row->Removed = true;
    while (row->ChildObjects.NValues) {
      VoxTreeBranch* c = row->ChildObjects.Values[0];
      row->ChildObjects.Del(0, 1);
      target->Adopt(c);
    }
  }
  CurrentVolume = &t;
  return true;
}

bool VoxVisualTree::CombineChildren(VoxTreeBranch* row) {
  if (!row || !row->Volume) return false;
  std::vector<VoxTreeBranch*> below;
  row->Walk([&](VoxTreeBranch& b) {
    if (&b != row && b.Volume && !b.Removed) below.push_back(&b);
  });
  VolumeObject& own = *row->Volume;
  for (VoxTreeBranch* b : below) {
    float m[16];
    FromMat(ToMat(b->Volume->Transform) * ToMat(own.InverseTransform), m);
    ::MergeTo(*b->Volume, own, m);
    b->Removed = true;
  }
  own.UpdateSurface();
  CurrentVolume = &own;
  return true;
}

void VoxVisualTree::IncDencity2X(VoxTreeBranch* row) {
  if (!row || !row->Volume) return;
  float m[16];
  FromMat(ToMat(row->Volume->Transform) * cMat4::Scaling(0.5f, 0.5f, 0.5f), m);
  row->Volume->SetTransform(m);
}

void VoxVisualTree::DecDencity2X(VoxTreeBranch* row) {
  if (!row || !row->Volume) return;
  float m[16];
  FromMat(ToMat(row->Volume->Transform) * cMat4::Scaling(2, 2, 2), m);
  row->Volume->SetTransform(m);
}

void VoxVisualTree::TransformBranch(VoxTreeBranch* row, const float matrix[16]) {
  if (!row) return;
  const cMat4 by = ToMat(matrix);
  row->Walk([&](VoxTreeBranch& b) {
    FromMat(ToMat(b.Tf) * by, b.Tf);
    FromMat(ToMat(b.Tf).Inverse(), b.TfInverse);
    if (!b.Volume) return;
    float m[16];
    FromMat(ToMat(b.Volume->Transform) * by, m);
    b.Volume->SetTransform(m);
  });
}

std::vector<VolumeObject*> VoxVisualTree::VisibleVolumes() {
  std::vector<VolumeObject*> out;
  std::function<void(VoxTreeBranch&)> walk = [&](VoxTreeBranch& b) {
    if (b.Removed || !b.Visible) return;
    if (b.Volume) out.push_back(b.Volume);
    for (VoxTreeBranch* c : b.ChildObjects)
      if (c) walk(*c);
  };
  walk(*this);
  return out;
}

std::vector<VolumeObject*> VoxVisualTree::Volumes() const {
  std::vector<VolumeObject*> out;
  for (auto& v : VolumeList) out.push_back(v.get());
  return out;
}

std::string VoxVisualTree::TreeXml() {
  // The branches carry the volumes' present state into the file.
  Walk([&](VoxTreeBranch& b) {
    if (!b.Volume) return;
    b.VobID = (int)(uint32_t)b.Volume->ObjectId;
    b.Name = b.Volume->Name.c_str();
    b.VoxSurf = b.Volume->SurfaceMode;
    b.InCache = b.Volume->InCache;
    b.CacheName = b.Volume->CacheName.c_str();
    b.Volume->Visible = b.Visible;
  });
  XmlNode node;
  Save(&node, this);
  std::string text;
  node.Write(text);
  return text;
}

void VoxVisualTree::TakeScene(std::vector<std::unique_ptr<VolumeObject>>&& volumes, const std::string& treeXml) {
  ChildObjects.Clear();
  VolumeList.clear();
  CurrentVolume = nullptr;
  XmlNode node;
  if (!treeXml.empty() && node.Parse(treeXml.c_str()) > 0) {
    ErrorCollector silent(false);
    Load(&node, this, &silent);
  }
  RefreshLevels();
  // Bind rows to volumes by id; a row whose volume is missing stays a folder.
  std::vector<bool> bound(volumes.size(), false);
  Walk([&](VoxTreeBranch& b) {
    b.Volume = nullptr;
    FromMat(ToMat(b.Tf).Inverse(), b.TfInverse);
    if (&b == this) return;
    for (size_t i = 0; i < volumes.size(); ++i)
      if (!bound[i] && (int)(uint32_t)volumes[i]->ObjectId == b.VobID) {
        bound[i] = true;
        b.Volume = volumes[i].get();
        volumes[i]->Visible = b.Visible;
        volumes[i]->InCache = b.InCache;
        volumes[i]->CacheName = b.CacheName.cpchar();
        break;
      }
  });
  for (size_t i = 0; i < volumes.size(); ++i) {
    if (bound[i])
      VolumeList.push_back(std::move(volumes[i]));
    else
      Attach(std::move(volumes[i]), this);
  }
  Walk([&](VoxTreeBranch& b) {
    if (!CurrentVolume && b.Volume && b.Visible) CurrentVolume = b.Volume;
  });
  if (!CurrentVolume) CurrentToFirstKept();
}
