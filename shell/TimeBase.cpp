// The frame clock; see TimeBase.h.
#include "shell/TimeBase.h"

void FrameClock::Update(uint32_t tickMs) {
  if (fresh_) {
    fresh_ = false;
    last_ = tickMs;
    time_.Delta = time_.DeltaMs = 0;
    return;
  }
  uint32_t ms = tickMs - last_;  // unsigned: the tick may wrap
  last_ = tickMs;
  time_.DeltaMs = float(ms) * time_.Scale;
  time_.Delta = time_.DeltaMs / 1000.0f;
  time_.TimeMs += time_.DeltaMs;
  time_.Time = time_.TimeMs / 1000.0;
  ++blockFrames_;
  blockMs_ += ms;
  if (blockFrames_ == 100) {
    time_.Fps = blockMs_ ? 100000.0f / float(blockMs_) : 0.0f;
    blockFrames_ = 0;
    blockMs_ = 0;
  }
}
