// The copy stamp: along the stroke, a capsule of the pen's radius takes the
// density of a source volume at the same place shifted by an offset (the
// source's own transform applied), so what lies under the source point is
// stamped at the pen. A source that is not visible stamps its complement.
#pragma once
#include "MC/brushes/BrushFields.h"

class VolumeObject;

class CopyStampField : public BrushField {
 public:
  // a, b: the capsule's ends (target object space); toSource: target object
  // space to source object space (row vectors); fromUndo reads the source as
  // it was before the stroke (the source is the target itself).
  CopyStampField(VolumeObject& source, const float a[3], float ra, const float b[3], float rb,
                 const float toSource[16], bool fromUndo, float band = 4.f);
  float Value(float x, float y, float z) const override;

 private:
  VolumeObject& source_;
  float s_[3], d_[3], l2_, ra_, rb_, m_[16], band_;
  bool fromUndo_, complement_;
};

// Stamps the capsule from a to b into `target` (union), reading `source`
// through toSource; returns the cells changed.
int StampCopy(VolumeObject& target, VolumeObject& source, const float a[3], float ra, const float b[3], float rb,
              const float toSource[16], int threads = 0);
