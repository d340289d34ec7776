// The logo tool's relief: a picture's green channel, blurred and padded, cut
// at the level 128 into a flat figure (marching squares, one small convex
// polygon per pixel square), then made into a closed slab 8 voxels thick.
// Coordinates are the picture's pixels, x to the right and y up (row 0 of a
// cImage is the bottom of the picture), so the figure lies as the picture is
// seen.
#pragma once
#include <memory>
#include <string>
#include <vector>

#include "MC/objects/ExtrudedFigure.h"

namespace comms {
class cImage;
class cMesh;
}  // namespace comms

// The green channel as the level is cut from: blurred 3 x 3 with the weights
// 1 / (dx^2 + dy^2 + 1), the outer ring of pixels left at 0, then padded by
// 2 pixels of 0 on each side. `width` and `height` are the padded size.
// False for an empty picture or a format without 8- or 16-bit channels.
bool LogoLevels(const comms::cImage& picture, std::vector<float>& levels, int& width, int& height);

// The part of a levels grid (width x height, row 0 at the bottom) at or above
// `level`, as a figure whose vertex coordinates are the grid's minus `offset`.
// The figure's border is the level line; squares whose corners are split
// diagonally are joined when their centre is at or above the level.
FlatFigure LevelFigure(const std::vector<float>& levels, int width, int height, float level, float offset);

// The slab of a picture: the level line at 128 with a front and a back at
// z = +4 and -4, in pixel units of the picture. Null when nothing reaches
// the level.
std::unique_ptr<comms::cMesh> LogoSlab(const comms::cImage& picture);

// Turns the slab for placing: y and z change places and z is negated.
void LayLogoFlat(comms::cMesh& mesh);

// The whole road of the tool: reads `path` (any image the file layer reads),
// makes the slab, writes it to `objPath` (through a temporary file) and lays
// it flat. Null, with `why` set, when the picture cannot be read or gives no
// figure; a failed write is logged and the mesh still returned.
std::unique_ptr<comms::cMesh> LoadLogoMesh(const std::string& path, const std::string& objPath, std::string* why);
