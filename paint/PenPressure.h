// Pen pressure: where it comes from and how a raw reading becomes 0..1.
// The mouse always presses fully; a tablet reports integer levels (the
// platform's XInput2 reader implements PressureSource); a replay source feeds
// recorded values so strokes repeat exactly in tests and scripts.
#pragma once
#include <cstddef>
#include <vector>

class PressureSource {
 public:
  virtual ~PressureSource() = default;
  // The raw reading of this frame, in 0..Levels(); false when the device has
  // nothing to say (the previous pressure then stays).
  virtual bool Read(int& raw) = 0;
  virtual int Levels() const = 0;
};

// A mouse: full pressure, always.
class MousePressure final : public PressureSource {
 public:
  bool Read(int& raw) override {
    raw = 1;
    return true;
  }
  int Levels() const override { return 1; }
};

// Plays back a list of pressures 0..1, one per Read, then holds the last.
class ReplayPressure final : public PressureSource {
 public:
  explicit ReplayPressure(std::vector<float> values, int levels = 1024) : values_(std::move(values)), levels_(levels) {}
  bool Read(int& raw) override;
  int Levels() const override { return levels_; }

 private:
  std::vector<float> values_;
  size_t next_ = 0;
  int levels_;
};

// p = raw / levels, bent by pow(p, 2 / (sensitivity + 0.25)) below 1;
// exactly full pressure skips the curve.
float MapPressure(int raw, int levels, float sensitivity);

// Per frame: reads the source, keeps the previous value in
// GeneralPen::PrevPressure and the new one in GeneralPen::PenPressure. At a
// stroke's first point both are the new value.
void UpdatePenPressure(PressureSource& source, bool strokeStarts);
