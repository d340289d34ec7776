// Replayable stroke scripts: sculpt a volume headless and write the result.
//
// A script is plain text, one command a line, numbers in the C locale, "#"
// starts a comment:
//   sphere R                 a sphere of radius R voxels at the origin (the start)
//   threads N                worker threads (0: all processors)
//   seed N                   seed of the stroke's random generator
//   tool NAME                grow smooth fill clay carve alphagrow build extrude
//                            sphere branch rasp plane pinch follow, or an index
//   radius R                 pen radius in voxels
//   depth D                  GeneralPen::DeepDegree
//   pressure P               pen pressure 0..1 of the following strokes
//   falloff F                GeneralPen::Falloff
//   pen NAME                 cone simple sharp sphere volcano plane
//   invert 0|1               the invert modifier
//   symmetry BITS            mirror copies: 1 x, 2 y, 4 z
//   view DX DY DZ            direction the camera looks along (default 0 0 -1)
//   stroke X Y Z X Y Z ...   pen positions in volume space; each is projected
//                            onto the surface along the view direction, and
//                            each is one frame of the stroke
//   shape KIND X Y Z ...     a drawn shape (1 rectangle, 2 lasso, 3 contour,
//                            4 circle, 5 spline) through the points as seen
//                            along the view, acted on once by the tool
//   logo, text, sketch       the object tools' reliefs and solids, merged
//                            (MC/objects/ObjectTools.h tells their words)
//   surface 0|1              surface mode: 1 keeps the voxels while the
//                            surface tools move vertices; 0 writes the moved
//                            surface into the voxels (tool names: SCULPT_DRAW...)
//   freeze clear|invert      every vertex's freeze cleared or inverted
// Each stroke is followed by UpdateSurface, as a frame would. The adjust
// tools add their own lines (MC/adjust/AdjustReplay.h).
// A script whose first command is "import MESH MODE" paints a mesh instead
// (paint/stroke/PaintReplay.h).
#pragma once
#include <string>
#include <vector>

class VolumeObject;
class VoxVisualTree;

struct ReplayResult {
  int Strokes = 0;
  int Frames = 0;
  int Line = 0;  // of the first error, 0 for none
  std::string Error;
};

// Runs a script's text on `volume` (the "sphere" command rebuilds it). With
// `tree`, a layer tree that holds `volume`, the shapes of the hide tool and
// of the split into a new layer work as in the window, their layers made in
// the tree; without one those two refuse.
ReplayResult RunReplayScript(const std::string& text, VolumeObject& volume, VoxVisualTree* tree = nullptr);

// args: SCRIPT [OUT-FOLDER]. Writes "replay.ply" (the welded surface) into the
// folder (default "."), and "replay.png" where the offscreen volume view
// exists. Returns the process exit code.
int RunReplayCommand(const std::vector<std::string>& args);
