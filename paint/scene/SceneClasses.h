// The reflected classes of the paint scene: materials, sub-objects, UV sets,
// render targets and vertex-map types, each with its panel, and the import
// settings of the micro-vertex ("(dp)") import.
#pragma once
#include "ClassEngine/BaseClass.h"
#include "ClassEngine/ClassArray.h"
#include "ClassEngine/MemberClasses.h"
#include "paint/scene/MaterialImage.h"

class PixelMap;

class OneMaterial : public BaseClass {
 public:
  _str Preview;  // the material's preview picture (file name)
  _str Name, TexName, SpecName, BumpName;
  bool Visible = true;
  bool Locked = false;
  int RTIndex = 0;
  bool UseLimitAngle = false;
  float LimitAngle = 0;
  MaterialImage Image;  // in the scene file's texture block, not in the text
  MV_CLASS(OneMaterial, BaseClass) {
    Member("_str", Preview, "Preview");
    Member("_str", Name, "Name");
    Member("_str", TexName, "TexName");
    Member("_str", SpecName, "SpecName");
    Member("_str", BumpName, "BumpName");
    Member("_bool", Visible, "Visible");
    Member("_bool", Locked, "Locked");
    Member("_int", RTIndex, "RTIndex");
    Member("_bool", UseLimitAngle, "UseLimitAngle");
    Member("CtrlFSlider", LimitAngle, "LimitAngle", NewFloatSliderRange(0, 180));
    Method(&OneMaterial::DeleteElm, "DeleteElm");
  }
  // Removes this material from its owning array (the scene renumbers faces).
  void DeleteElm();
};

class OneSubObject : public BaseClass {
 public:
  _str Name;
  bool Visible = true;
  bool Locked = false;
  MV_CLASS(OneSubObject, BaseClass) {
    Member("_str", Name, "Name");
    Member("_bool", Visible, "Visible");
    Member("_bool", Locked, "Locked");
    Method(&OneSubObject::DeleteElm, "DeleteElm");
  }
  void DeleteElm();
};

class OneMtlInUVSet : public BaseClass {
 public:
  int MtlIndex = 0;
  MV_CLASS(OneMtlInUVSet, BaseClass) {
    Member("_index", MtlIndex, "MtlIndex", GetEnumerator("MTLTYPE"));
    Method(&OneMtlInUVSet::DeleteUVMtl, "DeleteUVMtl");
  }
  void DeleteUVMtl();
};

class RTUVSet : public BaseClass {
 public:
  _str Name;
  int TexSizeX = 2048, TexSizeY = 2048;
  ClassArray<OneMtlInUVSet> MtlsList;
  MV_CLASS(RTUVSet, BaseClass) {
    Member("_str", Name, "Name");
    Member("_int", TexSizeX, "uvTexSizeX");
    Member("_int", TexSizeY, "uvTexSizeY");
    Member(MtlsList, "MatList");
    Method(&RTUVSet::AddMaterial, "AddMaterial");
  }
  void AddMaterial();
};

class MRenderTarget : public BaseClass {
 public:
  _str Name;
  int rtSizeX = 2048, rtSizeY = 2048;
  int ColorTexture = -1, NormalTexture = -1;
  int SubPatchLevel = 0;
  bool DrawMicrovertices = false, SkipNormalmap = false, UseExternalTexture = false;
  PixelMap* Pixels = nullptr;            // per-pixel mode only, owned
  uint8_t* PtexOccupancy = nullptr;      // Ptex planes only, owned
  _str ExtTextureName, ExtNormalName, ExtSpecularName;
  MV_CLASS(MRenderTarget, BaseClass) {
    Member("_str", Name, "Name");
    Member("_int", rtSizeX, "rtSizeX");
    Member("_int", rtSizeY, "rtSizeY");
    NextNoSave();
    Member("_int", ColorTexture, "ColorTexture");
    NextNoSave();
    Member("_int", NormalTexture, "NormalTexture");
    Member("_int", SubPatchLevel, "SubPatchLevel");
    Member("_bool", DrawMicrovertices, "DrawMicrovertices");
    Member("_bool", SkipNormalmap, "SkipNormalmap");
    Member("_bool", UseExternalTexture, "UseExternalTexture");
    Member("_str", ExtTextureName, "ExtTextureName");
    Member("_str", ExtNormalName, "ExtNormalName");
    Member("_str", ExtSpecularName, "ExtSpecularName");
  }
  MRenderTarget() = default;
  MRenderTarget(const MRenderTarget&) = delete;
  MRenderTarget& operator=(const MRenderTarget&) = delete;
  ~MRenderTarget() override;
};

class VMapType : public BaseClass {
 public:
  _str Name;
  int Type = 0;
  MV_CLASS(VMapType, BaseClass) {
    Member("_str", Name, "Name");
    Member("_int", Type, "Type");
  }
};

// Faces grouped by the UV tools; no reflected members of its own.
class SubFaceList : public BaseClass {
 public:
  DynArray<int> Faces;
  MV_CLASS(SubFaceList, BaseClass) {}
};

// Settings of the micro-vertex import; the import dialogs edit them.
class DPSettings : public BaseClass {
 public:
  int InitialSubdivision = 2;  // a face's grid is 2^level on a side
  bool UVMapping = false;
  int UVSetSubdivision = 0;
  bool SwapYZ = false;
  bool WeldVertices = true;
  bool AUTO_SMOOTH_GROUPS = false;
  float AUTO_SMOOTH_LIMIT_ANGLE = 30;
  int UVSets = 0;
  MV_CLASS(DPSettings, BaseClass) {
    Member("_index", InitialSubdivision, "InitialSubdivision", GetEnumerator("INSUBD"));
    Member("_bool", UVMapping, "UVMapping");
    Member("_int", UVSetSubdivision, "UVSetSubdivision");
    Member("_bool", SwapYZ, "SwapYZ");
    Member("_bool", WeldVertices, "WeldVertices");
    Member("_bool", AUTO_SMOOTH_GROUPS, "AUTO_SMOOTH_GROUPS");
    Member("CtrlFSlider", AUTO_SMOOTH_LIMIT_ANGLE, "AUTO_SMOOTH_LIMIT_ANGLE",
           NewFloatSliderRange(0, 180));
    Member("_int", UVSets, "UVSets");
  }
  // The side of a face's grid at InitialSubdivision: 1, 2, 4, 8 or 16.
  int GridSide() const;
};

// Fills the enumerators the classes above read: MTLTYPE from the materials'
// names ("#" in front), INSUBD with the subdivision levels.
void RebuildMaterialEnumerator(ClassArray<OneMaterial>& materials);
