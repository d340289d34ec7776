// The object tools of the voxel room that make a thing to merge: the logo
// (a picture's relief), the text (a relief of glyph outlines) and the sketch
// (a solid from three reference pictures). The logo and the text hand their
// slab to the merge tool, which places and merges it; the sketch merges its
// solid at once. Their handlers and their replay commands live here.
#pragma once
#include <istream>
#include <memory>
#include <string>

#include "MC/brushes/FileQuestion.h"
#include "MC/objects/SketchSolid.h"

class VoxelSculptTool;
class VolumeObject;
namespace comms {
class cMesh;
}

// Registers the handlers of SCULPT_LOGO, SCULP_SKETCH and SCULP_TEXT.
void RegisterObjectToolHandlers();

// The logo's question: "tga,bmp,png,jpg - files" remembered under "PICKIMG",
// offering the shipped "ToolsPresets/LogoSample.bmp".
FileQuestion LogoQuestion();
// Where the logo's slab is written: "Temp/logo.obj" in the user's folder.
std::string LogoObjPath();

// Hands `mesh` to the merge tool and selects it; false (mode unchanged) for
// no mesh.
bool HoldForMerge(VoxelSculptTool& tool, std::unique_ptr<comms::cMesh> mesh);

// The sketch tool's three views, read from pictures; `size` voxels is the
// span of each picture's longer edge around `centre` (object space).
struct SketchViews {
  SketchView Views[3];
  bool Loaded[3] = {false, false, false};
  bool Ready() const { return Loaded[0] && Loaded[1] && Loaded[2]; }
  // Reads view `side` from a picture file; false leaves it as it was.
  bool Load(int side, const std::string& path, int smoothSteps, float size, std::string* why);
  // Merges the solid centred on `centre` into the volume: returns the
  // changed cells (0 when not ready).
  int Merge(VolumeObject& volume, const float centre[3], float size, float softness, int threads = 0) const;
};

// The commands the replay scripts add for these tools:
//   logo FILE SCALE [X Y Z [PITCH]]    the logo of a picture, merged at scale
//                                      SCALE of the merge tool, shifted by X Y Z
//                                      and turned by PITCH degrees about x
//   text THICKNESS SCALE X Y Z WORDS   a text relief merged the same way
//   sketch FRONT SIDE TOP SIZE [SMOOTH SOFTNESS [X Y Z]]
//                                      the sketch solid of three pictures, SIZE
//                                      voxels wide, centred on X Y Z (the origin)
// Relative file names are the program's shipped files. Returns -1 when `cmd`
// is none of these, 0 when it ran, 1 with `error` when it failed.
int RunObjectReplayCommand(const std::string& cmd, std::istream& words, VolumeObject& volume, std::string& error);
