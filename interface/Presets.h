// Pen presets: OnePreset is a stored pen (radius, depth, colours, the pen and
// strip names...), OneToolPreset the same for one tool. PresetsManager keeps
// the list and writes it to Presets.xml in the user folder after each change.
#pragma once
#include <string>

#include "ClassEngine/ClassArray.h"
#include "ClassEngine/MemberClasses.h"

class OnePreset : public BaseClass {
 public:
  _str Name, PensFolder, StripsFolder, MtlsFolder, ShapeName, StripName, MtlPreviewTexture;
  float Radius = 20, Depth = 0.5f, Focal = 0, Smooth = 0;
  uint32_t Color = 0xffffffffu, Color2 = 0xff000000u;
  float Opacity = 1, SpecOpacity = 1, Specular = 0;
  int MtlIndex = -1, MappingType = 0;
  bool IgnoreColor = false, EnableFillPattern = false;
  MV_CLASS(OnePreset, BaseClass);
};

class OneToolPreset : public OnePreset {
 public:
  _str ToolName;
  MV_CLASS(OneToolPreset, OnePreset) { Member("_str", ToolName, "ToolName"); }
};

// The current pen into a preset and back.
void CapturePreset(OnePreset& preset);
void ApplyPreset(const OnePreset& preset);

class PresetsManager : public BaseClass {
 public:
  ClassArray<OnePreset> Presets;
  MV_CLASS(PresetsManager, BaseClass) { Member("ClassArray.OnePreset", Presets, "Presets"); }
  // Stores the current pen as "Preset #<n>" and saves; the new preset.
  OnePreset* AddPreset();
  bool Store();
  // Replaces the list by Presets.xml; false (list unchanged) if unreadable.
  bool Restore();
};
