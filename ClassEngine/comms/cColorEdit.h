// cColorEdit: a colour being edited in a panel: the packed colour and the
// hue, saturation and value the sliders show. SetColor and SetHsv keep the
// two forms in step.
#pragma once
#include "ClassEngine/comms/cClass.h"

namespace comms {

class cColorEdit : public cClass {
 public:
  uint32_t Color = 0xFFFFFFFFu;  // 0xAARRGGBB
  float Hue = 0;                 // degrees, 0 to 360
  float Saturation = 0;          // 0 to 1
  float Value = 1;               // 0 to 1
  MV_CLASS(cColorEdit, cClass) {
    Member("_cColor", Color, "Color");
    Member("_cSliderF", Hue, "Hue", NewFloatSliderRange(0, 360));
    Member("_cSliderF", Saturation, "Saturation", NewFloatSliderRange(0, 1));
    Member("_cSliderF", Value, "Value", NewFloatSliderRange(0, 1));
  }
  void SetColor(uint32_t argb);
  void SetHsv(float hue, float saturation, float value);
  bool OnChange(BaseClass* cls, void* ptr, void* extra, const char* name) override;
};

}  // namespace comms
