// The reduction dialog ("REDUCTION_PARAMS"): how many triangles the surface
// has, how many the chosen share of removals leaves, and the share itself.
#pragma once
#include "ClassEngine/BaseClass.h"
#include "ClassEngine/MemberClasses.h"

class DecimationParams : public BaseClass {
 public:
  int CurrentPolycount = 0;   // triangles before
  int ReducedPolycount = 0;   // triangles after, following the slider
  float ReductionPercent = 0; // share of triangles to remove, 0 .. 99.9
  MV_CLASS(DecimationParams, BaseClass) {
    Member("_int", CurrentPolycount, "^CurrentPolycount");
    Member("_int", ReducedPolycount, "^ReducedPolycount");
    Member("CtrlFSlider", ReductionPercent, "ReductionPercent", NewFloatSliderRange(0, 99.9f));
  }
  // Shows the surface's count and the count the current share leaves.
  void SetPolycount(int triangles);
  bool OnChange(BaseClass* cls, void* ptr, void* extra, const char* name) override;
};
