// Ramp buttons: the plus and minus buttons of the pen's values change their
// value for as long as they are held, by the mouse or by their hot key. A
// press stores the action and, for a key, the key and its modifiers; each
// frame the action runs with t = milliseconds since the last frame / 3000,
// until the left button or the key is up or a modifier changed.
#pragma once
#include <cstdint>

#include "interface/Widgets.h"

class Platform;

// Actions in pairs, minus then plus.
enum PenRampAction : int {
  kRampOpacityMinus, kRampOpacityPlus,      // ColorOpacity -t / +t, 0..2
  kRampRotationMinus, kRampRotationPlus,    // PenRotation -2t / +2t, wrapped into 0..2 pi
  kRampRadiusMinus, kRampRadiusPlus,        // PenRadius times exp(-t) / exp(t)
  kRampDepthMinus, kRampDepthPlus,          // DeepDegree -t / +t, 0..1
  kRampSmoothMinus, kRampSmoothPlus,        // smoothing -t / +t, 0..1
  kRampSpecOpacityMinus, kRampSpecOpacityPlus,  // SpecularOpacity -t / +t, 0..1
  kRampSpecularMinus, kRampSpecularPlus,    // SpecularDegree -t / +t, 0..1
  kRampActions
};

// The value key of an action pair ("PEN_RADIUS"), and the command of one
// button ("PEN_RADIUS_PLUS"); null out of range.
const char* RampValueKey(int action);
const char* RampCommand(int action);

// One step of an action.
void ApplyRamp(int action, float t);

class PenRamp {
 public:
  // Starts `action`; `key` is the program's key number of a key press, or -1
  // for the mouse. Ignored for an unknown action.
  void Press(int action, int key, bool ctrl, bool alt, bool shift, uint32_t nowMs);
  // Once a frame: ends the ramp when its button or key is up or a modifier
  // changed, otherwise runs the action for the time since the last frame.
  void Frame(const Platform& input, uint32_t nowMs);
  void Stop() { action_ = -1; }
  bool Running() const { return action_ >= 0; }
  int Action() const { return action_; }

 private:
  int action_ = -1, key_ = -1;
  bool ctrl_ = false, alt_ = false, shift_ = false;
  uint32_t last_ = 0;
};

// The program's ramp, polled by the shell once a frame.
PenRamp& ThePenRamp();
// The clock and key state that button presses read; the shell sets it.
const Platform*& RampInput();

// A plus or minus button: a press starts its ramp by the mouse. Named
// "$" + its command, so it shows and takes a hot key in place.
class RampButton : public FrameWidget {
 public:
  int Action = 0;
  MV_CLASS(RampButton, FrameWidget) {}
  RampButton() : RampButton(0) {}
  explicit RampButton(int action);
  bool OnPress();
};

// The pen values panel "PEN_VALUES": one row per value, its minus button,
// the value and its plus button.
BaseWidget* BuildPenValuesPanel(float width);
// The pen's commands: those of the ramp buttons (a key bound to one starts
// its ramp by that key) and "PEN_RADIUS_NARROWER" / "PEN_RADIUS_WIDER", one
// step of the radius each, which "[" and "]" are bound to by default.
void RegisterPenCommands();
