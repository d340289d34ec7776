// The tool index of the voxel room: the VOXMODES table (what a stroke does per
// index, grouped under section titles) and the VOXSURFMODES list offered while
// the current volume is in surface mode.
#pragma once

enum VoxMode : int {
  SCULP_GROW = 0, SCULPT_SMOOTH, SCULP_FILL, SCULP_CLAY, SCULPT_CARVE, SCULPT_ALPGROW, SCULPT_BUILD,
  SCULPT_EXTRUDE, SCULP_SPHERE, SCULPT_BRANCH, SCULPT_RASPFILE, SCULP_VXPLANE, SCULP_VXPINCH, SCULP_VXFOLLOW,
  SCULPT_MEASURE, SCULPT_PICK, SCULPT_TRANSPOSE, SCULP_MOVE, SCULP_HIDE, SCULP_CLHIDE, SCULPT_COPY,
  SCULPT_TRANSFORM, SCULP_WRAP, SCULPT_AXIAL, SCULPT_BARELIEF, SCULPT_LOGO, SCULPT_CUTNCLONE, SCULPT_RECTSPLIT,
  SCULP_MERGE, SCULP_SKETCH, SCULP_CURVES, SCULP_SPSTROKE, SCULP_FREESP, SCULP_TUBE, SCULP_MUSCLE, SCULP_PRIM,
  SCULP_TEXT, SCULP_CLOTH, SCULPT_DRAW, SCULPT_PINCH, SCULP_FOLLOW, SCULP_PLANE, SCULP_PLANE2, SCULP_SCLAY,
  SCULP_SFILL, SCULP_SFEXTRUDE0, SCULP_SFEXTRUDE, SCULP_SFEXTRUDEA, SCULP_SFREEZE, SCULPT_RAPID,
  VOX_INCRES = 50, VOX_CLEAR = 51, VOX_SMALL = 52,
  kVoxModeCount = 50,
};

struct VoxModeInfo {
  int Index;
  const char* Name;
  const char* Section;
  bool Available;  // false: its Part of the engine is still to come
};

// The row of one tool index, or null.
const VoxModeInfo* FindVoxMode(int index);
// Index of a mode name ("SCULPT_CARVE"), or -1.
int VoxModeByName(const char* name);
// The tools whose rows are the surface path (14, 15, 16, 17, 38..49).
bool IsSurfaceTool(int index);
// The tools that pick on their own result during a stroke (0, 1, 6, 42);
// every other tool picks the surface as it was before the stroke, so the pen
// does not climb its own bump.
bool PicksLiveSurface(int index);
// The indices of VOXSURFMODES in order; section titles are negative (-1 "*Surface", -2 "*Adjust").
int SurfaceModeList(const int** list);
// Fills the enumerators "VOXMODES" and "VOXSURFMODES" (idempotent).
void RegisterVoxModeEnumerators();
