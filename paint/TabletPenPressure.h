// The pens' pressure from a tablet: wraps the platform's tablet reader as a
// pressure source. A stylus reports levels while it touches; no contact
// means the press came from the mouse, which presses fully.
#pragma once
#include "paint/PenPressure.h"
#include "platform/TabletPressure.h"

class TabletPenPressure final : public PressureSource {
 public:
  // `reader` (may be null: the mouse) is the shell's and outlives this.
  explicit TabletPenPressure(TabletReader* reader) : reader_(reader) {}
  bool Read(int& raw) override;
  int Levels() const override { return reader_ ? reader_->Levels() : 1; }
  bool HasTablet() const { return reader_ != nullptr; }

 private:
  TabletReader* reader_;
};
