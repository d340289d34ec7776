// Import of a neutral mesh into the paint scene, in micro-vertex mode (every
// face gets a grid of samples, side from DPSettings) or per-pixel mode (one
// PixelMap per render target, built from the texture coordinates).
#pragma once
#include <string>

#include "interchange/Mesh.h"

class PaintScene;
class DPSettings;

enum class PaintImportMode { MicroVertex, PerPixel };

struct PaintImportResult {
  bool ok = false;
  std::string message;  // why it failed, in words for the user
  int warnings = 0;
};

// True when every corner of every polygon carries a texture coordinate.
bool MeshHasUVs(const comms::cMesh& mesh);

// Replaces the scene by the mesh and runs the loading stages. A mesh without
// texture coordinates is refused in per-pixel mode (it would need a full
// unwrap first) and the scene is left as it was.
PaintImportResult ImportMeshIntoScene(PaintScene& scene, const comms::cMesh& mesh,
                                      PaintImportMode mode, const DPSettings& settings);

// The import of a mesh file's contents: micro-vertex grids live on quads, so
// a mesh with other polygons is first split once into quads (the import
// dialogs will offer more levels); per-pixel mode takes the mesh as it is.
PaintImportResult ImportPreparedMesh(PaintScene& scene, const comms::cMesh& mesh, PaintImportMode mode,
                                     const DPSettings& settings);

// Loads a mesh file through the mesh codecs and imports it as above.
PaintImportResult ImportMeshFile(PaintScene& scene, const std::string& path,
                                 PaintImportMode mode, const DPSettings& settings);
