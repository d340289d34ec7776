// Pen presets and Presets.xml; see Presets.h.
#include "interface/Presets.h"

#include <algorithm>

#include "ClassEngine/UserPaths.h"
#include "ClassEngine/xml/ErrorCollector.h"
#include "ClassEngine/xml/XmlNode.h"
#include "interface/Navigation.h"
#include "paint/GeneralPen.h"

namespace {
uint32_t Pack(const float c[4]) {
  auto byte = [](float v) { return uint32_t(std::clamp(v, 0.0f, 1.0f) * 255.0f + 0.5f); };
  return 0xff000000u | byte(c[0]) << 16 | byte(c[1]) << 8 | byte(c[2]);
}
void Unpack(uint32_t argb, float c[4]) {
  c[0] = float((argb >> 16) & 255) / 255.0f;
  c[1] = float((argb >> 8) & 255) / 255.0f;
  c[2] = float(argb & 255) / 255.0f;
}
}  // namespace

void OnePreset::RegisterOwnMembers() {
  Member("_str", Name, "Name");
  Member("_str", MtlPreviewTexture, "MtlPreviewTexture");
  Member("_str", PensFolder, "PensFolder");
  Member("_str", StripsFolder, "StripsFolder");
  Member("_str", MtlsFolder, "MtlsFolder");
  Member("_str", ShapeName, "ShapeName");
  Member("_str", StripName, "StripName");
  Member("_float", Radius, "Radius");
  Member("_float", Depth, "Depth");
  Member("_float", Focal, "Focal");
  Member("_float", Smooth, "Smooth");
  Member("_color", Color, "Color");
  Member("_color", Color2, "Color2");
  Member("_float", Opacity, "Opacity");
  Member("_float", SpecOpacity, "SpecOpacity");
  Member("_float", Specular, "Specular");
  Member("_int", MtlIndex, "MtlIndex");
  Member("_int", MappingType, "MappingType");
  Member("_bool", IgnoreColor, "IgnoreColor");
  Member("_bool", EnableFillPattern, "EnableFillPattern");
}

void CapturePreset(OnePreset& p) {
  p.Radius = GeneralPen::PenRadius;
  p.Depth = GeneralPen::DeepDegree;
  p.Focal = GeneralPen::FocalShift;
  p.Smooth = PenTweaks::Smoothing;
  p.Color = Pack(GeneralPen::Color);
  p.Color2 = Pack(GeneralPen::Color2);
  p.Opacity = GeneralPen::ColorOpacity;
  p.SpecOpacity = GeneralPen::SpecularOpacity;
  p.Specular = GeneralPen::SpecularDegree;
}

void ApplyPreset(const OnePreset& p) {
  GeneralPen::PenRadius = p.Radius;
  GeneralPen::DeepDegree = p.Depth;
  GeneralPen::FocalShift = p.Focal;
  PenTweaks::Smoothing = p.Smooth;
  Unpack(p.Color, GeneralPen::Color);
  Unpack(p.Color2, GeneralPen::Color2);
  GeneralPen::ColorOpacity = p.Opacity;
  GeneralPen::SpecularOpacity = p.SpecOpacity;
  GeneralPen::SpecularDegree = p.Specular;
}

OnePreset* PresetsManager::AddPreset() {
  auto* p = new OnePreset;
  CapturePreset(*p);
  p->Name = ("Preset #" + std::to_string(Presets.GetAmount() + 1)).c_str();
  Presets.Add(p);
  Store();
  return p;
}

bool PresetsManager::Store() {
  XmlNode tree;
  Save(&tree, this, nullptr);
  return tree.WriteToFile(UserFilePath("Presets.xml").c_str());
}

bool PresetsManager::Restore() {
  XmlNode tree;
  if (!tree.ReadFromFile(UserFilePath("Presets.xml").c_str())) return false;
  Presets.Clear();
  ErrorCollector silent(false);
  Load(&tree, this, &silent, nullptr);
  return true;
}
