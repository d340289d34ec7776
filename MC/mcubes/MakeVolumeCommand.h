// The make-volume command: builds a volume from a distance shape and writes
// its welded surface as a binary PLY.
#pragma once
#include <string>
#include <vector>

class WeldedMeshBuilder;

// args: SHAPE SIZE OUTPUT.ply, SHAPE one of sphere, box, torus, noise; SIZE in
// voxels (radius, half edge, major radius). Returns the process exit code.
int RunMakeVolumeCommand(const std::vector<std::string>& args);

// Minimal binary little-endian PLY writer (positions and triangles).
bool WriteBinaryPly(const std::string& path, const WeldedMeshBuilder& mesh);
