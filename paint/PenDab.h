// The per-dab arithmetic of a stroke: the dab radius from pressure and random
// variation, depth and opacity variation, colour jitter, the pen frame with
// rotation and random flips, and the position jitter. Each function takes the
// stroke's own Random, so a stroke seeded the same way repeats exactly.
#pragma once
#include "ClassEngine/Random.h"

class BasicPenShape;

// What the stroke mode says about pressure.
bool RadiusFollowsPressure(int strokeMode);   // modes 0, 7, 8
bool AmountsFollowPressure(int strokeMode);   // depth/opacity/specular: 1, 7, 8
bool DepthScalesWithRadius(int strokeMode);   // mode 0
bool VariationAllowed(int strokeMode);        // all but the preview mode 6
bool SpacingApplies(int strokeMode);          // modes below 3

// Radius of a dab: PenRadius, the random variation, then pressure.
// `toolAllows` is the tool's say on pressure; `hold` caps mode 8's radius by
// `previousRadius`.
float DabRadius(const BasicPenShape& pen, float pressure, Random& rnd, bool toolAllows = true,
                bool hold = false, float previousRadius = 0.f);

// Saves DeepDegree and ColorOpacity, applies the random depth and opacity
// variation of the pen, and restores both when it goes out of scope.
class DabAmounts {
 public:
  DabAmounts(const BasicPenShape& pen, float pressure, Random& rnd);
  ~DabAmounts();
  DabAmounts(const DabAmounts&) = delete;
  DabAmounts& operator=(const DabAmounts&) = delete;

 private:
  float depth_, opacity_;
};

// Colour of this dab by ColorJitterMode; `travelRatio` feeds mode 3.
void JitterColor(float out[4], Random& rnd, float travelRatio = 0.f);

struct PenFrame {
  float X[3], Y[3], Z[3];
};

struct PenFrameInput {
  float ViewDir[3] = {0, 0, -1};   // direction the pen looks along
  float Motion[3] = {0, 0, 0};     // stroke motion since the last dab
  const float* FixedNormal = nullptr;  // used when RotateAlongMotion is off and the tool fixes a normal
  int MirrorSigns = 1;             // product of the three mirror signs
  bool LeftHandedView = false;
};

// BuildPenFrame: Z the pen direction, X the motion made orthogonal to Z, Y =
// Z x X; turned by 3 pi / 2 - PenRotation plus the random rotation, then
// randomly flipped.
PenFrame BuildPenFrame(const BasicPenShape& pen, const PenFrameInput& in, float pressure, Random& rnd);

// The shift of a new dab in the plane of X, Y: a random point of the disc of
// radius Jitter * StrokeRadius (times pressure when it depends on it).
void DabJitter(const BasicPenShape& pen, const PenFrame& frame, float pressure, Random& rnd, float out[3]);
