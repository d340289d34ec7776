// The make-volume command: builds a volume from a distance shape and writes
// its welded surface as a mesh file (binary PLY, or by the output's extension).
#pragma once
#include <string>
#include <vector>

class WeldedMeshBuilder;
namespace comms {
class cMesh;
}

// args: SHAPE SIZE OUTPUT.ply, SHAPE one of sphere, box, torus, noise; SIZE in
// voxels (radius, half edge, major radius). Returns the process exit code.
int RunMakeVolumeCommand(const std::vector<std::string>& args);

// Saves a welded surface (positions, normals, triangles) through the mesh
// codecs, in the format the path's extension names (.ply, .obj, .stl, .lwo).
bool SaveWeldedMesh(const std::string& path, const WeldedMeshBuilder& mesh);
// The welded surface as a mesh of triangles with its normals, one material
// and one object, appended to `out`.
void WeldedToMesh(const WeldedMeshBuilder& mesh, comms::cMesh& out);
