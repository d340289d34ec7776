// One level of splitting that makes every polygon a ring of quads: an n-gon
// becomes n quads through its centre and the midpoints of its edges. Faces
// that share an edge share its midpoint (position, texture coordinate and
// normal alike), so the result is as closed as the input. Micro-vertex grids
// need quads; a mesh with triangles or longer polygons goes through this on
// import.
#pragma once
#include "interchange/Mesh.h"

// True when some polygon has other than four corners.
bool HasNonQuads(const comms::cMesh& mesh);
// The split mesh; materials, objects and polygon headers carry over.
comms::cMesh SplitIntoQuads(const comms::cMesh& mesh);
