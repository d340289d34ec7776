// Tablet levels as pen pressure (see TabletPenPressure.h).
#include "paint/TabletPenPressure.h"

bool TabletPenPressure::Read(int& raw) {
  if (!reader_) {
    raw = 1;
    return true;
  }
  int level = 0;
  if (!reader_->Read(level)) return false;
  // The tip lifts to zero only when the stylus leaves the pad, and then the
  // button is up too: a zero during a press is the mouse.
  raw = level > 0 ? level : reader_->Levels();
  return true;
}
