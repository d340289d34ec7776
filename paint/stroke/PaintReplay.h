// Paint stroke scripts: a script whose first command is "import MESH MODE"
// paints that mesh headless. One command a line, numbers in the C locale, "#"
// starts a comment:
//   import PATH MODE [N]     MODE "micro" (N: grid level, default 3) or
//                            "per-pixel" (N: texture side, default 1024)
//   threads N                worker threads (0: all processors)
//   seed N                   seed of each stroke's random generator
//   layer new                a new layer on top becomes current
//   tool pen|eraser|smudge   what the strokes do
//   pen NAME                 cone simple sharp sphere volcano plane
//   radius R                 pen radius in world units
//   depth D | opacity A | specular S | falloff F     the pen amounts
//   color R G B              0..1
//   draw depth|color|specular 0|1                    the channel switches
//   mode N                   GeneralPen::StrokeMode
//   pressure P               pen pressure of the following strokes
//   view DX DY DZ            direction the camera looks along (default 0 0 -1)
//   stroke X Y Z X Y Z ...   world points; each is projected onto the mesh
//                            along the view, and the path between two points
//                            is cut in steps of at most half the radius
// The run leaves the scene composed: micro-vertex faces and tiles updated.
#pragma once
#include <string>
#include <vector>

class PaintScene;

struct PaintReplayResult {
  int Strokes = 0;
  int Dabs = 0;
  int Line = 0;  // of the first error, 0 for none
  std::string Error;
};

// True when the script's first command is "import".
bool IsPaintScript(const std::string& text);
// Runs the script's text on `scene` (its import replaces the scene).
PaintReplayResult RunPaintReplayScript(const std::string& text, PaintScene& scene);
// SCRIPT OUTDIR: runs the script file and writes OUTDIR/replay.png (the lit
// scene) and OUTDIR/<target name>_color.png for every render target. Returns
// the process exit code.
int RunPaintReplayCommand(const std::string& script, const std::string& folder);
// The headless run's painting: the shipped script "Replays/paint_bunny.txt"
// of the data folder, its files written into `folder`. The path of the
// picture, or empty (logged) when it could not be made.
std::string PaintHeadlessScene(const std::string& folder);
