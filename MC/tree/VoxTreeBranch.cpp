// VoxTreeBranch: the rows of the layer tree and their file form.
#include "MC/tree/VoxTreeBranch.h"

#include <cstdio>

#include "MC/mcubes/VolumeObject.h"

namespace {
void SetIdentity(float m[16]) {
  for (int i = 0; i < 16; ++i) m[i] = i % 5 == 0 ? 1.0f : 0.0f;
}
const char* const kTrNames[16] = {"Tr0", "Tr1", "Tr2",  "Tr3",  "Tr4",  "Tr5",  "Tr6",  "Tr7",
                                  "Tr8", "Tr9", "Tr10", "Tr11", "Tr12", "Tr13", "Tr14", "Tr15"};
}  // namespace

VoxTreeBranch::VoxTreeBranch() {
  SetIdentity(Tf);
  SetIdentity(TfInverse);
  SetIdentity(GizmoTf);
  ChildObjects.SetParentOnly(this);
  ShaderSettings.SetParentOnly(this);
}

void VoxTreeBranch::RegisterTreeMembers() {
  for (int i = 0; i < 16; ++i) Member("_float", Tf[i], kTrNames[i]);
  Member("_bool", OpenState, "OpenState");
  Member("_bool", Visible, "Visible");
  Member("_bool", VoxSurf, "VoxSurf");
  Member("_str", Name, "Name");
  Member("_int", Level, "Level");
  Member("_int", VobID, "VobID");
  Member("_bool", GizmoCenrtified, "GizmoCenrtified");
  Member("_float", GizmoCenter[0], "GizmoCenter.x");
  Member("_float", GizmoCenter[1], "GizmoCenter.y");
  Member("_float", GizmoCenter[2], "GizmoCenter.z");
  Member("_bool", InCache, "InCache");
  Member("_str", CacheName, "CacheName");
  Member(ChildObjects, "ChildObjects");
  Member(ShaderSettings, "ShaderSettings");
}

void VoxTreeBranch::Adopt(VoxTreeBranch* child) {
  child->ParentBranch = this;
  child->SetParent(&ChildObjects);
  ChildObjects.Add(child);
  child->RefreshLevels();
}

bool VoxTreeBranch::Release(VoxTreeBranch* child) {
  int i = IndexOf(child);
  if (i < 0) return false;
  ChildObjects.Del(i, 1);
  child->ParentBranch = nullptr;
  return true;
}

int VoxTreeBranch::IndexOf(const VoxTreeBranch* child) const {
  for (int i = 0; i < ChildObjects.NValues; ++i)
    if (ChildObjects.Values[i] == child) return i;
  return -1;
}

void VoxTreeBranch::Walk(const std::function<void(VoxTreeBranch&)>& visit) {
  visit(*this);
  for (int i = 0; i < ChildObjects.NValues; ++i)
    if (ChildObjects.Values[i]) ChildObjects.Values[i]->Walk(visit);
}

bool VoxTreeBranch::Contains(const VoxTreeBranch* other) const {
  for (const VoxTreeBranch* b = other; b; b = b->ParentBranch)
    if (b == this) return true;
  return false;
}

void VoxTreeBranch::RefreshLevels() {
  Level = ParentBranch ? ParentBranch->Level + 1 : 0;
  for (int i = 0; i < ChildObjects.NValues; ++i) {
    VoxTreeBranch* c = ChildObjects.Values[i];
    if (!c) continue;
    c->ParentBranch = this;
    c->RefreshLevels();
  }
}

std::string VoxTreeBranch::Label() const {
  const char* name = Name.cpchar();
  char text[512];
  const float s = Volume ? Volume->TransformScale : 1.0f;
  if ((s >= 0.95f && s <= 1.05f) || (Volume && Volume->SurfaceMode) || s <= 0)
    snprintf(text, sizeof(text), "%s", name);
  else if (s > 1)
    snprintf(text, sizeof(text), "[%.01f]%s", 1.0 / s, name);
  else
    snprintf(text, sizeof(text), "[%dx]%s", (int)(1.0f / s), name);
  return text;
}
