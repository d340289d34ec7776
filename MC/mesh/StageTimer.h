// Times the numbered steps of the long voxel operations: each step's label
// and its milliseconds go to the log as "label : ms".
#pragma once
#include <chrono>

#include "ClassEngine/Log.h"

class StageTimer {
 public:
  // Logs the step that ends now and starts the next one.
  void End(const char* label) {
    const Clock::time_point now = Clock::now();
    Log("%s : %.02f", label, std::chrono::duration<double, std::milli>(now - start_).count());
    start_ = now;
  }

 private:
  using Clock = std::chrono::steady_clock;
  Clock::time_point start_ = Clock::now();
};
