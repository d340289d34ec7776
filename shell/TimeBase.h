// The frame clock: seconds summed from frame deltas, times a scale. A paused
// clock (window inactive, minimised, being moved, or a frame with no client)
// counts nothing, and the frame that resumes starts from a fresh reading.
#pragma once
#include <cstdint>

struct TimeBase {
  double Time = 0;    // seconds
  double TimeMs = 0;
  float Delta = 0;    // last frame, seconds times Scale
  float DeltaMs = 0;
  float Fps = 0;      // over the last block of 100 frames
  float Scale = 1.0f;
};

class FrameClock {
 public:
  // Advances by the ticks since the last update; the first update after a
  // pause (or ever) only takes the reading.
  void Update(uint32_t tickMs);
  // The next update takes a fresh reading and adds nothing.
  void Pause() { fresh_ = true; }
  const TimeBase& Now() const { return time_; }
  TimeBase& Mutable() { return time_; }

 private:
  TimeBase time_;
  uint32_t last_ = 0;
  bool fresh_ = true;
  int blockFrames_ = 0;
  uint32_t blockMs_ = 0;
};
