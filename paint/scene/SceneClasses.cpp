// Commands of the scene's reflected classes and the enumerators they show.
#include "paint/scene/SceneClasses.h"

#include <cstdio>

#include "ClassEngine/Enumerator.h"

#include "paint/layers/PixelMap.h"

namespace {
// Removes `self` from the ClassArray that owns it.
template <class T>
void DeleteFromOwner(T* self) {
  auto* owner = dynamic_cast<ClassArray<T>*>(self->Parent);
  if (!owner) return;
  for (int i = 0; i < owner->GetAmount(); i++)
    if ((*owner)[i] == self) {
      owner->DelElement(i);
      return;
    }
}
}  // namespace

void OneMaterial::DeleteElm() { DeleteFromOwner(this); }
void OneSubObject::DeleteElm() { DeleteFromOwner(this); }
void OneMtlInUVSet::DeleteUVMtl() { DeleteFromOwner(this); }

void RTUVSet::AddMaterial() {
  auto* m = new OneMtlInUVSet;
  if (!m) return;
  m->Parent = &MtlsList;
  MtlsList.Add(m);
}

MRenderTarget::~MRenderTarget() {
  delete Pixels;
  delete[] PtexOccupancy;
}

int DPSettings::GridSide() const {
  int level = InitialSubdivision < 0 ? 0 : InitialSubdivision > 4 ? 4 : InitialSubdivision;
  return 1 << level;
}

void RebuildMaterialEnumerator(ClassArray<OneMaterial>& materials) {
  Enumerator* e = GetEnumerator("MTLTYPE");
  e->Clear();
  for (int i = 0; i < materials.GetAmount(); i++) {
    char name[300];
    snprintf(name, sizeof(name), "#%s", materials[i]->Name.cpchar());
    e->Add(name, i);
  }
  Enumerator* s = GetEnumerator("INSUBD");
  if (s->GetStoredAmount() == 0) {
    const char* levels[] = {"1x1", "2x2", "4x4", "8x8", "16x16"};
    for (int i = 0; i < 5; i++) s->Add(levels[i], i);
  }
}
